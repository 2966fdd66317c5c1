#!/usr/bin/python3
# Shows an item on the display: python3 till.py NAME PRICE [DEVICE [SETTING]] > /dev/ttyUSB0
import argparse
import os
import sys
from xml.sax.saxutils import escape

import kestrixdisp

parser = argparse.ArgumentParser()
parser.add_argument("name")
parser.add_argument("price")
parser.add_argument("device", nargs="?", default="default")
parser.add_argument("setting", nargs="?", default="DEFAULT")
till = parser.parse_args(["--", *sys.argv[1:]])  # so that a price may begin with a minus
# A text may have any character, but not & < > as they are.
document = os.fsencode(
    f"<ovix-display><clear/><text x='1' y='1'>{escape(till.name)}</text>"
    f"<text x='1' y='2'>{escape(till.price)}</text><cursor type='none'/></ovix-display>")

try:
    with kestrixdisp.Display(till.device, till.setting) as display:
        data = display.parse(document)
except kestrixdisp.Error as error:  # a DocumentError is one
    sys.exit(f"till: {error}")
sys.stdout.buffer.write(data)
