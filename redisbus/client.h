// Host-side client of the configuration bus on Redis, for tools that run
// beside the daemon (corvane-bus, a web page, a test): read and write nodes,
// dump a subtree, follow every write with the name of its writer.
//
// The daemon itself uses only platform/nbus.h; this API is the tools' view of
// the same store. A Client holds one connection and is used by one thread at
// a time; stop() may be called from any thread or a signal handler.
//
//     std::string error;
//     auto bus = corvane::bus::Client::connect("", &error);   // "" = $CORVANE_BUS
//     if (!bus) { fprintf(stderr, "%s\n", error.c_str()); return 3; }
//     bus->set("corvane.cam2.brightness", "10");
//     std::string value;
//     if (bus->get("image.cam2.brightness", &value) == corvane::bus::Status::ok) ...
//     bus->watch("corvane.", [](const corvane::bus::Change &change) {
//         printf("%s = %s (%s)\n", change.name.c_str(), change.value.c_str(), change.writer.c_str());
//         return true;                                          // false ends the watch
//     });
#ifndef REDISBUS_CLIENT_H
#define REDISBUS_CLIENT_H

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corvane::bus {

enum class Status {
    ok,
    absent,       // no such node
    unreachable,  // the server cannot be reached (error() says why)
    refused,      // the server's ACL forbids it to this user (error() says what)
};

struct Node {
    std::string name;
    std::string value;
};

// One write as the bus delivers it: its position in the bus's one global
// order (a Redis stream id), the node, the value and who wrote it
// ("corvaned[1234]", "corvane-bus[99]").
struct Change {
    std::string id;
    std::string name;
    std::string value;
    std::string writer;
};

// A service on the bus (corvaned, corvaned-redis, corvane-sim --bus): a
// reader that keeps its position across runs. A running one says where it
// is at least every 5 s, idle or not.
struct Service {
    std::string name;
    long long silent_ms;  // since it last said so, by the server's clock
};
constexpr long long kServiceSilentMs = 15000;  // past this it is taken to be gone
inline bool running(const Service &service) { return service.silent_ms <= kServiceSilentMs; }
// "corvaned running", "corvaned not running (last seen 42 s ago)" (the
// service heard from last), "no service has followed this bus"; *any_running
// says whether one runs.
std::string describe_services(const std::vector<Service> &services, bool *any_running);

class Connection;

// The library's own lines (a lost or regained server, a dropped write) go to
// standard error as "WHO: text"; WHO is "nbus" unless a tool names itself.
void set_log_name(const char *who);

class Client {
public:
    // Connects to ADDRESS ("redis:/path/to/socket" or "redis://HOST:PORT";
    // empty: the environment variable CORVANE_BUS). Null with a message that
    // names the address and the reason when the address is malformed or is
    // the in-process "sim" bus (then *malformed is set), or when the server
    // does not answer.
    static std::unique_ptr<Client> connect(const std::string &address, std::string *error,
                                           bool *malformed = nullptr);
    ~Client();

    const std::string &address() const { return address_; }
    // Why the latest call returned unreachable.
    const std::string &error() const { return error_; }

    Status get(const std::string &name, std::string *value);
    // A client write: stored and notified to every listener, in bus order.
    Status set(const std::string &name, const std::string &value);
    // Many client writes in order, pipelined.
    Status set_all(const std::vector<Node> &nodes);
    // Device-side values: stored without notification (loading a device).
    Status store(const std::vector<Node> &nodes);
    // Permitted-range texts, as nbus_get_range returns them.
    Status store_ranges(const std::vector<Node> &ranges);
    Status range(const std::string &name, std::string *text);
    // Nodes whose name begins with PREFIX, sorted by name.
    Status dump(const std::string &prefix, std::vector<Node> *nodes);

    // Calls on_change for every write of a node whose name begins with
    // PREFIX made after the watch began, in bus order, until on_change
    // returns false or stop() is called. Survives a server restart: it
    // reconnects and resumes where it stopped. Returns ok when ended, or
    // unreachable when the server could not be reached at the start.
    // on_ready, if given, is called once the watch has begun.
    Status watch(const std::string &prefix, const std::function<bool(const Change &)> &on_change,
                 const std::function<void()> &on_ready = {});
    void stop() { stopping_ = true; }

    // The services that have followed this bus, running or not.
    Status services(std::vector<Service> *services);
    // Why a write of NAME would go unheard, or "" when a service runs and
    // the bus holds the node: "corvaned not running (last seen 42 s ago):
    // nothing acts on it", "the bus holds no node NAME: no service listens
    // to it (a typo?)". Unreachable: the error, as any call.
    std::string unheard_because(const std::string &name);
    // The latest COUNT writes the bus still holds, oldest first.
    Status recent(size_t count, std::vector<Change> *changes);
    // Forgets every node, range and change of the bus (a fresh device).
    Status clear();

private:
    Client(std::string address, std::unique_ptr<Connection> connection);

    std::string address_;
    std::string error_;
    std::unique_ptr<Connection> connection_;
    std::atomic<bool> stopping_{false};
};

} // namespace corvane::bus

#endif
