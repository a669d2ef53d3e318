// Motor-controller library: records every call in the trace. Motors are
// idle at once; the collision bytes and the home switch come from the
// device file ("@collide=A,B,C,D", "@home_flag=N").
#include <cstdio>
#include <string>

#include "platform/mcu.h"
#include "sim/platform/sim.h"

using namespace sim;

namespace {

void record(const char *call, int motor, int amount)
{
    char line[96];
    snprintf(line, sizeof line, "mcu %s(%d, %d)", call, motor, amount);
    trace(line);
}

int record_info(const char *call, int motor, int speed, int limit)
{
    char line[96];
    snprintf(line, sizeof line, "mcu %s(%d, %d, %d)", call, motor, speed, limit);
    trace(line);
    return 0;
}

int busy_status(const char *call, int motor, unsigned char *busy)
{
    if (busy)
        *busy = 0;
    char line[96];
    snprintf(line, sizeof line, "mcu %s(%d) -> 0", call, motor);
    trace(line, true);
    return 0;
}

} // namespace

extern "C" int getVersion(int *version)
{
    long value = param_number("mcu_version", 0xF004);
    if (version)
        *version = static_cast<int>(value);
    char line[64];
    snprintf(line, sizeof line, "mcu getVersion -> 0x%lx", value);
    trace(line);
    return 0;
}

extern "C" int setOeEnable(int enable)
{
    char line[64];
    snprintf(line, sizeof line, "mcu setOeEnable(%d)", enable);
    trace(line);
    return 0;
}

extern "C" int setFocusInfo(int motor, int speed, int limit) { return record_info("setFocusInfo", motor, speed, limit); }
extern "C" int setZoomInfo(int motor, int speed, int limit) { return record_info("setZoomInfo", motor, speed, limit); }
extern "C" int setPanInfo(int motor, int speed, int limit) { return record_info("setPanInfo", motor, speed, limit); }
extern "C" int setTiltInfo(int motor, int speed, int limit) { return record_info("setTiltInfo", motor, speed, limit); }

extern "C" int setFocusForward(int motor, int steps) { record("setFocusForward", motor, steps); return 0; }
extern "C" int setFocusBackward(int motor, int steps) { record("setFocusBackward", motor, steps); return 0; }
extern "C" int setZoomForward(int motor, int steps) { record("setZoomForward", motor, steps); return 0; }
extern "C" int setZoomBackward(int motor, int steps) { record("setZoomBackward", motor, steps); return 0; }
extern "C" int setPanForward(int motor, int steps) { record("setPanForward", motor, steps); return 0; }
extern "C" int setPanBackward(int motor, int steps) { record("setPanBackward", motor, steps); return 0; }
extern "C" int setTiltForward(int motor, int steps) { record("setTiltForward", motor, steps); return 0; }
extern "C" int setTiltBackward(int motor, int steps) { record("setTiltBackward", motor, steps); return 0; }

extern "C" int getFocusBusyStatus(int motor, unsigned char *busy) { return busy_status("getFocusBusyStatus", motor, busy); }
extern "C" int getZoomBusyStatus(int motor, unsigned char *busy) { return busy_status("getZoomBusyStatus", motor, busy); }
extern "C" int getPanBusyStatus(int motor, unsigned char *busy) { return busy_status("getPanBusyStatus", motor, busy); }
extern "C" int getTiltBusyStatus(int motor, unsigned char *busy) { return busy_status("getTiltBusyStatus", motor, busy); }

extern "C" int getCollideABCD(unsigned char *a, unsigned char *b, unsigned char *c, unsigned char *d)
{
    int bytes[4] = {1, 1, 1, 1};
    std::string forced = param("collide");
    if (!forced.empty())
        sscanf(forced.c_str(), "%d,%d,%d,%d", &bytes[0], &bytes[1], &bytes[2], &bytes[3]);
    unsigned char *out[4] = {a, b, c, d};
    for (int i = 0; i < 4; ++i)
        if (out[i])
            *out[i] = static_cast<unsigned char>(bytes[i]);
    char line[96];
    snprintf(line, sizeof line, "mcu getCollideABCD -> %d %d %d %d", bytes[0], bytes[1], bytes[2], bytes[3]);
    trace(line, true);
    return 0;
}

extern "C" int getHomeFlag(unsigned char *flag)
{
    int value = static_cast<int>(param_number("home_flag", 1));
    if (flag)
        *flag = static_cast<unsigned char>(value);
    char line[64];
    snprintf(line, sizeof line, "mcu getHomeFlag -> %d", value);
    trace(line, true);
    return 0;
}
