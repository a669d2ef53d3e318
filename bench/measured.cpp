// The measured side: each routine runs in a process of its own, with the
// daemon's log sent to /dev/null and its results on the real standard output.
#include <algorithm>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <sched.h>
#include <thread>
#include <unistd.h>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_DUMP_STATS_AT(label) (void)(label)
#endif

#include "bench/bench.h"
#include "frame/context.h"
#include "frame/main.h"
#include "platform/nbus.h"
#include "sim/platform/sim.h"

namespace bench {

namespace {

// Processor time of the whole process, all threads, user and system. With
// every thread on one processor and each write handed over and back, it is
// the wall time of the work less the time other processes took the
// processor, which on a shared machine is most of the noise.
long long process_ns()
{
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<long long>(now.tv_sec) * 1000000000LL + now.tv_nsec;
}

void ignore_write(const char *, const char *) {}

bool load(const std::string &device)
{
    std::string error;
    if (sim::load_device(device, &error))
        return true;
    fprintf(stderr, "corvane-bench: %s\n", error.c_str());
    return false;
}

// Sequence file: one call a record, "KIND SIZE NAME-LENGTH VALUE-LENGTH\n"
// followed by the name, the value and a line feed (names and values may hold
// any byte).
void write_sequence(const std::string &path, const std::vector<sim::BusCall> &calls)
{
    std::ofstream out(path, std::ios::binary);
    for (const sim::BusCall &call : calls)
        out << static_cast<int>(call.kind) << ' ' << call.size << ' ' << call.name.size() << ' '
            << call.value.size() << '\n'
            << call.name << call.value << '\n';
}

bool read_sequence(const std::string &path, std::vector<sim::BusCall> *calls)
{
    std::ifstream in(path, std::ios::binary);
    int kind = 0;
    size_t name_length = 0, value_length = 0;
    sim::BusCall call;
    while (in >> kind >> call.size >> name_length >> value_length && in.get() == '\n') {
        call.kind = static_cast<sim::BusCall::Kind>(kind);
        call.name.resize(name_length);
        call.value.resize(value_length);
        in.read(call.name.data(), static_cast<std::streamsize>(name_length));
        in.read(call.value.data(), static_cast<std::streamsize>(value_length));
        if (!in || in.get() != '\n')
            return false;
        calls->push_back(call);
    }
    return in.eof();
}

// The daemon on this thread; `work` on another once start-up has finished.
// Returns the daemon's status.
template <typename Work>
int with_running_daemon(Work work)
{
    sim::start();
    std::thread driver([&] {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
        sim::wait_started();
        work();
        service.exit_flag = 1;
    });
    int status = corvaned::main();
    sim::mark_finished();
    driver.join();
    sim::stop();
    return status;
}

void client_writes(const WriteCase &write, int count)
{
    for (int i = 0; i < count; ++i) {
        if (write.prepare_node)
            sim::device_write(write.prepare_node, write.prepare_value);
        sim::client_write(write.node, i % 2 ? write.value_b : write.value_a);
    }
}

void floor_writes(int count)
{
    for (int i = 0; i < count; ++i)
        sim::client_write(kFloorNode, i % 2 ? "1" : "0");
}

// Lines printed on standard output (the daemon's log and the platform's
// nbus_printf) while `writes` ran.
template <typename Writes>
long output_lines(Writes writes)
{
    fflush(stdout);
    FILE *capture = tmpfile();
    if (!capture)
        return -1;
    int saved = dup(STDOUT_FILENO);
    dup2(fileno(capture), STDOUT_FILENO);
    writes();
    fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    rewind(capture);
    long lines = 0;
    for (int c = fgetc(capture); c != EOF; c = fgetc(capture))
        lines += c == '\n';
    fclose(capture);
    return lines;
}

template <typename Writes>
long long timed(Writes writes)
{
    long long start = process_ns();
    writes();
    long long elapsed = process_ns() - start;
    sim::take_record();  // the simulator's own record of the writes is dropped
    return elapsed;
}

// Every thread of the measured process on one processor: a write hands over
// from the writing thread to the bus thread and back, and between two
// processors the time of that hand-over varies with their idle states far
// more than the work it carries.
void pin_to_one_processor()
{
    cpu_set_t allowed;
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0)
        return;
    for (int cpu = CPU_SETSIZE - 1; cpu >= 0; --cpu) {
        if (!CPU_ISSET(cpu, &allowed))
            continue;
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(cpu, &one);
        sched_setaffinity(0, sizeof one, &one);
        return;
    }
}

} // namespace

FILE *result_stream()
{
    pin_to_one_processor();
    // the simulator's record and trace are test instrumentation, not the bus
    sim::set_recording(false);
    fflush(stdout);
    FILE *results = fdopen(dup(STDOUT_FILENO), "w");
    int null_fd = open("/dev/null", O_WRONLY);
    dup2(null_fd, STDOUT_FILENO);
    close(null_fd);
    return results;
}

void region_begin()
{
    // A dump zeroes the costs of every thread, CALLGRIND_ZERO_STATS only
    // those of the calling one; this dump's label is not a region's.
    CALLGRIND_DUMP_STATS_AT("before");
}

void region_end(const char *label)
{
    CALLGRIND_DUMP_STATS_AT(label);
}

int run_startup(const std::string &device, const std::string &record)
{
    FILE *results = result_stream();
    if (!load(device))
        return 2;
    std::vector<sim::BusCall> calls;
    if (!record.empty())
        sim::record_bus_calls(&calls);
    sim::set_time_divisor(100);  // the one main-loop sleep before the exit is short
    long long start = 0;
    long long elapsed = 0;
    sim::on_started([&] {
        elapsed = process_ns() - start;
        region_end("startup");
        sim::record_bus_calls(nullptr);
        service.exit_flag = 1;
    });
    sim::start();
    start = process_ns();
    region_begin();
    int status = corvaned::main();
    sim::mark_finished();
    sim::stop();
    if (!record.empty())
        write_sequence(record, calls);
    fprintf(results, "ns %lld\ncalls %zu\n", elapsed, calls.size());
    fclose(results);
    return status;
}

int run_replay(const std::string &device, const std::string &sequence)
{
    FILE *results = result_stream();
    std::vector<sim::BusCall> calls;
    if (!load(device) || !read_sequence(sequence, &calls)) {
        fprintf(stderr, "corvane-bench: cannot replay %s\n", sequence.c_str());
        return 2;
    }
    sim::start();
    nbus_initial();
    char value[256];
    long long start = process_ns();
    region_begin();
    for (const sim::BusCall &call : calls) {
        switch (call.kind) {
        case sim::BusCall::get:
            nbus_get(call.name.c_str(), value, std::min(call.size, static_cast<int>(sizeof value)));
            break;
        case sim::BusCall::set:
            nbus_set(call.name.c_str(), call.value.c_str());
            break;
        case sim::BusCall::listen:
            nbus_listen(call.name.c_str(), ignore_write);
            break;
        }
    }
    sim::wait_idle();
    region_end("replay");
    long long elapsed = process_ns() - start;
    sim::stop();
    fprintf(results, "ns %lld\ncalls %zu\n", elapsed, calls.size());
    fclose(results);
    return 0;
}

int run_writes(int runs, int count, int burst)
{
    FILE *results = result_stream();
    if (!load(CORVANE_DEFAULT_DEVICE))
        return 2;
    sim::set_time_divisor(1);  // the main loop wakes ten times a second, as on the device
    nbus_listen(kFloorNode, ignore_write);
    int status = with_running_daemon([&] {
        constexpr int kCases = static_cast<int>(std::size(kWriteCases));
        floor_writes(count);  // warm-up; the cases warm up below
        sim::set_recording(true);
        for (int index = 0; index < kCases; ++index) {
            sim::take_record();
            long lines = output_lines([&] { client_writes(kWriteCases[index], 2); });
            fprintf(results, "bus-writes %d %zu\nlog-lines %d %ld\n", index, sim::take_record().writes.size() / 2,
                    index, lines / 2);
        }
        sim::set_recording(false);
        for (int run = 0; run < runs; ++run) {
            fprintf(results, "write -1 %d %lld\n", run, timed([&] { floor_writes(count); }));
            for (int index = 0; index < kCases; ++index)
                fprintf(results, "write %d %d %lld\n", index, run,
                        timed([&] { client_writes(kWriteCases[index], count); }));
        }
        // Instruction counts of one round, when callgrind watches.
        region_begin();
        floor_writes(count);
        region_end("write -1");
        for (int index = 0; index < kCases; ++index) {
            char label[32];
            snprintf(label, sizeof label, "write %d", index);
            region_begin();
            client_writes(kWriteCases[index], count);
            region_end(label);
            sim::take_record();
        }
        for (int run = 0; run < runs && burst > 0; ++run) {
            long long floor = timed([&] { floor_writes(burst); });
            long long daemon = timed([&] { client_writes(kWriteCases[kBurstCase], burst); });
            fprintf(results, "burst %d %lld %lld\n", run, floor, daemon);
        }
    });
    fclose(results);
    return status;
}

} // namespace bench
