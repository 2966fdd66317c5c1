#!/bin/sh
# Runs the unit tests, the corpus and the Perl tests under valgrind: memcheck.sh BUILD.
#
# Leaves out texts of megabytes, which take too long, the Perl tests that measure the memory and
# threads of the process, which here are valgrind's, and a test whose process forks while it has
# threads: what these hold is lost in the child. Looks for leaks in the C++ programs only, as Perl
# does not free everything when it ends.
set -eu
build=$(realpath "$1")
source=$(realpath "$(dirname "$0")/..")
memcheck="valgrind -q --error-exitcode=9 --suppressions=$source/tests/memcheck.supp"

# The unit tests have their own operator new, which valgrind must not replace.
$memcheck --leak-check=full --show-leak-kinds=definite --errors-for-leak-kinds=definite \
    --soname-synonyms=somalloc=nouserintercepts "$build/tests/unit_tests" --gtest_brief=1 \
    --gtest_filter='-*InputAtTheLimits:*LargeDocuments*:*LawsForRandomTexts:*EveryBeginning*:*ThreadsAndForks*'
for target in document settings device_info tables convert; do
    $memcheck --leak-check=full --show-leak-kinds=definite --errors-for-leak-kinds=definite \
        "$build/tests/fuzz/fuzz_$target" "$source/tests/fuzz/corpus/$target" > /dev/null
    echo "corpus $target: clean"
done
cd "$source/binding/perl"
for test in t/*.t; do
    case $test in
    */memory.t | */threads.t | */without_perl.t) continue ;;
    esac
    log=$(mktemp)
    if ! KESTRIX_PROFILE_DIR=$build/profile PERL_DESTRUCT_LEVEL=2 \
        $memcheck perl -I "$build/perl" "$test" > "$log" 2>&1; then
        cat "$log" >&2
        exit 1
    fi
    rm "$log"
    echo "$test: clean"
done
