// Reading device files (the format is in docs/sim.md).
#ifndef SIM_PLATFORM_DEVICE_FILE_H
#define SIM_PLATFORM_DEVICE_FILE_H

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace sim {

// "name=value" nodes in file order, "@param=value" platform parameters,
// "@include=file" followed, "#" comments skipped. False with a message
// naming the file (and line) when it cannot be read or a line is malformed.
bool parse_device_file(const std::string &path, std::string *error,
                       std::vector<std::pair<std::string, std::string>> *nodes,
                       std::map<std::string, std::string> *parameters);

} // namespace sim

#endif
