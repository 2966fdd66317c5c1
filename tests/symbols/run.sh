#!/bin/sh
# Compares the exports of a build's library with exports.txt, and looks for imports that a library must
# not have. To bring exports.txt up to date: tests/symbols/run.sh build | patch exports.txt
set -eu
library=$1/libkestrixdispengine.so.1
expected=$(dirname "$0")/exports.txt
status=0

# Class constants are left out: the compiler gives them a symbol only where code takes their address.
# So is the virtual table of TagParser, as every library that derives from it exports that, too.
# Each export has its version after "@@"; that of the first release is not shown.
nm -D --defined-only -C "$library" | cut -c20- | grep -vx 'KESTRIX_[0-9.]*' |
    sed -e 's/@@KESTRIX_1\.0$//' -e t -e '/@@KESTRIX_/!s/$/ in no version/' | LC_ALL=C sort -u |
    grep -Ev '^((KestrixDispEngine|[A-Za-z]*TagParser)::[A-Z0-9_]+|vtable for TagParser)$' | sed \
    -e 's/std::map<char const\*, unsigned char\*, [^&]*> > >/AttributeMap/g' \
    -e 's/std::map<char const\*, TagParser\*, [^&]*> > >/ParserMap/g' \
    -e 's/std::vector<unsigned char, std::allocator<unsigned char> >/OutputVector/g' \
    -e 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g' |
    diff "$expected" - || { echo "the exports differ from $expected (<)" >&2; status=1; }

# A library must not write to the host's output or end its process.
if nm -D --undefined-only -C "$library" |
    grep -E ' (_?exit|_Exit|quick_exit|abort|v?printf|__v?printf_chk|puts|putchar|perror|std::w?c(out|err|log))(@|$)'
then
    echo "the library imports the above" >&2
    status=1
fi
exit $status
