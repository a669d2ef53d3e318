#include "frame/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "frame/text.h"

namespace {

// Longer than any line the daemon prints; a longer one is merely split.
constexpr size_t kLineBufferBytes = 1024;
// Function names are far shorter; a longer one is cut.
constexpr size_t kPrefixBytes = 128;

} // namespace

void log_open()
{
    static char line_buffer[kLineBufferBytes];
    setvbuf(stdout, line_buffer, _IOLBF, sizeof line_buffer);
}

// "[function]-line: " put together by hand: it is printed before every
// line, and a general printf costs several times as much.
void log_prefix(const char *function, int line)
{
    char prefix[kPrefixBytes];
    size_t name_length = strnlen(function, sizeof prefix - 16);
    prefix[0] = '[';
    memcpy(prefix + 1, function, name_length);
    size_t length = name_length + 1;
    prefix[length++] = ']';
    prefix[length++] = '-';
    length += put_decimal(prefix + length, line);
    prefix[length++] = ':';
    prefix[length++] = ' ';
    fwrite(prefix, 1, length, stdout);
}

void log_message(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
}
