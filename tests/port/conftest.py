"""A port to send to: a pseudo-terminal with the settings that it has by default, which echo, change
line ends, and take some bytes for signals."""

import array
import fcntl
import os
import pathlib
import select
import subprocess
import termios
import time

import pytest

BUILD = pathlib.Path(os.environ["KESTRIX_BUILD_DIR"])
PROGRAM = BUILD / "kestrix-disp"
EXAMPLES = pathlib.Path(__file__).parents[2] / "examples"
LIMIT = 60  # seconds, after which a test fails instead of waiting
MARK = b"\xff\x00\xffend"


def until(condition):
    """Waits for something that comes sooner or later."""
    end = time.monotonic() + LIMIT
    while not condition():
        assert time.monotonic() < end, "it does not come"
        time.sleep(0.01)


def line_of(stream):
    """The next line of a process; it fails if the process has ended."""
    line = stream.readline()
    assert line != b"", "it has ended"
    return line


def start(*arguments, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, **options):
    return subprocess.Popen(
        [PROGRAM, *map(str, arguments)], cwd=BUILD / "profile", stdin=stdin,
        stdout=stdout, stderr=subprocess.PIPE, **options)


def run(*arguments, input=b"", **options):
    return subprocess.run(
        [PROGRAM, *map(str, arguments)], cwd=BUILD / "profile", input=input,
        capture_output=True, timeout=LIMIT, check=False, **options)


class Port:
    def __init__(self):
        self.master, self.slave = os.openpty()
        os.set_blocking(self.slave, False)
        self.name = os.ttyname(self.slave)
        self.settings = termios.tcgetattr(self.slave)

    def close(self):
        if self.master >= 0:
            os.close(self.master)
            self.master = -1

    def read(self, length):
        """Exactly so many bytes."""
        data = b""
        while len(data) < length:
            assert select.select([self.master], [], [], LIMIT)[0], f"only {data!r}"
            data += os.read(self.master, length - len(data))
        return data

    def rest(self):
        """All that has been sent. Only for a port that nobody is sending to."""
        data = b""
        mark = MARK
        while not data.endswith(MARK):
            readable, writable, _ = select.select(
                [self.master], [self.slave] if mark else [], [], LIMIT)
            assert readable or writable, f"only {data!r}"
            if writable:
                mark = mark[os.write(self.slave, mark):]
            if readable:
                data += os.read(self.master, 65536)
        return data[: -len(MARK)]

    def is_full(self):
        return not select.select([], [self.slave], [], 0)[1]

    def is_exclusive(self):
        tiocgexcl = 0x80045440
        value = array.array("i", [0])
        fcntl.ioctl(self.slave, tiocgexcl, value)
        return value[0] != 0

    def is_as_before(self):
        return termios.tcgetattr(self.slave) == self.settings and not self.is_exclusive()


@pytest.fixture
def port():
    made = Port()
    yield made
    made.close()
    os.close(made.slave)
