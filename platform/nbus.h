/* Configuration bus client library (libnbus). */
#ifndef PLATFORM_NBUS_H
#define PLATFORM_NBUS_H

#ifdef __cplusplus
extern "C" {
#endif

/* Called by the bus for every write of a node the callback listens on:
 * full node name and new value, both valid only during the call. */
typedef void (*nbus_callback)(const char *name, const char *value);

int nbus_initial(void);
int nbus_release(void);

/* 0 on success with the zero-terminated value in buf (truncated to size). */
int nbus_get(const char *name, char *buf, int size);
int nbus_set(const char *name, const char *value);
int nbus_listen(const char *name, nbus_callback callback);

/* Permitted-range description of a node, e.g. "type:int;cont[64~16384]". */
int nbus_get_range(const char *name, char *buf, int size);

int nbus_printf(const char *format, ...) __attribute__((format(printf, 1, 2)));

#ifdef __cplusplus
}
#endif

#endif
