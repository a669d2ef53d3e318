// The device-file parser: includes, their depth, and bad lines.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "sim/platform/device_file.h"

namespace {

struct Parsed {
    bool ok;
    std::string error;
    std::vector<std::pair<std::string, std::string>> nodes;
    std::map<std::string, std::string> parameters;
};

Parsed parse_file(const std::string &path)
{
    Parsed parsed;
    parsed.ok = sim::parse_device_file(path, 0, &parsed.error, &parsed.nodes, &parsed.parameters);
    return parsed;
}

class DeviceFileTest : public ::testing::Test {
protected:
    // A folder of this test's own: ctest runs the cases as processes side by side.
    std::filesystem::path directory;
    void SetUp() override
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "corvane-device-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        directory = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(directory); }
    std::string write(const std::string &name, const std::string &text)
    {
        std::ofstream(directory / name) << text;
        return (directory / name).string();
    }
};

} // namespace

TEST_F(DeviceFileTest, IncludesAreReadRelativeToTheIncludingFile)
{
    write("base.dev", "a=1\n@encoders=1\n");
    Parsed parsed = parse_file(write("top.dev", "@include=base.dev\nb=\"x\\ty\"\n"));
    ASSERT_TRUE(parsed.ok) << parsed.error;
    std::vector<std::pair<std::string, std::string>> expected = {{"a", "1"}, {"b", "x\ty"}};
    EXPECT_EQ(parsed.nodes, expected);
    EXPECT_EQ(parsed.parameters["encoders"], "1");
}

TEST_F(DeviceFileTest, AFileThatIncludesItselfEndsWithAnError)
{
    Parsed parsed = parse_file(write("loop.dev", "a=1\n@include=loop.dev\n"));
    EXPECT_FALSE(parsed.ok);
    EXPECT_NE(parsed.error.find("includes nested too deep"), std::string::npos) << parsed.error;
    EXPECT_EQ(parsed.nodes.size(), static_cast<size_t>(sim::kMaxIncludeDepth) + 1);
}

TEST_F(DeviceFileTest, ALineWithoutEqualsSignNamesItsLine)
{
    std::istringstream in("# comment\n\nname\n");
    Parsed parsed;
    EXPECT_FALSE(sim::parse_device_text(in, "x.dev", 0, &parsed.error, &parsed.nodes, &parsed.parameters));
    EXPECT_EQ(parsed.error, "x.dev:3: expected name=value");
}
