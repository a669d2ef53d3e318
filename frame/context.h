// The one process-wide service context; the lens state lives in lens/.
#ifndef FRAME_CONTEXT_H
#define FRAME_CONTEXT_H

#include <atomic>
#include <csignal>
#include <cstdint>

constexpr int kMaxCameras = 4;
constexpr int kModelIdBytes = 284;

struct ServiceContext {
    std::atomic<int32_t> ready;     // 1 once the start-up synchronisation is done
    int32_t cam_count;              // image sensors, 0..4
    volatile sig_atomic_t exit_flag;
    char model_id[kModelIdBytes];
    int32_t tick;                   // main-loop ticks, 0..65530
};

extern ServiceContext service;

#endif
