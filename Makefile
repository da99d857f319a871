# Front door of the project. `make demo` and `make test` work on a fresh Debian machine:
# both install what is missing first (scripts/setup).

CMAKE ?= cmake
CTEST ?= ctest
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

RELEASE_OPTIONS = -DQELTA_BUILD_TESTS=OFF -DQELTA_BUILD_FUZZERS=OFF -DQELTA_BUILD_TOOLS=ON

.PHONY: all demo test tsan bench debug install format tidy clean help

all: demo

help:
	@echo "make demo    build the release qelta program and run its demo tour"
	@echo "make test    build with AddressSanitizer + UBSan and run every test through ctest,\n             then the threaded suites under ThreadSanitizer"
	@echo "make tsan    build with ThreadSanitizer and run every test"
	@echo "make bench   build release benchmarks and update BENCHMARKS.md"
	@echo "make install PREFIX=/usr/local   install the library, headers and CMake package"
	@echo "make format  clang-format every source file"

demo:
	scripts/setup build
	$(CMAKE) --preset release $(RELEASE_OPTIONS) -DQELTA_BUILD_BENCHMARKS=OFF
	$(CMAKE) --build --preset release --target qelta -j $(JOBS)
	build/release/tools/qelta/qelta demo

# The suites whose code runs on several threads also run under ThreadSanitizer in `make test`.
TSAN_SUITES := Color Concurrency Failure Files Host Language Logging Settings Time Units
empty :=
space := $(empty) $(empty)

test:
	scripts/setup test
	$(CMAKE) --preset asan
	$(CMAKE) --build --preset asan -j $(JOBS)
	$(CTEST) --preset asan -j $(JOBS)
	$(CMAKE) --preset tsan
	$(CMAKE) --build --preset tsan -j $(JOBS) --target $(addsuffix Tests,$(TSAN_SUITES))
	$(CTEST) --preset tsan -j $(JOBS) -L '^($(subst $(space),|,$(TSAN_SUITES)))$$'

tsan:
	scripts/setup test
	$(CMAKE) --preset tsan
	$(CMAKE) --build --preset tsan -j $(JOBS)
	$(CTEST) --preset tsan -j $(JOBS)

bench:
	scripts/setup bench
	$(CMAKE) --preset release $(RELEASE_OPTIONS) -DQELTA_BUILD_BENCHMARKS=ON
	$(CMAKE) --build --preset release -j $(JOBS)
	python3 scripts/bench-report build/release/bench BENCHMARKS.md

PREFIX ?= /usr/local
install:
	scripts/setup build
	$(CMAKE) --preset release $(RELEASE_OPTIONS) -DQELTA_BUILD_BENCHMARKS=OFF -DCMAKE_INSTALL_PREFIX=$(PREFIX)
	$(CMAKE) --build --preset release -j $(JOBS)
	$(CMAKE) --install build/release

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build
