"""What the package gives and refuses, in one thread."""

import copy
import inspect
import pickle
import re
import subprocess
import sys
import textwrap
from pathlib import Path

import cases
import kestrixdisp
import pytest
from kestrixdisp import ConversionWarning, Converter, Display, DocumentError, EncodeType, Error

NAMES = ("default", "KESTRIX-TEST-NO-SUCH-ID")
BLANKS = " " * 5000  # enough for the reader to hand over what is before


def parse(display, document):
    try:
        return display.parse(document)
    except DocumentError as error:
        return error.partial


# catches: a document or its bytes cut, changed or kept for the next one
@pytest.mark.parametrize("_fault, settings, steps", cases.read_cases())
def test_documents(_fault, settings, steps):
    cases.write_profile(settings)
    with Display(*NAMES) as as_bytes, Display(*NAMES) as as_text:
        for document, expected in steps:
            assert parse(as_bytes, document) == expected, document
            try:
                text = document.decode()
            except UnicodeDecodeError:
                continue
            assert parse(as_text, text) == expected, document


# catches: an early end unnoticed, its line or its bytes those of another document
@pytest.mark.parametrize("document, line, message, partial", [
    (f"<any>\n<clear/>{BLANKS}&</any>", 2, "an & that begins no entity; write &amp;", b"\x0c"),
    ("", 1, "there is no root element", b""),
    ("<any>\n\n<clear/>é\0</any>", 3, "a character that XML does not allow", b""),
    (b"<any>\xe9</any>", 1, "bytes that are not UTF-8", b""),
])
def test_document_errors(document, line, message, partial):
    with Display(*NAMES) as display:
        for _ in range(2):
            where = f"^line {line}: "
            with pytest.raises(DocumentError, match=where + re.escape(message)) as caught:
                display.parse(document)
            assert caught.value.line == line
            assert caught.value.partial.startswith(partial)
            assert caught.value.status == 0
            assert display.parse("<reset/>") == b"\x1b@"


# catches: an exception that a pool of processes cannot hand on
@pytest.mark.parametrize("error", [
    Error(-200), DocumentError("why", 3, b"\x0c"), DocumentError("why", None, b""),
    ConversionWarning(-420),
])
def test_exceptions_are_pickled(error):
    twin = pickle.loads(pickle.dumps(error))
    assert (str(twin), vars(twin)) == (str(error), vars(error))


# catches: str and bytes read alike, streams mixed up, a setting that stays or has no effect
def test_converter():
    with Converter(*NAMES) as converter:
        assert converter.convert("aä¥ж") == bytes.fromhex(
            "1B7400 61 1B7402 84 1B5203 5C 1B5200 1B7411 A6")
        assert converter.raw("aä¥") == (b"a\x84\\", bytes(5) + b"\1\0\0\0\2",
                                        b"\2\0\0\0\3" + b"\3\0\0\0\0")
        assert converter.raw("").characters == converter.convert(b"") == b""
        rows = [(EncodeType.UTF16_BIG_ENDIAN, "utf-16-be"), (EncodeType.UTF8, "utf-8"),
                (EncodeType.UTF16_LITTLE_ENDIAN, "utf-16-le"), (EncodeType.UTF16_BY_MARK, "utf-16")]
        for converter.encode_type, encoding in rows:
            text = "ä" + "a" * 5000
            octets = text.encode(encoding)
            expected = converter.convert(text)
            assert len(expected) == 3 + 1 + 3 + 5000
            assert converter.convert(octets) == expected
            assert octets == text.encode(encoding)
        converter.code_page = 850
        assert (converter.code_page, converter.convert("aä")) == (850, b"\x1bt\2?\x84")
        converter.code_page = None
        assert converter.convert("aä") == b"\x1bt\0a\x1bt\2\x84"


# catches: a warning lost or taken for an error, its text left for the next one, the wrong place
@pytest.mark.parametrize("encode_type, text, status, expected", [
    (EncodeType.UTF16_BIG_ENDIAN, b"\0a\0", -400, b"\x1bt\0a?"),
    (EncodeType.UTF16_BY_MARK, b"\xff\xfea\0\0\xd8", -410, b"\x1bt\0a?"),
    (EncodeType.UTF8, b"a\xff", -420, b"\x1bt\0a?"),
    (EncodeType.UTF8, b"a" * (8 * 2**20 + 1), -500, b"\x1bt\0" + b"a" * 8 * 2**20),
], ids=["odd", "surrogate", "malformed", "long"])
def test_warnings(encode_type, text, status, expected):
    cases.write_profile({"OutputBufferBlockSize": 1000000})
    converter = Converter(*NAMES)
    converter.encode_type = encode_type
    for method in (converter.convert, converter.raw):
        with pytest.warns(ConversionWarning, match=rf"\(status {status}\)$") as caught:
            result = method(text)
        assert [warning.filename for warning in caught] == [__file__]
        assert caught[0].message.status == status
        assert result == expected if method == converter.convert else expected[3:] == result[0]
    assert converter.convert("b") == b"\x1bt\0b"


# catches: what did fit of a text that does not shown before the next one
def test_output_that_is_full():
    cases.write_profile({"OutputBufferBlockSize": 5, "OutputBufferBlockMax": 1})
    with Converter(*NAMES) as converter:
        for method, expected in ((converter.convert, b"\x1bt\0g"),
                                 (converter.raw, (b"g", bytes(5), b""))):
            with pytest.raises(Error, match=r"\(status -510\)$"):
                method("abcdef")
            assert method("g") == expected


LATIN = '<?xml version="1.0" encoding="ISO-8859-1"?><text>{}</text>'
WRONG = [
    (lambda d, c: Display(5), TypeError),
    (lambda d, c: Display(b"default"), TypeError),
    (lambda d, c: Display("default\0"), ValueError),
    (lambda d, c: Display("défault"), ValueError),
    (lambda d, c: Display("default", None), TypeError),
    (lambda d, c: Display("default", "\ud800"), ValueError),
    (lambda d, c: Display("", NAMES[1]).parse("<a/>"), -20),
    (lambda d, c: Display("x" * 128, NAMES[1]).parse("<a/>"), -20),
    (lambda d, c: Display("missing", NAMES[1]).parse("<a/>"), -200),
    (lambda d, c: d.parse(), TypeError),
    (lambda d, c: d.parse(None), TypeError),
    (lambda d, c: d.parse(["<a/>"]), TypeError),
    (lambda d, c: d.parse("<a>\ud800</a>"), ValueError),
    (lambda d, c: d.parse(LATIN.format("é")), ValueError),
    (lambda d, c: copy.copy(d), TypeError),
    (lambda d, c: pickle.dumps(c), TypeError),
    (lambda d, c: Converter(b"default"), TypeError),
    (lambda d, c: Converter("default\n"), ValueError),
    (lambda d, c: Converter("missing", NAMES[1]), -200),
    (lambda d, c: [Converter(*NAMES) for _ in range(33)], -50),
    (lambda d, c: c.convert(5), TypeError),
    (lambda d, c: c.raw("\udfff"), ValueError),
    (lambda d, c: setattr(c, "code_page", 438), ValueError),
    (lambda d, c: setattr(c, "code_page", -1), ValueError),
    (lambda d, c: setattr(c, "code_page", 2**64 + 437), ValueError),
    (lambda d, c: setattr(c, "code_page", "437"), TypeError),
    (lambda d, c: setattr(c, "encode_type", 4), ValueError),
]


# catches: a crash, a wrong use that does something, or one that spoils what comes after
@pytest.mark.parametrize("use, expected", WRONG)
def test_wrong_use(use, expected):
    with Display(*NAMES) as display, Converter(*NAMES) as converter:
        with pytest.raises(Error if isinstance(expected, int) else expected) as caught:
            use(display, converter)
        if isinstance(expected, int):
            assert caught.value.status == expected
            assert str(caught.value).endswith(f"(status {expected})")
        assert display.parse(LATIN.format("e")) == b"\x1fr\0\x1bt\0e"
        assert converter.convert("ä") == b"\x1bt\2\x84"


# catches: what was freed used again, as a pointer or as the handle of another object
@pytest.mark.parametrize("use", [
    lambda d, c: d.parse("<a/>"),
    lambda d, c: c.convert("a"),
    lambda d, c: c.raw(""),
    lambda d, c: setattr(c, "code_page", None),
    lambda d, c: setattr(c, "encode_type", 3),
])
def test_closed(use):
    with Display(*NAMES) as display, Converter(*NAMES) as converter:
        display.parse("<a/>")
    display.close()
    converter.close()
    others = [Converter(*NAMES) for _ in range(3)]
    with pytest.raises(ValueError, match="^the (Display|Converter) is closed$"):
        use(display, converter)
    assert [other.convert("a") for other in others] == [b"\x1bt\0a"] * 3


# catches: another output, exit status or stream than programs rely on
@pytest.mark.parametrize("arguments, document, status, output, message", [
    (["-"], b"<clear/>", 0, b"\x0c", ""),
    (["document.xml"], None, 0, b"\x1bt\0\x0a", ""),
    (["-"], f"<any><clear/>{BLANKS}".encode(), 1, b"\x0c", "disp: -: line 1: the end tag of"),
    (["-"], b"", 1, b"", "there is no root element"),
    (["missing.xml"], None, 1, b"", "missing.xml"),
    (["-", "--device", "missing"], b"<a/>", 1, b"", "(status -200)"),
    (["-", "--device", "\n"], b"<a/>", 2, b"", "device must be of printable ASCII"),
    ([], None, 2, b"", "usage: python3 -m kestrixdisp"),
    (["-", "--bad"], None, 2, b"", "usage: python3 -m kestrixdisp"),
])
def test_program(arguments, document, status, output, message):
    Path("document.xml").write_bytes(b"<command>1B74000A</command>")
    run = subprocess.run([sys.executable, "-m", "kestrixdisp", "--setting", NAMES[1], *arguments],
                         input=document, capture_output=True, check=False)
    assert (run.returncode, run.stdout) == (status, output)
    assert message in run.stderr.decode()
    assert (run.stderr == b"") == (status == 0)


# catches: an output that fails unnoticed
@pytest.mark.parametrize("redirection", [">/dev/full", ">&-"])
def test_program_without_room(redirection):
    program = f"{sys.executable} -m kestrixdisp --setting {NAMES[1]} -"
    run = subprocess.run(f"echo '<clear/>' | {program} {redirection}", shell=True,
                         stderr=subprocess.PIPE, check=False)
    assert (run.returncode, run.stderr.count(b"\n")) == (1, 1), run.stderr


# catches: an example in the documentation that does not run, or does something else
@pytest.mark.parametrize("documented, expected", [
    (kestrixdisp, rb"\x0c"),
    (Converter, rb"\x1bt\x00Cr\?me br\?l\x1bt\x02\x82\x1bt\x00e"),
])
def test_examples(documented, expected):
    text = inspect.getdoc(documented)
    example = textwrap.dedent("".join(re.findall(r"^(?: {4}.*)?\n", text, re.M)))
    names = {}
    exec("import kestrixdisp\n" + example.replace('"default"', f"*{NAMES}"), names)
    assert re.fullmatch(expected, names["data"])


# catches: a version that is told twice, and differently
def test_version():
    project = Path(__file__).parents[1].joinpath("pyproject.toml").read_text(encoding="utf-8")
    assert f'\nversion = "{kestrixdisp.__version__}"\n' in project


# catches: a type that misleads the users of the package
def test_types():
    pytest.importorskip("mypy")
    Path("use.py").write_text(textwrap.dedent("""
        import kestrixdisp
        with kestrixdisp.Display() as display, kestrixdisp.Converter(setting="x") as converter:
            data: bytes = display.parse("") + display.parse(b"") + converter.convert("")
            converter.code_page = None
            converter.encode_type = kestrixdisp.EncodeType.UTF8
            raw: bytes = converter.raw(b"").tables
            display.parse(5)  # type: ignore[arg-type]
    """))
    package = Path(kestrixdisp.__file__).parent
    run = subprocess.run([sys.executable, "-m", "mypy", "--strict", "--cache-dir=/dev/null",
                          "--python-version=3.9", "use.py", package],
                         env={"MYPYPATH": str(package.parent)}, capture_output=True, check=False)
    assert run.returncode == 0, run.stdout.decode() + run.stderr.decode()
