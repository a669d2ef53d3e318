// One handler family against the running daemon. An input is either
//   NAME \n VALUE: a client write of the family's registered legacy node
//     at or after NAME in name order (wrapping), VALUE being the rest; or
//   \x01 R NAME \n VALUE: a direct call of the family's routine picked by
//     the byte R with that arbitrary name and value, as if the bus had
//     delivered it (routines bound to no node are reached only so).
// Built once per family; CORVANE_FUZZ_FAMILY names it.
#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "bindings/binding.h"
#include "bindings/routine_list.h"
#include "sim/platform/sim.h"
#include "tests/fuzz/fuzz_daemon.h"

namespace {

struct Family {
    const char *name;
    std::vector<Handler> routines;
};

// The handlers of a family's routine lists (the other shapes drop out).
#define HANDLER_IN_LIST(shape, routine) HANDLER_IF_##shape(routine)
#define HANDLER_IF_handler(routine) routine,
#define HANDLER_IF_converter(routine)
#define HANDLER_IF_plain(routine)
#define HANDLER_IF_one_number(routine)
#define HANDLER_IF_two_numbers(routine)
#define HANDLER_IF_max_fps(routine)
#define HANDLER_IF_text_query(routine)
#define HANDLER_IF_sync(routine)

const Family families[] = {
    {"generic",
     {SIMPLE_SET_ROUTINES(HANDLER_IN_LIST) SIMPLE_SET_VARIANT_ROUTINES(HANDLER_IN_LIST)
          ACCOUNT_ROUTINES(HANDLER_IN_LIST)}},
    {"image", {EXPOSURE_ROUTINES(HANDLER_IN_LIST) COLOUR_ROUTINES(HANDLER_IN_LIST) MASK_ROUTINES(HANDLER_IN_LIST)}},
    {"encoder", {RESOLUTION_ROUTINES(HANDLER_IN_LIST) STREAM_ROUTINES(HANDLER_IN_LIST)}},
    {"network",
     {ADDRESSING_ROUTINES(HANDLER_IN_LIST) STREAMING_ROUTINES(HANDLER_IN_LIST) MANAGEMENT_ROUTINES(HANDLER_IN_LIST)}},
    {"events", {MOTION_ROUTINES(HANDLER_IN_LIST) SCHEDULE_ROUTINES(HANDLER_IN_LIST) ACTION_ROUTINES(HANDLER_IN_LIST)}},
    {"lens", {LENS_COMMAND_ROUTINES(HANDLER_IN_LIST) PTZ_ROUTINES(HANDLER_IN_LIST) LAYOUT_ROUTINES(HANDLER_IN_LIST)}},
};

const Family *family;
std::vector<std::string> registered_names;  // the family's legacy nodes, in name order

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    for (const Family &candidate : families)
        if (strcmp(candidate.name, CORVANE_FUZZ_FAMILY) == 0)
            family = &candidate;
    if (!family)
        abort();
    start_daemon();
    std::set<const void *> routines;
    for (Handler routine : family->routines)
        routines.insert(reinterpret_cast<const void *>(routine));
    std::set<std::string> names;
    for (const auto &[name, routine] : sim::listener_routines())
        if (routines.count(routine))
            names.insert(name);
    registered_names.assign(names.begin(), names.end());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    if ((data[0] != 0x01 || size < 2) && !registered_names.empty()) {
        std::string value(reinterpret_cast<const char *>(data), size);
        std::string name = take_line(&value);
        auto pick = std::lower_bound(registered_names.begin(), registered_names.end(), name);
        sim::client_write(pick == registered_names.end() ? registered_names.front() : *pick, value);
    } else {
        Handler routine = family->routines[data[1] % family->routines.size()];
        std::string value(reinterpret_cast<const char *>(data + 2), size - 2);
        std::string name = take_line(&value);
        sim::run_on_bus([&] { routine(name.c_str(), value.c_str()); });
    }
    undo_writes();
    return 0;
}
