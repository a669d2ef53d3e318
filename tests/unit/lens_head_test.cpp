// The simulated head behind the motor-controller library, and the home
// routines run against it directly.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "bindings/routine_list.h"
#include "frame/context.h"
#include "lens/lens_state.h"
#include "platform/mcu.h"
#include "sim/driver/head.h"
#include "sim/platform/head.h"
#include "sim/platform/sim.h"

namespace {

class HeadTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        sim::reset();
        sim::set_recording(true);
        sim::take_record();
    }
    void TearDown() override { sim::reset(); }

    static long pan(int carrier) { return sim::head_state().motors[sim::kHeadPan][carrier].position; }

    // Busy polls until idle; returns how many read busy.
    static int polls_until_idle(int (*read)(int, unsigned char *), int motor)
    {
        int busy_polls = 0;
        for (int guard = 0; guard < 100000; ++guard) {
            unsigned char busy = 0;
            read(motor, &busy);
            if (!busy)
                return busy_polls;
            ++busy_polls;
        }
        return -1;
    }

    static long count_lines(const std::vector<std::string> &trace, const std::string &line)
    {
        return std::count(trace.begin(), trace.end(), line);
    }
};

TEST_F(HeadTest, MoveLastsOneQuantumOfPollsPerSixtySteps)
{
    setTiltForward(0, 121);  // 3 quanta of 60
    EXPECT_EQ(polls_until_idle(getTiltBusyStatus, 0), 3);
    sim::set_param("mcu.polls_per_quantum", "4");
    sim::reset_head();
    setZoomForward(2, 60);
    EXPECT_EQ(polls_until_idle(getZoomBusyStatus, 2), 4);
}

TEST_F(HeadTest, RepeatedPollsAreOneRecordLineWithACount)
{
    setPanForward(1, 300);
    polls_until_idle(getPanBusyStatus, 1);
    std::vector<std::string> trace = sim::take_record().trace;
    ASSERT_EQ(trace.size(), 3u);
    EXPECT_EQ(trace[0], "mcu setPanForward(1, 300)");
    EXPECT_EQ(trace[1], "mcu getPanBusyStatus(1) -> 1 x5");
    EXPECT_EQ(trace[2], "mcu getPanBusyStatus(1) -> 0");
}

TEST_F(HeadTest, CarrierStopsAtItsNeighbourAndLosesTheRest)
{
    sim::set_param("mcu.pan_start", "19563,3000,8521,14042");
    long gap = sim::head_gap(sim::head_state(), 1);  // between B and C
    ASSERT_EQ(gap, 4521);
    setPanBackward(2, 6000);  // C towards B
    polls_until_idle(getPanBusyStatus, 2);
    sim::HeadState state = sim::head_state();
    EXPECT_EQ(state.motors[sim::kHeadPan][2].position, 3000 + 1000);
    EXPECT_EQ(state.motors[sim::kHeadPan][2].lost, 6000 - 4521);
    EXPECT_EQ(state.collide[1], 0);
    EXPECT_EQ(state.collide[0], 1);
    EXPECT_EQ(state.collide[2], 1);
    unsigned char a = 9, b = 9, c = 9, d = 9;
    getCollideABCD(&a, &b, &c, &d);
    EXPECT_EQ(b, 0);
    EXPECT_EQ(c, 1);
}

TEST_F(HeadTest, CarrierBStopsAtItsHomeStopAndClosesTheSwitch)
{
    sim::set_param("mcu.pan_start", "19563,300,8521,14042");
    unsigned char flag = 7;
    getHomeFlag(&flag);
    EXPECT_EQ(flag, 0);
    setPanBackward(1, 1000);
    polls_until_idle(getPanBusyStatus, 1);
    EXPECT_EQ(pan(1), 0);
    getHomeFlag(&flag);
    EXPECT_EQ(flag, 1);
}

TEST_F(HeadTest, OnlyCarrierBMeetsTheHomeStop)
{
    sim::set_param("mcu.pan_start", "21000,5000,8000,12000");
    setPanForward(0, 3000);  // A crosses the stop's angle
    polls_until_idle(getPanBusyStatus, 0);
    EXPECT_EQ(pan(0), 1915);
    setPanBackward(1, 9000);  // B stops at A, short of the stop
    polls_until_idle(getPanBusyStatus, 1);
    EXPECT_EQ(pan(1), 2915);
    unsigned char flag = 1;
    getHomeFlag(&flag);
    EXPECT_EQ(flag, 0);
}

TEST_F(HeadTest, ForcedBytesOverrideTheModelUntilCleared)
{
    sim::set_param("collide", "1,0,1,1");
    sim::set_param("home_flag", "1");
    unsigned char bytes[4];
    unsigned char flag = 0;
    getCollideABCD(&bytes[0], &bytes[1], &bytes[2], &bytes[3]);
    getHomeFlag(&flag);
    EXPECT_EQ(bytes[1], 0);
    EXPECT_EQ(flag, 1);
    sim::set_param("collide", "");
    sim::set_param("home_flag", "");
    getCollideABCD(&bytes[0], &bytes[1], &bytes[2], &bytes[3]);
    getHomeFlag(&flag);
    EXPECT_EQ(bytes[1], 1);
    EXPECT_EQ(flag, 0);
}

TEST_F(HeadTest, TiltZoomAndFocusStopAtTheirEndStops)
{
    setTiltBackward(3, 5000);
    setZoomForward(3, 9000);
    setFocusForward(3, 9000);
    polls_until_idle(getFocusBusyStatus, 3);
    sim::HeadState state = sim::head_state();
    EXPECT_EQ(state.motors[sim::kHeadTilt][3].position, 0);
    EXPECT_EQ(state.motors[sim::kHeadZoom][3].position, 3000);
    EXPECT_EQ(state.motors[sim::kHeadFocus][3].position, 4100);
}

TEST_F(HeadTest, AMoveIsHeldToTheInfoLimit)
{
    setPanInfo(2, 1, 120);
    setPanForward(2, 2147483647);
    EXPECT_EQ(polls_until_idle(getPanBusyStatus, 2), 2);
    setPanForward(2, -5);
    EXPECT_EQ(polls_until_idle(getPanBusyStatus, 2), 0);
    EXPECT_EQ(setPanForward(7, 60), -1);
    EXPECT_EQ(polls_until_idle(getPanBusyStatus, 7), 0);
}

TEST_F(HeadTest, CarriersThatDoNotFitTheRingAreSpreadEvenly)
{
    sim::set_param("mcu.pan_start", "100,200,300,400");
    sim::HeadState state = sim::head_state();
    for (int carrier = 0; carrier < 4; ++carrier)
        EXPECT_GE(sim::head_gap(state, carrier), 0) << carrier;
    sim::set_param("mcu.pan_start", "nonsense");
    sim::set_param("mcu.ring", "-5");
    sim::reset_head();
    state = sim::head_state();
    EXPECT_EQ(state.ring, 22085);
}

TEST_F(HeadTest, CollisionLoopsEndAtTheirCapsWhenNothingReportsContact)
{
    service.ready = 1;
    sim::set_param("collide", "1,1,1,1");
    sim::set_param("home_flag", "1");
    ptztohome();
    std::vector<std::string> trace = sim::take_record().trace;
    EXPECT_EQ(count_lines(trace, "mcu setPanBackward(2, 60)"), 167);
    EXPECT_EQ(count_lines(trace, "mcu setPanBackward(3, 60)"), 234);
    EXPECT_EQ(count_lines(trace, "mcu setPanBackward(0, 60)"), 300);
    EXPECT_EQ(count_lines(trace, "mcu setPanBackward(1, 60)"), 0);
}

TEST_F(HeadTest, HomeLoopFindsTheStopFromHalfWayRound)
{
    service.ready = 1;
    sim::set_param("mcu.pan_start", "9000,11000,13000,15000");
    for (int32_t &word : lens.cam_motor)
        word = 1234;
    ptztohome();
    sim::HeadState state = sim::head_state();
    EXPECT_EQ(state.motors[sim::kHeadPan][1].position, 0);
    EXPECT_EQ(state.home_flag, 1);
    EXPECT_EQ(state.motors[sim::kHeadPan][2].position, 1000);
    EXPECT_EQ(state.motors[sim::kHeadPan][3].position, 2000);
    EXPECT_EQ(state.motors[sim::kHeadPan][0].position, 3000);
    for (int32_t word : lens.cam_motor)
        EXPECT_EQ(word, 0);
}

TEST_F(HeadTest, NewHomePacksTheDefaultHeadAtTheStop)
{
    service.ready = 1;
    ptz2NewHome();
    sim::HeadState state = sim::head_state();
    EXPECT_EQ(state.motors[sim::kHeadPan][1].position, 0);
    EXPECT_EQ(state.motors[sim::kHeadPan][0].position, 3000);
    EXPECT_EQ(state.motors[sim::kHeadTilt][2].position, 0);
    EXPECT_EQ(state.motors[sim::kHeadZoom][2].position, 0);
}

TEST_F(HeadTest, ViewsShowEveryCarrier)
{
    sim::HeadState state = sim::head_state();
    std::string svg = head_svg(state);
    EXPECT_EQ(svg.rfind("<svg", 0), 0u);
    EXPECT_NE(svg.find("</svg>\n"), std::string::npos);
    for (const char *id : {"carrier-A", "carrier-B", "carrier-C", "carrier-D"})
        EXPECT_NE(svg.find(id), std::string::npos) << id;
    EXPECT_NE(svg.find("B cam2 pan 48.9&#176;"), std::string::npos);
    std::string text = head_text(state);
    EXPECT_NE(text.find("C cam3 pan   8521 (138.9 deg) gap  4521"), std::string::npos) << text;
    EXPECT_NE(text.find("switch open"), std::string::npos);
}

} // namespace
