"""The documents of tests/cases/documents.txt, whose first lines explain them, and their profile."""

import os
import re
from pathlib import Path

TABLES = ((0, 437, {byte: byte for byte in range(0x20, 0x7F)}),
          (2, 850, {0x84: 0xE4, 0x82: 0xE9}),
          (17, 866, {0xA6: 0x436}))
SET = (3, {0x5C: 0xA5})
CHARACTERS = {0xE4: "Ll;0;L;0061 0308", 0xE9: "Ll;0;L;0065 0301",
              0x301: "Mn;230;L;", 0x308: "Mn;230;L;"}
SETTINGS = {"EncodeTypeDefault": 3, "MissingCharacterCode": 63, "DeviceInfoPath": ".",
            "MaximumHandle": 32, "OutputBufferBlockSize": 4096, "OutputBufferBlockMax": 255}
COMMON = {"ICSCommandDefault": 0, "DecompositionClassNumber": 100, "GeneralCategorySize": 2,
          "CanonicalCombiningClassSize": 3, "BidiClassSize": 3, "DecompositionMappingSize": 2,
          "MappingTableNumber": len(TABLES), "InternalCharacterSetNumber": 1}


def write_profile(settings=None):
    """Writes the small display of the C++ tests into the current folder, as "default"."""
    def section(name, keys):
        return [f"[{name}]", *(f"{key}={value}" for key, value in keys.items())]

    def write(name, lines):
        Path(name).write_bytes("".join(line + "\r\n" for line in lines).encode())

    def write_characters(name, characters):
        write(name, (f"0x{byte:02X}\t0x{code:04X}\t#" for byte, code in characters.items()))
        for code in characters.values():
            database.setdefault(code, "Lo;0;L;")

    database = dict(CHARACTERS)
    device = section("Common", COMMON)
    for number, (parameter, code_page, characters) in enumerate(TABLES, 1):
        device += section(f"Table{number}", {
            "CodePage": code_page, "TableCommandParam": parameter,
            "TableFileName": f"table{number}.txt"})
        write_characters(f"table{number}.txt", characters)
    device += section("ICS1", {"ICSCommandParam": SET[0], "ICSFileName": "set1.txt"})
    write_characters("set1.txt", SET[1])
    write("default", device)
    write("HalvoSet.txt", section("Settings", {**SETTINGS, **(settings or {})})
          + section("LOG", {"LogFilePath": "no-log", "LogMaxSize": 1}))
    write("UnicodeData.txt", (f"{code:04X};NAME;{fields};;;;N;;;;;"
                              for code, fields in sorted(database.items())))


def _expanded(text, plain, braces):
    parts = re.split(r"\{(.+?)\}", text)
    for index, part in enumerate(parts):
        inside, star, count = part.rpartition("*")
        if index % 2 == 0:
            yield plain(part)
        elif star:
            yield plain(inside) * int(count)
        else:
            yield braces(part)


def _text(text):
    return b"".join(_expanded(text, str.encode, bytes.fromhex))


def _hex(text):
    return b"".join(_expanded(text, bytes.fromhex, bytes.fromhex))


def read_cases():
    """Cases: the fault, settings of the profile, and pairs of a document and its bytes."""
    cases = []
    lines = b""
    file = Path(os.environ["KESTRIX_CASES_DIR"], "documents.txt")
    for line in file.read_text(encoding="utf-8").split("\n"):
        if line.startswith("# catches:"):
            cases.append((line[len("# catches:"):].strip(), {}, []))
        if not line or line.startswith("#"):
            continue
        keyword, _, value = line.partition(" ")
        value = value.lstrip(" ")
        _, settings, steps = cases[-1]
        start, equal, end = value.rpartition("=")
        if keyword == "set":
            key, _, number = value.rpartition(" ")
            settings[key.strip()] = number
        elif keyword == "out":
            steps[-1] = (steps[-1][0], steps[-1][1] + _hex(value))
        elif not equal or "<" in end or ">" in end:
            lines += _text(value) + b"\n"
        else:
            text = _text(start)
            document = lines + (text[:-1] if text.endswith(b" ") else text)
            lines = b""
            if keyword == "elements":
                document = b"<any>" + document + b"</any>"
            steps.append((document, _hex(end)))
    assert not lines, "no bytes of a document"
    return cases
