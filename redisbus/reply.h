// The stream replies a reader acts on, taken apart with every element's
// type checked: a reply of an unexpected shape yields fewer changes, never
// a bad read.
#ifndef REDISBUS_REPLY_H
#define REDISBUS_REPLY_H

#include <string>
#include <vector>

#include <hiredis/hiredis.h>

#include "redisbus/client.h"

namespace corvane::bus {

// The entries of an XRANGE reply ({id, {field, value, ...}} each); an entry
// without an id or a name is skipped.
void parse_entries(const redisReply *entries, std::vector<Change> *changes);

struct ReadBatch {
    std::vector<Change> changes;  // of the change stream, in order
    std::string wake_position;    // the last entry of the wake stream, if any
};

// An XREAD reply over the change stream and the reader's wake stream.
void parse_read_reply(const redisReply *reply, const std::string &wake_key, ReadBatch *batch);

} // namespace corvane::bus

#endif
