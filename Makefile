# Everyday commands over the CMake presets.

PREFIX ?= /usr/local
PRESETS := release asan-ubsan

FUZZ_SECONDS ?= 60
FUZZ_TARGETS ?=

.PHONY: all build program test test-sanitized test-threads fuzz soak memcheck format check-style coverage demo pictures bench \
        install deb test-deb clean

all: build

build: build-release
test: test-release
test-sanitized: test-asan-ubsan

build-%:
	@test -e build/$(if $(filter-out release,$*),$*/)build.ninja || cmake --preset $*
	@cmake --build --preset $*

test-%: build-%
	@ctest --preset $*

# Runs each fuzz target for FUZZ_SECONDS; needs the packages of "scripts/setup --all".
fuzz: build-fuzz
	@tests/fuzz/run.sh build/fuzz $(FUZZ_SECONDS) $(FUZZ_TARGETS)

# Runs the tests of threads under ThreadSanitizer; for a minute with KESTRIX_SOAK=full. A forked process
# would report its parent's threads as leaks.
test-threads: build-tsan
	@build/tsan/tests/unit_tests --gtest_filter='*Threads*' --gtest_list_tests | grep -q Threads
	@TSAN_OPTIONS=report_thread_leaks=0 build/tsan/tests/unit_tests --gtest_filter='*Threads*'

# Runs the tests under valgrind; takes some minutes.
memcheck: build
	@tests/memcheck.sh build

# Formats C and C++ as .clang-format says.
format:
	@git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format-16 -i

# Checks the code against the rules of CONTRIBUTING.md; changes nothing. .clang-tidy has the exceptions.
check-style:
	@git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format-16 --dry-run --Werror
	@scripts/check-includes
	@git grep -lE '^#! ?/bin/sh' | xargs shellcheck --severity=warning
	@shellcheck --shell=bash --severity=warning program/completion.bash
	@test -e build/clang/build.ninja || cmake --preset clang >build/clang.log || { cat build/clang.log; exit 1; }
	@cmake --build build/clang --target glyphs
	@git ls-files '*.cpp' | grep -E '^(base|converter|engine|tags|binding|program|tests)/' | \
	    xargs -P2 -n4 clang-tidy-16 -p build/clang --quiet

# Measures the lines and branches that the tests reach; see docs/coverage.md.
coverage: test-coverage
	@gcovr --root . --object-directory build/coverage --exclude-throw-branches \
	    --filter '(engine|tags|converter|binding)/' --html-details build/coverage/coverage.html \
	    --txt --sort-uncovered --print-summary

# Runs the soak tests for minutes; "make test" runs them for seconds.
soak: build
	@KESTRIX_SOAK=full build/tests/soak_tests

# Builds without the tests.
program:
	@test -e build/build.ninja || cmake --preset release
	@cmake --build --preset release --target kestrixdispengine kestrix-disp profile

demo: program
	@cd build/profile && ../kestrix-disp render "$(CURDIR)/examples/demo.xml" --device default --hex

# Draws the pictures of the examples, in docs/pictures.
pictures: build
	@scripts/pictures build

bench: build
	@cmake --build --preset release --target kestrix-bench
	@build/bench/kestrix-bench

install: build
	@case "$(PREFIX)" in /*) ;; *) echo "PREFIX must be an absolute path" >&2; exit 2 ;; esac
	@cmake --install build --prefix "$(PREFIX)"

deb: build-deb
	@rm -f build/*.deb
	@cpack --preset deb

# Tries the packages on a fresh Debian system; run as root, with debootstrap. OLD may be a folder of
# earlier packages, to upgrade from.
test-deb: deb
	@tests/deb/run.sh build $(OLD)

clean:
	rm -rf build
