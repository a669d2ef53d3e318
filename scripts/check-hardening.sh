#!/bin/sh
# Checks a release binary with readelf: PIE, full RELRO (BIND_NOW), stack
# protector, FORTIFY, non-executable stack, the shared libraries it needs and
# its stripped size. Prints one line per failed check and exits 1 if any.
#
#   check-hardening.sh [--needed LIB]... [--max-size BYTES] BINARY
#
# --needed adds a library the binary may need besides libc, libm and the
# dynamic loader (the platform libraries). STRIP names the strip program of
# the binary's architecture (default: strip).
set -eu

allowed="libc.so.6 libm.so.6 ld-linux.so.3 ld-linux-armhf.so.3 ld-linux-x86-64.so.2 ld-linux-aarch64.so.1"
max_size=""
while [ $# -gt 1 ]; do
    case "$1" in
        --needed) allowed="$allowed $2"; shift 2;;
        --max-size) max_size=$2; shift 2;;
        *) break;;
    esac
done
[ $# -eq 1 ] || { echo "usage: $0 [--needed LIB]... [--max-size BYTES] BINARY" >&2; exit 2; }
binary=$1

failed=0
fail() { echo "$binary: $*"; failed=1; }

header=$(readelf -hW "$binary")
dynamic=$(readelf -dW "$binary")
segments=$(readelf -lW "$binary")
symbols=$(readelf --dyn-syms -W "$binary")

echo "$header" | grep -q "Type:.*DYN" || fail "not position independent (ELF type is not DYN)"
echo "$dynamic" | grep -q "(FLAGS_1).*PIE" || fail "no PIE flag"
echo "$segments" | grep -q "GNU_RELRO" || fail "no RELRO segment"
echo "$dynamic" | grep -Eq "\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*NOW" || fail "no BIND_NOW: RELRO is only partial"
echo "$segments" | grep -q "GNU_STACK" || fail "no GNU_STACK header: the stack may be executable"
echo "$segments" | grep "GNU_STACK" | grep -q "RWE" && fail "executable stack"
echo "$symbols" | grep -q "UND __stack_chk_fail" || fail "no stack protector (__stack_chk_fail not used)"
echo "$symbols" | grep -Eq "UND __[a-z0-9_]+_chk@" || fail "no FORTIFY (no __*_chk function used)"

for library in $(echo "$dynamic" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
    case " $allowed " in
        *" $library "*) ;;
        *) fail "needs $library";;
    esac
done

if [ -n "$max_size" ]; then
    stripped=$(mktemp)
    "${STRIP:-strip}" -o "$stripped" "$binary"
    size=$(stat -c %s "$stripped")
    rm -f "$stripped"
    echo "$binary: $size bytes stripped (limit $max_size)"
    [ "$size" -lt "$max_size" ] || fail "stripped size $size is not below $max_size"
fi

exit $failed
