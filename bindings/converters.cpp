// Native-to-legacy converters of the start-up synchronisation. Each reads
// its native node, translates, and writes the legacy node itself; a failed
// read is logged and writes nothing. Most only map the native value: those
// are a pure mapping handed to convert_value, which reads, logs a failure
// and writes.
#include "bindings/converters.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "frame/log.h"
#include "frame/node.h"
#include "frame/text.h"
#include "platform/avc.h"

namespace {

// Text before "nbus_get" in a failed read's line; kErrorNodeLine selects the
// other form, "nbus_get error node: <node>(ret:<code>)!!".
constexpr const char *kPlainLine = "";
constexpr const char *kErrorNodeLine = nullptr;

// Clears `value`, reads `size` bytes of `node`; a failure is logged under
// the converter's name and gives false.
bool read_native(const char *converter, const char *node, char *value, int size, const char *failure = kPlainLine)
{
    memset(value, 0, static_cast<size_t>(size));
    int error = nbus_get(node, value, size);
    if (error == 0)
        return true;
    if (failure == kErrorNodeLine)
        LOG_AS(converter, "nbus_get error node: %s(ret:%d)!!\n", node, error);
    else
        LOG_AS(converter, "%snbus_get %s, error : %d!!\n", failure, node, error);
    return false;
}

template <size_t N>
bool read_native(const char *converter, const char *node, char (&value)[N], const char *failure = kPlainLine)
{
    return read_native(converter, node, value, static_cast<int>(N), failure);
}

// A pure mapping: the legacy text for a native value; a number is
// formatted into `scratch`.
using LegacyText = char[16];
using Mapping = const char *(*)(const char *native, LegacyText &scratch);

struct ValueConversion {
    int read_bytes;       // 8, 16, 32 or 64
    const char *failure;  // see read_native
    Mapping map;
};

void convert_value(const char *converter, const char *legacy_name, const char *native_name,
                   const ValueConversion &conversion)
{
    char value[64];
    if (!read_native(converter, native_name, value, conversion.read_bytes, conversion.failure))
        return;
    LegacyText scratch{};
    nbus_set(legacy_name, conversion.map(value, scratch));
}

const char *number_text(LegacyText &scratch, int32_t number)
{
    format_into(scratch, "%d", number);
    return &scratch[0];
}

// The sensor of a name is its raw camera_digit, whatever follows ".cam"
// (kept), 0 without ".cam".
// Every log line carries its statement's source line, and clients compare
// the lines byte for byte: the code below keeps its lines where they have
// always stood, so what left this place leaves its lines to this comment.

// A per-sensor native pattern for `sensor`, or its global form without one.
template <size_t N>
void sensor_node(char (&buffer)[N], const char *camera_pattern, const char *global_name, int sensor)
{
    if (sensor == 0)
        copy_into(buffer, global_name);
    else
        expand_pattern(buffer, camera_pattern, sensor);
}

constexpr WordMapping imgquality_words[] = {{"high", "21"}, {"mid", "14"}, {"low", "7"}};
constexpr WordMapping white_balance_words[] = {{"auto", "on"}, {"off", "off"}};
constexpr WordMapping lowlight_words[] = {
    {"balanced", "balanced"}, {"quality", "quality"}, {"highspeed", "highspeed"}, {"moonlight", "moonlight"}};
constexpr WordMapping daynight_words[] = {
    {"force_day", "day"}, {"force_night", "night"}, {"auto", "auto"}, {"user_define", "schedule"}};
constexpr WordMapping autoexp_words[] = {{"auto", "on"}, {"lock", "off"}};

const char *defog_word(int32_t level)
{
    if (level == 0)
        return "off";
    if (level >= 1 && level <= 85)
        return "low";
    if (level >= 86 && level <= 169)
        return "medium";
    return "high";
}

const char *shortexposure_word(int32_t shutter)
{
    if (shutter < 1)
        return "1";
    return shutter <= 80 ? "33" : "80";
}

// The grid-dependent copy of the zone-size and sensitivity converters.
void copy_active_grid(const char *converter, const char *legacy_name, int sensor, const char *extended_pattern,
                      const char *normal_pattern)
{
    char node[128];
    char extended[32];
    expand_pattern(node, "event.cam%d.motion.block_detection.extended", sensor);
    if (!read_native(converter, node, extended))
        return;
    expand_pattern(node, equals(extended, "1") ? extended_pattern : normal_pattern, sensor);
    char value[32];
    if (!read_native(converter, node, value))
        return;
    nbus_set(legacy_name, value);
}

// Width times height of "WxH" text, 0 when it does not parse. Each number
// saturates at the 32-bit limits as the device's strtol does (sscanf's %d
// has no defined result beyond them).
int64_t pixel_count(const char *resolution)
{
    char *end = nullptr;
    long width = strtol(resolution, &end, 10);
    if (end == resolution || *end != 'x')
        return 0;
    const char *second = end + 1;
    long height = strtol(second, &end, 10);
    if (end == second)
        return 0;
    return int64_t{std::clamp<long>(width, INT32_MIN, INT32_MAX)} * std::clamp<long>(height, INT32_MIN, INT32_MAX);
}

} // namespace

void n2a_brightness_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name,
                  {16, "n2a_brightness_converter, ", [](const char *native, LegacyText &scratch) {
                       return number_text(scratch, wrap_int32(int64_t{parse_decimal(native)} - 50));
                   }});
}

void n2a_sharpness_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name,
                  {16, "n2a_sharpness_converter, ", [](const char *native, LegacyText &scratch) {
                       return number_text(scratch, wrap_int32(int64_t{parse_decimal(native)} + 1) / 64);
                   }});
}

void n2a_saturation_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name,
                  {16, "n2a_saturation_converter, ", [](const char *native, LegacyText &scratch) {
                       return number_text(scratch, parse_decimal(native) / 16);
                   }});
}

// Both the blue and the red rows read the bg gain node (kept).
void n2a_blue_red_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name, {16, kPlainLine, [](const char *native, LegacyText &scratch) {
                                                           return number_text(scratch, parse_decimal(native) / 50 - 10);
                                                       }});
}

void n2a_imgquality_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name, {16, kPlainLine, [](const char *native, LegacyText &) {
                                                           return word_containing(native, imgquality_words, "21");
                                                       }});
}

void n2a_ipv6enable_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name, {16, kPlainLine, [](const char *native, LegacyText &) {
                                                           return contains(native, "on") ? "true" : "false";
                                                       }});
}

// The mask edges are reported as 0 whatever they hold (kept).
void n2a_pmask_blrt_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name,
                  {64, kPlainLine, [](const char *, LegacyText &) { return "0"; }});
}

void n2a_sd_codec_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name, {16, kPlainLine, [](const char *native, LegacyText &) {
                                                           return contains(native, "snapshot") ? "jpeg" : "h264";
                                                       }});
}

void n2a_shortexposures_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name, {8, kPlainLine, [](const char *native, LegacyText &) {
                                                           return shortexposure_word(parse_decimal(native));
                                                       }});
}

void n2a_white_balance_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name, {8, kPlainLine, [](const char *native, LegacyText &) {
                                                           return word_containing(native, white_balance_words, "on");
                                                       }});
}

void n2a_defog_converter(const char *legacy_name, const char *native_name)
{
    char value[8];
    if (!read_native(__func__, native_name, value, kErrorNodeLine))
        return;
    int32_t level = parse_decimal(value);
    if (level < 0 || level > 255)
        LOG("nbus_get %s, error value: %s!!\n", native_name, value);
    nbus_set(legacy_name, defog_word(level));
}

void n2a_wdr_converter(const char *legacy_name, const char *native_name)
{
    char value[8];
    if (!read_native(__func__, native_name, value, kErrorNodeLine))
        return;
    const char *word = contains(value, "off") ? "off" : "auto";
    nbus_set(legacy_name, word);
    LOG("Set %s(%s) = %s(%s) done!!\n", legacy_name, native_name, word, value);
}

void n2a_qos_enable_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name, {8, kPlainLine, [](const char *native, LegacyText &) {
                                                           return equals(native, "on") ? "1" : "0";
                                                       }});
}

void n2a_smtgop_snpstrm_converter(const char *legacy_name, const char *native_name)
{
    char value[8];
    if (!read_native(__func__, native_name, value, kErrorNodeLine))
        return;
    if (equals(value, "1")) {
        nbus_set(legacy_name, "on");
        return;
    }
    if (!equals(value, "0"))
        LOG("nbus_get %s, error value: %s!!\n", native_name, value);
    nbus_set(legacy_name, "off");
}

void n2a_auxin_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name, {32, kPlainLine, [](const char *native, LegacyText &) {
                                                           return contains(native, "1") ? "on" : "off";
                                                       }});
}

// A mode other than "auto" or "lock" is logged and leaves the legacy node alone.
void n2a_autoexp_converter(const char *legacy_name, const char *native_name)
{
    char value[32];
    if (!read_native(__func__, native_name, value))
        return;
    const char *word = word_equal_to(value, autoexp_words, nullptr);
    if (!word) {
        LOG("ERR %s(%d) = %s!!\n", native_name, camera_digit(native_name), value);
        return;
    }
    nbus_set(legacy_name, word);
}

void n2a_lowlight_converter(const char *legacy_name, const char *native_name)
{
    // kept: the failure line names the rotate converter
    convert_value(__func__, legacy_name, native_name,
                  {16, "n2a_rotate_converter, ", [](const char *native, LegacyText &) {
                       return word_equal_to(native, lowlight_words, "balanced");
                   }});
}

// Ignores the native rotate node: 180 degrees is mirror plus flip.
void n2a_rotate_converter(const char *legacy_name, const char *native_name)
{
    int sensor = camera_digit(native_name);
    char mirror_node[64];
    char flip_node[64];
    sensor_node(mirror_node, "image.cam%d.mirror", "image.global.mirror", sensor);
    sensor_node(flip_node, "image.cam%d.flip", "image.global.flip", sensor);
    LOG("Set by %s = %s!!\n", legacy_name, native_name);

    char mirror[16];
    char flip[16];
    // kept: both failure lines name camera 1 whatever the sensor
    if (int error = read_node(mirror_node, mirror)) {
        LOG("n2a_rotate_converter, nbus_get image.cam1.mirror, error : %d!!\n", error);
        return;
    }
    if (int error = read_node(flip_node, flip)) {
        LOG("n2a_rotate_converter, nbus_get image.cam1.flip, error : %d!!\n", error);
        return;
    }
    const char *degrees = equals(mirror, "on") && equals(flip, "on") ? "180" : "0";
    nbus_set(legacy_name, degrees);
    if (sensor == 0)
        LOG("Set N-%s(%s), V-%s done!!\n", legacy_name, native_name, degrees);
    else
        LOG("Set %s(%s) = %s done!!\n", legacy_name, native_name, degrees);
}

void n2a_mdtotalzones_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name,
                  {16, "n2a_mdtotalzones_converter, ",
                   [](const char *native, LegacyText &) { return equals(native, "0") ? "64" : "1024"; }});
}

void n2a_mdzonesize_converter(const char *legacy_name, const char *native_name)
{
    if (!contains(native_name, ".cam")) {
        LOG("No camNum info.");
        return;
    }
    copy_active_grid(__func__, legacy_name, camera_digit(native_name), "event.cam%d.motion.block_detection.zone_size_e",
                     "event.cam%d.motion.block_detection.zone_size");
}

void n2a_mdsensitivity_converter(const char *legacy_name, const char * /*native_name*/)
{
    if (!contains(legacy_name, ".cam")) {
        LOG("No camNum info.");
        return;
    }
    copy_active_grid(__func__, legacy_name, camera_digit(legacy_name),
                     "event.cam%d.motion.block_detection.sensitivity_e",
                     "event.cam%d.motion.block_detection.sensitivity");
}

// Bits: 1 DHCP, 16 NTP, 512 IPv6. Every failure line names the converter's
// own native node, whichever read failed, after the brightness converter's
// name (kept).
void n2a_netopt_converter(const char *legacy_name, const char *native_name)
{
    constexpr const char *kFailure = "n2a_brightness_converter, ";
    char value[16];
    if (!read_native(__func__, native_name, value, kFailure))
        return;
    int options = contains(value, "dhcp") ? 1 : 0;
    if (int error = read_node("system.datetime.mode", value)) {
        LOG("%snbus_get %s, error : %d!!\n", kFailure, native_name, error);
        return;
    }
    if (contains(value, "ntp"))
        options = options ? 17 : 16;
    if (int error = read_node("network.ipv6.enable", value)) {
        LOG("%snbus_get %s, error : %d!!\n", kFailure, native_name, error);
        return;
    }
    if (contains(value, "on"))
        options += 512;
    write_number(legacy_name, options);
}

// The legacy node written follows the native name's stream, not the caller.
void n2a_en_multicast_converter(const char * /*legacy_name*/, const char *native_name)
{
    char value[16];
    if (!read_native(__func__, native_name, value))
        return;
    const char *word = "0";
    if (contains(value, "on"))
        word = "1";
    else if (!contains(value, "off"))
        LOG("get value error: %s = %s!!\n", native_name, value);

    const char *target = nullptr;
    if (contains(native_name, "stream2"))
        target = "corvane.en_multicast2";
    else if (contains(native_name, "stream3"))
        target = "corvane.en_multicast3";
    else if (contains(native_name, "stream1"))
        target = "corvane.en_multicast";
    if (!target) {
        LOG("ERR(cam%d), %s = %s!!\n", camera_digit(native_name), native_name, value);
        return;
    }
    nbus_set(target, word);
}

void n2a_daynight_converter(const char *legacy_name, const char *native_name)
{
    convert_value(__func__, legacy_name, native_name, {16, kPlainLine, [](const char *native, LegacyText &) {
                                                           return word_containing(native, daynight_words, "auto");
                                                       }});
}

// A stream on variable rate reports a constant bit rate of 0.
void n2a_bitrate_converter(const char *legacy_name, const char *native_name)
{
    char value[8];
    if (!read_native(__func__, native_name, value))
        return;
    int sensor = camera_digit(native_name);
    int stream = digit_after(native_name, "stream");
    char control_node[128];
    if (sensor == 0)
        expand_pattern(control_node, "encode.global.stream%d.rate_control", stream);
    else
        format_into(control_node, "encode.cam%d.stream%d.rate_control", sensor, stream);
    char control[8];
    if (!read_native(__func__, control_node, control))
        return;
    nbus_set(legacy_name, equals(control, "cvbr") ? "0" : value);
}

// The stream is looked for in the legacy name, which never names one, so
// every row reads stream 1's limit switch (kept).
void n2a_ratelimit_converter(const char *legacy_name, const char *native_name)
{
    char value[16];
    if (!read_native(__func__, native_name, value))
        return;
    int stream = contains(legacy_name, "stream3") ? 3 : contains(legacy_name, "stream2") ? 2 : 1;
    char limit_node[128];
    format_into(limit_node, "encode.cam%d.stream%d.enable_bitrate_limit", camera_digit(legacy_name), stream);
    char limit[16];
    if (!read_native(__func__, limit_node, limit))
        return;
    nbus_set(legacy_name, equals(limit, "off") ? "0" : value);
}

// The region number doubles as the stream number.
void n2a_roi_lv_en_converter(const char *legacy_name, const char *native_name)
{
    int camera = camera_digit(legacy_name);
    int region = digit_after(legacy_name, "roi");
    int level = digit_after(legacy_name, "_lv");
    int enable = digit_after(legacy_name, "_en");
    int area = digit_after(legacy_name, "_a");
    if (camera == 0) {
        LOG("ERR: CAM number = 0");
        return;
    }
    bool region_ok = region == 1 || region == 2;
    if (!region_ok)
        LOG("nbus ERR: ROI number=%d!!!\n", region);

    const char *native_word = nullptr;  // image.cam<c>.roi.stream<r>.<word><n>
    const char *legacy_word = nullptr;  // corvane.cam<c>.roi<r>_<word><n>
    int item = 0;
    if (level >= 1 && level <= 5) {
        native_word = "level";
        legacy_word = "lv";
        item = level;
    } else if (enable >= 1 && enable <= 5) {
        native_word = "enable";
        legacy_word = "en";
        item = enable;
    } else if (area >= 1 && area <= 5) {
        native_word = "area";
        legacy_word = "a";
        item = area;
    } else {
        LOG("ERR: level number=%d, enable number=%d!!!\n", level, enable);
        return;
    }

    char node[128];
    if (region_ok)
        format_into(node, "image.cam%d.roi.stream%d.%s%d", camera, region, native_word, item);
    else
        copy_into(node, native_name);
    char value[32];
    if (!read_native(__func__, node, value))
        return;
    if (!region_ok) {
        LOG("Corvane ERR: ROI number=%d!!!\n", region);
        return;
    }
    char target[128];
    format_into(target, "corvane.cam%d.roi%d_%s%d", camera, region, legacy_word, item);
    nbus_set(target, value);
}

// "full" when stream 3 runs at the sensor's largest size, else "half". It
// reads the legacy stream-3 resolution, which the synchronisation fills
// only later: the value as it stood before this start.
void n2a_imgres_converter(const char *legacy_name, const char * /*native_name*/)
{
    int sensor = camera_digit(legacy_name);
    char resolution_node[128];
    expand_pattern(resolution_node, "corvane.cam%d.resolution3", sensor == 0 ? 1 : sensor);
    char resolution[16];
    if (!read_native(__func__, resolution_node, resolution))
        return;
    char stream_node[128];
    expand_pattern(stream_node, "encode.cam%d.stream3.resolution", sensor == 0 ? 1 : sensor);
    char largest[16];
    clear(largest);
    if (getImgMaxResolution(stream_node, largest) != 0) {
        LOG("corvane set error,\"%s=%s\" \n", legacy_name, resolution);
        return;
    }
    nbus_set(legacy_name, pixel_count(resolution) == pixel_count(largest) ? "full" : "half");
}

// A failed read writes an empty value.
void n2a_copy_converter(const char *legacy_name, const char *native_name)
{
    char value[64];
    if (read_node(native_name, value) != 0)
        clear(value);
    nbus_set(legacy_name, value);
}
