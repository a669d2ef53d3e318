// The simulated four-sensor head behind the motor-controller library: four
// carriers A..D (motors 0..3) on a pan ring, each with tilt, zoom and focus.
// Read-only view for corvane-sim's "head" and "svg" commands and the tests.
#ifndef SIM_PLATFORM_HEAD_H
#define SIM_PLATFORM_HEAD_H

#include <string>

namespace sim {

enum HeadKind { kHeadFocus = 0, kHeadZoom = 1, kHeadPan = 2, kHeadTilt = 3 };
constexpr int kHeadKinds = 4;
constexpr int kHeadMotors = 4;

struct HeadMotor {
    long position = 0;   // steps; pan: ring position (carrier B unwrapped from its home stop)
    long remaining = 0;  // steps of the current move still to go (busy while > 0)
    int direction = 0;   // +1 forward, -1 backward
    long lost = 0;       // steps commanded but blocked, since the head was set up
    int last_direction = 0;  // focus: direction of the last move, for the lost motion on reversal
    long slack = 0;          // focus: lost motion still to take up
};

// The sharpness the focus value reports as a function of the focus
// position: peak / (1 + |position - peak| / width); width 0 is a flat curve.
struct FocusCurve {
    long peak = 0;   // focus position of best sharpness
    long width = 0;  // half width at half height, steps
};

struct HeadState {
    long ring = 0;          // pan steps per revolution
    long width = 0;         // a carrier's width on the ring, in steps
    long home_stop = 0;     // ring position of carrier B's home stop
    long max[kHeadKinds] = {};  // end stops of focus, zoom, (pan unused), tilt
    long quantum = 0;       // steps a motor makes per step quantum
    long polls_per_quantum = 0;
    long clock = 0;         // busy polls so far
    HeadMotor motors[kHeadKinds][kHeadMotors];
    unsigned char collide[kHeadMotors] = {};  // what getCollideABCD reports (forcing applied)
    unsigned char home_flag = 0;              // what getHomeFlag reports (forcing applied)
    bool collide_forced = false;
    bool home_flag_forced = false;
    FocusCurve focus[kHeadMotors];
    long focus_noise = 0;     // per mille of each reading
    long focus_backlash = 0;  // steps lost when a focus motor reverses
};

// A consistent copy of the head.
HeadState head_state();
// Forgets the head; the next controller call sets it up again from the
// "@mcu.*" parameters.
void reset_head();
// Real microseconds each busy poll takes while a motor moves (0: none, the
// default), so that a viewer can follow a motion; the model's clock and the
// trace are the same at any pace.
void set_head_pace(long microseconds);
long head_pace();
// Free steps between carrier k and the next carrier forward (k + 1 mod 4).
long head_gap(const HeadState &state, int carrier);
// Pan angle of a carrier in degrees from B's home stop, 0..360.
double head_pan_degrees(const HeadState &state, int carrier);
// Sharpness of a sensor at its current focus position, without noise.
long head_sharpness(const HeadState &state, int motor);

constexpr long kSharpnessPeak = 100000;

} // namespace sim

#endif
