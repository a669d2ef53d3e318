#include "sim/driver/script.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
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

} // namespace

const ScriptRunner::CommandEntry ScriptRunner::commands_[] = {
    {"set", &ScriptRunner::client_set, "set NAME [VALUE]          a client writes a node"},
    {"set-writes", &ScriptRunner::set_writes, "set-writes NAME VALUE NATIVE NATIVE-VALUE   set, then expect-write"},
    {"device-set", &ScriptRunner::device_set, "device-set NAME [VALUE]   the device changes a node, no notification"},
    {"remove", &ScriptRunner::remove, "remove NAME               the node disappears"},
    {"fault", &ScriptRunner::fault, "fault NAME CODE           reads of NAME fail with CODE (0 clears)"},
    {"param", &ScriptRunner::param, "param NAME VALUE          change a platform parameter"},
    {"call", &ScriptRunner::call, "call ROUTINE [ARGS]       call a daemon routine on the bus thread"},
    {"signal", &ScriptRunner::signal, "signal N                  send signal N to the daemon"},
    {"wait-ticks", &ScriptRunner::wait_ticks, "wait-ticks N              wait for N main-loop ticks"},
    {"lockstep", &ScriptRunner::lockstep, "lockstep on|off           main loop waits for wait-ticks between ticks"},
    {"wait-exit", &ScriptRunner::wait_exit, "wait-exit                 wait until the daemon has returned"},
    {"sleep", &ScriptRunner::pause, "sleep MS                  pause the script"},
    {"context", &ScriptRunner::context, "context FIELD VALUE       set a service-context word"},
    {"get", &ScriptRunner::get, "get NAME                  print a node"},
    {"dump", &ScriptRunner::dump, "dump [PREFIX]             print the nodes below PREFIX"},
    {"help", &ScriptRunner::help, "help                      this list"},
    {"quit", &ScriptRunner::quit, "quit                      stop the daemon (SIGTERM) and leave"},
    {"expect", &ScriptRunner::expect, "expect NAME VALUE         the node holds VALUE"},
    {"expect-absent", &ScriptRunner::expect_absent, "expect-absent NAME        the node does not exist"},
    {"expect-write", &ScriptRunner::expect_write, "expect-write NAME VALUE   the last action wrote VALUE to NAME"},
    {"expect-no-write", &ScriptRunner::expect_no_write, "expect-no-write [NAME]    the last action wrote nothing (to NAME)"},
    {"expect-writes", &ScriptRunner::expect_writes, "expect-writes N           the last action made exactly N writes"},
    {"expect-log", &ScriptRunner::expect_log, "expect-log TEXT           the last action's output holds TEXT"},
    {"expect-no-log", &ScriptRunner::expect_no_log, "expect-no-log [TEXT]      ... does not hold TEXT (or is empty)"},
    {"expect-trace", &ScriptRunner::expect_trace, "expect-trace TEXT         a trace line of the last action holds TEXT"},
    {"expect-context", &ScriptRunner::expect_context, "expect-context FIELD VALUE a service-context word"},
    {"expect-result", &ScriptRunner::expect_result, "expect-result N           result of the last call"},
    {"expect-exit", &ScriptRunner::expect_exit, "expect-exit N             the daemon returned N"},
    {"expect-listeners", &ScriptRunner::expect_listeners, "expect-listeners NAME N   registrations on NAME"},
    {"device", &ScriptRunner::device_header, "device FILE               (first lines only) the device to start"},
    {"head", &ScriptRunner::head, "head [reset]              print the simulated head (reset: set it up anew)"},
    {"svg", &ScriptRunner::svg, "svg FILE                  draw the simulated head into an SVG file"},
    {"check-trace", &ScriptRunner::check_trace, "check-trace FILE...       the trace since the last check equals the FILEs"},
    {"clear-trace", &ScriptRunner::clear_trace, "clear-trace               the next check-trace starts here"},
    {"autofocus", &ScriptRunner::autofocus, "autofocus [CAM]           focus every enabled camera (doAFocusAll), or CAM"},
    {"af-clear-after", &ScriptRunner::af_clear_after,
     "af-clear-after CAM READS  clear CAM's af_enable word at its READS-th focus value read"},
    {"expect-focus", &ScriptRunner::expect_focus, "expect-focus CAM LO HI    the focus motor of CAM stands in LO..HI"},
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
        if (word == entry.word) {
            (this->*entry.command)(arguments);
            return true;
        }
    }
    fail("unknown command '" + word + "' (try help)");
    return false;
}

void ScriptRunner::fail(const std::string &what)
{
    ++failures_;
    fprintf(stderr, "corvane-sim: %s:%d: %s\n", source_.c_str(), line_, what.c_str());
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
    if (console_)
        for (auto &[name, value] : last_.writes)
            printf("  => %s = %s\n", name.c_str(), value.c_str());
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

void ScriptRunner::help(Arguments &)
{
    for (const CommandEntry &entry : commands_)
        printf("  %s\n", entry.usage);
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
    std::ofstream out(path);
    if (path.empty() || !(out << head_svg(sim::head_state())))
        fail("svg: cannot write '" + path + "'");
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
