// The reader's handling of the server's replies: arbitrary bytes taken as
// RESP by hiredis's own parser, every reply it makes given to the stream
// reply parsers and the stream id parser, as the reader would.
#include <hiredis/read.h>

#include "redisbus/connection.h"
#include "redisbus/reply.h"
#include "tests/fuzz/fuzz_daemon.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
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
