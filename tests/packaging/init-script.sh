#!/bin/sh
# The init script against a corvaned build in a temporary root: start,
# status, restart and stop with the exit codes LSB gives them, the pid file,
# and the log through the configured logger.
#   init-script.sh SCRIPT CORVANED
set -eu
script=$1 corvaned=$2

root=$(mktemp -d)
init=$root/etc/init.d/corvaned
pidfile=$root/var/run/corvaned.pid
# Ends every daemon started from the temporary root, whatever the script did.
cleanup() {
    for process in /proc/[0-9]*; do
        case "$(readlink "$process/exe" 2>/dev/null)" in
            "$root/usr/sbin/corvaned"*) kill "${process#/proc/}" 2>/dev/null;;
        esac
    done
    rm -rf "$root"
}
trap cleanup EXIT

shellcheck -s sh "$script"

mkdir -p "$root/usr/sbin" "$root/var/run" "$root/etc/init.d" "$root/etc/default"
cp "$corvaned" "$root/usr/sbin/corvaned"
sed -e "s|/usr/sbin/|$root/usr/sbin/|g" -e "s|/var/run/|$root/var/run/|g" \
    -e "s|/etc/default/|$root/etc/default/|g" "$script" > "$init"
chmod +x "$init"
cat > "$root/etc/default/corvaned" <<DEFAULTS
LOGGER="tee -a $root/log"
WAIT_TENTHS=50
CORVANE_DEFAULTS_WORD=reached
DEFAULTS

failures=0
# expect STATUS ACTION: runs the init script with ACTION, checks its status.
expect() {
    set +e
    "$init" "$2" > "$root/out" 2>&1
    status=$?
    set -e
    if [ "$status" -ne "$1" ]; then
        echo "'$2' exited $status, expected $1: $(cat "$root/out")"
        failures=$((failures + 1))
    fi
}
# check MESSAGE COMMAND...: counts a failure when COMMAND fails.
check() {
    message=$1
    shift
    if ! "$@"; then
        echo "failed: $message"
        failures=$((failures + 1))
    fi
}
not() { ! "$@"; }
daemon_pid() { cat "$pidfile" 2>/dev/null || echo none; }
is_daemon() { [ "$(readlink "/proc/$1/exe" 2>/dev/null)" = "$root/usr/sbin/corvaned" ]; }

expect 3 status
expect 0 stop
expect 0 start
first=$(daemon_pid)
check "pid file names the running corvaned after start" is_daemon "$first"
check "the CORVANE_* words of /etc/default/corvaned reach the daemon" \
    grep -qx CORVANE_DEFAULTS_WORD=reached "/proc/$first/environ" -z
expect 0 status
expect 0 start
check "a second start leaves the daemon alone" [ "$(daemon_pid)" = "$first" ]
expect 0 restart
second=$(daemon_pid)
check "restart stops the first daemon" not is_daemon "$first"
check "restart starts a new daemon" is_daemon "$second"
expect 0 stop
check "stop ends the daemon" not is_daemon "$second"
check "stop removes the pid file" not [ -e "$pidfile" ]
expect 3 status
check "the daemon's standard error reaches the logger" grep -q "signal 15 caught, exiting" "$root/log"
check "the daemon's log reaches the logger" grep -q "Corvane control model id" "$root/log"

# A pid file whose process is not corvaned: dead, the pid file remains.
sleep 30 > /dev/null 2>&1 &
stale=$!
echo "$stale" > "$pidfile"
expect 1 status
expect 0 start
check "start over a stale pid file starts the daemon" is_daemon "$(daemon_pid)"
expect 0 stop
kill "$stale"

expect 3 reload
expect 2 frobnicate
rm "$root/usr/sbin/corvaned"
expect 1 start

[ "$failures" -eq 0 ] || exit 1
echo "init script: start, status, restart and stop behave"
