// Exposure, gain, wide dynamic range, low light, day/night, mains
// frequency and defog.
#ifndef HANDLERS_IMAGE_EXPOSURE_H
#define HANDLERS_IMAGE_EXPOSURE_H

#include "frame/routine.h"

#define EXPOSURE_ROUTINES(X)              \
    X(handler, cb_corvane_exposure_mode)  \
    X(handler, cb_corvane_autoexp)        \
    X(handler, cb_corvane_shortexposures) \
    X(handler, cb_corvane_lowlight)       \
    X(handler, cb_corvane_wdr)            \
    X(handler, cb_corvane_analoggain)     \
    X(handler, cb_corvane_daygain)        \
    X(handler, cb_corvane_nightgain)      \
    X(handler, cb_corvane_daynight)       \
    X(handler, cb_corvane_dn_hrmin)       \
    X(handler, cb_corvane_freq)           \
    X(handler, cb_corvane_equalbright)    \
    X(handler, cb_corvane_sync_awb_dn_ae) \
    X(handler, cb_corvane_defog)

EXPOSURE_ROUTINES(DECLARE_ROUTINE)

#endif
