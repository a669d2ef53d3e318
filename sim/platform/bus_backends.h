// The buses a process can be given, by the scheme of the address: "sim"
// (the nodes in this process) and "redis:/path", "redis://HOST:PORT" (a
// Redis server shared with other processes). Every program that takes a bus
// address (corvane-sim, corvane-web, the head view, corvaned on the
// simulated camera) chooses here, and only here.
#ifndef SIM_PLATFORM_BUS_BACKENDS_H
#define SIM_PLATFORM_BUS_BACKENDS_H

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "sim/platform/store.h"

namespace sim {

using BusNodes = std::vector<std::pair<std::string, std::string>>;

// One write as a shared bus delivers it, with the name of its writer
// ("corvaned[1234]", "corvane-bus[99]").
struct BusWrite {
    std::string name;
    std::string value;
    std::string writer;
};

// A client of a shared bus, beside the daemon. Used by one thread at a
// time; stop() may be called from any thread.
class BusClient {
public:
    virtual ~BusClient() = default;
    virtual const std::string &address() const = 0;
    // Why the latest call failed.
    virtual const std::string &error() const = 0;
    // False when the node is absent or the bus fails.
    virtual bool get(const std::string &name, std::string *value) = 0;
    // Client writes, stored and notified in bus order.
    virtual bool set(const std::string &name, const std::string &value) = 0;
    virtual bool set_all(const BusNodes &nodes) = 0;
    // Nodes whose name begins with `prefix`, sorted by name.
    virtual BusNodes dump(const std::string &prefix) = 0;
    // Every write of a node under `prefix` after the watch began (on_ready
    // is called then), until on_write returns false or stop() is called.
    virtual void watch(const std::string &prefix, const std::function<bool(const BusWrite &)> &on_write,
                       const std::function<void()> &on_ready) = 0;
    virtual void stop() = 0;
    // False when the bus does not answer; else *text says which service
    // follows the bus ("corvaned running") and *running whether it runs.
    virtual bool services(bool *running, std::string *text) = 0;
    // The latest `count` writes the bus still holds, oldest first.
    virtual std::vector<BusWrite> recent(size_t count) = 0;
};

struct BusBackend {
    bool in_process;     // no other process can reach it
    // This process's node store on the bus; null with the reason. With
    // `wait` it waits for a server to answer.
    std::unique_ptr<NodeStore> (*store)(const std::string &address, bool wait, NodeStore::Sink sink,
                                        std::string *error);
    // A client beside the daemon; null with the reason.
    std::unique_ptr<BusClient> (*client)(const std::string &address, std::string *error);
};

// The backend of `address`. An address no scheme claims (an empty one too)
// goes to the bus on Redis, whose parser says what it expected.
const BusBackend &bus_backend(const std::string &address);

} // namespace sim

#endif
