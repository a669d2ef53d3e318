// Every routine of the daemon by its name, for direct calls from a script
// and for naming handlers in the trace; taken from the daemon's own list.
#include "sim/driver/routines.h"

#include "bindings/routine_list.h"

namespace {

#define ROUTINE_ENTRY(shape, routine) {#routine, RoutineKind::shape, {.shape = routine}},
const Routine routines[] = {DAEMON_ROUTINES(ROUTINE_ENTRY)};
#undef ROUTINE_ENTRY

} // namespace

const Routine *find_routine(const std::string &name)
{
    for (const Routine &routine : routines)
        if (name == routine.name)
            return &routine;
    return nullptr;
}

const void *Routine::address() const
{
    switch (kind) {
    case RoutineKind::handler: return reinterpret_cast<const void *>(handler);
    case RoutineKind::converter: return reinterpret_cast<const void *>(converter);
    case RoutineKind::plain: return reinterpret_cast<const void *>(plain);
    case RoutineKind::one_number: return reinterpret_cast<const void *>(one_number);
    case RoutineKind::two_numbers: return reinterpret_cast<const void *>(two_numbers);
    case RoutineKind::max_fps: return reinterpret_cast<const void *>(max_fps);
    case RoutineKind::text_query: return reinterpret_cast<const void *>(text_query);
    case RoutineKind::sync: return reinterpret_cast<const void *>(sync);
    }
    return nullptr;
}

std::string name_of_routine(const void *address)
{
    for (const Routine &routine : routines)
        if (routine.address() == address)
            return routine.name;
    return "?";
}

std::vector<std::string> routine_names()
{
    std::vector<std::string> names;
    for (const Routine &routine : routines)
        names.push_back(routine.name);
    return names;
}
