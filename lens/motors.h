// Small helpers shared by the home routines, the layouts and the pan moves:
// busy waits on the motor controller and the collision report.
#ifndef LENS_MOTORS_H
#define LENS_MOTORS_H

#include <unistd.h>

#include "frame/context.h"
#include "lens/lens_state.h"
#include "frame/text.h"
#include "platform/mcu.h"

namespace motors {

// Motor n drives camera n + 1; the collision bytes are A..D = 0..3.
enum Carrier { kA = 0, kB = 1, kC = 2, kD = 3 };

constexpr int kPanStepsPerUnit = 12;
// Third argument of the Info calls, the same for every motor and kind.
constexpr int kInfoLimit = 65000;

// Position words add as the device's 32-bit words do.
inline void add_position(LensAxis axis, int camera_index, int64_t delta)
{
    int32_t &word = lens_position(axis, camera_index);
    word = wrap_int32(word + delta);
}

using BusyRead = int (*)(int motor, unsigned char *busy);
using Move = int (*)(int motor, int steps);

enum class Pause { none, microsecond };

// Polls until the busy byte no longer reads 1.
inline void wait_idle(BusyRead read, int motor, Pause pause)
{
    unsigned char busy;
    do {
        busy = 0;
        read(motor, &busy);
        if (pause == Pause::microsecond)
            usleep(1);
    } while (busy == 1);
}

// Polls while the busy byte is non-zero (the pan moves' own test).
inline void wait_zero(BusyRead read, int motor)
{
    unsigned char busy;
    do {
        busy = 0;
        read(motor, &busy);
    } while (busy != 0);
}

struct CollideReport {
    unsigned char bytes[4];
};

inline CollideReport read_collide()
{
    CollideReport report{};
    getCollideABCD(&report.bytes[kA], &report.bytes[kB], &report.bytes[kC], &report.bytes[kD]);
    return report;
}

inline unsigned char read_home_flag()
{
    unsigned char flag = 0;
    getHomeFlag(&flag);
    return flag;
}

inline bool at_home(unsigned char flag)
{
    return (flag & 1u) != 0;
}

} // namespace motors

#endif
