#!/bin/sh
# make soak: the programs that serve the bus on Redis do not grow with the
# writes they handle. Each of corvaned, corvaned-redis and corvane-sim --bus
# runs on a private redis-server and handles 1,000,000 client writes
# (corvane-bus load --notify, in batches of 10,000, each waited for); its
# resident set after all of them may be at most 1.1 times that after the
# first 100,000.
#   redis_rss.sh BUILD_DIR [WRITES]
set -u
build=$(cd "$1" && pwd)
writes=${2:-1000000}
batch=10000
first=$((writes / 10))
root=$(cd "$(dirname "$0")/../.." && pwd)
if [ ! -x "$build/corvaned-redis" ] || ! command -v redis-server >/dev/null; then
    echo "redis_rss: not run, this build has no bus on Redis (hiredis, redis-server)"
    exit 0
fi
device=$root/sim/devices/default.dev
# shellcheck source-path=SCRIPTDIR source=../bus/redis.sh
. "$root/tests/bus/redis.sh"
BUS=$build/corvane-bus
WAIT_SECONDS=120

rss_kib() {
    sed -n 's/^VmRSS:[[:space:]]*\([0-9]*\).*/\1/p' "/proc/$1/status"
}

# Client writes FROM..TO of corvane.cam2.brightness, then waits until the
# daemon has written the native node of the last one (the legacy value
# plus 50).
drive() {
    awk -v from="$1" -v to="$2" 'BEGIN { for (i = from; i <= to; i++) print "corvane.cam2.brightness=" i }' \
        >"$REDIS_DIR/writes.dev"
    "$BUS" load --notify "$REDIS_DIR/writes.dev" || fail "corvane-bus could not write"
    wait_for node_is image.cam2.brightness $(($2 + 50)) || fail "writes up to $2 not handled"
}

failed=0
for program in corvaned corvaned-redis corvane-sim; do
    start_redis
    if [ "$program" = corvane-sim ]; then
        "$build/corvane-sim" --bus "$CORVANE_BUS" --device "$device" \
            >"$REDIS_DIR/daemon.out" 2>"$REDIS_DIR/daemon.err" &
        DAEMON_PID=$!
    else
        "$BUS" load "$device" || fail "could not load the device"
        CORVANE_TEST_DAEMON=$program CORVANE_SIM_DEVICE=$device start_daemon "$build"
    fi
    wait_for node_is image.global_mode off || fail "$program did not start"
    done_writes=0
    while [ "$done_writes" -lt "$writes" ]; do
        drive $((done_writes + 1)) $((done_writes + batch))
        done_writes=$((done_writes + batch))
        [ "$done_writes" -eq "$first" ] && early=$(rss_kib "$DAEMON_PID")
    done
    late=$(rss_kib "$DAEMON_PID")
    verdict=$(awk -v early="$early" -v late="$late" \
        'BEGIN { printf "%.2f %s", late / early, (late <= 1.1 * early ? "ok" : "GROWS") }')
    echo "$program: VmRSS $early KiB after $first writes, $late KiB after $writes: ratio $verdict"
    case $verdict in *GROWS) failed=1 ;; esac
    stop_daemon
    stop_redis
done
exit $failed
