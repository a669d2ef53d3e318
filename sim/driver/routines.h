#ifndef SIM_DRIVER_ROUTINES_H
#define SIM_DRIVER_ROUTINES_H

#include <string>
#include <vector>

#include "frame/routine.h"

// The shape of a routine decides how `call` reads its arguments.
enum class RoutineKind { handler, converter, plain, one_number, two_numbers, max_fps, text_query, sync };

struct Routine {
    const char *name;
    RoutineKind kind;
    union {
        handler_routine *handler;
        converter_routine *converter;
        plain_routine *plain;
        one_number_routine *one_number;
        two_numbers_routine *two_numbers;
        max_fps_routine *max_fps;
        text_query_routine *text_query;
        sync_routine *sync;
    };
    const void *address() const;
};

const Routine *find_routine(const std::string &name);
std::string name_of_routine(const void *address);
std::vector<std::string> routine_names();

#endif
