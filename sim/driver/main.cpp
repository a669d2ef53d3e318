// corvane-sim: the daemon's own entry point on the simulated camera,
// driven by a script or by the demo console.
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <pthread.h>
#include <string>
#include <thread>
#include <unistd.h>

#include "frame/info_option.h"
#include "frame/main.h"
#include "sim/console/line_editor.h"
#include "sim/driver/routines.h"
#include "sim/driver/script.h"
#include "sim/driver/view.h"
#include "sim/platform/sim.h"

namespace {

constexpr long kViewPace = 2000;     // microseconds a busy poll takes while a motor moves
constexpr long kViewInterval = 50;   // milliseconds between two publications of the head

const char usage[] =
    "usage: corvane-sim [--device FILE]... [--script FILE] [--console] [--trace FILE] [--realtime]\n"
    "                   [--bus ADDRESS] [--view]\n"
    "       corvane-sim --help | --version\n"
    "  Runs corvaned against the simulated camera. The script runs once start-up\n"
    "  has finished; without one the daemon runs until a signal.\n"
    "  --bus redis:/path/to/socket or redis://HOST:PORT puts the nodes and their\n"
    "  notifications on that Redis server (its corvane key space is cleared first).\n"
    "  --view publishes the simulated head under sim.head. for viewers on the bus.\n";

struct Options {
    std::vector<std::string> devices;
    std::string script;
    std::string trace;
    std::string bus = "sim";
    bool console = false;
    bool realtime = false;
    bool view = false;
};

bool parse_options(int argc, char **argv, Options *options)
{
    for (int i = 1; i < argc; ++i) {
        std::string option = argv[i];
        bool has_value = i + 1 < argc;
        if (option == "--device" && has_value)
            options->devices.push_back(argv[++i]);
        else if (option == "--script" && has_value)
            options->script = argv[++i];
        else if (option == "--trace" && has_value)
            options->trace = argv[++i];
        else if (option == "--bus" && has_value)
            options->bus = argv[++i];
        else if (option == "--console")
            options->console = true;
        else if (option == "--realtime")
            options->realtime = true;
        else if (option == "--view")
            options->view = true;
        else
            return false;
    }
    return true;
}

// The script thread must not take the daemon's signals.
void block_signals_here()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

void run_script(ScriptRunner *runner, const std::string &path)
{
    block_signals_here();
    sim::wait_started();
    runner->take_startup_record();
    std::ifstream in(path);
    std::string line;
    int number = 0;
    while (std::getline(in, line))
        runner->execute(line, ++number);
    if (!sim::finished())
        kill(getpid(), SIGTERM);
    sim::set_lockstep(false);
}

// Words after `before` on a console line: commands first, then routine
// names after "call", node names elsewhere ("watch" takes a command).
std::vector<std::string> console_candidates(std::string before, const std::string &word)
{
    std::istringstream in(before);
    std::vector<std::string> words{std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
    if (!words.empty() && words[0] == "watch")
        words.erase(words.begin());
    if (words.empty())
        return complete_from(ScriptRunner::command_words(false), word);
    if (words.size() == 1 && words[0] == "call")
        return complete_from(routine_names(), word);
    if (words.size() == 1 && words[0] == "help")
        return complete_from({"script"}, word);
    std::vector<std::string> names;
    for (auto &[name, value] : sim::nodes_with_prefix(word))
        names.push_back(name);
    return names;
}

// Set once the console has left and put the terminal back.
std::atomic<bool> console_left{false};

void run_console(ScriptRunner *runner, std::chrono::steady_clock::time_point begun)
{
    block_signals_here();
    sim::wait_started();
    runner->take_startup_record();
    std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - begun;
    // the console's own lines are not the daemon's output: they bypass the record
    FILE *terminal = fdopen(dup(STDOUT_FILENO), "w");
    setvbuf(terminal, nullptr, _IOLBF, 0);
    LineEditor editor("corvane> ", default_history_path(), terminal);
    editor.set_completer(console_candidates);
    runner->set_console(terminal, [&editor] { return editor.history(); });
    fprintf(terminal, "%s\n", runner->startup_summary(taken.count()).c_str());
    fprintf(terminal, "corvane-sim console: help lists the commands, quit or Ctrl-D stops the daemon.\n");
    sim::set_stdout_echo(true);
    int number = 0;
    while (!sim::finished() && !runner->wants_exit()) {
        std::optional<std::string> line = editor.read();
        if (!line)
            break;
        runner->execute(*line, ++number);
    }
    if (!sim::finished() && !runner->wants_exit())
        kill(getpid(), SIGTERM);
    LineEditor::restore_terminal();
    console_left = true;
}

} // namespace

int main(int argc, char **argv)
{
    if (corvaned::answer_info_option(argc, argv, "corvane-sim", usage))
        return 0;
    Options options;
    if (!parse_options(argc, argv, &options)) {
        fputs(usage, stderr);
        return 2;
    }
    std::string error;
    if (!sim::use_bus(options.bus, &error)) {
        fprintf(stderr, "corvane-sim: %s\n", error.c_str());
        return 2;
    }
    std::vector<std::string> devices = options.devices;
    if (!options.script.empty())
        for (const std::string &device : script_devices(options.script))
            devices.push_back(device);
    if (devices.empty())
        devices.push_back(sim::default_device());
    for (const std::string &device : devices) {
        if (!sim::load_device(device, &error)) {
            fprintf(stderr, "corvane-sim: %s\n", error.c_str());
            return 2;
        }
    }
    sim::set_time_divisor(options.realtime ? 1 : 100);
    sim::set_routine_namer(name_of_routine);
    if (!options.trace.empty())
        sim::open_trace(options.trace);
    sim::capture_stdout();
    // A script and the console read what the daemon did; without them the
    // daemon runs for as long as it is left and nothing keeps its writes.
    if (!options.script.empty() || options.console)
        sim::set_recording(true);
    // the console shows the start-up as a summary, its output on request
    if (options.console)
        sim::set_stdout_echo(false);
    sim::start();
    if (options.view)
        start_head_view(kViewPace, kViewInterval, options.bus);

    ScriptRunner runner(options.console ? "console" : options.script);
    std::thread driver;
    if (options.console)
        driver = std::thread(run_console, &runner, std::chrono::steady_clock::now());
    else if (!options.script.empty())
        driver = std::thread(run_script, &runner, options.script);

    int status = corvaned::main();
    // The daemon has returned: later stop signals find nobody to stop, and
    // its exit flag stays as the script reads it.
    for (int stop_signal : {SIGINT, SIGTERM, SIGQUIT})
        signal(stop_signal, SIG_IGN);
    runner.set_daemon_status(status);
    sim::mark_finished();

    if (options.console) {
        // The console may still wait on the terminal or run a command: it
        // is told to stop and given a second, not joined; the terminal is
        // put back either way.
        LineEditor::stop();
        for (int waited = 0; waited < 100 && !console_left; ++waited)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        driver.detach();
        sim::stop();
        fflush(stdout);
        LineEditor::restore_terminal();
        _exit(status);
    }
    if (driver.joinable())
        driver.join();
    sim::stop();
    fflush(stdout);
    return runner.failures() ? 1 : status;
}
