// The one process-wide service context.
#ifndef FRAME_CONTEXT_H
#define FRAME_CONTEXT_H

#include <atomic>
#include <csignal>
#include <cstdint>

// Lens position words: focus of cam1..cam4, pan, tilt, zoom (pan in units of 12 steps).
enum LensAxis { kFocusAxis = 0, kPanAxis = 1, kTiltAxis = 2, kZoomAxis = 3 };
constexpr int kMaxCameras = 4;
constexpr int kModelIdBytes = 284;

struct ServiceContext {
    std::atomic<int32_t> ready;     // 1 once the start-up synchronisation is done
    int32_t cam_count;              // image sensors, 0..4
    int32_t mcu_tick;               // focus speed of the lens profile
    int32_t cam_motor[4 * kMaxCameras];
    volatile sig_atomic_t exit_flag;
    int32_t lens_index;             // lens profile index, -1 unknown
    int32_t lens_step2;
    void (*home_routine)();
    uint32_t pending_preset;        // low byte: preset slot armed for saving
    char model_id[kModelIdBytes];
    int32_t mcu_version;
    int32_t tick;                   // main-loop ticks, 0..65530
};

extern ServiceContext service;

inline int32_t &lens_position(LensAxis axis, int camera_index)
{
    return service.cam_motor[axis * kMaxCameras + camera_index];
}

#endif
