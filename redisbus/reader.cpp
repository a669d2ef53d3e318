#include "redisbus/reader.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace corvane::bus {

namespace {

constexpr int kReadBatch = 512;
constexpr long kTrimEvery = 512;
constexpr time_t kTrimSeconds = 5;
constexpr int kLongestPauseMs = 500;
constexpr int kReplyMarginMs = 5000;

std::atomic<unsigned> readers_made{0};

// The value of `field` in a stream entry's field list.
std::string field(const redisReply *fields, const char *name)
{
    for (size_t i = 0; i + 1 < fields->elements; i += 2)
        if (reply_text(fields->element[i]) == name)
            return reply_text(fields->element[i + 1]);
    return "";
}

} // namespace

Reader::Reader(const Address &address)
    : connection_(address), name_(process_writer() + "#" + std::to_string(++readers_made))
{
    wake_key_ = kWakePrefix + name_;
}

Reader::~Reader()
{
    finish();
}

bool Reader::start(std::string *error)
{
    if (!connection_.open(error))
        return false;
    if (!connection_.command({"DEL", wake_key_}, error))
        return false;
    Reply reply = connection_.script("position", {kReadersKey, kChangesKey}, {name_, ""}, error);
    if (!reply || reply->elements < 1)
        return false;
    position_ = reply_text(reply->element[0]);
    started_ = true;
    published_ = true;
    return true;
}

void Reader::finish()
{
    if (!started_)
        return;
    started_ = false;
    std::string ignored;
    if (connection_.connected() || connection_.open(&ignored, 1000)) {
        connection_.append({"HDEL", kReadersKey, name_}, &ignored);
        connection_.append({"DEL", wake_key_}, &ignored);
        connection_.read(&ignored);
        connection_.read(&ignored);
    }
}

bool Reader::reconnect()
{
    std::string error;
    if (connection_.open(&error, kReplyMarginMs)) {
        pause_ms_ = 10;
        return true;
    }
    note_unreachable(error);
    timespec pause = {0, pause_ms_ * 1000000L};
    nanosleep(&pause, nullptr);
    pause_ms_ = std::min(pause_ms_ * 2, kLongestPauseMs);
    return false;
}

void Reader::poll(int block_ms, const std::function<void(const Change &)> &on_change)
{
    if (!connection_.connected() && !reconnect())
        return;
    publish_and_read(block_ms, on_change);
}

void Reader::publish_and_read(int block_ms, const std::function<void(const Change &)> &on_change)
{
    std::string error;
    std::string count = std::to_string(kReadBatch);
    std::string block = std::to_string(block_ms);
    connection_.open(&error, block_ms + kReplyMarginMs);
    // The position is published now and then (see trim_now_and_then) and
    // after a reconnection, in the same round trip as the read.
    bool publish = !published_;
    if ((publish && !connection_.append_script("position", {kReadersKey, kChangesKey}, {name_, position_}, &error)) ||
        !connection_.append({"XREAD", "COUNT", count, "BLOCK", block, "STREAMS", kChangesKey, wake_key_, position_,
                             wake_position_},
                            &error)) {
        note_unreachable(error);
        return;
    }
    Reply published = publish ? connection_.read(&error) : nullptr;
    Reply changes = !publish || published ? connection_.read(&error) : nullptr;
    if ((publish && !published) || !changes) {
        note_unreachable(error);
        published_ = false;
        return;
    }
    note_reachable(connection_.address(), position_);
    if (publish)
        note_publication(published.get());
    long delivered = 0;
    for (size_t s = 0; changes->type == REDIS_REPLY_ARRAY && s < changes->elements; ++s) {
        const redisReply *stream = changes->element[s];
        bool wake = reply_text(stream->element[0]) == wake_key_;
        const redisReply *entries = stream->element[1];
        for (size_t e = 0; e < entries->elements; ++e) {
            const redisReply *entry = entries->element[e];
            std::string id = reply_text(entry->element[0]);
            if (wake) {
                wake_position_ = id;
                continue;
            }
            const redisReply *fields = entry->element[1];
            on_change({id, field(fields, "name"), field(fields, "value"), field(fields, "writer")});
            position_ = id;
            ++delivered;
        }
    }
    trim_now_and_then(delivered);
}

// The reply of the position script: {position, 1 when the reader was not
// registered}. Only a reader whose lease ran out is new at this point.
void Reader::note_publication(const redisReply *reply)
{
    published_ = reply != nullptr;
    if (reply && reply->elements >= 2 && reply->element[1]->integer == 1)
        log_line("this reader had been silent longer than its lease; changes after %s may have been trimmed",
                 position_.c_str());
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
    note_publication(connection_.script("position", {kReadersKey, kChangesKey}, {name_, position_}, &error).get());
    connection_.script("trim", {kReadersKey, kChangesKey}, {lease}, &error);
}

} // namespace corvane::bus
