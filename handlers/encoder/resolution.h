// Stream resolutions, frame-rate clamp, stream-3 quality cap, global mode.
#ifndef HANDLERS_ENCODER_RESOLUTION_H
#define HANDLERS_ENCODER_RESOLUTION_H

#include "frame/routine.h"

#define RESOLUTION_ROUTINES(X)                                 \
    X(handler, cb_corvane_resolution)                          \
    X(handler, cb_corvane_fps)                                 \
    X(max_fps, getMaxFps)                                      \
    X(one_number, CorvChkStrm12Res2LimitStrm3Qual)             \
    X(handler, cb_corvane_global_mode) /* bound to no node */  \
    X(handler, cb_corvane_scaling) /* bound to no node */      \
    X(handler, cb_corvane_scaling_size) /* bound to no node */

RESOLUTION_ROUTINES(DECLARE_ROUTINE)

#endif
