#!/bin/sh
# Installs the Debian packages the build and the tests need, when missing.
set -e
packages="g++ cmake ninja-build googletest g++-arm-linux-gnueabihf qemu-user"
# The bus on Redis: server, client tools, hiredis.
packages="$packages redis-server redis-tools libhiredis-dev"
# make bench
packages="$packages valgrind libbenchmark-dev"
missing=""
for package in $packages; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing="$missing $package"
done
[ -z "$missing" ] && exit 0
echo "installing:$missing"
if [ "$(id -u)" -eq 0 ]; then sudo=""; else sudo="sudo"; fi
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq $missing
