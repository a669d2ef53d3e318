// Device files: "name=value" nodes, "@param=value" platform parameters,
// "@include=file" (relative to the including file), "#" comments.
#ifndef SIM_PLATFORM_DEVICE_FILE_H
#define SIM_PLATFORM_DEVICE_FILE_H

#include <istream>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace sim {

// Includes nest at most this deep (a file that includes itself ends here).
constexpr int kMaxIncludeDepth = 16;

// `depth` counts the includes that led here (0 for a top-level file).
bool parse_device_text(std::istream &in, const std::string &path, int depth, std::string *error,
                       std::vector<std::pair<std::string, std::string>> *nodes,
                       std::map<std::string, std::string> *parameters);
bool parse_device_file(const std::string &path, int depth, std::string *error,
                       std::vector<std::pair<std::string, std::string>> *nodes,
                       std::map<std::string, std::string> *parameters);

} // namespace sim

#endif
