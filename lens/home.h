// The two home routines.
#ifndef LENS_HOME_H
#define LENS_HOME_H

#include <cstdint>

#include "frame/routine.h"

#define HOME_ROUTINES(X)  \
    X(plain, ptztohome)   \
    X(plain, ptz2NewHome)

HOME_ROUTINES(DECLARE_ROUTINE)

// The home routine the motor controller of firmware `mcu_version` needs.
plain_routine *home_routine_for(int32_t mcu_version);

#endif
