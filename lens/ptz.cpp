#include "bindings/placeholder.h"

PLACEHOLDER_HANDLER(cb_ptzstatus)
PLACEHOLDER_HANDLER(cb_corvane_ptz_home)
void cb_corvane_ptz_preset(int preset, int mode)
{
    (void)preset;
    (void)mode;
}

