// Shared between the simulated platform libraries.
#ifndef SIM_PLATFORM_INTERNAL_H
#define SIM_PLATFORM_INTERNAL_H

#include <string>

namespace sim {

// Loads the default device once when no device was configured (plain
// corvaned). On a shared bus (CORVANE_BUS) only the platform parameters
// are taken from it: the nodes are the server's.
void ensure_configured();
bool shared_bus();
// Empties the bus: its nodes, listeners and read faults.
void reset_bus();
// The daemon wrote `name`: recorded, traced, and any signal tied to it raised.
void note_daemon_write(const std::string &name, const std::string &value);
// The daemon read `name` (recorded).
void note_daemon_read(const std::string &name);
bool on_main_thread();
// Writes and registrations make trace lines: a record is kept or a trace
// file is open (see set_recording).
bool recording();
void note_main_loop_sleep();
// The focus value of sensor `motor` with its noise; false for no such sensor.
bool read_focus_value(int motor, unsigned int *value);
// Escaped trace form of a node name (spaces escaped too).
std::string escape_name(const std::string &name);

} // namespace sim

#endif
