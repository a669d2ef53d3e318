// The simulated camera's nodes on the bus on Redis (redisbus/): other
// processes see and write the same nodes, and every write reaches this
// process through the shared change stream.
#include "sim/platform/store.h"

#ifdef CORVANE_REDIS_BUS

#include "redisbus/process_bus.h"

namespace sim {

namespace {

using corvane::bus::Status;

class RedisStore : public NodeStore {
public:
    explicit RedisStore(Sink sink) : sink_(std::move(sink)) {}

    bool open(const std::string &address, bool wait, std::string *error) { return bus_.open(address, wait, error); }

    int get(const std::string &name, std::string *value) override
    {
        Status status = bus_.get(name, value);
        return status == Status::ok ? 0 : status == Status::absent ? kMissingNode : kUnreachable;  // refused too
    }

    void write(const std::string &name, const std::string &value) override { bus_.set(name, value); }
    void write_quiet(const std::string &name, const std::string &value) override { bus_.store({{name, value}}); }
    void erase(const std::string &name) override { bus_.erase(name); }

    std::map<std::string, std::string> with_prefix(const std::string &prefix) override
    {
        std::vector<corvane::bus::Node> nodes;
        bus_.dump(prefix, &nodes);
        std::map<std::string, std::string> result;
        for (auto &node : nodes)
            result.emplace(node.name, node.value);
        return result;
    }

    void clear() override { bus_.clear(); }

    void start() override
    {
        if (!running_)
            bus_.start([this](const corvane::bus::Change &change) { sink_(change.name, change.value); });
        running_ = true;
    }

    void stop() override
    {
        bus_.stop();
        running_ = false;
    }

    bool shared() const override { return true; }
    void run(const std::function<void()> &work) override { bus_.run(work); }
    void wait_idle() override { bus_.wait_idle(); }
    void apply_backlog() override { bus_.apply_backlog(); }

private:
    Sink sink_;
    corvane::bus::ProcessBus bus_;
    bool running_ = false;
};

} // namespace

std::unique_ptr<NodeStore> make_redis_store(const std::string &address, bool wait, NodeStore::Sink sink,
                                            std::string *error)
{
    auto store = std::make_unique<RedisStore>(std::move(sink));
    if (!store->open(address, wait, error))
        return nullptr;
    return store;
}

} // namespace sim

#else

namespace sim {

std::unique_ptr<NodeStore> make_redis_store(const std::string &address, bool, NodeStore::Sink, std::string *error)
{
    *error = "bus address '" + address + "': this build has no Redis support";
    return nullptr;
}

} // namespace sim

#endif
