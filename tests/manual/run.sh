#!/bin/sh
# The manual page and the bash completion name each command and each option of the program.
set -eu
program=$1/kestrix-disp
root=$(cd "$(dirname "$0")/../.." && pwd)
status=0
fail() { echo "$*" >&2; status=1; }

LC_ALL=C.UTF-8 man -l --warnings "$root/docs/kestrix-disp.1" 2>&1 >/dev/null | grep . && fail "the manual page is malformed"
# In the manual page hyphens are escaped.
names() { tr -d '\\' <"$1" | grep -o -e '--[a-z-]\{1,\}' -e '[a-z-]\{1,\}' | LC_ALL=C sort -u; }

commands=$("$program" --help | sed -n '/^Subcommands:/,$s/^  \([a-z-]\{1,\}\) .*/\1/p')
[ "$(echo "$commands" | wc -l)" -ge 5 ] || fail "only these commands are in the program's help: $commands"
for file in docs/kestrix-disp.1 program/completion.bash; do
    names=$(names "$root/$file")
    for command in $commands; do
        for name in $command $("$program" "$command" --help | grep -o '^  \(-[a-z],\)\{0,1\}--[a-z-]\{1,\}' | grep -o -e '--[a-z-]*'); do
            echo "$names" | grep -qxe "$name" || fail "$file lacks $name, of \"$command\""
        done
    done
done
# Each rule of lint stands in the manual page, with its words.
LC_ALL=C.UTF-8 MANWIDTH=1000 man -l "$root/docs/kestrix-disp.1" 2>&1 | col -bx >"${TMPDIR:-/tmp}/manual.$$"
trap 'rm -f "${TMPDIR:-/tmp}/manual.$$"' EXIT
"$program" lint --rules | while read -r name level words; do
    tr -s ' \n' ' ' <"${TMPDIR:-/tmp}/manual.$$" | grep -qiF "$name ($level) $words." || echo "$name: $words"
done | grep . && fail "the manual page lacks these rules of lint"
exit $status
