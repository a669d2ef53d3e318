#include "redisbus/reader.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <sys/socket.h>

namespace corvane::bus {

namespace {

constexpr int kReadBatch = 512;
constexpr long kTrimEvery = 512;
constexpr time_t kTrimSeconds = 5;
constexpr int kLongestPauseMs = 500;
constexpr int kReplyMarginMs = 5000;
constexpr char kBacklogBatch[] = "1000";

std::atomic<unsigned> readers_made{0};

} // namespace

Reader::Reader(const Address &address, const std::string &name)
    : connection_(address), name_(name), durable_(!name.empty())
{
    if (name_.empty())
        name_ = process_writer() + "#" + std::to_string(++readers_made);
    wake_key_ = kWakePrefix + name_;
}

Reader::~Reader()
{
    finish();
}

void Reader::opened()
{
    socket_ = connection_.socket();
}

bool Reader::start(std::string *error)
{
    if (!connection_.open(error))
        return false;
    opened();
    if (!connection_.command({"DEL", wake_key_}, error))
        return false;
    Reply reply = connection_.call("corvane_position", {kReadersKey, kChangesKey}, {name_, "", "start"}, error);
    if (!reply || reply->type != REDIS_REPLY_ARRAY || reply->elements < 3)
        return false;
    std::string held = reply_text(reply->element[0]);
    std::string last = reply_text(reply->element[2]);
    bool registered = reply->element[1]->integer == 1;
    position_ = last;
    backlog_ = Backlog();
    if (durable_ && registered && StreamId::parse(held) < StreamId::parse(last)) {
        if (!collect_backlog(held, last, error))
            return false;
        holding_ = true;
    }
    started_ = true;
    published_ = true;
    return true;
}

// The changes after `after` up to `last`: each legacy node's latest write
// is kept when the store still holds it as that node's last write.
bool Reader::collect_backlog(const std::string &after, const std::string &last, std::string *error)
{
    backlog_.after = after;
    std::vector<Change> latest;
    std::map<std::string, size_t> latest_of;
    std::string from = "(" + after;
    for (;;) {
        Reply reply = connection_.command({"XRANGE", kChangesKey, from, last, "COUNT", kBacklogBatch}, error);
        if (!reply)
            return false;
        std::vector<Change> changes;
        parse_entries(reply.get(), &changes);
        for (Change &change : changes) {
            if (!is_legacy(change.name))
                continue;
            ++backlog_.writes;
            auto [slot, added] = latest_of.emplace(change.name, latest.size());
            if (!added)
                latest[slot->second].id.clear();  // overtaken
            slot->second = latest.size();
            latest.push_back(std::move(change));
        }
        if (reply->type != REDIS_REPLY_ARRAY || reply->elements == 0)
            break;
        const redisReply *tail = reply->element[reply->elements - 1];
        if (tail->type != REDIS_REPLY_ARRAY || tail->elements < 1)
            break;
        from = "(" + reply_text(tail->element[0]);
    }
    for (const Change &change : latest)
        if (!change.id.empty())
            backlog_.latest.push_back(change);
    // A node written since (after `last`) has been overtaken as well.
    for (const Change &change : backlog_.latest)
        if (!connection_.append({"HGET", kLegacyIdsKey, change.name}, error))
            return false;
    std::vector<Change> kept;
    for (const Change &change : backlog_.latest) {
        Reply stamp = connection_.read(error);
        if (!stamp && !connection_.connected())
            return false;
        if (stamp && stamp->type == REDIS_REPLY_STRING && reply_text(stamp.get()) == change.id)
            kept.push_back(change);
    }
    backlog_.latest = std::move(kept);
    return true;
}

void Reader::finish(int timeout_ms)
{
    if (!started_)
        return;
    started_ = false;
    socket_ = -1;
    // One try, each step bounded: a stop must not wait on the server.
    std::string ignored;
    if (!connection_.open(&ignored, timeout_ms))
        return;
    if (durable_)
        connection_.append_call("corvane_position", {kReadersKey, kChangesKey}, {name_, published_position(), "publish"},
                                &ignored);
    else
        connection_.append({"HDEL", kReadersKey, name_}, &ignored);
    if (connection_.connected() && connection_.append({"DEL", wake_key_}, &ignored) && connection_.read(&ignored))
        connection_.read(&ignored);
    connection_.close();
}

void Reader::interrupt()
{
    int socket = socket_;
    if (socket >= 0)
        shutdown(socket, SHUT_RDWR);
}

bool Reader::reconnect()
{
    std::string error;
    if (connection_.open(&error, kReplyMarginMs)) {
        opened();
        pause_ms_ = 10;
        return true;
    }
    note_unreachable(error);
    timespec pause = {0, pause_ms_ * 1000000L};
    nanosleep(&pause, nullptr);
    pause_ms_ = std::min(pause_ms_ * 2, kLongestPauseMs);
    return false;
}

void Reader::poll(int block_ms, const std::function<bool(const Change &)> &on_change)
{
    if (!connection_.connected() && !reconnect())
        return;
    publish_and_read(block_ms, on_change);
}

// Whether each change's id is one the store holds for its node: the id of
// the node's last write or an earlier one. A change added to the stream by
// hand was never stored and is not acted on.
bool Reader::verify(const std::vector<Change> &changes, std::vector<bool> *stored, std::string *error)
{
    for (const Change &change : changes)
        if (!connection_.append({"HGET", ids_key(change.name), change.name}, error))
            return false;
    stored->clear();
    for (const Change &change : changes) {
        Reply stamp = connection_.read(error);
        if (!stamp)
            return false;
        stored->push_back(stamp->type == REDIS_REPLY_STRING &&
                          StreamId::parse(change.id) <= StreamId::parse(reply_text(stamp.get())));
    }
    return true;
}

void Reader::publish_and_read(int block_ms, const std::function<bool(const Change &)> &on_change)
{
    std::string error;
    std::string count = std::to_string(kReadBatch);
    std::string block = std::to_string(block_ms);
    connection_.open(&error, block_ms + kReplyMarginMs);
    // The position is published now and then (see trim_now_and_then) and
    // after a reconnection, in the same round trip as the read.
    bool publish = !published_;
    if ((publish && !connection_.append_call("corvane_position", {kReadersKey, kChangesKey},
                                             {name_, published_position(), "publish"}, &error)) ||
        !connection_.append({"XREAD", "COUNT", count, "BLOCK", block, "STREAMS", kChangesKey, wake_key_, position_,
                             wake_position_},
                            &error)) {
        note_unreachable(error);
        return;
    }
    Reply published = publish ? connection_.read(&error) : nullptr;
    bool lost_library = publish && !published && is_missing_function(error);
    Reply reply = !publish || published || connection_.connected() ? connection_.read(&error) : nullptr;
    if (lost_library) {
        log_line("the server had lost the function library: loading it again");
        connection_.close();  // the library is loaded with the next connection
    }
    if (!reply || lost_library) {
        if (!lost_library)
            note_unreachable(error);
        published_ = false;
        return;
    }
    note_reachable(connection_.address(), position_);
    if (publish)
        note_publication(published.get());
    ReadBatch batch;
    parse_read_reply(reply.get(), wake_key_, &batch);
    if (!batch.wake_position.empty())
        wake_position_ = batch.wake_position;
    std::vector<bool> stored;
    if (!verify(batch.changes, &stored, &error)) {
        note_unreachable(error);
        published_ = false;
        return;
    }
    long delivered = 0;
    for (size_t i = 0; i < batch.changes.size(); ++i) {
        const Change &change = batch.changes[i];
        if (!stored[i])
            log_line("change %s of node \"%s\" was never stored: not acted on", change.id.c_str(),
                     change.name.c_str());
        else if (!on_change(change))
            break;
        position_ = change.id;
        ++delivered;
    }
    // A service publishes what it has handled with its next read: after a
    // crash it resumes behind at most the batch it was handling.
    if (durable_ && delivered > 0)
        published_ = false;
    trim_now_and_then(delivered);
}

// The reply of the position function: {position, 1 when the reader was not
// registered, the stream's last id}.
void Reader::note_publication(const redisReply *reply)
{
    published_ = reply != nullptr;
    if (!reply || reply->type != REDIS_REPLY_ARRAY || reply->elements < 3)
        return;
    std::string last = reply_text(reply->element[2]);
    if (StreamId::parse(last) < StreamId::parse(position_)) {
        log_line("the change stream ends at %s, before this reader's position %s: following it from its start",
                 last.c_str(), position_.c_str());
        position_ = "0-0";
        holding_ = false;
        published_ = false;
    } else if (reply->element[1]->type == REDIS_REPLY_INTEGER && reply->element[1]->integer == 1) {
        log_line("this reader was no longer registered (silent longer than its lease, or the server lost its "
                 "keys); changes after %s may have been trimmed",
                 position_.c_str());
    }
}

void Reader::trim_now_and_then(long delivered)
{
    since_trim_ += delivered;
    time_t now = time(nullptr);
    if (since_trim_ < kTrimEvery && now - last_trim_ < kTrimSeconds)
        return;
    since_trim_ = 0;
    last_trim_ = now;
    std::string error;
    std::string lease = std::to_string(reader_lease_ms());
    note_publication(connection_
                         .call("corvane_position", {kReadersKey, kChangesKey},
                               {name_, published_position(), "publish"}, &error)
                         .get());
    // A position past the stream's end is never published as a trim mark.
    if (published_)
        connection_.call("corvane_trim", {kReadersKey, kChangesKey}, {lease}, &error);
}

} // namespace corvane::bus
