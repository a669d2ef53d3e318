#!/bin/sh
# corvane-bus with awkward input: empty, 1 MiB and binary names and values,
# device files that are missing, unreadable or malformed, bad command lines
# and addresses; each with its exit status.
#   test-bad-input.sh BUILD_DIR
set -u
build=$1
BUS=$build/corvane-bus
# shellcheck source-path=SCRIPTDIR source=redis.sh
. "$(dirname "$0")/redis.sh"
start_redis
work=$REDIS_DIR/work
mkdir "$work"

# status WANTED COMMAND...: runs COMMAND, which must exit with WANTED.
status() {
    wanted=$1
    shift
    "$@" >"$work/stdout" 2>"$work/stderr"
    got=$?
    [ "$got" -eq "$wanted" ] || fail "$* exited $got, not $wanted: $(cat "$work/stderr")"
}

# Empty name and empty value are ordinary nodes.
status 0 "$BUS" set "" ""
status 0 "$BUS" get ""
[ "$(wc -c < "$work/stdout")" = 1 ] || fail "empty node read back"
status 0 "$BUS" set "" "empty name"
status 0 "$BUS" get ""
[ "$(cat "$work/stdout")" = "empty name" ] || fail "the empty name"

# 1 MiB of random bytes (NUL included) through standard input, read back exactly.
head -c 1048576 /dev/urandom > "$work/big"
status 0 sh -c "\"$BUS\" set test.big - < \"$work/big\""
status 0 "$BUS" get test.big
[ "$(wc -c < "$work/stdout")" = 1048577 ] || fail "1 MiB value read back as $(wc -c < "$work/stdout") bytes"
head -c 1048576 "$work/stdout" | cmp -s - "$work/big" || fail "1 MiB value changed"

# Every byte value in a value, and a name of control and high bytes.
# Octal escapes are bytes to every printf, whatever the locale.
escapes=$(i=0; while [ "$i" -lt 256 ]; do printf '\\%03o' "$i"; i=$((i + 1)); done)
# shellcheck disable=SC2059
printf "$escapes" > "$work/bytes"
[ "$(wc -c < "$work/bytes")" -eq 256 ] || fail "the 256-byte file has $(wc -c < "$work/bytes") bytes"
status 0 sh -c "\"$BUS\" set test.bytes - < \"$work/bytes\""
status 0 "$BUS" get test.bytes
head -c 256 "$work/stdout" | cmp -s - "$work/bytes" || fail "binary value changed"
name=$(printf 'test.\001\177\377 \\x')
status 0 "$BUS" set "$name" "binary name"
status 0 "$BUS" get "$name"
[ "$(cat "$work/stdout")" = "binary name" ] || fail "binary name"
status 0 "$BUS" dump test.
grep -qxF 'test.\x01\x7f\xff \\x = binary name' "$work/stdout" || fail "dump escapes: $(cat "$work/stdout")"
grep -qF 'test.bytes = \x00\x01' "$work/stdout" || fail "dump of binary value"

# A 100 KiB name on the command line, a 1 MiB name from a device file.
long=$(head -c 102400 /dev/zero | tr '\0' n)
status 0 "$BUS" set "$long" long
status 0 "$BUS" get "$long"
[ "$(cat "$work/stdout")" = long ] || fail "100 KiB name"
{ head -c 1048576 /dev/zero | tr '\0' m; echo "=huge name"; } > "$work/huge.dev"
status 0 "$BUS" load "$work/huge.dev"
status 0 "$BUS" dump mmmm
[ "$(wc -c < "$work/stdout")" = $((1048576 + 13)) ] || fail "1 MiB name from a device file"
grep -q "m = huge name$" "$work/stdout" || fail "1 MiB name from a device file: its value"

# Device files that cannot be loaded; nothing of them is stored.
status 2 "$BUS" load "$work/missing.dev"
grep -q "missing.dev" "$work/stderr" || fail "the message does not name the missing file"
status 2 "$BUS" load "$work"
printf 'fine.node=1\nno equals sign here\n' > "$work/malformed.dev"
status 2 "$BUS" load "$work/malformed.dev"
grep -q "malformed.dev:2" "$work/stderr" || fail "the message does not name the malformed line"
status 1 "$BUS" get fine.node
if [ "$(id -u)" -ne 0 ]; then
    echo "secret=1" > "$work/unreadable.dev"
    chmod 000 "$work/unreadable.dev"
    status 2 "$BUS" load "$work/unreadable.dev"
fi
# Quoted values with escapes, @include, ranges.
printf '@range.test.rate=type:int;cont[64~16384]\ntest.quoted="a\\tb\\x41"\n' > "$work/part.dev"
printf '@include=part.dev\ntest.plain=x=y\n' > "$work/whole.dev"
status 0 "$BUS" load "$work/whole.dev"
status 0 "$BUS" get test.quoted
[ "$(cat "$work/stdout")" = "$(printf 'a\tbA')" ] || fail "quoted value"
status 0 "$BUS" get test.plain
[ "$(cat "$work/stdout")" = "x=y" ] || fail "value with ="
status 0 "$BUS" range test.rate
[ "$(cat "$work/stdout")" = "type:int;cont[64~16384]" ] || fail "range"

# Absent nodes, usage errors, unreachable and malformed addresses.
status 1 "$BUS" get no.such.node
status 1 "$BUS" range no.such.node
status 2 "$BUS"
status 2 "$BUS" frobnicate
status 2 "$BUS" get
status 2 "$BUS" get a b
status 2 "$BUS" set a
status 2 "$BUS" load --notify
status 2 "$BUS" load --bogus file
status 0 "$BUS" --help
grep -q "EXIT STATUS" "$work/stdout" || fail "--help"
status 3 "$BUS" --bus "redis:$REDIS_DIR/nothing.sock" get a
grep -q "redis:$REDIS_DIR/nothing.sock" "$work/stderr" || fail "the message does not name the address"
grep -q "No such file or directory" "$work/stderr" || fail "the message does not say why"
status 2 "$BUS" --bus "bogus" get a
status 2 env CORVANE_BUS_PASSWORD_FILE= "$BUS" --bus "redis://10.1.2.3:6379" get a
grep -q "CORVANE_BUS_PASSWORD" "$work/stderr" || fail "TCP without a password"
status 2 env CORVANE_BUS=sim "$BUS" get a
status 2 "$BUS" --bus
grep -qx "corvane-bus: --bus needs an address" "$work/stderr" || fail "--bus without an address: $(cat "$work/stderr")"
echo "ok"
