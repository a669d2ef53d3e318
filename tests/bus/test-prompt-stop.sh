#!/bin/sh
# 100,000 client writes wait for the daemon; the server is shut down (or
# stopped with SIGSTOP: a server that does not answer) and the daemon gets
# SIGTERM: it is gone with status 0 within 2 s. Once the server and the
# daemon are back, the writes it had not handled are applied (the last one,
# once) and the client's last value is in both nodes.
#   test-prompt-stop.sh BUILD_DIR
set -u
build=$1
BUS=$build/corvane-bus
count=100000
# shellcheck source-path=SCRIPTDIR source=redis.sh
. "$(dirname "$0")/redis.sh"
REDIS_OPTIONS="--appendonly yes --appendfsync everysec"
start_redis
"$BUS" load "$(dirname "$0")/../../sim/devices/default.dev" || fail "load"

handled_at_least() { [ "$(grep -c 'Enter corvane.cam1.brightness = ' "$REDIS_DIR/daemon.out")" -ge "$1" ]; }
gone() { ! kill -0 "$DAEMON_PID" 2>/dev/null; }

for server in down silent; do
    suffix=; [ $server = down ] || suffix=0
    seq "$count" | sed "s/.*/corvane.cam1.brightness=&$suffix/" > "$REDIS_DIR/writes.dev"
    last=$([ $server = down ] && echo $count || echo ${count}0)
    start_daemon "$build"
    wait_for daemon_started || fail "$server: the daemon did not start"
    kill -STOP "$DAEMON_PID"
    "$BUS" load --notify "$REDIS_DIR/writes.dev" || fail "$server: the writes"
    kill -CONT "$DAEMON_PID"
    wait_for handled_at_least 100 || fail "$server: the daemon handled nothing"
    if [ $server = down ]; then
        kill -TERM "$REDIS_PID" && wait "$REDIS_PID"   # saves the append-only file
        REDIS_PID=
    else
        kill -STOP "$REDIS_PID"
    fi
    kill -TERM "$DAEMON_PID"
    WAIT_SECONDS=2 wait_for gone || fail "$server: the daemon still runs 2 s after SIGTERM"
    wait "$DAEMON_PID"
    status=$?
    DAEMON_PID=
    [ $status = 0 ] || fail "$server: exit status $status"
    grep -q "signal 15 caught, exiting" "$REDIS_DIR/daemon.err" || fail "$server: no signal line"
    mv "$REDIS_DIR/daemon.out" "$REDIS_DIR/first.out"

    if [ $server = down ]; then start_redis; else kill -CONT "$REDIS_PID"; fi
    start_daemon "$build"
    wait_for daemon_started || fail "$server: the daemon did not start again"
    grep -q "client writes of legacy nodes made while .* was not running" "$REDIS_DIR/daemon.err" ||
        fail "$server: no backlog line"
    wait_for node_is image.cam1.brightness $((last + 50)) ||
        fail "$server: image.cam1.brightness: $("$BUS" get image.cam1.brightness)"
    node_is corvane.cam1.brightness $last || fail "$server: corvane.cam1.brightness: $("$BUS" get corvane.cam1.brightness)"
    [ "$(grep -c 'Enter corvane.cam1.brightness = ' "$REDIS_DIR/daemon.out")" = 1 ] ||
        fail "$server: the restarted daemon handled more than the last write"
    stop_daemon
done
echo "ok"
