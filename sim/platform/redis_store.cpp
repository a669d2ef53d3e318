// The bus on Redis (redisbus/) as a backend (bus_backends.h): the
// simulated camera's nodes on it, which other processes see and write, every
// write reaching this process through the shared change stream; and a
// client beside the daemon.
#include "redisbus/client.h"
#include "redisbus/process_bus.h"
#include "sim/platform/bus_backends.h"

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

class RedisClient : public BusClient {
public:
    explicit RedisClient(std::unique_ptr<corvane::bus::Client> client) : client_(std::move(client)) {}

    const std::string &address() const override { return client_->address(); }
    const std::string &error() const override { return client_->error(); }
    bool get(const std::string &name, std::string *value) override { return client_->get(name, value) == Status::ok; }
    bool set(const std::string &name, const std::string &value) override
    {
        return client_->set(name, value) == Status::ok;
    }

    bool set_all(const BusNodes &nodes) override
    {
        std::vector<corvane::bus::Node> batch;
        for (auto &[name, value] : nodes)
            batch.push_back({name, value});
        return client_->set_all(batch) == Status::ok;
    }

    BusNodes dump(const std::string &prefix) override
    {
        std::vector<corvane::bus::Node> nodes;
        client_->dump(prefix, &nodes);
        BusNodes pairs;
        for (corvane::bus::Node &node : nodes)
            pairs.emplace_back(std::move(node.name), std::move(node.value));
        return pairs;
    }

    void watch(const std::string &prefix, const std::function<bool(const BusWrite &)> &on_write,
               const std::function<void()> &on_ready) override
    {
        client_->watch(
            prefix,
            [&on_write](const corvane::bus::Change &change) {
                return on_write({change.name, change.value, change.writer});
            },
            on_ready);
    }

    void stop() override { client_->stop(); }

    bool services(bool *running, std::string *text) override
    {
        std::vector<corvane::bus::Service> services;
        if (client_->services(&services) != Status::ok)
            return false;
        *text = corvane::bus::describe_services(services, running);
        return true;
    }

    std::vector<BusWrite> recent(size_t count) override
    {
        std::vector<corvane::bus::Change> changes;
        std::vector<BusWrite> writes;
        if (client_->recent(count, &changes) == Status::ok)
            for (corvane::bus::Change &change : changes)
                writes.push_back({std::move(change.name), std::move(change.value), std::move(change.writer)});
        return writes;
    }

private:
    std::unique_ptr<corvane::bus::Client> client_;
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

std::unique_ptr<BusClient> connect_redis_client(const std::string &address, std::string *error)
{
    std::unique_ptr<corvane::bus::Client> client = corvane::bus::Client::connect(address, error);
    if (!client)
        return nullptr;
    return std::make_unique<RedisClient>(std::move(client));
}

} // namespace sim
