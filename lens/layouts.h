// The three panoramic layouts and the two pan moves.
#ifndef LENS_LAYOUTS_H
#define LENS_LAYOUTS_H

#include "frame/routine.h"

#define LAYOUT_ROUTINES(X)                        \
    X(plain, ptzto360)                            \
    X(plain, ptzto270)                            \
    X(plain, ptzto180)                            \
    X(handler, do_new_pan) /* bound to no node */ \
    X(handler, do_old_pan) /* bound to no node */

LAYOUT_ROUTINES(DECLARE_ROUTINE)

#endif
