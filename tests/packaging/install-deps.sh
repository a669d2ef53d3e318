#!/bin/sh
# scripts/install-deps.sh with dpkg, apt-get, apt-cache, id and sudo stood in for: as
# root it calls apt-get itself, as a user through sudo, and without sudo it
# says what to do; apt's output goes to the log, one line to the terminal.
#   install-deps.sh SOURCE_DIR
set -eu
source_dir=$1

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() { echo "$*"; failures=$((failures + 1)); }

# setup UID WITH_SUDO APT_STATUS: a copy of the script and a PATH of stubs.
setup() {
    rm -rf "${work:?}/tree" "${work:?}/bin"
    mkdir -p "$work/tree/scripts" "$work/bin"
    cp "$source_dir/scripts/install-deps.sh" "$work/tree/scripts/"
    for tool in sh dirname grep mkdir env tail cat ls sed head; do
        ln -s "$(command -v "$tool")" "$work/bin/$tool"
    done
    printf '#!/bin/sh\nexit 1\n' > "$work/bin/dpkg-query"              # nothing installed
    printf '#!/bin/sh\necho armhf\n' > "$work/bin/dpkg"
    printf '#!/bin/sh\necho "linux-image-armmp:armhf"\necho "  Depends: linux-image-6.1.0-50-armmp:armhf"\n' \
        > "$work/bin/apt-cache"
    printf '#!/bin/sh\necho %s\n' "$1" > "$work/bin/id"
    printf '#!/bin/sh\necho "$*" >> %s/apt.calls\necho "apt progress noise"\nexit %s\n' \
        "$work" "$3" > "$work/bin/apt-get"
    if [ "$2" = yes ]; then
        printf '#!/bin/sh\necho "$*" >> %s/sudo.calls\nexec "$@"\n' "$work" > "$work/bin/sudo"
    fi
    chmod +x "$work/bin/"*
    rm -f "$work/apt.calls" "$work/sudo.calls"
}
run() {
    status=0
    PATH=$work/bin "$work/tree/scripts/install-deps.sh" > "$work/out" 2> "$work/err" || status=$?
}
lines() { if [ -f "$1" ]; then grep -c . "$1"; else echo 0; fi; }

setup 0 no 0
run
[ "$status" -eq 0 ] || fail "as root: exit $status: $(cat "$work/err")"
[ "$(lines "$work/apt.calls")" -eq 3 ] || fail "as root: apt-get called $(lines "$work/apt.calls") times"
grep -q "^install -y .* make " "$work/apt.calls" || fail "as root: make is not installed"
grep -qx "download linux-image-6.1.0-50-armmp:armhf busybox-static:armhf" "$work/apt.calls" ||
    fail "as root: the armhf kernel and busybox-static are not fetched"
[ "$(lines "$work/out")" -eq 1 ] || fail "as root: $(lines "$work/out") lines on the terminal"
grep -q "apt progress noise" "$work/out" && fail "as root: apt's output reaches the terminal"
grep -q "apt progress noise" "$work/tree/build/install-deps.log" || fail "as root: apt's output is not logged"

setup 1000 yes 0
run
[ "$status" -eq 0 ] || fail "with sudo: exit $status: $(cat "$work/err")"
[ "$(lines "$work/sudo.calls")" -eq 2 ] || fail "with sudo: sudo called $(lines "$work/sudo.calls") times"
grep -q "^env DEBIAN_FRONTEND=noninteractive apt-get install" "$work/sudo.calls" ||
    fail "with sudo: the install does not go through sudo"

setup 1000 no 0
run
[ "$status" -eq 1 ] || fail "without sudo: exit $status"
[ -f "$work/apt.calls" ] && fail "without sudo: apt-get was called"
grep -q "as root (or install sudo)" "$work/err" || fail "without sudo: no advice: $(cat "$work/err")"

setup 0 no 100
run
[ "$status" -eq 1 ] || fail "failing apt-get: exit $status"
grep -q "apt-get install failed" "$work/err" || fail "failing apt-get: not reported: $(cat "$work/err")"

[ "$failures" -eq 0 ] || exit 1
echo "install-deps.sh: root, sudo, no sudo and a failing apt-get behave"
