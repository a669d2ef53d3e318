// The in-process store: a map of text nodes and one delivery thread with a
// first-in first-out queue of changes and work.
#include <condition_variable>
#include <csignal>
#include <deque>
#include <mutex>
#include <pthread.h>
#include <thread>

#include "sim/platform/store.h"

namespace sim {

namespace {

class LocalStore : public NodeStore {
public:
    explicit LocalStore(Sink sink) : sink_(std::move(sink)) {}

    int get(const std::string &name, std::string *value) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = nodes_.find(name);
        if (found == nodes_.end())
            return kMissingNode;
        *value = found->second;
        return 0;
    }

    void write(const std::string &name, const std::string &value) override
    {
        std::unique_lock<std::mutex> lock(mutex_);
        nodes_[name] = value;
        queue_.push_back([this, name, value] { sink_(name, value); });
        work_queued_.notify_one();
        drain_inline(lock);
        wait_idle_locked(lock);
    }

    void write_quiet(const std::string &name, const std::string &value) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        nodes_[name] = value;
    }

    void erase(const std::string &name) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        nodes_.erase(name);
    }

    std::map<std::string, std::string> with_prefix(const std::string &prefix) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        std::map<std::string, std::string> result;
        for (auto it = nodes_.lower_bound(prefix); it != nodes_.end() && it->first.rfind(prefix, 0) == 0; ++it)
            result.insert(*it);
        return result;
    }

    void clear() override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        nodes_.clear();
        queue_.clear();
    }

    void start() override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (thread_.joinable())
            return;
        stopping_ = false;
        // Signals go to the daemon's main thread, never to the bus thread.
        sigset_t all, previous;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &previous);
        thread_ = std::thread(&LocalStore::loop, this);
        thread_id_ = thread_.get_id();
        pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    }

    void stop() override
    {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (!thread_.joinable())
                return;
            stopping_ = true;
            work_queued_.notify_one();
        }
        thread_.join();
        std::lock_guard<std::mutex> lock(mutex_);
        thread_id_ = std::thread::id();
    }

    bool shared() const override { return false; }

    void run(const std::function<void()> &work) override
    {
        std::unique_lock<std::mutex> lock(mutex_);
        queue_.push_back(work);
        work_queued_.notify_one();
        drain_inline(lock);
        wait_idle_locked(lock);
    }

    void wait_idle() override
    {
        std::unique_lock<std::mutex> lock(mutex_);
        wait_idle_locked(lock);
    }

private:
    void loop()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            work_queued_.wait(lock, [this] { return !queue_.empty() || stopping_; });
            if (queue_.empty() && stopping_)
                return;
            run_front(lock);
            if (queue_.empty())
                bus_idle_.notify_all();
        }
    }

    void run_front(std::unique_lock<std::mutex> &lock)
    {
        std::function<void()> work = std::move(queue_.front());
        queue_.pop_front();
        delivering_ = true;
        lock.unlock();
        work();
        lock.lock();
        delivering_ = false;
    }

    bool on_bus_thread() const { return std::this_thread::get_id() == thread_id_; }

    void wait_idle_locked(std::unique_lock<std::mutex> &lock)
    {
        if (on_bus_thread() || !thread_.joinable())
            return;
        bus_idle_.wait(lock, [this] { return queue_.empty() && !delivering_; });
    }

    // Without a running bus thread (unit tests), deliveries run on the caller.
    void drain_inline(std::unique_lock<std::mutex> &lock)
    {
        if (thread_.joinable() || delivering_)
            return;
        while (!queue_.empty())
            run_front(lock);
    }

    Sink sink_;
    std::mutex mutex_;
    // Two conditions, so that a write queued from inside a handler wakes only
    // the bus thread, and a writer waiting for the bus wakes only once it is idle.
    std::condition_variable work_queued_;  // the bus thread waits on it
    std::condition_variable bus_idle_;     // writers outside the bus thread wait on it
    std::map<std::string, std::string> nodes_;
    std::deque<std::function<void()>> queue_;
    bool delivering_ = false;
    bool stopping_ = false;
    std::thread thread_;
    std::thread::id thread_id_;
};

} // namespace

std::unique_ptr<NodeStore> make_local_store(NodeStore::Sink sink)
{
    return std::make_unique<LocalStore>(std::move(sink));
}

} // namespace sim
