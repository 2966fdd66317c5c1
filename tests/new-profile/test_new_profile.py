"""kestrix-disp new-profile: displays described in one command each, opened through the library, and
their bytes compared with Python's codecs. What is refused leaves nothing behind."""
import os
import re
import subprocess
import unicodedata

import kestrixdisp
import pytest

PROGRAM = os.environ["KESTRIX_PROGRAM"]


@pytest.fixture(autouse=True)
def folder(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)


def new_profile(*arguments):
    return subprocess.run([PROGRAM, "new-profile", *arguments], capture_output=True, text=True,
                          env={**os.environ, "LC_ALL": "C.UTF-8"})


# Where IBM's tables, which ICU has, are not those of Microsoft, which Python has.
OF_IBM = {"cp437": {0xE6: "μ"}, "cp862": {0xE6: "μ"}, "cp852": {0xAA: ""}, 
          "cp869": {0x88: "\u0387", 0xEF: "\u00b4"}}


def of_codec(codec):
    """The characters at the bytes that a text may send, without control characters."""
    table = {}
    for byte in range(0x20, 0x100):
        character = OF_IBM.get(codec, {}).get(byte, bytes([byte]).decode(codec, "ignore"))
        if character and unicodedata.category(character) != "Cc":
            table[byte] = character
    return table


ASCII = of_codec("ascii")
# As a vendor publishes a table: tabs, comments, unused bytes, CR LF and the end mark of DOS.
VENDOR = ("\ufeff#\tName: katakana\r\n#\r\n0x00\t0x0000\t#NULL\r\n0x7f\t0x007f\t#DELETE\r\n"
          + "".join(f"0x{byte:02x}\t0x{ord(character):04x}\t#{unicodedata.name(character)}\r\n"
                    for byte, character in of_codec("shift_jis").items())
          + "0x80\t      \t#UNDEFINED\r\n0x81\t#UNDEFINED\r\n0x82\r\n0x83\t0xFFFD\r\n\r\n\x1a")
# As somebody types it from a manual: blanks, small letters, an ideograph that UnicodeData.txt has in
# a range only.
TYPED = "0x80 U+20AC # euro sign\n0X81 0x5186\n0x9f\t0x0041\t# A"

DISPLAYS = {  # name: arguments; code page, parameter and characters of each table
    "one page": (["--table", "0=ibm-437"], {437: (0, of_codec("cp437"))}),
    "western": (["--table", "0=cp850", "--table", "16=1252", "--table", "19=858"],
                {850: (0, of_codec("cp850")), 1252: (16, of_codec("cp1252")),
                 858: (19, of_codec("cp858"))}),
    "central": (["--table", "18=ibm-852", "--table", "3=windows-1250", "--table", "4=iso-8859-2"],
                {852: (18, of_codec("cp852")), 1250: (3, of_codec("cp1250")),
                 28592: (4, of_codec("iso8859_2"))}),
    "cyrillic": (["--table", "0=ibm-866", "--table", "1=koi8-r", "--table", "2=windows-1251",
                  "--table", "3=ISO-8859-5", "--code-page", "3=5"],
                 {866: (0, of_codec("cp866")), 20866: (1, of_codec("koi8_r")),
                  1251: (2, of_codec("cp1251")), 5: (3, of_codec("iso8859_5"))}),
    "greek and turkish": (["--table", "14=cp737", "--table", "15=cp869", "--table", "13=cp857",
                           "--table", "47=windows-1253"],
                          {737: (14, of_codec("cp737")), 869: (15, of_codec("cp869")),
                           857: (13, of_codec("cp857")), 1253: (47, of_codec("cp1253"))}),
    "baltic": (["--table", "255=cp775", "--table", "33=windows-1257", "--table", "9=iso-8859-15"],
               {775: (255, of_codec("cp775")), 1257: (33, of_codec("cp1257")),
                28605: (9, of_codec("iso8859_15"))}),
    "middle east": (["--table", "36=windows-1255", "--table", "50=windows-1256", "--table", "5=862"],
                    {1255: (36, of_codec("cp1255")), 1256: (50, of_codec("cp1256")),
                     862: (5, of_codec("cp862"))}),
    "corrected": (["--table", "0=ibm-437", "--map", "0:9F=U+0178", "--map=0:9E=Ș", "--unmap", "0:E6",
                   "--missing", "U+00BF"],
                  {437: (0, {byte: character for byte, character in
                             {**of_codec("cp437"), 0x9F: "Ÿ", 0x9E: "Ș"}.items() if byte != 0xE6})}),
    "katakana of a vendor": (["--table", "0=ibm-437", "--table", "1=JIS0201.TXT"],
                             {437: (0, of_codec("cp437")), 1: (1, of_codec("shift_jis"))}),
    "typed": (["--table", "0=koi8-u", "--table", "7=CP932.txt", "--map", "7:82=U+E000"],
              {21866: (0, of_codec("koi8_u")),
               932: (7, {**ASCII, 0x80: "€", 0x81: "円", 0x82: "\ue000", 0x9F: "A"})}),
    "two corrections of one page": (["--table", "0=cp437", "--table", "1=cp437", "--map", "1:80=€",
                                     "--code-page", "1=1"],
                                    {437: (0, of_codec("cp437")),
                                     1: (1, {**of_codec("cp437"), 0x80: "€"})}),
}


@pytest.mark.parametrize("arguments, tables", DISPLAYS.values(), ids=DISPLAYS)
def test_bytes(arguments, tables):
    """Catches: a wrong or missing byte, parameter or code page, a size or count that makes an open
    drop something, an accent that does not compose, a display without sets that sends one."""
    with open("JIS0201.TXT", "w", encoding="utf-8", newline="") as file:
        file.write(VENDOR)
    with open("CP932.txt", "w", encoding="utf-8") as file:
        file.write(TYPED)
    made = new_profile("made/", "--device", "lumo20", *arguments)
    assert made.returncode == 0, made.stderr
    assert "warning" not in made.stdout
    os.chdir("made")
    with kestrixdisp.Converter("lumo20", "NO-SUCH-ID") as converter:
        for code_page, (parameter, characters) in tables.items():
            converter.code_page = code_page
            switch = b"\x1bt" + bytes([parameter])
            held = set(characters.values())
            for byte, character in characters.items():
                same = {switch + bytes([b]) for b, c in characters.items() if c == character}
                for text in {character, unicodedata.normalize("NFC", character)} & held:
                    parts = unicodedata.normalize("NFD", text)
                    composable = len(parts) == 2 and unicodedata.normalize("NFC", parts) == text
                    for form in {text, parts} if composable else {text}:
                        assert converter.convert(form) in same, (code_page, ascii(form), hex(byte))
        converter.code_page = None
        missing = b"\xa8" if "--missing" in arguments else b"?"
        for character in "漢\uffff\ufffd":
            assert converter.convert(character)[3:] == missing, ascii(character)


def test_sets():
    """Catches: a set that costs switches for what a table has, a wrong default set."""
    with open("lumo.txt", "w", encoding="utf-8") as file:
        file.write("0x5B\t0x00A1\t# in the table\n0x5C\t0x0178\n0x5D\t0x203E\n0x7C\t0x20A9\n")
    made = new_profile("made", "--table", "0=ibm-437", "--set", "5=lumo.txt", "--set", "8=japan",
                       "--set", "13=korea", "--set", "3=uk", "--set-default", "2")
    assert (made.returncode, "warning" in made.stdout) == (0, False)
    for set_number in (8, 13, 3):  # their characters are in the table or in set 5
        assert f"set {set_number} (" in made.stderr
    os.chdir("made")
    with kestrixdisp.Converter("default", "NO-SUCH-ID") as converter:
        for character, byte in {"Ÿ": 0x5C, "‾": 0x5D, "₩": 0x7C}.items():
            assert converter.convert(character) == b"\x1bt\0\x1bR\5" + bytes([byte]) + b"\x1bR\2"
        assert converter.convert("¡") == b"\x1bt\0\xad"


FILES = {  # the text of a table file, and what is said of it
    "a byte twice": ("# a\n0x80\t0x20AC\n0x80\t0x00A3\n", "t.txt:3: the byte 0x80 is in line 2"),
    "two bytes": ("0x8140\t0x3000\n", "t.txt:1: must begin with a byte .*more than one byte"),
    "no byte": ("\n20AC\t80\n", "t.txt:2: must begin with a byte .*20AC"),
    "surrogate": ("0x80\t0xD800\n", "t.txt:1: U.D800 is a surrogate"),
    "too large": ("0x80\t0x110000\n", "t.txt:1: must have one code point"),
    "no sequence": ("0x80\t0x0041+0x\n", "t.txt:1: must have one code point"),
    "half a sequence": ("0x80\t<RL>+\n", "t.txt:1: must have one code point"),
    "sequences only": ("0x80\t0x05F2+0x05B7\t# yod yod patah\n", "t.txt has no character"),
    "no hash": ("0x80\t0x20AC\teuro\n", 't.txt:1: must have .*"euro"'),
    "lines after the end": ("0x80\t0x20AC\n\x1a\n0x81\t0x20AD\n", "t.txt:2: a byte 1A ends the text"),
    "NUL": ("0x80\0\t0x20AC\n", "t.txt:1: must begin with a byte"),
    "another format": ("CODEPAGE 1252\n", "t.txt:1: must begin with a byte"),
    "empty": ("", "t.txt is empty"),
    "comments": ("# 0x80\t0x20AC\n0x81\n", "t.txt has no character"),
    "line breaks of CR": ("# a\r0x80\t0x20AC\r\r0x80\t0x00A3\r", "t.txt:4: the byte 0x80 is in line 2"),
}


# As a vendor of computers publishes a table of a script that runs from right to left.
BIDIRECTIONAL = ("0x20\t<LR>+0x0020\t# SPACE, left-right\n0x3F\t0x003F\n0x81\t0x05F2+0x05B7\t# two\n"
                 "0xA0\t<RL>+0x0020\t# SPACE, right-left\n0x00\t0x0040\n0xE0\t0x05D0\n")
NOTES = {  # a source; what is said of bytes that are left out, and a character that is there
    "sequences": ("t.txt", ["1 byte left out, as a table has one"], "א"),
    "a character at two bytes": ("t.txt", ["U.0020 SPACE is left out at the byte A0, .* at 20"], " "),
    "bytes of commands": ("t.txt", ["1 character at bytes below 20 left out"], "?"),
    "twice in a code page": ("ibm-1051", ["U.00A3 POUND SIGN is left out at the byte AF, .* at BB"], "£"),
    "nothing": ("ibm-437", [], "é"),
}


@pytest.mark.parametrize("source, notes, character", NOTES.values(), ids=NOTES)
def test_bytes_left_out(source, notes, character):
    """Catches: a byte of a source that is left out without a word, or refused with the others."""
    with open("t.txt", "w", encoding="utf-8") as file:
        file.write(BIDIRECTIONAL)
    made = new_profile("made", "--table", f"0={source}")
    assert made.returncode == 0, made.stderr
    assert ("left out" in made.stderr) == bool(notes), made.stderr
    for words in notes:
        assert re.search("table 0: " + words, made.stderr), made.stderr
    os.chdir("made")
    with kestrixdisp.Converter("default", "NO-SUCH-ID") as converter:
        assert converter.convert(character)[:3] == b"\x1bt\0" and (
            character == "?" or converter.convert(character)[3:] != b"?")


@pytest.mark.parametrize("text, words", FILES.values(), ids=FILES)
@pytest.mark.parametrize("option", [["--table", "0=t.txt"], ["--table", "0=437", "--set", "1=t.txt"]])
def test_files_with_mistakes(text, words, option):
    """Catches: a mistake in a file that is passed over, or told without its line."""
    with open("t.txt", "w", encoding="utf-8") as file:
        file.write(text)
    made = new_profile("made", *option)
    assert made.returncode == 1 and not made.stdout
    assert re.search(words, made.stderr), made.stderr
    assert os.listdir() == ["t.txt"]


PAGE = ["--table", "0=ibm-437"]
REFUSED = {  # arguments: exit status, and what is said
    ("--table", "0=ibm-438"): (2, "ibm-437"),
    ("--table", "0=windows-125"): (2, "windows-125[0-9]"),
    ("--table", "0=shift_jis"): (2, "several bytes"),
    ("--table", "0=utf-8"): (2, "several bytes"),
    ("--table", "0=none.txt"): (1, "none.txt: No such file"),
    ("--table", "0=."): (1, "Is a directory"),
    ("--table", "256=ibm-437"): (2, "0 to 255"),
    ("--table", "-1=ibm-437"): (2, "0 to 255"),
    ("--table", "ibm-437"): (2, "PARAM="),
    ("--table", "0="): (2, "PARAM="),
    (): (2, "--table"),
    (*PAGE, *PAGE): (2, "twice"),
    (*PAGE, "--map", "0:9F=U+D800"): (2, "U.D800"),
    (*PAGE, "--map", "0:9F=U+110000"): (2, "U.110000"),
    (*PAGE, "--map", "0:9F=U+0007"): (2, "U.0007"),
    (*PAGE, "--map", "0:9F=U+FFFF"): (2, "U.FFFF"),
    (*PAGE, "--map", "0:9F=e\u0301"): (2, "neither one character"),
    (*PAGE, "--map", "0:9F="): (2, "neither one character"),
    (*PAGE, "--map", "0:1F=U+20AC"): (2, "20 to FF"),
    (*PAGE, "--map", "0:100=U+20AC"): (2, "20 to FF"),
    (*PAGE, "--map", "9F=U+20AC"): (2, "PARAM:BYTE"),
    (*PAGE, "--map", "1:9F=U+20AC"): (2, "no table 1"),
    (*PAGE, "--map", "0:9F=€", "--map", "0:9f=£"): (2, "twice"),
    (*PAGE, "--map", "0:9F=€", "--unmap", "0:9F"): (2, "twice"),
    (*PAGE, "--code-page", "1=5"): (2, "no table 1"),
    (*PAGE, "--code-page", "0=32768"): (2, "0 to 32767"),
    (*PAGE, "--set", "8=atlantis"): (2, "japan"),
    (*PAGE, "--set", "8=japan", "--set", "8=korea"): (2, "twice"),
    (*PAGE, "--set-default", "256"): (2, "0 to 255"),
    (*PAGE, "--missing", "€"): (2, "no table has U.20AC"),
    (*PAGE, "--device", "a/b"): (2, "--device"),
    (*PAGE, "--device", "UnicodeData.txt"): (2, "--device"),
    (*PAGE, "--path", "/MissingCharacterCode"): (2, "--path"),
    (*PAGE, "--log-path", "a\nb"): (2, "--log-path"),
    (*PAGE, "--id", "../x"): (2, "--id"),
    (*PAGE, "--id", "there"): (1, "there.txt: it exists"),
    (*PAGE, "--languages", "de,xx"): (2, "xx"),
    ("--fallback", *(f"--table={number}=437" for number in range(256))): (2, "at most 256"),
    (*PAGE, "--unicode-data", "there.txt"): (1, "there.txt:1: is no line of UnicodeData.txt"),
    (*PAGE, "--unicode-data", "none"): (1, "none"),
}


@pytest.mark.parametrize("arguments", REFUSED, ids=lambda arguments: " ".join(arguments)[:60])
def test_refusals(arguments):
    """Catches: a wrong argument that is taken, and anything left behind or replaced."""
    with open("there.txt", "w", encoding="utf-8") as file:
        file.write("kept")
    status, words = REFUSED[arguments]
    refused = new_profile("made", *arguments)
    assert refused.returncode == status and not refused.stdout, refused.stderr
    assert re.search(words, refused.stderr), refused.stderr
    assert os.listdir() == ["there.txt"]
    with open("there.txt", encoding="utf-8") as file:
        assert file.read() == "kept"


@pytest.mark.parametrize("there", ["folder", "folder/", "file", "link", "none/made", "x" * 300])
def test_places(there):
    """Catches: a profile that is written over something, or half a profile."""
    os.mkdir("folder")
    os.symlink("nowhere", "link")
    with open("file", "w", encoding="utf-8"):
        pass
    refused = new_profile(there, *PAGE)
    assert refused.returncode == 1 and "kestrix-disp: cannot write" in refused.stderr
    assert sorted(os.listdir()) == ["file", "folder", "link"] and not os.listdir("folder")


def test_installed_place():
    """Catches: an ID file or path of another folder, and a check that looks there too early."""
    made = new_profile("stage", *PAGE, "--path", "/usr/local/lumo", "--log-path", "/var/log/lumo",
                       "--id", "LUMO")
    assert made.returncode == 0 and "1 table, 1 internal character set" in made.stdout, made.stdout
    with open("LUMO.txt", "rb") as file:
        assert file.read() == b"ModulePath=/usr/local/lumo\r\n"
    with open("stage/HalvoSet.txt", "rb") as file:
        settings = file.read()
    assert b"DeviceInfoPath=/usr/local/lumo\r\n" in settings
    assert b"LogFilePath=/var/log/lumo\r\n" in settings
    here = new_profile("here", *PAGE, "--id", "HERE")
    with open("HERE.txt", encoding="ascii", newline="") as file:
        assert file.read() == f"ModulePath={os.path.realpath('here')}\r\n", here.stderr


@pytest.mark.parametrize("language, words", [("pt-BR", "10 missing: À Ã Ê Ò Õ à ã ê ò õ"),
                                             ("sr_Latn", "54 exactly"),
                                             ("no", "10 missing: À Å Æ Ò Ø à å æ ò ø")])
def test_language_names(language, words):
    """Catches: a language by its usual name that is not known, or taken for another."""
    made = new_profile("made", "--table", "0=windows-1250", "--languages", language)
    assert re.search(f"^{language}: .* letters: .*{words}$", made.stdout, re.MULTILINE), made.stdout


def test_languages():
    """Catches: letters of one case only, characters that CLDR has but the report does not."""
    made = new_profile("made", "--table", "0=windows-1252", "--languages", "de,pl")
    assert "de: 59 letters: 59 exactly\n" in made.stdout
    missing = made.stdout.split("pl: 64 letters: 48 exactly; 16 missing:")[1].split("\n")[0]
    assert missing.split() == list("ĄąĆćĘęŁłŃńŚśŹźŻż")


def test_list():
    """Catches: a list with pages that no display can have, or that --table does not take."""
    listed = new_profile("--list")
    names = [line.split() for line in listed.stdout.splitlines()]
    assert len(names) > 100 and ["ibm-850" in line for line in names].count(True) == 1
    assert not {"UTF-8", "Shift_JIS", "EUC-JP"} & {name for line in names for name in line}
    tables = [f"--table={number}={line[0]}" for number, line in enumerate(names)]
    made = new_profile("made", *tables)
    assert made.returncode == 0, made.stderr
