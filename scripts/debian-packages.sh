#!/bin/sh
# Builds the Debian binary packages from a copy of the source tree, for the
# build machine and for each architecture given, and runs lintian on them.
#   debian-packages.sh SOURCE_DIR WORK_DIR [ARCH]...
# Everything is written under WORK_DIR; a lintian error fails the script.
set -eu
source_dir=$1 work_dir=$2
shift 2

version=$(dpkg-parsechangelog -l "$source_dir/debian/changelog" -S Version)
rm -rf "$work_dir"
mkdir -p "$work_dir"

for arch in native "$@"; do
    tree=$work_dir/$arch/corvaned-$version
    mkdir -p "$tree"
    (cd "$source_dir" && git ls-files -co --exclude-standard -z | xargs -0 cp -P --parents -t "$tree")
    # every core; a cross build drops the host-only build dependencies
    if [ "$arch" = native ]; then
        set -- -J
    else
        set -- -J "-a$arch" -Pcross
    fi
    echo "=== dpkg-buildpackage -b $*"
    if ! (cd "$tree" && dpkg-buildpackage -b -us -uc "$@" > "$work_dir/$arch.log" 2>&1); then
        tail -40 "$work_dir/$arch.log"
        echo "dpkg-buildpackage $* failed; the whole log is $work_dir/$arch.log"
        exit 1
    fi
    changes=$(ls "$work_dir/$arch/corvaned_${version}_"*.changes)
    for deb in "$work_dir/$arch"/*.deb; do
        echo "${deb##*/}:"
        dpkg-deb -c "$deb" | while read -r _ _ _ _ _ path _; do echo "  $path"; done
    done
    echo "=== lintian ${changes##*/}"
    lintian --fail-on error --tag-display-limit 0 "$changes"
done
