// A handler whose translation is not built yet: it passes the ready gate,
// logs its "Enter" line and writes nothing. docs/STATUS.md lists them.
#ifndef BINDINGS_PLACEHOLDER_H
#define BINDINGS_PLACEHOLDER_H

#include "bindings/routines.h"
#include "frame/context.h"
#include "frame/log.h"

#define PLACEHOLDER_HANDLER(routine)                  \
    HANDLER(routine)                                  \
    {                                                 \
        if (!service.ready)                           \
            return;                                   \
        LOG("Enter %s = %s!!\n", name, value);        \
    }

#endif
