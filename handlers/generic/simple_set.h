// The simple-set handler: audio, system information, addressing status,
// RTSP stream switches and DDNS.
#ifndef HANDLERS_GENERIC_SIMPLE_SET_H
#define HANDLERS_GENERIC_SIMPLE_SET_H

#include "frame/routine.h"

#define SIMPLE_SET_ROUTINES(X)        \
    X(handler, cb_corvane_simple_set)

SIMPLE_SET_ROUTINES(DECLARE_ROUTINE)

#endif
