# Sourced by the bus tests (BUS names the corvane-bus to use): a private
# redis-server on a unix socket in a temporary directory, with the users of
# `corvane-bus acl` and the default user off, stopped when the test's shell
# exits. The test's own processes log in as admin, the daemon as corvaned.
#   start_redis        sets REDIS_DIR, REDIS_SOCKET, CORVANE_BUS; more
#                      redis-server options in REDIS_OPTIONS
#   stop_redis                                  kills it (SIGKILL: no save on exit)
#   wait_for COMMAND...                         retries COMMAND for up to 20 s
#   rcli ARGUMENTS...                           redis-cli as admin

REDIS_DIR=$(mktemp -d "${TMPDIR:-/tmp}/corvane-bus-test.XXXXXX")
chmod 700 "$REDIS_DIR"
REDIS_SOCKET=$REDIS_DIR/redis.sock
CORVANE_BUS=redis:$REDIS_SOCKET
export CORVANE_BUS
REDIS_PID=
PASSWORDS=$REDIS_DIR/passwords
CORVANE_BUS_USER=admin
CORVANE_BUS_PASSWORD_FILE=$PASSWORDS/admin
REDISCLI_AUTH=
export CORVANE_BUS_USER CORVANE_BUS_PASSWORD_FILE REDISCLI_AUTH

rcli() {
    redis-cli -s "$REDIS_SOCKET" --user admin "$@"
}

trap cleanup_redis EXIT

# WAIT_SECONDS (default 20) bounds each wait_for.
wait_for() {
    tries=0
    until "$@" >/dev/null 2>&1; do
        tries=$((tries + 1))
        if [ "$tries" -ge $(( ${WAIT_SECONDS:-20} * 20 )) ]; then
            echo "timed out waiting for: $*" >&2
            return 1
        fi
        sleep 0.05
    done
}

REDIS_OPTIONS=

# The users' passwords and the ACL file, once: now when BUS is set, else
# when the server starts.
make_users() {
    [ -d "$PASSWORDS" ] && return
    mkdir -m 700 "$PASSWORDS"
    "$BUS" acl "$PASSWORDS" > "$REDIS_DIR/users.acl" || { echo "corvane-bus acl failed" >&2; exit 1; }
    REDISCLI_AUTH=$(cat "$PASSWORDS/admin")
}
[ -n "${BUS:-}" ] && make_users

start_redis() {
    make_users
    # shellcheck disable=SC2086
    redis-server --port 0 --unixsocket "$REDIS_SOCKET" --unixsocketperm 700 --aclfile "$REDIS_DIR/users.acl" \
        --dir "$REDIS_DIR" --save '' --appendonly no --logfile "$REDIS_DIR/redis.log" $REDIS_OPTIONS &
    REDIS_PID=$!
    wait_for redis_ready
}

# PONG, not an error such as LOADING while the append-only file is read.
redis_ready() {
    [ "$(rcli ping 2>/dev/null)" = PONG ]
}

stop_redis() {
    if [ -n "$REDIS_PID" ]; then
        kill -9 "$REDIS_PID" 2>/dev/null || true
        wait "$REDIS_PID" 2>/dev/null || true
        REDIS_PID=
    fi
}

# corvaned as its own process on the bus, its standard output and error in
# $REDIS_DIR/daemon.out and daemon.err (the daemon line-buffers its log, so
# a test reads each line as it is written).
# CORVANE_TEST_DAEMON names another build of it (corvaned-redis).
#   start_daemon BUILD_DIR     sets DAEMON_PID
#   daemon_started             true once start-up has finished
#   stop_daemon
DAEMON_PID=

start_daemon() {
    # Emptied here, not by the background job's redirection, which may come
    # after daemon_started has read the last run's lines.
    : >"$REDIS_DIR/daemon.out"
    : >"$REDIS_DIR/daemon.err"
    CORVANE_SIM_DEVICE=${CORVANE_SIM_DEVICE:-$(dirname "$0")/../../sim/devices/default.dev} \
        CORVANE_BUS_USER=corvaned CORVANE_BUS_PASSWORD_FILE=$PASSWORDS/corvaned REDISCLI_AUTH= \
        "$1/${CORVANE_TEST_DAEMON:-corvaned}" >"$REDIS_DIR/daemon.out" 2>"$REDIS_DIR/daemon.err" &
    DAEMON_PID=$!
}

daemon_started() {
    grep -q "MCU Version" "$REDIS_DIR/daemon.out"
}

stop_daemon() {
    if [ -n "$DAEMON_PID" ]; then
        kill -CONT "$DAEMON_PID" 2>/dev/null || true
        kill -TERM "$DAEMON_PID" 2>/dev/null || true
        wait "$DAEMON_PID" 2>/dev/null || true
        DAEMON_PID=
    fi
}

# Other processes a test starts in the background; stopped at the end.
CHILDREN=

cleanup_redis() {
    for child in $CHILDREN; do kill "$child" 2>/dev/null; done
    stop_daemon
    stop_redis
    [ -n "${KEEP_REDIS_DIR:-}" ] || rm -rf "$REDIS_DIR"
}

# The value of NAME is VALUE.
node_is() {
    [ "$("$BUS" get "$1" 2>/dev/null)" = "$2" ]
}

fail() {
    echo "FAIL: $*" >&2
    for log in daemon.out daemon.err; do
        [ -f "$REDIS_DIR/$log" ] && { echo "--- $log (tail)"; tail -20 "$REDIS_DIR/$log"; } >&2
    done
    exit 1
}
