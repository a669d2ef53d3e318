#!/bin/sh
# Builds the host, sanitizer and 32-bit ARM variants and runs every test on
# each: natively, under ASan+UBSan, and the ARM build under qemu-arm.
set -e
cd "$(dirname "$0")/.."
scripts/install-deps.sh
jobs=$(nproc)

run() {
    name=$1; shift
    echo "=== $name: configure and build"
    # Tests on, whatever an earlier configure (make demo) left in the cache.
    cmake -S . -B "build/$name" -G Ninja -DCORVANE_TESTS=ON "$@" >/dev/null
    cmake --build "build/$name" -j "$jobs"
    echo "=== $name: tests"
    (cd "build/$name" && ctest --output-on-failure --no-tests=error --timeout 900 -j "$jobs")
}

run host -DCMAKE_BUILD_TYPE=RelWithDebInfo
run asan -DCMAKE_BUILD_TYPE=Debug -DCORVANE_SANITIZE=ON
run arm -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_TOOLCHAIN_FILE=cmake/arm-linux-gnueabihf.cmake
# Robustness: ThreadSanitizer (corvane-sim under client writes, ticks and
# stop signals), static analysis of the daemon, every fuzz target briefly.
echo "=== tsan"
make -s tsan JOBS="$jobs"
echo "=== static analysis"
scripts/static-analysis.sh
echo "=== fuzz (short)"
scripts/fuzz.sh 10
