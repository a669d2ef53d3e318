// The lens state of the head: positions, profile, controller, presets and
// autofocus switches, written by the start-up and the lens routines.
#ifndef LENS_LENS_STATE_H
#define LENS_LENS_STATE_H

#include <cstdint>

#include "frame/context.h"
#include "frame/routine.h"

// Lens position words: focus of cam1..cam4, pan, tilt, zoom (pan in units of 12 steps).
enum LensAxis { kFocusAxis = 0, kPanAxis = 1, kTiltAxis = 2, kZoomAxis = 3 };

struct LensState {
    int32_t mcu_tick;             // focus speed of the lens profile
    int32_t cam_motor[4 * kMaxCameras];
    int32_t lens_index;           // lens profile index, -1 unknown
    int32_t lens_step2;
    int32_t mcu_version;          // motor controller firmware
    plain_routine *home_routine;  // chosen by the controller version
    uint32_t pending_preset;      // low byte: preset slot armed for saving
    int32_t af_enable[kMaxCameras] = {1, 0, 0, 0};  // autofocus per camera
};

extern LensState lens;

inline int32_t &lens_position(LensAxis axis, int camera_index)
{
    return lens.cam_motor[axis * kMaxCameras + camera_index];
}

#endif
