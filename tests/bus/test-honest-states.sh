#!/bin/sh
# corvane-bus says what a person needs to know: whether a service follows
# the bus (status), a write to a node the bus does not hold (a typo) or
# with no service running is made with a warning, or not at all with
# --strict; the console warns the same way; no server is exit status 3.
#   test-honest-states.sh BUILD_DIR
set -u
build=$1
BUS=$build/corvane-bus
# shellcheck source-path=SCRIPTDIR source=redis.sh
. "$(dirname "$0")/redis.sh"
start_redis
"$BUS" load "$(dirname "$0")/../../sim/devices/default.dev" || fail "load"
daemon_name=${CORVANE_TEST_DAEMON:-corvaned}

# run ARGUMENTS...: corvane-bus; sets $status, output in $REDIS_DIR/out and err.
run() {
    "$BUS" "$@" >"$REDIS_DIR/out" 2>"$REDIS_DIR/err"
    status=$?
}
expect() {  # STATUS FILE TEXT WHAT
    [ "$status" = "$1" ] || fail "$4: status $status, not $1: $(cat "$REDIS_DIR/err")"
    grep -q "$3" "$REDIS_DIR/$2" || fail "$4: no '$3' in: $(cat "$REDIS_DIR/$2")"
}

run status
expect 1 out "no service has followed this bus" "status before any service"

start_daemon "$build"
wait_for daemon_started || fail "the daemon did not start"
run status
expect 0 out "^$daemon_name running$" "status with the daemon"

run set corvane.cam1.brightness 5
[ "$status" = 0 ] && [ ! -s "$REDIS_DIR/err" ] || fail "an ordinary write warned: $(cat "$REDIS_DIR/err")"
run set corvane.cam1.brightnes 5
expect 0 err "warning: the bus holds no node corvane.cam1.brightnes: no service listens to it (a typo?)" "a typo"
run --strict set corvane.cam1.brightnez 5
expect 1 err "not written: the bus holds no node corvane.cam1.brightnez" "a typo with --strict"
node_is corvane.cam1.brightnez 5 && fail "--strict wrote the typo"
printf 'set corvane.cam1.brightnex 1\nquit\n' | "$BUS" console >"$REDIS_DIR/out" 2>&1
grep -q "warning: the bus holds no node corvane.cam1.brightnex" "$REDIS_DIR/out" ||
    fail "the console did not warn of the typo: $(cat "$REDIS_DIR/out")"

# The daemon gone, its last word an hour old (as after a crash long ago).
stop_daemon
hour_ago=$(( $(rcli time | sed -n 1p) * 1000 - 3600000 ))
rcli hset corvane:readers "$daemon_name" "0-0 $hour_ago" >/dev/null
run status
expect 1 out "^$daemon_name not running (last seen 3[0-9]* s ago)$" "status without the daemon"
run set corvane.cam1.brightness 6
expect 0 err "warning: $daemon_name not running (last seen 3[0-9]* s ago): nothing acts on it" "a write nobody hears"
run --strict set corvane.cam1.brightness 7
expect 1 err "not written" "--strict without the daemon"
node_is corvane.cam1.brightness 6 || fail "--strict wrote without the daemon"

stop_redis
run status
expect 3 err "cannot reach" "status without a server"
echo "ok"
