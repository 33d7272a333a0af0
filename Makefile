# Shortcuts over the CMake presets. Each target first installs any missing
# Debian packages (scripts/install-deps.sh does nothing when all are present).

JOBS ?= $(shell nproc)
DEMO_DIR ?= build/demo

.PHONY: all deps build demo test release bench fuzz format format-check clean

all: build

deps:
	bash scripts/install-deps.sh

build: deps
	cmake --preset dev
	cmake --build --preset dev -j $(JOBS)

demo: build
	bash scripts/demo.sh build/bin/nomly $(DEMO_DIR)

test: build
	ctest --preset dev -j $(JOBS)

release: deps
	cmake --preset release
	cmake --build --preset release -j $(JOBS)

bench: release
	build-release/bench/nomly-bench
	build-release/bench/nomly-history-bench
	build-release/bench/nomly-content-bench
	build-release/bench/nomly-media-bench
	build-release/bench/nomly-speech-bench
	build-release/bench/nomly-rename-bench
	build-release/bench/nomly-watch-bench --idle-seconds 20

FUZZ_SECONDS ?= 20

fuzz: deps
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS)
	bash scripts/run-fuzzers.sh $(FUZZ_SECONDS)

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

format-check:
	git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror

clean:
	rm -rf build build-release
