// corvane-bus: reads, writes and follows the nodes of the configuration bus
// on Redis from the command line.
#include <csignal>
#include <cstdio>
#include <cstring>
#include <getopt.h>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "frame/info_option.h"
#include "redisbus/client.h"
#include "sim/console/line_editor.h"
#include "tools/bus_acl.h"
#include "tools/bus_console.h"
#include "sim/platform/device_file.h"
#include "sim/platform/text_escape.h"

namespace {

using corvane::bus::Client;
using corvane::bus::Status;

constexpr int kOk = 0;
constexpr int kAbsent = 1;
constexpr int kUnheard = 1;  // --strict: no service would hear the write; status: none runs
constexpr int kUsage = 2;
constexpr int kUnreachable = 3;
constexpr int kRefused = 4;

const char help_text[] =
    "NAME\n"
    "    corvane-bus - read, write and follow the nodes of the configuration bus\n"
    "\n"
    "SYNOPSIS\n"
    "    corvane-bus [--bus ADDRESS] get NAME\n"
    "    corvane-bus [--bus ADDRESS] [--strict] set NAME VALUE\n"
    "    corvane-bus [--bus ADDRESS] [--strict] set NAME -\n"
    "    corvane-bus [--bus ADDRESS] dump [PREFIX]\n"
    "    corvane-bus [--bus ADDRESS] listen [PREFIX]\n"
    "    corvane-bus [--bus ADDRESS] load [--notify] DEVICE_FILE\n"
    "    corvane-bus [--bus ADDRESS] range NAME\n"
    "    corvane-bus [--bus ADDRESS] console\n"
    "    corvane-bus [--bus ADDRESS] status\n"
    "    corvane-bus acl PASSWORD_DIR\n"
    "    corvane-bus --help | --version\n"
    "\n"
    "DESCRIPTION\n"
    "    The camera keeps its settings as named text nodes on a configuration\n"
    "    bus. On a PC the bus is a Redis server that corvaned and any number of\n"
    "    other processes share; corvane-bus is one of those processes.\n"
    "\n"
    "    get NAME        Prints the value of NAME, exactly as stored, and a line feed.\n"
    "    set NAME VALUE  A client write: stores VALUE and notifies every listener of\n"
    "                    NAME (the daemon's handler of a corvane.* node), even when\n"
    "                    the value does not change. With VALUE \"-\" the value is\n"
    "                    standard input, byte for byte (any length, any bytes).\n"
    "                    Returns once the server has the write; the daemon handles\n"
    "                    it on its own time, in bus order. A write of a node the bus\n"
    "                    does not hold (a typo?), or with no service running, is made\n"
    "                    with a warning on standard error (--strict: not made, exit 1).\n"
    "    dump [PREFIX]   Prints \"NAME = VALUE\" for every node whose name begins with\n"
    "                    PREFIX (all nodes without one), sorted by name.\n"
    "    listen [PREFIX] Prints \"NAME = VALUE (WRITER)\" for every write of a node\n"
    "                    under PREFIX from now on, as it happens, until interrupted.\n"
    "                    WRITER is the writing process, e.g. \"corvaned[812]\".\n"
    "    load DEVICE_FILE\n"
    "                    Stores the NAME=VALUE lines of a device file (following\n"
    "                    @include lines) without notifying anyone, as the device's own\n"
    "                    state, and the @range.NAME=TEXT lines as the nodes' ranges.\n"
    "                    Other @ lines are the simulated camera's and are skipped.\n"
    "                    With --notify the nodes are written as client writes, in\n"
    "                    file order.\n"
    "    range NAME      Prints the permitted-range text of NAME.\n"
    "    console         Reads set, get, dump and range commands from standard input\n"
    "                    and prints every write of another process as it happens\n"
    "                    (\"=> NAME = VALUE (WRITER)\"): the daemon's answers.\n"
    "    status          Says whether the bus answers and which service follows it:\n"
    "                    \"corvaned running\", \"corvaned not running (last seen 42 s\n"
    "                    ago)\" or \"no service has followed this bus\"; exit 1 when\n"
    "                    none runs.\n"
    "    acl PASSWORD_DIR\n"
    "                    Prints the ACL file for redis-server --aclfile: nobody can\n"
    "                    log in as the default user; admin (everything: loads devices), corvaned (the\n"
    "                    daemon), legacy (a client of the legacy interface: writes\n"
    "                    corvane.* nodes through the write function) and viewer (reads\n"
    "                    and follows). Each password is the first line of\n"
    "                    PASSWORD_DIR/USER, created at random (mode 0600) where missing;\n"
    "                    the file holds only their SHA-256.\n"
    "\n"
    "    dump and listen print names and values with \\\\, \\n, \\t, \\r and other\n"
    "    control or non-ASCII bytes as \\xNN, so that each node is one line.\n"
    "\n"
    "OPTIONS\n"
    "    --bus ADDRESS   The bus to use instead of the one in CORVANE_BUS.\n"
    "    --strict        set: a write no service would hear is an error, not made.\n"
    "    -h, --help      This text.\n"
    "    --version       The version.\n"
    "\n"
    "ENVIRONMENT\n"
    "    CORVANE_BUS     redis:/path/to/socket (a unix socket) or redis://HOST:PORT.\n"
    "                    \"sim\" (the default) is the simulated bus inside corvane-sim,\n"
    "                    which no other process can reach.\n"
    "    CORVANE_BUS_USER\n"
    "                    The user to log in as (admin, corvaned, legacy, viewer).\n"
    "    CORVANE_BUS_PASSWORD, CORVANE_BUS_PASSWORD_FILE\n"
    "                    The user's password, or a file whose first line it is.\n"
    "                    Required for TCP to any host but this one (127.0.0.0/8,\n"
    "                    ::1, localhost). Never given in the address.\n"
    "\n"
    "EXIT STATUS\n"
    "    0  success\n"
    "    1  the node (or its range) does not exist; --strict: a write no service\n"
    "       would hear; status: no service runs\n"
    "    2  usage error: a malformed command line or bus address, or a device file\n"
    "       that cannot be read\n"
    "    3  the bus cannot be reached (the message names the address and why)\n"
    "    4  the bus refused: the user (CORVANE_BUS_USER) may not do this\n"
    "\n"
    "EXAMPLES\n"
    "    export CORVANE_BUS=redis:$PWD/build/demo-bus/redis.sock\n"
    "    corvane-bus set corvane.cam2.brightness 10\n"
    "    corvane-bus get image.cam2.brightness\n"
    "    corvane-bus listen corvane.cam2.\n"
    "    head -c 1048576 /dev/urandom | corvane-bus set test.blob -\n";

Client *watching = nullptr;

void stop_watching(int)
{
    if (watching)
        watching->stop();
}

int usage(const char *problem)
{
    fprintf(stderr, "corvane-bus: %s\nusage: corvane-bus [--bus ADDRESS] get|set|dump|listen|load|range ... "
                    "(corvane-bus --help)\n",
            problem);
    return kUsage;
}

int unreachable(const Client &client)
{
    fprintf(stderr, "corvane-bus: %s\n", client.error().c_str());
    return kUnreachable;
}

int finish(const Client &client, Status status)
{
    if (status == Status::refused) {
        fprintf(stderr, "corvane-bus: the bus refused: %s\n", client.error().c_str());
        return kRefused;
    }
    return status == Status::unreachable ? unreachable(client) : kOk;
}

std::string line_of(const std::string &name, const std::string &value)
{
    return sim::escape(name) + " = " + sim::escape(value);
}

int get(Client &client, const std::string &name)
{
    std::string value;
    Status status = client.get(name, &value);
    if (status == Status::absent) {
        fprintf(stderr, "corvane-bus: no node '%s'\n", sim::escape(name).c_str());
        return kAbsent;
    }
    if (status == Status::unreachable || status == Status::refused)
        return finish(client, status);
    fwrite(value.data(), 1, value.size(), stdout);
    fputc('\n', stdout);
    return kOk;
}

// A write nobody will hear is still made (clients of the legacy interface
// write nodes before their service starts), with a warning; --strict makes
// it an error instead.
int set(Client &client, const std::string &name, std::string value, bool strict)
{
    if (value == "-")
        value.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    std::string unheard = sim::escape(client.unheard_because(name));
    if (!unheard.empty() && strict) {
        fprintf(stderr, "corvane-bus: not written: %s\n", unheard.c_str());
        return kUnheard;
    }
    int status = finish(client, client.set(name, value));
    if (status == kOk && !unheard.empty())
        fprintf(stderr, "corvane-bus: warning: %s\n", unheard.c_str());
    return status;
}

// Whether the bus answers and a service follows it; 1 when none runs.
int status(Client &client)
{
    std::vector<corvane::bus::Service> services;
    if (Status status = client.services(&services); status != Status::ok)
        return finish(client, status);
    bool running = false;
    std::string text = corvane::bus::describe_services(services, &running);
    printf("bus %s: reachable\n%s\n", client.address().c_str(), text.c_str());
    return running ? kOk : kUnheard;
}

int dump(Client &client, const std::string &prefix)
{
    std::vector<corvane::bus::Node> nodes;
    Status status = client.dump(prefix, &nodes);
    for (const corvane::bus::Node &node : nodes)
        printf("%s\n", line_of(node.name, node.value).c_str());
    return finish(client, status);
}

int listen(Client &client, const std::string &prefix)
{
    setvbuf(stdout, nullptr, _IOLBF, 0);
    watching = &client;
    struct sigaction action = {};
    action.sa_handler = stop_watching;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    Status status = client.watch(prefix, [](const corvane::bus::Change &change) {
        printf("%s (%s)\n", line_of(change.name, change.value).c_str(), change.writer.c_str());
        return true;
    });
    return finish(client, status);
}

int load(Client &client, const std::string &path, bool notify)
{
    std::vector<std::pair<std::string, std::string>> lines;
    std::map<std::string, std::string> parameters;
    std::string error;
    if (!sim::parse_device_file(path, 0, &error, &lines, &parameters)) {
        fprintf(stderr, "corvane-bus: %s\n", error.c_str());
        return kUsage;
    }
    std::vector<corvane::bus::Node> nodes, ranges;
    for (auto &[name, value] : lines)
        nodes.push_back({name, value});
    for (auto &[name, value] : parameters)
        if (name.rfind("range.", 0) == 0)
            ranges.push_back({name.substr(6), value});
    Status status = notify ? client.set_all(nodes) : client.store(nodes);
    if (status == Status::ok)
        status = client.store_ranges(ranges);
    return finish(client, status);
}

int range(Client &client, const std::string &name)
{
    std::string text;
    Status status = client.range(name, &text);
    if (status == Status::absent) {
        fprintf(stderr, "corvane-bus: no range for '%s'\n", sim::escape(name).c_str());
        return kAbsent;
    }
    if (status == Status::unreachable || status == Status::refused)
        return finish(client, status);
    printf("%s\n", text.c_str());
    return kOk;
}

struct Command {
    const char *word;
    size_t least;  // arguments after the word
    size_t most;
};

constexpr Command kCommands[] = {
    {"get", 1, 1},  {"set", 2, 2},   {"dump", 0, 1},    {"listen", 0, 1},
    {"load", 1, 2}, {"range", 1, 1}, {"console", 0, 0}, {"acl", 1, 1}, {"status", 0, 0},
};

// The console with line editing, history and completion of command words
// and node names (read from the bus as they are typed).
int console(Client &client)
{
    LineEditor editor("corvane> ", default_history_path(), stdout);
    editor.set_completer([&client](const std::string &before, const std::string &word) {
        if (before.find_first_not_of(" \t") == std::string::npos)
            return complete_from(console_words(), word);
        std::vector<corvane::bus::Node> nodes;
        client.dump(word, &nodes);
        std::vector<std::string> names;
        for (const corvane::bus::Node &node : nodes)
            names.push_back(node.name);
        return names;
    });
    // SIGINT and SIGTERM end the console as Ctrl-D does, the terminal restored.
    if (editor.interactive()) {
        struct sigaction action = {};
        action.sa_handler = [](int) { LineEditor::stop(); };
        sigaction(SIGINT, &action, nullptr);
        sigaction(SIGTERM, &action, nullptr);
    }
    return run_console(
        client,
        [&editor](const char *, std::string *line) {
            std::optional<std::string> read = editor.read();
            if (read)
                *line = *read;
            return read.has_value();
        },
        [&editor](const std::string &text) { editor.print_above(text); });
}

int run(Client &client, const std::string &word, const std::vector<std::string> &arguments, bool strict)
{
    std::string first = arguments.empty() ? std::string() : arguments[0];
    if (word == "get")
        return get(client, first);
    if (word == "set")
        return set(client, first, arguments[1], strict);
    if (word == "status")
        return status(client);
    if (word == "dump")
        return dump(client, first);
    if (word == "listen")
        return listen(client, first);
    if (word == "range")
        return range(client, first);
    if (word == "console")
        return console(client);
    bool notify = first == "--notify";
    if (arguments.size() == 2 && !notify)
        return usage("load takes [--notify] DEVICE_FILE");
    return load(client, arguments.back(), notify);
}

} // namespace

int main(int argc, char **argv)
{
    if (corvaned::answer_info_option(argc, argv, "corvane-bus", help_text))
        return kOk;
    corvane::bus::set_log_name("corvane-bus");
    // Options before the command only ("+"): set NAME - and load --notify
    // are the command's own words.
    static const option kOptions[] = {
        {"bus", required_argument, nullptr, 'b'},
        {"strict", no_argument, nullptr, 's'},
        {"help", no_argument, nullptr, 'h'},
        {nullptr, 0, nullptr, 0}};
    std::string address;
    bool strict = false;
    opterr = 0;
    for (int option; (option = getopt_long(argc, argv, "+:h", kOptions, nullptr)) != -1;) {
        if (option == 'b')
            address = optarg;
        else if (option == 's')
            strict = true;
        else if (option == 'h')
            return fputs(help_text, stdout), kOk;
        else if (option == ':')
            return usage((std::string(argv[optind - 1]) + " needs an address").c_str());
        else
            return usage((std::string("unknown option '") + argv[optind - 1] + "'").c_str());
    }
    if (optind >= argc)
        return usage("no command");
    std::string word = argv[optind];
    std::vector<std::string> arguments(argv + optind + 1, argv + argc);
    const Command *command = nullptr;
    for (const Command &candidate : kCommands)
        if (word == candidate.word)
            command = &candidate;
    if (!command)
        return usage(("unknown command '" + word + "'").c_str());
    if (arguments.size() < command->least || arguments.size() > command->most)
        return usage(("wrong number of arguments for " + word).c_str());

    std::string error;
    if (word == "acl") {
        if (print_bus_acl(arguments[0], &error))
            return kOk;
        fprintf(stderr, "corvane-bus: %s\n", error.c_str());
        return kUsage;
    }
    bool malformed = false;
    std::unique_ptr<Client> client = Client::connect(address, &error, &malformed);
    if (!client) {
        fprintf(stderr, "corvane-bus: %s\n", error.c_str());
        return malformed ? kUsage : kUnreachable;
    }
    return run(*client, word, arguments, strict);
}
