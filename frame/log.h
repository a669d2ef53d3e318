// Every diagnostic line is two writes to standard output: the prefix
// "[function]-line: " and then the message.
#ifndef FRAME_LOG_H
#define FRAME_LOG_H

void log_prefix(const char *function, int line);
void log_message(const char *format, ...) __attribute__((format(printf, 1, 2)));

#define LOG(...)                               \
    do {                                       \
        log_prefix(__func__, __LINE__);        \
        log_message(__VA_ARGS__);              \
    } while (0)

#endif
