// Video library: current sizes come from the native stream resolution
// nodes, the largest size per sensor from the device file.
#include <cstdio>
#include <string>

#include "frame/text.h"
#include "platform/avc.h"
#include "sim/platform/internal.h"
#include "sim/platform/sim.h"

using namespace sim;

extern "C" int getStreamCurResolution(int channel, int stream, int *width, int *height)
{
    char name[64];
    snprintf(name, sizeof name, "encode.cam%d.stream%d.resolution", channel + 1, stream + 1);
    std::optional<std::string> value = node(name);
    int parsed_width = 0;
    int parsed_height = 0;
    bool ok = value && sscanf(value->c_str(), "%dx%d", &parsed_width, &parsed_height) == 2;
    if (width)
        *width = ok ? parsed_width : 0;
    if (height)
        *height = ok ? parsed_height : 0;
    return ok ? 0 : -1;
}

extern "C" int getImgMaxResolution(const char *node_name, char *out)
{
    if (!node_name || !out)
        return -1;
    int camera = contains(node_name, ".cam") ? camera_digit(node_name) : 1;
    std::string largest = param("max_resolution.cam" + std::to_string(camera), param("max_resolution"));
    if (largest.empty())
        return -1;
    snprintf(out, 16, "%s", largest.c_str());
    return 0;
}

// The focus value comes from the simulated head's focus curve.
extern "C" int getFocusValue(int channel, unsigned int *value)
{
    unsigned int reading = 0;
    bool known = read_focus_value(channel, &reading);
    if (value)
        *value = reading;
    char line[64];
    snprintf(line, sizeof line, "avc getFocusValue(%d) -> %u", channel, reading);
    trace(line);
    return known ? 0 : -1;
}
