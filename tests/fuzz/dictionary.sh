#!/bin/sh
# Writes the string literals of source files as a fuzzer's dictionary: dictionary.sh OUT SOURCE...
set -eu
out=$1
shift
: > "$out"
[ $# -eq 0 ] || cat "$@" | grep -v '^#include' | grep -o '"[^"\\ ]\+"' | sort -u > "$out"
