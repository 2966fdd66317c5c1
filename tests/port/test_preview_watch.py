"""kestrix-disp preview --watch: the window of somebody who writes a document."""

import fcntl
import os
import re
import select
import signal
import struct
import termios

import pytest
from conftest import BUILD, LIMIT, PROGRAM, line_of, run, start, until

PAGE = "<ovix-display>\n<text x='1' y='1'>{}</text>\n</ovix-display>"


class Terminal:
    """Carries out the control sequences that the program uses, and shows what they leave."""

    def __init__(self, *arguments):
        self.pid, self.master = os.forkpty()
        if self.pid == 0:
            os.chdir(BUILD / "profile")
            os.execve(PROGRAM, [PROGRAM, *map(str, arguments)], dict(os.environ, LC_ALL="C.UTF-8"))
        self.settings = termios.tcgetattr(self.master)
        self.lines = {}
        self.row = 1
        self.modes = {}

    def resize(self, rows, columns):
        self.lines = {}  # a terminal may move them
        fcntl.ioctl(self.master, termios.TIOCSWINSZ, struct.pack("4H", rows, columns, 0, 0))

    def take(self, text):
        for sequence, words in re.findall("(\x1b\\[[?0-9;]*[A-Za-z])|([^\x1b]+)", text):
            if place := re.fullmatch("\x1b\\[(\\d+);1H", sequence):
                self.row = int(place[1])
            elif mode := re.fullmatch("\x1b\\[\\?(\\d+)([hl])", sequence):
                self.modes[int(mode[1])] = mode[2] == "h"
            elif sequence == "\x1b[2J":
                self.lines = {}
            elif sequence == "\x1b[K":
                self.lines[self.row] = ""
            self.lines[self.row] = self.lines.get(self.row, "") + words

    def text(self):
        return "\n".join(self.lines[row] for row in sorted(self.lines))

    def until_it_shows(self, *words):
        while not all(word in self.text() for word in words):
            assert select.select([self.master], [], [], LIMIT)[0], self.text()
            self.take(os.read(self.master, 65536).decode())

    def status(self):
        try:
            while piece := os.read(self.master, 65536):
                self.take(piece.decode())
        except OSError:
            pass  # nobody has the other end any more
        status = os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])
        os.close(self.master)
        return status


# A window that shows an old picture, loses it for a broken document, or does not tell why; a
# terminal that stays without echo, cursor or its former contents.
@pytest.mark.parametrize("end", ["q", "\x03", signal.SIGTERM])
def test_window(tmp_path, end):
    document = tmp_path / "document"
    document.write_text(PAGE.format("one"))
    terminal = Terminal("preview", "--watch", document)
    terminal.resize(24, 200)
    terminal.until_it_shows("\u2502one  ", "is watched; q ends")
    assert "picture is" not in terminal.text()
    document.write_text(PAGE.format("two</wrong>"))
    terminal.until_it_shows("version before: this one is no whole document",
                            "document:2: error: </wrong> stands where", "\u2502one  ")
    (tmp_path / "new").write_text(PAGE.format("two \u6f22"))
    (tmp_path / "new").rename(document)
    terminal.until_it_shows("\u2502two ?  ", "document:2: warning: ", "[missing-character]")
    assert "picture is" not in terminal.text()
    document.unlink()
    terminal.until_it_shows("version before: cannot read", "No such file", "\u2502two ?  ")
    document.write_text("<ovix-display><marquee uwait='50' rwait='50'>abcde</marquee></ovix-display>")
    terminal.until_it_shows(" abcde ")
    terminal.until_it_shows("\u2502bcde ")  # it runs
    terminal.resize(4, 80)
    terminal.until_it_shows("window is too small: it has 80 x 4 characters, the display needs 22 x 5")
    assert "\u2502" not in terminal.text()
    document.write_text(PAGE.format("wrong" * 9))
    terminal.resize(6, 22)
    terminal.until_it_shows("\u2502wrongwrong", "... and ", " more line")
    if isinstance(end, str):
        os.write(terminal.master, end.encode())
    else:
        os.kill(terminal.pid, end)
    assert terminal.status() == 0
    assert terminal.modes == {7: True, 25: True, 1049: False}


def test_settings_of_the_terminal_come_back(tmp_path):
    (tmp_path / "document").write_text(PAGE.format("one"))
    master, slave = os.openpty()
    before = termios.tcgetattr(slave)
    process = start("preview", "--watch", tmp_path / "document", stdin=slave, stdout=slave,
                    preexec_fn=lambda: (os.setsid(), fcntl.ioctl(slave, termios.TIOCSCTTY, 0)),
                    pass_fds=[slave])
    until(lambda: not termios.tcgetattr(slave)[3] & termios.ECHO)
    assert select.select([master], [], [], LIMIT)[0]
    process.send_signal(signal.SIGHUP)
    assert process.wait(LIMIT) == 0
    assert termios.tcgetattr(slave) == before
    os.close(master)
    os.close(slave)


# Without a terminal only pictures stand in the output, one after the other.
def test_pictures_one_after_the_other(tmp_path):
    document = tmp_path / "document"
    document.write_text(PAGE.format("one"))
    process = start("preview", "--watch", document, "--columns", 5, "--ascii")
    for text in ["one", "two"]:
        document.write_text(PAGE.format(text))
        frame = [line_of(process.stdout) for line in range(4)]
        while b"|" + text.encode() not in frame[1]:  # it may have seen the first text already
            frame = [line_of(process.stdout) for line in range(4)]
        assert frame == [b"+-----+\n", b"|%s  |\n" % text.encode(), b"|     |\n", b"+-----+\n"]
    document.write_text(PAGE.format("</three>"))
    assert b"no whole document" in process.stderr.readline()
    assert b":2: error: </three> stands where" in process.stderr.readline()
    process.send_signal(signal.SIGINT)
    assert process.communicate()[0] == b""


@pytest.mark.parametrize(
    "arguments, status, words",
    [
        (("-",), 2, "the standard input cannot be watched"),
        ((), 2, "the standard input cannot be watched"),
        (("f", "--raw"), 2, "--raw excludes --watch"),
        (("f", "--png", "p"), 2, "--png excludes --watch"),
        (("none",), 1, "cannot read none: No such file"),
        (("/dev/null",), 1, "cannot watch /dev/null: it is no regular file"),
        (("HalvoSet.txt", "--device", "none"), 1, "device \"none\""),
    ],
)
def test_usage(arguments, status, words):
    result = run("preview", "--watch", *arguments)
    assert result.returncode == status
    assert words in result.stderr.decode()
