// This process's attachment to the bus on Redis: one connection per thread
// for reads and writes, and one bus thread that delivers every change in
// bus order. Behind platform/nbus.h and the simulated camera's Redis store.
//
// A write made outside the bus thread returns once the bus thread has
// delivered it and everything it caused (every later write of this
// process); a write made on the bus thread (inside a handler) returns as
// soon as it is stored, and its change is delivered after the running one.
#ifndef REDISBUS_PROCESS_BUS_H
#define REDISBUS_PROCESS_BUS_H

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "redisbus/connection.h"
#include "redisbus/reader.h"

namespace corvane::bus {

class ProcessBus {
public:
    using Sink = std::function<void(const Change &)>;
    ProcessBus() = default;
    ~ProcessBus();

    // Parses the address and connects, waiting for the server when `wait`.
    // The process's reader is named after the program: a service's reader,
    // which resumes at the next start where this run stopped.
    bool open(const std::string &address, bool wait, std::string *error);
    const Address &address() const { return address_; }
    // Registers this process's reader at the end of the change stream and
    // starts the bus thread: `sink` sees every write made from now on, in
    // order.
    void start(Sink sink);
    // The client writes of legacy nodes made since this service's last run
    // stopped (see Reader::start), written again in bus order, each node's
    // latest once, after one line that says how many and after which
    // change; with CORVANE_BUS_BACKLOG=skip only the line. Then the reader
    // publishes its own position.
    void apply_backlog();
    // Ends the bus thread once the running change is handled and publishes
    // the position: changes not yet handled stay for the next start. Within
    // about 1.5 s whatever the server does.
    void stop();
    bool on_bus_thread() const { return std::this_thread::get_id() == thread_id_; }

    Status get(const std::string &name, std::string *value);
    Status range(const std::string &name, std::string *text);
    // Retries with a growing pause for CORVANE_BUS_RETRY_MS (default
    // 3000 ms), then drops the write with a line that names the node.
    bool set(const std::string &name, const std::string &value);
    Status store(const std::vector<Node> &nodes);
    Status store_ranges(const std::vector<Node> &ranges);
    Status erase(const std::string &name);
    Status dump(const std::string &prefix, std::vector<Node> *nodes);
    Status clear();

    // Runs `work` on the bus thread and waits until idle.
    void run(const std::function<void()> &work);
    void wait_idle();

private:
    Connection &connection();
    template <typename Operation> Status with_retry_once(Operation operation);
    void loop();
    bool wait_idle_for(int ms);
    bool abandoned() const { return abandoned_ && on_bus_thread(); }
    void wake();
    bool idle_locked() const;

    Address address_;
    std::unique_ptr<Reader> reader_;
    Sink sink_;
    std::thread thread_;
    std::thread::id thread_id_;
    unsigned generation_ = 0;

    std::mutex mutex_;
    std::condition_variable changed_;
    StreamId delivered_;
    StreamId owed_;
    std::deque<std::function<void()>> tasks_;
    bool busy_ = false;
    bool stopping_ = false;
    bool loop_ended_ = false;
    std::atomic<bool> stop_requested_{false};
    std::atomic<bool> abandoned_{false};  // the bus thread's calls fail at once
    std::atomic<int> bus_thread_socket_{-1};
};

} // namespace corvane::bus

#endif
