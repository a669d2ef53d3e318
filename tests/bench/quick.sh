#!/bin/sh
# Keeps `make bench` building and running: a --quick run against the test
# build, then the report's shape and the figures that do not depend on
# timing (the daemon's heap use) are checked. No timed figure is judged.
set -e
build_dir=$1
report=$(mktemp)
trap 'rm -f "$report"' EXIT
"$(dirname "$0")/../../bench/run.sh" --quick --no-arm --build-dir "$build_dir" --out "$report" 2>&1 |
    grep -v '^\[' >&2

fail() {
    echo "bench report: $1" >&2
    cat "$report" >&2
    exit 1
}

for heading in "Start-up synchronisation" "Client writes" "Burst" "Idle"; do
    grep -q "^## $heading" "$report" || fail "no section '$heading'"
done
! grep -q 'failed to run\|failed; see its output' "$report" || fail "a measurement failed"
# one row per sensor count and per handler family, each with a median ratio
[ "$(grep -c '^| [124] | [0-9,]* | [0-9.]* | [0-9.]* | \*\*[0-9.]*\*\*' "$report")" -eq 3 ] ||
    fail "start-up rows"
[ "$(grep -c '^| [a-z].* | `corvane\.[^`]*` | [0-9]* | [0-9]* | [0-9.]* | \*\*[0-9.]*\*\*' "$report")" -ge 10 ] ||
    fail "client-write rows"
# the daemon allocates nothing after start and calls no heap function
grep -q '^| `corvaned` .* | 0 | [0-9,]* | [0-9,]* |$' "$report" || fail "corvaned allocated while idle"
grep -q '^| `corvane-sim --realtime` .* | 0 | [0-9,]* | [0-9,]* |$' "$report" ||
    fail "corvane-sim allocated while idle"
grep -q '^none (`nm -u`' "$report" || fail "the daemon's code calls a heap function"
echo "bench report: all sections present"
