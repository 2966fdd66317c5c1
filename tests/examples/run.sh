#!/bin/sh
# Renders the examples with the default profile of a build, in which lint must find nothing wrong, and
# looks for their pictures in the examples' README.md. docs/lint.md shows the findings of mistakes.xml.
set -eu
examples=$(cd "$(dirname "$0")/../../examples" && pwd)
cd "$1/profile"
status=0
for document in "$examples"/*.xml; do
    [ "$(basename "$document")" != mistakes.xml ] || continue
    bytes=$(../kestrix-disp render "$document" --raw --strict | od -An -v -tx1)
    if [ -z "$bytes" ]; then
        echo "nothing is shown of $document" >&2
        status=1
    fi
    picture=pictures/$(basename "$document" .xml).svg
    if ! grep -qF "($(basename "$document"))" "$examples/README.md" ||
        ! grep -qF "/$picture)" "$examples/README.md"; then
        echo "examples/README.md does not show $document" >&2
        status=1
    fi
done
exit $status
