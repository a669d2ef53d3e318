#include "bindings/placeholder.h"

PLACEHOLDER_HANDLER(cb_corvane_resolution)
PLACEHOLDER_HANDLER(cb_corvane_fps)
int getMaxFps(int *max_fps, int channel, int stream_id)
{
    (void)max_fps;
    (void)channel;
    (void)stream_id;
    return 0;
}

void CorvChkStrm12Res2LimitStrm3Qual(int cam)
{
    (void)cam;
}

PLACEHOLDER_HANDLER(cb_corvane_global_mode)
PLACEHOLDER_HANDLER(cb_corvane_scaling)
PLACEHOLDER_HANDLER(cb_corvane_scaling_size)
