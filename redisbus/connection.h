// One connection to the bus server and the operations on its keys.
//
// Keys (all under "corvane:"); the legacy subtree (names beginning with
// "corvane.") and the native nodes live apart so that ACL key patterns can
// tell them apart:
//   corvane:legacy, corvane:native          hash  node name -> value
//   corvane:legacy:ids, corvane:native:ids  hash  node name -> id of its last write
//   corvane:ranges    hash  node name -> permitted-range text
//   corvane:changes   stream of change records {name, value, writer}
//   corvane:readers   hash  reader -> "LAST-ID SEEN-MS": where each reader is
//   corvane:writer:W  "SEQ ID": writer W's last write, for retries; expires
//   corvane:wake:R    stream that wakes reader R's thread
//
// Every write goes through the function library "corvane" (FCALL
// corvane_write): it appends the change with a server-chosen id, stores the
// value and the id, and recognises a retried write by the writer's sequence.
// A reader acts only on changes whose id the store holds (a change added to
// the stream by hand, never stored, is ignored).
//
// Trimming rule: the change stream is trimmed to the oldest position any
// registered reader has published. A reader publishes its position when it
// registers, after every 512 changes or 5 seconds (idle or not) and after
// every reconnection; a passing reader (corvane-bus listen) unregisters
// when it stops, a service's reader (named after the service) keeps its
// position for its next start. A published position is never ahead of what
// the reader has delivered. A reader that has published nothing for its
// lease (reader_lease_ms) is taken to be gone and stops holding the stream.
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
constexpr char kLegacyKey[] = "corvane:legacy";
constexpr char kNativeKey[] = "corvane:native";
constexpr char kLegacyIdsKey[] = "corvane:legacy:ids";
constexpr char kNativeIdsKey[] = "corvane:native:ids";
constexpr char kLegacyPrefix[] = "corvane.";
constexpr char kRangesKey[] = "corvane:ranges";
constexpr char kChangesKey[] = "corvane:changes";
constexpr char kReadersKey[] = "corvane:readers";
constexpr char kWriterPrefix[] = "corvane:writer:";
constexpr char kWakePrefix[] = "corvane:wake:";

// The hash that holds NAME, and the one that holds its last write's id.
bool is_legacy(std::string_view name);
inline const char *nodes_key(std::string_view name) { return is_legacy(name) ? kLegacyKey : kNativeKey; }
inline const char *ids_key(std::string_view name) { return is_legacy(name) ? kLegacyIdsKey : kNativeIdsKey; }

struct Address {
    std::string text;  // as given
    std::string path;  // unix socket, or empty
    std::string host;
    int port = 0;
    std::string user;      // CORVANE_BUS_USER; empty: the server's default user
    std::string password;  // never shown
};

// "redis:/path" or "redis://HOST:PORT". The user is CORVANE_BUS_USER, the
// password CORVANE_BUS_PASSWORD or the first line of the file named by
// CORVANE_BUS_PASSWORD_FILE; TCP needs a password unless HOST is a loopback
// address. An address with a user or password in it is refused, and no
// message shows a password.
// Status::refused for the ACL's refusal (NOPERM), else Status::unreachable.
Status failure(const std::string &error);

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
    bool operator==(const StreamId &other) const { return ms == other.ms && seq == other.seq; }
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
    // A function of the library "corvane" (see connection.cpp), loaded
    // again when the server has lost it.
    Reply call(const char *function, const Arguments &keys, const Arguments &arguments, std::string *error);
    bool append_call(const char *function, const Arguments &keys, const Arguments &arguments, std::string *error);
    // The socket, for shutdown(2) from another thread; -1 when closed.
    int socket() const { return socket_; }

    // Node operations. On unreachable, `error` says why.
    Status get(const std::string &name, std::string *value, std::string *error);
    Status hash_get(const char *key, const std::string &name, std::string *value, std::string *error);
    // Stores, appends the change record and returns its id; a write retried
    // after a lost reply is recognised by the connection's own sequence
    // number and made once.
    Status write(const std::string &name, const std::string &value, std::string *id, std::string *error);
    Status write_all(const std::vector<Node> &nodes, std::string *last_id, std::string *error);
    // Device-side values, without a change record.
    Status store(const std::vector<Node> &nodes, std::string *error);
    Status store_ranges(const std::vector<Node> &ranges, std::string *error);
    Status erase(const std::string &name, std::string *error);
    Status dump(const std::string &prefix, std::vector<Node> *nodes, std::string *error);
    Status clear(std::string *error);

private:
    bool fail(std::string *error, const std::string &what);
    bool load_library(std::string *error);
    bool reload_library(std::string *error);
    Status hash_set(const char *key, const std::vector<Node> &nodes, std::string *error);

    Address address_;
    redisContext *context_ = nullptr;
    int socket_ = -1;
    std::string writer_key_;  // corvane:writer:THIS-CONNECTION
    unsigned long long sequence_ = 0;  // of the last write the server confirmed
};

// A server error that says the function library is not loaded.
bool is_missing_function(const std::string &error);

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
