// corvane-web's view of the configuration bus: what a client of the bus
// can do (read, write, list, follow every write with its writer). One
// implementation hosts the daemon on the in-process simulated camera.
#ifndef WEB_BUS_H
#define WEB_BUS_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

struct BusChange {
    std::string name;
    std::string value;
    std::string writer;
};

// What a person needs to know before trusting the page: whether the bus
// answers, and whether the service that acts on writes is running.
struct BusState {
    bool reachable = false;
    bool service_running = false;
    std::string service;  // "corvaned running", "corvaned not running (last seen 42 s ago)", ...
};

class WebBus {
public:
    virtual ~WebBus() = default;
    // Where the bus is, for the page's header ("in-process simulated camera").
    virtual std::string describe() const = 0;
    virtual std::optional<std::string> get(const std::string &name) = 0;
    // Nodes whose name begins with `prefix`, sorted by name.
    virtual std::vector<std::pair<std::string, std::string>> dump(const std::string &prefix) = 0;
    // A client write; empty on success, else why it failed.
    virtual std::string set(const std::string &name, const std::string &value) = 0;
    // `on_change` is called for every write from now on, from a thread of
    // the bus; it copies what it needs and returns.
    virtual void watch(std::function<void(const BusChange &)> on_change) = 0;
    virtual BusState state() = 0;
    // The latest writes the bus still holds, oldest first.
    virtual std::vector<BusChange> recent(size_t count) = 0;
};

#endif
