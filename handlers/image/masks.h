// Privacy masks, the on-screen text overlay and the regions of interest.
#ifndef HANDLERS_IMAGE_MASKS_H
#define HANDLERS_IMAGE_MASKS_H

#include "frame/routine.h"

#define MASK_ROUTINES(X)               \
    X(handler, cb_corvane_pmask_block) \
    X(handler, cb_corvane_pmask_blrt)  \
    X(handler, cb_corvane_osd_all)     \
    X(handler, cb_corvane_roi_lv_en)

MASK_ROUTINES(DECLARE_ROUTINE)

#endif
