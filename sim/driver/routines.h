#ifndef SIM_DRIVER_ROUTINES_H
#define SIM_DRIVER_ROUTINES_H

#include <string>
#include <vector>

#include "bindings/routines.h"

enum class RoutineKind { handler, converter, plain, two_numbers, one_number, max_fps, range, sync };

struct Routine {
    const char *name;
    RoutineKind kind;
    union {
        Handler handler;
        Converter converter;
        void (*plain)();
        void (*two_numbers)(int, int);
        void (*one_number)(int);
        int (*max_fps)(int *, int, int);
        int (*range)(const char *);
        void (*sync)(char *, char *, int);
    };
    const void *address() const;
};

const Routine *find_routine(const std::string &name);
std::string name_of_routine(const void *address);
std::vector<std::string> routine_names();

#endif
