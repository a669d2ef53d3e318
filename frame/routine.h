// The shapes of the daemon's routines. Each handler family and lens file
// names its routines once, in a list macro of its own header:
//
//     #define COLOUR_ROUTINES(X) X(handler, cb_corvane_brightness) ...
//     COLOUR_ROUTINES(DECLARE_ROUTINE)
//
// which declares them; bindings/routine_list.h joins the lists, for
// corvane-sim and the tests to find a routine by its name. The routines
// themselves are plain definitions in the family's source file.
#ifndef FRAME_ROUTINE_H
#define FRAME_ROUTINE_H

// Called by the bus: legacy node name and new value, both text.
using handler_routine = void(const char *name, const char *value);
// Called by the start-up synchronisation: legacy and native name, already
// expanded for the camera.
using converter_routine = void(const char *legacy_name, const char *native_name);
using plain_routine = void();
using one_number_routine = void(int number);
using two_numbers_routine = void(int first, int second);
using max_fps_routine = int(int *max_fps, int channel, int stream_id);
using text_query_routine = int(const char *text);
using sync_routine = void(char *name_buffer, char *value_buffer, int size);

#define DECLARE_ROUTINE(shape, routine) shape##_routine routine;

#endif
