// The report side: starts the measured processes, repeats them, and prints
// the markdown tables of the daemon's figures.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cmath>
#include <csignal>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "bench/bench.h"
#include "bench/report.h"

extern char **environ;

namespace bench {

namespace {

bool any_failed = false;  // a measured process failed: the report says so, the exit status too

std::string directory_of(const std::string &path)
{
    size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string own_directory()
{
    char path[PATH_MAX] = {};
    ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    return length > 0 ? directory_of(std::string(path, static_cast<size_t>(length))) : ".";
}

// A started process: its id and the read end of its standard output.
struct Child {
    pid_t pid = -1;
    int output = -1;
};

// Standard error is inherited unless `quiet`.
Child spawn(const std::vector<std::string> &argv, const std::vector<std::string> &extra_environment,
            bool quiet = false)
{
    int pipe_ends[2];
    if (pipe(pipe_ends) != 0)
        return {};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipe_ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipe_ends[0]);
    posix_spawn_file_actions_addclose(&actions, pipe_ends[1]);
    if (quiet)
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<char *> args;
    for (const std::string &arg : argv)
        args.push_back(const_cast<char *>(arg.c_str()));
    args.push_back(nullptr);
    std::vector<std::string> environment_text(extra_environment);
    for (char **entry = environ; *entry; ++entry)
        environment_text.emplace_back(*entry);
    std::vector<char *> environment;
    for (const std::string &entry : environment_text)
        environment.push_back(const_cast<char *>(entry.c_str()));
    environment.push_back(nullptr);
    Child child;
    if (posix_spawnp(&child.pid, args[0], &actions, nullptr, args.data(), environment.data()) != 0)
        child.pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(pipe_ends[1]);
    child.output = pipe_ends[0];
    return child;
}

// Reads what is there within `timeout_ms`; false at the end of the output.
bool read_some(int fd, std::string *into, int timeout_ms)
{
    pollfd ready = {fd, POLLIN, 0};
    if (poll(&ready, 1, timeout_ms) <= 0)
        return true;
    char chunk[4096];
    ssize_t got = read(fd, chunk, sizeof chunk);
    if (got <= 0)
        return false;
    into->append(chunk, static_cast<size_t>(got));
    return true;
}

int finish(Child &child, std::string *output)
{
    while (read_some(child.output, output, -1)) {
    }
    close(child.output);
    int status = 0;
    waitpid(child.pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string run(const std::vector<std::string> &argv, bool *ok)
{
    Child child = spawn(argv, {});
    std::string output;
    *ok = child.pid > 0 && finish(child, &output) == 0;
    return output;
}

// "KEY NUMBER" lines of a measured process.
long long value_of(const std::string &output, const std::string &key)
{
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line))
        if (line.rfind(key + " ", 0) == 0)
            return std::stoll(line.substr(key.size() + 1));
    return -1;
}

bool have_valgrind()
{
    Child child = spawn({"valgrind", "--version"}, {}, true);
    std::string output;
    return child.pid > 0 && finish(child, &output) == 0;
}

// Instructions of each region the measured process marked, by label.
std::map<std::string, long long> callgrind_regions(const std::vector<std::string> &argv)
{
    std::map<std::string, long long> regions;
    char directory[] = "/tmp/corvane-bench-XXXXXX";
    if (!mkdtemp(directory))
        return regions;
    std::vector<std::string> command = {"valgrind", "-q", "--tool=callgrind", "--dump-instr=no",
                                        std::string("--callgrind-out-file=") + directory + "/cg"};
    command.insert(command.end(), argv.begin(), argv.end());
    bool ok = false;
    run(command, &ok);
    if (DIR *listing = opendir(directory)) {
        while (dirent *entry = readdir(listing)) {
            if (entry->d_name[0] == '.')
                continue;
            std::string path = std::string(directory) + "/" + entry->d_name;
            std::ifstream in(path);
            std::string line, label;
            long long instructions = -1;
            const std::string trigger = "desc: Trigger: Client Request: ";
            while (std::getline(in, line)) {
                if (line.rfind(trigger, 0) == 0)
                    label = line.substr(trigger.size());
                else if (line.rfind("summary: ", 0) == 0)
                    instructions = std::stoll(line.substr(9));
            }
            if (ok && !label.empty() && instructions >= 0)
                regions[label] = instructions;
            unlink(path.c_str());
        }
        closedir(listing);
    }
    rmdir(directory);
    return regions;
}

struct Spread {
    double median = 0, min = 0, max = 0;
};

Spread spread_of(std::vector<double> values)
{
    if (values.empty())
        return {};
    std::sort(values.begin(), values.end());
    size_t middle = values.size() / 2;
    double median = values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    return {median, values.front(), values.back()};
}

std::string fixed(double value, int decimals)
{
    char text[64];
    snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string ratio_text(const Spread &ratio)
{
    return "**" + fixed(ratio.median, 2) + "** (" + fixed(ratio.min, 2) + "–" + fixed(ratio.max, 2) + ")";
}

std::string grouped(long long number)
{
    std::string digits = std::to_string(number < 0 ? -number : number);
    std::string out = number < 0 ? "-" : "";
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0)
            out += ',';
        out += digits[i];
    }
    return out;
}

std::string instruction_ratio(long long daemon, long long floor)
{
    if (daemon <= 0 || floor <= 0)
        return "–";
    return fixed(static_cast<double>(daemon) / static_cast<double>(floor), 2);
}

std::string target_text(double target)
{
    return target > 0 ? "≤ " + fixed(target, 1) : "";
}

// ---- start-up ----

void report_startup(const ReportOptions &options, const std::string &self)
{
    const int runs = options.quick ? 3 : 9;
    printf("## Start-up synchronisation\n\n"
           "From the daemon's entry to its first main-loop sleep, against the same bus calls "
           "(every `nbus_listen`, `nbus_get` and `nbus_set` the daemon made, recorded once) "
           "replayed bare on the same simulated bus with listeners that do nothing. Processor "
           "time of the process; a fresh process per run, daemon and replay alternating; %d runs "
           "each.\n\n",
           runs);
    printf("| sensors | bus calls | daemon, ms | bare replay, ms | time ratio | instructions, daemon | "
           "instructions, replay | instruction ratio | target |\n"
           "|---:|---:|---:|---:|---|---:|---:|---:|---|\n");
    const std::string devices = directory_of(CORVANE_DEFAULT_DEVICE);
    for (const StartupCase &startup : kStartupCases) {
        std::string device = devices + "/" + startup.device;
        std::string sequence = "/tmp/corvane-bench-sequence-" + std::to_string(getpid());
        bool ok = false;
        std::string recorded = run({self, "startup", device, sequence}, &ok);
        long long calls = value_of(recorded, "calls");
        std::vector<double> daemon_ms, replay_ms, ratios;
        for (int i = 0; ok && i < runs; ++i) {
            bool daemon_ok = false, replay_ok = false;
            double daemon = static_cast<double>(value_of(run({self, "startup", device}, &daemon_ok), "ns")) / 1e6;
            double replay =
                static_cast<double>(value_of(run({self, "replay", device, sequence}, &replay_ok), "ns")) / 1e6;
            ok = daemon_ok && replay_ok && daemon > 0 && replay > 0;
            daemon_ms.push_back(daemon);
            replay_ms.push_back(replay);
            ratios.push_back(daemon / replay);
        }
        long long daemon_instructions = -1, replay_instructions = -1;
        if (ok && options.callgrind) {
            daemon_instructions = callgrind_regions({self, "startup", device})["startup"];
            replay_instructions = callgrind_regions({self, "replay", device, sequence})["replay"];
        }
        unlink(sequence.c_str());
        if (!ok) {
            any_failed = true;
            printf("| %d | failed to run | | | | | | | |\n", startup.sensors);
            continue;
        }
        printf("| %d | %s | %s | %s | %s | %s | %s | %s | ≤ 1.1 |\n", startup.sensors, grouped(calls).c_str(),
               fixed(spread_of(daemon_ms).median, 2).c_str(), fixed(spread_of(replay_ms).median, 2).c_str(),
               ratio_text(spread_of(ratios)).c_str(),
               daemon_instructions > 0 ? grouped(daemon_instructions).c_str() : "–",
               replay_instructions > 0 ? grouped(replay_instructions).c_str() : "–",
               instruction_ratio(daemon_instructions, replay_instructions).c_str());
    }
    printf("\n");
}

// ---- client writes and the burst ----

struct WriteFigures {
    std::map<int, std::vector<double>> per_write_ns;  // by case, -1 the floor; one per run
    std::map<int, long long> bus_writes;
    std::map<int, long long> log_lines;
    std::vector<double> burst_floor_ns, burst_daemon_ns;
};

WriteFigures parse_writes(const std::string &output, int count, int burst)
{
    WriteFigures figures;
    std::istringstream lines(output);
    std::string kind;
    while (lines >> kind) {
        if (kind == "write") {
            int index = 0, run = 0;
            long long ns = 0;
            lines >> index >> run >> ns;
            figures.per_write_ns[index].push_back(static_cast<double>(ns) / count);
        } else if (kind == "bus-writes" || kind == "log-lines") {
            int index = 0;
            long long number = 0;
            lines >> index >> number;
            (kind == "bus-writes" ? figures.bus_writes : figures.log_lines)[index] = number;
        } else if (kind == "burst") {
            int run = 0;
            long long floor = 0, daemon = 0;
            lines >> run >> floor >> daemon;
            figures.burst_floor_ns.push_back(static_cast<double>(floor) / burst);
            figures.burst_daemon_ns.push_back(static_cast<double>(daemon) / burst);
        }
    }
    return figures;
}

std::vector<double> ratios_of(const std::vector<double> &daemon, const std::vector<double> &floor)
{
    std::vector<double> ratios;
    for (size_t i = 0; i < daemon.size() && i < floor.size(); ++i)
        ratios.push_back(daemon[i] / floor[i]);
    return ratios;
}

void report_writes(const ReportOptions &options, const std::string &self)
{
    const int runs = options.quick ? 3 : 9;
    const int count = options.quick ? 200 : 2000;
    const int burst = options.quick ? 2000 : 100000;
    const int counted = 200;
    bool ok = false;
    std::string output = run({self, "writes", std::to_string(runs), std::to_string(count), std::to_string(burst)}, &ok);
    WriteFigures figures = parse_writes(output, count, burst);
    std::map<std::string, long long> instructions;
    if (ok && options.callgrind)
        instructions = callgrind_regions({self, "writes", "1", std::to_string(counted), "0"});

    printf("## Client writes\n\n"
           "One client write of a legacy node, returning once the bus is idle again (the handler "
           "and every write it caused done), against a bare client write of a node whose only "
           "listener does nothing. Processor time of the process per write; %d rounds of %d writes "
           "per handler family, alternating "
           "between two values, the floor measured in every round; the ratio is taken per round. "
           "Instructions: callgrind, all threads, over %d writes each. *Bus writes* are the "
           "daemon's own writes per client write, *lines* what it printed on standard output "
           "(one write each).\n\n",
           runs, count, counted);
    if (!ok) {
        any_failed = true;
        printf("The measurement failed to run.\n\n");
        return;
    }
    const std::vector<double> &floor = figures.per_write_ns[-1];
    long long floor_instructions = instructions["write -1"];
    printf("| handler family | node | bus writes | lines | µs per write | time ratio | instructions per write | "
           "instruction ratio | target |\n"
           "|---|---|---:|---:|---:|---|---:|---:|---|\n");
    printf("| *bare write (floor)* | `%s` | 0 | 0 | %s | 1 | %s | %s | |\n", kFloorNode,
           fixed(spread_of(floor).median / 1000, 1).c_str(),
           floor_instructions > 0 ? grouped(floor_instructions / counted).c_str() : "–",
           floor_instructions > 0 ? "1" : "–");
    constexpr int kCases = static_cast<int>(std::size(kWriteCases));
    for (int index = 0; index < kCases; ++index) {
        const WriteCase &write = kWriteCases[index];
        long long case_instructions = instructions["write " + std::to_string(index)];
        printf("| %s | `%s` | %lld | %lld | %s | %s | %s | %s | %s |\n", write.family, write.node,
               figures.bus_writes[index], figures.log_lines[index],
               fixed(spread_of(figures.per_write_ns[index]).median / 1000, 1).c_str(),
               ratio_text(spread_of(ratios_of(figures.per_write_ns[index], floor))).c_str(),
               case_instructions > 0 ? grouped(case_instructions / counted).c_str() : "–",
               instruction_ratio(case_instructions, floor_instructions).c_str(), target_text(write.target).c_str());
    }
    printf("\n");

    const WriteCase &bursted = kWriteCases[kBurstCase];
    Spread floor_ns = spread_of(figures.burst_floor_ns);
    Spread daemon_ns = spread_of(figures.burst_daemon_ns);
    printf("## Burst\n\n"
           "%s client writes of `%s` back to back, against as many bare writes; processor "
           "time, %d runs.\n\n"
           "| writes | bare writes per second | daemon writes per second | time ratio |\n"
           "|---:|---:|---:|---|\n"
           "| %s | %s | %s | %s |\n\n",
           grouped(burst).c_str(), bursted.node, runs, grouped(burst).c_str(),
           grouped(static_cast<long long>(1e9 / floor_ns.median)).c_str(),
           grouped(static_cast<long long>(1e9 / daemon_ns.median)).c_str(),
           ratio_text(spread_of(ratios_of(figures.burst_daemon_ns, figures.burst_floor_ns))).c_str());
}

// ---- idle ----

struct ThreadSwitches {
    long long main = 0, others = 0;
    int threads = 0;
};

long long status_field(const std::string &path, const std::string &field)
{
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line))
        if (line.rfind(field + ":", 0) == 0)
            return std::stoll(line.substr(field.size() + 1));
    return -1;
}

ThreadSwitches voluntary_switches(pid_t pid)
{
    ThreadSwitches switches;
    std::string tasks = "/proc/" + std::to_string(pid) + "/task";
    DIR *listing = opendir(tasks.c_str());
    if (!listing)
        return switches;
    while (dirent *entry = readdir(listing)) {
        if (entry->d_name[0] == '.')
            continue;
        long long count = status_field(tasks + "/" + entry->d_name + "/status", "voluntary_ctxt_switches");
        (std::to_string(pid) == entry->d_name ? switches.main : switches.others) += count;
        ++switches.threads;
    }
    closedir(listing);
    return switches;
}

struct IdleFigures {
    bool ok = false;
    double seconds = 0;
    double main_per_second = 0, others_per_second = 0;
    int threads = 0;
    long long allocations = -1;
    long long rss_kb = 0, peak_rss_kb = 0;
};

std::vector<long long> allocation_reports(const std::string &path)
{
    std::vector<long long> counts;
    std::ifstream in(path);
    long long count = 0;
    while (in >> count)
        counts.push_back(count);
    return counts;
}

IdleFigures measure_idle(const std::vector<std::string> &argv, const std::string &counter, double seconds)
{
    IdleFigures figures;
    std::string report = "/tmp/corvane-bench-alloc-" + std::to_string(getpid());
    unlink(report.c_str());
    // quiet: the daemon's signal line is no news here
    Child child = spawn(argv, {"LD_PRELOAD=" + counter, "CORVANE_ALLOC_REPORT=" + report}, true);
    if (child.pid <= 0)
        return figures;
    std::string output;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (output.find("MCU Version") == std::string::npos && std::chrono::steady_clock::now() < deadline)
        if (!read_some(child.output, &output, 100))
            break;
    bool started = output.find("MCU Version") != std::string::npos;
    if (started) {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        kill(child.pid, SIGUSR1);  // allocation count at the start of the window
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        ThreadSwitches before = voluntary_switches(child.pid);
        auto start = std::chrono::steady_clock::now();
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        ThreadSwitches after = voluntary_switches(child.pid);
        figures.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        kill(child.pid, SIGUSR1);  // and at its end
        std::string status = "/proc/" + std::to_string(child.pid) + "/status";
        figures.rss_kb = status_field(status, "VmRSS");
        figures.peak_rss_kb = status_field(status, "VmHWM");
        figures.main_per_second = static_cast<double>(after.main - before.main) / figures.seconds;
        figures.others_per_second = static_cast<double>(after.others - before.others) / figures.seconds;
        figures.threads = after.threads;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    kill(child.pid, SIGTERM);
    int status = finish(child, &output);
    std::vector<long long> counts = allocation_reports(report);
    unlink(report.c_str());
    if (counts.size() >= 2)
        figures.allocations = counts.back() - counts.front();
    figures.ok = started && status == 0;
    return figures;
}

void report_idle(const ReportOptions &options, const std::string &self_directory)
{
    const double seconds = options.quick ? 2 : 30;
    const std::string counter = self_directory + "/corvane-alloc-count.so";
    struct Subject {
        const char *what;
        std::vector<std::string> argv;
    };
    const Subject subjects[] = {
        {"`corvaned` (host, simulated camera)", {self_directory + "/corvaned"}},
        {"`corvane-sim --realtime` (with the bus thread)", {self_directory + "/corvane-sim", "--realtime"}},
    };
    printf("## Idle\n\n"
           "After start-up, over %.0f s: voluntary context switches per second of the main thread and "
           "of all other threads together (`/proc/PID/task/*/status`), heap allocations in that window "
           "(a counting `malloc` preloaded into the process, read at both ends), and the resident set "
           "at its end. The floor is the main loop's own ten sleeps a second.\n\n"
           "| process | threads | main thread, wakeups/s | ratio to 10/s | other threads, wakeups/s | "
           "heap allocations | RSS, KiB | peak RSS, KiB |\n"
           "|---|---:|---:|---:|---:|---:|---:|---:|\n",
           seconds);
    for (const Subject &subject : subjects) {
        IdleFigures idle = measure_idle(subject.argv, counter, seconds);
        if (!idle.ok) {
            any_failed = true;
            printf("| %s | failed to run | | | | | | |\n", subject.what);
            continue;
        }
        printf("| %s | %d | %s | %s | %s | %s | %s | %s |\n", subject.what, idle.threads,
               fixed(idle.main_per_second, 2).c_str(), fixed(idle.main_per_second / 10, 2).c_str(),
               fixed(idle.others_per_second, 2).c_str(),
               idle.allocations >= 0 ? grouped(idle.allocations).c_str() : "–", grouped(idle.rss_kb).c_str(),
               grouped(idle.peak_rss_kb).c_str());
    }
    printf("\n");
}

} // namespace

int report(const ReportOptions &options)
{
    std::string self_directory = own_directory();
    std::string self = self_directory + "/corvane-bench";
    ReportOptions effective = options;
    effective.callgrind = options.callgrind && have_valgrind();
    report_startup(effective, self);
    report_writes(effective, self);
    report_idle(effective, self_directory);
    fflush(stdout);
    return any_failed ? 1 : 0;
}

} // namespace bench
