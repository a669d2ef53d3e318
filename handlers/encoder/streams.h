// Per-stream encoder settings.
#ifndef HANDLERS_ENCODER_STREAMS_H
#define HANDLERS_ENCODER_STREAMS_H

#include "frame/routine.h"

#define STREAM_ROUTINES(X)                  \
    X(handler, cb_corvane_imgquality)       \
    X(handler, cb_corvane_keyframe)         \
    X(handler, cb_corvane_keyframeinterval) \
    X(handler, cb_corvane_qp)               \
    X(handler, cb_corvane_sei)              \
    X(handler, cb_corvane_snapstream)       \
    X(handler, cb_corvane_enc_stream)       \
    X(handler, cb_corvane_bitrate)          \
    X(handler, cb_corvane_ratelimit)        \
    X(handler, cb_corvane_rlmode)           \
    X(text_query, getRangeMin)              \
    X(text_query, getRangeMax)

STREAM_ROUTINES(DECLARE_ROUTINE)

#endif
