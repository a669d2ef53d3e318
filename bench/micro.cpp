// Micro benchmarks of the daemon's hot helpers: name expansion (registration
// and the start-up synchronisation expand every "cam%d" row per sensor), the
// camera digit every per-sensor handler reads, and the key-list walk of the
// simple-set handler (first key against last key of its list).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>

#include "bindings/binding.h"
#include "frame/context.h"
#include "frame/text.h"
#include "sim/platform/sim.h"

namespace {

void expand_name(benchmark::State &state, const char *pattern)
{
    char name[128];
    for (auto _ : state) {
        expand_pattern(name, pattern, 3);
        benchmark::DoNotOptimize(name);
    }
}
BENCHMARK_CAPTURE(expand_name, camera_pattern, "corvane.cam%d.mdsensitivity");
BENCHMARK_CAPTURE(expand_name, fixed_name, "corvane.subnetmask");

void read_camera_digit(benchmark::State &state)
{
    const char *volatile name = "corvane.cam3.mdsensitivity";
    for (auto _ : state)
        benchmark::DoNotOptimize(camera_digit(name));
}
BENCHMARK(read_camera_digit);

Handler handler_of(const char *legacy_name)
{
    for (const NodeBinding &row : binding_table)
        if (strcmp(row.legacy_name, legacy_name) == 0)
            return row.handler;
    return nullptr;
}

ssize_t discard(void *, const char *, size_t size)
{
    return static_cast<ssize_t>(size);
}

// The whole simple-set handler on the bus without its thread, the log
// formatted into a discarding stream: the difference between the two names
// is the walk over the key list.
void simple_set_handler(benchmark::State &state, const char *name)
{
    static char log_buffer[1 << 16];
    cookie_io_functions_t functions = {nullptr, discard, nullptr, nullptr};
    FILE *sink = fopencookie(nullptr, "w", functions);
    setvbuf(sink, log_buffer, _IOFBF, sizeof log_buffer);
    FILE *saved = stdout;
    stdout = sink;
    sim::reset();
    service.ready = 1;
    Handler handler = handler_of("corvane.sensor");
    for (auto _ : state) {
        handler(name, "on-0");
        sim::take_record();
    }
    stdout = saved;
    fclose(sink);
    service.ready = 0;
}
BENCHMARK_CAPTURE(simple_set_handler, first_key, "corvane.sensor");
BENCHMARK_CAPTURE(simple_set_handler, last_key, "corvane.cam1.codec3");

} // namespace

BENCHMARK_MAIN();
