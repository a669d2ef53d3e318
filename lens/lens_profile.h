// Per-lens-type constants and the per-camera autofocus enable words.
#ifndef LENS_LENS_PROFILE_H
#define LENS_LENS_PROFILE_H

#include <cstdint>

#include "frame/routine.h"

struct LensProfile {
    int32_t lens_type;    // code returned by get_lenstype
    int32_t max_steps;    // full focus travel
    int32_t step1;        // coarse autofocus step
    int32_t step2;        // fine autofocus step
    int32_t param4;       // no reader; kept with its value
    int32_t param5;       // no reader; kept with its value
    int32_t cut;          // fall threshold, coarse search
    int32_t cut2;         // fall threshold, fine search
    int32_t bg;           // backlash steps
    int32_t focus_tick;   // focus motor speed while homing
    int32_t rise_level1;  // rise threshold, coarse search
    int32_t rise_level2;  // rise threshold, fine search
    int32_t param12;      // no reader; kept with its value
};
static_assert(sizeof(LensProfile) == 13 * sizeof(int32_t), "a lens profile is 13 words");

constexpr int kLensProfileCount = 2;
extern const LensProfile lens_profiles[kLensProfileCount];

// getLensTypeIndex: index of the profile of the fitted lens (model text in),
// -1 when the type is unknown.
#define LENS_PROFILE_ROUTINES(X) X(text_query, getLensTypeIndex)
LENS_PROFILE_ROUTINES(DECLARE_ROUTINE)

// The profile at `index`, or an all-zero profile for an unknown lens.
const LensProfile &lens_profile_or_zero(int index);

#endif
