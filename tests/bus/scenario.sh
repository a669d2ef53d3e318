#!/bin/sh
# Runs one corvane-sim scenario on the simulated bus and on a private Redis
# server: both runs must pass and leave the same daemon output and trace.
#   scenario.sh CORVANE_SIM SCENARIO.scn OUTPUT_DIR
set -u
sim=$1 scenario=$2 out=$3
BUS=$(dirname "$sim")/corvane-bus
# shellcheck source-path=SCRIPTDIR source=redis.sh
. "$(dirname "$0")/redis.sh"
start_redis
cd "$(dirname "$scenario")" || exit 1
mkdir -p "$out"
base=$out/$(basename "$scenario" .scn)
"$sim" --script "$scenario" --trace "$base.sim.trace" >"$base.sim.out"
sim_status=$?
"$sim" --bus "$CORVANE_BUS" --script "$scenario" --trace "$base.redis.trace" >"$base.redis.out"
redis_status=$?
failed=0
if [ "$sim_status" -ne "$redis_status" ]; then
    echo "exit status: $sim_status on the simulated bus, $redis_status on Redis"
    failed=1
fi
diff -u "$base.sim.trace" "$base.redis.trace" || failed=1
diff -u "$base.sim.out" "$base.redis.out" || failed=1
[ "$sim_status" -eq 0 ] || failed=1
exit $failed
