// The script language of corvane-sim, also spoken by the demo console.
#ifndef SIM_DRIVER_SCRIPT_H
#define SIM_DRIVER_SCRIPT_H

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "sim/platform/sim.h"

class ScriptRunner {
public:
    explicit ScriptRunner(std::string source_name) : source_(std::move(source_name)) {}

    // Runs one line; false when it is not understood (reported on stderr).
    bool execute(const std::string &line, int line_number);
    int failures() const { return failures_; }
    bool wants_exit() const { return exit_requested_; }
    void set_daemon_status(int status) { daemon_status_ = status; }

    // Console mode: each action's writes and notes go to `terminal` (which
    // is not recorded); `history` lists what `lines` returns.
    void set_console(FILE *terminal, std::function<std::vector<std::string>()> lines);
    // Command words, for completion; `interactive`: only those "help" lists.
    static std::vector<std::string> command_words(bool interactive);
    // What the start-up did, in one line.
    std::string startup_summary(double milliseconds) const;

private:
    struct Arguments;
    using Command = void (ScriptRunner::*)(Arguments &);
    static constexpr int kRest = -1;
    struct CommandEntry {
        const char *word;
        Command command;
        int min_words;
        int max_words;
        bool interactive;
        const char *synopsis;
        const char *description;
    };
    static const CommandEntry commands_[];

    void begin_action();
    void end_action();
    void print_writes(const sim::Record &record);
    void fail(const std::string &what);

    void client_set(Arguments &);
    void set_writes(Arguments &);
    void client_write(const std::string &name, const std::string &value);
    void device_set(Arguments &);
    void remove(Arguments &);
    void fault(Arguments &);
    void param(Arguments &);
    void call(Arguments &);
    void signal(Arguments &);
    void wait_ticks(Arguments &);
    void wait_exit(Arguments &);
    void pause(Arguments &);
    void context(Arguments &);
    void get(Arguments &);
    void dump(Arguments &);
    void help(Arguments &);
    void quit(Arguments &);
    void expect(Arguments &);
    void expect_absent(Arguments &);
    void expect_write(Arguments &);
    void expect_no_write(Arguments &);
    void expect_writes(Arguments &);
    void expect_log(Arguments &);
    void expect_no_log(Arguments &);
    void expect_trace(Arguments &);
    void expect_context(Arguments &);
    void expect_result(Arguments &);
    void expect_exit(Arguments &);
    void expect_listeners(Arguments &);
    void device_header(Arguments &);
    void head(Arguments &);
    void svg(Arguments &);
    void check_trace(Arguments &);
    void clear_trace(Arguments &);
    void lockstep(Arguments &);
    void watch(Arguments &);
    void startup(Arguments &);
    void history(Arguments &);
    void note(const std::string &text);
    void autofocus(Arguments &);
    void af_clear_after(Arguments &);
    void expect_focus(Arguments &);
    void run_action(const std::function<void()> &work);

public:
    // The start-up's record, for expectations before the first action.
    void take_startup_record()
    {
        last_ = sim::take_record();
        startup_ = last_;
    }

private:

    std::string source_;
    int line_ = 0;
    int failures_ = 0;
    bool console_ = false;
    bool quiet_ = false;  // a watched command: the console prints its record afterwards
    FILE *terminal_ = nullptr;
    std::function<std::vector<std::string>()> history_lines_;
    sim::Record startup_;
    bool exit_requested_ = false;
    int daemon_status_ = -1;
    long last_result_ = 0;
    sim::Record last_;
    std::vector<std::string> trace_since_check_;  // trace of the actions since the last check-trace
};

// Device files named by "device FILE" lines of a script, resolved against
// the script's directory.
std::vector<std::string> script_devices(const std::string &script_path);

#endif
