// Every diagnostic line is "[function]-line: " and then the message, on
// standard output. Standard output is line-buffered (log_open), so a whole
// line reaches the output in one write.
//
// A line is one line whatever the client sent: in the text arguments
// (values and node names) control bytes other than tab are escaped ("\n",
// "\r", "\xNN") and a text is cut after 1024 bytes with "...[cut]". With
// CORVANE_LOG_SECRETS=mask (the packaged services set it) a line that names
// a secret node shows its other text arguments as "********".
#ifndef FRAME_LOG_H
#define FRAME_LOG_H

// Whether a node name is one whose value is a secret.
using SecretName = bool (*)(const char *name);

// Makes standard output line-buffered in a static buffer and reads
// CORVANE_LOG_SECRETS once: "mask" (or any word but "clear") masks the
// values of the nodes `secret` names; unset, empty or "clear" keeps every
// value. Called before the first line is printed.
void log_open(SecretName secret = nullptr);

// One line: the prefix, then `format` as printf formats it, the text
// arguments shown as above.
void log_line(const char *function, int line, const char *format, ...) __attribute__((format(printf, 3, 4)));

#define LOG(...) LOG_AS(__func__, __VA_ARGS__)

// For a helper that logs on behalf of a routine: the prefix carries the
// routine's name (`function`, normally the caller's __func__).
#define LOG_AS(function, ...) log_line(function, __LINE__, __VA_ARGS__)

#endif
