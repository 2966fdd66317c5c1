"""The functions of the shared library that the package calls, and the lock for them."""

import ctypes
import os
import threading
from ctypes import POINTER, c_char_p, c_long, c_short, c_size_t, c_ubyte, c_ulong, c_void_p
from pathlib import Path
from typing import Any, Tuple

_NAME = "libkestrixdispengine.so.1"

_NAMES = (c_char_p, c_char_p)
_RESULT = (POINTER(c_void_p), POINTER(c_size_t))
# A buffer of the caller, and its length, which the library changes.
_ROOM = (POINTER(c_ubyte), POINTER(c_ulong))

# The library in the folder of the package, as a build tree has it, comes before an installed one.
_beside = Path(__file__).with_name(_NAME)
try:
    library = ctypes.CDLL(str(_beside) if _beside.exists() else _NAME)
    _PROTOTYPES: Tuple[Tuple[Any, Any, Tuple[Any, ...]], ...] = (
        (library.kestrix_disp_new, c_void_p, ()),
        (library.kestrix_disp_free, None, (c_void_p,)),
        (library.kestrix_disp_parse, c_short, (c_void_p, c_char_p, c_size_t, *_NAMES, *_RESULT)),
        (library.kestrix_disp_message, c_char_p, (c_void_p, POINTER(c_ulong))),
        (library.kestrix_disp_status_text, c_char_p, (c_short,)),
        (library.kestrix_disp_version, c_char_p, ()),
        (library.RuvoOpenHandle, c_short, (c_char_p, c_ulong, c_char_p, c_ulong)),
        (library.RuvoCloseHandle, c_short, (c_short,)),
        (library.RuvoSetData, c_short, (c_short, POINTER(c_ubyte), c_ulong)),
        (library.RuvoSetTargetCodePage, c_short, (c_short, c_long)),
        (library.RuvoSetEncodeType, c_short, (c_short, c_short)),
        (library.RuvoGetOutputData, c_short, (c_short, *_ROOM)),
        (library.RuvoGetRawData, c_short, (c_short, *_ROOM * 3)),
    )
except (OSError, AttributeError) as error:  # no library, or one without these functions
    raise ImportError(f"kestrixdisp cannot use its library: {error}") from error
for _function, _result, _arguments in _PROTOTYPES:
    _function.restype = _result
    _function.argtypes = _arguments

# A copy of memory. Unlike ctypes.string_at it takes more than 2 GB.
copy_of = ctypes.PYFUNCTYPE(ctypes.py_object, c_void_p, ctypes.c_ssize_t)(
    ("PyBytes_FromStringAndSize", ctypes.pythonapi)
)

# Held around the calls of the library, of which only one may run at a time. The garbage collector
# and signal handlers may come in between two calls of one thread, hence the RLock. A fork waits for
# the call of another thread: the child would find half of it, and a lock that nobody opens.
lock = threading.RLock()
os.register_at_fork(before=lock.acquire, after_in_parent=lock.release, after_in_child=lock.release)
