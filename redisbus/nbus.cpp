// platform/nbus.h on the bus on Redis: the library a host build links the
// daemon against in place of the vendor's libnbus. The address is
// CORVANE_BUS ("redis:/path/to/socket" or "redis://HOST:PORT"), by default
// the socket of Debian's redis-server.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/nbus.h"
#include "platform/nbus_backlog.h"
#include "redisbus/process_bus.h"

namespace {

constexpr int kMissingNode = -1;
constexpr int kBadArguments = -2;
constexpr int kUnreachable = -3;
// The exit status of a daemon given a bus it cannot use.
constexpr int kUnusableBusStatus = 2;
constexpr char kDefaultAddress[] = "redis:/run/redis/redis-server.sock";

corvane::bus::ProcessBus bus;
std::mutex listeners_mutex;
std::map<std::string, std::vector<nbus_callback>> listeners;
bool bus_released = false;

void deliver(const corvane::bus::Change &change)
{
    std::vector<nbus_callback> callbacks;
    {
        std::lock_guard<std::mutex> lock(listeners_mutex);
        auto found = listeners.find(change.name);
        if (bus_released || found == listeners.end())
            return;
        callbacks = found->second;
    }
    for (nbus_callback callback : callbacks)
        callback(change.name.c_str(), change.value.c_str());
}

int copy_out(corvane::bus::Status status, const std::string &value, char *buf, int size)
{
    if (status == corvane::bus::Status::absent)
        return kMissingNode;
    if (status == corvane::bus::Status::unreachable || status == corvane::bus::Status::refused)
        return kUnreachable;
    snprintf(buf, static_cast<size_t>(size), "%s", value.c_str());
    return 0;
}

} // namespace

extern "C" int nbus_initial(void)
{
    std::string address = corvane::bus::address_from_environment();
    if (address == "sim")
        address = kDefaultAddress;
    std::string error;
    // An address it cannot use: the process stops rather than run deaf.
    if (!bus.open(address, true, &error)) {
        corvane::bus::log_line("%s", error.c_str());
        exit(kUnusableBusStatus);
    }
    bus.start(deliver);
    return 0;
}

extern "C" int nbus_release(void)
{
    {
        std::lock_guard<std::mutex> lock(listeners_mutex);
        bus_released = true;
    }
    bus.stop();
    return 0;
}

extern "C" int nbus_apply_backlog(void)
{
    bus.apply_backlog();
    return 0;
}

extern "C" int nbus_get(const char *name, char *buf, int size)
{
    if (!name || !buf || size <= 0)
        return kBadArguments;
    std::string value;
    return copy_out(bus.get(name, &value), value, buf, size);
}

extern "C" int nbus_set(const char *name, const char *value)
{
    if (!name || !value)
        return kBadArguments;
    return bus.set(name, value) ? 0 : kUnreachable;
}

extern "C" int nbus_listen(const char *name, nbus_callback callback)
{
    if (!name || !callback)
        return kBadArguments;
    std::lock_guard<std::mutex> lock(listeners_mutex);
    listeners[name].push_back(callback);
    return 0;
}

extern "C" int nbus_get_range(const char *name, char *buf, int size)
{
    if (!name || !buf || size <= 0)
        return kBadArguments;
    std::string text;
    return copy_out(bus.range(name, &text), text, buf, size);
}

extern "C" int nbus_printf(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int length = vfprintf(stdout, format, args);
    va_end(args);
    return length;
}
