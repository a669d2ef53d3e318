// corvane-bench: the daemon's costs against the simulated bus's own, each
// measured in the same run. The measured work runs in child processes (one
// start-up, one replay, one set of client writes); the report side starts
// them, repeats them and prints docs/PERFORMANCE.md's tables.
#ifndef BENCH_BENCH_H
#define BENCH_BENCH_H

#include <cstdio>
#include <string>
#include <vector>

namespace bench {

// ---- what is measured, shared by both sides ----

// One client write of a handler family, alternating between two values; an
// optional device node is set before each write (without notification) so
// that every write does the same work.
struct WriteCase {
    const char *family;
    const char *node;
    const char *value_a;
    const char *value_b;
    const char *prepare_node;
    const char *prepare_value;
    double target;  // highest ratio to the bare write, 0: none
};

// The floor of a client write: a bare write of this node, whose only
// listener does nothing.
inline constexpr const char *kFloorNode = "bench.noop";
// The node written by the burst.
inline constexpr int kBurstCase = 2;

inline constexpr WriteCase kWriteCases[] = {
    {"simple set, key list", "corvane.sensor", "on-0", "on-1", nullptr, nullptr, 1.1},
    {"simple set, recording words", "corvane.sd_md_jpgfolder", "off-113", "off-114", nullptr, nullptr, 1.1},
    {"image: brightness", "corvane.cam2.brightness", "10", "20", nullptr, nullptr, 1.1},
    {"image: exposure mode", "corvane.cam1.autoexp", "on", "off", nullptr, nullptr, 0},
    {"encoder: bit rate", "corvane.cam1.bitrate", "5000", "6000", nullptr, nullptr, 0},
    {"network: subnet mask", "corvane.subnetmask", "255.255.255.0", "255.255.0.0", nullptr, nullptr, 1.1},
    {"network: RTSP port", "corvane.rtspport", "8554", "554", nullptr, nullptr, 0},
    {"network: SNMP v2c", "corvane.en_snmpv2c", "on", "off", nullptr, nullptr, 0},
    {"events: motion sensitivity", "corvane.cam2.mdsensitivity", "55", "20", nullptr, nullptr, 0},
    {"events: alarm-input schedule", "corvane.en_auxin", "on", "off", nullptr, nullptr, 0},
    {"accounts: user password", "corvane.user10pwd", "secret10", "secret11", nullptr, nullptr, 0},
    {"lens: focus", "corvane.cam2.focus", "1200", "1300", nullptr, nullptr, 0},
    {"encoder: resolution cascade", "corvane.cam2.resolution1", "3840x2160", "3840x2160",
     "encode.cam2.stream2.resolution", "2560x1440", 3.3},
};

// Devices of the start-up figures, by sensor count.
struct StartupCase {
    int sensors;
    const char *device;  // relative to the source tree's sim/devices
};
inline constexpr StartupCase kStartupCases[] = {
    {1, "one-sensor.dev"},
    {2, "two-sensors.dev"},
    {4, "default.dev"},
};

// ---- the measured side (child processes) ----

// Start-up of the daemon on DEVICE up to its first main-loop sleep; with
// RECORD, its bus calls are written there. Prints "ns N".
int run_startup(const std::string &device, const std::string &record);
// The recorded bus calls replayed bare on the same device. Prints "ns N".
int run_replay(const std::string &device, const std::string &sequence);
// RUNS rounds of COUNT client writes per case and of the floor, then RUNS
// bursts of BURST writes. Prints "write CASE RUN NS", "burst RUN FLOOR DAEMON",
// "bus-writes CASE N" and "log-lines CASE N" lines (CASE -1: the floor).
int run_writes(int runs, int count, int burst);

// Marks a region for callgrind (no effect outside it): costs are dumped
// under "before" at the start and under `label` at the end.
void region_begin();
void region_end(const char *label);

// Pins the process to one processor, keeps the real standard output for
// results and sends the daemon's log to /dev/null.
FILE *result_stream();

} // namespace bench

#endif
