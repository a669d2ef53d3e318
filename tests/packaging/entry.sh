#!/bin/sh
# The process entry of a program: a lone --version and --help answer on
# standard output and exit 0. For corvaned, any other command line starts the
# daemon exactly as no arguments do, byte for byte.
#   entry.sh NAME VERSION SOURCE_DIR COMMAND...   (COMMAND: emulator and binary)
set -eu
name=$1 version=$2 source_dir=$3
shift 3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() { echo "$name: $*"; failures=$((failures + 1)); }

# answers OPTION: runs the program with OPTION alone, must exit 0.
answers() {
    status=0
    "$@" "$option" > "$work/out" 2> "$work/err" || status=$?
    [ "$status" -eq 0 ] || fail "$option exits $status"
}

option=--version
answers "$@"
[ "$(cat "$work/out")" = "$name $version" ] || fail "--version prints '$(cat "$work/out")'"
option=--help
answers "$@"
grep -q "$name" "$work/out" || fail "--help prints no usage"
[ -s "$work/err" ] && fail "--help writes to standard error"

if [ "$name" = corvaned ]; then
    # The simulated camera sends SIGTERM when the start-up writes its last
    # node, so each run is one whole start-up and an orderly shutdown.
    printf '@include=%s\n@signal.image.global_mode=15\n' "$source_dir/sim/devices/default.dev" > "$work/stop.dev"
    export CORVANE_SIM_DEVICE="$work/stop.dev"
    status=0
    "$@" > "$work/plain" 2>&1 || status=$?
    [ "$status" -eq 0 ] || fail "exits $status without arguments"
    grep -q "Corvane control model id" "$work/plain" || fail "does not start without arguments"
    for arguments in "--verbose" "--help --version" "start now"; do
        # shellcheck disable=SC2086 # each case is a list of arguments
        "$@" $arguments > "$work/with" 2>&1 || fail "exits non-zero with '$arguments'"
        cmp -s "$work/plain" "$work/with" || fail "'$arguments' changes what the daemon does"
    done
fi

[ "$failures" -eq 0 ] || exit 1
echo "$name: --version, --help and the daemon's own start behave"
