#!/bin/sh
# corvaned on the simulated 4-sensor camera in real time, with a console.
set -e
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build/host -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_TESTS=OFF >/dev/null
cmake --build build/host -j "$(nproc)" --target corvane-sim
exec build/host/corvane-sim --realtime --console --device sim/devices/default.dev
