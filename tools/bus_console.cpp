#include "tools/bus_console.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <future>
#include <iostream>
#include <mutex>
#include <sstream>
#include <thread>
#include <unistd.h>
#include <vector>

#include "sim/platform/text_escape.h"

namespace {

using corvane::bus::Client;
using corvane::bus::Status;

std::mutex output;
std::atomic<long> last_answer_ms{0};

long now_ms()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

// The daemon answers on its own time: the next prompt waits until the bus
// has been quiet for a moment (at most two seconds).
void wait_for_answers()
{
    constexpr long kQuietMs = 150;
    constexpr long kLongestMs = 2000;
    long start = now_ms();
    last_answer_ms = start;
    while (now_ms() - last_answer_ms < kQuietMs && now_ms() - start < kLongestMs)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

const char kHelp[] =
    "  set NAME VALUE   a client write (the daemon answers below, \"=>\")\n"
    "  get NAME         print a node\n"
    "  dump [PREFIX]    print the nodes below PREFIX\n"
    "  range NAME       print a node's permitted range\n"
    "  help             this list\n"
    "  quit             leave the console (Ctrl-D too)\n";

// First word, and the rest of the line as it stands.
void split(const std::string &line, std::string *word, std::string *rest)
{
    std::istringstream in(line);
    in >> *word;
    std::getline(in >> std::ws, *rest);
}

void print(const std::string &text)
{
    std::lock_guard<std::mutex> lock(output);
    fputs(text.c_str(), stdout);
    fflush(stdout);
}

std::string shown(Client &client, Status status, const std::string &what)
{
    if (status == Status::unreachable || status == Status::refused)
        return "  " + client.error() + "\n";
    if (status == Status::absent)
        return "  " + what + ": (absent)\n";
    return "";
}

void command(Client &client, const std::string &line)
{
    std::string word, rest;
    split(line, &word, &rest);
    std::string name, value;
    split(rest, &name, &value);
    if (word.empty())
        return;
    if (word == "help") {
        print(kHelp);
    } else if (word == "set" && !name.empty()) {
        std::string unheard = client.unheard_because(name);
        print(shown(client, client.set(name, sim::unquote(value)), name));
        if (!unheard.empty())
            print("  warning: " + unheard + "\n");
        wait_for_answers();
    } else if (word == "get" && !name.empty()) {
        Status status = client.get(name, &value);
        print(status == Status::ok ? name + " = " + sim::escape(value) + "\n" : shown(client, status, name));
    } else if (word == "range" && !name.empty()) {
        Status status = client.range(name, &value);
        print(status == Status::ok ? name + ": " + value + "\n" : shown(client, status, name));
    } else if (word == "dump") {
        std::vector<corvane::bus::Node> nodes;
        Status status = client.dump(name, &nodes);
        std::string text;
        for (const corvane::bus::Node &node : nodes)
            text += node.name + " = " + sim::escape(node.value) + "\n";
        print(text + shown(client, status, name));
    } else {
        print("  unknown command or missing name (help lists the commands)\n");
    }
}

} // namespace

std::vector<std::string> console_words()
{
    return {"set", "get", "dump", "range", "help", "quit"};
}

bool read_standard_input(const char *prompt, std::string *line)
{
    print(prompt);
    return static_cast<bool>(std::getline(std::cin, *line));
}

int run_console(Client &client, const LineReader &read_line, const Printer &print_write)
{
    std::string error;
    std::unique_ptr<Client> watcher = Client::connect(client.address(), &error);
    if (!watcher) {
        fprintf(stderr, "corvane-bus: %s\n", error.c_str());
        return 3;
    }
    // Every write of another process: the daemon's answers, other clients.
    const std::string me = "corvane-bus[" + std::to_string(getpid()) + "]";
    std::promise<void> ready;
    std::thread watching([&] {
        auto print_change = [&](const corvane::bus::Change &change) {
            if (change.writer != me) {
                (print_write ? print_write : print)("  => " + sim::escape(change.name) + " = " +
                                                     sim::escape(change.value) + "  (" + change.writer + ")\n");
                last_answer_ms = now_ms();
            }
            return true;
        };
        if (watcher->watch("", print_change, [&] { ready.set_value(); }) != Status::ok)
            ready.set_value();
    });
    ready.get_future().wait();
    print("corvane-bus console on " + client.address() + ": help lists the commands, quit or Ctrl-D leaves.\n");
    std::string line;
    while (read_line("corvane> ", &line) && line != "quit")
        command(client, line);
    watcher->stop();
    watching.join();
    return 0;
}
