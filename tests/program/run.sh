#!/bin/sh
# Runs kestrix-disp as a user does: exit statuses, where output and messages go, input and output
# through files and pipes.
set -eu
build=$(cd "$1" && pwd)
program=$build/kestrix-disp
export LC_ALL=C.UTF-8
work=$(mktemp -d)
reader=
trap 'test -z "$reader" || kill "$reader" || :; rm -rf "$work"' EXIT
cp -R "$build/profile" "$work/default"
cd "$work/default"
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
# says PATTERN: the last run's messages must match it.
says() { grep -q -e "$1" "$work/err" || fail "does not say \"$1\" but: $(cat "$work/err")"; }
# gives WHAT: the last run's output must be the text on the standard input.
gives() { diff - "$work/out" >&2 || fail "$1: the output above, not the expected one (<)"; }

printf '<any><clear/><text>a</text></any>' >"$work/document"
"$program" render "$work/document" >"$work/stream"
"$program" render "$work/document" --hex >"$work/hex"

status 0 --help
for command in render send explain preview lint which check new-profile emulate; do
    status 0 "$command" --help
    grep -q -- '--device' "$work/out" || fail "no help for $command on the standard output"
done
status 0 --version
for arguments in '' render which check 'render - -' 'render - --hex --raw' 'render - --device' 'preview --origin 2' \
    'explain --hex --raw' 'explain --hex --document' 'explain --raw --document' 'render --hex unknown more' unknown; do
    # shellcheck disable=SC2086
    status 2 $arguments
done
says 'no command "unknown"'
for command in '' render explain preview lint 'send --port /dev/null' 'preview --columns'; do
    # shellcheck disable=SC2086
    "$program" $command "$(printf 'no\033[31mfile')" 2>&1 | tr '\033' '!' >"$work/out"
    grep -q 'no?\[31mfile' "$work/out" || fail "does not name the file: $command"
    grep -q '!' "$work/out" && fail "an escape reaches the terminal: $command"
done
for size in 0 256 -1 x ''; do
    status 2 preview "$work/stream" --columns "$size"
    status 2 preview "$work/stream" --rows "$size"
done
status 2 check ''
for device in '' "$(printf 'a\tb')" "$(printf '%0128d' 0)"; do
    status 2 check . --device "$device"
done
for device in none ' ~' "$(printf '%0127d' 0)"; do
    "$program" check . --device "$device" | grep -q 'does not open: status -200, the device' || fail "wrong status: $device"
done
for time in 24:00 12:60 1:00 12:3 12.30 ab:cd 12:300 1::00 :2:34 12:3: :::::; do
    status 2 preview "$work/stream" --clock "$time"
done
for seconds in nan inf -1 1000000001 1,5; do
    status 2 preview "$work/stream" --at "$seconds"
    status 2 emulate --until-idle "$seconds"
done
for time in 23:59 00:00; do
    printf '\037U' | "$program" preview --clock "$time" --columns 5 --rows 1 | grep -q "$time" || fail "no $time"
done
printf '\037U' | "$program" preview | grep -q '[0-2][0-9]:[0-5][0-9]│' || fail "no local time"
status 0 preview "$work/stream" --columns 1 --rows 255
[ "$(wc -l <"$work/out")" -eq 257 ] || fail "not 255 lines"
status 0 preview "$work/stream" --columns 255 --rows 1

for command in render explain preview; do
    status 1 "$command" "$work/none"
    status 1 "$command" "$work"
    says 'cannot read .*: Is a directory'
    if "$program" "$command" - <"$work" >"$work/out" 2>&1; then
        fail "no status 1 for a folder on the standard input: $command"
    fi
    status 1 "$command" /dev/null
    says '^kestrix-disp: /dev/null is empty$'
done
for command in render 'explain --document' 'preview --document'; do
    # shellcheck disable=SC2086
    "$program" $command "$work/stream" >"$work/out" 2>"$work/err" && fail "status 0 for a stream as document"
    says 'control codes and is no document; explain and preview read command streams$'
done
for device in none '' "$(printf '%0200d' 0)"; do
    status 1 render "$work/document" --device "$device"
    status 1 which a --device "$device"
    status 0 explain "$work/stream" --device "$device"
    says 'only ASCII is decoded$'
done
status 1 render "$work/document" --device none
says 'device "none" with setting "DEFAULT": status -200, the device information file is missing$'
cd "$work"
for command in render which; do
    status 1 "$command" "$work/document" --setting none
    says 'status -100, .* is missing in the current folder, as /.*/none.txt names no other$'
    says '^kestrix-disp: no ID file none.txt: the profile of the current folder is used$'
done
cd "$build/profile"
status 1 explain --hex "$work/stream"
says 'line 1 is no hexadecimal text'
status 1 render "$work/document" -o "$work/none/file"
status 1 preview "$work/stream" --svg "$work/none/file"
status 1 preview "$work/stream" --png "$work"

# Files, pipes and dumps carry the same bytes.
"$program" render "$work/document" -o "$work/written"
"$program" render - --raw <"$work/document" >"$work/piped"
cmp "$work/stream" "$work/written" || fail "-o writes other bytes"
cmp "$work/stream" "$work/piped" || fail "a pipe gives other bytes"
"$program" explain "$work/stream" >"$work/explained"
for input in "$work/document" "$work/hex"; do
    "$program" explain - <"$input" | cmp - "$work/explained" || fail "explained otherwise: $input"
done
"$program" explain "$work/stream" 2>&1 | cmp - "$work/explained" || fail "a note on a stream"
# Dumps of od, in which "*" stands for repeated lines.
{ cat "$work/stream"; printf '%0100d|>' 0; } >"$work/long"
"$program" explain "$work/long" --raw >"$work/explained"
for options in '-A o -t x1' '-A d -t x1z' '-A x -t x1'; do
    # shellcheck disable=SC2086
    od $options "$work/long" | "$program" explain | cmp - "$work/explained" || fail "od $options is not read"
done

# taken WHAT INPUT...: each input must cause this note on what it is taken for; "" is no note.
taken() {
    what=$1
    shift
    for input in "$@"; do
        # shellcheck disable=SC2059
        printf "$input" | "$program" explain >"$work/out" 2>"$work/err" || true
        [ "$(grep -o 'taken for .*;' "$work/err")" = "$what" ] || fail "not \"$what\": $input"
    done
}
taken 'taken for a document;' '\377\376' '\376\377' '\357\273\277<a>' '<\000a' '\000<' ' \t\r\n<?xml\001' \
    '<?x' '<!a' '<:' '<_' '<A' '<Z' '<a' '<z~ ' '<\200'
taken 'taken for text;' '<' '<1' '<@a' '<[' '<`' '<{' ' a\t\r\n' '0x1B, 0x40\n'
taken '' '\001' '<\033@a' '<a\037' '' '1b40' '<a/>'

# A marquee that walks in twice, one that places characters, a blink. Unlit dots are left out.
{
    printf '\032M\001d\0\310\0\002\002\0.-' | "$program" preview --raw --columns 1 --rows 1 --svg -
    printf '\037C\001.\032W\001\001\002\002\001\003\032C\001\032M\002\0\0\310\0\0\003\0.-.\032C\0\037E\002\037X\002' |
        "$program" preview --raw --columns 2 --svg - | grep '^<path\|^<use\|^<svg x\|^<anim'
} | sed 's/^<defs><path id="c" d="[^"]*"/<defs><path id="c"/' >"$work/out"
gives pictures <<'END'
<svg xmlns="http://www.w3.org/2000/svg" width="112" height="132" viewBox="0 0 28 33" role="img" aria-labelledby="t s">
<title id="t">Customer display, 1 x 1</title>
<desc id="s">.
Marquee: .-</desc>
<defs>
<linearGradient id="b" x2="0" y2="1"><stop stop-color="#3a3f44"/><stop offset="1" stop-color="#17191c"/></linearGradient>
<linearGradient id="g" x2="0" y2="1"><stop stop-color="#061212"/><stop offset="1" stop-color="#020809"/></linearGradient>
<filter id="f" filterUnits="userSpaceOnUse" x="0" y="0" width="28" height="33" color-interpolation-filters="sRGB"><feGaussianBlur stdDeviation="1.2"/><feComponentTransfer><feFuncA type="linear" slope="0.55"/></feComponentTransfer><feMerge><feMergeNode/><feMergeNode in="SourceGraphic"/></feMerge></filter>
<path id="d0" d="M3 9h0M2 10h0m1 0h0m1 0h0M3 11h0"/>
<path id="d1" d="M1 6h0m1 0h0m1 0h0m1 0h0m1 0h0"/>
</defs>
<rect x="0" y="0" width="28" height="33" rx="4.5" fill="url(#b)"/>
<rect x="4" y="4" width="20" height="25" rx="2" fill="url(#g)"/>
<g transform="translate(.5 .5)" stroke-linecap="round" stroke-width="0.9">
<defs><path id="c"/><g id="l"><use href="#c" x="0"/></g></defs>
<g stroke="#0c2021"><use href="#l" x="10" y="10"/></g>
<g filter="url(#f)" stroke="#6cffe2" opacity="1">
<svg x="9.5" y="9.5" width="8" height="13"><g transform="translate(.5 .5)">
<g><animateTransform attributeName="transform" type="translate" values="0;-9;-18" keyTimes="0;0.2;0.4" calcMode="discrete" dur="0.5s" repeatCount="2"/>
<use href="#d0" x="0" y="0"/>
<use href="#d1" x="9" y="0"/>
</g>
</g></svg>
</g>
</g>
</svg>
<svg xmlns="http://www.w3.org/2000/svg" width="148" height="196" viewBox="0 0 37 49" role="img" aria-labelledby="t s">
<path id="d0" d="M3 9h0M2 10h0m1 0h0m1 0h0M3 11h0"/>
<path id="d1" d="M0 12h0m1 0h0m1 0h0m1 0h0m1 0h0m1 0h0m1 0h0m1 0h0"/>
<path id="d2" d="M1 6h0m1 0h0m1 0h0m1 0h0m1 0h0"/>
<use href="#d0" x="10" y="10"/>
<use href="#d1" x="19" y="10"/>
<svg x="9.5" y="25.5" width="17" height="13"><g transform="translate(.5 .5)">
<use href="#d0" x="0" y="0"><animate attributeName="visibility" values="visible;hidden" keyTimes="0;0.15385" calcMode="discrete" dur="0.26s" repeatCount="indefinite"/></use>
<use href="#d2" x="9" y="0"><animate attributeName="visibility" values="hidden;visible;hidden" keyTimes="0;0.07692;0.15385" calcMode="discrete" dur="0.26s" repeatCount="indefinite"/></use>
<use href="#d0" x="0" y="0" visibility="hidden"><animate attributeName="visibility" values="hidden;visible" keyTimes="0;0.15385" calcMode="discrete" dur="0.26s" repeatCount="indefinite"/></use>
<animate attributeName="opacity" values="0.55;0" keyTimes="0;0.5" calcMode="discrete" dur="0.2s" repeatCount="indefinite"/>
END
# The clock, and the cursor, lie over a marquee.
for columns in 6 5; do
    printf '\037C\001\032M\001d\0\310\0\002\002\0.-\037U' |
        "$program" preview --raw --columns "$columns" --rows 1 --clock 00:00 --svg - | grep '^<use\|^<svg x='
done >"$work/out"
gives 'a clock over a marquee' <<'END'
<use href="#d0" x="10" y="10"/>
<use href="#d1" x="19" y="10"/>
<use href="#d1" x="28" y="10"/>
<use href="#d2" x="37" y="10"/>
<use href="#d1" x="46" y="10"/>
<use href="#d1" x="55" y="10"/>
<svg x="9.5" y="9.5" width="8" height="13"><g transform="translate(.5 .5)">
<use href="#d3" x="0" y="0"/>
<use href="#d4" x="9" y="0"/>
<use href="#d0" x="10" y="10"/>
<use href="#d1" x="19" y="10"/>
<use href="#d2" x="28" y="10"/>
<use href="#d1" x="37" y="10"/>
<use href="#d1" x="46" y="10"/>
END
# A frame goes with the locale; one that is not installed counts as C.
for locale in C en_US.ISO-8859-1 C.UTF-8; do
    LC_ALL=$locale "$program" preview "$work/stream" --columns 1 --rows 1 | tr '\n' ' '
done >"$work/frames"
"$program" preview "$work/stream" --columns 1 --rows 1 --ascii | tr '\n' ' ' >>"$work/frames"
[ "$(cat "$work/frames")" = '+-+ |a| +-+ +-+ |a| +-+ ┌─┐ │a│ └─┘ +-+ |a| +-+ ' ] || fail "wrong frames: $(cat "$work/frames")"
printf '\037C\001\037r\001a\037r\0' | "$program" preview --raw --sgr --columns 3 --rows 1 |
    grep -qF "$(printf '│\033[7ma\033[0m\033[4m \033[0m │')" || fail "reverse and cursor are not shown by control sequences"
printf '<any><text>a&lt;&amp;]]&gt;</text></any>' | "$program" preview --svg "$work/svg"
grep -q '<desc id="s">a&lt;&amp;\]\]&gt;</desc>' "$work/svg" || fail "no text in the SVG picture"
printf '\032a\037$\063\063' | "$program" preview >"$work/out" 2>"$work/err"
says 'without effect on this display: 2 commands, the first at offset 0 (hex)'
printf '%0300d\032' 0 | "$program" preview >"$work/out" 2>"$work/err"
says ': 1 command, the first at offset 12c '

status 0 which "$(printf 'e\314\201€?中₩b\314\201\314\205\314\205\n\302\255\377')"
gives which <<'END'
U+0065 + U+0301  é  LATIN SMALL LETTER E + COMBINING ACUTE ACCENT: composed to U+00E9 LATIN SMALL LETTER E WITH ACUTE, 82 in table 0 (code page 437)
U+20AC  €  EURO SIGN: 80 in table 16 (code page 1252)
U+003F  ?  QUESTION MARK: 3F in table 16 (code page 1252)
U+4E2D  中  CJK UNIFIED IDEOGRAPH-4E2D: missing character, 3F in table 16 (code page 1252)
U+20A9  ₩  WON SIGN: 5C in set 13 (korea.txt)
U+0062  b  LATIN SMALL LETTER B: 62 in table 16 (code page 1252)
U+0301  ◌́  COMBINING ACUTE ACCENT: spacing form U+00B4 ACUTE ACCENT, B4 in table 16 (code page 1252)
U+0305  ◌̅  COMBINING OVERLINE: spacing form U+203E OVERLINE, 7E in set 8 (japan.txt)
U+0305  ◌̅  COMBINING OVERLINE: spacing form U+203E OVERLINE, 7E in set 8 (japan.txt)
U+000A  �  <control-000A>: missing character, 3F in table 16 (code page 1252)
U+00AD  ­  SOFT HYPHEN: AD in table 16 (code page 1252)
no UTF-8    malformed text: missing character, 3F in table 16 (code page 1252)
END

# A damaged document: what the library makes of it, where it is damaged, and status 1. A namespace
# without declaration is no damage.
printf '<any><clear/>\n<text>a</text>\n%0999d</wrong>' 0 >"$work/damaged"
for command in render explain preview; do
    if "$program" "$command" "$work/damaged" >"$work/out" 2>"$work/err"; then
        fail "status 0 for a damaged document: $command"
    fi
    [ -s "$work/out" ] || fail "nothing of a damaged document: $command"
    if [ "$command" = render ]; then
        says "^$work/damaged:3: error: </wrong> stands where .* must end first \[not-well-formed\]$"
    else
        says '^kestrix-disp: line 3: the document ends early: </wrong> stands where .* must end first$'
    fi
done
# The same for a document that ends at a limit of the library.
limit() { "$program" render - >"$work/out" 2>"$work/err" && fail "status 0 beyond a limit"; says "$1"; }
{ printf '<!DOCTYPE a ['; printf '<!ATTLIST text a%d CDATA "1">' $(seq 65); printf ']><a><clear/></a>'; } |
    limit 'the document type declares more than 64 attributes with default values'
printf '<a><clear/><text x="%01048576d"/></a>' 0 | limit 'a tag has more than 1048576 bytes'
printf '<a' | limit ':1: error: there is no root element \[not-well-formed\]$'
printf '<any a:b="c"/>' | "$program" render - 2>"$work/err" || fail "status for a namespace"
[ -s "$work/err" ] || fail "no message for a namespace"

# An output is complete or what it was before. Each row catches a way to lose an input or an old file.
# lint tells all findings of all files, and a file that cannot be read is one.
echo '<ovix-display><clear/></ovix-display>' >"$work/good"
printf '<ovix-display>\n<text x="1" y="1">\342\206\222</text></ovix-display>' >"$work/warned"
status 0 lint "$work/good" --format json
[ ! -s "$work/out" ] || fail "findings of a good document"
lint_status() {
    expected=$1
    shift
    actual=0
    "$program" lint "$@" >"$work/out" 2>"$work/err" || actual=$?
    [ "$actual" -eq "$expected" ] || fail "lint: status $actual, not $expected: $*"
    [ ! -s "$work/err" ] || fail "lint: a message: $(cat "$work/err")"
}
lint_status 0 "$work/warned"
lint_status 1 "$work/warned" --strict
lint_status 1 "$work/none" "$work" "$work/warned" "$work/good" - <"$work/damaged"
gives "lint of several files" <<END
$work/none: error: cannot read $work/none: No such file or directory [file]
$work: error: cannot read $work: Is a directory [file]
$work/warned:2: warning: "→" (U+2192) has no byte in this profile and shows as "?" [missing-character]
-:1: warning: the root element is <any>, not <ovix-display> [schema]
-:3: error: </wrong> stands where <any> of line 1 must end first [not-well-formed]
-:3: error: "000000000000000000000000000000000000000000000000000000000..." is in <any>, where no text is shown [stray-text]
END
lint_status 0 "$work/warned" --format json
gives "lint in JSON" <<END
{"file": "$work/warned", "line": 2, "rule": "missing-character", "level": "warning", "message": "\"→\" (U+2192) has no byte in this profile and shows as \"?\""}
END
lint_status 1 "$work/damaged" --quiet
[ ! -s "$work/out" ] || fail "lint is not quiet"
status 2 lint
status 2 lint "$work/good" --format xml
printf '<ovix-display><text x="1" y="1">%021d</text></ovix-display>' 0 >"$work/long"
lint_status 0 "$work/long"
grep -q '\[wrap\]$' "$work/out" || fail "a text that runs on is not told"
lint_status 0 "$work/long" --columns 21
[ ! -s "$work/out" ] || fail "the size of the display is not used"

# render tells the same while it writes; with --strict it writes nothing.
status 0 render "$work/warned"
says 'warned:2: warning: .* \[missing-character\]$'
status 0 render "$work/warned" --quiet
[ ! -s "$work/err" ] || fail "render is not quiet"
echo old >"$work/kept"
status 1 render "$work/warned" --strict --output "$work/kept"
[ "$(cat "$work/kept")" = old ] || fail "written in spite of --strict"

# A note: lint tells it, render does not, and to --strict it is no finding.
printf '<ovix-display><text x="1" y="1">\341\273\215</text></ovix-display>' >"$work/alike"
lint_status 0 "$work/alike" --strict --format json
grep -q '"rule": "substitute", "level": "note"' "$work/out" || fail "lint gives no note"
status 0 render "$work/alike" --strict --output "$work/kept"
[ ! -s "$work/err" ] || fail "render tells a note"
[ "$(tail -c 1 "$work/kept")" = o ] || fail "not written because of a note"

if "$program" --help >/dev/full 2>"$work/err" || "$program" render "$work/document" >/dev/full 2>>"$work/err"; then
    fail "status 0 for an output that cannot be written"
fi
[ "$(grep -c 'cannot write the standard output: No space left on device' "$work/err")" -eq 2 ] || fail "no word on it"
mkdir "$work/out.d"
cp "$work/document" "$work/out.d/a"
ln "$work/out.d/a" "$work/out.d/hard"
ln -s a "$work/out.d/soft"
ln -s soft "$work/out.d/softer"
ln -s /dev/kestrix-none "$work/out.d/port"
# refused MESSAGE OUTPUT...: none of the outputs is written. The setting has no ID file, so that the
# profile is that of the current folder even where one is installed.
refused() {
    message=$1
    shift
    for output in "$@"; do
        status 1 render "$work/out.d/a" --setting none -o "$output"
        says "cannot write $output: $message"
        status 1 preview "$work/out.d/a" --setting none --png "$output"
    done
}
refused 'it is an input' "$work/out.d/a" "$work/out.d/hard" "$work/out.d/softer" HalvoSet.txt ibm437.txt
refused 'No such file or directory$' /dev/kestrix-none /dev/../dev/kestrix-none "$work/out.d/port" "$work/none/a"
refused 'it is a regular file in the place of a device$' /proc/version
refused 'Is a directory$' "$work"
refused 'Not a directory$' "$work/out.d/a/b"
refused 'No space left on device$' /dev/full
"$program" render - -o "$work/out.d/a" <"$work/out.d/a" 2>"$work/err" && fail "the standard input is written"
"$program" render "$work/out.d/a" >>"$work/out.d/a" 2>"$work/err" && fail "the input is appended to"
status 1 preview "$work/document" --svg "$work/out.d/b" --png "$work/out.d/../out.d/b"
cmp "$work/document" "$work/out.d/a" || fail "the input is destroyed"
[ "$(find "$work/out.d" | wc -l)" -eq 6 ] || fail "more files than before: $(ls -A "$work/out.d")"

# Modes are those of new files or of the old ones, links stay, devices and pipes stay what they are.
printf old >"$work/out.d/old"
chmod 604 "$work/out.d/old"
rm "$work/out.d/soft"
ln -s old "$work/out.d/soft"
(trap '' XFSZ && ulimit -f 0 && "$program" render "$work/document" -o "$work/out.d/softer" 2>&1) | cat >"$work/err"
says 'cannot write .*: File too large$'
[ "$(cat "$work/out.d/old")" = old ] || fail "a failure destroys the old file"
umask 027
for output in softer new; do
    "$program" render "$work/document" -o "$work/out.d/$output"
    cmp "$work/stream" "$work/out.d/$output" || fail "other bytes in $output"
done
[ "$(stat -c %a "$work/out.d/old" "$work/out.d/new" | tr '\n' ' ')" = '604 640 ' ] || fail "wrong modes"
[ "$(readlink "$work/out.d/softer")" = soft ] || fail "the link is gone"
[ "$(find "$work/out.d" | wc -l)" -eq 8 ] || fail "a file is left over: $(ls -A "$work/out.d")"
mkfifo "$work/fifo"
cat "$work/fifo" >"$work/piped" &
reader=$!
"$program" render "$work/document" -o "$work/fifo"
wait "$reader"
reader=
cmp "$work/stream" "$work/piped" || fail "a pipe is not written as it is"
{ printf before && "$program" render "$work/document" -o /dev/stdout; } >"$work/piped"
{ printf before && cat "$work/stream"; } | cmp - "$work/piped" || fail "/dev/stdout is not appended to"
"$program" render "$work/document" -o /dev/null
[ -c /dev/null ] || fail "/dev/null is replaced"

# A dump is for the terminal that somebody works at: a display may be at another one.
script -qec "$program render $work/document" /dev/null </dev/null >"$work/out"
grep -q '^00000000  0C ' "$work/out" || fail "no dump to a person's terminal"
script -qec "setsid -w $program render $work/document" /dev/null </dev/null >"$work/out"
grep -qF "$(printf '\037r')" "$work/out" || fail "no raw bytes to another terminal"

# The findings of check are its output. A relative path in a profile starts at the profile's folder if
# the current folder has no such device.
status 0 check .
tail -n 1 "$work/out" | grep -q '^device "default" opens, with 15 tables, 2 internal character sets and 644 characters, and shows one like it for [0-9]* more$' ||
    fail "wrong verdict"
grep -q 'error:\|warning:' "$work/out" && fail "the default profile has faults"
status 0 check . --strict
mkdir "$work/profile"
cp ./* "$work/profile"
cd "$work/profile"
sed -i 's/^0x81\t/0x80\t/' ibm437.txt
"$program" which ü --setting none 2>/dev/null | grep -q 'ü .*: like Ç, 80 in table 0 ' || fail "two at one byte"
sed -i 's/^ICSCommandParam=8\r/ICSCommandParam=0\r/' default
"$program" check . >"$work/out" || fail "status 1 for a warning"
"$program" check . --strict >"$work/out" && fail "status 0 for a warning in spite of --strict"
"$program" which ‾ --setting none 2>/dev/null | grep -q '7E in set 0 (japan.txt)$' || fail "the default set is not read"
printf 'x\r\n' >>"$work/profile/ibm850.txt"
sed -i 's/EncodeTypeDefault=3/EncodeTypeDefault=4/' "$work/profile/HalvoSet.txt"
seq -f 'x%g' 303 >>UnicodeData.txt
cd /
"$program" check "$work/profile" >"$work/out" && fail "status 0 for a broken profile"
for line in "HalvoSet.txt:2: error: .* (status -110)" "HalvoSet.txt:4: note: .* is relative" \
    "ibm850.txt:[0-9]*: error: .* (status -330)" "UnicodeData.txt:[0-9]*: note: and 3 more warnings up to this line"; do
    grep -q "^$work/profile/$line" "$work/out" || fail "not found by check: $line"
done
tail -n 1 "$work/out" | grep -q '^device "default" does not open: status -110' || fail "wrong verdict"
rm "$work/profile/UnicodeData.txt"
"$program" check "$work/profile" >"$work/out" && fail "status 0 without UnicodeData.txt"
grep -q '^/.*HalvoSet.txt:4: error: "/.*/UnicodeData.txt" cannot be opened: .* (status -320)$' "$work/out" ||
    fail "check does not miss UnicodeData.txt"
exit "$failed"
