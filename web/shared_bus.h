// corvane-web as one more client of a bus shared with other processes,
// beside a daemon that runs as its own process.
#ifndef WEB_SHARED_BUS_H
#define WEB_SHARED_BUS_H

#include <memory>
#include <string>

#include "web/bus.h"

// Null with a message naming the address and the reason when the bus
// cannot be reached (or this build has none of its kind).
std::unique_ptr<WebBus> make_shared_bus(const std::string &address, std::string *error);

#endif
