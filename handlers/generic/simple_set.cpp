#include "bindings/placeholder.h"

PLACEHOLDER_HANDLER(cb_corvane_simple_set)
