#include "redisbus/connection.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <unistd.h>

namespace corvane::bus {

namespace {

constexpr int kConnectTimeoutMs = 2000;
constexpr int kPipelineDepth = 1000;

struct Script {
    const char *name;
    const char *text;
};

// KEYS nodes, changes, writers; ARGV name, value, writer, connection, sequence.
// A retried write (same connection and sequence) returns the first one's id.
constexpr char kWriteScript[] = R"(
local last = redis.call('HGET', KEYS[3], ARGV[4])
if last then
  local seq, id = string.match(last, '^(%d+) (.*)$')
  if seq and tonumber(seq) >= tonumber(ARGV[5]) then return id end
end
redis.call('HSET', KEYS[1], ARGV[1], ARGV[2])
local id = redis.call('XADD', KEYS[2], '*', 'name', ARGV[1], 'value', ARGV[2], 'writer', ARGV[3])
redis.call('HSET', KEYS[3], ARGV[4], ARGV[5] .. ' ' .. id)
return id
)";

// KEYS readers, changes; ARGV reader, position ("" = the stream's end).
// Publishes the reader's position; returns it and 1 when the reader was
// not registered before (a new reader, or one whose lease ran out).
constexpr char kPositionScript[] = R"(
local t = redis.call('TIME')
local now = t[1] * 1000 + math.floor(t[2] / 1000)
local position = ARGV[2]
if position == '' then
  position = '0-0'
  local last = redis.call('XREVRANGE', KEYS[2], '+', '-', 'COUNT', 1)
  if #last > 0 then position = last[1][1] end
end
local added = redis.call('HSET', KEYS[1], ARGV[1], position .. ' ' .. string.format('%.0f', now))
return {position, added}
)";

// KEYS readers, changes; ARGV lease in ms. Forgets readers whose lease ran
// out and trims the stream to the oldest remaining position.
constexpr char kTrimScript[] = R"(
local t = redis.call('TIME')
local now = t[1] * 1000 + math.floor(t[2] / 1000)
local entries = redis.call('HGETALL', KEYS[1])
local oldest, oldest_ms, oldest_seq = nil, 0, 0
for i = 1, #entries, 2 do
  local id, ms, seq, seen = string.match(entries[i + 1], '^((%d+)-(%d+)) (%d+)$')
  if not id or now - tonumber(seen) > tonumber(ARGV[1]) then
    redis.call('HDEL', KEYS[1], entries[i])
  else
    ms, seq = tonumber(ms), tonumber(seq)
    if not oldest or ms < oldest_ms or (ms == oldest_ms and seq < oldest_seq) then
      oldest, oldest_ms, oldest_seq = id, ms, seq
    end
  end
end
if not oldest then return 0 end
return redis.call('XTRIM', KEYS[2], 'MINID', oldest)
)";

constexpr Script kScripts[] = {
    {"write", kWriteScript},
    {"position", kPositionScript},
    {"trim", kTrimScript},
};

bool is_loopback(const std::string &host)
{
    return host == "localhost" || host == "::1" || host.rfind("127.", 0) == 0;
}

timeval milliseconds(int ms)
{
    return timeval{ms / 1000, static_cast<suseconds_t>(ms % 1000) * 1000};
}

std::atomic<unsigned> connections_made{0};

} // namespace

std::string reply_text(const redisReply *reply)
{
    if (!reply)
        return "";
    if (reply->type == REDIS_REPLY_INTEGER)
        return std::to_string(reply->integer);
    if (reply->str)
        return std::string(reply->str, reply->len);
    return "";
}

StreamId StreamId::parse(std::string_view text)
{
    StreamId id;
    size_t dash = text.find('-');
    std::string ms(text.substr(0, dash));
    id.ms = strtoull(ms.c_str(), nullptr, 10);
    if (dash != std::string_view::npos)
        id.seq = strtoull(std::string(text.substr(dash + 1)).c_str(), nullptr, 10);
    return id;
}

bool parse_address(const std::string &text, Address *address, std::string *error)
{
    *address = Address();
    address->text = text;
    const char *password = getenv("CORVANE_BUS_PASSWORD");
    if (password)
        address->password = password;
    if (text.rfind("redis://", 0) == 0) {
        std::string rest = text.substr(8);
        size_t colon = rest.rfind(':');
        if (colon == std::string::npos || colon + 1 == rest.size()) {
            *error = "bus address '" + text + "': expected redis://HOST:PORT";
            return false;
        }
        address->host = rest.substr(0, colon);
        if (address->host.size() > 2 && address->host.front() == '[' && address->host.back() == ']')
            address->host = address->host.substr(1, address->host.size() - 2);
        char *end = nullptr;
        long port = strtol(rest.c_str() + colon + 1, &end, 10);
        if (*end != '\0' || port <= 0 || port > 65535 || address->host.empty()) {
            *error = "bus address '" + text + "': expected redis://HOST:PORT";
            return false;
        }
        address->port = static_cast<int>(port);
        if (address->password.empty() && !is_loopback(address->host)) {
            *error = "bus address '" + text + "': TCP to a host other than this one needs CORVANE_BUS_PASSWORD";
            return false;
        }
        return true;
    }
    if (text.rfind("redis:", 0) == 0 && text.size() > 6) {
        address->path = text.substr(6);
        return true;
    }
    *error = "bus address '" + text + "': expected sim, redis:/path/to/socket or redis://HOST:PORT";
    return false;
}

long reader_lease_ms()
{
    constexpr long kDefaultLeaseMs = 10 * 60 * 1000;
    const char *text = getenv("CORVANE_BUS_LEASE_MS");
    long lease = text && *text ? strtol(text, nullptr, 10) : 0;
    return lease > 0 ? lease : kDefaultLeaseMs;
}

std::string address_from_environment()
{
    const char *text = getenv("CORVANE_BUS");
    return text && *text ? text : "sim";
}

std::string process_writer()
{
    return std::string(program_invocation_short_name) + "[" + std::to_string(getpid()) + "]";
}

Connection::Connection(Address address)
    : address_(std::move(address)), token_(process_writer() + "#" + std::to_string(++connections_made))
{
}

Connection::~Connection()
{
    close();
}

void Connection::close()
{
    if (context_)
        redisFree(context_);
    context_ = nullptr;
    shas_.clear();
}

bool Connection::fail(std::string *error, const std::string &what)
{
    if (error)
        *error = "cannot reach " + address_.text + ": " + what;
    close();
    return false;
}

// A server that goes away must not end the process: a write to its closed
// socket fails with EPIPE instead of raising SIGPIPE (unless the program
// has its own handler).
void ignore_broken_pipes()
{
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction current = {};
        if (sigaction(SIGPIPE, nullptr, &current) == 0 && current.sa_handler == SIG_DFL)
            signal(SIGPIPE, SIG_IGN);
    });
}

bool Connection::open(std::string *error, int read_timeout_ms)
{
    ignore_broken_pipes();
    if (context_) {
        redisSetTimeout(context_, milliseconds(read_timeout_ms));
        return true;
    }
    timeval connect_timeout = milliseconds(kConnectTimeoutMs);
    context_ = address_.path.empty() ? redisConnectWithTimeout(address_.host.c_str(), address_.port, connect_timeout)
                                     : redisConnectUnixWithTimeout(address_.path.c_str(), connect_timeout);
    if (!context_)
        return fail(error, "out of memory");
    if (context_->err)
        return fail(error, context_->errstr);
    redisSetTimeout(context_, milliseconds(read_timeout_ms));
    if (address_.path.empty())
        redisEnableKeepAlive(context_);
    if (!address_.password.empty()) {
        Reply reply(static_cast<redisReply *>(redisCommand(context_, "AUTH %b", address_.password.data(),
                                                           address_.password.size())));
        if (!reply)
            return fail(error, context_->errstr);
        if (reply->type == REDIS_REPLY_ERROR)
            return fail(error, reply_text(reply.get()));
    }
    // Load the scripts in one round trip.
    for (const Script &script : kScripts)
        redisAppendCommand(context_, "SCRIPT LOAD %s", script.text);
    for (const Script &script : kScripts) {
        void *raw = nullptr;
        if (redisGetReply(context_, &raw) != REDIS_OK)
            return fail(error, context_->errstr);
        Reply reply(static_cast<redisReply *>(raw));
        if (reply->type != REDIS_REPLY_STRING)
            return fail(error, reply_text(reply.get()));
        shas_.emplace_back(script.name, reply_text(reply.get()));
    }
    return true;
}

bool Connection::append(const Arguments &arguments, std::string *error)
{
    if (!context_ && !open(error))
        return false;
    std::vector<const char *> pointers;
    std::vector<size_t> lengths;
    for (std::string_view argument : arguments) {
        pointers.push_back(argument.data());
        lengths.push_back(argument.size());
    }
    if (redisAppendCommandArgv(context_, static_cast<int>(pointers.size()), pointers.data(), lengths.data()) !=
        REDIS_OK)
        return fail(error, context_->errstr);
    return true;
}

Reply Connection::read(std::string *error)
{
    if (!context_) {
        fail(error, "not connected");
        return nullptr;
    }
    void *raw = nullptr;
    if (redisGetReply(context_, &raw) != REDIS_OK) {
        fail(error, context_->errstr);
        return nullptr;
    }
    Reply reply(static_cast<redisReply *>(raw));
    if (reply->type == REDIS_REPLY_ERROR) {
        if (error)
            *error = address_.text + ": " + reply_text(reply.get());
        return nullptr;
    }
    return reply;
}

Reply Connection::command(const Arguments &arguments, std::string *error)
{
    if (!append(arguments, error))
        return nullptr;
    return read(error);
}

const std::string &Connection::script_sha(const char *name)
{
    static const std::string none;
    for (auto &[script, sha] : shas_)
        if (script == name)
            return sha;
    return none;
}

bool Connection::append_script(const char *name, const Arguments &keys, const Arguments &arguments,
                               std::string *error)
{
    if (!context_ && !open(error))
        return false;
    std::string count = std::to_string(keys.size());
    Arguments all = {"EVALSHA", script_sha(name), count};
    all.insert(all.end(), keys.begin(), keys.end());
    all.insert(all.end(), arguments.begin(), arguments.end());
    return append(all, error);
}

Reply Connection::script(const char *name, const Arguments &keys, const Arguments &arguments, std::string *error)
{
    if (!append_script(name, keys, arguments, error))
        return nullptr;
    return read(error);
}

Status Connection::hash_get(const char *key, const std::string &name, std::string *value, std::string *error)
{
    Reply reply = command({"HGET", key, name}, error);
    if (!reply)
        return Status::unreachable;
    if (reply->type != REDIS_REPLY_STRING)
        return Status::absent;
    *value = reply_text(reply.get());
    return Status::ok;
}

Status Connection::get(const std::string &name, std::string *value, std::string *error)
{
    return hash_get(kNodesKey, name, value, error);
}

Status Connection::write(const std::string &name, const std::string &value, std::string *id, std::string *error)
{
    return write_all({{name, value}}, id, error);
}

Status Connection::write_all(const std::vector<Node> &nodes, std::string *last_id, std::string *error)
{
    static const std::string writer = process_writer();
    for (size_t first = 0; first < nodes.size(); first += kPipelineDepth) {
        size_t end = std::min(nodes.size(), first + kPipelineDepth);
        unsigned long long first_sequence = sequence_ + 1;
        for (size_t i = first; i < end; ++i) {
            std::string sequence = std::to_string(first_sequence + (i - first));
            if (!append_script("write", {kNodesKey, kChangesKey, kWritersKey},
                               {nodes[i].name, nodes[i].value, writer, token_, sequence}, error))
                return Status::unreachable;
        }
        sequence_ = first_sequence + (end - first) - 1;
        for (size_t i = first; i < end; ++i) {
            Reply reply = read(error);
            if (!reply)
                return Status::unreachable;
            if (last_id)
                *last_id = reply_text(reply.get());
        }
    }
    return Status::ok;
}

Status Connection::store(const char *key, const std::vector<Node> &nodes, std::string *error)
{
    for (size_t first = 0; first < nodes.size(); first += kPipelineDepth) {
        Arguments arguments = {"HSET", key};
        for (size_t i = first; i < std::min(nodes.size(), first + kPipelineDepth); ++i) {
            arguments.push_back(nodes[i].name);
            arguments.push_back(nodes[i].value);
        }
        if (!command(arguments, error))
            return Status::unreachable;
    }
    return Status::ok;
}

Status Connection::erase(const std::string &name, std::string *error)
{
    return command({"HDEL", kNodesKey, name}, error) ? Status::ok : Status::unreachable;
}

Status Connection::dump(const std::string &prefix, std::vector<Node> *nodes, std::string *error)
{
    nodes->clear();
    Reply reply = command({"HGETALL", kNodesKey}, error);
    if (!reply)
        return Status::unreachable;
    for (size_t i = 0; i + 1 < reply->elements; i += 2) {
        std::string name = reply_text(reply->element[i]);
        if (name.compare(0, prefix.size(), prefix) == 0)
            nodes->push_back({name, reply_text(reply->element[i + 1])});
    }
    std::sort(nodes->begin(), nodes->end(), [](const Node &a, const Node &b) { return a.name < b.name; });
    return Status::ok;
}

Status Connection::clear(std::string *error)
{
    return command({"DEL", kNodesKey, kRangesKey, kChangesKey, kReadersKey, kWritersKey}, error)
               ? Status::ok
               : Status::unreachable;
}

namespace {

std::atomic<const char *> log_name{"nbus"};
std::atomic<bool> server_lost{false};

} // namespace

void set_log_name(const char *who)
{
    log_name = who;
}

void log_line(const char *format, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    fprintf(stderr, "%s: %s\n", log_name.load(), text);
}

void note_unreachable(const std::string &error)
{
    if (!server_lost.exchange(true))
        log_line("%s; reconnecting", error.c_str());
}

void note_reachable(const Address &address, const std::string &resumed_after)
{
    if (!server_lost.exchange(false))
        return;
    if (resumed_after.empty())
        log_line("reconnected to %s", address.text.c_str());
    else
        log_line("reconnected to %s, resuming after change %s", address.text.c_str(), resumed_after.c_str());
}

void open_waiting(Connection *connection)
{
    constexpr int kLongestPauseMs = 1000;
    constexpr time_t kRepeatSeconds = 10;
    int pause_ms = 10;
    time_t last_line = 0;
    std::string error;
    while (!connection->open(&error)) {
        time_t now = time(nullptr);
        if (last_line == 0 || now - last_line >= kRepeatSeconds) {
            log_line("%s; %s", error.c_str(), last_line == 0 ? "waiting for the bus" : "still waiting");
            last_line = now;
        }
        timespec pause = {pause_ms / 1000, (pause_ms % 1000) * 1000000L};
        nanosleep(&pause, nullptr);
        pause_ms = std::min(pause_ms * 2, kLongestPauseMs);
    }
    if (last_line != 0)
        log_line("connected to %s", connection->address().text.c_str());
}

} // namespace corvane::bus
