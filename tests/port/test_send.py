"""kestrix-disp send: no byte is changed, lost or added, and the port is what it was before."""

import fcntl
import os
import re
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import termios
from pathlib import Path

import pytest
from conftest import BUILD, EXAMPLES, LIMIT, PROGRAM, Port, line_of, run, start, until

EVERY_BYTE = bytes(range(256)) * 4
LONG = bytes(range(256)) * 1000  # more than a pseudo-terminal holds
GOOD = "<ovix-display><text x='1' y='1'>a</text></ovix-display>"
BROKEN = "<ovix-display>\n<text x='1' y='1'>a</wrong></ovix-display>"
LOSSY = "<ovix-display><text x='1' y='1'>\u6f22</text></ovix-display>"


@pytest.fixture
def stream(tmp_path):
    file = tmp_path / "stream"
    file.write_bytes(LONG)
    return file


def start_blocked(port, stream, *options, **more):
    """A sender that waits in the middle of its bytes, as nobody reads."""
    process = start("send", "--stream", stream, "--port", port.name, *options, **more)
    until(port.is_full)
    return process


# Settings of a port that change or drop bytes; flow control that nobody asked for.
@pytest.mark.parametrize(
    "options",
    [(), ("--flow", "rtscts"), ("--parity", "even", "--data-bits", 7, "--stop-bits", 2)],
)
def test_every_byte_arrives(port, tmp_path, options):
    (tmp_path / "stream").write_bytes(EVERY_BYTE)
    os.write(port.master, b"\x13")
    result = run("send", "--stream", tmp_path / "stream", "--port", port.name, *options)
    assert (result.returncode, result.stderr, result.stdout) == (0, b"", b"")
    assert port.rest() == EVERY_BYTE
    assert port.is_as_before()


# A port that echoes what the display says, or ends the sender for it; a sender that loses bytes
# while the port is full.
def test_long_stream_while_the_display_talks(port, stream):
    process = start_blocked(port, stream)
    os.write(port.master, b"typed\n\x03\x1c\x04\x13")
    assert port.read(len(LONG)) == LONG
    assert process.wait() == 0
    assert port.rest() == b""
    assert port.is_as_before()


@pytest.mark.parametrize("document", sorted(EXAMPLES.glob("*.xml")), ids=lambda file: file.stem)
def test_examples_are_sent_as_rendered(port, document):
    rendered = run("render", document)
    sent = run("send", document, "--port", port.name)
    assert (sent.returncode, sent.stderr) == (rendered.returncode, rendered.stderr)
    assert port.rest() == rendered.stdout


# Each by a sender of its own: what one leaves behind must not stop the next, or add bytes.
def test_emulator_gets_what_is_sent(tmp_path):
    files = {name: tmp_path / name for name in ("port", "record", "screen", "stream")}
    files["stream"].write_bytes(bytes(range(256)))
    emulator = start("emulate", "--link", files["port"], "--record", files["record"],
                     "--screen", files["screen"])
    until(files["port"].exists)
    expected = b""
    for document in sorted(EXAMPLES.glob("*.xml")):
        for arguments, bytes_ in [((document,), run("render", document).stdout),
                                  (("--stream", files["stream"]), bytes(range(256)))]:
            sent = run("send", *arguments, "--port", files["port"], "--quiet", "--parity", "even")
            assert (sent.returncode, sent.stderr) == (0, b"")
            expected += bytes_
    until(lambda: files["record"].stat().st_size >= len(expected))
    emulator.send_signal(signal.SIGTERM)
    emulator.communicate()
    assert files["record"].read_bytes() == expected
    assert files["screen"].read_bytes() == run("preview", "--raw", files["record"]).stdout


def test_several_files_and_the_standard_input(port, tmp_path):
    (tmp_path / "a").write_text(GOOD)
    result = run("send", tmp_path / "a", "-", "--port", port.name,
                 input=GOOD.replace("a<", "b<").encode())
    assert result.returncode == 0
    a = run("render", tmp_path / "a").stdout
    assert port.rest() == a + a.replace(b"a", b"b")


# What a port gets while it is used; a terminal's own speed, which no constant names, comes back.
@pytest.mark.parametrize(
    "options, speed, control, input_flags",
    [
        ((), 9600, 0, 0),
        (("--speed", 115200, "--stop-bits", 2), 115200, termios.CSTOPB, 0),
        (("--flow", "rtscts", "--speed", 50), 50, termios.CRTSCTS, 0),
        (("--flow", "xonxoff"), 9600, 0, termios.IXON),
    ],
)
def test_settings(port, stream, options, speed, control, input_flags):
    tcgets2, tcsets2, bother = 0x802C542A, 0x402C542B, 0o10000
    form = "4IB19s2I"
    former = list(struct.unpack(form, fcntl.ioctl(port.slave, tcgets2, bytes(44))))
    former[2] = former[2] & ~0o10017 | bother | termios.HUPCL
    former[6:] = 12345, 12345
    fcntl.ioctl(port.slave, tcsets2, struct.pack(form, *former))
    process = start_blocked(port, stream, *options)
    now = struct.unpack(form, fcntl.ioctl(port.slave, tcgets2, bytes(44)))
    assert now[0] & ~termios.IGNBRK == input_flags
    assert now[1] == now[3] == 0
    assert now[2] & (termios.CSTOPB | termios.CRTSCTS) == control
    assert now[2] & termios.CLOCAL and now[2] & termios.CREAD and now[2] & termios.HUPCL
    assert now[7] == speed
    assert port.is_exclusive()
    port.read(len(LONG))
    assert process.wait() == 0
    assert list(struct.unpack(form, fcntl.ioctl(port.slave, tcgets2, bytes(44)))) == former
    assert not port.is_exclusive()


def test_flow_control_holds_the_bytes_up(port, tmp_path):
    (tmp_path / "stream").write_bytes(EVERY_BYTE)
    arguments = ("send", "--stream", tmp_path / "stream", "--port", port.name, "--flow", "xonxoff")
    os.write(port.master, b"\x13")
    held = run(*arguments, "--timeout", 1)
    assert held.returncode == 1
    assert b"not ready" in held.stderr and b": 0 of 1024 bytes sent\n" in held.stderr
    process = start(*arguments)
    until(port.is_exclusive)
    os.write(port.master, b"\x11")
    assert port.read(len(EVERY_BYTE)) == EVERY_BYTE
    assert process.wait() == 0


def sent_of(message):
    return int(re.search(rb": (\d+) of 256000 bytes sent\n$", message)[1])


# A pseudo-terminal has no line; this one keeps bytes as a line does. A sender that ends before the
# last byte has left, changes the settings under it, waits for ever, or tells a wrong number.
@pytest.mark.skipif("KESTRIX_SLOW_LINE" not in os.environ, reason="not built")
@pytest.mark.parametrize(
    "rate, stop, number, status, words",
    [
        (400, 1000, None, 0, ()),
        (100000, 41, None, 1, (b": not ready, ", b": 41 of 71 bytes sent", b"thrown away 30")),
        (100000, 41, signal.SIGTERM, 1,
         (b": interrupted: 41 of 71 bytes sent", b"thrown away 30")),
    ],
)
def test_line(port, tmp_path, rate, stop, number, status, words):
    (tmp_path / "stream").write_bytes(EVERY_BYTE[:71])
    line = dict(LD_PRELOAD=os.environ["KESTRIX_SLOW_LINE"], LINE_RATE=str(rate), LINE_STOP=str(stop))
    process = start("send", "--stream", tmp_path / "stream", "--port", port.name,
                    "--timeout", 1 if number is None else 50, "--speed", 115200,
                    env=dict(os.environ, **line))
    message = b""
    for text in process.stderr:
        message += text
        if message.count(b"drain\n") == 3:  # each time that it has waited for a moment
            break
    if number is not None:
        process.send_signal(number)
    message += process.communicate()[1]
    assert process.returncode == status
    assert all(word in message for word in words), message
    assert message.count(b"settings, 0 waiting\n") == 2


# A sender that leaves the port as it had it, tells a wrong number, or ends with status 0.
@pytest.mark.parametrize(
    "number", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGQUIT]
)
def test_signal(port, stream, number):
    process = start_blocked(port, stream)
    process.send_signal(number)
    message = process.communicate()[1]
    assert process.returncode == 1
    assert b": interrupted: " in message
    assert port.is_as_before()
    assert port.rest() == LONG[: sent_of(message)]


def test_nohup_is_kept(port, stream):
    process = start_blocked(
        port, stream, preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
    process.send_signal(signal.SIGHUP)
    assert port.read(len(LONG)) == LONG
    assert process.wait() == 0


def test_full_port(port, stream):
    result = run("send", "--stream", stream, "--port", port.name, "--timeout", 1)
    assert result.returncode == 1
    assert b"not ready, as no byte has left for 1 s" in result.stderr
    assert port.is_as_before()
    assert port.rest() == LONG[: sent_of(result.stderr)]


def test_port_goes_away(port, stream):
    process = start_blocked(port, stream)
    port.close()
    message = process.communicate()[1]
    assert process.returncode == 1
    assert b": unplugged, or closed at its other end" in message
    assert 0 < sent_of(message) < len(LONG)


# Each row catches a file that is made, changed or waited for.
def test_no_port(tmp_path, stream):
    (tmp_path / "file").write_text("kept")
    (tmp_path / "folder").mkdir()
    os.mkfifo(tmp_path / "pipe")
    with socket.socket(socket.AF_UNIX) as server:
        server.bind(str(tmp_path / "socket"))
        for port, words in [
            (tmp_path / "file", "is not a serial port, but a regular file; --list"),
            (tmp_path / "folder", "is not a serial port, but a folder"),
            (tmp_path / "pipe", "is not a serial port, but a pipe"),
            (tmp_path / "socket", "is not a serial port, but a socket"),
            ("/dev/null", "is not a serial port, but another device"),
            ("/dev/ptmx", "is not a serial port, but the maker of pseudo-terminals"),
            (tmp_path / "none", "there is no port"),
            (tmp_path / "none" / "none", "there is no port"),
            ("", "there is no port"),
        ]:
            result = run("send", "--stream", stream, "--port", port)
            assert result.returncode == 1, port
            assert words in result.stderr.decode(), port
            assert result.stderr.count(b"\n") == 1
    assert (tmp_path / "file").read_text() == "kept"
    assert len(list(tmp_path.iterdir())) == 5


def test_own_terminal(stream):
    """The terminal of the one who works there would show the bytes, or act on them."""
    port = Port()
    pid = os.fork()
    if pid == 0:
        os.setsid()
        fcntl.ioctl(port.slave, termios.TIOCSCTTY, 0)
        result = run("send", "--stream", stream, "--port", port.name)
        os._exit(b"but the terminal that you work at" not in result.stderr)
    assert os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]) == 0
    assert port.rest() == b""


@pytest.fixture
def program_for_all():
    """A copy that another user can start: the build may lie where only its owner can go."""
    with tempfile.TemporaryDirectory(dir="/tmp") as folder:
        os.chmod(folder, 0o755)
        for file in (PROGRAM, *BUILD.glob("libkestrixdispengine.so.?")):
            shutil.copy(file, folder)
        yield Path(folder) / PROGRAM.name


def test_permission(port, program_for_all):
    user = 65534 if os.getuid() == 0 else os.getuid()

    def message():
        result = subprocess.run(
            [program_for_all, "send", "--stream", "-", "--port", port.name], input=b"a",
            capture_output=True, timeout=LIMIT, check=False, user=user, cwd="/")
        assert result.returncode == 1
        return result.stderr

    os.chmod(port.name, 0)
    assert b"no permission to write to " in message() and b"belongs to user " in message()
    if os.getuid() == 0:
        os.chown(port.name, 0, 20)
        os.chmod(port.name, 0o660)
        assert b"belongs to group dialout; " in message()


def test_in_use(port, stream):
    process = start_blocked(port, stream)
    second = run("send", "--stream", stream, "--port", port.name)
    assert second.returncode == 1
    assert b" is in use: " in second.stderr
    assert port.read(len(LONG)) == LONG
    assert process.wait() == 0
    fcntl.flock(port.slave, fcntl.LOCK_EX)
    assert b" is in use: " in run("send", "--stream", stream, "--port", port.name).stderr
    assert port.is_as_before()
    fcntl.flock(port.slave, fcntl.LOCK_UN)
    fcntl.ioctl(port.slave, termios.TIOCEXCL)
    assert b" is in use: " in run("send", "--stream", stream, "--port", port.name).stderr
    assert port.is_exclusive()


# A wrong one among good files must not send these, and each is told.
@pytest.mark.parametrize(
    "document, options, words",
    [
        (BROKEN, (), ":2: error: </wrong>"),
        (None, (), "No such file or directory"),
        ("", (), "is empty"),
        ("\x1b@", (), "--stream sends bytes as they are"),
        (LOSSY, ("--strict",), "wrong has an error or warning, and --strict allows none"),
        (LOSSY, ("--strict", "--quiet"), "wrong has an error or warning, and --strict allows none"),
    ],
)
def test_wrong_document_sends_nothing(port, tmp_path, document, options, words):
    (tmp_path / "good").write_text(GOOD)
    if document is not None:
        (tmp_path / "wrong").write_text(document)
    result = run("send", tmp_path / "none", tmp_path / "wrong", tmp_path / "good",
                 "--port", port.name, *options)
    assert result.returncode == 1
    assert words in result.stderr.decode()
    assert b"none: No such file" in result.stderr
    assert result.stderr.endswith(b"kestrix-disp: nothing is sent\n")
    assert port.rest() == b""


def test_document_as_stream_is_told(port, tmp_path):
    (tmp_path / "document").write_text(GOOD)
    result = run("send", "--stream", tmp_path / "document", "--port", port.name)
    assert b"document looks like a document and is sent as it is" in result.stderr
    assert port.rest() == GOOD.encode()


@pytest.mark.parametrize("options, told", [((), True), (("--quiet",), False)])
def test_findings_are_told(port, tmp_path, options, told):
    (tmp_path / "lossy").write_text(LOSSY)
    result = run("send", tmp_path / "lossy", "--port", port.name, *options)
    assert result.returncode == 0
    assert (b"[missing-character]" in result.stderr) == told
    assert port.rest() != b""


@pytest.mark.parametrize(
    "arguments, words",
    [
        (("--port", "p"), "FILE is required"),
        (("f",), "--port is required"),
        (("f", "--port", "p", "--speed", "960"), "no speed 960, but 50, 75, "),
        (("f", "--port", "p", "--speed", "9600x"), "no speed 9600x"),
        (("f", "--port", "p", "--parity", "mark"), "--parity: mark"),
        (("f", "--port", "p", "--data-bits", "9"), "--data-bits: 9"),
        (("f", "--port", "p", "--stop-bits", "3"), "--stop-bits: 3"),
        (("f", "--port", "p", "--flow", "dtr"), "--flow: dtr"),
        (("f", "--port", "p", "--timeout", "0"), "--timeout: "),
        (("f", "-", "--port", "p", "--watch"), "the standard input cannot be watched"),
    ],
)
def test_usage(arguments, words):
    result = run("send", *arguments)
    assert result.returncode == 2
    assert words in result.stderr.decode()


def test_list():
    result = run("send", "--list")
    assert result.returncode == 0
    assert all(line.startswith(b"/dev/tty") for line in result.stdout.splitlines())
    assert (result.stdout == b"") == (b"no serial port" in result.stderr)


# Each way in which an editor saves a file; what is broken in between is not sent.
def test_watch(port, tmp_path):
    document = tmp_path / "document"
    link = tmp_path / "link"
    link.symlink_to(document)

    def rename(text):
        (tmp_path / "new").write_text(text)
        (tmp_path / "new").rename(document)

    def again(text):
        document.unlink()
        document.write_text(text)

    def elsewhere(text):
        (tmp_path / "folder").mkdir()
        (tmp_path / "folder" / "other").write_text(text)
        (tmp_path / "newlink").symlink_to(tmp_path / "folder" / "other")
        (tmp_path / "newlink").rename(link)

    rename(GOOD)
    expected = run("render", document).stdout
    process = start("send", "--watch", link, "--port", port.name)
    assert port.read(len(expected)) == expected
    for letter, save in zip("bcdefg", [document.write_text, rename, again, document.write_text,
                                       elsewhere, (tmp_path / "folder/other").write_text]):
        save(BROKEN)
        while b"nothing is sent" not in line_of(process.stderr):
            pass
        if save is elsewhere:
            save = (tmp_path / "folder" / "other").write_text
        save(GOOD.replace("a<", letter + "<"))
        assert port.read(len(expected)) == expected.replace(b"a", letter.encode())
    assert port.is_exclusive()
    process.send_signal(signal.SIGINT)
    assert process.wait(60) == 0
    assert port.is_as_before()
    assert port.rest() == b""


def test_watch_needs_the_file_at_first(port, tmp_path):
    os.mkfifo(tmp_path / "pipe")
    for name, words in [("none", b"none: No such file"), ("pipe", b"pipe: it is no regular file")]:
        result = run("send", "--watch", tmp_path / name, "--port", port.name)
        assert result.returncode == 1
        assert words in result.stderr
