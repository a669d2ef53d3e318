#!/bin/sh
# The daemon is stopped (SIGSTOP) for at least 2 s while another process
# writes 100,000 legacy nodes and a third one follows the bus and trims the
# change stream. After SIGCONT the daemon handles every write once, in
# order, and the stream is trimmed behind the slowest reader.
#   test-stalled-reader.sh BUILD_DIR
set -u
build=$1
BUS=$build/corvane-bus
count=100000
WAIT_SECONDS=120
# shellcheck source-path=SCRIPTDIR source=redis.sh
. "$(dirname "$0")/redis.sh"
start_redis
"$BUS" load "$(dirname "$0")/../../sim/devices/default.dev" || fail "load"
start_daemon "$build"
wait_for daemon_started || fail "the daemon did not start"

lines_at_least() { [ "$(wc -l < "$1")" -ge "$2" ]; }
stream_shorter_than() { [ "$(rcli xlen corvane:changes)" -lt "$1" ]; }

seq "$count" | sed 's/^/corvane.cam1.brightness=/' > "$REDIS_DIR/writes.dev"
"$BUS" listen corvane.cam1.brightness > "$REDIS_DIR/listen.out" &
listener=$!
CHILDREN=$listener
sleep 0.3

kill -STOP "$DAEMON_PID"
stopped_at=$(date +%s%N)
"$BUS" load --notify "$REDIS_DIR/writes.dev" || fail "the writes"
# The listener has seen them all, so it has trimmed as far as it may.
wait_for lines_at_least "$REDIS_DIR/listen.out" "$count" || fail "the listener saw $(wc -l < "$REDIS_DIR/listen.out")"
held=$(rcli xlen corvane:changes)
[ "$held" -ge "$count" ] || fail "the stream was trimmed past the stopped daemon: $held entries left"
while [ $(( $(date +%s%N) - stopped_at )) -lt 2000000000 ]; do sleep 0.1; done
kill -CONT "$DAEMON_PID"

wait_for node_is image.cam1.brightness $((count + 50)) || fail "image.cam1.brightness: $("$BUS" get image.cam1.brightness)"
grep -o 'Enter corvane.cam1.brightness = [0-9]*' "$REDIS_DIR/daemon.out" | sed 's/.* //' > "$REDIS_DIR/handled"
seq "$count" | cmp - "$REDIS_DIR/handled" || fail "every write handled once, in order"
grep -q "^corvane.cam1.brightness = $count (corvane-bus" "$REDIS_DIR/listen.out" || fail "listener's last line"

# Once the daemon has caught up, the stream is trimmed behind both readers.
wait_for stream_shorter_than 5000 ||
    fail "the stream was not trimmed: $(rcli xlen corvane:changes) entries"
kill -INT "$listener"
wait "$listener" || fail "listen did not end cleanly"
echo "ok"
