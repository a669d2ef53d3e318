// corvane-web: the camera on a screen. One page, served on a loopback
// address unless started with another address and a password.
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <pthread.h>
#include <string>
#include <thread>
#include <vector>

#include "sim/platform/bus_backends.h"
#include "web/server.h"
#include "web/shared_bus.h"
#include "web/sim_bus.h"

namespace {

const char usage[] =
    "usage: corvane-web [--listen HOST:PORT] [--password-file FILE] [--port-file FILE]\n"
    "                   [--allow-host NAME]... [--bus ADDRESS] [--device FILE]...\n"
    "  Serves the operator's page at http://HOST:PORT/ (default 127.0.0.1:8080; port 0: any free one).\n"
    "  The bus is ADDRESS or $CORVANE_BUS: redis:/path/to/socket or redis://HOST:PORT joins a bus\n"
    "  on which corvaned runs as its own process (corvane-sim --bus ADDRESS --view shows its head);\n"
    "  sim (the default) runs corvaned here on the simulated camera (--device: its device files).\n"
    "  Any address that is not a loopback one needs a password, from the first line of\n"
    "  --password-file or from CORVANE_WEB_PASSWORD; the page then asks for user corvane.\n"
    "  Requests are answered when addressed (Host) to a loopback address, localhost, the\n"
    "  listening address or a NAME given with --allow-host, on the listening port.\n";

struct Options {
    WebOptions web;
    std::string password_file;
    std::string port_file;
    std::vector<std::string> devices;
    std::string bus;
};

bool parse_listen(const std::string &text, WebOptions *web)
{
    size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon + 1 == text.size())
        return false;
    std::string host = text.substr(0, colon);
    if (host.size() > 2 && host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    char *end = nullptr;
    long port = strtol(text.c_str() + colon + 1, &end, 10);
    if (*end != '\0' || port < 0 || port > 65535 || host.empty())
        return false;
    web->host = host;
    web->port = static_cast<int>(port);
    return true;
}

bool parse_options(int argc, char **argv, Options *options)
{
    for (int i = 1; i < argc; ++i) {
        std::string option = argv[i];
        bool has_value = i + 1 < argc;
        if (option == "--listen" && has_value) {
            if (!parse_listen(argv[++i], &options->web))
                return false;
        } else if (option == "--password-file" && has_value) {
            options->password_file = argv[++i];
        } else if (option == "--allow-host" && has_value) {
            options->web.host_names.push_back(argv[++i]);
        } else if (option == "--port-file" && has_value) {
            options->port_file = argv[++i];
        } else if (option == "--bus" && has_value) {
            options->bus = argv[++i];
        } else if (option == "--device" && has_value) {
            options->devices.push_back(argv[++i]);
        } else {
            return false;
        }
    }
    return true;
}

bool read_password(Options *options, std::string *error)
{
    if (options->password_file.empty()) {
        if (const char *password = getenv("CORVANE_WEB_PASSWORD"))
            options->web.password = password;
        return true;
    }
    std::ifstream in(options->password_file);
    if (!in || !std::getline(in, options->web.password)) {
        *error = "cannot read a password from " + options->password_file;
        return false;
    }
    return true;
}

void serve(WebServer *server)
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    server->serve();
}

// The daemon in this process on the simulated camera, or a bus on which it
// runs as its own process.
bool in_process(const Options &options)
{
    return options.bus.empty() || sim::bus_backend(options.bus).in_process;
}

std::unique_ptr<WebBus> open_bus(const Options &options, std::string *error)
{
    if (in_process(options))
        return load_devices(options.devices, error) ? make_sim_bus() : nullptr;
    return make_shared_bus(options.bus, error);
}

// The signals that stop the daemon stop corvane-web too.
sigset_t stop_signals()
{
    sigset_t stops;
    sigemptyset(&stops);
    for (int number : {SIGINT, SIGTERM, SIGQUIT})
        sigaddset(&stops, number);
    return stops;
}

int wait_for_signal()
{
    sigset_t stops = stop_signals();
    int caught = 0;
    sigwait(&stops, &caught);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    std::string error;
    if (!parse_options(argc, argv, &options)) {
        fputs(usage, stderr);
        return 2;
    }
    if (options.bus.empty())
        if (const char *address = getenv("CORVANE_BUS"))
            options.bus = address;
    if (!in_process(options)) {
        // the signals are taken by sigwait, in no other thread
        sigset_t stops = stop_signals();
        pthread_sigmask(SIG_BLOCK, &stops, nullptr);
    }
    std::unique_ptr<WebBus> bus;
    if (!read_password(&options, &error) || !(bus = open_bus(options, &error))) {
        fprintf(stderr, "corvane-web: %s\n", error.c_str());
        return in_process(options) ? 2 : 3;
    }
    WebServer server(*bus, options.web);
    int port = server.bind(&error);
    if (port < 0) {
        fprintf(stderr, "corvane-web: %s\n", error.c_str());
        return 2;
    }
    if (!options.port_file.empty())
        std::ofstream(options.port_file) << port << '\n';
    std::string host = options.web.host.find(':') != std::string::npos ? "[" + options.web.host + "]" : options.web.host;
    fprintf(stderr, "corvane-web: serving http://%s:%d/ (%s)\n", host.c_str(), port, bus->describe().c_str());
    std::thread http(serve, &server);
    int status = in_process(options) ? run_daemon() : wait_for_signal();
    server.stop();
    http.join();
    return status;
}
