#include "redisbus/connection.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/random.h>
#include <unistd.h>

namespace corvane::bus {

namespace {

constexpr int kConnectTimeoutMs = 2000;
constexpr int kPipelineDepth = 1000;

// The function library every process loads (FUNCTION LOAD, once per
// server: a second load is refused and ignored). Writes go through it alone,
// so that the stream's ids are the server's and a retry is recognised.
constexpr char kLibrary[] = R"(#!lua name=corvane

-- KEYS nodes, ids, changes[, writer record]; ARGV name, value, writer[,
-- sequence, lease ms]. A write whose sequence the writer record has seen
-- is a retry: it returns the first one's id and changes nothing.
local function write(keys, args)
  local legacy = string.sub(args[1], 1, 8) == 'corvane.'
  local nodes = legacy and 'corvane:legacy' or 'corvane:native'
  if keys[1] ~= nodes or keys[2] ~= nodes .. ':ids' or keys[3] ~= 'corvane:changes' then
    return redis.error_reply('ERR corvane_write: node ' .. args[1] .. ' belongs in ' .. nodes)
  end
  -- Checked before anything is written: the user's ACL names the nodes it
  -- may write as keys corvane:node:NAME (see corvane-bus acl).
  if not redis.acl_check_cmd('HSET', nodes, args[1], args[2]) or
     not redis.acl_check_cmd('SET', 'corvane:node:' .. args[1], '') then
    return redis.error_reply('NOPERM corvane_write: this user may not write ' .. args[1])
  end
  if keys[4] then
    local last = redis.call('GET', keys[4])
    if last then
      local seq, id = string.match(last, '^(%d+) (.*)$')
      if seq and tonumber(seq) >= tonumber(args[4]) then return id end
    end
  end
  local id = redis.call('XADD', keys[3], '*', 'name', args[1], 'value', args[2], 'writer', args[3] or 'redis-cli')
  redis.call('HSET', keys[1], args[1], args[2])
  redis.call('HSET', keys[2], args[1], id)
  if keys[4] then redis.call('SET', keys[4], args[4] .. ' ' .. id, 'PX', args[5]) end
  return id
end

local function now_ms()
  local t = redis.call('TIME')
  return t[1] * 1000 + math.floor(t[2] / 1000)
end

-- The stream's last generated id: a re-created stream starts again low.
local function last_id(changes)
  if redis.call('EXISTS', changes) == 0 then return '0-0' end
  local info = redis.call('XINFO', 'STREAM', changes)
  for i = 1, #info, 2 do
    if info[i] == 'last-generated-id' then return info[i + 1] end
  end
  return '0-0'
end

-- KEYS readers, changes; ARGV reader, position, mode. Mode "publish":
-- publishes the position; returns {position, 1 when the reader was not
-- registered}. Mode "start": a registered reader keeps its position, a new
-- one registers at the stream's end; returns {position, 1 when it was
-- registered, the stream's last id}.
local function position(keys, args)
  local stamp = ' ' .. string.format('%.0f', now_ms())
  local last = last_id(keys[2])
  if args[3] == 'start' then
    local held = redis.call('HGET', keys[1], args[1])
    local id = held and string.match(held, '^(%d+-%d+) ')
    redis.call('HSET', keys[1], args[1], (id or last) .. stamp)
    return {id or last, id and 1 or 0, last}
  end
  -- A position past the stream's end (the stream was re-created below it)
  -- would let the stream be trimmed to nothing: the start holds instead.
  local stored = args[2]
  local ms, seq = string.match(stored, '^(%d+)-(%d+)$')
  local last_ms, last_seq = string.match(last, '^(%d+)-(%d+)$')
  if ms and (tonumber(ms) > tonumber(last_ms) or (ms == last_ms and tonumber(seq) > tonumber(last_seq))) then
    stored = '0-0'
  end
  local added = redis.call('HSET', keys[1], args[1], stored .. stamp)
  return {args[2], added, last}
end

-- KEYS readers, changes; ARGV lease in ms. Forgets readers whose lease ran
-- out and trims the stream to the oldest remaining position.
local function trim(keys, args)
  local now = now_ms()
  local entries = redis.call('HGETALL', keys[1])
  local oldest, oldest_ms, oldest_seq = nil, 0, 0
  for i = 1, #entries, 2 do
    local id, ms, seq, seen = string.match(entries[i + 1], '^((%d+)-(%d+)) (%d+)$')
    if not id or now - tonumber(seen) > tonumber(args[1]) then
      redis.call('HDEL', keys[1], entries[i])
    else
      ms, seq = tonumber(ms), tonumber(seq)
      if not oldest or ms < oldest_ms or (ms == oldest_ms and seq < oldest_seq) then
        oldest, oldest_ms, oldest_seq = id, ms, seq
      end
    end
  end
  if not oldest then return 0 end
  return redis.call('XTRIM', keys[2], 'MINID', oldest)
end

redis.register_function('corvane_write', write)
redis.register_function('corvane_position', position)
redis.register_function('corvane_trim', trim)
)";

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

bool is_legacy(std::string_view name)
{
    return name.compare(0, sizeof kLegacyPrefix - 1, kLegacyPrefix) == 0;
}

bool is_missing_function(const std::string &error)
{
    return error.find("Function not found") != std::string::npos;
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

// CORVANE_BUS_PASSWORD, else the first line of CORVANE_BUS_PASSWORD_FILE.
bool password_from_environment(std::string *password, std::string *error)
{
    const char *text = getenv("CORVANE_BUS_PASSWORD");
    const char *file = getenv("CORVANE_BUS_PASSWORD_FILE");
    password->clear();
    if (text && *text) {
        *password = text;
        return true;
    }
    if (!file || !*file)
        return true;
    FILE *in = fopen(file, "r");
    if (!in) {
        *error = std::string("CORVANE_BUS_PASSWORD_FILE ") + file + ": " + strerror(errno);
        return false;
    }
    char line[512] = "";
    if (!fgets(line, sizeof line, in))
        line[0] = '\0';
    fclose(in);
    *password = line;
    while (!password->empty() && (password->back() == '\n' || password->back() == '\r'))
        password->pop_back();
    return true;
}

bool parse_address(const std::string &text, Address *address, std::string *error)
{
    *address = Address();
    const char *user = getenv("CORVANE_BUS_USER");
    if (user)
        address->user = user;
    if (!password_from_environment(&address->password, error))
        return false;
    // A password never travels in the address, where it would be shown.
    size_t at = text.find('@');
    if (text.rfind("redis://", 0) == 0 && at != std::string::npos && text.find('/', 8) > at) {
        *error = "bus address 'redis://...@" + text.substr(at + 1) +
                 "': no user or password in the address; use CORVANE_BUS_USER and CORVANE_BUS_PASSWORD_FILE";
        return false;
    }
    address->text = text;
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
            *error = "bus address '" + text + "': TCP to a host other than this one needs CORVANE_BUS_PASSWORD or CORVANE_BUS_PASSWORD_FILE";
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

// A word of this process's own: process ids come round again (32768 on
// many systems), and a new process under an old one's id must not be taken
// for it retrying a write its record still holds.
const std::string &process_token()
{
    static const std::string token = [] {
        unsigned char bytes[8] = {};
        if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) {
            unsigned long long fallback = static_cast<unsigned long long>(time(nullptr)) ^ (uintptr_t)&bytes;
            memcpy(bytes, &fallback, sizeof bytes);
        }
        char text[2 * sizeof bytes + 1];
        for (size_t i = 0; i < sizeof bytes; ++i)
            snprintf(text + 2 * i, 3, "%02x", bytes[i]);
        return std::string(text);
    }();
    return token;
}

Connection::Connection(Address address)
    : address_(std::move(address)),
      writer_key_(kWriterPrefix + process_writer() + "." + process_token() + "#" + std::to_string(++connections_made))
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
    socket_ = -1;
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
    timeval connect_timeout = milliseconds(std::min(kConnectTimeoutMs, read_timeout_ms));
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
        Reply reply(static_cast<redisReply *>(
            address_.user.empty()
                ? redisCommand(context_, "AUTH %b", address_.password.data(), address_.password.size())
                : redisCommand(context_, "AUTH %b %b", address_.user.data(), address_.user.size(),
                               address_.password.data(), address_.password.size())));
        if (!reply)
            return fail(error, context_->errstr);
        if (reply->type == REDIS_REPLY_ERROR)
            return fail(error, reply_text(reply.get()));
    }
    socket_ = context_->fd;
    return load_library(error);
}

// Refused when the server has it already, or when this user may not load
// functions (the administrator loads them then): both are no error here.
bool Connection::reload_library(std::string *error)
{
    log_line("the server had lost the function library: loading it again");
    return load_library(error);
}

bool Connection::load_library(std::string *error)
{
    Reply reply(static_cast<redisReply *>(redisCommand(context_, "FUNCTION LOAD %s", kLibrary)));
    if (!reply)
        return fail(error, context_->errstr);
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

bool Connection::append_call(const char *function, const Arguments &keys, const Arguments &arguments,
                             std::string *error)
{
    std::string count = std::to_string(keys.size());
    Arguments all = {"FCALL", function, count};
    all.insert(all.end(), keys.begin(), keys.end());
    all.insert(all.end(), arguments.begin(), arguments.end());
    return append(all, error);
}

Reply Connection::call(const char *function, const Arguments &keys, const Arguments &arguments, std::string *error)
{
    std::string why;
    Reply reply = append_call(function, keys, arguments, &why) ? read(&why) : nullptr;
    if (!reply && connected() && is_missing_function(why) && reload_library(&why))
        reply = append_call(function, keys, arguments, &why) ? read(&why) : nullptr;
    if (!reply && error)
        *error = why;
    return reply;
}

// An error reply that is the ACL's refusal, or any other failure.
Status failure(const std::string &error)
{
    return error.find("NOPERM") != std::string::npos ? Status::refused : Status::unreachable;
}

Status Connection::hash_get(const char *key, const std::string &name, std::string *value, std::string *error)
{
    std::string why;
    Reply reply = command({"HGET", key, name}, &why);
    if (error)
        *error = why;
    if (!reply)
        return failure(why);
    if (reply->type != REDIS_REPLY_STRING)
        return Status::absent;
    *value = reply_text(reply.get());
    return Status::ok;
}

Status Connection::get(const std::string &name, std::string *value, std::string *error)
{
    return hash_get(nodes_key(name), name, value, error);
}

Status Connection::write(const std::string &name, const std::string &value, std::string *id, std::string *error)
{
    return write_all({{name, value}}, id, error);
}

// Pipelined in blocks. The sequence advances only with the server's
// replies, so a block retried after a lost reply carries the sequences the
// server may have seen already, and the function makes those writes once.
Status Connection::write_all(const std::vector<Node> &nodes, std::string *last_id, std::string *error)
{
    static const std::string writer = process_writer();
    const std::string lease = std::to_string(reader_lease_ms());
    bool reloaded = false;
    size_t next = 0;
    while (next < nodes.size()) {
        size_t end = std::min(nodes.size(), next + kPipelineDepth);
        for (size_t i = next; i < end; ++i) {
            const std::string &name = nodes[i].name;
            std::string sequence = std::to_string(sequence_ + 1 + (i - next));
            if (!append_call("corvane_write", {nodes_key(name), ids_key(name), kChangesKey, writer_key_},
                             {name, nodes[i].value, writer, sequence, lease}, error))
                return Status::unreachable;
        }
        size_t sent = end;
        for (size_t i = next; i < sent; ++i) {
            Reply reply = read(error);
            if (!reply) {
                if (!connected())
                    return Status::unreachable;
                for (size_t rest = i + 1; rest < sent; ++rest)
                    read(nullptr);
                if (failure(*error) == Status::refused)
                    return Status::refused;
                if (reloaded || !is_missing_function(*error) || !reload_library(error))
                    return Status::unreachable;
                reloaded = true;
                end = i;
                break;
            }
            ++sequence_;
            if (last_id)
                *last_id = reply_text(reply.get());
        }
        next = end;
    }
    return Status::ok;
}

Status Connection::hash_set(const char *key, const std::vector<Node> &nodes, std::string *error)
{
    for (size_t first = 0; first < nodes.size(); first += kPipelineDepth) {
        Arguments arguments = {"HSET", key};
        for (size_t i = first; i < std::min(nodes.size(), first + kPipelineDepth); ++i) {
            arguments.push_back(nodes[i].name);
            arguments.push_back(nodes[i].value);
        }
        if (!command(arguments, error))
            return error ? failure(*error) : Status::unreachable;
    }
    return Status::ok;
}

Status Connection::store(const std::vector<Node> &nodes, std::string *error)
{
    std::vector<Node> legacy, native;
    for (const Node &node : nodes)
        (is_legacy(node.name) ? legacy : native).push_back(node);
    Status status = hash_set(kLegacyKey, legacy, error);
    return status == Status::ok ? hash_set(kNativeKey, native, error) : status;
}

Status Connection::store_ranges(const std::vector<Node> &ranges, std::string *error)
{
    return hash_set(kRangesKey, ranges, error);
}

// The value only: the id of its last write stays, so that a change still
// on its way is not taken for one that was never stored.
Status Connection::erase(const std::string &name, std::string *error)
{
    return command({"HDEL", nodes_key(name), name}, error) ? Status::ok : Status::unreachable;
}

Status Connection::dump(const std::string &prefix, std::vector<Node> *nodes, std::string *error)
{
    nodes->clear();
    std::string_view legacy(kLegacyPrefix);
    bool in_legacy = is_legacy(prefix) || legacy.compare(0, prefix.size(), prefix) == 0;
    bool in_native = !is_legacy(prefix);
    for (const char *key : {kLegacyKey, kNativeKey}) {
        if (key == kLegacyKey ? !in_legacy : !in_native)
            continue;
        Reply reply = command({"HGETALL", key}, error);
        if (!reply)
            return Status::unreachable;
        for (size_t i = 0; i + 1 < reply->elements; i += 2) {
            std::string name = reply_text(reply->element[i]);
            if (name.compare(0, prefix.size(), prefix) == 0)
                nodes->push_back({name, reply_text(reply->element[i + 1])});
        }
    }
    std::sort(nodes->begin(), nodes->end(), [](const Node &a, const Node &b) { return a.name < b.name; });
    return Status::ok;
}

Status Connection::clear(std::string *error)
{
    return command({"DEL", kLegacyKey, kNativeKey, kLegacyIdsKey, kNativeIdsKey, kRangesKey, kChangesKey,
                    kReadersKey},
                   error)
               ? Status::ok
               : (error ? failure(*error) : Status::unreachable);
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
