// Exposure, gain, wide dynamic range, low light, day/night and mains
// frequency: legacy values to the sensors' (or the global) exposure nodes.
#include "handlers/image/exposure.h"

#include <cstdint>
#include <iterator>

#include "frame/context.h"
#include "frame/handler.h"
#include "frame/log.h"
#include "frame/node.h"
#include "frame/text.h"

namespace {

// A native node per sensor ("cam%d") and its global form, picked by a key
// that the legacy name holds.
struct KeyedNode {
    const char *key;
    const char *camera;
    const char *global;
};

// The node a legacy name writes: ".cam1".."cam9" address that sensor's
// node, anything else (no ".cam", ".cam0", a letter after it) the global
// node; sensor_of in frame/text.h reads the name. Where a call says
// SensorRule::five_global, ".cam5" addresses the global node too: those
// nodes have always read so on the device, and clients write them that
// way (kept). Every other call takes the default rule, where 5 is the
// fifth sensor.
//
// Every log line carries its statement's source line, and clients compare
// the lines byte for byte: the handlers below keep theirs where they have
// always stood, so what left this place leaves its lines to this comment.
//

template <size_t N>
void node_of(char (&buffer)[N], const char *camera_pattern, const char *global_name, int sensor)
{
    if (sensor == 0)
        copy_into(buffer, global_name);
    else
        expand_pattern(buffer, camera_pattern, sensor);
}

template <size_t N>
const KeyedNode *keyed_node(const char *name, const KeyedNode (&table)[N])
{
    for (const KeyedNode &row : table)
        if (contains(name, row.key))
            return &row;
    return nullptr;
}

constexpr KeyedNode exposure_mode_nodes[] = {
    {"expo_mode", "image.cam%d.exposure.mode", "image.global.exposure.mode"},
    {"_wb_", "image.cam%d.wb.mode", "image.global.wb.mode"},
    {"_wdr", "image.cam%d.exposure.wdr", "image.global.exposure.wdr"},
    {"slowshutter", "image.cam%d.exposure.lowlightmode_slowshutter",
     "image.global.exposure.lowlightmode_slowshutter"},
};

constexpr WordMapping autoexp_words[] = {{"on", "auto"}, {"off", "lock"}};

// "balance" maps to "balanced" but an unknown word to "balance" (kept:
// clients rely on both words).
constexpr WordMapping lowlight_words[] = {
    {"balance", "balanced"}, {"speed", "quality"},     {"quality", "quality"},
    {"highspeed", "highspeed"}, {"moonlight", "moonlight"},
};

// Tested in this order: a value holding both "day" and "night" forces day.
constexpr WordMapping daynight_words[] = {
    {"day", "force_day"}, {"night", "force_night"}, {"auto", "auto"}, {"schedule", "user_define"}};

constexpr KeyedNode day_night_time_nodes[] = {
    {"_shr", "image.cam%d.exposure.day_night_start_hour", "image.global.exposure.day_night_start_hour"},
    {"_smin", "image.cam%d.exposure.day_night_start_min", "image.global.exposure.day_night_start_min"},
    {"_ehr", "image.cam%d.exposure.day_night_end_hour", "image.global.exposure.day_night_end_hour"},
    {"_emin", "image.cam%d.exposure.day_night_end_min", "image.global.exposure.day_night_end_min"},
};

struct MainsFrequency {
    const char *value;
    const char *lighting;
    const char *camera_type;
};
constexpr MainsFrequency mains_frequencies[] = {{"50", "off", "pal"}, {"60", "off", "ntsc"}};
constexpr MainsFrequency other_frequency = {"", "on", "ntsc"};

constexpr WordMapping equalbright_modes[] = {{"on", "global"}, {"off", "auto"}};

constexpr const char *sync_nodes[][2] = {
    {"sync_daynight", "image.global.sync_daynight"},
    {"sync_awb", "image.global.sync_awb"},
    {"sync_ae", "image.global.sync_ae"},
};

// Camera 1's day/night settings, copied to the other sensors' legacy nodes.
constexpr const char *day_night_legacy_nodes[] = {
    "corvane.cam%d.daynight", "corvane.cam%d.daygain", "corvane.cam%d.nightgain", "corvane.cam%d.dn_shr",
    "corvane.cam%d.dn_smin",  "corvane.cam%d.dn_ehr",  "corvane.cam%d.dn_emin",
};
static_assert(std::size(day_night_legacy_nodes) == 7);

constexpr WordMapping defog_levels[] = {{"off", "0"}, {"low", "85"}, {"medium", "170"}, {"high", "255"}};

} // namespace

void cb_corvane_exposure_mode(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const KeyedNode *row = keyed_node(name, exposure_mode_nodes);
    if (!row) {
        LOG("error parameters: N-%s, V-%s!!\n", name, value);
        return;
    }
    char native[128];
    node_of(native, row->camera, row->global, sensor_of(name));
    nbus_set(native, value);
    LOG("Set %s by %s = %s done!!\n", name, native, value);
}

void cb_corvane_autoexp(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    // camera 5 is the global node here (kept)
    int sensor = sensor_of(name, SensorRule::five_global);
    const char *mode = word_equal_to(value, autoexp_words, nullptr);
    if (!mode) {
        LOG("ERR %s(%d) = %s!!\n", name, sensor, value);
        return;
    }
    char native[128];
    node_of(native, "image.cam%d.exposure.mode", "image.global.exposure.mode", sensor);
    nbus_set(native, mode);
    LOG("Set %s (%s) done!!\n", native, mode);
}

void cb_corvane_shortexposures(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char text[16];
    format_into(text, "%d", parse_decimal(value));
    char native[128];
    node_of(native, "image.cam%d.exposure.lowlightshutter", "image.global.exposure.lowlightshutter",
            sensor_of(name));
    nbus_set(native, text);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, text);
}

void cb_corvane_lowlight(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *mode = word_equal_to(value, lowlight_words, "balance");
    char native[128];
    node_of(native, "image.cam%d.exposure.lowlightmode", "image.global.exposure.lowlightmode", sensor_of(name));
    nbus_set(native, mode);
    LOG("Set %s = %s done\n", native, mode);
}

void cb_corvane_wdr(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *mode = contains(value, "off") ? "off" : "on";
    char native[128];
    int sensor = sensor_of(name);
    if (sensor != 0) {
        expand_pattern(native, "image.cam%d.exposure.wdr", sensor);
        nbus_set(native, mode);
        return;
    }
    for (int camera = 1; camera <= service.cam_count; ++camera) {
        expand_pattern(native, "image.cam%d.exposure.wdr", camera);
        nbus_set(native, mode);
    }
}

void cb_corvane_analoggain(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char text[16];
    format_into(text, "%d", wrap_int32(int64_t{parse_decimal(value)} * 10));
    char native[128];
    node_of(native, "image.cam%d.exposure.max_gain", "image.global.exposure.max_gain",
            sensor_of(name, SensorRule::five_global));
    nbus_set(native, text);
    LOG(" %s = %s Done!!\n", native, text);
}

void cb_corvane_daygain(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char gain[16];
    expand_own_format(gain, value);
    char native[128];
    node_of(native, "image.cam%d.exposure.i2c_night2day", "image.global.exposure.i2c_night2day", sensor_of(name));
    nbus_set(native, gain);
    LOG("Set %s by %s = %s done!!\n", name, native, gain);
}

void cb_corvane_nightgain(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char gain[16];
    expand_own_format(gain, value);
    char native[128];
    node_of(native, "image.cam%d.exposure.i2c_day2night", "image.global.exposure.i2c_day2night", sensor_of(name));
    nbus_set(native, gain);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, gain);
}

void cb_corvane_daynight(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *mode = word_containing(value, daynight_words, "auto");
    char native[128];
    node_of(native, "image.cam%d.exposure.day_night", "image.global.exposure.day_night", sensor_of(name));
    nbus_set(native, mode);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, mode);
}

void cb_corvane_dn_hrmin(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const KeyedNode *row = keyed_node(name, day_night_time_nodes);
    if (!row) {
        LOG("Cam0-Err: %s = %s!!\n", name, value);
        return;
    }
    char native[128];
    // camera 5 is the global node here (kept)
    node_of(native, row->camera, row->global, sensor_of(name, SensorRule::five_global));
    nbus_set(native, value);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, value);
}

void cb_corvane_freq(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    nbus_set("system.frequency_value", value);
    const MainsFrequency *mains = &other_frequency;
    for (const MainsFrequency &row : mains_frequencies)
        if (mains == &other_frequency && equals(value, row.value))
            mains = &row;
    nbus_set("system.lighting_type", mains->lighting);
    nbus_set("system.camera_type", mains->camera_type);
    LOG(" %s = %s Done!!\n", "system.frequency_value", value);
}

void cb_corvane_equalbright(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    nbus_set("image.global.sync_brightness", value);
    if (const char *mode = word_equal_to(value, equalbright_modes, nullptr)) {
        nbus_set("image.global.exposure.mode", mode);
        for (int camera = 1; camera <= service.cam_count; ++camera) {
            char native[128];
            expand_pattern(native, "image.cam%d.exposure.mode", camera);
            nbus_set(native, mode);
            LOG("set %s:%s\n", native, mode);
        }
    }
    LOG("Set %s(%s) = %s done!!\n", name, "image.global.sync_brightness", value);
}

void cb_corvane_sync_awb_dn_ae(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *native = nullptr;
    for (const auto &row : sync_nodes)
        if (!native && contains(name, row[0]))
            native = row[1];
    if (!native) {
        LOG("Err: %s = %s!!\n", name, value);
        return;
    }
    nbus_set(native, value);
    LOG("Set %s = %s done!!\n", native, value);
    if (!equals(native, "image.global.sync_daynight") || parse_decimal(value) <= 0)
        return;
    // the other sensors' legacy nodes take camera 1's; their handlers follow.
    // The read is not tested: a setting that cannot be read goes out as the
    // cleared buffer, empty.
    for (const char *pattern : day_night_legacy_nodes) {
        char node[128];
        char setting[32];
        expand_pattern(node, pattern, 1);
        read_node(node, setting);
        for (int camera = 2; camera <= service.cam_count; ++camera) {
            expand_pattern(node, pattern, camera);
            nbus_set(node, setting);
        }
    }
}

void cb_corvane_defog(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *level = word_equal_to(value, defog_levels, nullptr);
    if (!level) {
        LOG("error nbus value: N-%s, V-%s!!\n", name, value);
        return;
    }
    char native[128];
    node_of(native, "image.cam%d.defog", "image.global.defog", sensor_of(name));
    nbus_set(native, level);
    LOG("Set %s=%s by (%s=%s) done!!\n", native, level, name, value);
}
