#include "frame/handler.h"

#include "frame/context.h"
#include "frame/log.h"
#include "platform/nbus.h"

bool handler_entered(const char *function, int line, const char *name, const char *value)
{
    if (!service.ready)
        return false;
    log_line(function, line, "Enter %s = %s!!\n", name, value);
    return true;
}

void copy_handler(const char *function, const char *name, const char *value, const char *native)
{
    if (!handler_entered(function, __LINE__, name, value))
        return;
    nbus_set(native, value);
    LOG_AS(function, "Set %s(%s) by %s = %s done!!\n", name, value, native, value);
}

void inactive_handler(const char *function, const char *name, const char *value)
{
    if (service.ready)
        LOG_AS(function, "%s (TBD), by %s = %s!!\n", function, name, value);
}
