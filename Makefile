# The front door. `make test`, `make demo`, `make bench`; SANITIZE=address or
# SANITIZE=thread builds and tests under a sanitizer in its own build folder.
SANITIZE ?=
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
GENERATOR := $(shell command -v ninja >/dev/null 2>&1 && echo Ninja || echo "Unix Makefiles")

ifeq ($(SANITIZE),)
  TEST_DIR := build/debug
else
  TEST_DIR := build/$(SANITIZE)
endif
RELEASE_DIR := build/release
BENCH_DIR := build/bench
FUZZ_DIR := build/fuzz

.PHONY: test demo bench fuzz deps build clean

# Sanitizer settings for every program the targets run. The suppression files
# name only third-party libraries (the scene-graph library's process-lifetime
# allocations, uninstrumented thread pools), never our own code.
export ASAN_OPTIONS ?= detect_stack_use_after_return=1:check_initialization_order=1
export LSAN_OPTIONS ?= suppressions=$(CURDIR)/tests/lsan.supp:print_suppressions=0
export TSAN_OPTIONS ?= suppressions=$(CURDIR)/tests/tsan.supp:halt_on_error=1:second_deadlock_stack=1
export UBSAN_OPTIONS ?= print_stacktrace=1:halt_on_error=1

deps:
	@scripts/install-deps

$(TEST_DIR)/CMakeCache.txt: | deps
	@cmake -S . -B $(TEST_DIR) -G "$(GENERATOR)" -DCMAKE_BUILD_TYPE=Debug -DSANITIZE=$(SANITIZE) >/dev/null

build: deps $(TEST_DIR)/CMakeCache.txt
	@cmake --build $(TEST_DIR) -j $(JOBS)

test: build
	@cd $(TEST_DIR) && ctest --output-on-failure -j $(JOBS)

demo: deps
	@cmake -S . -B $(RELEASE_DIR) -G "$(GENERATOR)" -DCMAKE_BUILD_TYPE=Release -DFENRAK_BUILD_TESTS=OFF >/dev/null
	@cmake --build $(RELEASE_DIR) -j $(JOBS)
	@scripts/demo $(RELEASE_DIR)

bench:
	@scripts/install-deps --bench
	@cmake -S . -B $(BENCH_DIR) -G "$(GENERATOR)" -DCMAKE_BUILD_TYPE=Release -DFENRAK_BUILD_TESTS=OFF -DFENRAK_BUILD_BENCH=ON >/dev/null
	@cmake --build $(BENCH_DIR) -j $(JOBS)
	@bench/run $(BENCH_DIR)

# Builds the fuzz targets with clang and libFuzzer in build/fuzz; with
# FUZZ=TARGET also runs that one for FUZZ_SECONDS (default 600).
fuzz:
	@scripts/install-deps --fuzz
	@cmake -S . -B $(FUZZ_DIR) -G "$(GENERATOR)" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
	  -DCMAKE_CXX_COMPILER=clang++ -DFENRAK_FUZZ=ON -DFENRAK_BUILD_TESTS=OFF >/dev/null
	@cmake --build $(FUZZ_DIR) -j $(JOBS)
	@if [ -n "$(FUZZ)" ]; then scripts/fuzz $(FUZZ) $(or $(FUZZ_SECONDS),600); fi

clean:
	rm -rf build
