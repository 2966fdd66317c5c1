#!/bin/sh
# Compiles every public header by itself and twice in one file.
set -eu
source=$(cd "$1" && pwd)
cd "$source"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

# compile COMMAND HEADER SUFFIX
compile() {
    printf '#include "%s"\n' "$2" "$2" >"$work/twice.$3"
    printf 'int main(void) { return 0; }\n' >>"$work/twice.$3"
    # shellcheck disable=SC2086
    $1 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I "$source" "$work/twice.$3" ||
        { echo "$2 does not compile alone with: $1" >&2; status=1; }
}

for header in converter/RuvoConverter.h engine/kestrix_disp.h; do
    compile "${CC:-cc} -std=c11" $header c
    compile "${CXX:-c++} -std=c++11" $header cpp
    compile "${CXX:-c++} -std=c++17" $header cpp
done
for header in engine/KestrixDispEngine.h engine/TagParser.h tags/*TagParser*.h; do
    for standard in c++17 c++20; do
        compile "${CXX:-c++} -std=$standard" "$header" cpp
    done
done
exit $status
