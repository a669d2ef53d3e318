#!/bin/sh
# make demo-bus: a private redis-server, corvaned as its own process on it,
# and a console that is a separate client process.
#   scripts/demo-bus.sh BUILD_DIR
# The run directory build/demo-bus (mode 0700) holds the socket, the
# append-only file (the nodes survive the next demo), corvaned.log, and the
# users' passwords (passwords/USER) with the ACL file made from them: the
# daemon logs in as corvaned, the console and the tools as admin.
set -eu
build=$1
cd "$(dirname "$0")/.."
run=$PWD/build/demo-bus
mkdir -p "$run"
chmod 700 "$run"
socket=$run/redis.sock
CORVANE_BUS=redis:$socket
export CORVANE_BUS
bus=$build/corvane-bus

mkdir -p "$run/passwords"
chmod 700 "$run/passwords"
"$bus" acl "$run/passwords" >"$run/users.acl"
CORVANE_BUS_USER=admin
CORVANE_BUS_PASSWORD_FILE=$run/passwords/admin
REDISCLI_AUTH=$(cat "$CORVANE_BUS_PASSWORD_FILE")
export CORVANE_BUS_USER CORVANE_BUS_PASSWORD_FILE REDISCLI_AUTH
rcli() { redis-cli -s "$socket" --user admin "$@"; }

redis-server --port 0 --unixsocket "$socket" --unixsocketperm 700 --dir "$run" --aclfile "$run/users.acl" \
    --appendonly yes --save '' --logfile "$run/redis.log" --daemonize yes --pidfile "$run/redis.pid"
tries=0
until [ "$(rcli ping 2>/dev/null)" = PONG ]; do
    tries=$((tries + 1))
    [ "$tries" -lt 100 ] || { echo "redis-server did not start; see $run/redis.log" >&2; exit 1; }
    sleep 0.05
done

daemon=
stop() {
    [ -n "$daemon" ] && kill -TERM "$daemon" 2>/dev/null && wait "$daemon" 2>/dev/null
    rcli shutdown >/dev/null 2>&1 || true
}
trap stop EXIT INT TERM

# A fresh store gets the default device's nodes; a kept one stays as it was.
if [ "$(rcli exists corvane:legacy corvane:native)" = 0 ]; then
    "$bus" load sim/devices/default.dev
    echo "loaded sim/devices/default.dev into the bus"
fi

CORVANE_SIM_DEVICE=$PWD/sim/devices/default.dev CORVANE_BUS_USER=corvaned \
    CORVANE_BUS_PASSWORD_FILE=$run/passwords/corvaned REDISCLI_AUTH= "$build/corvaned" >"$run/corvaned.log" 2>&1 &
daemon=$!
tries=0
until grep -q "MCU Version" "$run/corvaned.log"; do
    tries=$((tries + 1))
    [ "$tries" -lt 400 ] || { echo "corvaned did not start; see $run/corvaned.log" >&2; exit 1; }
    sleep 0.05
done

cat <<TEXT
corvaned runs as process $daemon on $CORVANE_BUS; its log is $run/corvaned.log.
From another terminal:
    export CORVANE_BUS=$CORVANE_BUS CORVANE_BUS_USER=admin CORVANE_BUS_PASSWORD_FILE=$CORVANE_BUS_PASSWORD_FILE
    export REDISCLI_AUTH=\$(cat \$CORVANE_BUS_PASSWORD_FILE)
    $bus set corvane.cam2.brightness 10
    $bus get image.cam2.brightness
    $bus listen
    redis-cli -s $socket --user admin hgetall corvane:legacy
TEXT
"$bus" console
