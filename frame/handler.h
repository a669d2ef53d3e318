// The common start of a handler: while the service is not ready it returns
// at once without a line; then the "Enter" line, under the handler's own
// name and line:
//
//     if (!ENTERED(name, value))
//         return;
#ifndef FRAME_HANDLER_H
#define FRAME_HANDLER_H

bool handler_entered(const char *function, int line, const char *name, const char *value);

#define ENTERED(name, value) handler_entered(__func__, __LINE__, name, value)

// The whole of a handler that copies the value unchanged to one native
// node: the gate, the "Enter" line, the write and
// "Set <name>(<value>) by <native> = <value> done!!", under `function`.
void copy_handler(const char *function, const char *name, const char *value, const char *native);

// A handler the legacy interface accepts but does not act on: once ready,
// "<function> (TBD), by <name> = <value>!!" and nothing else.
void inactive_handler(const char *function, const char *name, const char *value);

#endif
