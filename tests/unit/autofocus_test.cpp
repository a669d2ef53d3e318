// doAFocusAll and findFocusMaximum on the simulated head: the focus curve
// of each sensor, its noise and the focus motors' lost motion.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "lens/autofocus.h"
#include "frame/context.h"
#include "lens/lens_profile.h"
#include "lens/lens_state.h"
#include "platform/avc.h"
#include "platform/mcu.h"
#include "sim/driver/head.h"
#include "sim/platform/head.h"
#include "sim/platform/sim.h"
#include "tests/unit/test_support.h"

namespace {

// The context words these tests change, put back afterwards.
struct SavedWords {
    int32_t cam_count, lens_index, lens_step2, mcu_tick;
    int32_t focus[kMaxCameras];
    int32_t enable[kMaxCameras];

    void save()
    {
        cam_count = service.cam_count;
        lens_index = lens.lens_index;
        lens_step2 = lens.lens_step2;
        mcu_tick = lens.mcu_tick;
        std::copy(lens.cam_motor, lens.cam_motor + kMaxCameras, focus);
        std::copy(std::begin(lens.af_enable), std::end(lens.af_enable), enable);
    }
    void restore() const
    {
        service.cam_count = cam_count;
        lens.lens_index = lens_index;
        lens.lens_step2 = lens_step2;
        lens.mcu_tick = mcu_tick;
        std::copy(std::begin(focus), std::end(focus), lens.cam_motor);
        std::copy(std::begin(enable), std::end(enable), lens.af_enable);
    }
};

class AutofocusTest : public SimBusTest {
protected:
    void SetUp() override
    {
        SimBusTest::SetUp();
        saved_.save();
    }
    void TearDown() override
    {
        SimBusTest::TearDown();
        saved_.restore();
    }

    // The lens of profile `index` on a camera with `cameras` sensors.
    static void use_lens(int index, int cameras)
    {
        sim::set_param("lenstype", std::to_string(lens_profiles[index].lens_type));
        sim::reset_head();
        lens.lens_index = index;
        lens.lens_step2 = lens_profiles[index].step2;
        lens.mcu_tick = lens_profiles[index].focus_tick;
        service.cam_count = cameras;
    }

    static long focus(int camera) { return sim::head_state().motors[sim::kHeadFocus][camera - 1].position; }

    static bool moved_focus(const sim::Record &record, int camera)
    {
        std::string forward = "mcu setFocusForward(" + std::to_string(camera - 1) + ",";
        std::string backward = "mcu setFocusBackward(" + std::to_string(camera - 1) + ",";
        return std::any_of(record.trace.begin(), record.trace.end(), [&](const std::string &line) {
            return line.rfind(forward, 0) == 0 || line.rfind(backward, 0) == 0;
        });
    }

private:
    SavedWords saved_{};
};

// 200 random curves per lens type, on 1 to 4 sensors with random enable
// words: every enabled sensor ends within two fine steps of its peak, the
// others do not move.
TEST_F(AutofocusTest, RandomCurvesEveryLensType)
{
    std::mt19937 random(11);
    for (int index = 0; index < kLensProfileCount; ++index) {
        const LensProfile &profile = lens_profiles[index];
        for (int run = 0; run < 200; ++run) {
            sim::reset();
            int cameras = std::uniform_int_distribution<int>(1, 4)(random);
            long peaks[kMaxCameras];
            std::string starts;
            for (int camera = 1; camera <= kMaxCameras; ++camera) {
                peaks[camera - 1] = std::uniform_int_distribution<long>(0, profile.max_steps)(random);
                std::string n = std::to_string(camera);
                sim::set_param("focus_peak.cam" + n, std::to_string(peaks[camera - 1]));
                sim::set_param("focus_width.cam" + n,
                               std::to_string(std::uniform_int_distribution<int>(50, 400)(random)));
                starts += (camera > 1 ? "," : "") +
                          std::to_string(std::uniform_int_distribution<long>(0, profile.max_steps)(random));
                lens.af_enable[camera - 1] = std::uniform_int_distribution<int>(0, 3)(random) > 0 ? 1 : 0;
            }
            sim::set_param("mcu.focus_start", starts);
            sim::set_param("focus_noise", std::to_string(std::uniform_int_distribution<int>(0, 20)(random)));
            sim::set_param("focus_backlash", std::to_string(std::uniform_int_distribution<int>(0, profile.bg)(random)));
            sim::set_param("seed", std::to_string(random()));
            use_lens(index, cameras);
            long before[kMaxCameras];
            for (int camera = 1; camera <= kMaxCameras; ++camera)
                before[camera - 1] = focus(camera);

            doAFocusAll();
            sim::Record record = sim::take_record();
            for (int camera = 1; camera <= kMaxCameras; ++camera) {
                if (camera <= cameras && lens.af_enable[camera - 1] == 1) {
                    ASSERT_NEAR(focus(camera), peaks[camera - 1], 2 * profile.step2)
                        << "lens " << index << " run " << run << " cam" << camera;
                    EXPECT_EQ(lens.cam_motor[camera - 1], profile.max_steps - focus(camera)) << camera;
                } else {
                    ASSERT_EQ(focus(camera), before[camera - 1]) << "run " << run << " cam" << camera;
                    ASSERT_FALSE(moved_focus(record, camera)) << "run " << run << " cam" << camera;
                }
            }
        }
    }
}

TEST_F(AutofocusTest, UnknownLensRefusesAndMovesNothing)
{
    use_lens(0, 4);
    lens.lens_index = -1;
    doAFocusAll();
    sim::Record record = sim::take_record();
    EXPECT_NE(record.log.find("]-"), std::string::npos);
    EXPECT_NE(record.log.find(": +++ get error index of lenstype, full-range AF all +++\n"), std::string::npos);
    EXPECT_EQ(record.log.find("enable-mode"), std::string::npos);
    EXPECT_TRUE(record.trace.empty()) << record.trace.front();
}

TEST_F(AutofocusTest, ParametersThenEnableModeThenOnlyEnabledCameras)
{
    use_lens(1, 4);
    const int32_t words[kMaxCameras] = {0, 1, 0, 1};
    std::copy(std::begin(words), std::end(words), lens.af_enable);
    doAFocusAll();
    sim::Record record = sim::take_record();
    size_t parameters = record.log.find("[doAFocusAll]-");
    size_t first_line = record.log.find(": max: 4000, step1: 70, step2: 5, rLvl: 3/1, cut: -5/-7, bg: 30\n");
    size_t mode = record.log.find("enable-mode=[1-0][2-1][3-0][4-1]\n");
    ASSERT_NE(first_line, std::string::npos) << record.log;
    ASSERT_NE(mode, std::string::npos) << record.log;
    EXPECT_EQ(parameters + std::string("[doAFocusAll]-").size(), record.log.find("]-", parameters) + 2);
    EXPECT_LT(first_line, mode);
    EXPECT_NE(record.log.find("cam2: focus "), std::string::npos);
    EXPECT_NE(record.log.find("cam4: focus "), std::string::npos);
    EXPECT_EQ(record.log.find("cam1: focus "), std::string::npos);
    EXPECT_FALSE(moved_focus(record, 1));
    EXPECT_FALSE(moved_focus(record, 3));
    EXPECT_NEAR(focus(2), 2000, 10);
    // every line, the search's own included, names the routine
    size_t lines = std::count(record.log.begin(), record.log.end(), '\n');
    size_t named = 0;
    for (size_t at = record.log.find("[doAFocusAll]-"); at != std::string::npos;
         at = record.log.find("[doAFocusAll]-", at + 1))
        ++named;
    EXPECT_EQ(named, lines) << record.log;
}

TEST_F(AutofocusTest, FocusMaximumOfOneCamera)
{
    use_lens(0, 2);
    sim::set_param("focus_peak.cam2", "1234");
    lens.af_enable[1] = 1;
    findFocusMaximum(2);
    sim::Record record = sim::take_record();
    EXPECT_NEAR(focus(2), 1234, 4);
    EXPECT_FALSE(moved_focus(record, 1));
    EXPECT_NE(record.log.find("[findFocusMaximum]-"), std::string::npos);

    const struct {
        int cam;
        int32_t enable;
        const char *line;
    } refusals[] = {
        {3, 1, "no camera 3!!\n"},  // beyond the sensor count
        {0, 1, "no camera 0!!\n"},
        {2, 0, "cam2: af_enable is 0, no search\n"},
    };
    for (const auto &refusal : refusals) {
        lens.af_enable[1] = refusal.enable;
        findFocusMaximum(refusal.cam);
        record = sim::take_record();
        EXPECT_NE(record.log.find(refusal.line), std::string::npos) << record.log;
        EXPECT_FALSE(moved_focus(record, 2)) << refusal.line;
    }
}

} // namespace

namespace {

// The simulated focus curve itself: shape, noise for a seed, lost motion.
class FocusCurveTest : public ::testing::Test {
protected:
    void SetUp() override { sim::reset(); }
    void TearDown() override { sim::reset(); }

    static void drive(int (*move)(int, int), int motor, int steps)
    {
        move(motor, steps);
        unsigned char busy = 1;
        while (busy)
            getFocusBusyStatus(motor, &busy);
    }
    static long position(int motor) { return sim::head_state().motors[sim::kHeadFocus][motor].position; }
    static unsigned value(int channel)
    {
        unsigned reading = 0;
        EXPECT_EQ(getFocusValue(channel, &reading), 0);
        return reading;
    }
};

TEST_F(FocusCurveTest, ValueFallsAsOneOverTheDefocus)
{
    sim::set_param("lenstype", "8");
    sim::set_param("mcu.focus_start", "850,300,300,300");
    sim::set_param("focus_width.cam2", "100");
    sim::set_param("focus_peak.cam2", "500");
    sim::set_param("focus_width.cam3", "0");
    EXPECT_EQ(sim::head_state().max[sim::kHeadFocus], 1700);
    EXPECT_EQ(value(0), 100000u);             // default peak: the middle of the travel
    EXPECT_EQ(value(1), 100000u * 100 / 300);  // 200 steps off, half width 100
    EXPECT_EQ(value(2), 5000u);               // flat
    unsigned reading = 7;
    EXPECT_EQ(getFocusValue(4, &reading), -1);
    std::string view = head_text(sim::head_state());
    EXPECT_NE(view.find("focus  850/1700 sharpness 100000"), std::string::npos) << view;
    EXPECT_NE(head_svg(sim::head_state()).find("focus 300/1700 (peak 500), sharpness 33333"), std::string::npos);
}

TEST_F(FocusCurveTest, NoiseIsBoundedAndRepeatsForASeed)
{
    sim::set_param("focus_peak.cam1", "2000");  // where the focus starts
    sim::set_param("focus_noise", "20");
    sim::set_param("seed", "5");
    std::vector<unsigned> first;
    for (int i = 0; i < 200; ++i)
        first.push_back(value(0));
    for (unsigned reading : first) {
        EXPECT_GE(reading, 98000u);
        EXPECT_LE(reading, 102000u);
    }
    EXPECT_NE(*std::min_element(first.begin(), first.end()), *std::max_element(first.begin(), first.end()));
    sim::reset_head();
    for (unsigned reading : first)
        EXPECT_EQ(value(0), reading);
    sim::set_param("seed", "6");
    sim::reset_head();
    EXPECT_FALSE(std::all_of(first.begin(), first.begin() + 5, [&](unsigned reading) { return value(0) == reading; }));
}

TEST_F(FocusCurveTest, AReversalLosesTheBacklash)
{
    sim::set_param("mcu.focus_start", "1000");
    sim::set_param("focus_backlash", "25");
    drive(setFocusForward, 1, 100);  // the first move has nothing to take up
    EXPECT_EQ(position(1), 1100);
    drive(setFocusForward, 1, 100);
    EXPECT_EQ(position(1), 1200);
    drive(setFocusBackward, 1, 100);  // reversal
    EXPECT_EQ(position(1), 1125);
    drive(setFocusBackward, 1, 10);
    EXPECT_EQ(position(1), 1115);
    drive(setFocusForward, 1, 20);  // reversal, shorter than the lost motion
    EXPECT_EQ(position(1), 1115);
    drive(setFocusForward, 1, 20);  // the rest of it, then 15 steps
    EXPECT_EQ(position(1), 1130);
}

} // namespace
