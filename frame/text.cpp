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

int sensor_of(const char *name, SensorRule rule)
{
    int camera = camera_digit(name);
    if (camera < 1 || camera > 9 || (rule == SensorRule::five_global && camera == 5))
        return 0;
    return camera;
}

size_t put_decimal(char *out, int number)
{
    char digits[10];
    size_t count = 0;
    unsigned value = number < 0 ? 0u - static_cast<unsigned>(number) : static_cast<unsigned>(number);
    do {
        digits[count++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    size_t length = 0;
    if (number < 0)
        out[length++] = '-';
    while (count > 0)
        out[length++] = digits[--count];
    return length;
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

// By hand rather than with snprintf: registration and the start-up
// synchronisation expand a name for every row and sensor.
void expand_pattern(char *buffer, size_t size, const char *pattern, int number)
{
    if (size == 0)
        return;
    const char *placeholder = strstr(pattern, "%d");
    char digits[12];
    size_t digit_count = placeholder ? put_decimal(digits, number) : 0;
    size_t length = 0;
    auto append = [&](const char *text, size_t count) {
        for (size_t i = 0; i < count && length + 1 < size; ++i)
            buffer[length++] = text[i];
    };
    if (!placeholder) {
        append(pattern, strlen(pattern));
    } else {
        append(pattern, static_cast<size_t>(placeholder - pattern));
        append(digits, digit_count);
        append(placeholder + 2, strlen(placeholder + 2));
    }
    buffer[length] = '\0';
}
