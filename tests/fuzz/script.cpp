// corvane-sim's script language on arbitrary lines, against the running
// daemon: the tokenizer, the quoting, the command table and the commands
// that act on nodes and records (the runner's sandbox refuses the others).
#include <sstream>
#include <string>

#include "sim/driver/script.h"
#include "sim/platform/sim.h"
#include "tests/fuzz/fuzz_daemon.h"

namespace {

std::map<std::string, std::string> started;

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    start_daemon();
    started = sim::all_nodes();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    ScriptRunner runner("fuzz");
    runner.set_sandbox(true);
    runner.take_startup_record();
    std::istringstream in(std::string(reinterpret_cast<const char *>(data), size));
    std::string line;
    int number = 0;
    while (std::getline(in, line))
        runner.execute(line, ++number);
    sim::wait_idle();
    sim::take_record();
    sim::restore_nodes(started);
    return 0;
}
