#!/bin/sh
# Runs fuzz targets, one after the other: run.sh BUILD SECONDS [TARGET...]. Prints for each the inputs
# executed and the edges reached; stops at a finding, which is left in BUILD/findings.
set -eu
build=$(realpath "$1")
seconds=$2
shift 2
source=$(realpath "$(dirname "$0")")
[ $# -gt 0 ] || set -- document settings device_info tables convert
mkdir -p "$build/findings" "$build/log"
if [ -w /dev/shm ]; then
    export TMPDIR=/dev/shm # the targets write many small files
fi
for target; do
    corpus=$build/corpus/$target
    log=$build/log/$target
    dictionary=$build/tests/fuzz/$target.dict
    options=
    [ ! -s "$dictionary" ] || options=-dict=$dictionary
    mkdir -p "$corpus"
    # shellcheck disable=SC2086
    if ! "$build/tests/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=20 \
        -rss_limit_mb=2048 -print_final_stats=1 $options \
        -artifact_prefix="$build/findings/$target-" "$corpus" "$source/corpus/$target" 2> "$log"; then
        tail -40 "$log" >&2
        echo "$target: a finding; see $log and $build/findings" >&2
        exit 1
    fi
    edges=$(sed -n 's/.*Loaded 1 modules *(\([0-9]*\) inline.*/\1/p' "$log")
    executed=$(sed -n 's/stat::number_of_executed_units: *//p' "$log")
    reached=$(grep -o 'cov: [0-9]*' "$log" | tail -1 | cut -d' ' -f2)
    features=$(grep -o 'ft: [0-9]*' "$log" | tail -1 | cut -d' ' -f2)
    echo "$target: $executed executions in $seconds s, $reached of $edges edges, $features features," \
        "$(find "$corpus" -type f | wc -l) inputs kept"
done
