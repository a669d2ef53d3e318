// Motion detection.
#ifndef HANDLERS_EVENTS_MOTION_H
#define HANDLERS_EVENTS_MOTION_H

#include "frame/routine.h"

#define MOTION_ROUTINES(X)                  \
    X(handler, cb_corvane_mdtotalzones)     \
    X(handler, cb_corvane_motiondetect)     \
    X(handler, cb_corvane_mdzonesize)       \
    X(handler, cb_corvane_mdlevelthreshold) \
    X(handler, cb_corvane_mddetail)         \
    X(handler, cb_corvane_mdsensitivity)

MOTION_ROUTINES(DECLARE_ROUTINE)

#endif
