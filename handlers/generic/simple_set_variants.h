// The six further simple-set members.
#ifndef HANDLERS_GENERIC_SIMPLE_SET_VARIANTS_H
#define HANDLERS_GENERIC_SIMPLE_SET_VARIANTS_H

#include "frame/routine.h"

#define SIMPLE_SET_VARIANT_ROUTINES(X) \
    X(handler, cb_corvane_simple_set1) \
    X(handler, cb_corvane_simple_set2) \
    X(handler, cb_corvane_simple_set3) \
    X(handler, cb_corvane_simple_set4) \
    X(handler, cb_corvane_simple_set5) \
    X(handler, cb_corvane_simple_set6)

SIMPLE_SET_VARIANT_ROUTINES(DECLARE_ROUTINE)

#endif
