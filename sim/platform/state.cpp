// Device parameters, the trace, the per-step record, time and lifecycle.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <thread>
#include <unistd.h>

#include "sim/platform/device_file.h"
#include "sim/platform/head.h"
#include "sim/platform/internal.h"
#include "sim/platform/sim.h"

namespace sim {

namespace {

std::mutex state_mutex;
std::condition_variable state_changed;
std::map<std::string, std::string> params;
bool configured = false;

Record current;
FILE *trace_file = nullptr;
std::string last_poll;
long repeated_polls = 0;
size_t poll_record_index = SIZE_MAX;  // the run's line in `current`, if it is there
long record_repeats = 0;              // the run's length within `current`
std::function<std::string(const void *)> namer;

long divisor = 1;  // real time unless corvane-sim or a test asks for faster
bool started = false;
bool daemon_finished = false;
long sleeps = 0;
bool lockstep = false;
long granted = 0;
std::thread::id main_thread;
std::function<void()> started_callback;
std::atomic<bool> keep_record{false};  // asked for by a script, a console or a test
std::atomic<bool> trace_open{false};
bool signal_params = false;  // some "signal.NODE" parameter is set

void store_param_locked(const std::string &name, const std::string &value)
{
    params[name] = value;
    if (name.rfind("signal.", 0) == 0)
        signal_params = true;
}

void flush_poll_locked()
{
    if (repeated_polls > 1 && trace_file)
        fprintf(trace_file, "%s x%ld\n", last_poll.c_str(), repeated_polls);
    else if (repeated_polls == 1 && trace_file)
        fprintf(trace_file, "%s\n", last_poll.c_str());
    last_poll.clear();
    repeated_polls = 0;
}

std::string trim(const std::string &text)
{
    size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos)
        return "";
    size_t last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}

} // namespace

std::string escape_name(const std::string &name)
{
    if (name.empty())
        return "\"\"";
    std::string escaped = escape(name);
    if (escaped.find(' ') == std::string::npos)
        return escaped;
    std::string out;
    for (char c : escaped) {
        if (c == ' ')
            out += "\\x20";
        else
            out += c;
    }
    return out;
}

namespace {

bool load_device_file(const std::string &path, bool with_nodes, std::string *error)
{
    std::vector<std::pair<std::string, std::string>> nodes;
    std::map<std::string, std::string> parameters;
    if (!parse_device_file(path, 0, error, &nodes, &parameters))
        return false;
    {
        std::lock_guard<std::mutex> lock(state_mutex);
        for (auto &[name, value] : parameters)
            store_param_locked(name, value);
        configured = true;
    }
    for (auto &[name, value] : nodes)
        if (with_nodes)
            device_write(name, value);
    for (auto &[name, value] : parameters)
        if (name.rfind("fault.", 0) == 0)
            set_read_fault(name.substr(6), static_cast<int>(strtol(value.c_str(), nullptr, 0)));
    return true;
}

} // namespace

bool load_device(const std::string &path, std::string *error)
{
    return load_device_file(path, true, error);
}

const char *default_device()
{
    const char *path = getenv("CORVANE_SIM_DEVICE");
#ifdef CORVANE_DEFAULT_DEVICE
    if (!path)
        path = CORVANE_DEFAULT_DEVICE;
#endif
    return path;
}

void ensure_configured()
{
    {
        std::lock_guard<std::mutex> lock(state_mutex);
        if (configured)
            return;
    }
    std::string error;
    const char *path = default_device();
    if (path && !load_device_file(path, !shared_bus(), &error))
        fprintf(stderr, "corvane-sim: %s\n", error.c_str());
    std::lock_guard<std::mutex> lock(state_mutex);
    configured = true;
}

std::string param(const std::string &name, const std::string &otherwise)
{
    std::lock_guard<std::mutex> lock(state_mutex);
    auto found = params.find(name);
    return found == params.end() ? otherwise : found->second;
}

long param_number(const std::string &name, long otherwise)
{
    std::string text = trim(param(name));
    if (text.empty())
        return otherwise;
    return strtol(text.c_str(), nullptr, 0);
}

void set_param(const std::string &name, const std::string &value)
{
    std::lock_guard<std::mutex> lock(state_mutex);
    store_param_locked(name, value);
    configured = true;
}

void reset()
{
    reset_bus();
    reset_head();
    std::lock_guard<std::mutex> lock(state_mutex);
    params.clear();
    signal_params = false;
    current = Record();
    poll_record_index = SIZE_MAX;
    configured = true;
}

Record take_record()
{
    std::lock_guard<std::mutex> lock(state_mutex);
    poll_record_index = SIZE_MAX;
    Record done = std::move(current);
    current = Record();
    return done;
}

void trace(const std::string &line, bool poll)
{
    std::lock_guard<std::mutex> lock(state_mutex);
    bool keep = keep_record;
    if (poll && line == last_poll) {
        ++repeated_polls;
        // the record shows a run of one poll as the trace file does
        if (keep && poll_record_index < current.trace.size()) {
            current.trace[poll_record_index] = line + " x" + std::to_string(++record_repeats);
        } else if (keep) {
            current.trace.push_back(line);
            poll_record_index = current.trace.size() - 1;
            record_repeats = 1;
        }
        return;
    }
    flush_poll_locked();
    if (keep)
        current.trace.push_back(line);
    if (poll) {
        last_poll = line;
        repeated_polls = 1;
        poll_record_index = keep ? current.trace.size() - 1 : SIZE_MAX;
        record_repeats = 1;
    } else if (trace_file) {
        fprintf(trace_file, "%s\n", line.c_str());
    }
}

void note_daemon_write(const std::string &name, const std::string &value)
{
    if (recording())
        trace("set " + escape_name(name) + " " + escape(value));
    int signal_number = 0;
    {
        std::lock_guard<std::mutex> lock(state_mutex);
        if (keep_record)
            current.writes.emplace_back(name, value);
        auto found = signal_params ? params.find("signal." + name) : params.end();
        if (found != params.end()) {
            signal_number = static_cast<int>(strtol(found->second.c_str(), nullptr, 0));
            params.erase(found);  // once
        }
    }
    if (signal_number > 0)
        kill(getpid(), signal_number);
}

void note_daemon_read(const std::string &name)
{
    if (!keep_record)
        return;
    std::lock_guard<std::mutex> lock(state_mutex);
    current.reads.push_back(name);
}

void open_trace(const std::string &path)
{
    std::lock_guard<std::mutex> lock(state_mutex);
    trace_file = fopen(path.c_str(), "w");
    if (trace_file)
        setvbuf(trace_file, nullptr, _IOLBF, 0);
    trace_open = trace_file != nullptr;
}

void set_recording(bool on)
{
    keep_record = on;
}

bool recording()
{
    return keep_record || trace_open;
}

void set_routine_namer(std::function<std::string(const void *)> routine_namer)
{
    std::lock_guard<std::mutex> lock(state_mutex);
    namer = std::move(routine_namer);
}

std::string routine_name(const void *routine)
{
    std::function<std::string(const void *)> copy;
    {
        std::lock_guard<std::mutex> lock(state_mutex);
        copy = namer;
    }
    if (copy)
        return copy(routine);
    char text[32];
    snprintf(text, sizeof text, "%p", routine);
    return text;
}

// ---- standard output ----

namespace {

std::atomic<bool> echo{true};

ssize_t write_captured(void *, const char *data, size_t size)
{
    if (keep_record) {
        std::lock_guard<std::mutex> lock(state_mutex);
        current.log.append(data, size);
    }
    if (!echo)
        return static_cast<ssize_t>(size);
    size_t done = 0;
    while (done < size) {
        ssize_t written = write(STDOUT_FILENO, data + done, size - done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            break;
        done += static_cast<size_t>(written);
    }
    return static_cast<ssize_t>(size);
}

} // namespace

void set_stdout_echo(bool on)
{
    echo = on;
}

void capture_stdout()
{
    cookie_io_functions_t functions = {nullptr, write_captured, nullptr, nullptr};
    FILE *captured = fopencookie(nullptr, "w", functions);
    if (!captured)
        return;
    setvbuf(captured, nullptr, _IONBF, 0);
    fflush(stdout);
    stdout = captured;
}

// ---- time and lifecycle ----

void set_time_divisor(long value)
{
    std::lock_guard<std::mutex> lock(state_mutex);
    divisor = value < 1 ? 1 : value;
}

long time_divisor()
{
    std::lock_guard<std::mutex> lock(state_mutex);
    return divisor;
}

void mark_main_thread()
{
    std::lock_guard<std::mutex> lock(state_mutex);
    main_thread = std::this_thread::get_id();
}

bool on_main_thread()
{
    std::lock_guard<std::mutex> lock(state_mutex);
    return std::this_thread::get_id() == main_thread;
}

void on_started(std::function<void()> callback)
{
    std::lock_guard<std::mutex> lock(state_mutex);
    started_callback = std::move(callback);
}

void note_main_loop_sleep()
{
    std::function<void()> first;
    {
        std::lock_guard<std::mutex> lock(state_mutex);
        if (!started)
            first = std::move(started_callback);
    }
    if (first)
        first();
    std::unique_lock<std::mutex> lock(state_mutex);
    started = true;
    ++sleeps;
    state_changed.notify_all();
    // In lockstep the main loop waits here until the script grants a tick.
    state_changed.wait(lock, [] { return !lockstep || granted >= sleeps; });
}

void set_lockstep(bool on)
{
    std::unique_lock<std::mutex> lock(state_mutex);
    if (on == lockstep)
        return;
    lockstep = on;
    granted = sleeps;
    state_changed.notify_all();
    if (on)
        state_changed.wait(lock, [] { return sleeps > granted || daemon_finished; });
}

void wait_started()
{
    std::unique_lock<std::mutex> lock(state_mutex);
    state_changed.wait(lock, [] { return started || daemon_finished; });
}

void mark_finished()
{
    std::lock_guard<std::mutex> lock(state_mutex);
    daemon_finished = true;
    lockstep = false;
    flush_poll_locked();
    state_changed.notify_all();
}

bool finished()
{
    std::lock_guard<std::mutex> lock(state_mutex);
    return daemon_finished;
}

long main_loop_sleeps()
{
    std::lock_guard<std::mutex> lock(state_mutex);
    return sleeps;
}

void wait_main_loop_sleeps(long count)
{
    std::unique_lock<std::mutex> lock(state_mutex);
    long target = sleeps + count;
    if (lockstep) {
        granted += count;
        target = granted + 1;
        state_changed.notify_all();
    }
    state_changed.wait(lock, [&] { return sleeps >= target || daemon_finished; });
}

} // namespace sim
