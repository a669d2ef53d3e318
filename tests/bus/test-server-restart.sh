#!/bin/sh
# redis-server is killed and started again while the daemon runs: the
# daemon says once that it lost the server and once that it is back,
# resumes the change stream where it stopped, and handles the next write,
# once. Nothing it had handled is handled again.
#   test-server-restart.sh BUILD_DIR
set -u
build=$1
BUS=$build/corvane-bus
# shellcheck source-path=SCRIPTDIR source=redis.sh
. "$(dirname "$0")/redis.sh"
REDIS_OPTIONS="--appendonly yes --appendfsync always"
start_redis
"$BUS" load "$(dirname "$0")/../../sim/devices/default.dev" || fail "load"
start_daemon "$build"
wait_for daemon_started || fail "the daemon did not start"
"$BUS" set corvane.cam2.brightness 10
wait_for node_is image.cam2.brightness 60 || fail "before the restart"

stop_redis
wait_for grep -q "reconnecting" "$REDIS_DIR/daemon.err" || fail "the daemon did not notice the lost server"
"$BUS" get image.cam2.brightness 2>/dev/null
[ $? -eq 3 ] || fail "corvane-bus without a server: not exit status 3"
start_redis
node_is image.cam2.brightness 60 || fail "the node store did not survive the restart"

"$BUS" set corvane.cam2.brightness 20
wait_for node_is image.cam2.brightness 70 || fail "after the restart: $("$BUS" get image.cam2.brightness)"
wait_for grep -q "reconnected to $CORVANE_BUS" "$REDIS_DIR/daemon.err" || fail "no reconnection line"
[ "$(grep -c "reconnecting" "$REDIS_DIR/daemon.err")" = 1 ] || fail "more than one line for the lost server"
[ "$(grep -c "reconnected" "$REDIS_DIR/daemon.err")" = 1 ] || fail "more than one reconnection line"
[ "$(grep -c "Enter corvane.cam2.brightness = 10!!" "$REDIS_DIR/daemon.out")" = 1 ] || fail "a write handled twice"
[ "$(grep -c "Enter corvane.cam2.brightness = 20!!" "$REDIS_DIR/daemon.out")" = 1 ] || fail "the new write not handled once"
kill -0 "$DAEMON_PID" || fail "the daemon died"
echo "ok"
