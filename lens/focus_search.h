// The contrast autofocus search behind doAFocusAll and findFocusMaximum.
//
// It runs on a small table of controller calls, so that the same search
// drives the motor controller on the device and a plain curve model in the
// unit tests. Every camera given is searched at once: each round starts one
// focus move per camera, waits until the motors are idle and reads the focus
// value of each camera that wants one.
//
// Positions are focus motor steps counted backward from the forward end stop
// (where the home routines leave the lens, position 0), so 0..max_steps.
#ifndef LENS_FOCUS_SEARCH_H
#define LENS_FOCUS_SEARCH_H

#include <cstdint>

#include "frame/context.h"
#include "lens/lens_profile.h"

struct FocusDrive {
    int (*forward)(int motor, int steps);
    int (*backward)(int motor, int steps);
    int (*busy)(int motor, unsigned char *busy);
    int (*value)(int channel, unsigned int *value);
    bool (*enabled)(int camera_index);
};

enum class FocusOutcome : uint8_t {
    peak,     // the lens stands at the fitted peak (or at the end stop it lies on)
    flat,     // no peak: the lens stands in the middle of the travel
    stopped,  // the camera's af_enable word was cleared; the lens stays where it was
};

struct FocusResult {
    FocusOutcome outcome;
    int32_t position;     // where the lens was left
    int32_t coarse_peak;  // best position of the coarse sweep (-1 when none)
    int32_t fine_peak;    // best fine reading's position (-1 when none)
};

// Searches camera index c (0..3) for every bit c set in `cameras` and fills
// results[c]; the other entries are left alone. Its log lines carry the
// name of the routine that runs it.
void run_focus_search(const char *routine, const FocusDrive &drive, const LensProfile &profile, unsigned cameras,
                      FocusResult (&results)[kMaxCameras]);

// The peak of a V fitted to 1 / value over the samples (positions with their
// values), searched between lo and hi: the blur of a defocused lens grows
// linearly with the defocus, so the inverse of the focus value is a V whose
// vertex is the focus. `step` sets the resolution of the search.
double fit_focus_peak(const int32_t *positions, const uint32_t *values, int count, double lo, double hi,
                      int32_t step);

#endif
