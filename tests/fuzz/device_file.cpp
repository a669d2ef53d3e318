// The device-file parser on arbitrary text. Includes are refused (the
// input stands at the deepest level), so no file outside the input is read.
#include <sstream>

#include "sim/platform/device_file.h"
#include "tests/fuzz/fuzz_daemon.h"

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::istringstream in(std::string(reinterpret_cast<const char *>(data), size));
    std::string error;
    std::vector<std::pair<std::string, std::string>> nodes;
    std::map<std::string, std::string> parameters;
    sim::parse_device_text(in, "fuzz.dev", sim::kMaxIncludeDepth, &error, &nodes, &parameters);
    return 0;
}
