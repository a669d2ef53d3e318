// The all-sensor autofocus and the one-camera focus-maximum search: the
// search of lens/focus_search.cpp on the motor controller and the video
// pipeline's focus value. Both run on the caller's thread and return when
// the focus motors are idle.
#include <algorithm>
#include <cstdint>

#include "lens/autofocus.h"

#include "frame/context.h"
#include "frame/log.h"
#include "lens/focus_search.h"
#include "lens/lens_profile.h"
#include "lens/lens_state.h"
#include "lens/motors.h"
#include "platform/avc.h"
#include "platform/mcu.h"

namespace {

bool af_enabled(int camera_index)
{
    return lens.af_enable[camera_index] == 1;
}

constexpr FocusDrive kFocusDrive = {
    .forward = setFocusForward,
    .backward = setFocusBackward,
    .busy = getFocusBusyStatus,
    .value = getFocusValue,
    .enabled = af_enabled,
};

const LensProfile *known_lens()
{
    if (lens.lens_index < 0 || lens.lens_index >= kLensProfileCount)
        return nullptr;
    return &lens_profiles[lens.lens_index];
}

int camera_count()
{
    return std::clamp<int>(service.cam_count, 0, kMaxCameras);
}

// The routine's own prefix, then the profile values the search runs on.
void log_parameters(const char *routine, const LensProfile &profile)
{
    LOG_AS(routine, "max: %d, step1: %d, step2: %d, rLvl: %d/%d, cut: %d/%d, bg: %d\n", profile.max_steps,
                profile.step1, profile.step2, profile.rise_level1, profile.rise_level2, profile.cut, profile.cut2,
                profile.bg);
}

// Outputs on and the focus speed of the profile, as the home routines set them.
void prepare_focus_motors(unsigned cameras)
{
    setOeEnable(1);
    // only the low byte of the focus tick reaches the controller
    const int speed = static_cast<uint8_t>(lens.mcu_tick);
    for (int camera = 0; camera < kMaxCameras; ++camera)
        if (cameras & (1u << camera))
            setFocusInfo(camera, speed, motors::kInfoLimit);
}

const char *outcome_text(FocusOutcome outcome)
{
    switch (outcome) {
    case FocusOutcome::peak: return "peak";
    case FocusOutcome::flat: return "flat curve, middle of the travel";
    case FocusOutcome::stopped: return "stopped, af_enable cleared";
    }
    return "?";
}

// Runs the search, stores each camera's focus position word and logs it.
void focus_cameras(const char *routine, const LensProfile &profile, unsigned cameras)
{
    prepare_focus_motors(cameras);
    FocusResult results[kMaxCameras] = {};
    run_focus_search(routine, kFocusDrive, profile, cameras, results);
    for (int camera = 0; camera < kMaxCameras; ++camera) {
        if (!(cameras & (1u << camera)))
            continue;
        lens_position(kFocusAxis, camera) = results[camera].position;
        LOG_AS(routine, "cam%d: focus %d (%s)\n", camera + 1, results[camera].position,
               outcome_text(results[camera].outcome));
    }
}

} // namespace

void doAFocusAll()
{
    const LensProfile *profile = known_lens();
    if (!profile) {
        LOG("+++ get error index of lenstype, full-range AF all +++\n");
        return;
    }
    log_parameters(__func__, *profile);
    LOG("enable-mode=[%d-%d][%d-%d][%d-%d][%d-%d]\n", 1, lens.af_enable[0], 2, lens.af_enable[1], 3,
        lens.af_enable[2], 4, lens.af_enable[3]);
    unsigned cameras = 0;
    for (int camera = 0; camera < camera_count(); ++camera)
        if (af_enabled(camera))
            cameras |= 1u << camera;
    if (cameras == 0) {
        LOG("no camera enabled, nothing to focus\n");
        return;
    }
    focus_cameras(__func__, *profile, cameras);
}

void findFocusMaximum(int cam)
{
    const LensProfile *profile = known_lens();
    if (!profile) {
        LOG("+++ get error index of lenstype, AF cam%d +++\n", cam);
        return;
    }
    if (cam < 1 || cam > camera_count()) {
        LOG("no camera %d!!\n", cam);
        return;
    }
    log_parameters(__func__, *profile);
    if (!af_enabled(cam - 1)) {
        LOG("cam%d: af_enable is %d, no search\n", cam, lens.af_enable[cam - 1]);
        return;
    }
    focus_cameras(__func__, *profile, 1u << (cam - 1));
}
