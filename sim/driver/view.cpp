#include "sim/driver/view.h"

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <csignal>
#include <deque>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "sim/driver/script.h"
#include "sim/platform/bus_backends.h"
#include "sim/platform/sim.h"

namespace {

const char *const kLetters[sim::kHeadMotors] = {"A", "B", "C", "D"};

struct Axis {
    const char *name;
    int kind;
};
constexpr Axis kAxes[] = {{"focus", sim::kHeadFocus}, {"zoom", sim::kHeadZoom}, {"tilt", sim::kHeadTilt}};

// Never destroyed: the threads that use it are never joined.
struct CallQueue {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::string> calls;
};
CallQueue &call_queue = *new CallQueue;

void queue_call(const std::string &call)
{
    std::lock_guard<std::mutex> lock(call_queue.mutex);
    call_queue.calls.push_back(call);
    call_queue.changed.notify_all();
}

// On a bus shared with other processes the head is written as a client of
// the bus, so every process sees it; in this process it is the simulator's.
std::mutex client_mutex;
std::unique_ptr<sim::BusClient> &shared_client()
{
    static std::unique_ptr<sim::BusClient> &client = *new std::unique_ptr<sim::BusClient>;
    return client;
}

void publish_all(const sim::BusNodes &nodes)
{
    std::lock_guard<std::mutex> lock(client_mutex);
    if (shared_client()) {
        shared_client()->set_all(nodes);
        return;
    }
    for (auto &[name, value] : nodes)
        sim::publish(name, value);
}

// The writes of "sim.call" by other processes.
void watch_calls_elsewhere(const std::string &address)
{
    std::string error;
    std::unique_ptr<sim::BusClient> watcher = sim::bus_backend(address).client(address, &error);
    if (!watcher) {
        fprintf(stderr, "corvane-sim: sim.call is not served: %s\n", error.c_str());
        return;
    }
    watcher->watch(
        "sim.call",
        [](const sim::BusWrite &write) {
            if (write.name == "sim.call")
                queue_call(write.value);
            return true;
        },
        {});
}

void block_signals()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

// Publishes the nodes that changed since the last round.
void publish_loop(long interval_ms)
{
    block_signals();
    std::map<std::string, std::string> shown;
    while (!sim::finished()) {
        std::vector<std::pair<std::string, std::string>> changed;
        for (auto &[name, value] : head_nodes(sim::head_state())) {
            auto found = shown.find(name);
            if (found != shown.end() && found->second == value)
                continue;
            shown[name] = value;
            changed.emplace_back(name, value);
        }
        if (!changed.empty())
            publish_all(changed);
        usleep(static_cast<useconds_t>(interval_ms * 1000));
    }
}

// Runs the routines written to "sim.call", one after the other.
void call_loop()
{
    block_signals();
    ScriptRunner runner("sim.call");
    int number = 0;
    for (;;) {
        std::string call;
        {
            std::unique_lock<std::mutex> lock(call_queue.mutex);
            call_queue.changed.wait(lock, [] { return !call_queue.calls.empty(); });
            call = call_queue.calls.front();
            call_queue.calls.pop_front();
        }
        publish_all({{"sim.call.state", "running " + call}});
        bool understood = runner.execute("call " + call, ++number);
        publish_all({{"sim.call.state", (understood ? "done " : "failed ") + call}});
    }
}

} // namespace

std::map<std::string, std::string> head_nodes(const sim::HeadState &state)
{
    std::map<std::string, std::string> nodes;
    nodes["sim.head.ring"] = std::to_string(state.ring);
    nodes["sim.head.carrier_width"] = std::to_string(state.width);
    nodes["sim.head.home_stop"] = std::to_string(state.home_stop);
    nodes["sim.head.switch"] = state.home_flag & 1 ? "made" : "open";
    std::string collide;
    for (int motor = 0; motor < sim::kHeadMotors; ++motor)
        collide += (motor ? " " : "") + std::to_string(state.collide[motor]);
    nodes["sim.head.collide"] = collide;
    for (const Axis &axis : kAxes)
        nodes[std::string("sim.head.") + axis.name + "_max"] = std::to_string(state.max[axis.kind]);
    for (int motor = 0; motor < sim::kHeadMotors; ++motor) {
        std::string prefix = "sim.head.cam" + std::to_string(motor + 1) + ".";
        char degrees[16];
        snprintf(degrees, sizeof degrees, "%.1f", sim::head_pan_degrees(state, motor));
        nodes[prefix + "carrier"] = kLetters[motor];
        nodes[prefix + "pan"] = std::to_string(state.motors[sim::kHeadPan][motor].position);
        nodes[prefix + "pan_degrees"] = degrees;
        nodes[prefix + "gap"] = std::to_string(sim::head_gap(state, motor));
        std::string moving = state.motors[sim::kHeadPan][motor].remaining > 0 ? "pan" : "";
        for (const Axis &axis : kAxes) {
            nodes[prefix + axis.name] = std::to_string(state.motors[axis.kind][motor].position);
            if (state.motors[axis.kind][motor].remaining > 0)
                moving += std::string(moving.empty() ? "" : " ") + axis.name;
        }
        nodes[prefix + "moving"] = moving;
        nodes[prefix + "focus_peak"] = std::to_string(state.focus[motor].peak);
        nodes[prefix + "focus_width"] = std::to_string(state.focus[motor].width);
        nodes[prefix + "sharpness"] = std::to_string(sim::head_sharpness(state, motor));
    }
    return nodes;
}

void start_head_view(long pace_us, long interval_ms, const std::string &bus_address)
{
    sim::set_head_pace(pace_us);
    // a write of "sim.call" in this process (a script, the console, corvane-web's own)
    sim::watch_writes([](const std::string &name, const std::string &value, sim::Writer writer) {
        if (name == "sim.call" && writer != sim::Writer::simulator)
            queue_call(value);
    });
    if (!bus_address.empty() && !sim::bus_backend(bus_address).in_process) {
        std::string error;
        std::lock_guard<std::mutex> lock(client_mutex);
        shared_client() = sim::bus_backend(bus_address).client(bus_address, &error);
        if (!shared_client())
            fprintf(stderr, "corvane-sim: the head is not published: %s\n", error.c_str());
        std::thread([bus_address] {
            block_signals();
            watch_calls_elsewhere(bus_address);
        }).detach();
    }
    std::thread(publish_loop, interval_ms).detach();
    std::thread(call_loop).detach();
}

bool head_from_nodes(const std::map<std::string, std::string> &nodes, sim::HeadState *state)
{
    auto number = [&nodes](const std::string &name, long *out) {
        auto found = nodes.find(name);
        if (found == nodes.end())
            return false;
        *out = strtol(found->second.c_str(), nullptr, 10);
        return true;
    };
    sim::HeadState head;
    if (!number("sim.head.ring", &head.ring) || !number("sim.head.carrier_width", &head.width) ||
        !number("sim.head.home_stop", &head.home_stop))
        return false;
    auto flag = nodes.find("sim.head.switch");
    head.home_flag = flag != nodes.end() && flag->second == "made" ? 1 : 0;
    auto collide = nodes.find("sim.head.collide");
    if (collide != nodes.end()) {
        int bytes[sim::kHeadMotors] = {};
        sscanf(collide->second.c_str(), "%d %d %d %d", &bytes[0], &bytes[1], &bytes[2], &bytes[3]);
        for (int motor = 0; motor < sim::kHeadMotors; ++motor)
            head.collide[motor] = static_cast<unsigned char>(bytes[motor]);
    }
    for (const Axis &axis : kAxes)
        number(std::string("sim.head.") + axis.name + "_max", &head.max[axis.kind]);
    for (int motor = 0; motor < sim::kHeadMotors; ++motor) {
        std::string prefix = "sim.head.cam" + std::to_string(motor + 1) + ".";
        number(prefix + "pan", &head.motors[sim::kHeadPan][motor].position);
        number(prefix + "focus_peak", &head.focus[motor].peak);
        number(prefix + "focus_width", &head.focus[motor].width);
        for (const Axis &axis : kAxes)
            number(prefix + axis.name, &head.motors[axis.kind][motor].position);
        auto moving = nodes.find(prefix + "moving");
        std::string words = moving == nodes.end() ? std::string() : " " + moving->second + " ";
        if (words.find(" pan ") != std::string::npos)
            head.motors[sim::kHeadPan][motor].remaining = 1;
        for (const Axis &axis : kAxes)
            if (words.find(std::string(" ") + axis.name + " ") != std::string::npos)
                head.motors[axis.kind][motor].remaining = 1;
    }
    *state = head;
    return true;
}
