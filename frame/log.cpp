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

// A line put together in one piece and handed to standard output in one
// call: each output call on a line-buffered stream scans its text for a line
// feed, so a piece at a time costs several times as much. A line longer than
// the piece buffer is handed over in parts, as a long printf line is split.
class Line {
public:
    void put(const char *piece, size_t size)
    {
        if (length_ + size > sizeof text_) {
            hand_over();
            if (size > sizeof text_) {
                fwrite_unlocked(piece, 1, size, stdout);
                return;
            }
        }
        memcpy(text_ + length_, piece, size);
        length_ += size;
    }

    void put(const char *text) { put(text, strlen(text)); }

    // "[function]-line: ", the prefix of every line; a name too long for
    // it is cut.
    void put_prefix(const char *function, int line)
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
        put(prefix, length);
    }

    void hand_over()
    {
        fwrite_unlocked(text_, 1, length_, stdout);
        length_ = 0;
    }

private:
    char text_[kLineBufferBytes];
    size_t length_ = 0;
};

// True when every conversion in `format` is a plain "%s" or "%%".
bool only_strings(const char *format)
{
    for (const char *mark = strchr(format, '%'); mark; mark = strchr(mark + 2, '%'))
        if (mark[1] != 's' && mark[1] != '%')
            return false;
    return true;
}

// What printf prints for such a format: the literal runs and the arguments
// as they stand ("(null)" for a null one, as glibc prints it).
void put_strings(Line &out, const char *format, va_list args)
{
    const char *run = format;
    for (const char *mark = strchr(run, '%'); mark; mark = strchr(run, '%')) {
        out.put(run, static_cast<size_t>(mark - run));
        if (mark[1] == '%') {
            out.put("%", 1);
        } else {
            const char *text = va_arg(args, const char *);
            out.put(text ? text : "(null)");
        }
        run = mark + 2;
    }
    out.put(run);
}

} // namespace

void log_open()
{
    static char line_buffer[kLineBufferBytes];
    (void)setvbuf(stdout, line_buffer, _IOLBF, sizeof line_buffer);
}

void log_line(const char *function, int line, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    Line out;
    flockfile(stdout);
    out.put_prefix(function, line);
    if (only_strings(format)) {
        put_strings(out, format, args);
        out.hand_over();
    } else {
        out.hand_over();
        (void)vfprintf(stdout, format, args);
    }
    funlockfile(stdout);
    va_end(args);
}
