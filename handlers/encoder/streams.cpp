#include "bindings/placeholder.h"

PLACEHOLDER_HANDLER(cb_corvane_imgquality)
PLACEHOLDER_HANDLER(cb_corvane_keyframe)
PLACEHOLDER_HANDLER(cb_corvane_keyframeinterval)
PLACEHOLDER_HANDLER(cb_corvane_qp)
PLACEHOLDER_HANDLER(cb_corvane_sei)
PLACEHOLDER_HANDLER(cb_corvane_snapstream)
PLACEHOLDER_HANDLER(cb_corvane_enc_stream)
PLACEHOLDER_HANDLER(cb_corvane_bitrate)
PLACEHOLDER_HANDLER(cb_corvane_ratelimit)
PLACEHOLDER_HANDLER(cb_corvane_rlmode)
int getRangeMin(const char *range)
{
    (void)range;
    return 0;
}

int getRangeMax(const char *range)
{
    (void)range;
    return 0;
}

