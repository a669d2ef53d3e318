// Picture adjustments, white balance, mirror, flip and rotation.
#ifndef HANDLERS_IMAGE_COLOUR_H
#define HANDLERS_IMAGE_COLOUR_H

#include "frame/routine.h"

#define COLOUR_ROUTINES(X)                                                                \
    X(handler, cb_corvane_brightness)                                                     \
    X(handler, cb_corvane_sharpness_gate) /* bound: tests ready, then calls the worker */ \
    X(handler, cb_corvane_sharpness)                                                      \
    X(handler, cb_corvane_saturation)                                                     \
    X(handler, cb_corvane_contrast_hue)                                                   \
    X(handler, cb_corvane_white_balance)                                                  \
    X(handler, cb_corvane_blue_red)                                                       \
    X(handler, cb_corvane_rotate)                                                         \
    X(handler, cb_corvane_img_mirror)                                                     \
    X(handler, cb_corvane_img_flip)                                                       \
    X(handler, cb_corvane_img_rotate)                                                     \
    X(handler, cb_corvane_equalcolor) /* bound to no node */

COLOUR_ROUTINES(DECLARE_ROUTINE)

#endif
