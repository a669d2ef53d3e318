#include "redisbus/reply.h"

#include <cstring>

#include "redisbus/connection.h"

namespace corvane::bus {

namespace {

bool is_text(const redisReply *reply)
{
    return reply && (reply->type == REDIS_REPLY_STRING || reply->type == REDIS_REPLY_STATUS) && reply->str;
}

bool is_array(const redisReply *reply, size_t at_least)
{
    return reply && reply->type == REDIS_REPLY_ARRAY && reply->elements >= at_least && reply->element;
}

// The value of `name` in a stream entry's field list.
std::string field(const redisReply *fields, const char *name, bool *found = nullptr)
{
    size_t length = strlen(name);
    for (size_t i = 0; is_array(fields, 0) && i + 1 < fields->elements; i += 2) {
        const redisReply *key = fields->element[i];
        if (is_text(key) && key->len == length && memcmp(key->str, name, length) == 0 &&
            is_text(fields->element[i + 1])) {
            if (found)
                *found = true;
            return reply_text(fields->element[i + 1]);
        }
    }
    return "";
}

} // namespace

void parse_entries(const redisReply *entries, std::vector<Change> *changes)
{
    changes->clear();
    if (!is_array(entries, 0))
        return;
    for (size_t e = 0; e < entries->elements; ++e) {
        const redisReply *entry = entries->element[e];
        if (!is_array(entry, 2) || !is_text(entry->element[0]))
            continue;
        bool named = false;
        std::string name = field(entry->element[1], "name", &named);
        if (!named)
            continue;
        changes->push_back({reply_text(entry->element[0]), std::move(name), field(entry->element[1], "value"),
                            field(entry->element[1], "writer")});
    }
}

void parse_read_reply(const redisReply *reply, const std::string &wake_key, ReadBatch *batch)
{
    batch->changes.clear();
    batch->wake_position.clear();
    if (!is_array(reply, 0))
        return;
    for (size_t s = 0; s < reply->elements; ++s) {
        const redisReply *stream = reply->element[s];
        if (!is_array(stream, 2) || !is_text(stream->element[0]))
            continue;
        const redisReply *entries = stream->element[1];
        if (reply_text(stream->element[0]) != wake_key) {
            std::vector<Change> changes;
            parse_entries(entries, &changes);
            batch->changes.insert(batch->changes.end(), changes.begin(), changes.end());
        } else if (is_array(entries, 1) && is_array(entries->element[entries->elements - 1], 1) &&
                   is_text(entries->element[entries->elements - 1]->element[0])) {
            batch->wake_position = reply_text(entries->element[entries->elements - 1]->element[0]);
        }
    }
}

} // namespace corvane::bus
