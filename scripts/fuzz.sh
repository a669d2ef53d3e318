#!/bin/sh
# Builds the libFuzzer targets with clang (build/fuzz) and runs each for
# $1 seconds (default 60) on its seeds in tests/fuzz/<target>/. New inputs go
# to build/fuzz/corpus/, crashes to build/fuzz/artifacts/; a crash, leak or
# timeout fails the run. Prints executions per second per target.
set -e
cd "$(dirname "$0")/.."
seconds=${1:-60}
jobs=$(nproc)
CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCORVANE_FUZZ=ON -DCORVANE_TESTS=OFF >/dev/null
targets=$(ninja -C build/fuzz -t targets all | sed -n 's/^\(fuzz-[a-z_-]*\): CXX_EXECUTABLE_LINKER.*/\1/p' | LC_ALL=C sort)
# shellcheck disable=SC2086
cmake --build build/fuzz -j "$jobs" --target $targets
mkdir -p build/fuzz/artifacts
summary=build/fuzz/summary.txt
printf '%-22s %8s %12s %8s\n' target seconds executions exec/s > "$summary"
failed=0
for target in $targets; do
    name=${target#fuzz-}
    mkdir -p "build/fuzz/corpus/$name"
    log=build/fuzz/$name.log
    if ! "build/fuzz/$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -close_fd_mask=1 \
        -print_final_stats=1 -artifact_prefix="build/fuzz/artifacts/$name-" \
        "build/fuzz/corpus/$name" "tests/fuzz/$name" > "$log" 2>&1; then
        echo "=== $target failed; see $log and build/fuzz/artifacts/"
        tail -30 "$log"
        failed=1
    fi
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
    printf '%-22s %8s %12s %8s\n' "$name" "$seconds" "${runs:-?}" "${rate:-?}" >> "$summary"
done
cat "$summary"
exit $failed
