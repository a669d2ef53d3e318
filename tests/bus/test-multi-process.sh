#!/bin/sh
# corvaned as its own process on Redis; another process writes legacy nodes
# with corvane-bus and reads the native nodes the handlers wrote.
#   test-multi-process.sh BUILD_DIR
set -u
build=$1
BUS=$build/corvane-bus
# shellcheck source-path=SCRIPTDIR source=redis.sh
. "$(dirname "$0")/redis.sh"
devices=$(dirname "$0")/../../sim/devices
start_redis
"$BUS" load "$devices/default.dev" || fail "load"
start_daemon "$build"
wait_for daemon_started || fail "the daemon did not start"

# The start-up filled the legacy subtree from the native nodes.
node_is corvane.cam2.brightness 0 || fail "corvane.cam2.brightness after start-up: $("$BUS" get corvane.cam2.brightness)"
node_is image.global_mode off || fail "image.global_mode not written at start-up"

# Client writes in another process reach the handlers, in order.
"$BUS" set corvane.cam2.brightness 10 || fail "set"
wait_for node_is image.cam2.brightness 60 || fail "image.cam2.brightness: $("$BUS" get image.cam2.brightness)"
grep -q "Enter corvane.cam2.brightness = 10!!" "$REDIS_DIR/daemon.out" || fail "no handler line"
"$BUS" set corvane.cam3.brightness 1
"$BUS" set corvane.cam3.brightness 2
"$BUS" set corvane.cam3.brightness 3
wait_for node_is image.cam3.brightness 53 || fail "image.cam3.brightness: $("$BUS" get image.cam3.brightness)"
[ "$(grep -o 'Enter corvane.cam3.brightness = [0-9]*' "$REDIS_DIR/daemon.out" | tr '\n' ' ')" = \
  "Enter corvane.cam3.brightness = 1 Enter corvane.cam3.brightness = 2 Enter corvane.cam3.brightness = 3 " ] ||
    fail "handler order"

# A listener sees the client's write and the daemon's answer, with writers.
"$BUS" listen > "$REDIS_DIR/listen.out" &
listener=$!
CHILDREN=$listener
sleep 0.3
"$BUS" set corvane.cam1.brightness 5
wait_for grep -q "^image.cam1.brightness = 55 (corvaned[-a-z]*\[$DAEMON_PID\])$" "$REDIS_DIR/listen.out" ||
    fail "listen: $(cat "$REDIS_DIR/listen.out")"
grep -q "^corvane.cam1.brightness = 5 (corvane-bus\[[0-9]*\])$" "$REDIS_DIR/listen.out" || fail "listen: client write"
kill -INT "$listener"
wait "$listener" || fail "listen did not end cleanly on SIGINT"
[ "$(rcli hlen corvane:readers)" = 1 ] || fail "the listener did not leave the stream"

# The console: a client write, and the daemon's answer shown as it comes.
printf 'set corvane.cam2.brightness 7\nget image.cam2.brightness\nquit\n' | "$BUS" console > "$REDIS_DIR/console.out" ||
    fail "console"
grep -q "=> image.cam2.brightness = 57  (corvaned[-a-z]*\[$DAEMON_PID\])" "$REDIS_DIR/console.out" ||
    fail "console: no answer from the daemon: $(cat "$REDIS_DIR/console.out")"
grep -q "image.cam2.brightness = 57$" "$REDIS_DIR/console.out" || fail "console: get"

# The daemon stops through its own shutdown path and keeps its position,
# under its own name, for its next start; no passing reader is left.
stop_daemon
[ "$(rcli hkeys corvane:readers)" = "${CORVANE_TEST_DAEMON:-corvaned}" ] ||
    fail "readers after the stop: $(rcli hkeys corvane:readers)"
echo "ok"
