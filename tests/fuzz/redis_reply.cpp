// The reader's handling of the server's replies: arbitrary bytes taken as
// RESP by hiredis's own parser, every reply it makes given to the stream
// reply parsers and the stream id parser, as the reader would.
#include <cstring>

#include <hiredis/read.h>

#include "redisbus/connection.h"
#include "redisbus/reply.h"
#include "tests/fuzz/fuzz_daemon.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    return 0;
}

namespace {

// hiredis 0.14 allocates an aggregate as large as its header says before a
// single element arrives (later versions bound it with maxelements): the
// bus server is trusted for sizes. Inputs announcing more than a reply the
// bus asks for could hold are left out.
constexpr long long kMostElements = 1000000;

bool announces_too_many(const uint8_t *data, size_t size)
{
    // Anywhere, not only at a line's start: hiredis skips the two bytes after
    // a bulk string whatever they are.
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == '\0' || !strchr("*%~>|", data[i]))
            continue;
        long long count = 0;
        for (size_t j = i + 1; j < size && data[j] >= '0' && data[j] <= '9' && count <= kMostElements; ++j)
            count = count * 10 + (data[j] - '0');
        if (count > kMostElements)
            return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (announces_too_many(data, size))
        return 0;
    redisReader *reader = redisReaderCreate();
    if (!reader)
        return 0;
    reader->maxbuf = 0;
    redisReaderFeed(reader, reinterpret_cast<const char *>(data), size);
    void *raw = nullptr;
    while (redisReaderGetReply(reader, &raw) == REDIS_OK && raw) {
        corvane::bus::Reply reply(static_cast<redisReply *>(raw));
        corvane::bus::ReadBatch batch;
        corvane::bus::parse_read_reply(reply.get(), "corvane:wake:fuzz", &batch);
        std::vector<corvane::bus::Change> changes;
        corvane::bus::parse_entries(reply.get(), &changes);
        for (const corvane::bus::Change &change : batch.changes)
            (void)corvane::bus::StreamId::parse(change.id);
        for (const corvane::bus::Change &change : changes)
            (void)(corvane::bus::StreamId::parse(change.id) <= corvane::bus::StreamId::parse(batch.wake_position));
        raw = nullptr;
    }
    redisReaderFree(reader);
    return 0;
}
