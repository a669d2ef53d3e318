#include "web/server.h"

#include <arpa/inet.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include <httplib.h>
#include <nlohmann/json.hpp>

#include "sim/driver/head.h"
#include "sim/driver/view.h"
#include "web/assets.h"
#include "web/nodes.h"

using nlohmann::json;

namespace {

constexpr size_t kKeptChanges = 20000;  // a page further behind than this reloads
constexpr size_t kRecentChanges = 30;    // "Last writes" when a page opens
constexpr size_t kMaxConnections = 64;  // each on a thread of its own; the next waits
constexpr int kMaxStreams = 8;          // open event streams (pages) at once
constexpr size_t kMaxBodyBytes = 16384; // a write's body; a longer one is refused unread
constexpr time_t kIdleSeconds = 5;      // a connection silent this long is closed
constexpr auto kKeepAlive = std::chrono::seconds(1);
constexpr long kMaxPanUnits = 3333;  // the most a pan move travels (its 40000-step limit)

const char *const kPtzWords[] = {"ptz-home",    "ptz-360",           "ptz-270",           "ptz-180",
                                 "ptz-preset1", "ptz-preset2",       "ptz-record-preset1", "ptz-record-preset2",
                                 "ptz-save_preset"};

bool ptz_word(const std::string &word)
{
    for (const char *known : kPtzWords)
        if (word == known)
            return true;
    return false;
}

json change_json(long sequence, const BusChange &change)
{
    return {{"seq", sequence}, {"name", shown_value("", change.name)["text"]},
            {"value", shown_value(change.name, change.value)}, {"writer", change.writer}};
}

void reply(httplib::Response &response, int status, const json &body)
{
    response.status = status;
    response.set_content(body.dump(-1, ' ', false, json::error_handler_t::replace), "application/json");
}

// Compared in full, whichever byte differs first.
bool same_secret(const std::string &given, const std::string &wanted)
{
    if (given.size() != wanted.size() || wanted.empty())
        return false;
    unsigned char difference = 0;
    for (size_t i = 0; i < given.size(); ++i)
        difference |= static_cast<unsigned char>(given[i] ^ wanted[i]);
    return difference == 0;
}

// Every connection on a thread of its own, at most kMaxConnections at once
// (the next waits for one to end): a page's event stream or a slow client
// never holds a thread that the API needs.
class ConnectionThreads : public httplib::TaskQueue {
public:
    void enqueue(std::function<void()> work) override
    {
        std::unique_lock<std::mutex> lock(mutex_);
        room_.wait(lock, [this] { return threads_.size() - finished_.size() < kMaxConnections; });
        join_finished();
        long id = next_id_++;
        threads_.emplace(id, std::thread([this, id, work = std::move(work)] {
            work();
            std::lock_guard<std::mutex> done(mutex_);
            finished_.push_back(id);
            room_.notify_all();
        }));
    }

    void shutdown() override
    {
        std::unique_lock<std::mutex> lock(mutex_);
        room_.wait(lock, [this] { return finished_.size() == threads_.size(); });
        join_finished();
    }

private:
    // Under mutex_: the threads that have said they are done.
    void join_finished()
    {
        for (long id : finished_) {
            threads_[id].join();
            threads_.erase(id);
        }
        finished_.clear();
    }

    std::mutex mutex_;
    std::condition_variable room_;
    std::map<long, std::thread> threads_;
    std::vector<long> finished_;
    long next_id_ = 0;
};

bool same_name(const std::string &a, const std::string &b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

// 127.0.0.0/8 written in dotted decimal.
bool loopback_ipv4(const std::string &text)
{
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1 && (ntohl(address.s_addr) >> 24) == 127;
}

} // namespace

bool host_is_ours(const std::string &host, int port, const std::vector<std::string> &names)
{
    std::string name = host;
    std::string port_text;
    size_t colon = host.rfind(':');
    if (colon != std::string::npos && host.find(']', colon) == std::string::npos) {
        name = host.substr(0, colon);
        port_text = host.substr(colon + 1);
    }
    bool port_ok = port_text.empty() ? port == 80 : port_text == std::to_string(port);
    if (!port_ok || name.empty())
        return false;
    if (same_name(name, "localhost") || name == "[::1]" || loopback_ipv4(name))
        return true;
    return std::any_of(names.begin(), names.end(), [&](const std::string &given) {
        return same_name(name, given) || same_name(name, "[" + given + "]");
    });
}

bool is_loopback(const std::string &address)
{
    in6_addr v6{};
    if (inet_pton(AF_INET6, address.c_str(), &v6) == 1)
        return IN6_IS_ADDR_LOOPBACK(&v6) || (IN6_IS_ADDR_V4MAPPED(&v6) && v6.s6_addr[12] == 127);
    return loopback_ipv4(address) || address == "localhost";
}

struct WebServer::State {
    WebBus &bus;
    WebOptions options;
    httplib::Server http;
    int port = -1;

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<BusChange> changes;  // the latest writes; changes[0] has number `first`
    long first = 0;
    std::atomic<bool> stopping{false};
    std::atomic<int> streams{0};  // event streams open

    State(WebBus &bus_, WebOptions options_) : bus(bus_), options(std::move(options_)) {}

    long next_sequence()
    {
        return first + static_cast<long>(changes.size());
    }

    void record(const BusChange &change)
    {
        std::lock_guard<std::mutex> lock(mutex);
        changes.push_back(change);
        if (changes.size() > kKeptChanges) {
            changes.pop_front();
            ++first;
        }
        changed.notify_all();
    }

    // The page's request is let through, or answered here.
    bool admitted(const httplib::Request &request, httplib::Response &response)
    {
        if (!options.password.empty()) {
            std::string wanted = httplib::make_basic_authentication_header("corvane", options.password).second;
            if (same_secret(request.get_header_value("Authorization"), wanted))
                return true;
            response.status = 401;
            response.set_header("WWW-Authenticate", "Basic realm=\"corvane-web\"");
            response.set_content("password required\n", "text/plain");
            return false;
        }
        if (!is_loopback(request.remote_addr)) {
            response.status = 403;
            response.set_content("refused: corvane-web serves the loopback address only, unless started with "
                                 "--listen ADDRESS and a password\n",
                                 "text/plain");
            return false;
        }
        return true;
    }

    // A page of another site whose name resolves to this machine (DNS
    // rebinding) sends its own name as the Host: not this server.
    bool addressed_to_us(const httplib::Request &request, httplib::Response &response)
    {
        std::vector<std::string> names = options.host_names;
        if (options.host != "0.0.0.0" && options.host != "::")
            names.push_back(options.host);
        if (host_is_ours(request.get_header_value("Host"), port, names))
            return true;
        response.status = 421;
        response.set_content("refused: this server answers to loopback addresses, localhost and the names it was "
                             "started with (--allow-host), on its own port\n",
                             "text/plain");
        return false;
    }

    // A body is taken only with its length given and at most kMaxBodyBytes
    // long; a longer one is refused before it is read.
    bool body_acceptable(const httplib::Request &request, httplib::Response &response)
    {
        if (request.has_header("Transfer-Encoding")) {
            reply(response, 411, {{"ok", false}, {"message", "refused: a request body must give its length"}});
        } else {
            std::string length = request.get_header_value("Content-Length");
            char *end = nullptr;
            unsigned long long bytes = length.empty() ? 0 : strtoull(length.c_str(), &end, 10);
            if (length.empty() || (*end == '\0' && bytes <= kMaxBodyBytes))
                return true;
            reply(response, 413,
                  {{"ok", false},
                   {"message", "refused: value too long (a request of " + length + " bytes; at most " +
                                   std::to_string(kMaxBodyBytes) + ")"}});
        }
        response.set_header("Connection", "close");
        return false;
    }

    json rows(int sensor)
    {
        json list = json::array();
        for (const NodePair &pair : node_pairs(sensor)) {
            std::optional<std::string> legacy = bus.get(pair.legacy);
            std::optional<std::string> native = pair.native.empty() ? std::nullopt : bus.get(pair.native);
            list.push_back({{"legacy", pair.legacy},
                            {"native", pair.native},
                            {"handler", pair.handler},
                            {"legacy_value", legacy ? shown_value(pair.legacy, *legacy) : json(nullptr)},
                            {"native_value", native ? shown_value(pair.native, *native) : json(nullptr)}});
        }
        std::lock_guard<std::mutex> lock(mutex);
        return {{"bus", bus.describe()}, {"sensor", sensor}, {"rows", list}, {"seq", next_sequence()}};
    }

    std::string head_svg_text()
    {
        std::map<std::string, std::string> nodes;
        for (auto &[name, value] : bus.dump("sim.head."))
            nodes[name] = value;
        sim::HeadState head;
        if (!head_from_nodes(nodes, &head))
            return "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"480\" height=\"60\"><text x=\"10\" y=\"30\">"
                   "no simulated head on this bus (sim.head.* absent)</text></svg>\n";
        return head_svg(head);
    }

    void write(const httplib::Request &request, httplib::Response &response)
    {
        json body = json::parse(request.body, nullptr, false);
        if (body.is_discarded() || !body.is_object() || !body["name"].is_string() || !body["value"].is_string()) {
            reply(response, 400, {{"ok", false}, {"message", "expected {\"name\": TEXT, \"value\": TEXT} in UTF-8"}});
            return;
        }
        std::string name = body["name"];
        std::string value = body["value"];
        if (std::string why = refused_write(name, value); !why.empty()) {
            reply(response, 400, {{"ok", false}, {"message", "refused: " + why}});
            return;
        }
        bool known = bus.get(name).has_value();
        BusState state = bus.state();
        if (std::string error = bus.set(name, value); !error.empty()) {
            reply(response, 502, {{"ok", false}, {"message", "not written: " + error}});
            return;
        }
        std::string message = "wrote " + std::to_string(value.size()) + (value.size() == 1 ? " byte to " : " bytes to ") + name;
        std::string warning;
        if (!state.service_running)
            warning = state.service + ": nothing acts on it";
        else if (!known)
            warning = "the bus held no node " + name + " before: no service listens to it (a typo?)";
        reply(response, 200, {{"ok", true}, {"message", warning.empty() ? message : message + "; " + warning},
                              {"warning", !warning.empty()}});
    }

    // A command word goes to the PTZ interpreter through the simulator's
    // "sim.call" node, or to "corvane.ptzstatus" as a client on the device
    // would write it (there the binding only copies it).
    void ptz(const httplib::Request &request, httplib::Response &response)
    {
        json body = json::parse(request.body, nullptr, false);
        std::string word = body.is_object() && body["word"].is_string() ? body["word"].get<std::string>() : "";
        std::string via = body.is_object() && body["via"].is_string() ? body["via"].get<std::string>() : "";
        if (!ptz_word(word) || (via != "interpreter" && via != "status")) {
            reply(response, 400, {{"ok", false}, {"message", "refused: unknown command word or route"}});
            return;
        }
        if (via == "status")
            send("corvane.ptzstatus", word, response);
        else
            send("sim.call", "cb_corvane_ptz_home corvane.ptzstatus " + word, response);
    }

    // A pan move of one camera by whole units, through the simulator: the
    // pan routines, like the PTZ interpreter, are named by no binding row.
    void pan(const httplib::Request &request, httplib::Response &response)
    {
        json body = json::parse(request.body, nullptr, false);
        bool valid = body.is_object() && body["camera"].is_number_integer() && body["units"].is_number_integer() &&
                     body["routine"].is_string();
        int camera = valid ? body["camera"].get<int>() : 0;
        long units = valid ? body["units"].get<long>() : 0;
        std::string routine = valid ? body["routine"].get<std::string>() : "";
        if (camera < 1 || camera > 4 || units < -kMaxPanUnits || units > kMaxPanUnits ||
            (routine != "do_old_pan" && routine != "do_new_pan")) {
            reply(response, 400,
                  {{"ok", false},
                   {"message", "refused: camera 1..4, units -" + std::to_string(kMaxPanUnits) + ".." +
                                   std::to_string(kMaxPanUnits) + ", do_old_pan or do_new_pan"}});
            return;
        }
        send("sim.call", routine + " corvane.cam" + std::to_string(camera) + ".pan " + std::to_string(units),
             response);
    }

    void send(const std::string &name, const std::string &value, httplib::Response &response)
    {
        if (std::string error = bus.set(name, value); !error.empty()) {
            reply(response, 502, {{"ok", false}, {"message", "not written: " + error}});
            return;
        }
        reply(response, 200, {{"ok", true}, {"message", "wrote " + name + " = " + value}});
    }

    // Server-sent events from `cursor` on: one "change" event per write, or
    // "reload" when the page has fallen further behind than is kept.
    bool stream(long *cursor, httplib::DataSink &sink)
    {
        std::string out;
        {
            std::unique_lock<std::mutex> lock(mutex);
            changed.wait_for(lock, kKeepAlive, [&] { return next_sequence() > *cursor || stopping; });
            if (stopping)
                return false;
            if (*cursor < first) {
                out = "event: reload\ndata: {}\n\n";
                *cursor = next_sequence();
            }
            for (; *cursor < next_sequence(); ++*cursor) {
                json event = change_json(*cursor, changes[static_cast<size_t>(*cursor - first)]);
                out += "event: change\ndata: " + event.dump(-1, ' ', false, json::error_handler_t::replace) + "\n\n";
            }
        }
        if (out.empty())
            out = ": idle\n\n";
        return sink.write(out.data(), out.size()) && sink.is_writable();
    }

    void routes()
    {
        http.new_task_queue = [] { return new ConnectionThreads; };
        http.set_payload_max_length(kMaxBodyBytes);
        http.set_keep_alive_timeout(kIdleSeconds);
        http.set_read_timeout(kIdleSeconds, 0);
        http.set_write_timeout(kIdleSeconds, 0);
        http.set_pre_routing_handler([this](const httplib::Request &request, httplib::Response &response) {
            response.set_header("Content-Security-Policy",
                                "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
                                "connect-src 'self'; form-action 'none'; frame-ancestors 'none'; base-uri 'none'");
            response.set_header("X-Content-Type-Options", "nosniff");
            response.set_header("Cache-Control", "no-store");
            response.set_header("Referrer-Policy", "no-referrer");
            if (!admitted(request, response) || !addressed_to_us(request, response) ||
                !body_acceptable(request, response))
                return httplib::Server::HandlerResponse::Handled;
            // writes come from the page's own script, never from a plain form of another site
            if (request.method == "POST" && request.get_header_value("X-Corvane-Page") != "1") {
                reply(response, 403, {{"ok", false}, {"message", "refused: not from the corvane-web page"}});
                return httplib::Server::HandlerResponse::Handled;
            }
            return httplib::Server::HandlerResponse::Unhandled;
        });
        for (const WebAsset &asset : web_assets())
            http.Get(asset.path, [&asset](const httplib::Request &, httplib::Response &response) {
                response.set_content(asset.text, std::string(asset.type) + "; charset=utf-8");
            });
        http.Get("/api/rows", [this](const httplib::Request &request, httplib::Response &response) {
            int sensor = request.has_param("sensor") ? atoi(request.get_param_value("sensor").c_str()) : 1;
            if (sensor < 0 || sensor > 4) {
                reply(response, 400, {{"ok", false}, {"message", "sensor is 0 (global) or 1..4"}});
                return;
            }
            reply(response, 200, rows(sensor));
        });
        http.Get("/api/node", [this](const httplib::Request &request, httplib::Response &response) {
            std::string name = request.get_param_value("name");
            std::optional<std::string> value = bus.get(name);
            reply(response, 200, {{"name", name}, {"value", value ? shown_value(name, *value) : json(nullptr)}});
        });
        http.Get("/api/state", [this](const httplib::Request &, httplib::Response &response) {
            BusState state = bus.state();
            reply(response, 200, {{"bus", bus.describe()}, {"reachable", state.reachable},
                                  {"running", state.service_running}, {"service", state.service}});
        });
        http.Get("/api/recent", [this](const httplib::Request &, httplib::Response &response) {
            std::lock_guard<std::mutex> lock(mutex);
            json list = json::array();
            size_t from = changes.size() > kRecentChanges ? changes.size() - kRecentChanges : 0;
            for (size_t i = from; i < changes.size(); ++i)
                list.push_back(change_json(first + static_cast<long>(i), changes[i]));
            reply(response, 200, list);
        });
        http.Get("/api/names", [](const httplib::Request &, httplib::Response &response) {
            reply(response, 200, legacy_names());
        });
        http.Get("/api/head.svg", [this](const httplib::Request &, httplib::Response &response) {
            response.set_content(head_svg_text(), "image/svg+xml");
        });
        http.Get("/api/events", [this](const httplib::Request &request, httplib::Response &response) {
            if (++streams > kMaxStreams) {
                --streams;
                reply(response, 503,
                      {{"ok", false},
                       {"message", "refused: " + std::to_string(kMaxStreams) + " pages are following the bus already"}});
                return;
            }
            long from = 0;
            {
                std::lock_guard<std::mutex> lock(mutex);
                from = next_sequence();
            }
            if (request.has_param("from"))
                from = std::max(0L, atol(request.get_param_value("from").c_str()));
            auto cursor = std::make_shared<long>(from);
            response.set_header("X-Accel-Buffering", "no");
            response.set_chunked_content_provider(
                "text/event-stream",
                [this, cursor](size_t, httplib::DataSink &sink) { return stream(cursor.get(), sink); },
                [this](bool) { --streams; });
        });
        http.Post("/api/set", [this](const httplib::Request &request, httplib::Response &response) {
            write(request, response);
        });
        http.Post("/api/ptz", [this](const httplib::Request &request, httplib::Response &response) {
            ptz(request, response);
        });
        http.Post("/api/pan", [this](const httplib::Request &request, httplib::Response &response) {
            pan(request, response);
        });
    }
};

WebServer::WebServer(WebBus &bus, WebOptions options) : state_(std::make_unique<State>(bus, std::move(options)))
{
    // "Last writes" starts with what the bus still holds.
    for (const BusChange &change : state_->bus.recent(kRecentChanges))
        state_->record(change);
    state_->bus.watch([state = state_.get()](const BusChange &change) { state->record(change); });
    state_->routes();
}

WebServer::~WebServer() = default;

int WebServer::bind(std::string *error)
{
    const WebOptions &options = state_->options;
    if (!is_loopback(options.host) && options.password.empty()) {
        *error = "refusing to serve " + options.host +
                 " without a password (CORVANE_WEB_PASSWORD or --password-file): only loopback addresses may go without";
        return -1;
    }
    int port = options.port == 0 ? state_->http.bind_to_any_port(options.host)
                                 : (state_->http.bind_to_port(options.host, options.port) ? options.port : -1);
    if (port < 0)
        *error = "cannot listen on " + options.host + ":" + std::to_string(options.port);
    state_->port = port;
    return port;
}

void WebServer::serve()
{
    state_->http.listen_after_bind();
}

void WebServer::stop()
{
    state_->stopping = true;
    state_->changed.notify_all();
    state_->http.stop();
}
