# Thin wrapper around CMake; see README.md.
JOBS ?= $(shell nproc)

.PHONY: all demo demo-bus test deps host asan arm bench clean

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

# corvaned as its own process on a private Redis server, with a client console.
demo-bus: deps
	cmake -S . -B build/host -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_TESTS=OFF
	cmake --build build/host -j $(JOBS) --target corvaned corvane-bus
	scripts/demo-bus.sh build/host

test:
	scripts/test.sh

# Release build, measurements, docs/PERFORMANCE.md (bench/run.sh).
bench: deps
	bench/run.sh

clean:
	rm -rf build
