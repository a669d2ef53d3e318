# Thin wrapper around CMake; see README.md.
JOBS ?= $(shell nproc)

.PHONY: all demo test deps host asan arm bench clean soak fuzz tsan

FUZZ_SECONDS ?= 60

all: host

deps:
	scripts/install-deps.sh

host:
	cmake -S . -B build/host -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build build/host -j $(JOBS)

asan:
	cmake -S . -B build/asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCORVANE_SANITIZE=ON
	cmake --build build/asan -j $(JOBS)

arm:
	cmake -S . -B build/arm -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DCMAKE_TOOLCHAIN_FILE=cmake/arm-linux-gnueabihf.cmake
	cmake --build build/arm -j $(JOBS)

demo: deps
	cmake -S . -B build/host -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_TESTS=OFF
	cmake --build build/host -j $(JOBS) --target corvane-sim
	build/host/corvane-sim --realtime --console --device sim/devices/default.dev

test:
	scripts/test.sh

# 1,000,000 client writes through corvane-sim in a fixed memory bound, and
# the whole fault loop.
soak: host
	build/host/corvane-sim --script tests/soak/long.scn > /dev/null
	build/host/corvane-fault-loop

# Every libFuzzer target for FUZZ_SECONDS seconds (clang, build/fuzz).
fuzz:
	scripts/fuzz.sh $(FUZZ_SECONDS)

# corvane-sim under ThreadSanitizer: client writes, ticks and stop signals.
tsan:
	CC=gcc CXX=g++ cmake -S . -B build/tsan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_TSAN=ON -DCORVANE_TESTS=OFF
	cmake --build build/tsan -j $(JOBS) --target corvane-sim
	TSAN_OPTIONS="halt_on_error=1 exitcode=66" build/tsan/corvane-sim --script tests/soak/threads.scn > /dev/null

# Release build, measurements, docs/PERFORMANCE.md (bench/run.sh).
bench: deps
	bench/run.sh

clean:
	rm -rf build
