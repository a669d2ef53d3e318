// corvane-bus-bench: measurements of the bus on Redis for make bench
// (bench/sections/20-redis-bus.sh prints them as a report section).
//
//   corvane-bus-bench sync ADDRESS DEVICE   the start-up synchronisation in
//       this process on ADDRESS, and the same number of bare reads and writes
//   corvane-bus-bench latency ADDRESS N     N client writes of a legacy node,
//       each timed until the daemon (another process) has written the native node
//   corvane-bus-bench burst ADDRESS N       N client writes pipelined from this
//       process; rate accepted by the server and rate handled by the daemon
//
// Each prints "key value" lines.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bindings/registration.h"
#include "bindings/sync.h"
#include "frame/context.h"
#include "redisbus/client.h"
#include "redisbus/connection.h"
#include "redisbus/reader.h"
#include "sim/platform/sim.h"

namespace {

using Clock = std::chrono::steady_clock;
using corvane::bus::Status;

double seconds_since(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

long command_calls(corvane::bus::Connection &connection, const char *command)
{
    std::string error;
    corvane::bus::Reply reply = connection.command({"INFO", "commandstats"}, &error);
    std::string text = corvane::bus::reply_text(reply.get());
    std::string key = std::string("cmdstat_") + command + ":calls=";
    size_t at = text.find(key);
    return at == std::string::npos ? 0 : strtol(text.c_str() + at + key.size(), nullptr, 10);
}

int sync(const std::string &address, const std::string &device)
{
    std::string error;
    corvane::bus::Address parsed;
    if (!sim::use_bus(address, &error) || !sim::load_device(device, &error) ||
        !corvane::bus::parse_address(address, &parsed, &error)) {
        fprintf(stderr, "corvane-bus-bench: %s\n", error.c_str());
        return 2;
    }
    corvane::bus::Connection stats(parsed);
    sim::set_recording(true);
    sim::start();
    service.cam_count = 4;
    register_bindings();
    sim::take_record();
    long gets_before = command_calls(stats, "hget");
    char name[128];
    char value[128];
    Clock::time_point start = Clock::now();
    cb_corvane_nodes_sync(name, value, sizeof value);
    double sync_seconds = seconds_since(start);
    long gets = command_calls(stats, "hget") - gets_before - 1;
    long sets = static_cast<long>(sim::take_record().writes.size());
    sim::stop();

    // The floor: as many plain reads and writes, one after the other.
    corvane::bus::Connection bare(parsed);
    start = Clock::now();
    for (long i = 0; i < gets; ++i)
        bare.command({"HGET", corvane::bus::kNativeKey, "image.cam1.brightness"}, &error);
    for (long i = 0; i < sets; ++i)
        bare.command({"HSET", "corvane:bench", "image.cam1.brightness", std::to_string(i)}, &error);
    double floor_seconds = seconds_since(start);
    bare.command({"DEL", "corvane:bench"}, &error);
    printf("sync_gets %ld\nsync_sets %ld\nsync_ms %.1f\nfloor_ms %.1f\nratio %.2f\n", gets, sets,
           sync_seconds * 1000, floor_seconds * 1000, sync_seconds / floor_seconds);
    return 0;
}

// Waits on `reader` (at most a minute) for a write of `name` with `value`.
bool await(corvane::bus::Reader &reader, const std::string &name, const std::string &value)
{
    bool seen = false;
    Clock::time_point start = Clock::now();
    while (!seen && seconds_since(start) < 60)
        reader.poll(50, [&](const corvane::bus::Change &change) {
            seen = seen || (change.name == name && change.value == value);
            return true;
        });
    return seen;
}

double percentile(std::vector<double> values, double fraction)
{
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, static_cast<size_t>(fraction * static_cast<double>(values.size())))];
}

int latency(corvane::bus::Client &client, corvane::bus::Reader &reader, long count)
{
    std::vector<double> microseconds;
    for (long i = 0; i < count; ++i) {
        std::string legacy = std::to_string(i % 100);
        Clock::time_point start = Clock::now();
        client.set("corvane.cam1.brightness", legacy);
        if (!await(reader, "image.cam1.brightness", std::to_string(i % 100 + 50))) {
            fprintf(stderr, "corvane-bus-bench: the daemon did not answer write %ld\n", i);
            return 1;
        }
        microseconds.push_back(seconds_since(start) * 1e6);
    }
    printf("latency_writes %ld\nlatency_p50_us %.0f\nlatency_p99_us %.0f\n", count, percentile(microseconds, 0.5),
           percentile(microseconds, 0.99));
    return 0;
}

int burst(corvane::bus::Client &client, corvane::bus::Reader &reader, long count)
{
    std::vector<corvane::bus::Node> writes;
    for (long i = 1; i <= count; ++i)
        writes.push_back({"corvane.cam2.brightness", std::to_string(i)});
    Clock::time_point start = Clock::now();
    if (client.set_all(writes) != Status::ok) {
        fprintf(stderr, "corvane-bus-bench: %s\n", client.error().c_str());
        return 3;
    }
    double accepted = seconds_since(start);
    if (!await(reader, "image.cam2.brightness", std::to_string(count + 50))) {
        fprintf(stderr, "corvane-bus-bench: the daemon did not handle the burst\n");
        return 1;
    }
    double handled = seconds_since(start);
    printf("burst_writes %ld\nburst_accepted_per_s %.0f\nburst_handled_per_s %.0f\n", count, count / accepted,
           count / handled);
    return 0;
}

// Runs `measure` with a client of ADDRESS and a reader of its changes.
int with_client_and_reader(const std::string &address, long count,
                           int (*measure)(corvane::bus::Client &, corvane::bus::Reader &, long))
{
    std::string error;
    auto client = corvane::bus::Client::connect(address, &error);
    corvane::bus::Address parsed;
    corvane::bus::parse_address(address, &parsed, &error);
    corvane::bus::Reader reader(parsed);
    if (!client || !reader.start(&error)) {
        fprintf(stderr, "corvane-bus-bench: %s\n", error.c_str());
        return 3;
    }
    return measure(*client, reader, count);
}

} // namespace

int main(int argc, char **argv)
{
    std::string mode = argc > 1 ? argv[1] : "";
    if (argc == 4 && mode == "sync")
        return sync(argv[2], argv[3]);
    if (argc == 4 && mode == "latency")
        return with_client_and_reader(argv[2], strtol(argv[3], nullptr, 10), latency);
    if (argc == 4 && mode == "burst")
        return with_client_and_reader(argv[2], strtol(argv[3], nullptr, 10), burst);
    fprintf(stderr, "usage: corvane-bus-bench sync ADDRESS DEVICE | latency ADDRESS N | burst ADDRESS N\n");
    return 2;
}
