#!/bin/sh
# Installs the Debian packages the build and the tests need, when missing.
# Works on a bare Debian 12 as root, or through sudo; apt's own output goes
# to build/install-deps.log and one line says what was installed.
set -e
cd "$(dirname "$0")/.."
packages="g++ cmake ninja-build ccache googletest g++-arm-linux-gnueabihf qemu-user"
# the consoles, corvane-web and their tests
packages="$packages libedit-dev libcpp-httplib-dev nlohmann-json3-dev chromium chromium-driver python3-selenium tmux
  curl"
# Packaging: the Makefile, man pages, the init script and unit checks, the
# Debian packages for the build machine and (cross) armhf.
packages="$packages make scdoc shellcheck systemd dpkg-dev debhelper lintian
  crossbuild-essential-armhf libsystemd-dev"
# The bus on Redis: server, client tools, hiredis; nettle for the hashes of
# the ACL file (corvane-bus acl).
packages="$packages redis-server redis-tools libhiredis-dev nettle-dev"
# make bench
packages="$packages valgrind libbenchmark-dev"
# make test's static analysis and fuzz steps: clang with libFuzzer,
# clang-tidy, cppcheck
packages="$packages clang libclang-rt-dev clang-tidy cppcheck"
# The firmware image test: the emulator and cpio here; Debian's armhf kernel
# and BusyBox are fetched (not installed) into build/image-packages.
packages="$packages qemu-system-arm cpio"
image_packages="linux-image-armmp busybox-static"
image_dir=build/image-packages
missing=""
for package in $packages; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing="$missing $package"
done
fetch=""
for package in $image_packages; do
    ls "$image_dir/${package%-armmp}"*_armhf.deb >/dev/null 2>&1 || fetch="$fetch $package"
done
[ -z "$missing" ] && [ -z "$fetch" ] && exit 0

if [ "$(id -u)" -eq 0 ]; then
    as_root=""
elif command -v sudo >/dev/null 2>&1; then
    as_root="sudo"
else
    echo "install-deps.sh: these Debian packages are missing:$missing" >&2
    echo "install-deps.sh: run scripts/install-deps.sh as root (or install sudo) to install them" >&2
    exit 1
fi

mkdir -p build
log=build/install-deps.log
: > "$log"
printf 'install-deps.sh: installing%s%s ... ' "$missing" "${fetch:+, fetching armhf$fetch}"
if [ -n "$fetch" ] && ! dpkg --print-foreign-architectures | grep -qx armhf; then
    $as_root dpkg --add-architecture armhf >> "$log" 2>&1
fi
# A mirror caught mid-sync fails the update of one index; the install
# below says whether what is needed was found.
$as_root apt-get update >> "$log" 2>&1 || echo "apt-get update reported errors" >> "$log"
# shellcheck disable=SC2086 # missing is a list of package names
if [ -n "$missing" ] && ! $as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends -o DPkg::Lock::Timeout=300 $missing >> "$log" 2>&1; then
    echo "failed"
    tail -n 20 "$log" >&2
    echo "install-deps.sh: apt-get install failed; the whole output is in $log" >&2
    exit 1
fi
# The kernel's package is named by its ABI; the metapackage names it.
if [ -n "$fetch" ]; then
    kernel=$(apt-cache depends linux-image-armmp:armhf 2>>"$log" | sed -n 's/^ *Depends: \(linux-image-[^:]*\).*/\1/p' | head -n 1)
    mkdir -p "$image_dir"
    if [ -z "$kernel" ] || ! (cd "$image_dir" && apt-get download "$kernel:armhf" busybox-static:armhf) >> "$log" 2>&1; then
        echo "failed"
        tail -n 20 "$log" >&2
        echo "install-deps.sh: apt-get download of the armhf kernel and busybox-static failed; the whole output is in $log" >&2
        exit 1
    fi
fi
echo "done (apt output in $log)"
