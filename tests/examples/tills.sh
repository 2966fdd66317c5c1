#!/bin/sh
# Runs the till of each language with the library and the default profile of a build. A language that
# is not installed is left out.
set -eu
build=$(cd "$1" && pwd)
tills=$(cd "$(dirname "$0")/../../examples/till" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LD_LIBRARY_PATH="$build" PERL5LIB="$build/perl" PYTHONPATH="$build/python" LC_ALL=C.UTF-8
cd "$build/profile"
status=0
fail() { echo "till.$language: $*" >&2; status=1; }

tool_of() {
    case $1 in
    c) echo "${CC:-cc}" ;;
    cpp) echo "${CXX:-c++}" ;;
    pl) echo perl ;;
    py) echo python3 ;;
    lua) echo luajit ;;
    esac
}
prepare() {
    case $language in
    c | cpp)
        "$tool" -Wall -Wextra -Wpedantic -Werror -I "$tills/../.." "$tills/till.$language" \
            -o "$work/till" -L "$build" -lkestrixdispengine
        ;;
    *)
        printf '#!/bin/sh\nexec %s %s "$@"\n' "$tool" "$tills/till.$language" >"$work/till"
        chmod +x "$work/till"
        ;;
    esac
}

../kestrix-disp render - --raw --setting none 2>"$work/messages" >"$work/expected" <<'END'
<ovix-display><clear/><text x="1" y="1">Salt &amp; Crème &lt;2&gt; ]]&gt;</text><text x="1" y="2">-2,49 €</text>
<cursor type="none"/></ovix-display>
END

# catches: a till that sends half a document, or keeps quiet about it
fails() { # NAME DEVICE MESSAGE
    code=0
    "$work/till" "$1" 1 "$2" none >"$work/bytes" 2>"$work/messages" || code=$?
    [ $code = 1 ] || fail "exit status $code for $2, not 1"
    [ ! -s "$work/bytes" ] || fail "sends bytes for $2"
    grep -qE "^till: .*($3)" "$work/messages" || { cat "$work/messages"; fail "says no \"$3\""; }
}

for language in c cpp pl py lua; do
    tool=$(tool_of $language)
    if ! command -v "$tool" >/dev/null; then
        echo "till.$language is left out: $tool is not here"
        continue
    fi
    rm -f "$work/till"
    prepare || fail "cannot be built"
    # catches: a name that is not escaped, bytes that a language changes
    "$work/till" 'Salt & Crème <2> ]]>' '-2,49 €' default none | cmp - "$work/expected" || fail "other bytes"
    # catches: an output that is lost unnoticed, less than the buffer of the output or more
    for price in 1 "$(printf '%9000s' 1)"; do
        code=0
        "$work/till" A "$price" default none >/dev/full 2>"$work/messages" || code=$?
        [ -s "$work/messages" ] || fail "keeps quiet about a full disk"
        [ $code = 1 ] || fail "exit status $code for a full disk"
    done
    fails "$(printf '\351')" default "UTF-8|ended early"
    fails A missing "device information file is missing|status -200"
done
exit $status
