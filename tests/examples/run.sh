#!/bin/sh
# Renders the examples with the default profile of a build, which has a byte for every character.
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
done
exit $status
