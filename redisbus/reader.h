// Follows the change stream from a registered position: every write after
// the registration, in bus order, each exactly once, across lost
// connections and server restarts (see the trimming rule in connection.h).
#ifndef REDISBUS_READER_H
#define REDISBUS_READER_H

#include <atomic>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "redisbus/connection.h"
#include "redisbus/reply.h"

namespace corvane::bus {

// The client writes of legacy nodes a service's reader finds after its
// position of the last run: `writes` of them after change `after`, of which
// `latest` (in bus order) are each node's last write as the store still
// holds it; the others were overtaken or never stored.
struct Backlog {
    std::string after;
    long writes = 0;
    std::vector<Change> latest;
};

class Reader {
public:
    // NAME: a service's reader, which keeps its position between runs;
    // empty: a passing reader named after the process.
    explicit Reader(const Address &address, const std::string &name = "");
    ~Reader();

    // Registers at the end of the stream: the first change delivered is
    // the first write made after this call. A service's reader that was
    // registered before collects its backlog and keeps publishing its old
    // position until release_backlog().
    bool start(std::string *error);
    const Backlog &backlog() const { return backlog_; }
    void release_backlog() { holding_ = false; }
    // One round: publishes the position, waits up to `block_ms` for changes
    // or a wake-up and calls on_change for each change in order until it
    // returns false. While the server is unreachable it pauses and tries
    // again on the next call.
    void poll(int block_ms, const std::function<bool(const Change &)> &on_change);
    // A passing reader leaves the stream; a service's reader publishes its
    // position for the next run. Bounded by `timeout_ms`.
    void finish(int timeout_ms = 1000);
    // Ends a wait in poll() at once; any thread.
    void interrupt();

    // Another thread ends the reader's wait by adding to this stream.
    const std::string &wake_key() const { return wake_key_; }
    const std::string &position() const { return position_; }

private:
    bool reconnect();
    void publish_and_read(int block_ms, const std::function<bool(const Change &)> &on_change);
    bool collect_backlog(const std::string &after, const std::string &last, std::string *error);
    bool verify(const std::vector<Change> &changes, std::vector<bool> *stored, std::string *error);
    const std::string &published_position() const { return holding_ ? backlog_.after : position_; }
    void note_publication(const redisReply *reply);
    void trim_now_and_then(long delivered);
    void opened();

    Connection connection_;
    std::string name_;
    bool durable_;
    std::string wake_key_;
    std::string position_;
    std::string wake_position_ = "0-0";
    Backlog backlog_;
    std::atomic<bool> holding_{false};
    std::atomic<int> socket_{-1};
    bool started_ = false;
    bool published_ = false;  // the server has this connection's latest publication
    int pause_ms_ = 10;
    long since_trim_ = 0;
    time_t last_trim_ = 0;
};

} // namespace corvane::bus

#endif
