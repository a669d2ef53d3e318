// Motor-controller library on a small model of the four-sensor head.
//
// Four carriers A..D (motors 0..3) sit on a pan ring in that forward order;
// each carries focus, zoom and tilt motors. A move lasts a time proportional
// to its steps: every busy-status read is one poll of the model's clock, and
// a moving motor makes one step quantum every "polls per quantum" polls, so
// runs repeat exactly. A pan carrier that meets its neighbour (or carrier B
// that meets its home stop) stops; the steps it could not make are lost but
// the motor stays busy for the whole move, as a stalled stepper does. Tilt,
// zoom and focus stop at their end stops. Every call is traced.
//
// Each sensor's focus value (the video library's getFocusValue) follows a
// focus curve: peak / (1 + |focus - focus_peak| / focus_width), with a
// relative noise of up to focus_noise per mille drawn from a generator seeded
// by "@seed"; a focus motor that reverses loses focus_backlash steps first.
//
// Parameters ("@mcu.*" in the device file, read when the head is set up):
// ring, carrier_width, home_stop, pan_start (A,B,C,D), tilt_max, zoom_max,
// focus_max, tilt_start, zoom_start, focus_start (one value or four),
// quantum, polls_per_quantum. "@collide=A,B,C,D" and "@home_flag=N" force
// the collision bytes and the home-switch byte (empty: the model decides).
#include <algorithm>
#include <atomic>
#include <ctime>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "platform/mcu.h"
#include "sim/platform/head.h"
#include "sim/platform/internal.h"
#include "sim/platform/sim.h"

using namespace sim;

namespace {

constexpr int kA = 0;
constexpr int kB = 1;  // the carrier that carries the home switch
constexpr long kDefaultLimit = 65000;

struct Defaults {
    long ring = 22085;
    long width = 1000;
    long home_stop = 0;
    long pan_start[4] = {19563, 3000, 8521, 14042};
    long max[kHeadKinds] = {4100, 3000, 0, 2000};
    long start[kHeadKinds] = {2000, 500, 0, 1000};
};

const char *const kKindNames[kHeadKinds] = {"focus", "zoom", "pan", "tilt"};

// Focus travel of the lens types the camera carries; other types get the
// home routines' full focus drive.
long default_focus_max()
{
    switch (param_number("lenstype", 0)) {
    case 8: return 1700;
    case 3: return 4000;
    default: return 4100;
    }
}

std::mutex head_mutex;
bool set_up = false;
HeadState head;
long limits[kHeadKinds][kHeadMotors];
long poll_counters[kHeadKinds][kHeadMotors];
std::atomic<long> pace{0};
std::mt19937 focus_noise[kHeadMotors];
long focus_read_counts[kHeadMotors];
std::function<void(int, long)> focus_read_hook;

long positive_mod(long value, long modulus)
{
    long result = value % modulus;
    return result < 0 ? result + modulus : result;
}

// "v" or "a,b,c,d" into four values; false when the text is empty or not numbers.
bool param_list(const std::string &name, long (&values)[4])
{
    std::string text = param(name);
    if (text.empty())
        return false;
    std::vector<long> parsed;
    std::stringstream in(text);
    std::string item;
    while (std::getline(in, item, ',')) {
        char *end = nullptr;
        long value = strtol(item.c_str(), &end, 0);
        if (end == item.c_str())
            return false;
        parsed.push_back(value);
    }
    if (parsed.size() == 1)
        parsed.assign(4, parsed[0]);
    if (parsed.size() != 4)
        return false;
    std::copy(parsed.begin(), parsed.end(), values);
    return true;
}

long gap_locked(int carrier)
{
    const long next = head.motors[kHeadPan][(carrier + 1) % kHeadMotors].position;
    const long here = head.motors[kHeadPan][carrier].position;
    return positive_mod(next - here, head.ring) - head.width;
}

bool carriers_fit()
{
    long total = 0;
    for (int carrier = 0; carrier < kHeadMotors; ++carrier) {
        if (gap_locked(carrier) < 0)
            return false;
        total += gap_locked(carrier) + head.width;
    }
    return total == head.ring;
}

void place_carriers(const long (&positions)[4])
{
    for (int carrier = 0; carrier < kHeadMotors; ++carrier) {
        long position = positive_mod(positions[carrier] - head.home_stop, head.ring) + head.home_stop;
        // carrier B is kept unwrapped above its stop; the others on the ring
        head.motors[kHeadPan][carrier].position = carrier == kB ? position : positive_mod(position, head.ring);
    }
}

void set_up_locked()
{
    Defaults defaults;
    defaults.max[kHeadFocus] = default_focus_max();
    head = HeadState();
    head.ring = param_number("mcu.ring", defaults.ring);
    if (head.ring < 8)
        head.ring = defaults.ring;
    head.width = param_number("mcu.carrier_width", defaults.width);
    if (head.width < 0 || 4 * head.width >= head.ring)
        head.width = head.ring / 8;
    head.home_stop = positive_mod(param_number("mcu.home_stop", defaults.home_stop), head.ring);
    for (int kind = 0; kind < kHeadKinds; ++kind) {
        if (kind == kHeadPan)
            continue;
        std::string prefix = std::string("mcu.") + kKindNames[kind];
        head.max[kind] = std::max(0L, param_number(prefix + "_max", defaults.max[kind]));
        long starts[4] = {defaults.start[kind], defaults.start[kind], defaults.start[kind], defaults.start[kind]};
        param_list(prefix + "_start", starts);
        for (int motor = 0; motor < kHeadMotors; ++motor)
            head.motors[kind][motor].position = std::clamp(starts[motor], 0L, head.max[kind]);
    }
    head.quantum = std::max(1L, param_number("mcu.quantum", 60));
    head.polls_per_quantum = std::max(1L, param_number("mcu.polls_per_quantum", 1));

    long pan_start[4];
    std::copy(std::begin(defaults.pan_start), std::end(defaults.pan_start), pan_start);
    bool given = param_list("mcu.pan_start", pan_start);
    place_carriers(pan_start);
    if (!carriers_fit()) {
        if (given)
            fprintf(stderr, "corvane-sim: @mcu.pan_start does not fit the ring, carriers spread evenly\n");
        const long spacing = head.ring / 4;
        long even[4];
        for (int carrier = 0; carrier < kHeadMotors; ++carrier)
            even[carrier] = head.home_stop + spacing / 2 + positive_mod(carrier - kB, 4) * spacing;
        place_carriers(even);
    }
    for (auto &kind : limits)
        std::fill(std::begin(kind), std::end(kind), kDefaultLimit);
    for (auto &kind : poll_counters)
        std::fill(std::begin(kind), std::end(kind), 0L);
    const long seed = param_number("seed", 1);
    for (int motor = 0; motor < kHeadMotors; ++motor) {
        std::seed_seq sequence{static_cast<unsigned>(seed), static_cast<unsigned>(motor)};
        focus_noise[motor].seed(sequence);
        focus_read_counts[motor] = 0;
    }
    set_up = true;
}

// The focus parameters are read at every use, so a script's "param" acts at once.
void refresh_focus_locked()
{
    for (int motor = 0; motor < kHeadMotors; ++motor) {
        std::string camera = ".cam" + std::to_string(motor + 1);
        head.focus[motor].peak = param_number("focus_peak" + camera, head.max[kHeadFocus] / 2);
        head.focus[motor].width = std::max(0L, param_number("focus_width" + camera, 150));
    }
    head.focus_noise = std::clamp(param_number("focus_noise", 0), 0L, 1000L);
    head.focus_backlash = std::max(0L, param_number("focus_backlash", 0));
}

void ensure_set_up_locked()
{
    if (!set_up)
        set_up_locked();
}

// How far a carrier can go now in `direction` (+1 forward, -1 backward).
long pan_room_locked(int carrier, int direction)
{
    const long position = head.motors[kHeadPan][carrier].position;
    if (direction > 0) {
        long room = gap_locked(carrier);
        if (carrier == kB)
            room = std::min(room, head.home_stop + head.ring - 1 - position);
        return std::max(0L, room);
    }
    long room = gap_locked((carrier + kHeadMotors - 1) % kHeadMotors);
    if (carrier == kB)
        room = std::min(room, position - head.home_stop);
    return std::max(0L, room);
}

void move_carrier_locked(int carrier, long steps, int direction)
{
    HeadMotor &motor = head.motors[kHeadPan][carrier];
    long position = motor.position + direction * steps;
    motor.position = carrier == kB ? position : positive_mod(position, head.ring);
}

// One poll of the clock: every moving motor whose quantum is due moves.
void advance_locked()
{
    ++head.clock;
    long wanted[kHeadMotors] = {};
    for (int kind = 0; kind < kHeadKinds; ++kind) {
        for (int index = 0; index < kHeadMotors; ++index) {
            HeadMotor &motor = head.motors[kind][index];
            if (motor.remaining <= 0 || ++poll_counters[kind][index] < head.polls_per_quantum)
                continue;
            poll_counters[kind][index] = 0;
            long chunk = std::min(head.quantum, motor.remaining);
            motor.remaining -= chunk;
            if (kind == kHeadPan) {
                wanted[index] = chunk;
                continue;
            }
            if (kind == kHeadFocus) {
                // lost motion after a reversal: the motor turns, the lens does not
                long taken = std::min(motor.slack, chunk);
                motor.slack -= taken;
                chunk -= taken;
            }
            long target = std::clamp(motor.position + motor.direction * chunk, 0L, head.max[kind]);
            motor.lost += chunk - std::labs(target - motor.position);
            motor.position = target;
        }
    }
    // Carriers moving together in a chain: repeat until nobody gets further.
    for (bool progress = true; progress;) {
        progress = false;
        for (int carrier = 0; carrier < kHeadMotors; ++carrier) {
            if (wanted[carrier] == 0)
                continue;
            int direction = head.motors[kHeadPan][carrier].direction;
            long step = std::min(wanted[carrier], pan_room_locked(carrier, direction));
            if (step > 0) {
                move_carrier_locked(carrier, step, direction);
                wanted[carrier] -= step;
                progress = true;
            }
        }
    }
    for (int carrier = 0; carrier < kHeadMotors; ++carrier)
        head.motors[kHeadPan][carrier].lost += wanted[carrier];
}

unsigned char collide_byte_locked(int carrier)
{
    return gap_locked(carrier) > 0 ? 1 : 0;
}

// Fills the reported bytes, forced ones included.
void refresh_reports_locked()
{
    std::string forced = param("collide");
    head.collide_forced = false;
    int bytes[4];
    if (!forced.empty() && sscanf(forced.c_str(), "%d,%d,%d,%d", &bytes[0], &bytes[1], &bytes[2], &bytes[3]) == 4) {
        head.collide_forced = true;
        for (int carrier = 0; carrier < kHeadMotors; ++carrier)
            head.collide[carrier] = static_cast<unsigned char>(bytes[carrier]);
    } else {
        for (int carrier = 0; carrier < kHeadMotors; ++carrier)
            head.collide[carrier] = collide_byte_locked(carrier);
    }
    head.home_flag_forced = !param("home_flag").empty();
    head.home_flag = head.home_flag_forced
                         ? static_cast<unsigned char>(param_number("home_flag", 0))
                         : static_cast<unsigned char>(head.motors[kHeadPan][kB].position == head.home_stop);
}

bool valid_motor(int motor)
{
    return motor >= 0 && motor < kHeadMotors;
}

int start_move(HeadKind kind, const char *call, int motor, int steps, int direction)
{
    char line[96];
    snprintf(line, sizeof line, "mcu %s(%d, %d)", call, motor, steps);
    trace(line);
    std::lock_guard<std::mutex> lock(head_mutex);
    ensure_set_up_locked();
    if (!valid_motor(motor))
        return -1;
    HeadMotor &moving = head.motors[kind][motor];
    // the controller holds a move to the limit of the motor's last Info call
    moving.remaining = steps > 0 ? std::min<long>(steps, limits[kind][motor]) : 0;
    moving.direction = direction;
    if (kind == kHeadFocus && moving.remaining > 0 && direction != moving.last_direction) {
        refresh_focus_locked();
        moving.slack = moving.last_direction == 0 ? 0 : head.focus_backlash;
        moving.last_direction = direction;
    }
    poll_counters[kind][motor] = 0;
    return 0;
}

int set_info(HeadKind kind, const char *call, int motor, int speed, int limit)
{
    char line[96];
    snprintf(line, sizeof line, "mcu %s(%d, %d, %d)", call, motor, speed, limit);
    trace(line);
    std::lock_guard<std::mutex> lock(head_mutex);
    ensure_set_up_locked();
    if (!valid_motor(motor))
        return -1;
    limits[kind][motor] = std::max(0, limit);
    return 0;
}

bool any_moving_locked()
{
    for (const auto &kind : head.motors)
        for (const HeadMotor &motor : kind)
            if (motor.remaining > 0)
                return true;
    return false;
}

int busy_status(HeadKind kind, const char *call, int motor, unsigned char *busy)
{
    int value = 0;
    bool moving = false;
    {
        std::lock_guard<std::mutex> lock(head_mutex);
        ensure_set_up_locked();
        value = valid_motor(motor) && head.motors[kind][motor].remaining > 0 ? 1 : 0;
        moving = any_moving_locked();
        advance_locked();
    }
    if (long microseconds = pace.load(); moving && microseconds > 0) {
        timespec duration = {microseconds / 1000000, (microseconds % 1000000) * 1000};
        nanosleep(&duration, nullptr);
    }
    if (busy)
        *busy = static_cast<unsigned char>(value);
    char line[96];
    snprintf(line, sizeof line, "mcu %s(%d) -> %d", call, motor, value);
    trace(line, true);
    return 0;
}

} // namespace

namespace sim {

HeadState head_state()
{
    std::lock_guard<std::mutex> lock(head_mutex);
    ensure_set_up_locked();
    refresh_reports_locked();
    refresh_focus_locked();
    return head;
}

void set_head_pace(long microseconds)
{
    pace = std::max(0L, microseconds);
}

long head_pace()
{
    return pace;
}

long head_sharpness(const HeadState &state, int motor)
{
    const FocusCurve &curve = state.focus[motor];
    if (curve.width <= 0)
        return kSharpnessPeak / 20;  // no contrast anywhere, as with the lens capped
    double defocus = std::fabs(static_cast<double>(state.motors[kHeadFocus][motor].position - curve.peak));
    return std::lround(static_cast<double>(kSharpnessPeak) / (1.0 + defocus / static_cast<double>(curve.width)));
}

bool read_focus_value(int motor, unsigned int *value)
{
    long reads = 0;
    std::function<void(int, long)> hook;
    {
        std::lock_guard<std::mutex> lock(head_mutex);
        ensure_set_up_locked();
        if (!valid_motor(motor))
            return false;
        refresh_focus_locked();
        // uniform in [-1, 1), from the generator's raw bits so every platform draws alike
        double draw = static_cast<double>(focus_noise[motor]()) / 2147483648.0 - 1.0;
        double noisy = static_cast<double>(head_sharpness(head, motor)) *
                       (1.0 + static_cast<double>(head.focus_noise) / 1000.0 * draw);
        if (value)
            *value = static_cast<unsigned int>(std::max(0L, std::lround(noisy)));
        reads = ++focus_read_counts[motor];
        hook = focus_read_hook;
    }
    if (hook)
        hook(motor, reads);
    return true;
}

long focus_reads(int channel)
{
    std::lock_guard<std::mutex> lock(head_mutex);
    return valid_motor(channel) ? focus_read_counts[channel] : 0;
}

void set_focus_read_hook(std::function<void(int, long)> hook)
{
    std::lock_guard<std::mutex> lock(head_mutex);
    focus_read_hook = std::move(hook);
}

void reset_head()
{
    std::lock_guard<std::mutex> lock(head_mutex);
    set_up = false;
}

long head_gap(const HeadState &state, int carrier)
{
    if (state.ring <= 0)
        return 0;
    const long next = state.motors[kHeadPan][(carrier + 1) % kHeadMotors].position;
    return positive_mod(next - state.motors[kHeadPan][carrier].position, state.ring) - state.width;
}

double head_pan_degrees(const HeadState &state, int carrier)
{
    if (state.ring <= 0)
        return 0.0;
    long offset = positive_mod(state.motors[kHeadPan][carrier].position - state.home_stop, state.ring);
    return 360.0 * static_cast<double>(offset) / static_cast<double>(state.ring);
}

} // namespace sim

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

extern "C" int setFocusInfo(int motor, int speed, int limit) { return set_info(kHeadFocus, "setFocusInfo", motor, speed, limit); }
extern "C" int setZoomInfo(int motor, int speed, int limit) { return set_info(kHeadZoom, "setZoomInfo", motor, speed, limit); }
extern "C" int setPanInfo(int motor, int speed, int limit) { return set_info(kHeadPan, "setPanInfo", motor, speed, limit); }
extern "C" int setTiltInfo(int motor, int speed, int limit) { return set_info(kHeadTilt, "setTiltInfo", motor, speed, limit); }

extern "C" int setFocusForward(int motor, int steps) { return start_move(kHeadFocus, "setFocusForward", motor, steps, 1); }
extern "C" int setFocusBackward(int motor, int steps) { return start_move(kHeadFocus, "setFocusBackward", motor, steps, -1); }
extern "C" int setZoomForward(int motor, int steps) { return start_move(kHeadZoom, "setZoomForward", motor, steps, 1); }
extern "C" int setZoomBackward(int motor, int steps) { return start_move(kHeadZoom, "setZoomBackward", motor, steps, -1); }
extern "C" int setPanForward(int motor, int steps) { return start_move(kHeadPan, "setPanForward", motor, steps, 1); }
extern "C" int setPanBackward(int motor, int steps) { return start_move(kHeadPan, "setPanBackward", motor, steps, -1); }
extern "C" int setTiltForward(int motor, int steps) { return start_move(kHeadTilt, "setTiltForward", motor, steps, 1); }
extern "C" int setTiltBackward(int motor, int steps) { return start_move(kHeadTilt, "setTiltBackward", motor, steps, -1); }

extern "C" int getFocusBusyStatus(int motor, unsigned char *busy) { return busy_status(kHeadFocus, "getFocusBusyStatus", motor, busy); }
extern "C" int getZoomBusyStatus(int motor, unsigned char *busy) { return busy_status(kHeadZoom, "getZoomBusyStatus", motor, busy); }
extern "C" int getPanBusyStatus(int motor, unsigned char *busy) { return busy_status(kHeadPan, "getPanBusyStatus", motor, busy); }
extern "C" int getTiltBusyStatus(int motor, unsigned char *busy) { return busy_status(kHeadTilt, "getTiltBusyStatus", motor, busy); }

extern "C" int getCollideABCD(unsigned char *a, unsigned char *b, unsigned char *c, unsigned char *d)
{
    unsigned char bytes[kHeadMotors];
    {
        std::lock_guard<std::mutex> lock(head_mutex);
        ensure_set_up_locked();
        refresh_reports_locked();
        std::copy(std::begin(head.collide), std::end(head.collide), bytes);
    }
    unsigned char *out[kHeadMotors] = {a, b, c, d};
    for (int i = 0; i < kHeadMotors; ++i)
        if (out[i])
            *out[i] = bytes[i];
    char line[96];
    snprintf(line, sizeof line, "mcu getCollideABCD -> %d %d %d %d", bytes[0], bytes[1], bytes[2], bytes[3]);
    trace(line, true);
    return 0;
}

extern "C" int getHomeFlag(unsigned char *flag)
{
    unsigned char value;
    {
        std::lock_guard<std::mutex> lock(head_mutex);
        ensure_set_up_locked();
        refresh_reports_locked();
        value = head.home_flag;
    }
    if (flag)
        *flag = value;
    char line[64];
    snprintf(line, sizeof line, "mcu getHomeFlag -> %d", value);
    trace(line, true);
    return 0;
}
