#!/bin/sh
# Runs kestrix-disp as a user does: exit statuses, where output and messages go, input and output
# through files and pipes.
set -eu
build=$(cd "$1" && pwd)
program=$build/kestrix-disp
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$build/profile"
failed=0

fail() { echo "$*" >&2; failed=1; }

# status EXPECTED ARGUMENT...: a status other than 0 comes with a message and without output.
status() {
    expected=$1
    shift
    actual=0
    "$program" "$@" >"$work/out" 2>"$work/err" </dev/null || actual=$?
    [ "$actual" -eq "$expected" ] || fail "status $actual, not $expected: $*"
    if [ "$expected" -ne 0 ]; then
        [ -s "$work/err" ] || fail "no message: $*"
        [ ! -s "$work/out" ] || fail "output in spite of status $expected: $*"
    fi
}

printf '<any><clear/><text>a</text></any>' >"$work/document"
"$program" render "$work/document" >"$work/stream"
"$program" render "$work/document" --hex >"$work/hex"

status 0 --help
for command in render explain preview which check; do
    status 0 "$command" --help
    grep -q -- '--device' "$work/out" || fail "no help for $command on the standard output"
done
status 0 --version
status 2
status 2 unknown
grep -q '"unknown"' "$work/err" || fail "the unknown command is not named"
status 2 render
status 2 which
status 2 render "$work/document" "$work/document"
status 2 render "$work/document" --hex --raw
status 2 render "$work/document" --device
status 2 explain "$work/stream" --hex --raw
for size in 0 256 -1 x ''; do
    status 2 preview "$work/stream" --columns "$size"
    status 2 preview "$work/stream" --rows "$size"
done
status 2 preview "$work/stream" --origin 2
status 2 check
status 2 check ''
for device in '' "$(printf 'a\tb')" "$(printf '%0128d' 0)"; do
    status 2 check . --device "$device"
done
for time in 24:00 12:60 1:00 12:3 12.30 ab:cd 12:300 :::::; do
    status 2 preview "$work/stream" --clock "$time"
done

for command in render explain preview; do
    status 1 "$command" "$work/none"
    status 1 "$command" "$work"
    if "$program" "$command" - <"$work" >"$work/out" 2>&1; then
        fail "no status 1 for a folder on the standard input: $command"
    fi
done
for device in none '' "$(printf '%0200d' 0)"; do
    status 1 render "$work/document" --device "$device"
    status 1 which a --device "$device"
    status 0 explain "$work/stream" --device "$device"
    [ -s "$work/err" ] || fail "no note that only ASCII is decoded"
done
status 1 explain --hex "$work/stream"
status 1 render "$work/document" -o "$work/none/file"
status 1 preview "$work/stream" --svg "$work/none/file"
status 1 preview "$work/stream" --png "$work"

# The same bytes by every way in and out.
"$program" render "$work/document" -o "$work/written"
"$program" render - --raw <"$work/document" >"$work/piped"
cmp "$work/stream" "$work/written" || fail "-o writes other bytes"
cmp "$work/stream" "$work/piped" || fail "a pipe gives other bytes"
"$program" explain "$work/stream" >"$work/explained"
for input in "$work/document" "$work/hex"; do
    "$program" explain - <"$input" | cmp - "$work/explained" || fail "explained otherwise: $input"
done
printf '0x1B, 0x40\n' | "$program" explain >"$work/out" 2>"$work/err"
[ -s "$work/err" ] || fail "no note that text is taken for a stream"
printf '<\033@a' | "$program" explain 2>&1 | grep -q 'reset the display' || fail "a stream taken for a document"
"$program" explain "$work/stream" 2>&1 | cmp - "$work/explained" || fail "a note on a stream"
"$program" preview "$work/document" --svg "$work/svg" --png "$work/png"
grep -q '<desc id="s">a</desc>' "$work/svg" || fail "no text in the SVG picture"
head -c 4 "$work/png" | grep -q PNG || fail "no PNG picture"

# A damaged document: what the library makes of it, where it is damaged, and status 1. A namespace
# without declaration is no damage.
printf '<any><clear/>\n<text>a</text>\n%0999d</wrong>' 0 >"$work/damaged"
for command in render explain preview; do
    if "$program" "$command" "$work/damaged" >"$work/out" 2>"$work/err"; then
        fail "status 0 for a damaged document: $command"
    fi
    [ -s "$work/out" ] || fail "nothing of a damaged document: $command"
    grep -q 'line 3: Opening and ending tag mismatch' "$work/err" || fail "no line: $command"
done
# So does one that ends at a limit of the library, without a word from the XML reader.
{ printf '<!DOCTYPE a ['; printf '<!ATTLIST text a%d CDATA "1">' $(seq 65); printf ']><a><clear/></a>'; } |
    "$program" render - >"$work/out" 2>"$work/err" && fail "status 0 for too many attributes"
grep -q 'more than 64 attributes with default values' "$work/err" || fail "no reason for too many attributes"
printf '<a><clear/><text x="%01048576d"/></a>' 0 | "$program" render - >"$work/out" 2>"$work/err" &&
    fail "status 0 for a tag that is too long"
grep -q 'a tag has more than 1048576 bytes' "$work/err" || fail "no reason for a tag that is too long"
printf '<any a:b="c"/>' | "$program" render - 2>"$work/err" || fail "status for a namespace"
[ -s "$work/err" ] || fail "no message for a namespace"

if "$program" --help >/dev/full 2>"$work/err"; then
    fail "status 0 for a help that cannot be written"
fi

# What check finds is its output. A relative path of the profile starts at the profile where the
# current folder has no such device.
status 0 check .
tail -n 1 "$work/out" | grep -q '^device "default" opens, with 9 tables, ' || fail "wrong verdict"
grep -q 'error:\|warning:' "$work/out" && fail "the default profile has faults"
mkdir "$work/profile"
cp ./* "$work/profile"
cd "$work/profile"
sed -i 's/^0x81\t/0x80\t/' ibm437.txt
"$program" which ü | grep -q 'ü .*: 80 in table 0 .*, where it is also U+00C7 ' || fail "two at one byte"
sed -i 's/^ICSCommandParam=8\r/ICSCommandParam=0\r/' default
"$program" which ‾ | grep -q '7E in set 0 (japan.txt)$' || fail "the default set is not read"
printf 'x\r\n' >>"$work/profile/ibm850.txt"
sed -i 's/EncodeTypeDefault=3/EncodeTypeDefault=4/' "$work/profile/HalvoSet.txt"
cd /
"$program" check "$work/profile" >"$work/out" && fail "status 0 for a broken profile"
for line in "HalvoSet.txt:2: error: .* (status -110)" "HalvoSet.txt:4: note: .* is relative" \
    "ibm850.txt:[0-9]*: error: .* (status -330)"; do
    grep -q "^$work/profile/$line" "$work/out" || fail "not found by check: $line"
done
tail -n 1 "$work/out" | grep -q '^device "default" does not open: status -110' || fail "wrong verdict"
exit "$failed"
