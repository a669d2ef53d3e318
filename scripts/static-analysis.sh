#!/bin/sh
# Static analysis of the daemon's sources (frame/, bindings/, handlers/,
# lens/): clang-tidy with .clang-tidy, cppcheck, and gcc's -fanalyzer.
# Any finding fails. $1: a build directory to use (default build/analysis).
set -e
cd "$(dirname "$0")/.."
dir=${1:-build/analysis}
sources=$(ls frame/*.cpp bindings/*.cpp handlers/*/*.cpp lens/*.cpp)
jobs=$(nproc)
cmake -S . -B "$dir" -G Ninja -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DCORVANE_TESTS=OFF >/dev/null

echo "=== clang-tidy"
# shellcheck disable=SC2086
printf '%s\n' $sources | xargs -P "$jobs" -n 4 clang-tidy -p "$dir" --quiet 2>/dev/null

echo "=== cppcheck"
# shellcheck disable=SC2086
cppcheck --enable=warning,performance,portability --std=c++20 --language=c++ --error-exitcode=1 \
    --inline-suppr --quiet -j "$jobs" -I . $sources

echo "=== gcc -fanalyzer"
# One exception: gcc 12's analyzer takes the static invoker of a captureless
# lambda for a call with a null 'this' (-Wanalyzer-null-argument), a false
# positive of its C++ support.
# shellcheck disable=SC2086
printf '%s\n' $sources | xargs -P "$jobs" -I{} \
    g++ -std=c++20 -I . -I "$dir/generated" -O1 -fanalyzer -Wno-analyzer-null-argument -Wall -Wextra -Werror -Wformat=2 \
    -c {} -o /dev/null
echo "static analysis: no findings"
