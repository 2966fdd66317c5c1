#!/bin/sh
# Installs a build into a temporary folder, builds a C++ program on the installed CMake package and
# a C program on the installed pkg-config file, and runs both with the default profile.
set -eu
build=$(cd "$1" && pwd)
source=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
stage=$work/stage
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")

fail() { echo "$*" >&2; exit 1; }
expect() { [ "$2" = "$3" ] || fail "$1: expected \"$2\", got \"$3\""; }

DESTDIR="$stage" cmake --install "$build" --prefix /opt/kestrix >"$work/log" || { cat "$work/log"; exit 1; }
prefix=$stage/opt/kestrix
perl_dir=$(perl -MConfig -e 'print $Config{installsitearch}')
python=$(sed -n 's/^KESTRIX_PYTHON:FILEPATH=//p' "$build/CMakeCache.txt")
python_dir=$(sed -n 's/^KESTRIX_PYTHON_DIR:PATH=//p' "$build/CMakeCache.txt")
expect "outside the prefix, the profile and the folders of Perl and Python" "" \
    "$(cd "$stage" && find . -type f | grep -v -e '^\./opt/kestrix/' -e '^\./usr/local/KALDO/HalvoCvt/' \
        -e "^\.$perl_dir/" -e "^\.$python_dir/kestrixdisp/")"

perl -e 'exit !grep { $_ eq $ARGV[0] } @INC' "$perl_dir" || fail "perl does not search $perl_dir"
"$python" -c 'import sys; sys.exit(sys.argv[1] not in sys.path)' "$python_dir" ||
    fail "$python does not search $python_dir"

cmake -S "$source" -B "$work/cxx" -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" \
    -DKESTRIX_VERSION="$version" >"$work/log" &&
    cmake --build "$work/cxx" >>"$work/log" || { cat "$work/log"; exit 1; }

pc=$(dirname "$(find "$prefix" -name kestrixdispengine.pc)")
export PKG_CONFIG_PATH="$pc" PKG_CONFIG_SYSROOT_DIR="$stage"
# shellcheck disable=SC2046
${CC:-cc} -std=c11 -Wall -Wextra -Wpedantic -Werror "$source/convert.c" -o "$work/convert" \
    $(pkg-config --cflags --libs kestrixdispengine)
expect "the version of the package" "$version" "$(pkg-config --modversion kestrixdispengine)"

LD_LIBRARY_PATH=$(dirname "$(find "$prefix" -name libkestrixdispengine.so.1)")
export LD_LIBRARY_PATH
cd "$build/profile"
expect "the C++ program" "0C 1F 72 01 1B 74 00 41 82 " "$("$work/cxx/document")"
expect "the C program" "1B 74 00 41 82 " "$("$work/convert" none)"
expect "the Perl module" "0c" "$(perl -I "$stage$perl_dir" -MKestrixDispEngine -e '
    print unpack "H*", KestrixDispEngine::KestrixDispEngine->new->parse("<clear/>", "default", "none")')"
expect "the Python package" "0c" "$(echo '<any><clear/></any>' |
    PYTHONPATH="$stage$python_dir" "$python" -m kestrixdisp - --setting none | od -An -tx1 | tr -d ' ')"
expect "the installed program" "0c" "$(echo '<any><clear/></any>' |
    "$prefix/bin/kestrix-disp" render - --device default --setting none | od -An -tx1 | tr -d ' ')"

expect "links that lead nowhere in the installed documentation" "" "$(cd "$prefix/share/doc/kestrix-disp" &&
    find . -name '*.md' -exec perl -ne '
        ($folder) = $ARGV =~ m{(.*)/};
        for (/\]\((?!https?:)([^)#]+)/g) { print "$ARGV: $_\n" if !-e "$folder/$_" }' {} +)"

# The ID file of the default profile names its folder; the value loses its last two bytes (CR LF).
id=$stage/usr/local/KALDO/HalvoCvt/DEFAULT.txt
module=$(head -c -2 "$id" | sed -n 's/^ModulePath=//p')
[ -f "$stage$module/HalvoSet.txt" ] || fail "DEFAULT.txt names $module, where no HalvoSet.txt is installed"
