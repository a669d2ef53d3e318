// The PTZ status node, the PTZ command interpreter and the two presets.
#ifndef LENS_PTZ_H
#define LENS_PTZ_H

#include "frame/routine.h"

#define PTZ_ROUTINES(X)                                    \
    X(handler, cb_ptzstatus)                               \
    X(handler, cb_corvane_ptz_home) /* bound to no node */ \
    X(two_numbers, cb_corvane_ptz_preset)

PTZ_ROUTINES(DECLARE_ROUTINE)

#endif
