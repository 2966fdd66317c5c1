#!/bin/sh
# Renders the examples with the default profile of a build, which must have a byte for every character,
# and looks for their pictures in the examples' README.md.
set -eu
examples=$(cd "$(dirname "$0")/../../examples" && pwd)
cd "$1/profile"
status=0
for document in "$examples"/*.xml; do
    bytes=$(../kestrix-disp render "$document" --setting none --raw | od -An -v -tx1) || status=1
    case $bytes in
    "" | *" 3f"*)
        echo "nothing, or a character without a byte (3F): $document" >&2
        status=1
        ;;
    esac
    picture=pictures/$(basename "$document" .xml).svg
    if ! grep -qF "($(basename "$document"))" "$examples/README.md" ||
        ! grep -qF "/$picture)" "$examples/README.md"; then
        echo "examples/README.md does not show $document" >&2
        status=1
    fi
done
exit $status
