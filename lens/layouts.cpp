// The 360, 270 and 180 degree layouts, started from the home position, and
// the two relative pan moves of one camera.
#include "lens/layouts.h"

#include <algorithm>
#include <climits>
#include <cstdint>

#include "frame/context.h"
#include "frame/handler.h"
#include "frame/log.h"
#include "frame/text.h"
#include "lens/motors.h"
#include "platform/mcu.h"
#include "platform/nbus.h"

using namespace motors;

namespace {

// One motor move and what it does to the camera's position word.
struct LayoutMove {
    int motor;
    int steps;
    int delta;  // position units (tilt 5, zoom 10, pan about 12 steps each)
};

struct Layout {
    LayoutMove tilts[4];
    LayoutMove zooms[4];
    int zoom_count;
    LayoutMove pans[3];     // motor A, then D, then C; camera 2 is the fixed reference
    int pan_wait_order[3];
};

// Deliberate mechanical constants of the head.
constexpr Layout k360 = {
    .tilts = {{kA, 490, -98}, {kB, 490, -98}, {kC, 490, -98}, {kD, 490, -98}},
    .zooms = {{kA, 250, 25}, {kB, 250, 25}, {kC, 250, 25}, {kD, 250, 25}},
    .zoom_count = 4,
    .pans = {{kA, 13564, -1130}, {kD, 9043, -753}, {kC, 4521, -376}},
    .pan_wait_order = {kA, kD, kC},
};
constexpr Layout k270 = {
    .tilts = {{kA, 490, -98}, {kB, 490, -98}, {kC, 490, -98}, {kD, 1788, -357}},
    .zooms = {{kA, 250, 25}, {kB, 250, 25}, {kC, 250, 25}, {}},
    .zoom_count = 3,
    .pans = {{kA, 13564, -1130}, {kD, 9043, -753}, {kC, 4521, -376}},
    .pan_wait_order = {kA, kC, kD},
};
constexpr Layout k180 = {
    .tilts = {{kA, 490, -98}, {kB, 490, -98}, {kC, 490, -98}, {kD, 1788, -357}},
    .zooms = {{kA, 1400, 140}, {kB, 1400, 140}, {kC, 1400, 140}, {}},
    .zoom_count = 3,
    .pans = {{kA, 17553, -1462}, {kD, 9043, -753}, {kC, 532, -44}},
    .pan_wait_order = {kA, kC, kD},
};

// Tilts are started and left running.
void start_tilts(const Layout &layout)
{
    for (const LayoutMove &move : layout.tilts) {
        setTiltForward(move.motor, move.steps);
        add_position(kTiltAxis, move.motor, move.delta);
    }
}

void zoom(const Layout &layout)
{
    for (int i = 0; i < layout.zoom_count; ++i) {
        setZoomForward(layout.zooms[i].motor, layout.zooms[i].steps);
        add_position(kZoomAxis, layout.zooms[i].motor, layout.zooms[i].delta);
    }
    for (int i = 0; i < layout.zoom_count; ++i)
        wait_idle(getZoomBusyStatus, layout.zooms[i].motor, Pause::none);
}

void pan(const Layout &layout)
{
    for (int i = 0; i < 3; ++i) {
        if (i > 0)
            sleep(1);
        setPanForward(layout.pans[i].motor, layout.pans[i].steps);
        add_position(kPanAxis, layout.pans[i].motor, layout.pans[i].delta);
    }
    for (int motor : layout.pan_wait_order)
        wait_idle(getPanBusyStatus, motor, Pause::none);
}

constexpr int kPanInfoLimit = 40000;
constexpr int kChunkUnits = 5;
// A chunked pan never travels further than one move's pan limit, so that
// extreme amounts end in bounded time.
constexpr int64_t kMaxChunkedUnits = kPanInfoLimit / kPanStepsPerUnit;

bool pan_status_word(const char *name)
{
    return contains(name, "panstatus") || contains(name, "panoview");
}

bool known_camera(int camera)
{
    return camera >= 1 && camera <= kMaxCameras;
}

void set_pan_status(int camera, const char *state)
{
    char name[64];
    format_into(name, "corvane.cam%d.panstatus", camera);
    nbus_set(name, state);
}

// n units as motor steps, computed wide and held to the int the call takes.
int pan_steps(int64_t units)
{
    return static_cast<int>(std::min<int64_t>(units * kPanStepsPerUnit, INT_MAX));
}

void start_pan(int motor, int64_t units)
{
    if (units > 0)
        setPanBackward(motor, pan_steps(units));
    else if (units < 0)
        setPanForward(motor, pan_steps(-units));
}

void prepare_pan(int camera, int motor)
{
    set_pan_status(camera, "on");
    setOeEnable(1);
    setPanInfo(motor, 1, kPanInfoLimit);
}

// Collision byte a move needs open, and the neighbour the refusal names.
struct PanGuard {
    int collide_byte;
    int neighbour;
};

PanGuard guard_for(int camera, int32_t amount)
{
    // towards the lower neighbour; camera 1 names 3 (kept as clients see it)
    static constexpr PanGuard kPositive[kMaxCameras] = {{kD, 3}, {kA, 1}, {kB, 2}, {kC, 3}};
    if (amount >= 0)
        return kPositive[camera - 1];
    return {camera - 1, camera + 1};
}

} // namespace

void ptzto360()
{
    LOG("do 360 tilt\n");
    start_tilts(k360);
    LOG("do 360 zoom\n");
    zoom(k360);
    LOG("do 360 pan\n");
    pan(k360);
}

void ptzto270()
{
    LOG("do 270 tilt\n");
    start_tilts(k270);
    LOG("do 270 zoom\n");
    zoom(k270);
    LOG("do pan\n");  // kept: this layout's log has always read so
    pan(k270);
}

void ptzto180()
{
    LOG("do 180 tilt\n");
    start_tilts(k180);
    LOG("do 180 zoom\n");
    zoom(k180);
    LOG("do 180 pan\n");
    pan(k180);
}

void do_new_pan(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (pan_status_word(name))
        return;
    int camera = camera_digit(name);
    if (!known_camera(camera)) {
        LOG("no camera %d!!\n", camera);
        return;
    }
    int motor = camera - 1;
    int32_t amount = parse_decimal(value);

    prepare_pan(camera, motor);
    add_position(kPanAxis, motor, amount);
    LOG("New pan added step = %d, acc. step = %d\n", amount, lens_position(kPanAxis, motor));
    start_pan(motor, amount);
    wait_zero(getPanBusyStatus, motor);
    set_pan_status(camera, "off");
}

void do_old_pan(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (pan_status_word(name))
        return;
    int camera = camera_digit(name);
    if (!known_camera(camera)) {
        LOG("no camera %d!!\n", camera);
        return;
    }
    int motor = camera - 1;

    CollideReport report = read_collide();
    LOG("limit switch report [%d][%d][%d][%d]!!\n", report.bytes[kA], report.bytes[kB], report.bytes[kC],
        report.bytes[kD]);
    int32_t amount = parse_decimal(value);

    if (camera == 2 && amount >= 0) {
        unsigned char flag = read_home_flag();
        LOG("Home status = %d\n", flag);
        if (at_home(flag)) {
            LOG("cam%d at home position!!\n", 2);
            return;
        }
    }
    PanGuard guard = guard_for(camera, amount);
    if (report.bytes[guard.collide_byte] == 0) {
        LOG("cam%d collides with %d!!\n", camera, guard.neighbour);
        return;
    }

    prepare_pan(camera, motor);
    add_position(kPanAxis, motor, amount);
    LOG("get step = %d, added step = %d\n", amount, lens_position(kPanAxis, motor));
    if (amount == 0) {
        set_pan_status(camera, "off");
        return;
    }

    const int64_t direction = amount > 0 ? 1 : -1;
    int64_t remaining = std::min(static_cast<int64_t>(amount) * direction, kMaxChunkedUnits);
    for (;;) {
        int64_t chunk = std::min<int64_t>(remaining, kChunkUnits);
        remaining = remaining > kChunkUnits ? remaining - kChunkUnits : 0;
        start_pan(motor, chunk * direction);
        wait_zero(getPanBusyStatus, motor);
        unsigned char flag = read_home_flag();
        if (camera == 2 && amount > 0 && at_home(flag)) {
            LOG("cam%d at home!!\n", 2);
            break;
        }
        if (remaining == 0)
            break;
    }
    set_pan_status(camera, "off");
}
