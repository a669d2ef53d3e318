#!/bin/sh
# Two clients write the network option word and one of its switches while
# the daemon is stopped, so both notifications wait for it at once. After
# SIGCONT the word and the switches settle on one consistent state and the
# daemon falls quiet (it used to correct them against each other for ever).
#   test-option-word.sh BUILD_DIR
set -u
build=$1
BUS=$build/corvane-bus
# shellcheck source-path=SCRIPTDIR source=redis.sh
. "$(dirname "$0")/redis.sh"
start_redis
"$BUS" load "$(dirname "$0")/../../sim/devices/default.dev" || fail "load"
start_daemon "$build"
wait_for daemon_started || fail "the daemon did not start"

"$BUS" set corvane.netopt 0 || fail "first write"
wait_for node_is network.ipv6.enable off || fail "the word 0 was not fanned out"

kill -STOP "$DAEMON_PID"
"$BUS" set corvane.netopt 529 || fail "the word"
"$BUS" set corvane.ipv4mode manual || fail "the switch"
kill -CONT "$DAEMON_PID"

changes() { rcli xinfo stream corvane:changes | sed -n '/^last-generated-id$/{n;p;}'; }
quiet() {
    before=$(changes)
    sleep 1
    [ "$(changes)" = "$before" ]
}
wait_for quiet || fail "the daemon keeps writing: last change $(changes)"

word=$("$BUS" get corvane.netopt)
dhcp=$(( word & 1 )) ntp=$(( (word >> 4) & 1 )) ipv6=$(( (word >> 9) & 1 ))
expect_switch() {
    # NAME BIT WORD-WHEN-SET WORD-WHEN-CLEAR NATIVE NATIVE-WHEN-SET NATIVE-WHEN-CLEAR
    if [ "$2" = 1 ]; then legacy=$3 native=$6; else legacy=$4 native=$7; fi
    node_is "$1" "$legacy" || fail "$1 is $("$BUS" get "$1") with the word $word"
    node_is "$5" "$native" || fail "$5 is $("$BUS" get "$5") with the word $word"
}
expect_switch corvane.ipv4mode "$dhcp" dhcp manual network.ipv4.mode dhcp manual
expect_switch corvane.datemode "$ntp" ntp manual system.datetime.mode ntp manual
expect_switch corvane.ipv6enabled "$ipv6" true false network.ipv6.enable on off
grep -q "Skip corvane.netopt = [0-9]*, superseded!!" "$REDIS_DIR/daemon.out" ||
    fail "no superseded word was skipped"
echo "ok"
