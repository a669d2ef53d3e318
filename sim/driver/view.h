// The simulated head made visible to any client of the bus: its state is
// published under "sim.head." while a viewer is wanted, the motors move at
// a pace a viewer can follow, and a client's write of "sim.call" runs a
// daemon routine as the script command "call" does (PTZ command words,
// layouts, home routines: routines that no binding row reaches).
#ifndef SIM_DRIVER_VIEW_H
#define SIM_DRIVER_VIEW_H

#include <map>
#include <string>

#include "sim/platform/head.h"

// The "sim.head." nodes for a state of the head, name to value.
std::map<std::string, std::string> head_nodes(const sim::HeadState &state);

// The head as a viewer on the bus sees it, from those nodes (a moving motor
// shows one step left to go); false when the head is not published.
bool head_from_nodes(const std::map<std::string, std::string> &nodes, sim::HeadState *state);

// Starts publishing (every `interval_ms`) and serving "sim.call"; the busy
// polls of the head take `pace_us` real microseconds while a motor moves.
// `bus_address` is the bus (`sim`: the in-process one; else a Redis
// address whose other clients see the head and may write "sim.call").
void start_head_view(long pace_us, long interval_ms, const std::string &bus_address);

#endif
