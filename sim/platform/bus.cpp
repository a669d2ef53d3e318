// The configuration bus: a store of text nodes and one delivery thread.
// A write notifies every registration of its node, also for unchanged
// values and for the daemon's own writes. A write made outside the bus
// thread returns once the bus is idle again; one made inside a handler is
// queued and delivered after that handler returns, first in first out.
#include <condition_variable>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <deque>
#include <mutex>
#include <pthread.h>
#include <thread>

#include "platform/nbus.h"
#include "sim/platform/internal.h"
#include "sim/platform/sim.h"

namespace sim {

namespace {

constexpr int kMissingNode = -1;
constexpr int kBadArguments = -2;

std::mutex bus_mutex;
// Two conditions, so that a write queued from inside a handler wakes only the
// bus thread, and a writer waiting for the bus wakes only once it is idle.
std::condition_variable work_queued;  // the bus thread waits on it
std::condition_variable bus_idle;     // writers outside the bus thread wait on it
std::map<std::string, std::string> store;
std::map<std::string, std::vector<nbus_callback>> listeners;
std::map<std::string, int> read_faults;
std::map<std::string, std::string> ranges;
std::deque<std::function<void()>> queue;
bool delivering = false;
bool stopping = false;
bool bus_released = false;
long registrations = 0;
std::thread bus_thread;
std::thread::id bus_thread_id;
std::vector<BusCall> *recorded_calls = nullptr;

void record_locked(BusCall::Kind kind, const char *name, const char *value, int size)
{
    if (recorded_calls)
        recorded_calls->push_back({kind, name, value, size});
}

void bus_loop()
{
    std::unique_lock<std::mutex> lock(bus_mutex);
    for (;;) {
        work_queued.wait(lock, [] { return !queue.empty() || stopping; });
        if (queue.empty() && stopping)
            return;
        std::function<void()> work = std::move(queue.front());
        queue.pop_front();
        delivering = true;
        lock.unlock();
        work();
        lock.lock();
        delivering = false;
        if (queue.empty())
            bus_idle.notify_all();
    }
}

bool on_bus_thread()
{
    return std::this_thread::get_id() == bus_thread_id;
}

void wait_idle_locked(std::unique_lock<std::mutex> &lock)
{
    if (on_bus_thread() || !bus_thread.joinable())
        return;
    bus_idle.wait(lock, [] { return queue.empty() && !delivering; });
}

// Stores the value and queues one delivery per registration.
void store_and_notify_locked(const std::string &name, const std::string &value)
{
    store[name] = value;
    if (bus_released)
        return;
    auto found = listeners.find(name);
    if (found == listeners.end())
        return;
    for (nbus_callback callback : found->second)
        queue.push_back([callback, name, value] { callback(name.c_str(), value.c_str()); });
    work_queued.notify_one();
}

// Without a running bus thread (unit tests), deliveries run on the caller.
void drain_inline(std::unique_lock<std::mutex> &lock)
{
    if (bus_thread.joinable() || delivering)
        return;
    while (!queue.empty()) {
        std::function<void()> work = std::move(queue.front());
        queue.pop_front();
        delivering = true;
        lock.unlock();
        work();
        lock.lock();
        delivering = false;
    }
}

void write_and_wait(const std::string &name, const std::string &value, bool by_daemon = false)
{
    std::unique_lock<std::mutex> lock(bus_mutex);
    if (by_daemon)
        record_locked(BusCall::set, name.c_str(), value.c_str(), 0);
    store_and_notify_locked(name, value);
    drain_inline(lock);
    wait_idle_locked(lock);
}

} // namespace

void start()
{
    void mark_main_thread();
    mark_main_thread();
    std::lock_guard<std::mutex> lock(bus_mutex);
    if (bus_thread.joinable())
        return;
    stopping = false;
    // Signals go to the daemon's main thread, never to the bus thread.
    sigset_t all, previous;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &previous);
    bus_thread = std::thread(bus_loop);
    bus_thread_id = bus_thread.get_id();
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

void stop()
{
    {
        std::lock_guard<std::mutex> lock(bus_mutex);
        if (!bus_thread.joinable())
            return;
        stopping = true;
        work_queued.notify_one();
    }
    bus_thread.join();
    std::lock_guard<std::mutex> lock(bus_mutex);
    bus_thread_id = std::thread::id();
}

void reset_bus()
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    store.clear();
    listeners.clear();
    read_faults.clear();
    ranges.clear();
    queue.clear();
    bus_released = false;
    registrations = 0;
}

void client_write(const std::string &name, const std::string &value)
{
    if (recording())
        trace("client " + escape_name(name) + " " + escape(value));
    write_and_wait(name, value);
}

void device_write(const std::string &name, const std::string &value)
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    store[name] = value;
}

void remove_node(const std::string &name)
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    store.erase(name);
}

std::optional<std::string> node(const std::string &name)
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    auto found = store.find(name);
    if (found == store.end())
        return std::nullopt;
    return found->second;
}

std::map<std::string, std::string> nodes_with_prefix(const std::string &prefix)
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    std::map<std::string, std::string> result;
    for (auto it = store.lower_bound(prefix); it != store.end() && it->first.rfind(prefix, 0) == 0; ++it)
        result.insert(*it);
    return result;
}

void set_read_fault(const std::string &name, int code)
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    if (code == 0)
        read_faults.erase(name);
    else
        read_faults[name] = code;
}

void run_on_bus(const std::function<void()> &work)
{
    std::unique_lock<std::mutex> lock(bus_mutex);
    queue.push_back(work);
    work_queued.notify_one();
    drain_inline(lock);
    wait_idle_locked(lock);
}

void wait_idle()
{
    std::unique_lock<std::mutex> lock(bus_mutex);
    wait_idle_locked(lock);
}

int listener_count(const std::string &name)
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    auto found = listeners.find(name);
    return found == listeners.end() ? 0 : static_cast<int>(found->second.size());
}

long listen_calls()
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    return registrations;
}

bool released()
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    return bus_released;
}

void record_bus_calls(std::vector<BusCall> *calls)
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    recorded_calls = calls;
}

} // namespace sim

using namespace sim;

extern "C" int nbus_initial(void)
{
    ensure_configured();
    trace("initial");
    return 0;
}

extern "C" int nbus_release(void)
{
    trace("release");
    std::lock_guard<std::mutex> lock(bus_mutex);
    bus_released = true;
    return 0;
}

extern "C" int nbus_get(const char *name, char *buf, int size)
{
    if (!name || !buf || size <= 0)
        return kBadArguments;
    std::lock_guard<std::mutex> lock(bus_mutex);
    record_locked(BusCall::get, name, "", size);
    auto fault = read_faults.find(name);
    if (fault != read_faults.end())
        return fault->second;
    auto found = store.find(name);
    if (found == store.end())
        return kMissingNode;
    snprintf(buf, static_cast<size_t>(size), "%s", found->second.c_str());
    return 0;
}

extern "C" int nbus_set(const char *name, const char *value)
{
    if (!name || !value)
        return kBadArguments;
    note_daemon_write(name, value);
    write_and_wait(name, value, true);
    return 0;
}

extern "C" int nbus_listen(const char *name, nbus_callback callback)
{
    if (!name || !callback)
        return kBadArguments;
    if (recording())
        trace("listen " + escape_name(name) + " " + routine_name(reinterpret_cast<const void *>(callback)));
    std::lock_guard<std::mutex> lock(bus_mutex);
    record_locked(BusCall::listen, name, "", 0);
    listeners[name].push_back(callback);
    ++registrations;
    return 0;
}

extern "C" int nbus_get_range(const char *name, char *buf, int size)
{
    if (!name || !buf || size <= 0)
        return kBadArguments;
    std::string range = param("range." + std::string(name));
    if (range.empty())
        return kMissingNode;
    snprintf(buf, static_cast<size_t>(size), "%s", range.c_str());
    return 0;
}

extern "C" int nbus_printf(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int length = vfprintf(stdout, format, args);
    va_end(args);
    return length;
}
