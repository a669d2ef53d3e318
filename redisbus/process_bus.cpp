#include "redisbus/process_bus.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <ctime>
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
    reader_ = std::make_unique<Reader>(address_);
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
    // Signals go to the process's other threads, never to the bus thread.
    sigset_t all, previous;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &previous);
    thread_ = std::thread(&ProcessBus::loop, this);
    thread_id_ = thread_.get_id();
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

void ProcessBus::stop()
{
    if (thread_.joinable()) {
        wait_idle();
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stopping_ = true;
        }
        wake();
        thread_.join();
        thread_id_ = std::thread::id();
    }
    if (reader_)
        reader_->finish();
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
        lock.unlock();
        reader_->poll(kIdleBlockMs, [this](const Change &change) {
            sink_(change);
            std::lock_guard<std::mutex> delivered(mutex_);
            delivered_ = StreamId::parse(change.id);
            changed_.notify_all();
        });
        lock.lock();
    }
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
    changed_.wait(lock, [this] { return idle_locked(); });
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
    std::string error;
    Status status = operation(connection(), &error);
    if (status == Status::unreachable)
        status = operation(connection(), &error);  // the first try may meet a connection the server closed
    if (status == Status::unreachable)
        note_unreachable(error);
    else
        note_reachable(address_, "");
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
    return with_retry_once([&](Connection &c, std::string *error) { return c.store(kNodesKey, nodes, error); });
}

Status ProcessBus::store_ranges(const std::vector<Node> &ranges)
{
    return with_retry_once([&](Connection &c, std::string *error) { return c.store(kRangesKey, ranges, error); });
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
    while (with_retry_once(write) != Status::ok) {
        if (now_ms() >= deadline) {
            log_line("write of node \"%s\" dropped after %ld ms: the bus is unreachable", name.c_str(), budget);
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
