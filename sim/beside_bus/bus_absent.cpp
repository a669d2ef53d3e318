// The simulated camera's model-feature, video and motor-controller
// libraries beside a real bus library (corvaned-redis): the device file
// gives only the platform parameters, the nodes and read faults are the
// bus's own.
#include <string>

#include "platform/nbus.h"
#include "sim/platform/internal.h"
#include "sim/platform/sim.h"

namespace sim {

bool shared_bus()
{
    return true;
}

void device_write(const std::string &, const std::string &) {}
void set_read_fault(const std::string &, int) {}
void reset_bus() {}

// The video library's current stream sizes, from the bus.
std::optional<std::string> node(const std::string &name)
{
    char value[256] = {};
    if (nbus_get(name.c_str(), value, sizeof value) != 0)
        return std::nullopt;
    return std::string(value);
}

} // namespace sim
