#!/bin/sh
# systemd-analyze verifies the unit, and its sandbox keeps the exposure that
# systemd-analyze security reports at or below the documented level.
#   systemd-unit.sh UNIT CORVANED MAX_EXPOSURE
set -eu
unit=$1 corvaned=$2 max_exposure=$3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# verify wants the ExecStart binary to exist: point it at the build.
sed "s|^ExecStart=.*|ExecStart=$corvaned|" "$unit" > "$work/corvaned.service"

systemd-analyze verify --man=no "$work/corvaned.service"

exposure=$(systemd-analyze security --offline=true "$work/corvaned.service" 2>&1 |
    sed -n 's/.*Overall exposure level for corvaned.service: \([0-9.]*\).*/\1/p')
[ -n "$exposure" ] || { echo "systemd-analyze security gave no exposure level"; exit 1; }
echo "corvaned.service: exposure $exposure (at most $max_exposure)"
# Levels have one decimal: compare tenths, as integers, in the shell.
tenths() { printf '%s\n' "$1" | sed -n 's/^\([0-9][0-9]*\)\.\([0-9]\)$/\1\2/p'; }
e=$(tenths "$exposure") m=$(tenths "$max_exposure")
if [ -z "$e" ] || [ -z "$m" ]; then
    echo "exposure levels '$exposure', '$max_exposure' are not N.N"
    exit 1
fi
[ "$e" -le "$m" ]
