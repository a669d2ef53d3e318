// The autofocus search against a plain model of the lens and its focus
// curve (no simulator): positions count back from the forward end stop.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "lens/focus_search.h"
#include "lens/lens_profile.h"

namespace {

// One lens: its position, the lost motion on reversal and the curve.
struct ModelLens {
    long position = 0;
    int last_direction = 0;
    long slack = 0;
    double peak = 0;
    double width = 150;  // 0: flat
    int noise = 0;       // per mille
    long backlash = 0;
    std::mt19937 noise_source;
    long moves = 0;
    long reads = 0;
    long clear_after_moves = -1;  // the enable word drops after this many moves
};

struct Model {
    long travel = 0;
    ModelLens lenses[kMaxCameras];
    bool enabled[kMaxCameras] = {true, true, true, true};
    long polls = 0;
};

Model model;

void move(int motor, int direction, int steps)
{
    ModelLens &lens = model.lenses[motor];
    ++lens.moves;
    if (direction != lens.last_direction) {
        lens.slack = lens.last_direction == 0 ? 0 : lens.backlash;
        lens.last_direction = direction;
    }
    long taken = std::min<long>(lens.slack, steps);
    lens.slack -= taken;
    lens.position = std::clamp(lens.position + direction * (steps - taken), 0L, model.travel);
    if (lens.moves == lens.clear_after_moves)
        model.enabled[motor] = false;
}

int model_forward(int motor, int steps)
{
    move(motor, -1, steps);
    return 0;
}

int model_backward(int motor, int steps)
{
    move(motor, 1, steps);
    return 0;
}

int model_busy(int, unsigned char *busy)
{
    ++model.polls;
    *busy = 0;
    return 0;
}

double sharpness(const ModelLens &lens)
{
    if (lens.width <= 0)
        return 5000;
    return 100000 / (1 + std::fabs(lens.position - lens.peak) / lens.width);
}

int model_value(int channel, unsigned int *value)
{
    ModelLens &lens = model.lenses[channel];
    ++lens.reads;
    double draw = std::uniform_real_distribution<double>(-1, 1)(lens.noise_source);
    *value = static_cast<unsigned int>(std::lround(sharpness(lens) * (1 + lens.noise / 1000.0 * draw)));
    return 0;
}

bool model_enabled(int camera)
{
    return model.enabled[camera];
}

constexpr FocusDrive kModelDrive = {model_forward, model_backward, model_busy, model_value, model_enabled};

struct Curve {
    double peak;
    double width;
    int noise;
    long backlash;
};

class FocusSearchTest : public ::testing::Test {
protected:
    void SetUp() override { model = Model(); }

    static void set_lens(int camera, const LensProfile &profile, const Curve &curve, unsigned seed = 1)
    {
        model.travel = profile.max_steps;
        ModelLens &lens = model.lenses[camera];
        lens = ModelLens();
        lens.position = profile.max_steps / 3;
        lens.peak = curve.peak;
        lens.width = curve.width;
        lens.noise = curve.noise;
        lens.backlash = curve.backlash;
        lens.noise_source.seed(seed);
    }

    static FocusResult search_one(const LensProfile &profile, const Curve &curve, unsigned seed = 1)
    {
        set_lens(0, profile, curve, seed);
        FocusResult results[kMaxCameras] = {};
        run_focus_search("test", kModelDrive, profile, 1u, results);
        return results[0];
    }
};

// Where the lens must end, per curve: at the peak (also at either stop),
// within two fine steps; a flat curve in the middle of the travel.
struct Case {
    const char *what;
    int lens_index;
    Curve curve;
    FocusOutcome outcome;
    double expected;  // -1: the curve's peak
};

const Case kCases[] = {
    {"middle, narrow", 0, {850, 50, 0, 0}, FocusOutcome::peak, -1},
    {"middle, wide, noisy", 0, {850, 400, 20, 0}, FocusOutcome::peak, -1},
    {"backlash of bg", 0, {620, 200, 10, 60}, FocusOutcome::peak, -1},
    {"at the forward stop", 0, {0, 200, 10, 30}, FocusOutcome::peak, -1},
    {"at the backward stop", 0, {1700, 200, 10, 30}, FocusOutcome::peak, -1},
    {"just off the forward stop", 0, {9, 400, 20, 60}, FocusOutcome::peak, -1},
    {"just off the backward stop", 0, {1693, 400, 20, 60}, FocusOutcome::peak, -1},
    {"beyond the backward stop", 0, {2500, 300, 5, 10}, FocusOutcome::peak, 1700},
    {"first coarse step", 0, {20, 80, 0, 0}, FocusOutcome::peak, -1},
    {"flat", 0, {850, 0, 20, 40}, FocusOutcome::flat, 850},
    {"nearly flat", 0, {400, 1000000, 5, 0}, FocusOutcome::flat, 850},
    {"lens 3, middle", 1, {2100, 250, 15, 30}, FocusOutcome::peak, -1},
    {"lens 3, narrow near a stop", 1, {60, 50, 20, 30}, FocusOutcome::peak, -1},
    {"lens 3, at the backward stop", 1, {4000, 400, 20, 30}, FocusOutcome::peak, -1},
    {"lens 3, flat", 1, {0, 0, 0, 0}, FocusOutcome::flat, 2000},
};

TEST_F(FocusSearchTest, EndsWhereEachCurveWantsIt)
{
    for (const Case &c : kCases) {
        const LensProfile &profile = lens_profiles[c.lens_index];
        FocusResult result = search_one(profile, c.curve);
        double expected = c.expected >= 0 ? c.expected : c.curve.peak;
        EXPECT_EQ(result.outcome, c.outcome) << c.what;
        EXPECT_NEAR(model.lenses[0].position, expected, 2 * profile.step2) << c.what;
        EXPECT_GT(model.lenses[0].moves, 3) << c.what;
    }
}

// The position word is where the lens stands when there is no backlash.
TEST_F(FocusSearchTest, ResultIsThePositionReached)
{
    for (double peak : {0.0, 333.0, 1200.0, 1700.0}) {
        FocusResult result = search_one(lens_profiles[0], {peak, 120, 0, 0});
        EXPECT_EQ(result.position, model.lenses[0].position) << peak;
        EXPECT_NEAR(result.coarse_peak, std::clamp(peak, 0.0, 1700.0), lens_profiles[0].step1) << peak;
    }
}

// The done-criterion on the model: random curves, every lens type.
TEST_F(FocusSearchTest, RandomCurvesEndWithinTwoFineSteps)
{
    std::mt19937 random(20261123);
    for (int index = 0; index < kLensProfileCount; ++index) {
        const LensProfile &profile = lens_profiles[index];
        long worst_moves = 0;
        for (int run = 0; run < 300; ++run) {
            Curve curve{std::uniform_real_distribution<double>(0, profile.max_steps)(random),
                        std::uniform_real_distribution<double>(50, 400)(random),
                        std::uniform_int_distribution<int>(0, 20)(random),
                        std::uniform_int_distribution<long>(0, profile.bg)(random)};
            FocusResult result = search_one(profile, curve, random());
            ASSERT_EQ(result.outcome, FocusOutcome::peak);
            ASSERT_NEAR(model.lenses[0].position, curve.peak, 2 * profile.step2)
                << "lens " << index << " peak " << curve.peak << " width " << curve.width << " noise "
                << curve.noise << " backlash " << curve.backlash;
            worst_moves = std::max(worst_moves, model.lenses[0].moves);
        }
        // bounded: the sweep, the fine scan and a handful of approach moves
        long bound = profile.max_steps / profile.step1 + 2 +
                     (2 * profile.step1 + profile.bg + 2 * 16 * profile.step2) / profile.step2 + 8;
        EXPECT_LT(worst_moves, bound) << index;
    }
}

// One camera's search alone or beside others gives the same result.
TEST_F(FocusSearchTest, CamerasDoNotDisturbEachOther)
{
    const LensProfile &profile = lens_profiles[1];
    FocusResult alone = search_one(profile, {1234, 90, 12, 15}, 42);
    set_lens(0, profile, {1234, 90, 12, 15}, 42);
    set_lens(1, profile, {3900, 300, 20, 30}, 5);
    FocusResult results[kMaxCameras] = {};
    run_focus_search("test", kModelDrive, profile, 0b11, results);
    EXPECT_EQ(results[0].position, alone.position);
    EXPECT_EQ(results[0].fine_peak, alone.fine_peak);
}

TEST_F(FocusSearchTest, ClearedEnableWordStopsThatCameraOnly)
{
    const LensProfile &profile = lens_profiles[0];
    for (long after : {1L, 5L, 40L, 60L}) {
        set_lens(0, profile, {800, 150, 0, 0});
        set_lens(1, profile, {300, 150, 0, 0});
        model.enabled[0] = model.enabled[1] = true;
        model.lenses[0].clear_after_moves = after;
        FocusResult results[kMaxCameras] = {};
        run_focus_search("test", kModelDrive, profile, 0b11, results);
        EXPECT_EQ(results[0].outcome, FocusOutcome::stopped) << after;
        EXPECT_EQ(model.lenses[0].moves, after);
        EXPECT_EQ(results[1].outcome, FocusOutcome::peak);
        EXPECT_NEAR(model.lenses[1].position, 300, 2 * profile.step2);
    }
}

TEST(FocusPeakFit, VertexOfExactCurves)
{
    const struct {
        double peak;
        double width;
        int first;
        double lo;
        double hi;
        double expected;
    } rows[] = {
        {37.0, 100, 0, -40, 1000, 37.0},     // inside, both sides seen
        {41.5, 400, 10, -40, 1000, 41.5},    // between two samples
        {64.0, 60, 30, -40, 1000, 64.0},     // near the last sample
        {20.0, 80, 0, -40, 10, 10.0},        // held to the upper bound
    };
    for (const auto &row : rows) {
        int32_t positions[33];
        uint32_t values[33];
        for (int i = 0; i < 33; ++i) {
            positions[i] = row.first + 2 * i;
            values[i] = static_cast<uint32_t>(std::lround(100000 / (1 + std::fabs(positions[i] - row.peak) / row.width)));
        }
        EXPECT_NEAR(fit_focus_peak(positions, values, 33, row.lo, row.hi, 2), row.expected, 0.3) << row.peak;
    }
}

// A curve seen from one side only: the vertex lies at or beyond its first sample.
TEST(FocusPeakFit, MonotoneCurveHasItsVertexBeyondTheFirstSample)
{
    int32_t positions[20];
    uint32_t values[20];
    for (int i = 0; i < 20; ++i) {
        positions[i] = 2 * i;
        values[i] = static_cast<uint32_t>(std::lround(100000 / (1 + (positions[i] + 30) / 200.0)));
    }
    double vertex = fit_focus_peak(positions, values, 20, -16, 1000, 2);
    EXPECT_LE(vertex, 0.5);
    EXPECT_GE(vertex, -16);
}

} // namespace
