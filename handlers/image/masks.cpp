// Privacy masks, the on-screen text overlay and the regions of interest.
#include "handlers/image/masks.h"

#include <iterator>

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

template <size_t N>
const KeyedNode *keyed_node(const char *name, const KeyedNode (&table)[N])
{
    for (const KeyedNode &row : table)
        if (contains(name, row.key))
            return &row;
    return nullptr;
}

// A name with ".cam1".."cam9" addresses that sensor, any other sensor 0
// (sensor_of in frame/text.h).
//
// Every log line carries its statement's source line, and clients compare
// the lines byte for byte: the handlers below keep theirs where they have
// always stood, so what left this place leaves its lines to this comment.
//

// "pmaskblock" before "pmask", which it contains.
constexpr KeyedNode mask_switch_nodes[] = {
    {"pmaskblock", "image.cam%d.privacy_zone.pmaskblock", nullptr},
    {"pmask", "image.cam%d.privacy_zone.enable", nullptr},
};

constexpr KeyedNode mask_edge_nodes[] = {
    {"pmaskbottom", "image.cam%d.privacy_zone.pmaskbottom", "image.global.privacy_zone.pmaskbottom"},
    {"pmaskleft", "image.cam%d.privacy_zone.pmaskleft", "image.global.privacy_zone.pmaskleft"},
    {"pmaskright", "image.cam%d.privacy_zone.pmaskright", "image.global.privacy_zone.pmaskright"},
    {"pmasktop", "image.cam%d.privacy_zone.pmasktop", "image.global.privacy_zone.pmasktop"},
};

constexpr KeyedNode overlay_nodes[] = {
    {"osdbg", "system.cam%d.osd.background", nullptr},
    {"osdcolor", "system.cam%d.osd.color", nullptr},
    {"osdtxt", "system.cam%d.osd.text", nullptr},
    {"osdtopleft", "system.cam%d.osd.topleft", nullptr},
    {"osdtopright", "system.cam%d.osd.topright", nullptr},
    {"osdbotleft", "system.cam%d.osd.botleft", nullptr},
    {"osdbotright", "system.cam%d.osd.botright", nullptr},
    {"osdfb", "system.cam%d.osd.text_shadow", nullptr},
};
static_assert(std::size(overlay_nodes) == 8);

// The region digits of a legacy name such as "corvane.cam2.roi1_lv3".
struct RegionName {
    int camera;
    int level;
    int enable;
    int stream;
    int area;
};

RegionName region_name(const char *name)
{
    return {.camera = digit_after(name, ".cam"),
            .level = digit_after(name, "_lv"),
            .enable = digit_after(name, "_en"),
            .stream = digit_after(name, "roi"),
            .area = digit_after(name, "_a")};
}

bool in_region_range(int number) { return number >= 1 && number <= 5; }

} // namespace

void cb_corvane_pmask_block(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[64];
    clear(native);
    const KeyedNode *row = keyed_node(name, mask_switch_nodes);
    if (!row) {
        LOG("Err %s = %s!!\n", name, value);
        return;
    }
    int sensor = sensor_of(name);
    // camera 5 broadcasts like the global rows (kept)
    if (sensor != 0 && sensor != 5) {
        expand_pattern(native, row->camera, sensor);
        nbus_set(native, value);
        LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, value);
        return;
    }
    for (int camera = 1; camera <= service.cam_count; ++camera) {
        expand_pattern(native, row->camera, camera);
        nbus_set(native, value);
        LOG("Set %s = %s done!!\n", native, value);
    }
}

void cb_corvane_pmask_blrt(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[64];
    clear(native);
    const KeyedNode *row = keyed_node(name, mask_edge_nodes);
    if (!row) {
        LOG("Err %s = %s!!\n", name, value);
        return;
    }
    int sensor = sensor_of(name);
    if (sensor == 0)
        copy_into(native, row->global);
    else
        expand_pattern(native, row->camera, sensor);
    nbus_set(native, value);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, value);
}

// The overlay is one setting for all sensors at once.
void cb_corvane_osd_all(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[64];
    clear(native);
    if (service.cam_count < 1)
        return;
    const KeyedNode *row = keyed_node(name, overlay_nodes);
    if (!row) {
        LOG("Err: %s = %s!!\n", name, value);
        return;
    }
    for (int camera = 1; camera <= service.cam_count; ++camera) {
        expand_pattern(native, row->camera, camera);
        nbus_set(native, value);
        LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, value);
    }
}

void cb_corvane_roi_lv_en(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[64];
    clear(native);
    RegionName region = region_name(name);
    if (region.camera == 0) {
        LOG("ERR: CAM number = 0");
        return;
    }
    if (region.stream != 1 && region.stream != 2) {
        LOG("ERR: ROI number=%d!!!\n", region.stream);
        return;
    }
    if (in_region_range(region.level))
        format_into(native, "image.cam%d.roi.stream%d.level%d", region.camera, region.stream, region.level);
    else if (in_region_range(region.enable))
        format_into(native, "image.cam%d.roi.stream%d.enable%d", region.camera, region.stream, region.enable);
    else if (in_region_range(region.area))
        format_into(native, "image.cam%d.roi.stream%d.area%d", region.camera, region.stream, region.area);
    else
        // the write below still goes out, to the empty name (kept)
        LOG("ERR: level number=%d, enable number=%d!!!\n", region.level, region.enable);
    nbus_set(native, value);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, value);
}
