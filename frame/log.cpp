#include "frame/log.h"

#include <cstdarg>
#include <cstdio>

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
