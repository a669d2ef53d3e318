// corvane-web as one more client of a bus shared with other processes.
#include "web/shared_bus.h"

#include <future>
#include <mutex>
#include <thread>

#include "sim/platform/bus_backends.h"

namespace {

using sim::BusClient;

class SharedBus : public WebBus {
public:
    SharedBus(std::unique_ptr<BusClient> client, std::unique_ptr<BusClient> watcher)
        : client_(std::move(client)), watcher_(std::move(watcher))
    {
    }
    ~SharedBus() override
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
        if (!client_->get(name, &value))
            return std::nullopt;
        return value;
    }

    std::vector<std::pair<std::string, std::string>> dump(const std::string &prefix) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return client_->dump(prefix);
    }

    std::string set(const std::string &name, const std::string &value) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return client_->set(name, value) ? std::string() : client_->error();
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
                [&on_change](const sim::BusWrite &write) {
                    on_change({write.name, write.value, write.writer});
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
        bool running = false;
        std::string text;
        if (!client_->services(&running, &text))
            return {false, false, "the bus does not answer: " + client_->error()};
        return {true, running, text};
    }

    std::vector<BusChange> recent(size_t count) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        std::vector<BusChange> recent;
        for (sim::BusWrite &write : client_->recent(count))
            recent.push_back({std::move(write.name), std::move(write.value), std::move(write.writer)});
        return recent;
    }

private:
    std::mutex mutex_;  // one thread at a time on a client
    std::unique_ptr<BusClient> client_;
    std::unique_ptr<BusClient> watcher_;
    std::thread watching_;
};

} // namespace

std::unique_ptr<WebBus> make_shared_bus(const std::string &address, std::string *error)
{
    const sim::BusBackend &backend = sim::bus_backend(address);
    std::unique_ptr<BusClient> client = backend.client(address, error);
    if (!client)
        return nullptr;
    std::unique_ptr<BusClient> watcher = backend.client(address, error);
    if (!watcher)
        return nullptr;
    return std::make_unique<SharedBus>(std::move(client), std::move(watcher));
}
