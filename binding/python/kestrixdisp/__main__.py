"""python3 -m kestrixdisp FILE: writes the commands of a document to the standard output."""

import argparse
import sys
from typing import NoReturn, Union

from kestrixdisp import Display, DocumentError, Error


def _fail(reason: object) -> NoReturn:
    sys.exit(f"kestrixdisp: {reason}")


def main() -> None:
    parser = argparse.ArgumentParser(
        prog="python3 -m kestrixdisp",
        description="Writes the command bytes of a display document to the standard output. Of a"
        " document that is not well-formed it writes those of the part before the damage, and exits"
        " with 1.",
    )
    parser.add_argument("file", metavar="FILE", help="the document; - is the standard input")
    parser.add_argument("--device", default="default", help="the device information file")
    parser.add_argument("--setting", default="DEFAULT", metavar="ID", help="the ID file")
    options = parser.parse_args()

    source: Union[int, str] = 0 if options.file == "-" else options.file
    try:
        display = Display(options.device, options.setting)
    except ValueError as error:
        parser.error(str(error))
    failure = None
    try:
        with open(source, "rb", closefd=source != 0) as file:
            document = file.read()
        try:
            commands = display.parse(document)
        except DocumentError as error:
            commands, failure = error.partial, error
        with open(1, "wb", closefd=False) as output:
            output.write(commands)
    except (OSError, Error) as error:
        _fail(error)
    if failure is not None:
        _fail(f"{options.file}: {failure}")


if __name__ == "__main__":
    main()
