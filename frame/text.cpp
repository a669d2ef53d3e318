#include "frame/text.h"

#include <cerrno>
#include <cstdlib>

int digit_after(const char *text, const char *marker)
{
    const char *found = strstr(text, marker);
    if (!found)
        return 0;
    // as on the device, whose char is unsigned
    return static_cast<unsigned char>(found[strlen(marker)]) - '0';
}

int32_t parse_decimal(const char *text)
{
    long value = strtol(text, nullptr, 10);
    if (value > INT32_MAX)
        return INT32_MAX;
    if (value < INT32_MIN)
        return INT32_MIN;
    return static_cast<int32_t>(value);
}

int format_into_buffer(char *buffer, size_t size, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int length = vsnprintf(buffer, size, format, args);
    va_end(args);
    return length;
}

void expand_pattern(char *buffer, size_t size, const char *pattern, int number)
{
    if (size == 0)
        return;
    const char *placeholder = strstr(pattern, "%d");
    if (!placeholder) {
        (void)snprintf(buffer, size, "%s", pattern);
        return;
    }
    int head = static_cast<int>(placeholder - pattern);
    (void)snprintf(buffer, size, "%.*s%d%s", head, pattern, number, placeholder + 2);
}
