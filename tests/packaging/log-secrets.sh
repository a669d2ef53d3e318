#!/bin/sh
# The packaged services ask the daemon to mask secrets in its log: the init
# script starts it with CORVANE_LOG_SECRETS=mask in its environment, and the
# systemd unit sets the same word.
#   log-secrets.sh INIT_SCRIPT UNIT CORVANED
set -eu
script=$1 unit=$2 corvaned=$3

root=$(mktemp -d)
trap '"$root/etc/init.d/corvaned" stop >/dev/null 2>&1; rm -rf "$root"' EXIT

failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

# The unit: the word in its [Service] section (systemd's own parser reads
# the last Environment= line of a variable).
word=$(sed -n '/^\[Service\]$/,/^\[/s/^Environment=CORVANE_LOG_SECRETS=//p' "$unit" | tail -n 1)
[ "$word" = mask ] || fail "the unit sets CORVANE_LOG_SECRETS='$word', not mask"

# The init script: the running daemon's own environment.
mkdir -p "$root/usr/sbin" "$root/var/run" "$root/etc/init.d" "$root/etc/default"
cp "$corvaned" "$root/usr/sbin/corvaned"
sed -e "s|/usr/sbin/|$root/usr/sbin/|g" -e "s|/var/run/|$root/var/run/|g" \
    -e "s|/etc/default/|$root/etc/default/|g" "$script" > "$root/etc/init.d/corvaned"
chmod +x "$root/etc/init.d/corvaned"
echo "LOGGER=\"tee -a $root/log\"" > "$root/etc/default/corvaned"
env -u CORVANE_LOG_SECRETS "$root/etc/init.d/corvaned" start >/dev/null 2>&1 || fail "the init script did not start the daemon"
pid=$(cat "$root/var/run/corvaned.pid" 2>/dev/null || echo none)
if [ -r "/proc/$pid/environ" ]; then
    tr '\0' '\n' < "/proc/$pid/environ" | grep -qx 'CORVANE_LOG_SECRETS=mask' ||
        fail "the daemon started by the init script runs without CORVANE_LOG_SECRETS=mask"
else
    fail "no daemon process ($pid)"
fi

[ "$failures" -eq 0 ] && echo "the init script and the unit set CORVANE_LOG_SECRETS=mask"
exit "$failures"
