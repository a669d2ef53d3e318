// Follows the change stream from a registered position: every write after
// the registration, in bus order, each exactly once, across lost
// connections and server restarts (see the trimming rule in connection.h).
#ifndef REDISBUS_READER_H
#define REDISBUS_READER_H

#include <ctime>
#include <functional>
#include <string>

#include "redisbus/connection.h"

namespace corvane::bus {

class Reader {
public:
    explicit Reader(const Address &address);
    ~Reader();

    // Registers at the end of the stream: the first change delivered is
    // the first write made after this call.
    bool start(std::string *error);
    // One round: publishes the position, waits up to `block_ms` for changes
    // or a wake-up and calls on_change for each change in order. While the
    // server is unreachable it pauses and tries again on the next call.
    void poll(int block_ms, const std::function<void(const Change &)> &on_change);
    // Leaves the stream; the reader no longer holds changes back.
    void finish();

    // Another thread ends the reader's wait by adding to this stream.
    const std::string &wake_key() const { return wake_key_; }
    const std::string &position() const { return position_; }

private:
    bool reconnect();
    void publish_and_read(int block_ms, const std::function<void(const Change &)> &on_change);
    void note_publication(const redisReply *reply);
    void trim_now_and_then(long delivered);

    Connection connection_;
    std::string name_;
    std::string wake_key_;
    std::string position_;
    std::string wake_position_ = "0-0";
    bool started_ = false;
    bool published_ = false;  // the server has this connection's latest publication
    int pause_ms_ = 10;
    long since_trim_ = 0;
    time_t last_trim_ = 0;
};

} // namespace corvane::bus

#endif
