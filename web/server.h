// corvane-web's HTTP side: one page showing the legacy nodes of a sensor
// beside their native nodes, the last writes, a form to write a node, the
// PTZ command words and the simulated head, kept live by server-sent events.
#ifndef WEB_SERVER_H
#define WEB_SERVER_H

#include <memory>
#include <string>
#include <vector>

#include "web/bus.h"

struct WebOptions {
    std::string host = "127.0.0.1";
    int port = 8080;          // 0: any free port
    std::string password;     // required unless `host` is a loopback address
    std::vector<std::string> host_names;  // Host names answered beside loopback and `host`
};

// Whether a request's Host header names this server: a loopback address
// literal (127.0.0.0/8, [::1]), "localhost" or one of `names`, with the
// server's port (none: port 80).
bool host_is_ours(const std::string &host, int port, const std::vector<std::string> &names);

// Whether an address (as the peer or the listening address) is a loopback one.
bool is_loopback(const std::string &address);

class WebServer {
public:
    WebServer(WebBus &bus, WebOptions options);
    ~WebServer();
    // Binds the listening socket; the port, or -1 with a message.
    int bind(std::string *error);
    // Serves until stop().
    void serve();
    void stop();

private:
    struct State;
    std::unique_ptr<State> state_;
};

#endif
