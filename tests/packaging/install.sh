#!/bin/sh
# Installs each component of a build into a temporary DESTDIR and compares
# the file list with what the component must hold.
#   install.sh SOURCE_DIR BUILD_DIR PREFIX SYSCONFDIR UNITDIR MANPAGES(ON/OFF) VERSION
set -eu
source_dir=$1 build_dir=$2 prefix=$3 sysconfdir=$4 unitdir=$5 man=$6 version=$7

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

installed() {
    DESTDIR=$work/$1 cmake --install "$build_dir" --component "$1" >/dev/null
    (cd "$work/$1" && find . ! -type d | sed 's|^\.||' | LC_ALL=C sort)
}

expect() {
    LC_ALL=C sort > "$work/expected.$1"
    installed "$1" > "$work/installed.$1"
    if ! diff -u "$work/expected.$1" "$work/installed.$1"; then
        echo "component $1: file list differs (- expected, + installed)"
        exit 1
    fi
}

{
    echo "$prefix/sbin/corvaned"
    echo "$sysconfdir/init.d/S80corvaned"
} | expect daemon
echo "$unitdir/corvaned.service" | expect daemon-systemd
if [ "$man" = ON ]; then echo "$prefix/share/man/man8/corvaned.8"; fi | expect daemon-doc

{
    echo "$prefix/bin/corvane-sim"
    for device in "$source_dir"/sim/devices/*.dev; do
        echo "$prefix/share/corvaned/devices/${device##*/}"
    done
    # every host program the build made
    for program in bin/corvane-bus bin/corvane-web sbin/corvaned-redis; do
        [ -x "$build_dir/${program#*/}" ] && echo "$prefix/$program"
    done
    [ -x "$build_dir/corvane-bus" ] && [ "$man" = ON ] &&
        [ -f "$source_dir/docs/man/corvane-bus.1.scd" ] && echo "$prefix/share/man/man1/corvane-bus.1"
    [ -x "$build_dir/corvane-web" ] && [ "$man" = ON ] && echo "$prefix/share/man/man1/corvane-web.1"
    [ -x "$build_dir/corvaned-redis" ] && [ "$man" = ON ] && echo "$prefix/share/man/man8/corvaned-redis.8"
    [ "$man" = ON ] && echo "$prefix/share/man/man1/corvane-sim.1"
    true
} | expect host

# The init files name the installed daemon, which answers --version.
daemon=$work/daemon
grep -qx "EXEC=\"$prefix/sbin/\$DAEMON\"" "$daemon$sysconfdir/init.d/S80corvaned" ||
    { echo "init script does not start $prefix/sbin/corvaned"; exit 1; }
[ -x "$daemon$sysconfdir/init.d/S80corvaned" ] || { echo "init script not executable"; exit 1; }
grep -qx "ExecStart=$prefix/sbin/corvaned" "$work/daemon-systemd$unitdir/corvaned.service" ||
    { echo "unit does not start $prefix/sbin/corvaned"; exit 1; }
answer=$("$daemon$prefix/sbin/corvaned" --version)
[ "$answer" = "corvaned $version" ] || { echo "installed corvaned --version says '$answer'"; exit 1; }
if [ "$man" = ON ]; then
    grep -q '^\.TH "corvaned" "8"' "$work/daemon-doc$prefix/share/man/man8/corvaned.8" ||
        { echo "corvaned.8 is no man page"; exit 1; }
fi
echo "components daemon, daemon-systemd, daemon-doc and host install what they should"
