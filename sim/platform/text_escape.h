#ifndef SIM_PLATFORM_TEXT_ESCAPE_H
#define SIM_PLATFORM_TEXT_ESCAPE_H

#include <string>

namespace sim {

// A value as written in a device file or script: taken as it stands, or,
// when it is enclosed in double quotes, with C escapes (\n \t \r \\ \" \xNN).
std::string unquote(const std::string &text);

} // namespace sim

#endif
