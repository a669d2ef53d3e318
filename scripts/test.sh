#!/bin/sh
# make test: builds the host, sanitizer and 32-bit ARM variants and runs
# every test on each (natively, under ASan+UBSan, the ARM build under
# qemu-arm); then ThreadSanitizer, static analysis and a short fuzz run.
#
# Every step runs whatever became of the one before. Each says in one line
# how many of its tests passed; build lines and test output go to
# build/test-logs/, and a failing step prints the end of its log. A step
# that fails before its tests run counts as one failed test. The last line
# is "N passed, M failed" over all steps; the status is 1 if any failed.
cd "$(dirname "$0")/.." || exit 1
jobs=$(nproc)
logs=build/test-logs
mkdir -p "$logs"
passed=0
failed=0

step() { printf '%-17s' "$1:"; }

# tally PASSED FAILED [LOG [FILTER]]: the end of the step's line, and on a
# failure the end of LOG (without the lines FILTER, a grep pattern, matches).
tally() {
    printf '%s passed, %s failed\n' "$1" "$2"
    passed=$((passed + $1))
    failed=$((failed + $2))
    if [ "$2" -ne 0 ] && [ -n "${3:-}" ]; then
        grep -v -e "${4:-^$}" "$3" | tail -n 60 | sed 's/^/    /'
        echo "    (all of it in $3)"
    fi
}

# One check that passes or fails as COMMAND does, its output in LOG.
check() {
    log=$1; shift
    if "$@" > "$log" 2>&1; then tally 1 0; else tally 0 1 "$log"; fi
}

# suite NAME CMAKE_OPTIONS...: a build in build/NAME and its ctest run.
suite() {
    name=$1; shift
    step "$name"
    build_log=$logs/$name-build.log
    test_log=$logs/$name-tests.log
    # Tests on, whatever an earlier configure (make demo) left in the cache.
    if ! { cmake -S . -B "build/$name" -G Ninja -DCORVANE_TESTS=ON "$@" &&
           cmake --build "build/$name" -j "$jobs"; } > "$build_log" 2>&1; then
        printf 'build failed; '
        tally 0 1 "$build_log"
        return
    fi
    (cd "build/$name" && ctest --output-on-failure --no-tests=error --timeout 900 -j "$jobs") > "$test_log" 2>&1
    summary=$(sed -n 's/^[0-9]*% tests passed, \([0-9]*\) tests failed out of \([0-9]*\)$/\1 \2/p' "$test_log")
    if [ -z "$summary" ]; then
        printf 'no test summary; '
        tally 0 1 "$test_log"
        return
    fi
    # shellcheck disable=SC2086 # two numbers
    set -- $summary
    tally $(($2 - $1)) "$1" "$test_log" '^ *Start \| Passed  *[0-9.]* sec$'
}

step deps
if scripts/install-deps.sh > "$logs/deps.log" 2>&1; then echo "ok"; else tally 0 1 "$logs/deps.log"; fi

suite host -DCMAKE_BUILD_TYPE=RelWithDebInfo
suite asan -DCMAKE_BUILD_TYPE=Debug -DCORVANE_SANITIZE=ON
suite arm -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_TOOLCHAIN_FILE=cmake/arm-linux-gnueabihf.cmake

# corvane-sim under ThreadSanitizer: client writes, ticks and stop signals
# (its "signal N caught" lines are expected, and stay in the log).
step tsan
check "$logs/tsan.log" make -s tsan JOBS="$jobs"

# clang-tidy, cppcheck and gcc's analyzer on the daemon's sources.
step "static analysis"
check "$logs/static-analysis.log" scripts/static-analysis.sh

# Every fuzz target for 10 s; each target is one test.
step fuzz
fuzz_log=$logs/fuzz.log
rm -f build/fuzz/summary.txt
if scripts/fuzz.sh 10 > "$fuzz_log" 2>&1; then status=0; else status=1; fi
targets=0
[ -f build/fuzz/summary.txt ] && targets=$(($(wc -l < build/fuzz/summary.txt) - 1))
crashed=$(grep -c '^=== fuzz-.* failed' "$fuzz_log")
if [ "$status" -ne 0 ] && [ "$crashed" -eq 0 ]; then
    printf 'build failed; '
    tally 0 1 "$fuzz_log"
else
    tally $((targets - crashed)) "$crashed" "$fuzz_log"
fi

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
