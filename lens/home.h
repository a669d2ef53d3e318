// The two home routines.
#ifndef LENS_HOME_H
#define LENS_HOME_H

#include "frame/routine.h"

#define HOME_ROUTINES(X)  \
    X(plain, ptztohome)   \
    X(plain, ptz2NewHome)

HOME_ROUTINES(DECLARE_ROUTINE)

#endif
