#include "sim/driver/script.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <thread>
#include <unistd.h>

#include "frame/context.h"
#include "lens/autofocus.h"
#include "lens/lens_state.h"
#include "sim/driver/head.h"
#include "sim/driver/routines.h"
#include "sim/platform/head.h"
#include "sim/platform/text_escape.h"

struct ScriptRunner::Arguments {
    std::string line;
    size_t position = 0;

    void skip_blanks()
    {
        while (position < line.size() && (line[position] == ' ' || line[position] == '\t'))
            ++position;
    }
    bool empty()
    {
        skip_blanks();
        return position >= line.size();
    }
    // One word, or a double-quoted text with escapes.
    std::string word()
    {
        skip_blanks();
        size_t start = position;
        if (position < line.size() && line[position] == '"') {
            ++position;
            while (position < line.size() && line[position] != '"')
                position += line[position] == '\\' ? 2 : 1;
            position = position < line.size() ? position + 1 : line.size();
            return sim::unquote(line.substr(start, position - start));
        }
        while (position < line.size() && line[position] != ' ' && line[position] != '\t')
            ++position;
        return line.substr(start, position - start);
    }
    // The rest of the line as it stands, or a double-quoted text.
    std::string rest()
    {
        skip_blanks();
        std::string text = position < line.size() ? line.substr(position) : std::string();
        position = line.size();
        return sim::unquote(text);
    }
    long number() { return strtol(word().c_str(), nullptr, 0); }
    // Words left on the line, a quoted text counting as one.
    int count_words() const
    {
        Arguments copy{line, position};
        int count = 0;
        while (!copy.empty()) {
            copy.word();
            ++count;
        }
        return count;
    }
};

namespace {

struct ContextField {
    const char *name;
    int32_t *word;
};

// Context words a script may read or set, e.g. "tick" or "pan.2".
int32_t *context_word(const std::string &name)
{
    static const ContextField fields[] = {
        {"cam_count", &service.cam_count},   {"mcu_tick", &lens.mcu_tick},
        {"lens_index", &lens.lens_index},    {"lens_step2", &lens.lens_step2},
        {"mcu_version", &lens.mcu_version},  {"tick", &service.tick},
        {"pending_preset", reinterpret_cast<int32_t *>(&lens.pending_preset)},
    };
    for (const ContextField &field : fields)
        if (name == field.name)
            return field.word;
    static const char *const axes[] = {"focus", "pan", "tilt", "zoom"};
    for (int axis = 0; axis < 4; ++axis) {
        std::string prefix = std::string(axes[axis]) + ".";
        if (name.rfind(prefix, 0) == 0) {
            int camera = atoi(name.c_str() + prefix.size());
            if (camera >= 1 && camera <= kMaxCameras)
                return &lens_position(static_cast<LensAxis>(axis), camera - 1);
        }
    }
    if (name.rfind("af_enable.", 0) == 0) {
        int camera = atoi(name.c_str() + 10);
        if (camera >= 1 && camera <= 4)
            return &lens.af_enable[camera - 1];
    }
    return nullptr;
}

std::string context_text(const std::string &name, bool *known)
{
    *known = true;
    if (name == "ready")
        return std::to_string(service.ready.load());
    if (name == "exit_flag")
        return std::to_string(static_cast<int>(service.exit_flag));
    if (name == "model_id")
        return service.model_id;
    if (name == "home_routine")
        return lens.home_routine ? name_of_routine(reinterpret_cast<const void *>(lens.home_routine)) : "none";
    if (int32_t *word = context_word(name))
        return std::to_string(*word);
    *known = false;
    return "";
}

bool is_layout(const std::string &routine)
{
    return routine == "ptzto360" || routine == "ptzto270" || routine == "ptzto180";
}

constexpr long kWatchPace = 2000;  // microseconds a motor poll takes while watched
constexpr useconds_t kWatchRedraw = 100000;

} // namespace

// Words each command takes: at least `min_words`, at most `max_words`
// (kRest: the rest of the line). Interactive commands are listed by "help",
// the scripting ones by "help script".
const ScriptRunner::CommandEntry ScriptRunner::commands_[] = {
    {"set", &ScriptRunner::client_set, 1, kRest, true, "set NAME [VALUE]", "a client writes a node"},
    {"get", &ScriptRunner::get, 1, 1, true, "get NAME", "print a node"},
    {"dump", &ScriptRunner::dump, 0, 1, true, "dump [PREFIX]", "print the nodes below PREFIX"},
    {"call", &ScriptRunner::call, 1, kRest, true, "call ROUTINE [ARGS]", "call a daemon routine on the bus thread"},
    {"head", &ScriptRunner::head, 0, 1, true, "head [reset]", "print the simulated head (reset: set it up anew)"},
    {"svg", &ScriptRunner::svg, 0, kRest, true, "svg [FILE]", "draw the simulated head into an SVG file"},
    {"watch", &ScriptRunner::watch, 1, kRest, true, "watch COMMAND...", "run a command, redrawing the head while it runs"},
    {"startup", &ScriptRunner::startup, 0, 0, true, "startup", "the start-up's output and writes in full"},
    {"autofocus", &ScriptRunner::autofocus, 0, 1, true, "autofocus [CAM]", "focus every enabled camera (doAFocusAll), or CAM"},
    {"history", &ScriptRunner::history, 0, 0, true, "history", "the lines entered so far"},
    {"device-set", &ScriptRunner::device_set, 1, kRest, true, "device-set NAME [VALUE]", "the device changes a node, no notification"},
    {"remove", &ScriptRunner::remove, 1, 1, true, "remove NAME", "the node disappears"},
    {"fault", &ScriptRunner::fault, 2, 2, true, "fault NAME CODE", "reads of NAME fail with CODE (0 clears)"},
    {"param", &ScriptRunner::param, 1, kRest, true, "param NAME [VALUE]", "change a platform parameter"},
    {"context", &ScriptRunner::context, 2, 2, true, "context FIELD VALUE", "set a service-context word"},
    {"signal", &ScriptRunner::signal, 1, 1, true, "signal N", "send signal N to the daemon"},
    {"help", &ScriptRunner::help, 0, 1, true, "help [script]", "this list (script: the scripting commands)"},
    {"quit", &ScriptRunner::quit, 0, 0, true, "quit", "stop the daemon (SIGTERM) and leave"},
    {"set-writes", &ScriptRunner::set_writes, 3, kRest, false, "set-writes NAME VALUE NATIVE NATIVE-VALUE", "set, then expect-write"},
    {"wait-ticks", &ScriptRunner::wait_ticks, 1, 1, false, "wait-ticks N", "wait for N main-loop ticks"},
    {"lockstep", &ScriptRunner::lockstep, 1, 1, false, "lockstep on|off", "main loop waits for wait-ticks between ticks"},
    {"wait-exit", &ScriptRunner::wait_exit, 0, 0, false, "wait-exit", "wait until the daemon has returned"},
    {"sleep", &ScriptRunner::pause, 1, 1, false, "sleep MS", "pause the script"},
    {"expect", &ScriptRunner::expect, 1, kRest, false, "expect NAME VALUE", "the node holds VALUE"},
    {"expect-absent", &ScriptRunner::expect_absent, 1, 1, false, "expect-absent NAME", "the node does not exist"},
    {"expect-write", &ScriptRunner::expect_write, 1, kRest, false, "expect-write NAME VALUE", "the last action wrote VALUE to NAME"},
    {"expect-no-write", &ScriptRunner::expect_no_write, 0, 1, false, "expect-no-write [NAME]", "the last action wrote nothing (to NAME)"},
    {"expect-writes", &ScriptRunner::expect_writes, 1, 1, false, "expect-writes N", "the last action made exactly N writes"},
    {"expect-log", &ScriptRunner::expect_log, 0, kRest, false, "expect-log TEXT", "the last action's output holds TEXT"},
    {"expect-no-log", &ScriptRunner::expect_no_log, 0, kRest, false, "expect-no-log [TEXT]", "... does not hold TEXT (or is empty)"},
    {"expect-trace", &ScriptRunner::expect_trace, 0, kRest, false, "expect-trace TEXT", "a trace line of the last action holds TEXT"},
    {"expect-context", &ScriptRunner::expect_context, 1, kRest, false, "expect-context FIELD VALUE", "a service-context word"},
    {"expect-result", &ScriptRunner::expect_result, 1, 1, false, "expect-result N", "result of the last call"},
    {"expect-exit", &ScriptRunner::expect_exit, 1, 1, false, "expect-exit N", "the daemon returned N"},
    {"expect-listeners", &ScriptRunner::expect_listeners, 2, 2, false, "expect-listeners NAME N", "registrations on NAME"},
    {"af-clear-after", &ScriptRunner::af_clear_after, 2, 2, false, "af-clear-after CAM READS", "clear CAM's af_enable word at its READS-th focus value read"},
    {"expect-focus", &ScriptRunner::expect_focus, 3, 3, false, "expect-focus CAM LO HI", "the focus motor of CAM stands in LO..HI"},
    {"device", &ScriptRunner::device_header, 1, kRest, false, "device FILE", "(first lines only) the device to start"},
    {"check-trace", &ScriptRunner::check_trace, 1, kRest, false, "check-trace FILE...", "the trace since the last check equals the FILEs"},
    {"clear-trace", &ScriptRunner::clear_trace, 0, 0, false, "clear-trace", "the next check-trace starts here"},
};

bool ScriptRunner::execute(const std::string &raw_line, int line_number)
{
    line_ = line_number;
    std::string line = raw_line;
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    Arguments arguments{line};
    if (arguments.empty() || line[arguments.position] == '#')
        return true;
    std::string word = arguments.word();
    for (const CommandEntry &entry : commands_) {
        if (word != entry.word)
            continue;
        // kept: a script may carry more after the words a command reads
        int words = arguments.count_words();
        bool too_many = console_ && entry.max_words != kRest && words > entry.max_words;
        if (words < entry.min_words || too_many) {
            fail(std::string("usage: ") + entry.synopsis);
            return false;
        }
        (this->*entry.command)(arguments);
        return true;
    }
    fail("unknown command '" + word + "' (try help)");
    return false;
}

void ScriptRunner::fail(const std::string &what)
{
    ++failures_;
    if (console_)
        fprintf(stderr, "%s\n", what.c_str());
    else
        fprintf(stderr, "corvane-sim: %s:%d: %s\n", source_.c_str(), line_, what.c_str());
}

// A console note: on the terminal, never in the record.
void ScriptRunner::note(const std::string &text)
{
    if (console_ && terminal_)
        fprintf(terminal_, "%s\n", text.c_str());
}

void ScriptRunner::set_console(FILE *terminal, std::function<std::vector<std::string>()> lines)
{
    console_ = true;
    terminal_ = terminal;
    history_lines_ = std::move(lines);
}

std::vector<std::string> ScriptRunner::command_words(bool interactive)
{
    std::vector<std::string> words;
    for (const CommandEntry &entry : commands_)
        if (entry.interactive || !interactive)
            words.push_back(entry.word);
    return words;
}

std::string ScriptRunner::startup_summary(double milliseconds) const
{
    std::set<std::string> legacy;
    for (auto &[name, value] : startup_.writes)
        if (name.rfind("corvane.", 0) == 0)
            legacy.insert(name);
    long lines = std::count(startup_.log.begin(), startup_.log.end(), '\n');
    char text[256];
    snprintf(text, sizeof text,
             "start-up: %ld registrations, %zu legacy nodes mirrored (%zu writes), %ld log lines, %.0f ms "
             "(\"startup\" shows it all)",
             sim::listen_calls(), legacy.size(), startup_.writes.size(), lines, milliseconds);
    return text;
}

// An action's record holds everything since the previous action ended, so
// what the daemon does on its own in between (a shutdown) is not lost.
void ScriptRunner::begin_action() {}

void ScriptRunner::end_action()
{
    sim::wait_idle();
    fflush(stdout);
    last_ = sim::take_record();
    trace_since_check_.insert(trace_since_check_.end(), last_.trace.begin(), last_.trace.end());
    if (!quiet_)
        print_writes(last_);
}

void ScriptRunner::print_writes(const sim::Record &record)
{
    for (auto &[name, value] : record.writes)
        note("  => " + sim::escape(name) + " = " + sim::escape(value));
}

void ScriptRunner::client_set(Arguments &arguments)
{
    std::string name = arguments.word();
    client_write(name, arguments.rest());
}

void ScriptRunner::client_write(const std::string &name, const std::string &value)
{
    begin_action();
    sim::client_write(name, value);
    end_action();
    if (sim::listener_count(name) == 0)
        note("stored; no handler listens on " + sim::escape(name));
}

// One line of a mapping table: "set NAME VALUE" and "expect-write NATIVE
// NATIVE-VALUE" (VALUE a word or a quoted text).
void ScriptRunner::set_writes(Arguments &arguments)
{
    std::string name = arguments.word();
    client_write(name, arguments.word());
    expect_write(arguments);
}

void ScriptRunner::device_set(Arguments &arguments)
{
    std::string name = arguments.word();
    sim::device_write(name, arguments.rest());
}

void ScriptRunner::remove(Arguments &arguments)
{
    sim::remove_node(arguments.word());
}

void ScriptRunner::fault(Arguments &arguments)
{
    std::string name = arguments.word();
    sim::set_read_fault(name, static_cast<int>(arguments.number()));
}

void ScriptRunner::param(Arguments &arguments)
{
    std::string name = arguments.word();
    sim::set_param(name, arguments.rest());
}

void ScriptRunner::call(Arguments &arguments)
{
    std::string name = arguments.word();
    const Routine *routine = find_routine(name);
    if (!routine) {
        fail("no routine named " + name);
        return;
    }
    if (console_ && is_layout(name) && !(sim::head_state().home_flag & 1))
        note("note: the layouts start from the home position; B is not on its home stop, so run "
             "\"call ptztohome\" first (or \"call cb_corvane_ptz_home corvane.ptzstatus ptz-360\", which homes)");
    std::function<void()> work;
    switch (routine->kind) {
    case RoutineKind::handler: {
        std::string node = arguments.word();
        std::string value = arguments.rest();
        work = [routine, node, value] { routine->handler(node.c_str(), value.c_str()); };
        break;
    }
    case RoutineKind::converter: {
        std::string legacy = arguments.word();
        std::string native = arguments.word();
        work = [routine, legacy, native] { routine->converter(legacy.c_str(), native.c_str()); };
        break;
    }
    case RoutineKind::plain:
        work = [routine] { routine->plain(); };
        break;
    case RoutineKind::two_numbers: {
        int first = static_cast<int>(arguments.number());
        int second = static_cast<int>(arguments.number());
        work = [routine, first, second] { routine->two_numbers(first, second); };
        break;
    }
    case RoutineKind::one_number: {
        int first = static_cast<int>(arguments.number());
        work = [routine, first] { routine->one_number(first); };
        break;
    }
    case RoutineKind::max_fps: {
        int channel = static_cast<int>(arguments.number());
        int stream = static_cast<int>(arguments.number());
        work = [this, routine, channel, stream] {
            int max_fps = 0;
            int result = routine->max_fps(&max_fps, channel, stream);
            last_result_ = result ? max_fps : 0;
        };
        break;
    }
    case RoutineKind::text_query: {
        std::string text = arguments.rest();
        work = [this, routine, text] { last_result_ = routine->text_query(text.c_str()); };
        break;
    }
    case RoutineKind::sync:
        work = [routine] {
            char name_buffer[128];
            char value_buffer[128];
            routine->sync(name_buffer, value_buffer, 128);
        };
        break;
    }
    run_action(work);
}

void ScriptRunner::run_action(const std::function<void()> &work)
{
    begin_action();
    sim::run_on_bus(work);
    end_action();
}

void ScriptRunner::signal(Arguments &arguments)
{
    int number = static_cast<int>(arguments.number());
    // Its effects come later, on the daemon's own time: they belong to the
    // record of the next action (wait-exit), so the signal closes none.
    kill(getpid(), number);
    sim::set_lockstep(false);
}

void ScriptRunner::lockstep(Arguments &arguments)
{
    sim::set_lockstep(arguments.word() == "on");
}

void ScriptRunner::wait_ticks(Arguments &arguments)
{
    sim::wait_main_loop_sleeps(arguments.number());
}

void ScriptRunner::wait_exit(Arguments &)
{
    begin_action();
    while (!sim::finished())
        usleep(1000);
    end_action();
}

void ScriptRunner::pause(Arguments &arguments)
{
    long milliseconds = arguments.number();
    timespec duration = {milliseconds / 1000, (milliseconds % 1000) * 1000000};
    nanosleep(&duration, nullptr);
}

void ScriptRunner::context(Arguments &arguments)
{
    std::string name = arguments.word();
    long value = arguments.number();
    if (name == "ready") {
        service.ready = static_cast<int32_t>(value);
        return;
    }
    int32_t *word = context_word(name);
    if (!word) {
        fail("no context word " + name);
        return;
    }
    *word = static_cast<int32_t>(value);
}

void ScriptRunner::get(Arguments &arguments)
{
    std::string name = arguments.word();
    std::optional<std::string> value = sim::node(name);
    printf("%s = %s\n", name.c_str(), value ? sim::escape(*value).c_str() : "(absent)");
}

void ScriptRunner::dump(Arguments &arguments)
{
    for (auto &[name, value] : sim::nodes_with_prefix(arguments.word()))
        printf("%s = %s\n", name.c_str(), sim::escape(value).c_str());
}

void ScriptRunner::help(Arguments &arguments)
{
    std::string topic = arguments.word();
    if (!topic.empty() && topic != "script") {
        fail("usage: help [script]");
        return;
    }
    bool interactive = topic.empty();
    for (const CommandEntry &entry : commands_)
        if (entry.interactive == interactive)
            printf("  %-27s %s\n", entry.synopsis, entry.description);
    if (interactive)
        printf("  (help script: the scripting commands; Tab completes commands and node names)\n");
}

void ScriptRunner::quit(Arguments &)
{
    exit_requested_ = true;
    kill(getpid(), SIGTERM);
    sim::set_lockstep(false);
}

void ScriptRunner::expect(Arguments &arguments)
{
    std::string name = arguments.word();
    std::string wanted = arguments.rest();
    std::optional<std::string> value = sim::node(name);
    if (!value)
        fail("expect " + name + " = '" + wanted + "': node absent");
    else if (*value != wanted)
        fail("expect " + name + " = '" + sim::escape(wanted) + "': holds '" + sim::escape(*value) + "'");
}

void ScriptRunner::expect_absent(Arguments &arguments)
{
    std::string name = arguments.word();
    if (std::optional<std::string> value = sim::node(name))
        fail("expect " + name + " absent: holds '" + sim::escape(*value) + "'");
}

void ScriptRunner::expect_write(Arguments &arguments)
{
    std::string name = arguments.word();
    std::string wanted = arguments.rest();
    std::string written;
    for (auto &[node, value] : last_.writes) {
        if (node == name && value == wanted)
            return;
        if (node == name)
            written += " '" + sim::escape(value) + "'";
    }
    fail("expect write " + name + " = '" + sim::escape(wanted) + "': " +
         (written.empty() ? std::string("not written") : "written" + written));
}

void ScriptRunner::expect_no_write(Arguments &arguments)
{
    std::string name = arguments.empty() ? std::string() : arguments.word();
    for (auto &[node, value] : last_.writes)
        if (name.empty() || node == name)
            fail("expect no write" + (name.empty() ? std::string() : " of " + name) + ": wrote " +
                 sim::escape(node) + " = '" + sim::escape(value) + "'");
}

void ScriptRunner::expect_writes(Arguments &arguments)
{
    long wanted = arguments.number();
    if (static_cast<long>(last_.writes.size()) != wanted)
        fail("expect " + std::to_string(wanted) + " writes: made " + std::to_string(last_.writes.size()));
}

void ScriptRunner::expect_log(Arguments &arguments)
{
    std::string text = arguments.rest();
    if (last_.log.find(text) == std::string::npos)
        fail("expect log '" + sim::escape(text) + "': not in the output");
}

void ScriptRunner::expect_no_log(Arguments &arguments)
{
    std::string text = arguments.rest();
    if (text.empty() ? !last_.log.empty() : last_.log.find(text) != std::string::npos)
        fail("expect no log '" + sim::escape(text) + "': output was '" + sim::escape(last_.log) + "'");
}

void ScriptRunner::expect_trace(Arguments &arguments)
{
    std::string text = arguments.rest();
    for (const std::string &line : last_.trace)
        if (line.find(text) != std::string::npos)
            return;
    fail("expect trace '" + text + "': no such line");
}

void ScriptRunner::expect_context(Arguments &arguments)
{
    std::string name = arguments.word();
    std::string wanted = arguments.rest();
    bool known = false;
    std::string value = context_text(name, &known);
    if (!known)
        fail("no context word " + name);
    else if (value != wanted)
        fail("expect context " + name + " = " + wanted + ": holds " + value);
}

void ScriptRunner::expect_result(Arguments &arguments)
{
    long wanted = arguments.number();
    if (last_result_ != wanted)
        fail("expect result " + std::to_string(wanted) + ": got " + std::to_string(last_result_));
}

void ScriptRunner::expect_exit(Arguments &arguments)
{
    long wanted = arguments.number();
    if (!sim::finished())
        fail("expect exit: the daemon is still running");
    else if (daemon_status_ != wanted)
        fail("expect exit " + std::to_string(wanted) + ": returned " + std::to_string(daemon_status_));
}

void ScriptRunner::expect_listeners(Arguments &arguments)
{
    std::string name = arguments.word();
    long wanted = arguments.number();
    int count = sim::listener_count(name);
    if (count != wanted)
        fail("expect " + std::to_string(wanted) + " listeners on " + name + ": " + std::to_string(count));
}

void ScriptRunner::head(Arguments &arguments)
{
    std::string word = arguments.word();
    if (word == "reset") {
        sim::reset_head();
        return;
    }
    if (!word.empty()) {
        fail("head: unknown word '" + word + "'");
        return;
    }
    // an action of its own, so that expect-log can read the view
    begin_action();
    fputs(head_text(sim::head_state()).c_str(), stdout);
    end_action();
}

void ScriptRunner::svg(Arguments &arguments)
{
    std::string path = arguments.rest();
    if (path.empty())
        path = "corvane-head.svg";
    std::ofstream out(path);
    if (!(out << head_svg(sim::head_state()))) {
        fail("svg: cannot write '" + path + "'");
        return;
    }
    char *absolute = realpath(path.c_str(), nullptr);
    note("wrote " + std::string(absolute ? absolute : path.c_str()) + " (open it in a browser)");
    free(absolute);
}

// The command runs on a thread of its own while the head is redrawn in
// place; the motors are slowed to a pace that can be watched, and the
// daemon's output is shown once the command has finished.
void ScriptRunner::watch(Arguments &arguments)
{
    arguments.skip_blanks();
    std::string command = arguments.line.substr(arguments.position);
    if (!console_ || !terminal_) {
        execute(command, line_);
        return;
    }
    int line = line_;
    long pace = sim::head_pace();
    sim::set_head_pace(kWatchPace);
    sim::set_stdout_echo(false);
    quiet_ = true;
    std::atomic<bool> done{false};
    std::thread worker([this, &command, line, &done] {
        execute(command, line);
        done = true;
    });
    int drawn = 0;
    for (bool last = false; !last;) {
        last = done;
        std::string view = head_text(sim::head_state());
        if (drawn > 0)
            fprintf(terminal_, "\x1b[%dA", drawn);
        drawn = 0;
        for (size_t start = 0; start < view.size(); ++drawn) {
            size_t end = view.find('\n', start);
            fprintf(terminal_, "\x1b[2K%s\n", view.substr(start, end - start).c_str());
            start = end == std::string::npos ? view.size() : end + 1;
        }
        fflush(terminal_);
        if (!last)
            usleep(kWatchRedraw);
    }
    worker.join();
    quiet_ = false;
    sim::set_head_pace(pace);
    sim::set_stdout_echo(true);
    fputs(last_.log.c_str(), terminal_);
    print_writes(last_);
}

void ScriptRunner::startup(Arguments &)
{
    FILE *out = console_ && terminal_ ? terminal_ : stdout;
    fputs(startup_.log.c_str(), out);
    for (auto &[name, value] : startup_.writes)
        fprintf(out, "  => %s = %s\n", sim::escape(name).c_str(), sim::escape(value).c_str());
}

void ScriptRunner::history(Arguments &)
{
    if (!history_lines_)
        return;
    std::vector<std::string> lines = history_lines_();
    for (size_t i = 0; i < lines.size(); ++i)
        note(std::to_string(i + 1) + "  " + lines[i]);
}

// The files are read one after the other as one expected trace; a run of
// one poll is one line with its count (" x12"), as in the trace file.
void ScriptRunner::check_trace(Arguments &arguments)
{
    std::vector<std::string> actual = std::move(trace_since_check_);
    trace_since_check_.clear();
    std::vector<std::string> expected;
    std::string files;
    if (arguments.empty())
        fail("check-trace: no file named");
    while (!arguments.empty()) {
        std::string path = arguments.word();
        files += (files.empty() ? "" : " ") + path;
        std::ifstream in(path);
        if (!in) {
            fail("check-trace: cannot read '" + path + "'");
            return;
        }
        std::string line;
        while (std::getline(in, line)) {
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            if (!line.empty() && line[0] != '#')
                expected.push_back(line);
        }
    }
    size_t count = std::min(expected.size(), actual.size());
    for (size_t i = 0; i < count; ++i) {
        if (expected[i] != actual[i]) {
            fail("check-trace " + files + ": line " + std::to_string(i + 1) + ": expected '" + expected[i] +
                 "', traced '" + actual[i] + "'");
            return;
        }
    }
    if (expected.size() != actual.size())
        fail("check-trace " + files + ": expected " + std::to_string(expected.size()) + " lines, traced " +
             std::to_string(actual.size()) +
             (actual.size() > count ? ", first extra: '" + actual[count] + "'"
                                    : ", first missing: '" + expected[count] + "'"));
}

void ScriptRunner::clear_trace(Arguments &)
{
    trace_since_check_.clear();
}

void ScriptRunner::autofocus(Arguments &arguments)
{
    if (arguments.empty()) {
        run_action(doAFocusAll);
        return;
    }
    int camera = static_cast<int>(arguments.number());
    run_action([camera] { findFocusMaximum(camera); });
}

// A client clearing the word while a search runs: the hook runs on the bus
// thread inside the focus value read, so the moment is exactly repeatable.
void ScriptRunner::af_clear_after(Arguments &arguments)
{
    long camera = arguments.number();
    long reads = arguments.number();
    if (camera < 1 || camera > kMaxCameras) {
        fail("af-clear-after: no camera " + std::to_string(camera));
        return;
    }
    const int channel = static_cast<int>(camera - 1);
    const long base = sim::focus_reads(channel);
    sim::set_focus_read_hook([channel, reads, base](int read_channel, long count) {
        if (read_channel == channel && count - base == reads)
            lens.af_enable[channel] = 0;
    });
}

void ScriptRunner::expect_focus(Arguments &arguments)
{
    long camera = arguments.number();
    long low = arguments.number();
    long high = arguments.number();
    if (camera < 1 || camera > sim::kHeadMotors) {
        fail("expect-focus: no camera " + std::to_string(camera));
        return;
    }
    long position = sim::head_state().motors[sim::kHeadFocus][camera - 1].position;
    if (position < low || position > high)
        fail("expect focus of cam" + std::to_string(camera) + " in " + std::to_string(low) + ".." +
             std::to_string(high) + ": stands at " + std::to_string(position));
}

// Handled before the daemon starts (script_devices).
void ScriptRunner::device_header(Arguments &) {}

std::vector<std::string> script_devices(const std::string &script_path)
{
    std::vector<std::string> devices;
    std::ifstream in(script_path);
    std::string directory = script_path.find('/') == std::string::npos
                                ? std::string(".")
                                : script_path.substr(0, script_path.rfind('/'));
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind("device ", 0) != 0)
            continue;
        std::string file = line.substr(7);
        while (!file.empty() && (file.back() == '\r' || file.back() == ' '))
            file.pop_back();
        devices.push_back(file.size() && file[0] == '/' ? file : directory + "/" + file);
    }
    return devices;
}
