/* An extension of the bus on Redis (redisbus/): the client writes of legacy
 * nodes made while the daemon was not running, applied once the handlers
 * are open. Weak, so that a libnbus without it links and the call is
 * skipped. */
#ifndef PLATFORM_NBUS_BACKLOG_H
#define PLATFORM_NBUS_BACKLOG_H

#ifdef __cplusplus
extern "C" {
#endif

int nbus_apply_backlog(void) __attribute__((weak));

#ifdef __cplusplus
}
#endif

#endif
