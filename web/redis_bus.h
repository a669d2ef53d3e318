// corvane-web as one more client of the bus on Redis, beside a daemon that
// runs as its own process.
#ifndef WEB_REDIS_BUS_H
#define WEB_REDIS_BUS_H

#include <memory>
#include <string>

#include "web/bus.h"

// Null with a message naming the address and the reason when the server
// cannot be reached.
std::unique_ptr<WebBus> make_redis_bus(const std::string &address, std::string *error);

#endif
