# Thin wrapper around CMake; see README.md.
JOBS ?= $(shell nproc)

.PHONY: all demo demo-bus web test deps host asan arm install packages bench clean

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

demo:
	scripts/demo.sh

web: deps
	cmake -S . -B build/host -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_TESTS=OFF
	cmake --build build/host -j $(JOBS) --target corvane-web
	build/host/corvane-web --listen 127.0.0.1:8080

# corvaned as its own process on a private Redis server, with a client console.
demo-bus: deps
	cmake -S . -B build/host -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_TESTS=OFF
	cmake --build build/host -j $(JOBS) --target corvaned corvane-bus
	scripts/demo-bus.sh build/host

test:
	scripts/test.sh

# make install [DESTDIR=...] [PREFIX=/usr/local] [COMPONENT=daemon|host]
PREFIX ?= /usr/local
install:
	cmake -S . -B build/install -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_TESTS=OFF \
	  -DCMAKE_INSTALL_PREFIX=$(PREFIX) -DCORVANE_DEVICE_DIR=$(PREFIX)/share/corvaned/devices
	cmake --build build/install -j $(JOBS)
	DESTDIR=$(DESTDIR) cmake --install build/install $(if $(COMPONENT),--component $(COMPONENT))

# Debian packages for this machine and armhf, in build/debian-packages.
packages:
	scripts/debian-packages.sh $(CURDIR) $(CURDIR)/build/debian-packages armhf

# Release build, measurements, docs/PERFORMANCE.md (bench/run.sh).
bench: deps
	bench/run.sh

clean:
	rm -rf build
