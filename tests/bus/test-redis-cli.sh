#!/bin/sh
# The one-line redis-cli write of docs/sim.md, run as written there (the
# socket filled in, logged in as the legacy user): the daemon acts on it,
# a listener sees its writer, and keys that do not fit the node are
# refused without a write.
#   test-redis-cli.sh BUILD_DIR
set -u
set -f
build=$1
BUS=$build/corvane-bus
docs=$(dirname "$0")/../../docs/sim.md
# shellcheck source-path=SCRIPTDIR source=redis.sh
. "$(dirname "$0")/redis.sh"
start_redis
"$BUS" load "$(dirname "$0")/../../sim/devices/default.dev" || fail "load"
start_daemon "$build"
wait_for daemon_started || fail "the daemon did not start"

recipe=$(sed -n 's/^    \(redis-cli -s SOCKET FCALL corvane_write .*\)$/\1/p' "$docs")
[ -n "$recipe" ] || fail "no redis-cli write in docs/sim.md"
# shellcheck disable=SC2086
set -- $recipe
shift 3  # redis-cli -s SOCKET
name=$7 value=$8
[ "$name" = corvane.cam1.brightness ] && [ "$value" = 10 ] || fail "the recipe writes $name = $value"

"$BUS" listen corvane.cam1. >"$REDIS_DIR/listen.out" 2>&1 &
CHILDREN=$!
sleep 0.5
answer=$(REDISCLI_AUTH=$(cat "$PASSWORDS/legacy") redis-cli -s "$REDIS_SOCKET" --user legacy "$@" 2>&1)
case $answer in
    [0-9]*-[0-9]*) ;;
    *) fail "the recipe answered: $answer" ;;
esac
wait_for node_is image.cam1.brightness 60 || fail "the daemon did not act: $("$BUS" get image.cam1.brightness)"
wait_for grep -q "^corvane.cam1.brightness = 10 (redis-cli)$" "$REDIS_DIR/listen.out" ||
    fail "the listener did not see redis-cli's write: $(cat "$REDIS_DIR/listen.out")"

answer=$(rcli FCALL corvane_write 3 corvane:legacy corvane:legacy:ids corvane:changes image.cam1.brightness 99 2>&1)
case $answer in
    *"belongs in corvane:native"*) ;;
    *) fail "a native node through the legacy hash: $answer" ;;
esac
node_is image.cam1.brightness 60 || fail "the refused call wrote image.cam1.brightness"
echo "ok"
