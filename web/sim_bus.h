// The daemon and the simulated camera in corvane-web's own process.
#ifndef WEB_SIM_BUS_H
#define WEB_SIM_BUS_H

#include <string>
#include <vector>

#include "web/bus.h"

// Loads the device files (none: the default device); false with a message
// when one cannot be read.
bool load_devices(const std::vector<std::string> &devices, std::string *error);
// The in-process bus; run_daemon() then runs corvaned on the calling thread
// until a signal stops it, and returns its status.
std::unique_ptr<WebBus> make_sim_bus();
int run_daemon();

#endif
