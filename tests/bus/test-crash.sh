#!/bin/sh
# corvaned is killed (SIGKILL) in the middle of 20,000 client writes of one
# legacy node and started again: the writes it had not handled are applied
# after its start-up, the node's last write once, with one line that says
# how many there were and after which change, so the client's last value
# ends in both the legacy and the native node. With CORVANE_BUS_BACKLOG=skip
# the line gives the count and nothing is applied.
#   test-crash.sh BUILD_DIR
set -u
build=$1
BUS=$build/corvane-bus
count=20000
WAIT_SECONDS=120
# shellcheck source-path=SCRIPTDIR source=redis.sh
. "$(dirname "$0")/redis.sh"
start_redis
"$BUS" load "$(dirname "$0")/../../sim/devices/default.dev" || fail "load"
seq "$count" | sed 's/^/corvane.cam1.brightness=/' > "$REDIS_DIR/writes.dev"

handled() { grep -c 'Enter corvane.cam1.brightness = ' "$REDIS_DIR/daemon.out"; }
handled_at_least() { [ "$(handled)" -ge "$1" ]; }
daemon_name=${CORVANE_TEST_DAEMON:-corvaned}

for mode in apply skip; do
    "$BUS" set corvane.cam1.brightness 0 || fail "reset"
    start_daemon "$build"
    wait_for daemon_started || fail "$mode: the daemon did not start"
    "$BUS" load --notify "$REDIS_DIR/writes.dev" &
    writer=$!
    wait_for handled_at_least 500 || fail "$mode: the daemon handled nothing"
    kill -9 "$DAEMON_PID"
    wait "$DAEMON_PID" 2>/dev/null
    DAEMON_PID=
    wait "$writer" || fail "$mode: the writes"
    first=$(handled)
    mv "$REDIS_DIR/daemon.out" "$REDIS_DIR/first.out"
    [ "$first" -lt "$count" ] || fail "$mode: the daemon handled every write before it was killed"

    if [ $mode = skip ]; then export CORVANE_BUS_BACKLOG=skip; fi
    start_daemon "$build"
    wait_for daemon_started || fail "$mode: the daemon did not start again"
    unset CORVANE_BUS_BACKLOG
    [ "$(grep -c "client writes of legacy nodes made while $daemon_name was not running" "$REDIS_DIR/daemon.err")" = 1 ] ||
        fail "$mode: not one backlog line: $(cat "$REDIS_DIR/daemon.err")"
    # Between the last position the killed daemon published and the end.
    pending=$(sed -n 's/^[^:]*: \([0-9]*\) client writes of legacy nodes.*/\1/p' "$REDIS_DIR/daemon.err")
    [ "$pending" -ge $((count - first)) ] && [ "$pending" -le $((count - first + 512)) ] ||
        fail "$mode: $pending writes said to be pending, $((count - first)) not handled"
    if [ $mode = apply ]; then
        grep -q "applying the latest of 1 nodes in bus order" "$REDIS_DIR/daemon.err" || fail "apply: the line"
        wait_for node_is image.cam1.brightness $((count + 50)) ||
            fail "apply: image.cam1.brightness: $("$BUS" get image.cam1.brightness)"
        node_is corvane.cam1.brightness $count || fail "apply: corvane.cam1.brightness: $("$BUS" get corvane.cam1.brightness)"
        # Each write handled at most once, in order, across both runs; the
        # restarted daemon handles only the last one.
        cat "$REDIS_DIR/first.out" "$REDIS_DIR/daemon.out" | grep -o 'Enter corvane.cam1.brightness = [0-9]*' |
            sed 's/.* //' | LC_ALL=C sort -c -n -u || fail "apply: a write handled twice or out of order"
        [ "$(grep -c 'Enter corvane.cam1.brightness = ' "$REDIS_DIR/daemon.out")" = 1 ] || fail "apply: handled more than the last"
    else
        grep -q "skipped (after change [0-9]*-[0-9]*)" "$REDIS_DIR/daemon.err" || fail "skip: the line"
        ! grep -q 'Enter corvane.cam1.brightness = ' "$REDIS_DIR/daemon.out" || fail "skip: a pending write was applied"
    fi
    [ "$(rcli hkeys corvane:readers)" = "$daemon_name" ] ||
        fail "$mode: readers: $(rcli hkeys corvane:readers)"
    stop_daemon
done
echo "ok"
