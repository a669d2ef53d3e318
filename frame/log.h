// Every diagnostic line is "[function]-line: " and then the message, on
// standard output. Standard output is line-buffered (log_open), so a whole
// line reaches the output in one write.
#ifndef FRAME_LOG_H
#define FRAME_LOG_H

// Makes standard output line-buffered in a static buffer; called before the
// first line is printed.
void log_open();

// One line: the prefix, then `format` as printf formats it. A format whose
// only conversions are "%s" and "%%" (the lines of every handler call) is
// copied piece by piece instead of through printf; the text is the same.
void log_line(const char *function, int line, const char *format, ...) __attribute__((format(printf, 3, 4)));

#define LOG(...) LOG_AS(__func__, __VA_ARGS__)

// For a helper that logs on behalf of a routine: the prefix carries the
// routine's name (`function`, normally the caller's __func__).
#define LOG_AS(function, ...) log_line(function, __LINE__, __VA_ARGS__)

#endif
