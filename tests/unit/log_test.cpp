// The log convention on the output: each line reaches it in one write, the
// text unchanged; and the plain daemon's clock is real time.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "frame/log.h"
#include "sim/platform/sim.h"

namespace {

std::vector<std::string> output_writes;

ssize_t keep_write(void *, const char *data, size_t size)
{
    output_writes.emplace_back(data, size);
    return static_cast<ssize_t>(size);
}

// Runs `print` with standard output on a stream that keeps each write apart,
// unbuffered before log_open as corvane-sim's capture leaves it.
template <typename Print>
std::vector<std::string> writes_of(Print print)
{
    output_writes.clear();
    cookie_io_functions_t functions = {nullptr, keep_write, nullptr, nullptr};
    FILE *sink = fopencookie(nullptr, "w", functions);
    setvbuf(sink, nullptr, _IONBF, 0);
    fflush(stdout);
    FILE *saved = stdout;
    stdout = sink;
    log_open();
    print();
    fflush(stdout);
    stdout = saved;
    fclose(sink);
    return output_writes;
}

} // namespace

TEST(LogOutput, EachLineIsOneWriteWithPrefixAndMessage)
{
    int first = 0;
    int second = 0;
    std::vector<std::string> writes = writes_of([&] {
        first = __LINE__ + 1;
        LOG("Enter %s = %s!!\n", "corvane.cam2.brightness", "10");
        second = __LINE__ + 1;
        LOG("==>\tMCU Version: 0x%4x\n\n", 0xF004u);
    });
    ASSERT_EQ(writes.size(), 2u);
    EXPECT_EQ(writes[0], "[operator()]-" + std::to_string(first) + ": Enter corvane.cam2.brightness = 10!!\n");
    EXPECT_EQ(writes[1], "[operator()]-" + std::to_string(second) + ": ==>\tMCU Version: 0xf004\n\n");
}

TEST(LogOutput, TextLongerThanTheBufferArrivesWhole)
{
    std::string value(3000, 'x');
    std::vector<std::string> writes = writes_of([&] { LOG("Set %s = %s done!!\n", "corvane.long", value.c_str()); });
    std::string joined;
    for (const std::string &piece : writes)
        joined += piece;
    EXPECT_NE(joined.find(": Set corvane.long = " + value + " done!!\n"), std::string::npos);
    EXPECT_EQ(joined.back(), '\n');
}

TEST(SimClock, PlainDaemonRunsInRealTime)
{
    EXPECT_EQ(sim::time_divisor(), 1);
}
