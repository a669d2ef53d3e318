#!/bin/sh
# The README's walkthrough of the real bus, its commands as written: the
# indented block after "From another terminal:" in README.md, run line by
# line in a scratch checkout (its build/host is this build) while
# scripts/demo-bus.sh runs there as make demo-bus runs it.
# - make demo-bus builds every build/host program the block runs;
# - a line ends with status 0, or, still running after 2 s (a follower or a
#   server), ends with status 0 on SIGINT once every line has run;
# - a line whose comment starts with a value prints that value (the daemon
#   answers on its own time: retried for up to 20 s); a URL in a comment
#   answers;
# - the demo then ends with status 0 when its console ends, its daemon and
#   redis-server stopped.
#   bus-walkthrough.sh SOURCE_DIR BUILD_DIR
set -u
src=$1 build=$2
work=$(mktemp -d "${TMPDIR:-/tmp}/corvane-walkthrough.XXXXXX")
demo=
followers=

cleanup() {
    for follower in $followers; do kill -9 "${follower%:*}" 2>/dev/null; done
    exec 3>&-  # the console's end of input: the demo stops its daemon and server
    [ -n "$demo" ] && wait "$demo" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "FAIL: $*"
    [ -s "$work/demo.out" ] && { echo "--- make demo-bus's output"; cat "$work/demo.out"; }
    exit 1
}

ended() { ! kill -0 "$1" 2>/dev/null; }

# within SECONDS COMMAND...: retries COMMAND until it succeeds.
within() {
    tries=$(($1 * 20))
    shift
    until "$@" >/dev/null 2>&1; do
        tries=$((tries - 1))
        [ "$tries" -gt 0 ] || return 1
        sleep 0.05
    done
}

sed -n '/From another terminal:$/,/^[^ ]/s/^    //p' "$src/README.md" > "$work/block"
[ -s "$work/block" ] || fail "no indented block after 'From another terminal:' in README.md"

targets=" $(make -n -s -C "$src" demo-bus | sed -n 's/.*--target //p') "
# shellcheck disable=SC2013 # program names, one word each
for program in $(grep -o 'build/host/[a-z-]*' "$work/block" | sed 's|build/host/||'); do
    case $targets in
    *" $program "*) ;;
    *) fail "make demo-bus builds$targets but not $program, which the walkthrough runs" ;;
    esac
done

scratch=$work/checkout
mkdir -p "$scratch/build" "$scratch/scripts"
ln -s "$(cd "$build" && pwd)" "$scratch/build/host"
ln -s "$src/sim" "$scratch/sim"
ln -s "$src/scripts/demo-bus.sh" "$scratch/scripts/demo-bus.sh"
mkfifo "$work/console"
(cd "$scratch" && exec scripts/demo-bus.sh build/host) < "$work/console" > "$work/demo.out" 2>&1 &
demo=$!
exec 3> "$work/console"
started() { grep -q "corvaned runs as process" "$work/demo.out"; }
within 30 started || fail "the demo did not start"

cd "$scratch" || exit 1
n=0
while IFS= read -r line; do
    n=$((n + 1))
    case $line in
    export\ *)
        eval "$line" || fail "line $n: $line"
        continue ;;
    esac
    sh -c "exec $line" < /dev/null > "$work/out.$n" 2>&1 &
    pid=$!
    within 2 ended "$pid"
    if kill -0 "$pid" 2>/dev/null; then
        followers="$followers $pid:$n"
    else
        wait "$pid" || fail "line $n ended with status $?: $line: $(cat "$work/out.$n")"
    fi
    value=$(printf '%s\n' "$line" | sed -n 's/.*# \([^ ,]*\),.*/\1/p')
    prints_value() { [ "$(sh -c "$line" 2>&1)" = "$value" ]; }
    if [ -n "$value" ] && ! within 20 prints_value; then
        fail "line $n prints '$(sh -c "$line" 2>&1)', not $value: $line"
    fi
    url=$(printf '%s\n' "$line" | grep -o 'http://[^ ]*')
    if [ -n "$url" ] && ! within 20 curl -sf -o /dev/null "$url"; then
        fail "line $n: $url does not answer: $line: $(cat "$work/out.$n")"
    fi
done < "$work/block"

for follower in $followers; do
    pid=${follower%:*} n=${follower#*:}
    kill -INT "$pid"
    within 10 ended "$pid" || fail "line $n still runs 10 s after SIGINT: $(sed -n "${n}p" "$work/block")"
    wait "$pid" || fail "line $n ended with status $? on SIGINT: $(sed -n "${n}p" "$work/block"): $(cat "$work/out.$n")"
done
followers=

exec 3>&-
within 20 ended "$demo" || fail "the demo still runs 20 s after its console's input ended"
wait "$demo" || fail "the demo ended with status $?"
demo=
! redis-cli -s "$scratch/build/demo-bus/redis.sock" ping > /dev/null 2>&1 || fail "the demo left its redis-server running"
echo "ok: the $n lines of the README's bus walkthrough"
