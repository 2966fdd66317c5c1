#!/bin/sh
# Tests the schema of display documents: its two forms are the same, it accepts the examples, and it
# rejects what has no effect.
set -eu
cd "$(dirname "$0")/../.."
schema=docs/ovix-display
status=0
fail() { echo "$*" >&2; status=1; }
valid() { xmllint --noout --nonet --relaxng $schema.rng "$1" >/dev/null 2>&1; }

rnc2rng $schema.rnc | diff $schema.rng - || fail "$schema.rng is not what rnc2rng makes of $schema.rnc (>)"

for example in examples/*.xml; do
    [ "$example" = examples/mistakes.xml ] || valid "$example" || fail "not accepted: $example"
done

uri=$(sed -n 's/.*xml-model href="\([^"]*\)".*/\1/p' examples/README.md)
XML_CATALOG_FILES=docs/catalog.xml xmllint --noout --nonet --relaxng "$uri" examples/item.xml 2>/dev/null ||
    fail "the catalog does not find $uri, the schema that examples/README.md names"

check() { # accepted or rejected, then an element on each line
    while IFS= read -r element; do
        echo "<ovix-display>$element</ovix-display>" | { valid - && echo accepted || echo rejected; } |
            grep -qx "$1" || fail "not $1: $element"
    done
}
check accepted <<'END'
<text/>
<text x="0" y="255" reverse="0" lang="ja-JP"> a<!-- b -->c<![CDATA[<d>]]>&amp; </text>
<marquee uwait="65535" rwait="0" repeat="255">a</marquee>
<window number="255" x="0" y="1" width="1" height="255" destroy="false"/>
<window number="1" destroy="1"/>
<cursor type="none"/>
<blink interval="12750"/>
<command> 1b4C </command>
END
check rejected <<'END'
<txt>a</txt>
<text>a<clear/></text>
<marquee uwait="1" rwait="1">a&#10;b&#9;</marquee>
<text x="1">a</text>
<text x="256" y="1">a</text>
<text colour="red">a</text>
<text lang="ja_JP">a</text>
<text reverse="yes">a</text>
<marquee rwait="1">a</marquee>
<marquee uwait="65536" rwait="1">a</marquee>
<marquee uwait="1" rwait="1" repeat="-1">a</marquee>
<window x="1" y="1" width="20" height="2"/>
<window number="0"/>
<window number="1" x="1" y="1" width="20"/>
<window number="1" x="1" y="1" width="20" height="2" destroy="true"/>
<window number="1" x="1" y="1" width="20" height="2" scrollmode="scroll"/>
<cursor/>
<cursor moveto="top"/>
<cursor x="1" y="1" moveto="top_left"/>
<clear>a</clear>
<blink/>
<blink interval="12751"/>
<brightness value="80"/>
<command>1B 40</command>
<command>1B4</command>
<command/>
a
END
exit $status
