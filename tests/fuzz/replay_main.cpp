// Without libFuzzer: runs a fuzz target once on every file named, or found
// below a directory named, on the command line (the seeds and the inputs
// that once crashed). make test replays them on every build.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/fuzz/fuzz_daemon.h"

namespace {

int replay(const std::filesystem::path &path)
{
    std::ifstream in(path, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    LLVMFuzzerInitialize(&argc, &argv);
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path path = argv[i];
        if (!std::filesystem::is_directory(path)) {
            inputs += replay(path);
            continue;
        }
        for (const auto &entry : std::filesystem::recursive_directory_iterator(path))
            if (entry.is_regular_file())
                inputs += replay(entry.path());
    }
    fprintf(stderr, "%d inputs replayed\n", inputs);
    return 0;
}
