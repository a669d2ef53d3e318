// The two home routines: tilts down, zooms wide, focus to its fixed point,
// then the four pan carriers packed against each other and the home switch.
#include "lens/home.h"

#include <cstdint>

#include "frame/context.h"
#include "frame/log.h"
#include "lens/motors.h"
#include "platform/mcu.h"

using namespace motors;

namespace {

constexpr int32_t kNewHomeControllerVersion = 0xF005;
constexpr int kPanStep = 60;  // one round of the collision and home loops

using Info = int (*)(int motor, int speed, int limit);

void set_speeds()
{
    setOeEnable(1);
    // only the low byte of the focus tick reaches the controller
    const int focus_speed = static_cast<uint8_t>(lens.mcu_tick);
    const struct {
        Info info;
        int speed;
    } kinds[] = {{setFocusInfo, focus_speed}, {setZoomInfo, 1}, {setPanInfo, 1}, {setTiltInfo, 1}};
    for (const auto &kind : kinds)
        for (int motor = kA; motor <= kD; ++motor)
            kind.info(motor, kind.speed, kInfoLimit);
}

void tilt_all_down()
{
    for (int motor = kA; motor <= kD; ++motor)
        setTiltBackward(motor, 2000);
    for (int motor = kA; motor <= kD; ++motor)
        wait_idle(getTiltBusyStatus, motor, Pause::microsecond);
}

void zoom_wide_focus_fixed()
{
    for (int motor = kA; motor <= kD; ++motor)
        setZoomBackward(motor, 3000);
    for (int motor = kA; motor <= kD; ++motor)
        setFocusForward(motor, 4100);
    for (int motor = kA; motor <= kD; ++motor)
        wait_idle(getZoomBusyStatus, motor, Pause::none);
    for (int motor = kA; motor <= kD; ++motor)
        wait_idle(getFocusBusyStatus, motor, Pause::none);
}

void zero_positions()
{
    for (int32_t &word : lens.cam_motor)
        word = 0;
}

// One carrier is backed towards its neighbour in 60-step rounds until the
// neighbour's collision byte reports contact or the rounds run out.
struct GapClosing {
    const char *log;
    int collide_byte;
    int motor;
    int max_rounds;  // deliberate mechanical constants
};
constexpr GapClosing kGapClosings[] = {
    {.log = "==move c motor to motor b ==", .collide_byte = kB, .motor = kC, .max_rounds = 167},
    {.log = "==move d motor to motor c ==", .collide_byte = kC, .motor = kD, .max_rounds = 234},
    {.log = "==move a motor to motor d ==", .collide_byte = kD, .motor = kA, .max_rounds = 300},
};

void close_gap(const GapClosing &closing)
{
    for (int round = 0; round < closing.max_rounds; ++round) {
        if (read_collide().bytes[closing.collide_byte] == 0)
            return;
        setPanBackward(closing.motor, kPanStep);
        wait_idle(getPanBusyStatus, closing.motor, Pause::microsecond);
    }
}

void pan_backward(const int (&order)[3], int steps)
{
    for (int motor : order)
        setPanBackward(motor, steps);
}

} // namespace

void ptztohome()
{
    LOG("Ptz to home\n");
    set_speeds();
    LOG("tilt all to zero degree!\n");
    tilt_all_down();
    LOG("zoom all to wide angle!\n");
    zoom_wide_focus_fixed();

    for (const GapClosing &closing : kGapClosings) {
        LOG("%s\n", closing.log);
        close_gap(closing);
    }

    LOG("move all cameras to home position!\n");
    unsigned char flag = read_home_flag();
    if (at_home(flag)) {
        LOG("A.home status: %d\n", flag);
    } else {
        setPanBackward(kB, kPanStep);
        // no cap: the head turns until the switch reports home
        for (;;) {
            flag = read_home_flag();
            if (at_home(flag))
                break;
            for (int motor : {kA, kC, kD, kB})
                setPanBackward(motor, kPanStep);
            for (int motor = kA; motor <= kD; ++motor)
                wait_idle(getPanBusyStatus, motor, Pause::none);
            LOG("B.home status: %d\n", flag);
        }
        pan_backward({kA, kC, kD}, kPanStep);
    }

    zero_positions();
    LOG("== end of ptztohome!!\n");
}

void ptz2NewHome()
{
    LOG("New Ptz to home\n");
    set_speeds();
    LOG("New tilt all to zero degree!\n");
    tilt_all_down();
    LOG("New zoom all to wide angle!\n");
    zoom_wide_focus_fixed();

    LOG("New==move motor CDA to B ==\n");
    setPanBackward(kC, 17000);
    usleep(100);
    setPanBackward(kD, 17000);
    usleep(100);
    setPanBackward(kA, 20000);
    LOG("New==move motor C to motor B ==\n");
    wait_idle(getPanBusyStatus, kC, Pause::microsecond);
    LOG("New==move motor D to motor C ==\n");
    wait_idle(getPanBusyStatus, kD, Pause::microsecond);
    LOG("New==move motor A to motor D ==\n");
    wait_idle(getPanBusyStatus, kA, Pause::microsecond);

    LOG("New==move motor ABCD to home ==\n");
    const int order[] = {kB, kC, kD, kA};
    for (int motor : order) {
        setPanBackward(motor, 12000);
        if (motor != order[3])
            usleep(10000);
    }
    for (int motor : order)
        wait_idle(getPanBusyStatus, motor, Pause::microsecond);

    zero_positions();
    LOG("New== end of ptztohome!!\n");
}

plain_routine *home_routine_for(int32_t mcu_version)
{
    return mcu_version == kNewHomeControllerVersion ? ptz2NewHome : ptztohome;
}
