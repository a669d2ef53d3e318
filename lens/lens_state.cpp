#include "lens/lens_state.h"

LensState lens;
