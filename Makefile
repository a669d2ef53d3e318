# Thin wrapper around CMake; see README.md.
JOBS ?= $(shell nproc)

.PHONY: all demo demo-bus web test deps host asan arm install packages bench clean soak fuzz tsan

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

demo:
	scripts/demo.sh

web: deps
	cmake -S . -B build/host -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_TESTS=OFF
	cmake --build build/host -j $(JOBS) --target corvane-web
	build/host/corvane-web --listen 127.0.0.1:8080

# corvaned as its own process on a private Redis server, with a client
# console; builds every program README.md's walkthrough of it runs.
demo-bus: deps
	cmake -S . -B build/host -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_TESTS=OFF
	cmake --build build/host -j $(JOBS) --target corvaned corvane-bus corvane-web
	scripts/demo-bus.sh build/host

test:
	@scripts/test.sh

# 1,000,000 client writes through corvane-sim in a fixed memory bound, the
# whole fault loop, and 1,000,000 handled writes on Redis without growth.
soak: host
	build/host/corvane-sim --script tests/soak/long.scn > /dev/null
	build/host/corvane-fault-loop
	tests/soak/redis_rss.sh build/host

# Every libFuzzer target for FUZZ_SECONDS seconds (clang, build/fuzz).
fuzz:
	scripts/fuzz.sh $(FUZZ_SECONDS)

# corvane-sim under ThreadSanitizer: client writes, ticks and stop signals.
tsan:
	CC=gcc CXX=g++ cmake -S . -B build/tsan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_TSAN=ON -DCORVANE_TESTS=OFF
	cmake --build build/tsan -j $(JOBS) --target corvane-sim
	TSAN_OPTIONS="halt_on_error=1 exitcode=66" build/tsan/corvane-sim --script tests/soak/threads.scn > /dev/null

# make install [DESTDIR=...] [PREFIX=/usr/local] [ARCH=host|arm]
#              [COMPONENT=daemon|daemon-systemd|daemon-doc|host]
# One build folder per architecture (INSTALL_BUILD); the daemon component builds only what
# it installs; everything is installed stripped.
PREFIX ?= /usr/local
ARCH ?= host
INSTALL_BUILD ?= build/install-$(ARCH)
install_options_host =
install_options_arm = -DCMAKE_TOOLCHAIN_FILE=cmake/arm-linux-gnueabihf.cmake
install_targets_daemon = --target corvaned
install:
	$(if $(filter host arm,$(ARCH)),,$(error ARCH must be host or arm, not $(ARCH)))
	cmake -S . -B $(INSTALL_BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_TESTS=OFF \
	  $(install_options_$(ARCH)) \
	  -DCMAKE_INSTALL_PREFIX=$(PREFIX) -DCORVANE_DEVICE_DIR=$(PREFIX)/share/corvaned/devices
	cmake --build $(INSTALL_BUILD) -j $(JOBS) $(install_targets_$(COMPONENT))
	DESTDIR=$(DESTDIR) cmake --install $(INSTALL_BUILD) --strip $(if $(COMPONENT),--component $(COMPONENT))

# Debian packages for this machine and armhf, in build/debian-packages.
packages:
	scripts/debian-packages.sh $(CURDIR) $(CURDIR)/build/debian-packages armhf

# Release build, measurements, docs/PERFORMANCE.md (bench/run.sh).
bench: deps
	bench/run.sh

clean:
	rm -rf build
