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

.PHONY: test demo bench deps build clean

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

clean:
	rm -rf build
