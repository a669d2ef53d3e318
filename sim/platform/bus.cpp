// The configuration bus of the simulated camera: read faults, ranges,
// registrations, the trace and the records, on top of a node store that
// lives in this process or on Redis (store.h). A write notifies every
// registration of its node, also for unchanged values and for the daemon's
// own writes. A write made outside the bus thread returns once the bus is
// idle again; one made inside a handler is queued and delivered after that
// handler returns, first in first out.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "platform/nbus.h"
#include "platform/nbus_backlog.h"
#include "sim/platform/bus_backends.h"
#include "sim/platform/internal.h"
#include "sim/platform/sim.h"
#include "sim/platform/store.h"

namespace sim {

namespace {

// The exit status of a process given a bus it cannot use, as corvane-sim's
// for a bad --bus.
constexpr int kUnusableBusStatus = 2;

std::mutex bus_mutex;
std::map<std::string, std::vector<nbus_callback>> listeners;
std::map<std::string, int> read_faults;
bool bus_released = false;
bool bus_chosen = false;
long registrations = 0;
long delivered = 0;
std::vector<BusCall> *recorded_calls = nullptr;

void record_locked(BusCall::Kind kind, const char *name, const char *value, int size)
{
    if (recorded_calls)
        recorded_calls->push_back({kind, name, value, size});
}

// Every registration of the name, in registration order.
void deliver(const std::string &name, const std::string &value)
{
    std::vector<nbus_callback> callbacks;
    {
        std::lock_guard<std::mutex> lock(bus_mutex);
        auto found = listeners.find(name);
        if (bus_released || found == listeners.end())
            return;
        callbacks = found->second;
    }
    for (nbus_callback callback : callbacks) {
        callback(name.c_str(), value.c_str());
        std::lock_guard<std::mutex> counted(bus_mutex);
        ++delivered;
    }
}

std::mutex watch_mutex;
std::vector<WriteWatcher> watchers;

// Every change of a node made in this process, for viewers, before it is
// stored (so a client's write shows before the daemon's answers to it).
void tell_watchers(const std::string &name, const std::string &value, Writer writer)
{
    std::lock_guard<std::mutex> lock(watch_mutex);
    for (const WriteWatcher &watcher : watchers)
        watcher(name, value, writer);
}

std::unique_ptr<NodeStore> &store()
{
    static std::unique_ptr<NodeStore> chosen = make_local_store(deliver);
    return chosen;
}

} // namespace

const char *writer_name(Writer writer)
{
    static const char *const names[] = {"corvaned", "client", "device", "sim"};
    return names[static_cast<int>(writer)];
}

void watch_writes(WriteWatcher watcher)
{
    std::lock_guard<std::mutex> lock(watch_mutex);
    watchers.push_back(std::move(watcher));
}

void publish(const std::string &name, const std::string &value)
{
    tell_watchers(name, value, Writer::simulator);
    store()->write_quiet(name, value);
}

bool use_bus(const std::string &address, std::string *error)
{
    bus_chosen = true;
    std::unique_ptr<NodeStore> chosen = bus_backend(address).store(address, false, deliver, error);
    if (!chosen)
        return false;
    chosen->clear();
    store() = std::move(chosen);
    return true;
}

bool shared_bus()
{
    return store()->shared();
}

bool use_bus_from_environment(std::string *error)
{
    if (bus_chosen)
        return true;
    bus_chosen = true;
    const char *address = getenv("CORVANE_BUS");
    if (!address || !*address || bus_backend(address).in_process)
        return true;
    // The daemon's own process waits for its bus, as it would on the camera.
    std::unique_ptr<NodeStore> chosen = bus_backend(address).store(address, true, deliver, error);
    if (!chosen)
        return false;
    store() = std::move(chosen);
    store()->start();
    return true;
}

void start()
{
    void mark_main_thread();
    mark_main_thread();
    store()->start();
}

void stop()
{
    store()->stop();
}

void reset_bus()
{
    store()->clear();
    std::lock_guard<std::mutex> lock(bus_mutex);
    listeners.clear();
    read_faults.clear();
    bus_released = false;
    registrations = 0;
    delivered = 0;
    std::lock_guard<std::mutex> watching(watch_mutex);
    watchers.clear();
}

void client_write(const std::string &name, const std::string &value)
{
    if (recording())
        trace("client " + escape_name(name) + " " + escape(value));
    tell_watchers(name, value, Writer::client);
    store()->write(name, value);
}

void device_write(const std::string &name, const std::string &value)
{
    tell_watchers(name, value, Writer::device);
    store()->write_quiet(name, value);
}

void remove_node(const std::string &name)
{
    store()->erase(name);
}

std::optional<std::string> node(const std::string &name)
{
    std::string value;
    if (store()->get(name, &value) != 0)
        return std::nullopt;
    return value;
}

std::map<std::string, std::string> nodes_with_prefix(const std::string &prefix)
{
    return store()->with_prefix(prefix);
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
    store()->run(work);
}

void wait_idle()
{
    store()->wait_idle();
}

int listener_count(const std::string &name)
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    auto found = listeners.find(name);
    return found == listeners.end() ? 0 : static_cast<int>(found->second.size());
}

std::vector<std::pair<std::string, const void *>> listener_routines()
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    std::vector<std::pair<std::string, const void *>> all;
    for (auto &[name, callbacks] : listeners)
        for (nbus_callback callback : callbacks)
            all.emplace_back(name, reinterpret_cast<const void *>(callback));
    return all;
}

std::map<std::string, std::string> all_nodes()
{
    return store()->with_prefix("");
}

// The store holds exactly `nodes` afterwards; nobody is notified.
void restore_nodes(const std::map<std::string, std::string> &nodes)
{
    store()->clear();
    for (const auto &[name, value] : nodes)
        store()->write_quiet(name, value);
}

long deliveries()
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    return delivered;
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

void reopen_bus()
{
    std::lock_guard<std::mutex> lock(bus_mutex);
    listeners.clear();
    bus_released = false;
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
    std::string error;
    // A bus named but unusable (a malformed address, no Redis in this
    // build): the process could only run deaf, so it stops here.
    if (!use_bus_from_environment(&error)) {
        fprintf(stderr, "%s: %s\n", program_invocation_short_name, error.c_str());
        exit(kUnusableBusStatus);
    }
    ensure_configured();
    trace("initial");
    return 0;
}

extern "C" int nbus_release(void)
{
    trace("release");
    {
        std::lock_guard<std::mutex> lock(bus_mutex);
        bus_released = true;
    }
    // On a shared bus the process also leaves the change stream, so that it
    // no longer holds changes back from trimming.
    if (store()->shared())
        store()->stop();
    return 0;
}

extern "C" int nbus_apply_backlog(void)
{
    store()->apply_backlog();
    return 0;
}

extern "C" int nbus_get(const char *name, char *buf, int size)
{
    if (!name || !buf || size <= 0)
        return kBadArguments;
    note_daemon_read(name);
    {
        std::lock_guard<std::mutex> lock(bus_mutex);
        record_locked(BusCall::get, name, "", size);
        auto fault = read_faults.find(name);
        if (fault != read_faults.end())
            return fault->second;
    }
    std::string value;
    int code = store()->get(name, &value);
    if (code == 0)
        snprintf(buf, static_cast<size_t>(size), "%s", value.c_str());
    return code;
}

extern "C" int nbus_set(const char *name, const char *value)
{
    if (!name || !value)
        return kBadArguments;
    note_daemon_write(name, value);
    {
        std::lock_guard<std::mutex> lock(bus_mutex);
        record_locked(BusCall::set, name, value, 0);
    }
    tell_watchers(name, value, Writer::daemon);
    store()->write(name, value);
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
