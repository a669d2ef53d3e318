# Sourced by the bus tests: a private redis-server on a unix socket in a
# temporary directory, stopped when the test's shell exits.
#   start_redis [EXTRA redis-server OPTIONS]   sets REDIS_DIR, REDIS_SOCKET, CORVANE_BUS
#   stop_redis                                  kills it (SIGKILL: no save on exit)
#   wait_for COMMAND...                         retries COMMAND for up to 20 s

REDIS_DIR=$(mktemp -d "${TMPDIR:-/tmp}/corvane-bus-test.XXXXXX")
chmod 700 "$REDIS_DIR"
REDIS_SOCKET=$REDIS_DIR/redis.sock
CORVANE_BUS=redis:$REDIS_SOCKET
export CORVANE_BUS
REDIS_PID=

cleanup_redis() {
    stop_redis
    rm -rf "$REDIS_DIR"
}
trap cleanup_redis EXIT

wait_for() {
    tries=0
    until "$@" >/dev/null 2>&1; do
        tries=$((tries + 1))
        if [ "$tries" -ge 400 ]; then
            echo "timed out waiting for: $*" >&2
            return 1
        fi
        sleep 0.05
    done
}

start_redis() {
    redis-server --port 0 --unixsocket "$REDIS_SOCKET" --unixsocketperm 700 \
        --dir "$REDIS_DIR" --save '' --appendonly no --logfile "$REDIS_DIR/redis.log" "$@" &
    REDIS_PID=$!
    wait_for redis-cli -s "$REDIS_SOCKET" ping
}

stop_redis() {
    if [ -n "$REDIS_PID" ]; then
        kill -9 "$REDIS_PID" 2>/dev/null || true
        wait "$REDIS_PID" 2>/dev/null || true
        REDIS_PID=
    fi
}
