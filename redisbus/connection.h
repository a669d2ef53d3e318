// One connection to the bus server and the operations on its keys.
//
// Keys (all under "corvane:"):
//   corvane:nodes     hash  node name -> value
//   corvane:ranges    hash  node name -> permitted-range text
//   corvane:changes   stream of change records {name, value, writer}
//   corvane:readers   hash  reader -> "LAST-ID SEEN-MS": where each reader is
//   corvane:writers   hash  connection -> "SEQ ID": last write, for retries
//   corvane:wake:R    stream that wakes reader R's thread
//
// Trimming rule: the change stream is trimmed to the oldest position any
// registered reader has published. A reader publishes its position when it
// registers, after every 512 changes or 5 seconds (idle or not) and after
// every reconnection, and unregisters when it stops; a published position
// is never ahead of what the reader has delivered. A reader that has
// published nothing for its lease (reader_lease_ms) is taken to be gone and stops
// holding the stream. So a reader that stalls or loses its connection for
// less than the lease resumes with nothing lost.
#ifndef REDISBUS_CONNECTION_H
#define REDISBUS_CONNECTION_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <hiredis/hiredis.h>

#include "redisbus/client.h"

namespace corvane::bus {

// CORVANE_BUS_LEASE_MS, by default ten minutes.
long reader_lease_ms();
constexpr char kNodesKey[] = "corvane:nodes";
constexpr char kRangesKey[] = "corvane:ranges";
constexpr char kChangesKey[] = "corvane:changes";
constexpr char kReadersKey[] = "corvane:readers";
constexpr char kWritersKey[] = "corvane:writers";
constexpr char kWakePrefix[] = "corvane:wake:";

struct Address {
    std::string text;  // as given
    std::string path;  // unix socket, or empty
    std::string host;
    int port = 0;
    std::string password;
};

// "redis:/path" or "redis://HOST:PORT". TCP needs CORVANE_BUS_PASSWORD
// unless HOST is a loopback address; the password is used on any address
// when set.
bool parse_address(const std::string &text, Address *address, std::string *error);
// CORVANE_BUS, or "sim" when unset.
std::string address_from_environment();
// "corvaned[1234]": the process's name for change records.
std::string process_writer();

struct ReplyDeleter {
    void operator()(redisReply *reply) const { freeReplyObject(reply); }
};
using Reply = std::unique_ptr<redisReply, ReplyDeleter>;

using Arguments = std::vector<std::string_view>;

// A stream id "MS-SEQ" as two numbers, for ordering.
struct StreamId {
    unsigned long long ms = 0;
    unsigned long long seq = 0;
    static StreamId parse(std::string_view text);
    bool operator<(const StreamId &other) const { return ms < other.ms || (ms == other.ms && seq < other.seq); }
    bool operator<=(const StreamId &other) const { return !(other < *this); }
};

class Connection {
public:
    explicit Connection(Address address);
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    const Address &address() const { return address_; }
    // Connects when not connected. `read_timeout_ms` bounds every reply.
    bool open(std::string *error, int read_timeout_ms = 5000);
    bool connected() const { return context_ != nullptr; }
    void close();

    // One command; null on a connection or server error (`error` says
    // which; the connection is closed on a connection error).
    Reply command(const Arguments &arguments, std::string *error);
    // Pipelining: queue commands, then read their replies in order.
    bool append(const Arguments &arguments, std::string *error);
    Reply read(std::string *error);
    // A server-side script by name (see connection.cpp).
    Reply script(const char *name, const Arguments &keys, const Arguments &arguments, std::string *error);
    bool append_script(const char *name, const Arguments &keys, const Arguments &arguments, std::string *error);

    // Node operations. On unreachable, `error` says why.
    Status get(const std::string &name, std::string *value, std::string *error);
    Status hash_get(const char *key, const std::string &name, std::string *value, std::string *error);
    // Stores, appends the change record and returns its id; retried writes
    // are recognised by the connection's own sequence number.
    Status write(const std::string &name, const std::string &value, std::string *id, std::string *error);
    Status write_all(const std::vector<Node> &nodes, std::string *last_id, std::string *error);
    Status store(const char *key, const std::vector<Node> &nodes, std::string *error);
    Status erase(const std::string &name, std::string *error);
    Status dump(const std::string &prefix, std::vector<Node> *nodes, std::string *error);
    Status clear(std::string *error);

private:
    const std::string &script_sha(const char *name);
    bool fail(std::string *error, const std::string &what);

    Address address_;
    redisContext *context_ = nullptr;
    std::string token_;       // this connection in corvane:writers
    unsigned long long sequence_ = 0;
    std::vector<std::pair<std::string, std::string>> shas_;
};

// Blocks until the server answers, with a growing pause between tries;
// the first failure and then one line every ten seconds are logged.
void open_waiting(Connection *connection);

// A line of the bus library's own on standard error (see set_log_name).
void log_line(const char *format, ...) __attribute__((format(printf, 1, 2)));
// The process's view of the server: the first failure after a success and
// the first success after a failure make one line each.
void note_unreachable(const std::string &error);
void note_reachable(const Address &address, const std::string &resumed_after);

std::string reply_text(const redisReply *reply);

} // namespace corvane::bus

#endif
