#include "redisbus/client.h"

#include <algorithm>
#include <cstdlib>

#include "redisbus/connection.h"
#include "redisbus/reader.h"
#include "redisbus/reply.h"

namespace corvane::bus {

namespace {

constexpr int kWatchBlockMs = 200;

} // namespace

std::unique_ptr<Client> Client::connect(const std::string &address, std::string *error, bool *malformed)
{
    std::string text = address.empty() ? address_from_environment() : address;
    Address parsed;
    bool usable = text != "sim" && parse_address(text, &parsed, error);
    if (malformed)
        *malformed = !usable;
    if (text == "sim")
        *error = "the bus is the in-process simulated one (CORVANE_BUS unset or sim): no other process can reach it";
    if (!usable)
        return nullptr;
    auto connection = std::make_unique<Connection>(parsed);
    if (!connection->open(error))
        return nullptr;
    return std::unique_ptr<Client>(new Client(text, std::move(connection)));
}

Client::Client(std::string address, std::unique_ptr<Connection> connection)
    : address_(std::move(address)), connection_(std::move(connection))
{
}

Client::~Client() = default;

Status Client::get(const std::string &name, std::string *value)
{
    return connection_->get(name, value, &error_);
}

Status Client::set(const std::string &name, const std::string &value)
{
    std::string id;
    return connection_->write(name, value, &id, &error_);
}

Status Client::set_all(const std::vector<Node> &nodes)
{
    std::string id;
    return connection_->write_all(nodes, &id, &error_);
}

Status Client::store(const std::vector<Node> &nodes)
{
    return connection_->store(nodes, &error_);
}

Status Client::store_ranges(const std::vector<Node> &ranges)
{
    return connection_->store_ranges(ranges, &error_);
}

Status Client::range(const std::string &name, std::string *text)
{
    return connection_->hash_get(kRangesKey, name, text, &error_);
}

Status Client::dump(const std::string &prefix, std::vector<Node> *nodes)
{
    return connection_->dump(prefix, nodes, &error_);
}

Status Client::services(std::vector<Service> *services)
{
    Reply time = connection_->command({"TIME"}, &error_);
    if (!time)
        return failure(error_);
    if (time->type != REDIS_REPLY_ARRAY || time->elements != 2)
        return Status::unreachable;
    long long now_ms = atoll(reply_text(time->element[0]).c_str()) * 1000 +
                       atoll(reply_text(time->element[1]).c_str()) / 1000;
    Reply readers = connection_->command({"HGETALL", kReadersKey}, &error_);
    if (!readers)
        return failure(error_);
    services->clear();
    for (size_t i = 0; readers->type == REDIS_REPLY_ARRAY && i + 1 < readers->elements; i += 2) {
        std::string name = reply_text(readers->element[i]);
        std::string held = reply_text(readers->element[i + 1]);  // "POSITION STAMP_MS"
        size_t space = held.rfind(' ');
        if (name.find('#') != std::string::npos || space == std::string::npos)
            continue;  // a passing reader (a listener, a page), or not ours
        services->push_back({name, now_ms - atoll(held.c_str() + space + 1)});
    }
    return Status::ok;
}

std::string describe_services(const std::vector<Service> &services, bool *any_running)
{
    std::string running;
    const Service *latest = nullptr;
    for (const Service &service : services) {
        if (corvane::bus::running(service))
            running += (running.empty() ? "" : ", ") + service.name;
        if (!latest || service.silent_ms < latest->silent_ms)
            latest = &service;
    }
    *any_running = !running.empty();
    if (*any_running)
        return running + " running";
    if (latest)
        return latest->name + " not running (last seen " + std::to_string(latest->silent_ms / 1000) + " s ago)";
    return "no service has followed this bus";
}

std::string Client::unheard_because(const std::string &name)
{
    // A service makes its legacy nodes when it starts: before one runs, an
    // absent node is no sign of a typo.
    std::vector<Service> found;
    if (services(&found) != Status::ok)
        return error_;
    bool running = false;
    std::string text = describe_services(found, &running);
    if (!running)
        return text + ": nothing acts on it";
    std::string value;
    Status status = get(name, &value);
    if (status == Status::absent)
        return "the bus holds no node " + name + ": no service listens to it (a typo?)";
    return status == Status::ok ? "" : error_;
}

Status Client::recent(size_t count, std::vector<Change> *changes)
{
    std::string text = std::to_string(count);
    Reply reply = connection_->command({"XREVRANGE", kChangesKey, "+", "-", "COUNT", text}, &error_);
    if (!reply)
        return failure(error_);
    changes->clear();
    parse_entries(reply.get(), changes);
    std::reverse(changes->begin(), changes->end());
    return Status::ok;
}

Status Client::clear()
{
    return connection_->clear(&error_);
}

Status Client::watch(const std::string &prefix, const std::function<bool(const Change &)> &on_change,
                     const std::function<void()> &on_ready)
{
    Reader reader(connection_->address());
    if (!reader.start(&error_))
        return Status::unreachable;
    if (on_ready)
        on_ready();
    bool more = true;
    while (more && !stopping_) {
        reader.poll(kWatchBlockMs, [&](const Change &change) {
            if (more && change.name.compare(0, prefix.size(), prefix) == 0)
                more = on_change(change);
            return more;
        });
    }
    reader.finish();
    return Status::ok;
}

} // namespace corvane::bus
