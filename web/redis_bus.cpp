// corvane-web as one more client of the bus on Redis.
#include "web/redis_bus.h"

#include <future>

#include <mutex>
#include <thread>

#include "redisbus/client.h"

namespace {

using corvane::bus::Client;
using corvane::bus::Status;


class RedisBus : public WebBus {
public:
    RedisBus(std::unique_ptr<Client> client, std::unique_ptr<Client> watcher)
        : client_(std::move(client)), watcher_(std::move(watcher))
    {
    }
    ~RedisBus() override
    {
        watcher_->stop();
        if (watching_.joinable())
            watching_.join();
    }

    std::string describe() const override { return client_->address(); }

    std::optional<std::string> get(const std::string &name) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        std::string value;
        if (client_->get(name, &value) != Status::ok)
            return std::nullopt;
        return value;
    }

    std::vector<std::pair<std::string, std::string>> dump(const std::string &prefix) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        std::vector<corvane::bus::Node> nodes;
        client_->dump(prefix, &nodes);
        std::vector<std::pair<std::string, std::string>> pairs;
        for (corvane::bus::Node &node : nodes)
            pairs.emplace_back(std::move(node.name), std::move(node.value));
        return pairs;
    }

    std::string set(const std::string &name, const std::string &value) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return client_->set(name, value) == Status::ok ? std::string() : client_->error();
    }

    // Returns once the watch has begun, so no write after it is missed.
    void watch(std::function<void(const BusChange &)> on_change) override
    {
        std::promise<void> begun;
        watching_ = std::thread([this, on_change, &begun] {
            bool told = false;
            auto tell = [&] {
                if (!told)
                    begun.set_value();
                told = true;
            };
            watcher_->watch(
                "",
                [&on_change](const corvane::bus::Change &change) {
                    on_change({change.name, change.value, change.writer});
                    return true;
                },
                tell);
            tell();
        });
        begun.get_future().wait();
    }

    BusState state() override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        std::vector<corvane::bus::Service> services;
        if (client_->services(&services) != Status::ok)
            return {false, false, "the bus does not answer: " + client_->error()};
        bool running = false;
        std::string text = corvane::bus::describe_services(services, &running);
        return {true, running, text};
    }

    std::vector<BusChange> recent(size_t count) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        std::vector<corvane::bus::Change> changes;
        std::vector<BusChange> recent;
        if (client_->recent(count, &changes) == Status::ok)
            for (corvane::bus::Change &change : changes)
                recent.push_back({std::move(change.name), std::move(change.value), std::move(change.writer)});
        return recent;
    }

private:
    std::mutex mutex_;  // one thread at a time on a client
    std::unique_ptr<Client> client_;
    std::unique_ptr<Client> watcher_;
    std::thread watching_;
};

} // namespace

std::unique_ptr<WebBus> make_redis_bus(const std::string &address, std::string *error)
{
    std::unique_ptr<Client> client = Client::connect(address, error);
    if (!client)
        return nullptr;
    std::unique_ptr<Client> watcher = Client::connect(address, error);
    if (!watcher)
        return nullptr;
    return std::make_unique<RedisBus>(std::move(client), std::move(watcher));
}
