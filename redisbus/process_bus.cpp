#include "redisbus/process_bus.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/socket.h>
#include <pthread.h>

namespace corvane::bus {

namespace {

constexpr int kIdleBlockMs = 1000;
constexpr long kDefaultRetryMs = 3000;
constexpr int kLongestRetryPauseMs = 500;

std::atomic<unsigned> generations{0};

long retry_budget_ms()
{
    const char *text = getenv("CORVANE_BUS_RETRY_MS");
    return text && *text ? strtol(text, nullptr, 10) : kDefaultRetryMs;
}

long now_ms()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000L + now.tv_nsec / 1000000L;
}

void pause_ms(int ms)
{
    timespec pause = {ms / 1000, (ms % 1000) * 1000000L};
    nanosleep(&pause, nullptr);
}

} // namespace

bool ProcessBus::open(const std::string &address, bool wait, std::string *error)
{
    if (!parse_address(address, &address_, error))
        return false;
    generation_ = ++generations;
    Connection &first = connection();
    if (wait)
        open_waiting(&first);
    else if (!first.open(error))
        return false;
    reader_ = std::make_unique<Reader>(address_, program_invocation_short_name);
    return true;
}

// A process that ends without stop() leaves its bus thread running.
ProcessBus::~ProcessBus()
{
    if (thread_.joinable())
        thread_.detach();
}

// One connection per thread and per opening of the bus.
Connection &ProcessBus::connection()
{
    struct ThreadConnection {
        unsigned generation = 0;
        std::unique_ptr<Connection> connection;
    };
    thread_local ThreadConnection mine;
    if (mine.generation != generation_ || !mine.connection) {
        mine.connection = std::make_unique<Connection>(address_);
        mine.generation = generation_;
    }
    if (on_bus_thread())
        bus_thread_socket_ = mine.connection->socket();
    return *mine.connection;
}

void ProcessBus::start(Sink sink)
{
    std::string error;
    while (!reader_->start(&error)) {
        note_unreachable(error);
        pause_ms(100);
    }
    sink_ = std::move(sink);
    stopping_ = false;
    loop_ended_ = false;
    stop_requested_ = false;
    abandoned_ = false;
    // Signals go to the process's other threads, never to the bus thread.
    sigset_t all, previous;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &previous);
    {
        // The loop takes this lock first: it knows itself as the bus thread
        // before it delivers anything, or a handler's write would wait on it.
        std::lock_guard<std::mutex> lock(mutex_);
        thread_ = std::thread(&ProcessBus::loop, this);
        thread_id_ = thread_.get_id();
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

void ProcessBus::apply_backlog()
{
    if (!reader_)
        return;
    const Backlog &backlog = reader_->backlog();
    if (backlog.writes > 0) {
        const char *mode = getenv("CORVANE_BUS_BACKLOG");
        bool skip = mode && strcmp(mode, "skip") == 0;
        if (skip)
            log_line("%ld client writes of legacy nodes made while %s was not running skipped (after change %s)",
                     backlog.writes, program_invocation_short_name, backlog.after.c_str());
        else
            log_line("%ld client writes of legacy nodes made while %s was not running, after change %s: "
                     "applying the latest of %zu nodes in bus order",
                     backlog.writes, program_invocation_short_name, backlog.after.c_str(), backlog.latest.size());
        for (size_t i = 0; !skip && i < backlog.latest.size() && !stop_requested_; ++i)
            set(backlog.latest[i].name, backlog.latest[i].value);
    }
    reader_->release_backlog();
}

void ProcessBus::stop()
{
    constexpr int kIdleGraceMs = 100;
    constexpr int kHandlerGraceMs = 700;
    constexpr int kAbandonGraceMs = 300;
    constexpr int kFinishMs = 200;
    if (thread_.joinable()) {
        wait_idle_for(kIdleGraceMs);
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stopping_ = true;
        }
        stop_requested_ = true;
        reader_->interrupt();
        std::unique_lock<std::mutex> lock(mutex_);
        bool ended = changed_.wait_for(lock, std::chrono::milliseconds(kHandlerGraceMs), [this] { return loop_ended_; });
        if (!ended) {
            // A handler waits on a server that does not answer: its bus
            // calls fail from now on, so that it returns.
            abandoned_ = true;
            int socket = bus_thread_socket_;
            if (socket >= 0)
                shutdown(socket, SHUT_RDWR);
            ended = changed_.wait_for(lock, std::chrono::milliseconds(kAbandonGraceMs), [this] { return loop_ended_; });
        }
        lock.unlock();
        if (!ended) {
            thread_.detach();  // the process ends without it
            (void)reader_.release();
            return;
        }
        thread_.join();
        thread_id_ = std::thread::id();
    }
    if (reader_)
        reader_->finish(kFinishMs);
    reader_.reset();
}

void ProcessBus::loop()
{
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stopping_) {
        while (!tasks_.empty()) {
            std::function<void()> work = std::move(tasks_.front());
            tasks_.pop_front();
            busy_ = true;
            lock.unlock();
            work();
            lock.lock();
            busy_ = false;
            changed_.notify_all();
        }
        if (stopping_)
            break;
        lock.unlock();
        reader_->poll(kIdleBlockMs, [this](const Change &change) {
            if (stop_requested_)
                return false;
            sink_(change);
            std::lock_guard<std::mutex> delivered(mutex_);
            delivered_ = StreamId::parse(change.id);
            changed_.notify_all();
            return true;
        });
        lock.lock();
    }
    loop_ended_ = true;
    changed_.notify_all();
}

bool ProcessBus::idle_locked() const
{
    return tasks_.empty() && !busy_ && owed_ <= delivered_;
}

void ProcessBus::wait_idle()
{
    if (on_bus_thread() || !thread_.joinable())
        return;
    // The change usually arrives within a few microseconds of the write's
    // reply: a short spin saves two thread switches per write.
    constexpr int kSpins = 200;
    std::unique_lock<std::mutex> lock(mutex_);
    for (int spin = 0; spin < kSpins && !idle_locked(); ++spin) {
        lock.unlock();
        std::this_thread::yield();
        lock.lock();
    }
    changed_.wait(lock, [this] { return idle_locked() || stop_requested_; });
}

bool ProcessBus::wait_idle_for(int ms)
{
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(ms), [this] { return idle_locked(); });
}

void ProcessBus::wake()
{
    std::string error;
    for (int attempt = 0; attempt < 3; ++attempt)
        if (connection().command({"XADD", reader_->wake_key(), "MAXLEN", "16", "*", "wake", "1"}, &error))
            return;
}

void ProcessBus::run(const std::function<void()> &work)
{
    if (on_bus_thread() || !thread_.joinable()) {
        work();
        return;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        tasks_.push_back(work);
    }
    wake();
    wait_idle();
}

template <typename Operation> Status ProcessBus::with_retry_once(Operation operation)
{
    if (abandoned())
        return Status::unreachable;
    std::string error;
    Status status = operation(connection(), &error);
    if (status == Status::unreachable && !stop_requested_)
        status = operation(connection(), &error);  // the first try may meet a connection the server closed
    if (status == Status::unreachable)
        note_unreachable(error);
    else
        note_reachable(address_, "");
    if (status == Status::refused)
        log_line("the bus refused: %s", error.c_str());
    return status;
}

Status ProcessBus::get(const std::string &name, std::string *value)
{
    return with_retry_once([&](Connection &c, std::string *error) { return c.get(name, value, error); });
}

Status ProcessBus::range(const std::string &name, std::string *text)
{
    return with_retry_once([&](Connection &c, std::string *error) { return c.hash_get(kRangesKey, name, text, error); });
}

Status ProcessBus::store(const std::vector<Node> &nodes)
{
    return with_retry_once([&](Connection &c, std::string *error) { return c.store(nodes, error); });
}

Status ProcessBus::store_ranges(const std::vector<Node> &ranges)
{
    return with_retry_once([&](Connection &c, std::string *error) { return c.store_ranges(ranges, error); });
}

Status ProcessBus::erase(const std::string &name)
{
    return with_retry_once([&](Connection &c, std::string *error) { return c.erase(name, error); });
}

Status ProcessBus::dump(const std::string &prefix, std::vector<Node> *nodes)
{
    return with_retry_once([&](Connection &c, std::string *error) { return c.dump(prefix, nodes, error); });
}

Status ProcessBus::clear()
{
    return with_retry_once([&](Connection &c, std::string *error) { return c.clear(error); });
}

bool ProcessBus::set(const std::string &name, const std::string &value)
{
    long budget = retry_budget_ms();
    long deadline = now_ms() + budget;
    int pause = 10;
    std::string id;
    auto write = [&](Connection &c, std::string *error) { return c.write(name, value, &id, error); };
    Status status;
    while ((status = with_retry_once(write)) != Status::ok) {
        if (status == Status::refused)
            return false;  // said once; trying again cannot change the user's rights
        if (now_ms() >= deadline || stop_requested_) {
            log_line("write of node \"%s\" dropped after %ld ms: the bus is unreachable", name.c_str(),
                     std::min(budget, now_ms() - (deadline - budget)));
            return false;
        }
        pause_ms(pause);
        pause = std::min(pause * 2, kLongestRetryPauseMs);
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        owed_ = std::max(owed_, StreamId::parse(id));
    }
    wait_idle();
    return true;
}

} // namespace corvane::bus
