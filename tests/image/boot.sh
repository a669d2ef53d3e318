#!/bin/sh
# Boots the device build in a BusyBox firmware image under qemu-system-arm
# and checks it over the serial console. The image: Debian's armmp kernel
# and busybox-static (armhf packages that scripts/install-deps.sh fetches
# into PACKAGES_DIR), the cross toolchain's C and C++ libraries, the tree of
# `make install ARCH=arm COMPONENT=daemon PREFIX=/usr` and rootfs/ (inittab,
# rcS, rcK, syslogd, the in-image checks). It boots twice, once ending in
# reboot and once in poweroff; each time S80corvaned must start corvaned at
# boot with 4 sensors, every check of sbin/image-check must pass, and rcK
# must stop the daemon with SIGTERM. Prints the boot-to-
# ready time and the image's size.
#   boot.sh SOURCE_DIR WORK_BUILD_DIR PACKAGES_DIR
set -eu
source_dir=$1 build_dir=$2 packages=$3
sysroot=/usr/arm-linux-gnueabihf
# Every wait is bounded: a boot that hangs ends here.
boot_seconds=120

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root

newest() {
    # shellcheck disable=SC2012,SC2086 # a pattern; package names hold no blanks
    ls "$packages"/$1 2>/dev/null | LC_ALL=C sort -V | tail -n 1
}
kernel_deb=$(newest 'linux-image-*-armmp_*_armhf.deb')
busybox_deb=$(newest 'busybox-static_*_armhf.deb')
if [ -z "$kernel_deb" ] || [ -z "$busybox_deb" ]; then
    echo "no armhf kernel or busybox-static in $packages: run scripts/install-deps.sh"
    exit 1
fi
mkdir -p "$work/kernel" "$root"
dpkg-deb --fsys-tarfile "$kernel_deb" | tar -x -C "$work/kernel" --wildcards './boot/vmlinuz-*'
kernel=$(ls "$work"/kernel/boot/vmlinuz-*)

# The daemon component, as a firmware build installs it.
make -s -C "$source_dir" install ARCH=arm COMPONENT=daemon PREFIX=/usr DESTDIR="$root" \
    INSTALL_BUILD="$build_dir/image-arm" > "$work/install.log" 2>&1 ||
    { cat "$work/install.log"; echo "make install ARCH=arm COMPONENT=daemon failed"; exit 1; }
daemon_bytes=$(du -sk --apparent-size "$root" | cut -f1)

# BusyBox and its applets.
dpkg-deb -x "$busybox_deb" "$work/busybox"
mkdir -p "$root/bin" "$root/sbin" "$root/usr/bin" "$root/usr/sbin" "$root/lib" \
    "$root/proc" "$root/sys" "$root/dev" "$root/var" "$root/tmp"
cp "$work/busybox/bin/busybox" "$root/bin/busybox"
qemu-arm "$root/bin/busybox" --list-full | while read -r applet; do
    [ -e "$root/$applet" ] || ln -s /bin/busybox "$root/$applet"
done
ln -s /bin/busybox "$root/init"
cp -R "$(dirname "$0")/rootfs/." "$root/"

# The libraries the installed programs need, from the cross toolchain.
needed() {
    find "$root/usr" -type f \( -perm -u+x -o -name '*.so*' \) -exec readelf -d {} + 2>/dev/null |
        sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'
    for library in "$root"/lib/*; do
        [ -e "$library" ] && readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'
    done
    echo ld-linux-armhf.so.3
}
while :; do
    added=0
    for library in $(needed | LC_ALL=C sort -u); do
        [ -e "$root/lib/$library" ] || [ -e "$root/usr/lib/$library" ] && continue
        cp -L "$sysroot/lib/$library" "$root/lib/$library"
        added=1
    done
    [ "$added" -eq 0 ] && break
done

# The initramfs: the tree, then /dev/console as a hand-written newc entry
# (making the node itself would need root).
newc() { # NAME MODE RDEV_MAJOR RDEV_MINOR
    size=$((${#1} + 1))
    printf '070701%08X%08X%08X%08X%08X%08X%08X%08X%08X%08X%08X%08X%08X' \
        1 "$2" 0 0 1 0 0 0 0 "$3" "$4" "$size" 0
    printf '%s\000' "$1"
    padding=$(((4 - (110 + size) % 4) % 4))
    while [ "$padding" -gt 0 ]; do printf '\000'; padding=$((padding - 1)); done
}
(cd "$root" && find . | LC_ALL=C sort | cpio -o -H newc -R 0:0 --quiet) > "$work/image.cpio"
{ newc dev/console $((0x2180)) 5 1; newc TRAILER!!! 0 0 0; } >> "$work/image.cpio"
gzip -9 -n < "$work/image.cpio" > "$work/image.cpio.gz"
image_bytes=$(wc -c < "$work/image.cpio" | tr -d ' ')
gzip_bytes=$(wc -c < "$work/image.cpio.gz" | tr -d ' ')
kernel_bytes=$(wc -c < "$kernel" | tr -d ' ')

now() { date +%s%3N; }  # milliseconds
failures=0
fail() { echo "$1: $2"; failures=$((failures + 1)); }
checks=$(grep -c '^check "' "$root/sbin/image-check")

# boot END: one boot whose check ends in END (poweroff or reboot).
boot() {
    console=$work/console.$1
    started=$(now)
    timeout "$boot_seconds" qemu-system-arm -M virt -cpu cortex-a15 -m 128 -nographic \
        -no-reboot -nic none -kernel "$kernel" -initrd "$work/image.cpio.gz" \
        -append "console=ttyAMA0 quiet panic=-1 corvane.end=$1" < /dev/null > "$console.raw" 2>&1 &
    qemu=$!
    ready=""
    while kill -0 "$qemu" 2>/dev/null; do
        if [ -z "$ready" ] && grep -q "^ready: uptime" "$console.raw"; then
            ready=$(( $(now) - started ))
            ready=$((ready / 1000)).$((ready % 1000 / 100))
        fi
        sleep 0.1
    done
    status=0
    wait "$qemu" || status=$?
    tr -d '\r' < "$console.raw" > "$console"
    [ "$status" -eq 0 ] || fail "$1" "qemu exited $status (124: no $1 within $boot_seconds s)"
    [ -n "$ready" ] || fail "$1" "corvaned never logged its start-up with 4 sensors"
    grep "^check: FAIL" "$console" | sed "s/^/$1: /"
    grep -q "^checks done: 0 failed" "$console" || fail "$1" "the checks in the image did not all pass"
    [ "$(grep -c '^check: ok' "$console")" -eq "$checks" ] ||
        fail "$1" "$(grep -c '^check: ok' "$console") of $checks checks passed"
    sed -n '/^image-check: /,$p' "$console" > "$console.end"
    grep -q "Stopping corvaned: OK" "$console.end" || fail "$1" "rcK did not stop corvaned"
    # The daemon's own lines stay in syslog on the RAM /var; what the
    # console shows is that SIGTERM was enough.
    grep -q "sending SIGKILL" "$console.end" && fail "$1" "corvaned needed SIGKILL to stop"
    if [ "$failures" -ne 0 ]; then
        echo "--- console of the $1 boot"
        cat "$console"
        echo "---"
    fi
    uptime=$(sed -n 's/^ready: uptime \(.*\) s$/\1/p' "$console")
    echo "boot to ready ($1 boot): $ready s wall, guest uptime $uptime s" >> "$work/summary"
}

boot reboot
boot poweroff
[ "$failures" -eq 0 ] || exit 1
cat "$work/summary"
echo "image: $image_bytes bytes ($gzip_bytes gzip), the daemon component $daemon_bytes KiB, kernel $kernel_bytes bytes"
echo "firmware image: S80corvaned starts, stops, restarts and supervises corvaned; reboot and poweroff stop it"
