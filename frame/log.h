// Every diagnostic line is two output calls on standard output: the prefix
// "[function]-line: " and then the message. Standard output is line-buffered
// (log_open), so a whole line still reaches the output in one write.
#ifndef FRAME_LOG_H
#define FRAME_LOG_H

// Makes standard output line-buffered in a static buffer; called before the
// first line is printed.
void log_open();
void log_prefix(const char *function, int line);
void log_message(const char *format, ...) __attribute__((format(printf, 1, 2)));

#define LOG(...) LOG_AS(__func__, __VA_ARGS__)

// For a helper that logs on behalf of a routine: the prefix carries the
// routine's name (`function`, normally the caller's __func__).
#define LOG_AS(function, ...)                  \
    do {                                       \
        log_prefix(function, __LINE__);        \
        log_message(__VA_ARGS__);              \
    } while (0)

#endif
