#ifndef SIM_PLATFORM_TEXT_ESCAPE_H
#define SIM_PLATFORM_TEXT_ESCAPE_H

#include <string>

namespace sim {

// A value as written in a device file or script: taken as it stands, or,
// when it is enclosed in double quotes, with C escapes (\n \t \r \\ \" \xNN).
std::string unquote(const std::string &text);
// The other way: `\\`, `\n`, `\t`, `\r` and other control or non-ASCII bytes
// as `\xNN`, so that any value prints as one line.
std::string escape(const std::string &text);

} // namespace sim

#endif
