# Everyday commands over the CMake presets.

PREFIX ?= /usr/local
PRESETS := release asan-ubsan

FUZZ_SECONDS ?= 60
FUZZ_TARGETS ?=

.PHONY: all build test test-sanitized fuzz soak memcheck tidy coverage demo pictures bench \
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

# Each target for FUZZ_SECONDS; needs the packages of "scripts/setup --all".
fuzz: build-fuzz
	@tests/fuzz/run.sh build/fuzz $(FUZZ_SECONDS) $(FUZZ_TARGETS)

# The tests under valgrind, for some minutes.
memcheck: build
	@tests/memcheck.sh build

# The library; clang 14 does not know all of the C++20 in the programs. The exceptions stand in
# .clang-tidy.
tidy:
	@test -e build/fuzz/build.ninja || cmake --preset fuzz
	@ls engine/*.cpp tags/*.cpp converter/*.cpp converter/*/*.cpp binding/perl/*.cpp | \
	    xargs -P2 -n4 clang-tidy-14 -p build/fuzz --quiet

# Lines and branches that the tests reach; see docs/coverage.md.
coverage: test-coverage
	@gcovr --root . --object-directory build/coverage --exclude-throw-branches \
	    --filter '(engine|tags|converter|binding)/' --html-details build/coverage/coverage.html \
	    --txt --sort-uncovered --print-summary

# Minutes of what "make test" does for seconds.
soak: build
	@KESTRIX_SOAK=full build/tests/soak_tests

demo: build
	@cd build/profile && ../kestrix-disp render "$(CURDIR)/examples/demo.xml" --device default --setting local --hex

# The pictures of the examples, in docs/pictures.
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

# On a fresh Debian system; as root, with debootstrap.
test-deb: deb
	@tests/deb/run.sh build

clean:
	rm -rf build
