#include "frame/log.h"

#include <cstdarg>
#include <cstdio>

namespace {

// Longer than any line the daemon prints; a longer one is merely split.
constexpr size_t kLineBufferBytes = 1024;

} // namespace

void log_open()
{
    static char line_buffer[kLineBufferBytes];
    setvbuf(stdout, line_buffer, _IOLBF, sizeof line_buffer);
}

void log_prefix(const char *function, int line)
{
    printf("[%s]-%d: ", function, line);
}

void log_message(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
}
