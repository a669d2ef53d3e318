#!/bin/sh
# The amd64 packages extracted into a scratch root (dpkg -x): corvaned
# refuses a bus address it cannot use, joins a private redis-server, tells
# the service manager when it is ready and when it stops, and answers a
# client's write made with the packaged corvane-bus.
#   deb-bus.sh DEB_DIR     (the .deb files of this machine's build)
set -u
deb_dir=$1
# shellcheck source-path=SCRIPTDIR source=../bus/redis.sh
. "$(dirname "$0")/../bus/redis.sh"

root=$REDIS_DIR/root
for deb in "$deb_dir"/corvaned_*.deb "$deb_dir"/corvane-sim_*.deb; do
    dpkg -x "$deb" "$root" || fail "dpkg -x $deb"
done
BUS=$root/usr/bin/corvane-bus
make_users
for program in usr/sbin/corvaned usr/bin/corvane-bus usr/bin/corvane-web; do
    [ -x "$root/$program" ] || fail "the packages hold no $program"
done

# A malformed address: a clear line and status 2, not a deaf daemon.
CORVANE_BUS=redis://nohost timeout 10 "$root/usr/sbin/corvaned" >/dev/null 2>"$REDIS_DIR/bad.err"
status=$?
[ "$status" = 2 ] || fail "corvaned on a malformed address exited $status, expected 2"
grep -q "corvaned: bus address 'redis://nohost'" "$REDIS_DIR/bad.err" ||
    fail "no line about the malformed address: $(cat "$REDIS_DIR/bad.err")"

start_redis
"$BUS" load "$root/usr/share/corvaned/devices/default.dev" || fail "corvane-bus load"

# The service manager's end of sd_notify: a datagram socket whose messages
# go to a file, one a line.
NOTIFY_SOCKET=$REDIS_DIR/notify.sock
python3 -c '
import socket, sys
s = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
s.bind(sys.argv[1])
s.settimeout(60)
with open(sys.argv[2], "w") as out:
    while True:
        out.write(s.recv(4096).decode() + "\n")
        out.flush()
' "$NOTIFY_SOCKET" "$REDIS_DIR/notify.log" &
CHILDREN=$!
wait_for test -S "$NOTIFY_SOCKET" || fail "no notify socket"
export NOTIFY_SOCKET
CORVANE_SIM_DEVICE=$root/usr/share/corvaned/devices/default.dev start_daemon "$root/usr/sbin"
unset NOTIFY_SOCKET
wait_for daemon_started || fail "the packaged corvaned did not start on the bus"
wait_for grep -qx READY=1 "$REDIS_DIR/notify.log" || fail "no READY=1 to the service manager"

"$BUS" set corvane.cam1.brightness 1 || fail "corvane-bus set"
wait_for node_is image.cam1.brightness 51 || fail "the native node did not follow the client's write"

stop_daemon
wait_for grep -qx STOPPING=1 "$REDIS_DIR/notify.log" || fail "no STOPPING=1 to the service manager"
echo "the packaged corvaned answers on a private redis-server"
