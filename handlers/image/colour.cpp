// Picture adjustments (brightness, sharpness, saturation, contrast, hue,
// white balance and its gains) and mirror, flip and rotation.
#include "handlers/image/colour.h"

#include <cmath>
#include <cstdint>

#include "frame/context.h"
#include "frame/handler.h"
#include "frame/log.h"
#include "frame/node.h"
#include "frame/text.h"

namespace {

struct KeyedNode {
    const char *key;
    const char *camera;
    const char *global;
};

// A name with ".cam1".."cam9" addresses that sensor's node, any other the
// global node (sensor_of in frame/text.h).
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

// A native node and the text written to it, for the caller's log line.
struct Written {
    char node[128];
    char text[16];
};

// Writes `number` as decimal text to the sensor's or the global node.
Written write_converted(const char *name, const char *camera_pattern, const char *global_name, int32_t number)
{
    Written written{};
    node_of(written.node, camera_pattern, global_name, sensor_of(name));
    format_into(written.text, "%d", number);
    nbus_set(written.node, written.text);
    return written;
}

// round(n x 50 / 3); beyond the 32-bit range the result saturates as the
// device's float-to-integer conversion does.
int32_t saturation_level(int32_t legacy)
{
    double level = std::round(legacy * 50.0 / 3.0);
    if (level >= static_cast<double>(INT32_MAX))
        return INT32_MAX;
    if (level <= static_cast<double>(INT32_MIN))
        return INT32_MIN;
    return static_cast<int32_t>(level);
}

constexpr KeyedNode contrast_hue_nodes[] = {
    {"contrast", "image.cam%d.contrast", "image.global.contrast"},
    {"hue", "image.cam%d.hue", "image.global.hue"},
};

// "on" is tested first, so "none" also gives "auto".
constexpr WordMapping white_balance_words[] = {{"on", "auto"}, {"off", "off"}};

// The binding rows name the bg gain for red too; the red gain goes to
// rg_gain all the same.
constexpr KeyedNode gain_nodes[] = {
    {"blue", "image.cam%d.wb.bg_gain", "image.global.wb.bg_gain"},
    {"red", "image.cam%d.wb.rg_gain", "image.global.wb.rg_gain"},
};

// Writes the value unchanged to the sensor's or the global node.
Written copy_to_node(const char *name, const char *value, const char *camera_pattern, const char *global_name)
{
    Written written{};
    node_of(written.node, camera_pattern, global_name, sensor_of(name));
    nbus_set(written.node, value);
    return written;
}

} // namespace

void cb_corvane_brightness(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    Written written = write_converted(name, "image.cam%d.brightness", "image.global.brightness",
                                      wrap_int32(int64_t{parse_decimal(value)} + 50));
    LOG("Set %s = %s done!!\n", written.node, written.text);
}

void cb_corvane_sharpness_gate(const char *name, const char *value)
{
    if (!service.ready)
        return;
    cb_corvane_sharpness(name, value);
}

void cb_corvane_sharpness(const char *name, const char *value)
{
    LOG("Enter %s = %s!!\n", name, value);
    int32_t level = wrap_int32(int64_t{parse_decimal(value)} * 64 - 1);
    Written written = write_converted(name, "image.cam%d.sharpness", "image.global.sharpness", level < 0 ? 0 : level);
    LOG("Set %s = %s done!!\n", written.node, written.text);
}

void cb_corvane_saturation(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    Written written = write_converted(name, "image.cam%d.saturation", "image.global.saturation",
                                      saturation_level(parse_decimal(value)));
    LOG("Set %s = %s done!!\n", written.node, written.text);
}

void cb_corvane_contrast_hue(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const KeyedNode *row = keyed_node(name, contrast_hue_nodes);
    if (!row) {
        LOG("error parameters: N-%s, V-%s!!\n", name, value);
        return;
    }
    Written written = copy_to_node(name, value, row->camera, row->global);
    LOG("Set %s by %s = %s done!!\n", name, written.node, value);
}

void cb_corvane_white_balance(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *mode = word_containing(value, white_balance_words, "auto");
    char native[128];
    node_of(native, "image.cam%d.wb.mode", "image.global.wb.mode", sensor_of(name));
    nbus_set(native, mode);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, mode);
}

void cb_corvane_blue_red(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const KeyedNode *row = keyed_node(name, gain_nodes);
    if (!row) {
        LOG("error parameters: N-%s, V-%s!!\n", name, value);
        return;
    }
    char gain[16];
    format_into(gain, "%d", wrap_int32((int64_t{parse_decimal(value)} + 10) * 50));
    char native[128];
    node_of(native, row->camera, row->global, sensor_of(name));
    nbus_set(native, gain);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, gain);
}

// Bound without the ready gate (kept as the interface has it).
void cb_corvane_rotate(const char *name, const char *value)
{
    LOG("Enter by %s = %s!!\n", name, value);
    int sensor = sensor_of(name);
    // camera 5 is refused on purpose (kept)
    if (sensor == 0 || sensor == 5) {
        LOG("Set image.rotate= %s(cam%d) error!!\n", value, sensor);
        return;
    }
    const char *word = equals(value, "180") ? "on" : "off";
    char native[128];
    for (const char *pattern : {"image.cam%d.mirror", "image.cam%d.flip"}) {
        expand_pattern(native, pattern, sensor);
        nbus_set(native, word);
        LOG("Set %s = %s(%s) done!!\n", native, word, value);
    }
}

void cb_corvane_img_mirror(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    Written written = copy_to_node(name, value, "image.cam%d.mirror", "image.global.mirror");
    LOG("Set %s by %s = %s done!!\n", name, written.node, value);
}

void cb_corvane_img_flip(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    Written written = copy_to_node(name, value, "image.cam%d.flip", "image.global.flip");
    LOG("Set %s by %s = %s done!!\n", name, written.node, value);
}

// A sensor turns by mirror plus flip; the global node takes the value itself.
void cb_corvane_img_rotate(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (sensor_of(name) == 0) {
        Written written = copy_to_node(name, value, "", "image.global.rotate");
        LOG("Set %s by %s = %s done!!\n", name, written.node, value);
        return;
    }
    for (const char *pattern : {"image.cam%d.mirror", "image.cam%d.flip"}) {
        Written written = copy_to_node(name, value, pattern, "");
        LOG("Set %s by %s = %s done!!\n", name, written.node, value);
    }
}

void cb_corvane_equalcolor(const char *name, const char *value)
{
    if (!service.ready)
        return;
    LOG("Set by %s = %s (TBD) !!\n", name, value);
}
