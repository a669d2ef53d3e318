// Lens commands per sensor and for all sensors.
#ifndef LENS_LENS_COMMANDS_H
#define LENS_LENS_COMMANDS_H

#include "frame/routine.h"

#define LENS_COMMAND_ROUTINES(X)    \
    X(handler, cb_corvane_focus)    \
    X(handler, cb_corvane_zoom)     \
    X(handler, cb_corvane_pan)      \
    X(handler, cb_corvane_tilt)     \
    X(handler, cb_corvane_allfocus) \
    X(handler, cb_corvane_allzoom)  \
    X(handler, cb_corvane_allpan)   \
    X(handler, cb_corvane_alltilt)

LENS_COMMAND_ROUTINES(DECLARE_ROUTINE)

#endif
