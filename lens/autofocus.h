// The all-sensor autofocus and the one-camera focus-maximum search.
#ifndef LENS_AUTOFOCUS_H
#define LENS_AUTOFOCUS_H

#include "frame/routine.h"

// findFocusMaximum takes the camera number, 1..4.
#define AUTOFOCUS_ROUTINES(X)  \
    X(plain, doAFocusAll)      \
    X(one_number, findFocusMaximum)

AUTOFOCUS_ROUTINES(DECLARE_ROUTINE)

#endif
