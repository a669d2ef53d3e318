// Motion detection of each sensor: the legacy single zone size and
// sensitivity go to whichever native grid is active (normal, 64 zones, or
// extended, 1024 zones, with "_e" nodes); switching the zone count copies the
// newly active grid back into the legacy nodes.
#include "handlers/events/motion.h"

#include "frame/handler.h"
#include "frame/log.h"
#include "frame/node.h"
#include "frame/text.h"
#include "platform/nbus.h"

namespace {

constexpr const char *kExtended = "event.cam%d.motion.block_detection.extended";
constexpr const char *kEnable = "event.cam%d.motion.enable";
constexpr const char *kThreshold = "event.cam%d.motion.block_detection.threshold";
constexpr const char *kDetail = "event.cam%d.motion.block_detection.detail";
constexpr const char *kLegacyZoneSize = "corvane.cam%d.mdzonesize";
constexpr const char *kLegacySensitivity = "corvane.cam%d.mdsensitivity";

struct Grid {
    const char *zone_count;
    const char *extended_word;
    const char *zone_size;
    const char *sensitivity;
};

constexpr Grid grids[] = {
    {"1024", "1", "event.cam%d.motion.block_detection.zone_size_e",
     "event.cam%d.motion.block_detection.sensitivity_e"},
    {"64", "0", "event.cam%d.motion.block_detection.zone_size", "event.cam%d.motion.block_detection.sensitivity"},
};

const Grid *grid_for_zone_count(const char *value)
{
    for (const Grid &grid : grids)
        if (equals(value, grid.zone_count))
            return &grid;
    return nullptr;
}

// The grid whose nodes a new zone size or sensitivity goes to: the extended
// one only when the extended node holds exactly "1".
const Grid &active_grid(const char *extended)
{
    return equals(extended, "1") ? grids[0] : grids[1];
}

} // namespace

void cb_corvane_mdtotalzones(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (!contains(name, ".cam"))
        return;
    int camera = camera_digit(name);
    char node[128] = {};
    char current[16] = {};
    const Grid *grid = grid_for_zone_count(value);
    if (!grid) {
        LOG("cb_corvane_mdtotalzones, %s, error value: %s!!\n", name, value);
        LOG("Set %s = %s done!!\n", node, current);
        return;
    }
    expand_pattern(node, kExtended, camera);
    nbus_set(node, grid->extended_word);
    // copying back re-enters the zone-size and sensitivity handlers, which
    // write the same values to the grid just made active
    const char *copies[][2] = {{grid->zone_size, kLegacyZoneSize}, {grid->sensitivity, kLegacySensitivity}};
    for (const auto &copy : copies) {
        expand_pattern(node, copy[0], camera);
        if (read_node(node, current))
            return;
        expand_pattern(node, copy[1], camera);
        nbus_set(node, current);
    }
    LOG("Set %s = %s done!!\n", node, current);
}

void cb_corvane_motiondetect(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (!contains(name, ".cam"))
        return;
    char node[128] = {};
    char current[32] = {};
    expand_pattern(node, kEnable, camera_digit(name));
    if (int error = read_node(node, current)) {
        // kept: the zone-size handler's text
        LOG("cb_corvane_mdzonesize, nbus_get %s, error : %d!!\n", node, error);
        return;
    }
    if (equals(current, value)) {
        LOG("The same value, (%s, %s)\n", node, value);
        return;
    }
    if (equals(value, "on") || equals(value, "off")) {
        nbus_set(node, value);
        LOG("motionEnable-event, n=%s, v=%s\n", node, value);
        return;
    }
    LOG("cb_corvane_motiondetect, %s, error value: %s!!\n", name, value);
}

void cb_corvane_mdzonesize(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (!contains(name, ".cam"))
        return;
    int camera = camera_digit(name);
    char node[128] = {};
    char extended[32] = {};
    expand_pattern(node, kExtended, camera);
    if (int error = read_node(node, extended)) {
        LOG("cb_corvane_mdzonesize, nbus_get %s, error : %d!!\n", node, error);
        return;
    }
    expand_pattern(node, active_grid(extended).zone_size, camera);
    nbus_set(node, value);
    LOG("cb_corvane_mdzonesize set: n=%s, v=%s\n", node, value);
}

void cb_corvane_mdlevelthreshold(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (!contains(name, ".cam"))
        return;
    char node[128] = {};
    char current[32] = {};
    expand_pattern(node, kThreshold, camera_digit(name));
    if (int error = read_node(node, current)) {
        LOG("cb_corvane_mdlevelthreshold, nbus_get %s, error : %d!!\n", node, error);
        return;
    }
    if (equals(current, value)) {
        LOG("Same value (%s,%s)\n", node, value);
        return;
    }
    nbus_set(node, value);
    LOG("Set: n=%s, v=%s\n", node, value);
}

void cb_corvane_mddetail(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (!contains(name, ".cam"))
        return;
    char node[128] = {};
    char current[32] = {};
    expand_pattern(node, kDetail, camera_digit(name));
    if (int error = read_node(node, current)) {
        LOG("cb_corvane_mddetail, nbus_get %s, error : %d!!\n", node, error);
        return;
    }
    if (equals(current, value)) {
        LOG("cb_corvane_mddetail same value (%s,%s)\n", node, value);
        return;
    }
    nbus_set(node, value);
    LOG("cb_corvane_mddetail set: n=%s, v=%s\n", node, value);
}

void cb_corvane_mdsensitivity(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (!contains(name, ".cam"))
        return;
    int camera = camera_digit(name);
    char node[128] = {};
    char extended[32] = {};
    expand_pattern(node, kExtended, camera);
    if (int error = read_node(node, extended)) {
        LOG("cb_corvane_mdsensitivity, nbus_get %s, error : %d!!\n", node, error);
        return;
    }
    LOG("cb_corvane_mdsensitivity, event node %s=%s\n", node, extended);
    expand_pattern(node, active_grid(extended).sensitivity, camera);
    nbus_set(node, value);
    LOG("Set %s = %s!!\n", node, value);
}
