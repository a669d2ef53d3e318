#include "tests/fuzz/fuzz_daemon.h"

#include <fcntl.h>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <unistd.h>

#include "frame/context.h"
#include "frame/main.h"
#include "sim/platform/sim.h"

namespace {

std::map<std::string, std::string> started_nodes;
std::thread daemon_thread;

// At exit the daemon shuts down through its own path and the bus thread
// ends, before the simulator's objects are destroyed.
void stop_daemon()
{
    service.exit_flag = 1;
    daemon_thread.join();
    sim::stop();
}

} // namespace

void load_default_device()
{
    static std::once_flag loaded;
    std::call_once(loaded, [] {
        // The daemon's pauses (a layout's one-second settle, the homing
        // waits) shrink ten thousand times, as the head's moves do not
        // depend on them: thousands of inputs a second, not tens.
        sim::set_time_divisor(10000);
        std::string error;
        if (!sim::load_device(CORVANE_DEFAULT_DEVICE, &error)) {
            fprintf(stderr, "%s\n", error.c_str());
            _exit(2);
        }
        // The log is recorded and dropped with each record.
        int null = open("/dev/null", O_WRONLY);
        dup2(null, STDOUT_FILENO);
        close(null);
        sim::capture_stdout();
        sim::set_recording(true);
        started_nodes = sim::all_nodes();
    });
}

void start_daemon()
{
    static std::once_flag started;
    std::call_once(started, [] {
        load_default_device();
        daemon_thread = std::thread([] {
            sim::start();
            corvaned::main();
        });
        atexit(stop_daemon);
        sim::wait_started();
        sim::wait_idle();
        sim::take_record();
        started_nodes = sim::all_nodes();
    });
}

void undo_writes()
{
    sim::wait_idle();
    for (const auto &[name, value] : sim::take_record().writes) {
        auto found = started_nodes.find(name);
        if (found == started_nodes.end())
            sim::remove_node(name);
        else
            sim::device_write(name, found->second);
    }
}

std::string take_line(std::string *text)
{
    size_t end = text->find_first_of(std::string("\n\0", 2));
    std::string line = text->substr(0, end);
    text->erase(0, end == std::string::npos ? text->size() : end + 1);
    return line;
}
