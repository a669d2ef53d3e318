#!/bin/sh
# The daemon starts before its bus: it says that it waits, keeps trying,
# and starts once the server answers.
#   test-no-server.sh BUILD_DIR
set -u
build=$1
BUS=$build/corvane-bus
# shellcheck source-path=SCRIPTDIR source=redis.sh
. "$(dirname "$0")/redis.sh"
start_daemon "$build"
wait_for grep -q "cannot reach $CORVANE_BUS: .*; waiting for the bus" "$REDIS_DIR/daemon.err" ||
    fail "no line about the missing server"
sleep 1
kill -0 "$DAEMON_PID" || fail "the daemon gave up"
[ -s "$REDIS_DIR/daemon.out" ] && fail "the daemon started without its bus"
[ "$(wc -l < "$REDIS_DIR/daemon.err")" = 1 ] || fail "more than one line while waiting a second"

# The server comes up under another name, gets the device's nodes, and
# only then appears where the daemon looks for it.
waiting_for=$REDIS_SOCKET
REDIS_SOCKET=$REDIS_DIR/staging.sock
start_redis
CORVANE_BUS=redis:$REDIS_SOCKET "$BUS" load "$(dirname "$0")/../../sim/devices/default.dev" || fail "load"
mv "$REDIS_SOCKET" "$waiting_for"
REDIS_SOCKET=$waiting_for

wait_for daemon_started || fail "the daemon did not start once the server was there"
grep -q "connected to $CORVANE_BUS" "$REDIS_DIR/daemon.err" || fail "no line when the server answered"
grep -q "Max cam: 4" "$REDIS_DIR/daemon.out" || fail "the daemon did not read the device's nodes"
"$BUS" set corvane.cam4.brightness 1
wait_for node_is image.cam4.brightness 51 || fail "no handler after a late start"
echo "ok"
