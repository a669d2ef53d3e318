// The node store and change delivery under the simulated bus: in this
// process (the default) or on a Redis server shared with other processes.
// Everything the simulator adds on top (read faults, ranges, the trace,
// records, signals tied to writes, registrations) lives in bus.cpp.
#ifndef SIM_PLATFORM_STORE_H
#define SIM_PLATFORM_STORE_H

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace sim {

constexpr int kMissingNode = -1;
constexpr int kBadArguments = -2;
constexpr int kUnreachable = -3;

class NodeStore {
public:
    // Sees every write, once, in order, on the bus thread.
    using Sink = std::function<void(const std::string &name, const std::string &value)>;
    virtual ~NodeStore() = default;

    // 0 with the value, kMissingNode, or kUnreachable.
    virtual int get(const std::string &name, std::string *value) = 0;
    // Stores and delivers. Outside the bus thread: returns once the bus is
    // idle again. Inside: queued behind the running delivery.
    virtual void write(const std::string &name, const std::string &value) = 0;
    // Stores without delivery (the device side).
    virtual void write_quiet(const std::string &name, const std::string &value) = 0;
    virtual void erase(const std::string &name) = 0;
    virtual std::map<std::string, std::string> with_prefix(const std::string &prefix) = 0;
    virtual void clear() = 0;

    // Other processes share it.
    virtual bool shared() const = 0;
    virtual void start() = 0;
    virtual void stop() = 0;
    virtual void run(const std::function<void()> &work) = 0;
    virtual void wait_idle() = 0;
    // A shared store's writes made while this service was not running.
    virtual void apply_backlog() {}
};

// The store in this process; the others come from bus_backends.h.
std::unique_ptr<NodeStore> make_local_store(NodeStore::Sink sink);

} // namespace sim

#endif
