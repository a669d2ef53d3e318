#include "frame/handler.h"

#include "frame/context.h"
#include "frame/log.h"

bool handler_entered(const char *function, int line, const char *name, const char *value)
{
    if (!service.ready)
        return false;
    log_prefix(function, line);
    log_message("Enter %s = %s!!\n", name, value);
    return true;
}

void inactive_handler(const char *function, const char *name, const char *value)
{
    if (service.ready)
        LOG_AS(function, "%s (TBD), by %s = %s!!\n", function, name, value);
}
