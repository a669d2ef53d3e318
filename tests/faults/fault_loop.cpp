// The fault loop: every bus read that the start-up and the handlers make on
// a device is failed alone, once with an error code and once as an absent
// node, and the daemon must hold up:
//   - no crash and no sanitizer report (the process would die);
//   - a faulted start-up still completes (ready, global mode, version line);
//   - the action logs a line naming the node it could not read, or, where
//     the daemon is meant to stay silent, nothing changes but the nodes that
//     the failed value would have fed (writes skipped, none added).
// The reads come from the daemon itself: a clean start-up and a clean client
// write of every registered legacy node (with the value the start-up gave
// it) record the nodes they read.
//
//   corvane-fault-loop [--device FILE] [--sample N] [--verbose]
//
// --sample N fails every Nth start-up read and, for the handlers, the reads
// of the first node of every registered routine (so every handler with a
// read is covered); without it, every read of every action.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <set>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "frame/context.h"
#include "frame/main.h"
#include "sim/platform/sim.h"

namespace {

constexpr int kFaultCode = -5;
constexpr int kMissingCode = -1;  // what the bus returns for an absent node

enum class Failure { code, absent };

struct Fault {
    std::string node;
    Failure failure;
    int code() const { return failure == Failure::code ? kFaultCode : kMissingCode; }
    std::string text() const { return node + (failure == Failure::code ? " (error -5)" : " (absent)"); }
};

// What one action did, in the escaped forms of the trace.
struct Outcome {
    std::vector<std::string> writes;  // "name = value"
    std::vector<std::string> lines;   // log lines
    std::vector<std::string> reads;   // nodes read, first occurrence order
    bool completed = true;            // start-up only: it reached its end
};

Outcome outcome_of(const sim::Record &record)
{
    Outcome outcome;
    for (const auto &[name, value] : record.writes)
        outcome.writes.push_back(sim::escape(name) + " = " + sim::escape(value));
    size_t start = 0;
    while (start < record.log.size()) {
        size_t end = record.log.find('\n', start);
        if (end == std::string::npos)
            end = record.log.size();
        outcome.lines.push_back(sim::escape(record.log.substr(start, end - start)));
        start = end + 1;
    }
    std::set<std::string> seen;
    for (const std::string &name : record.reads)
        if (seen.insert(name).second)
            outcome.reads.push_back(name);
    return outcome;
}

// Items of `a` not matched one to one in `b`.
std::vector<std::string> missing_from(std::vector<std::string> a, std::vector<std::string> b)
{
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    std::vector<std::string> out;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(out));
    return out;
}

std::string written_node(const std::string &write)
{
    return write.substr(0, write.find(" = "));
}

struct Verdict {
    bool held;
    std::string how;
};

// One faulted action against its clean run.
Verdict judge(const Outcome &clean, const Outcome &faulted, const Fault &fault)
{
    if (!faulted.completed)
        return {false, "start-up did not complete"};
    std::vector<std::string> added = missing_from(faulted.writes, clean.writes);
    std::vector<std::string> skipped = missing_from(clean.writes, faulted.writes);
    std::string node = sim::escape(fault.node);
    std::string code = std::to_string(fault.code());
    // A failure line: the read named with its code, or the start-up's
    // "not supported" line (which for one node names another, as kept).
    for (const std::string &line : missing_from(faulted.lines, clean.lines))
        if ((line.find("nbus_get") != std::string::npos && line.find(node) != std::string::npos &&
             line.find(code) != std::string::npos) ||
            line.find("not supported") != std::string::npos)
            return {true, "logged: " + line};
    // Silent: writes may be skipped or carry another value, none may appear
    // on a node the clean run did not write.
    std::set<std::string> clean_nodes;
    for (const std::string &write : clean.writes)
        clean_nodes.insert(written_node(write));
    for (const std::string &write : added)
        if (!clean_nodes.count(written_node(write)))
            return {false, "silent, and wrote a node the clean run did not: " + write};
    std::string how = "silent: " + std::to_string(skipped.size()) + " writes skipped, " +
                      std::to_string(added.size()) + " changed";
    for (const std::string &write : skipped)
        how += "; -" + write;
    for (const std::string &write : added)
        how += "; +" + write;
    return {true, how};
}

// ---- start-up: one fresh process per case ----

void send_outcome(int fd, const Outcome &outcome)
{
    std::string text;
    for (const std::string &write : outcome.writes)
        text += "W " + write + "\n";
    for (const std::string &line : outcome.lines)
        text += "L " + line + "\n";
    for (const std::string &read : outcome.reads)
        text += "R " + sim::escape(read) + "\n";
    text += outcome.completed ? "C\n" : "";
    for (size_t done = 0; done < text.size();) {
        ssize_t written = write(fd, text.data() + done, text.size() - done);
        if (written <= 0)
            _exit(3);
        done += static_cast<size_t>(written);
    }
}

bool receive_outcome(int fd, Outcome *outcome)
{
    std::string text;
    char chunk[65536];
    for (ssize_t got; (got = read(fd, chunk, sizeof chunk)) > 0;)
        text.append(chunk, static_cast<size_t>(got));
    outcome->completed = false;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        std::string item = text.substr(start, end - start);
        start = end + 1;
        std::string body = item.size() > 2 ? item.substr(2) : std::string();
        switch (item[0]) {
        case 'W': outcome->writes.push_back(body); break;
        case 'L': outcome->lines.push_back(body); break;
        case 'R': outcome->reads.push_back(body); break;
        case 'C': outcome->completed = true; break;
        default: return false;
        }
    }
    return true;
}

// Runs the start-up in a child with `fault` applied (none when null). A
// signal already pending makes the daemon return once start-up is done.
bool faulted_startup(const std::string &device, const Fault *fault, Outcome *outcome, std::string *death)
{
    int channel[2];
    if (pipe(channel) != 0)
        return false;
    fflush(nullptr);
    pid_t child = fork();
    if (child == 0) {
        close(channel[0]);
        std::string error;
        if (!sim::load_device(device, &error))
            _exit(2);
        if (fault && fault->failure == Failure::code)
            sim::set_read_fault(fault->node, kFaultCode);
        else if (fault)
            sim::remove_node(fault->node);
        sim::capture_stdout();
        sim::set_recording(true);
        service.exit_flag = 1;
        sim::start();
        corvaned::main();
        sim::mark_finished();
        sim::stop();
        fflush(stdout);
        Outcome result = outcome_of(sim::take_record());
        result.completed = service.ready == 1 &&
                           std::find(result.writes.begin(), result.writes.end(), "image.global_mode = off") !=
                               result.writes.end() &&
                           std::any_of(result.lines.begin(), result.lines.end(), [](const std::string &line) {
                               return line.find("MCU Version") != std::string::npos;
                           });
        send_outcome(channel[1], result);
        _exit(0);
    }
    close(channel[1]);
    bool received = receive_outcome(channel[0], outcome);
    close(channel[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFSIGNALED(status))
        *death = "killed by signal " + std::to_string(WTERMSIG(status));
    else if (WEXITSTATUS(status) != 0)
        *death = "exit status " + std::to_string(WEXITSTATUS(status));
    return received && death->empty();
}

// ---- handlers: one running daemon, nodes put back after every action ----

struct Daemon {
    std::thread thread;
    std::map<std::string, std::string> nodes;  // the store right after start-up

    Outcome act(const std::string &name, const std::string &value, const Fault *fault)
    {
        if (fault && fault->failure == Failure::code)
            sim::set_read_fault(fault->node, kFaultCode);
        else if (fault)
            sim::remove_node(fault->node);
        sim::take_record();
        sim::client_write(name, value);
        sim::wait_idle();
        fflush(stdout);
        Outcome outcome = outcome_of(sim::take_record());
        if (fault)
            sim::set_read_fault(fault->node, 0);
        sim::restore_nodes(nodes);
        return outcome;
    }
};

struct Tally {
    long cases = 0;
    long failures = 0;
    bool verbose = false;

    void check(const std::string &action, const Outcome &clean, const Outcome &faulted, const Fault &fault)
    {
        ++cases;
        Verdict verdict = judge(clean, faulted, fault);
        if (verdict.held && !verbose)
            return;
        failures += verdict.held ? 0 : 1;
        fprintf(stderr, "%s %s, %s: %s\n", verdict.held ? "ok" : "FAIL", action.c_str(), fault.text().c_str(),
                verdict.how.c_str());
    }
};

const Failure kFailures[] = {Failure::code, Failure::absent};

void startup_loop(const std::string &device, long sample, Tally *tally)
{
    Outcome clean;
    std::string death;
    if (!faulted_startup(device, nullptr, &clean, &death)) {
        fprintf(stderr, "FAIL clean start-up: %s\n", death.c_str());
        ++tally->failures;
        return;
    }
    long before = tally->cases;
    for (size_t i = 0; i < clean.reads.size(); i += static_cast<size_t>(sample)) {
        for (Failure failure : kFailures) {
            Fault fault{clean.reads[i], failure};
            Outcome faulted;
            death.clear();
            if (!faulted_startup(device, &fault, &faulted, &death)) {
                ++tally->cases;
                ++tally->failures;
                fprintf(stderr, "FAIL start-up, %s: %s\n", fault.text().c_str(), death.c_str());
                continue;
            }
            tally->check("start-up", clean, faulted, fault);
        }
    }
    fprintf(stderr, "start-up: %zu reads, %ld cases\n", clean.reads.size(), tally->cases - before);
}

void handler_loop(const std::string &device, bool sample, Tally *tally)
{
    std::string error;
    if (!sim::load_device(device, &error)) {
        fprintf(stderr, "corvane-fault-loop: %s\n", error.c_str());
        exit(2);
    }
    sim::capture_stdout();
    sim::set_recording(true);
    Daemon daemon;
    daemon.thread = std::thread([] {
        sim::start();
        corvaned::main();
        sim::mark_finished();
    });
    sim::wait_started();
    sim::wait_idle();
    daemon.nodes = sim::all_nodes();

    std::set<std::string> names;
    std::set<const void *> routines;
    for (const auto &[name, routine] : sim::listener_routines())
        if (!sample || routines.insert(routine).second)
            names.insert(name);
    long reads = 0;
    long before = tally->cases;
    for (const std::string &name : names) {
        auto found = daemon.nodes.find(name);
        std::string value = found == daemon.nodes.end() ? std::string() : found->second;
        Outcome clean = daemon.act(name, value, nullptr);
        reads += static_cast<long>(clean.reads.size());
        for (const std::string &node : clean.reads) {
            for (Failure failure : kFailures) {
                Fault fault{node, failure};
                tally->check("set " + name + " " + value, clean, daemon.act(name, value, &fault), fault);
            }
        }
    }
    fprintf(stderr, "handlers: %zu actions, %ld reads, %ld cases\n", names.size(), reads, tally->cases - before);
    raise(SIGTERM);
    daemon.thread.join();
    sim::stop();
}

} // namespace

int main(int argc, char **argv)
{
    std::string device = CORVANE_DEFAULT_DEVICE;
    long sample = 1;
    Tally tally;
    for (int i = 1; i < argc; ++i) {
        std::string option = argv[i];
        if (option == "--device" && i + 1 < argc)
            device = argv[++i];
        else if (option == "--sample" && i + 1 < argc)
            sample = std::max(1L, strtol(argv[++i], nullptr, 10));
        else if (option == "--verbose")
            tally.verbose = true;
        else {
            fputs("usage: corvane-fault-loop [--device FILE] [--sample N] [--verbose]\n", stderr);
            return 2;
        }
    }
    // The daemon's log is recorded, not shown; the verdicts go to stderr.
    int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    close(null);

    startup_loop(device, sample, &tally);  // forks: before any thread exists
    handler_loop(device, sample > 1, &tally);
    fprintf(stderr, "%ld cases, %ld failed\n", tally.cases, tally.failures);
    return tally.failures ? 1 : 0;
}
