"""kestrix-disp emulate, as a till and a person meet it, and input that is followed while it comes.

Nothing here depends on how fast anything is: a test waits for what must come, for a minute at most.
"""

import contextlib
import fcntl
import itertools
import os
import pathlib
import pty
import random
import re
import select
import signal
import struct
import subprocess
import termios
import time
import tty

import pytest

BUILD = pathlib.Path(os.environ["KESTRIX_BUILD_DIR"])
PROGRAM = str(BUILD / "kestrix-disp")
ENVIRONMENT = {**os.environ, "LC_ALL": "C.UTF-8"}
PATIENCE = 60  # seconds

EXAMPLES = sorted((pathlib.Path(__file__).parents[2] / "examples").glob("*.xml"))


def run(*arguments, **options):
    return subprocess.run(
        [PROGRAM, *map(str, arguments)],
        cwd=BUILD / "profile",
        env=ENVIRONMENT,
        capture_output=True,
        timeout=PATIENCE,
        **options,
    )


def wait_for(condition, what):
    end = time.monotonic() + PATIENCE
    while not condition():
        assert time.monotonic() < end, what
        time.sleep(0.002)


@contextlib.contextmanager
def emulator(folder, *options):
    """An emulator without a terminal, linked from folder/port, with its output in files."""
    with open(folder / "out", "wb") as out, open(folder / "err", "wb") as err:
        process = subprocess.Popen(
            [PROGRAM, "emulate", "--link", str(folder / "port"), *map(str, options)],
            cwd=BUILD / "profile",
            env=ENVIRONMENT,
            stdin=subprocess.DEVNULL,
            stdout=out,
            stderr=err,
            preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_DFL),
        )
    try:
        wait_for(
            lambda: (folder / "out").stat().st_size > 0 or process.poll() is not None, "no start"
        )
        yield process
    finally:
        process.kill()
        process.wait()


def end(process, number=signal.SIGTERM):
    process.send_signal(number)
    return process.wait(PATIENCE)


def random_stream(random, length):
    pieces = [b"\f", b"\x1b@", b"\x1bt\x10", b"\x1bt", b"\x1bR\x08", b"\x1f$\1\2", b"\x1fC\1",
              b"\x1fr\1", b"\x1fX\2", b"\x1fE\0", b"\x1fU", b"\x1am\3", b"\x1aW\1\2\1\5\2\2",
              b"\x1aC\1", b"\x1aC\0", b"\x1bW\0010", b"\x1aM\2\0\3\0\1\0\6\0\x1bt\x11ab",
              b"text \x82", b"\n", b"\r", b"\x11\x13", b"\x03\x04\x1a\x7f\0"]
    stream = bytearray()
    while len(stream) < length:
        piece = random.randrange(len(pieces) + 6)
        if piece < len(pieces):
            stream += pieces[piece]
        else:
            stream += random.randbytes(1 + random.randrange(4))
    return bytes(stream)


def set_line(port, random):
    """What tills do to their port: everything, the line only, or nothing."""
    settings = termios.tcgetattr(port)
    kind = random.randrange(4)
    if kind == 0:
        tty.setraw(port, random.choice([termios.TCSANOW, termios.TCSADRAIN, termios.TCSAFLUSH]))
    elif kind == 1:
        settings[0] |= termios.IXON | termios.ICRNL | termios.INPCK
        settings[2] |= termios.PARENB | termios.CSTOPB | termios.CRTSCTS
        settings[3] |= termios.ICANON | termios.ECHO | termios.ISIG | termios.IEXTEN
        settings[4] = settings[5] = random.choice([termios.B1200, termios.B9600, termios.B115200])
        # The C library of Debian says that there is no parity, after it has set the rest.
        with contextlib.suppress(termios.error):
            termios.tcsetattr(port, termios.TCSANOW, settings)
        assert termios.tcgetattr(port)[4] == settings[4]
    elif kind == 2:
        fcntl.ioctl(port, termios.TIOCEXCL)


def write_randomly(port, stream, random, longest):
    """Writes a stream as tills do: in pieces, at random times, opening and closing the port."""
    descriptor = None
    at = 0
    while at < len(stream):
        if descriptor is None:
            descriptor = os.open(port, os.O_RDWR | os.O_NOCTTY)
            set_line(descriptor, random)
        at += os.write(descriptor, stream[at : at + 1 + random.randrange(longest)])
        if random.randrange(4) == 0:
            time.sleep(random.random() / 500)
        if random.randrange(6) == 0:
            os.close(descriptor)
            descriptor = None
    if descriptor is not None:
        os.close(descriptor)


def explained_bytes(explanation):
    return bytes.fromhex("".join(line[10:33] for line in explanation.decode().splitlines()))


# catches: a byte lost, doubled or changed on the way, by a till that closes, by line settings, by a
# full buffer, at the end; a screen that depends on the pieces or on the time
@pytest.mark.parametrize("seed", range(24))
def test_a_till_writes_in_pieces(tmp_path, seed):
    source = random.Random(seed)
    if seed == 0:
        stream = bytes(range(256)) * 3
    elif seed == 1:
        stream = random_stream(source, 300_000)  # more than the system keeps
    else:
        stream = random_stream(source, 1 + source.randrange(1500))
    display = ["--columns", 6 + seed, "--rows", 1 + seed % 4, "--clock", "12:34"]
    outputs = ["--record", tmp_path / "record", "--screen", tmp_path / "screen"]
    by_idle = seed % 8 == 0
    with emulator(
        tmp_path, *display, *outputs, *(["--until-idle", "3"] if by_idle else [])
    ) as process:
        write_randomly(tmp_path / "port", stream, source, 20_000 if seed == 1 else 40)
        assert (process.wait(PATIENCE) if by_idle else end(process)) == 0
    (tmp_path / "stream").write_bytes(stream)
    assert (tmp_path / "record").read_bytes() == stream
    preview = run("preview", "--raw", *display, tmp_path / "stream")
    assert (tmp_path / "screen").read_bytes() == preview.stdout
    name, explanation = (tmp_path / "out").read_bytes().split(b"\n", 1)
    assert re.fullmatch(rb"/dev/pts/\d+", name)
    assert explained_bytes(explanation) == stream
    messages = (tmp_path / "err").read_bytes()
    counts = re.search(rb"(\d+) bytes?, \d+ commands?, (\d+) ignored, (\d+) cut\n$", messages)
    assert int(counts[1]) == len(stream)
    told = re.search(rb"without effect on this display: (\d+)", preview.stderr)
    assert int(counts[2]) + int(counts[3]) == (int(told[1]) if told else 0)
    assert not os.path.lexists(tmp_path / "port")


# catches: a port that is hung up, or bytes that are thrown away, when the process ends whose
# controlling terminal it has become
def test_tills_in_sessions_of_their_own(tmp_path):
    port = tmp_path / "port"
    tills = [
        ["sh", "-c", f"stty -F {port} 9600 cs8 -crtscts && printf '\\014sh\\n' >{port}"],
        ["sh", "-c", f"printf rw 1<>{port}"],
        ["perl", "-e", f"open(my $p, '+<', '{port}') or die; syswrite($p, \"perl\" x 500)"],
    ]
    with emulator(tmp_path, "--record", tmp_path / "record") as process:
        for till in tills * 3:
            subprocess.run(till, start_new_session=True, check=True, timeout=PATIENCE)
        assert end(process) == 0
    assert (tmp_path / "record").read_bytes() == (b"\fsh\nrw" + b"perl" * 500) * 3


# catches: pictures of another display or another moment than those of preview
def test_pictures_are_those_of_preview(tmp_path):
    document = next(path for path in EXAMPLES if path.stem == "promotion")
    stream = run("render", document).stdout + b"\x1fU\x1fE\1"
    (tmp_path / "stream").write_bytes(stream)
    files = ["--svg", tmp_path / "a.svg", "--png", tmp_path / "a.png"]
    with emulator(tmp_path, "--clock", "23:59", *files) as process:
        (tmp_path / "port").write_bytes(stream)
        assert end(process) == 0
    arguments = ["preview", "--raw", tmp_path / "stream", "--clock", "23:59"]
    run(*arguments, "--svg", tmp_path / "b.svg", "--png", tmp_path / "b.png")
    for kind in ["svg", "png"]:
        assert (tmp_path / f"a.{kind}").read_bytes() == (tmp_path / f"b.{kind}").read_bytes()
    # The picture of a moment begins there.
    moment = run(*arguments, "--at", "61.5", "--svg", "-").stdout.decode()
    assert set(re.findall('begin="(.*?)"', moment)) == {"-61.5s"}
    assert "│00:00│" in run(*arguments, "--at", "61.51", "--columns", 5).stdout.decode()
    assert "│     │" in run(*arguments, "--at", "61.55", "--columns", 5).stdout.decode()


# catches: pictures that are lost when nobody reads the explanation any more
def test_pictures_without_a_reader(tmp_path):
    port, screen = tmp_path / "port", tmp_path / "screen"
    arguments = [PROGRAM, "emulate", "--link", port, "--screen", screen]
    with subprocess.Popen(
        arguments, cwd=BUILD / "profile", env=ENVIRONMENT, stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE, stderr=subprocess.PIPE,
    ) as process:
        process.stdout.readline()
        process.stdout.close()
        port.write_bytes(b"shown\f" * 5 + b"shown")
        assert b"cannot write the standard output: Broken pipe\n" in process.stderr.read()
    assert process.returncode == 1
    assert "shown" in screen.read_text()
    assert not os.path.lexists(port)


# catches: an emulator that no signal ends while it waits for the reader of its record
def test_a_record_without_a_reader(tmp_path):
    os.mkfifo(tmp_path / "record")
    process = subprocess.Popen(
        [PROGRAM, "emulate", "--record", tmp_path / "record"],
        cwd=BUILD / "profile", env=ENVIRONMENT, stdin=subprocess.DEVNULL,
    )
    status = pathlib.Path(f"/proc/{process.pid}/status")
    try:
        wait_for(lambda: "(sleeping)" in status.read_text(), "it does not wait")
        assert end(process) == -signal.SIGTERM
    finally:
        process.kill()
        process.wait()


# catches: a line that is faster than it says; it may be slower on a busy machine
@pytest.mark.parametrize("options, bits", [([], 10), (["--parity", "odd", "--stop-bits", 2], 12)])
def test_a_line_takes_its_time(tmp_path, options, bits):
    stream = b"0123456789" * 12
    with emulator(
        tmp_path, "--speed", 2400, *options, "--until-idle", "0.01", "--record", tmp_path / "record"
    ) as process:
        begin = time.monotonic()
        (tmp_path / "port").write_bytes(stream)
        assert process.wait(PATIENCE) == 0
        assert time.monotonic() - begin >= len(stream) * bits / 2400
    assert (tmp_path / "record").read_bytes() == stream


# catches: a link that is left, a file that is lost, a link of somebody else taken away
def test_links(tmp_path):
    port = tmp_path / "port"
    for number in [signal.SIGINT, signal.SIGTERM, signal.SIGHUP]:
        with emulator(tmp_path) as process:
            assert os.readlink(port).encode() == (tmp_path / "out").read_bytes().strip()
            refused = run("emulate", "--link", port)
            assert refused.returncode == 1
            assert re.search(rb"a link to /dev/pts/\d+ is there, a terminal", refused.stderr)
            assert end(process, number) == 0
        assert not os.path.lexists(port)
    # One that was killed leaves its link, which the next one replaces.
    port.symlink_to("/dev/pts/987654")
    with emulator(tmp_path) as process:
        assert os.readlink(port) != "/dev/pts/987654"
        port.unlink()
        port.write_text("other")
        assert end(process) == 0
    assert port.read_text() == "other"
    (tmp_path / "link").symlink_to("none")
    (tmp_path / "other").symlink_to("/dev/pts/../none")
    for path, words in [
        (port, "a file"),
        (tmp_path, "a folder"),
        (tmp_path / "link", "a link to none is there\n"),
        (tmp_path / "other", "a link to /dev/pts/../none is there\n"),
    ]:
        refused = run("emulate", "--link", path)
        assert refused.returncode == 1
        assert f"cannot make the link {path}: {words}" in refused.stderr.decode()
    assert port.read_text() == "other"
    refused = run("emulate", "--record", port)
    assert refused.returncode == 1
    assert f"cannot write {port}: File exists" in refused.stderr.decode()
    assert port.read_text() == "other"
    refused = run("emulate", "--record", tmp_path / "a", "--png", tmp_path / "a")
    assert refused.returncode == 1
    assert not (tmp_path / "a").exists()


# catches: bytes that a till throws away or lets the system change without a word; the settings of
# one till that change the bytes of the next one
def test_a_till_changes_its_own_bytes(tmp_path):
    port, record, err = tmp_path / "port", tmp_path / "record", tmp_path / "err"
    with emulator(tmp_path, "--record", record) as process:
        till = os.open(port, os.O_RDWR | os.O_NOCTTY)
        termios.tcflush(till, termios.TCOFLUSH)
        wait_for(lambda: b"thrown away" in err.read_bytes(), "the flush is not told")
        settings = termios.tcgetattr(till)
        settings[1] |= termios.OPOST | termios.ONLCR
        termios.tcsetattr(till, termios.TCSANOW, settings)
        os.write(till, b"1\n")
        wait_for(lambda: b"output processing" in err.read_bytes(), "the change is not told")
        os.close(till)
        till = os.open(port, os.O_RDWR | os.O_NOCTTY)
        wait_for(lambda: not termios.tcgetattr(till)[1] & termios.OPOST, "it is not raw again")
        os.write(till, b"2\n")
        os.close(till)
        assert end(process) == 0
    assert record.read_bytes() == b"1\r\n2\n"


class Terminal:
    """A terminal for one program, of which all is kept that the program has written."""

    def __init__(self, arguments, rows=24, columns=80, kind="linux"):
        self.text = b""
        pid, self.descriptor = pty.fork()
        if pid == 0:
            os.chdir(BUILD / "profile")
            while os.get_terminal_size(1).lines != rows:
                time.sleep(0.001)
            os.execve(PROGRAM, [PROGRAM, *map(str, arguments)], {**ENVIRONMENT, "TERM": kind})
        self.pid = pid
        self.resize(rows, columns)
        self.settings = termios.tcgetattr(self.descriptor)
        self.status = None

    def resize(self, rows, columns):
        size = struct.pack("HHHH", rows, columns, 0, 0)
        fcntl.ioctl(self.descriptor, termios.TIOCSWINSZ, size)

    def shows(self, *texts):
        """Waits until the texts have come in this order, and forgets what was before them."""
        for text in texts:
            end = time.monotonic() + PATIENCE
            while text.encode() not in self.text:
                assert time.monotonic() < end, (text, self.text)
                self.read()
            self.text = self.text[self.text.index(text.encode()) + len(text.encode()) :]

    def read(self):
        """False if there is nothing more."""
        if not select.select([self.descriptor], [], [], 0.1)[0]:
            return True
        try:
            piece = os.read(self.descriptor, 65536)
        except OSError:
            piece = b""
        self.text += piece
        return piece != b""

    def end(self):
        """The exit status, once everything is read."""
        while self.read():
            pass
        self.status = os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])
        return self.status

    def __enter__(self):
        return self

    def __exit__(self, *ignored):
        if self.status is None:
            os.kill(self.pid, signal.SIGKILL)
            os.waitpid(self.pid, 0)
        os.close(self.descriptor)


# catches: a till that waits for a terminal that nobody reads; pictures that are lost with it
def test_the_terminal_is_closed(tmp_path):
    port, screen, record = tmp_path / "port", tmp_path / "screen", tmp_path / "record"
    arguments = ["emulate", "--link", port, "--screen", screen, "--record", record]
    with Terminal([*arguments, "--columns", 200, "--rows", 40], 60, 240) as terminal:
        terminal.shows(" - q ends")
        till = os.open(port, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        output = os.open(f"/proc/{terminal.pid}/fd/1", os.O_WRONLY | os.O_NOCTTY)
        stream = b"".join(bytes([33 + i % 94]) * 1000 for i in range(1000))
        written = 0

        def all_is_written():
            nonlocal written
            with contextlib.suppress(BlockingIOError):
                written += os.write(till, stream[written : written + 8000])
            return written == len(stream)

        wait_for(all_is_written, "the till waits")
        wait_for(lambda: record.stat().st_size == len(stream), "not all is read")
        assert not select.select([], [output], [], 0)[1], "the terminal has taken everything"
        os.close(terminal.descriptor)
        terminal.descriptor = os.open(os.devnull, os.O_RDONLY)
        terminal.status = os.waitstatus_to_exitcode(os.waitpid(terminal.pid, 0)[1])
        os.close(output)
        os.close(till)
    assert terminal.status == 0
    assert screen.exists()


# catches: a window that is not redrawn, or for nothing; a terminal that is left without echo, cursor
# or its text
@pytest.mark.parametrize("key", [b"q", b"\x03", signal.SIGTERM])
def test_a_person_watches(tmp_path, key):
    port = tmp_path / "port"
    arguments = ["emulate", "--link", port, "--screen", tmp_path / "screen", "--columns", 6]
    with Terminal(arguments, rows=9, columns=50) as terminal:
        terminal.shows("\x1b[?1049h", "┌──────┐", "│      │", "0 bytes, 0 commands")
        # A program in the window's terminal keeps a copy of it open, so it can be looked at.
        local = termios.tcgetattr(terminal.descriptor)[3]
        assert not local & (termios.ECHO | termios.ICANON)
        with open(port, "wb", buffering=0) as till:
            till.write(b"\x0cab\x1fr\1c\x1f")
            terminal.shows("│ab\x1b[7mc\x1b[0m", 'text "c"', "8 bytes, 2 commands", "1 byte to b")
            till.write(b"E\1")
            terminal.shows("│      │", "│ab", "│      │", "│ab")
            till.write(b"\x1b@\1")
            terminal.shows("unknown byte", "13 bytes, 4 commands, 1 ignored")
            terminal.resize(9, 7)
            terminal.shows("too sma")
            terminal.resize(5, 30)
            terminal.shows("┌──────┐", "13 bytes, 4 commands, 1 ignore")
            till.write(b"\x1aM\1\x14\0\0\0\0\2\0xy")
            terminal.shows("│     x", "│    xy│", "│   xy", "│y     │", "│     x")
        if isinstance(key, bytes):
            os.write(terminal.descriptor, key)
        else:
            os.kill(terminal.pid, key)
        terminal.shows("\x1b[?7h\x1b[?25h\x1b[?1049l", "25 bytes, 5 commands, 1 ignored, 0 cut")
        assert terminal.end() == 0
        assert termios.tcgetattr(terminal.descriptor) == terminal.settings
    assert (tmp_path / "screen").read_text().startswith("┌──────┐\n│xy    │\n")
    assert not port.is_symlink()


# catches: control sequences in a terminal that shows them as they are
def test_a_dumb_terminal(tmp_path):
    stream = tmp_path / "stream"
    stream.write_bytes(b"a\x1fr\1b")
    with Terminal(["preview", "--raw", stream, "--columns", 2], kind="dumb") as terminal:
        assert terminal.end() == 0
        assert terminal.text.decode() == "┌──┐\r\n│ab│  reverse 2\r\n│  │\r\n└──┘\r\n"
    with Terminal(["emulate", "--link", tmp_path / "port"], kind="dumb") as terminal:
        terminal.shows("/dev/pts/", "\r\n")
        (tmp_path / "port").write_bytes(b"\x0c")
        terminal.shows("00000000  0C ")
        os.kill(terminal.pid, signal.SIGTERM)
        assert terminal.end() == 0
        assert "\x1b" not in terminal.text.decode()


# catches: a line that waits for more than its command, a cut command at the end that is not told
def test_explain_follows_a_pipe(tmp_path):
    process = subprocess.Popen(
        [PROGRAM, "explain", "--raw"],
        cwd=BUILD / "profile",
        stdin=subprocess.PIPE,
        stdout=subprocess.PIPE,
        bufsize=0,
    )
    with process:
        process.stdin.write(b"\x0c\x1f")
        assert process.stdout.readline().startswith(b"00000000  0C ")
        process.stdin.write(b"r\1te")
        assert process.stdout.readline().startswith(b"00000001  1F 72 01 ")
        assert process.stdout.readline().endswith(b'text "te"\n')  # in spite of no end
        process.stdin.write(b"xt\x1f$")
        assert process.stdout.readline().endswith(b'text "xt"\n')
        process.stdin.close()
        assert b"cut: cursor to column ..., line ..." in process.stdout.readline()
        assert process.stdout.read() == b""
    assert process.returncode == 0


# catches: pictures below each other, or only at the end; control sequences for a file
def test_preview_follows_a_pipe(tmp_path):
    pipe = tmp_path / "pipe"
    os.mkfifo(pipe)
    with Terminal(["preview", "--raw", pipe, "--columns", 4, "--rows", 1]) as terminal:
        with open(pipe, "wb", buffering=0) as till:
            till.write(b"ab\x1f")
            terminal.shows("┌────┐\r\n│ab  │\r\n└────┘\r\n")
            till.write(b"r\1c")
            terminal.shows("\x1b[3F\x1b[J┌────┐\r\n│ab\x1b[7mc\x1b[0m │\r\n└────┘\r\n")
        terminal.shows("\x1b[3F\x1b[J┌────┐\r\n│ab\x1b[7mc\x1b[0m │\r\n└────┘\r\n")
        assert terminal.end() == 0
        assert terminal.text == b""
    with Terminal(["preview", "--raw", pipe, "--columns", 4, "--rows", 1], rows=3) as terminal:
        pipe.write_bytes(b"ab")
        terminal.shows("this window is too small; ", "\x1b[1F\x1b[J┌────┐\r\n│ab  │\r\n└────┘\r\n")
        assert terminal.end() == 0
    result = run("preview", "--raw", "--columns", 4, "--rows", 1, input=b"ab\x1f")
    assert result.stdout.decode() == "┌────┐\n│ab  │\n└────┘\n"
    assert b"1 command, the first at offset 2 (hex)" in result.stderr
