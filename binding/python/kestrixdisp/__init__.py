"""Turns XML display documents into the command bytes of a customer display.

    import kestrixdisp

    with kestrixdisp.Display("default") as display:
        data = display.parse("<ovix-display><clear/></ovix-display>")

data is b"\\x0c", to be sent to the display as it is, for example to a serial port that is open in
binary mode. Converter turns a text alone into the bytes of a display's code tables. From a shell,
"python3 -m kestrixdisp FILE" writes the bytes of a document to the standard output.

Devices and settings. device is the name of the device information file, which says what code
tables the display has. setting is the name of the ID file, without ".txt"; it names the folder of
the device profile. Without an ID file of this name, that is the current folder. Names are of 1 to
127 printable ASCII characters; others raise ValueError, or Error with the status -20.

Closing. close(), or the end of a with statement, frees what an object holds. An object that is
forgotten is closed when it is collected, at the latest when the interpreter ends. A closed object
raises ValueError when it is used; closing it again does nothing.

Threads. Every object may be used from every thread. The library does one thing at a time in a
process, so all calls of the package wait for each other; Python code in other threads runs on
meanwhile. C, C++ or Perl code in the same process must not call the library at the same time, nor
may the package be used in two interpreters of one process at the same time.

Signal handlers and finalizers may use other objects of the package at any time. An object whose own
call they interrupt raises RuntimeError.

Fork. A fork waits until no other thread is in a call. After it, parent and child may go on with
every object: each has its own then. Objects cannot be copied or pickled.
"""

import ctypes
import enum
import re
import types
import warnings
import weakref
from typing import (
    Any,
    Callable,
    List,
    NamedTuple,
    NoReturn,
    Optional,
    Tuple,
    Type,
    TypeVar,
    Union,
)

from kestrixdisp._library import copy_of as _copy_of
from kestrixdisp._library import library as _library
from kestrixdisp._library import lock as _lock

__all__ = [
    "ConversionWarning",
    "Converter",
    "Display",
    "DocumentError",
    "EncodeType",
    "Error",
    "RawOutput",
]

__version__: str = _library.kestrix_disp_version().decode()

_Result = TypeVar("_Result")
_Self = TypeVar("_Self", bound="_Closable")

_BUFFER_TOO_SMALL = -40
_OUT_OF_MEMORY = -60
_WARNINGS = frozenset((-400, -410, -420, -500))
_ANY_TABLE = -1

# A declaration of an encoding that is not UTF-8.
_OTHER_ENCODING = re.compile(r"""\ufeff?<\?xml[^>]*\sencoding\s*=\s*["'](?!utf-?8["'])""", re.I)


def _status_text(status: int) -> str:
    text: bytes = _library.kestrix_disp_status_text(status)
    return f"{text.decode()} (status {status})"


class Error(Exception):
    """The library cannot do what it was asked for.

    status is its number for the reason, such as -200 where the device information file is missing,
    and str() of the exception says it in words. Of a DocumentError it is 0.
    """

    def __init__(self, status: int) -> None:
        super().__init__(status)
        self.status = status

    def __str__(self) -> str:
        return _status_text(self.status)


class DocumentError(Error):
    """A document is not well-formed XML, or exceeds a limit, and so ended early.

    message says why, in one sentence.
    line is the line of the document, counted from 1; None if it is not known.
    partial has the bytes of the elements before that place, which are whole commands: for
    programs that show what there is. A program that wants all or nothing leaves them.
    """

    def __init__(self, message: str, line: Optional[int], partial: bytes) -> None:
        super().__init__(0)
        self.args = (message, line, partial)  # what pickle calls __init__ with
        self.message = message
        self.line = line
        self.partial = partial

    def __str__(self) -> str:
        return self.message if self.line is None else f"line {self.line}: {self.message}"


class ConversionWarning(UserWarning):
    """A text has been converted, but not as it is.

    Where the text is malformed the display's substitute for missing characters stands; a text that
    is too long has been cut. status is -400 for UTF-16 with an odd number of bytes, -410 for an
    unpaired surrogate in UTF-16, -420 for malformed UTF-8, -500 for a text of more than 8 MB of
    UTF-8 or 4 MB of UTF-16.
    """

    def __init__(self, status: int) -> None:
        super().__init__(status)
        self.status = status

    def __str__(self) -> str:
        return _status_text(self.status)


class EncodeType(enum.IntEnum):
    """How the bytes of a text are to be read.

    UTF16_BY_MARK goes by the byte order mark, which is skipped; without one it is big-endian. To
    the other two of UTF-16 a byte order mark is a character like any other.
    """

    UTF16_BY_MARK = 0
    UTF16_BIG_ENDIAN = 1
    UTF16_LITTLE_ENDIAN = 2
    UTF8 = 3


class RawOutput(NamedTuple):
    """A converted text as three streams.

    characters has one byte for each character. tables has the changes of the code table and sets
    those of the internal character set, in records of 5 bytes: the position of the character before
    which the change is, in 32 bits, little-endian and counted from 0; and the number of the table
    or set. If "OutputBufferBlockSize" of the profile is no multiple of 5, zeros fill each full
    block.
    """

    characters: bytes
    tables: bytes
    sets: bytes


def _octets(text: Union[str, bytes]) -> bytes:
    # The bytes of a buffer are copied, as another thread may change it during the call.
    return text.encode() if isinstance(text, str) else bytes(memoryview(text))


def _name(value: str, what: str) -> bytes:
    if not isinstance(value, str):
        raise TypeError(f"{what} must be a str, not {type(value).__name__}")
    if not (value.isascii() and value.isprintable()):  # the library would drop characters
        raise ValueError(f"{what} must be of printable ASCII characters: {value!a}")
    return value.encode()


class _Closable:
    # What the library has opened for the object. Its finalizer is alive as long as it is open.
    _held: int
    _finalizer: weakref.finalize
    _busy = False

    def _hold(self, opened: int, close: Callable[[int], object]) -> None:
        self._held = opened
        self._finalizer = weakref.finalize(self, _close, close, opened)

    def _alone(self, work: Callable[[], _Result]) -> _Result:
        """Runs what calls the library for the object, and lets nothing else use it meanwhile."""
        with _lock:
            self._check_idle()
            # Memory that work has from the library, and the output between two calls, would be
            # gone if a signal handler used the object. Between these two lines none runs.
            self._busy = True
            try:
                if not self._finalizer.alive:
                    raise ValueError(f"the {type(self).__name__} is closed")
                return work()
            finally:
                self._busy = False

    def _check_idle(self) -> None:
        if self._busy:
            raise RuntimeError(f"the {type(self).__name__} is used within a call of its own")

    def close(self) -> None:
        """Closes the object. Does nothing if it is closed."""
        with _lock:
            self._check_idle()
            self._finalizer()

    def __enter__(self: _Self) -> _Self:
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        value: Optional[BaseException],
        traceback: Optional[types.TracebackType],
    ) -> None:
        self.close()

    def __reduce__(self) -> NoReturn:
        raise TypeError(f"a {type(self).__name__} cannot be copied or pickled")


def _close(close: Callable[[int], object], opened: int) -> None:
    with _lock:
        close(opened)


class Display(_Closable):
    """Turns documents into the commands of one display.

    Making one reads no file: the profile of the device is opened by the first parse, and stays open
    until the object is closed. Raises ValueError or TypeError for a wrong name.
    """

    def __init__(self, device: str = "default", setting: str = "DEFAULT") -> None:
        self._device = _name(device, "device")
        self._setting = _name(setting, "setting")
        with _lock:
            display: Optional[int] = _library.kestrix_disp_new()
            if display is None:
                raise Error(_OUT_OF_MEMORY)
            self._hold(display, _library.kestrix_disp_free)

    def parse(self, document: Union[str, bytes]) -> bytes:
        """Returns the commands of a document.

        A str goes in as UTF-8, and bytes as they are, in the encoding that they declare. Elements
        that are not understood, and texts that do not fit into the profile's room for output, give
        no command.

        Raises DocumentError for a document that is not well-formed XML or exceeds a limit; Error if
        the profile cannot be opened, and then the next call tries again; ValueError for a str with
        lone surrogates, or with characters beyond ASCII and the declaration of another encoding.
        """
        octets = _octets(document)
        if isinstance(document, str) and not document.isascii() and _OTHER_ENCODING.match(document):
            raise ValueError("a document that declares an encoding other than UTF-8 must be bytes")
        return self._alone(lambda: self._parse(octets))

    def _parse(self, document: bytes) -> bytes:
        start = ctypes.c_void_p()
        length = ctypes.c_size_t()
        status: int = _library.kestrix_disp_parse(
            self._held, document, len(document), self._device, self._setting, start, length
        )
        if status < 0:
            raise Error(status)
        commands: bytes = _copy_of(start, length.value)
        line = ctypes.c_ulong()
        message: Optional[bytes] = _library.kestrix_disp_message(self._held, line)
        if message is not None:
            raise DocumentError(message.decode(errors="replace"), line.value or None, commands)
        return commands


class Converter(_Closable):
    """Turns texts into the bytes of a display's code tables, without a document.

    Making one opens the profile of the device. Raises Error if it cannot be opened or as many are
    open in the process as the profile allows, ValueError or TypeError for a wrong name.

        with kestrixdisp.Converter("default") as converter:
            data = converter.convert("Crème brûlée")

    What has no byte in the display is converted to the display's substitute, without a warning.
    """

    def __init__(self, device: str = "default", setting: str = "DEFAULT") -> None:
        names = _name(device, "device"), _name(setting, "setting")
        self._encode_type = EncodeType.UTF8
        self._code_page: Optional[int] = None
        with _lock:
            handle = _library.RuvoOpenHandle(names[0], len(names[0]), names[1], len(names[1]))
            if handle < 0:
                raise Error(handle)
            self._hold(handle, _library.RuvoCloseHandle)

    @property
    def encode_type(self) -> EncodeType:
        """How the bytes of texts are read: an EncodeType, at first UTF8, whatever the profile says.

        Of no effect on texts in a str. Assigning another value raises ValueError.
        """
        return self._encode_type

    @encode_type.setter
    def encode_type(self, value: EncodeType) -> None:
        encode_type = EncodeType(value)
        self._set(_library.RuvoSetEncodeType, encode_type)
        self._encode_type = encode_type

    @property
    def code_page(self) -> Optional[int]:
        """The one code page to convert to. None, the value at first, chooses for each character.

        Assigning a code page that the display does not have raises ValueError.
        """
        return self._code_page

    @code_page.setter
    def code_page(self, value: Optional[int]) -> None:
        if value is not None and not isinstance(value, int):
            raise TypeError(f"code_page must be an int or None, not {type(value).__name__}")
        target = _ANY_TABLE if value is None else value
        # ctypes would cut other numbers to these; -1 is the library's word for None.
        in_range = value is None or 0 <= value < 0x8000
        if not in_range or self._set(_library.RuvoSetTargetCodePage, target) < 0:
            raise ValueError(f"the display has no code page {value}")
        self._code_page = value

    def _set(self, function: Any, value: int) -> int:
        return self._alone(lambda: int(function(self._held, value)))

    def convert(self, text: Union[str, bytes]) -> bytes:
        """Returns the bytes of a text, with the commands that select tables and sets in them.

        bytes are read as encode_type says. Each result begins with the selection of a table, so it
        can be sent by itself; that of an empty text is empty. A character that several tables have
        is taken from the one that is selected, also by a text before.

        Warns with ConversionWarning where the text is converted, but not as it is. Raises Error,
        such as with the status -510 if the result is longer than the profile allows; ValueError for
        a str with lone surrogates.
        """
        return self._converted(text, _library.RuvoGetOutputData, 1)[0]

    def raw(self, text: Union[str, bytes]) -> RawOutput:
        """Returns a text as convert does, but characters and selections as streams of their own."""
        return RawOutput(*self._converted(text, _library.RuvoGetRawData, 3))

    def _converted(self, text: Union[str, bytes], retrieval: Any, streams: int) -> List[bytes]:
        octets = bytearray(_octets(text))  # which the library changes
        encode_type = EncodeType.UTF8 if isinstance(text, str) else self._encode_type

        def work() -> Tuple[int, List[bytes]]:
            # A conversion that failed or was interrupted has left its output.
            self._output(retrieval, streams)
            if not octets:
                return 0, [b""] * streams
            _library.RuvoSetEncodeType(self._held, encode_type)
            text = ctypes.c_ubyte.from_buffer(octets)
            status: int = _library.RuvoSetData(self._held, text, len(octets))
            if status < 0 and status not in _WARNINGS:
                raise Error(status)
            return status, self._output(retrieval, streams)

        status, output = self._alone(work)
        if status < 0:
            warnings.warn(ConversionWarning(status), stacklevel=3)
        return output

    def _output(self, retrieval: Any, streams: int) -> List[bytes]:
        lengths = [ctypes.c_ulong() for _ in range(streams)]

        def retrieve(rooms: List[bytearray]) -> int:
            arguments: List[Any] = []
            for room, length in zip(rooms, lengths):
                arguments += ctypes.c_ubyte.from_buffer(room) if room else None, length
            status: int = retrieval(self._held, *arguments)
            return status

        rooms = [bytearray()] * streams
        status = retrieve(rooms)
        if status == _BUFFER_TOO_SMALL:  # now the lengths are known
            rooms = [bytearray(length.value) for length in lengths]
            status = retrieve(rooms)
        if status < 0:
            raise Error(status)
        return [bytes(room) for room in rooms]
