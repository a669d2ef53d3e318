// Small text helpers shared by every handler: camera digit, substring tests,
// bounded formatting into the fixed name and value buffers, decimal parsing.
#ifndef FRAME_TEXT_H
#define FRAME_TEXT_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

// The character right after the first `marker` in `text`, minus '0'
// (so a digit gives its value); 0 when the marker is absent.
int digit_after(const char *text, const char *marker);

// Camera number of a node name: the digit after ".cam", 0 without ".cam".
inline int camera_digit(const char *name) { return digit_after(name, ".cam"); }

// How a handler reads the sensor a node name addresses: the camera digit
// when it is 1..9, else 0 (the global node); `five_global`: 5 is the global
// node too.
enum class SensorRule { one_to_nine, five_global };
int sensor_of(const char *name, SensorRule rule = SensorRule::one_to_nine);

inline bool contains(const char *text, const char *part) { return strstr(text, part) != nullptr; }
inline bool equals(const char *a, const char *b) { return strcmp(a, b) == 0; }

// strtol base 10 as the 32-bit device sees it: non-numbers give 0,
// out-of-range values saturate at the 32-bit limits.
int32_t parse_decimal(const char *text);

// Writes `number` in decimal ("-" first when negative) to `out`, without a
// terminator, and returns the count of characters (at most 11). Safe in a
// signal handler.
size_t put_decimal(char *out, int number);

// snprintf into a fixed buffer: never writes past it, always terminates.
int format_into_buffer(char *buffer, size_t size, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

template <size_t N>
__attribute__((format(printf, 2, 3))) int format_into(char (&buffer)[N], const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int length = vsnprintf(buffer, N, format, args);
    va_end(args);
    return length;
}

// Copies a table pattern holding one "%d" (a camera, stream, mail or user
// number) with `number` in its place; other characters are copied as they
// stand. Never writes past `size` bytes.
void expand_pattern(char *buffer, size_t size, const char *pattern, int number);

template <size_t N>
void expand_pattern(char (&buffer)[N], const char *pattern, int number)
{
    expand_pattern(buffer, N, pattern, number);
}

// Two's-complement wrap of a wider result, as 32-bit device arithmetic gives.
inline int32_t wrap_int32(int64_t value)
{
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(value)));
}

// The value formatted with itself as the format and no arguments, as the
// legacy interface did it: "%%" gives "%". Any other conversion would read
// an argument that is not there, so it is copied as it stands instead.
template <size_t N>
void expand_own_format(char (&buffer)[N], const char *value)
{
    size_t length = 0;
    for (const char *next = value; *next != '\0' && length + 1 < N; ++next) {
        if (next[0] == '%' && next[1] == '%')
            ++next;
        buffer[length++] = *next;
    }
    buffer[length] = '\0';
}

// Bounded copy: at most N-1 bytes of `text`, always terminated.
template <size_t N>
void copy_into(char (&buffer)[N], const char *text)
{
    (void)snprintf(buffer, N, "%s", text);
}

template <size_t N>
void clear(char (&buffer)[N])
{
    memset(buffer, 0, N);
}

#endif
