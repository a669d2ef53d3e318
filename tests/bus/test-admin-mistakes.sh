#!/bin/sh
# The administrator's mistakes on the bus's keys while corvaned runs: after
# each one the daemon says what happened in one line (where it noticed
# anything) and translates the next client write within seconds, once the
# stream can be written again.
#   test-admin-mistakes.sh BUILD_DIR
set -u
build=$1
BUS=$build/corvane-bus
device=$(dirname "$0")/../../sim/devices/default.dev
# shellcheck source-path=SCRIPTDIR source=redis.sh
. "$(dirname "$0")/redis.sh"
start_redis
"$BUS" load "$device" || fail "load"
start_daemon "$build"
wait_for daemon_started || fail "the daemon did not start"

cli() { rcli "$@" >/dev/null; }
future=$(( $(date +%s) + 3600 ))000-0

maximum_id() { cli xadd corvane:changes 18446744073709551615-18446744073709551615 name x value 1 &&
               ! "$BUS" set corvane.cam1.brightness 1 2>/dev/null && cli del corvane:changes; }
future_id() { cli xadd corvane:changes "$future" name x value 1 && sleep 0.5 && cli del corvane:changes &&
              cli xadd corvane:changes 1-1 name y value 1; }
every_key() { rcli --scan --pattern 'corvane:*' | while read -r key; do cli del "$key"; done &&
              "$BUS" load "$device"; }
flushall() { cli flushall && "$BUS" load "$device"; }
# Every new connection loads the library again; a connection that finds it
# gone loads it and says so (tests/unit/redis_bus_test.cpp).
function_flush() { cli function flush; }
script_flush() { cli script flush; }
client_kill() { cli client kill type normal; }

# mistake | the daemon's line, a basic regular expression ("" = none needed)
value=0
while IFS='|' read -r mistake line; do
    value=$((value + 1))
    before=$(wc -l < "$REDIS_DIR/daemon.err")
    $mistake || fail "$mistake: the mistake itself"
    wait_for "$BUS" set corvane.cam1.brightness $value || fail "$mistake: no client write succeeds"
    wait_for node_is image.cam1.brightness $((value + 50)) ||
        fail "$mistake: image.cam1.brightness: $("$BUS" get image.cam1.brightness)"
    if [ -n "$line" ]; then
        wait_for sh -c "tail -n +$((before + 1)) '$REDIS_DIR/daemon.err' | grep -q '$line'" ||
            fail "$mistake: no line '$line': $(tail -n +$((before + 1)) "$REDIS_DIR/daemon.err")"
    fi
done <<'TABLE'
maximum_id|change 18446744073709551615-18446744073709551615 of node "x" was never stored: not acted on
future_id|the change stream ends at .*: following it from its start
every_key|no longer registered
flushall|no longer registered
function_flush|
script_flush|
client_kill|reconnected to
TABLE
kill -0 "$DAEMON_PID" || fail "the daemon died"
[ "$(grep -c "Enter corvane.cam1.brightness = " "$REDIS_DIR/daemon.out")" = $value ] || fail "not each write once"
echo "ok"
