// The daemon's whole start-up (model, sensor count, registration and the
// synchronisation) on arbitrary native values. An input is lines of
// NAME=VALUE laid over the default device; NAME picks the node that the
// start-up reads at or after it in name order (wrapping), so that every
// line lands on a node that matters. Runs without the bus thread; a pending
// stop makes the daemon return as soon as the start-up is done.
#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "frame/context.h"
#include "frame/main.h"
#include "sim/platform/sim.h"
#include "tests/fuzz/fuzz_daemon.h"

namespace {

std::map<std::string, std::string> device_nodes;
std::vector<std::string> startup_reads;  // in name order

void start_once()
{
    sim::reopen_bus();
    service.ready = 0;
    service.exit_flag = 1;
    corvaned::main();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    load_default_device();
    device_nodes = sim::all_nodes();
    sim::take_record();
    start_once();
    std::set<std::string> reads;
    for (const std::string &name : sim::take_record().reads)
        reads.insert(name);
    startup_reads.assign(reads.begin(), reads.end());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    sim::restore_nodes(device_nodes);
    std::string rest(reinterpret_cast<const char *>(data), size);
    while (!rest.empty()) {
        std::string line = take_line(&rest);
        size_t equal = line.find('=');
        if (equal == std::string::npos)
            continue;
        auto pick = std::lower_bound(startup_reads.begin(), startup_reads.end(), line.substr(0, equal));
        sim::device_write(pick == startup_reads.end() ? startup_reads.front() : *pick, line.substr(equal + 1));
    }
    start_once();
    sim::take_record();
    return 0;
}
