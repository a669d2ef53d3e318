// The log convention on the output: each line reaches it in one write, the
// text unchanged; and the plain daemon's clock is real time.
#include <gtest/gtest.h>

#include <cstdarg>
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

// The lines of every handler call are put together without printf; they
// must read exactly as printf prints them, one write a line.
class LogStringLine : public ::testing::TestWithParam<std::string> {};

template <typename Print>
void expect_one_write_as_printf(const std::string &expected_message, Print print)
{
    int line = 0;
    std::vector<std::string> writes = writes_of([&] { line = print(); });
    ASSERT_EQ(writes.size(), 1u);
    EXPECT_EQ(writes[0], "[operator()]-" + std::to_string(line) + ": " + expected_message);
}

std::string printed(const char *format, ...) __attribute__((format(printf, 1, 2)));
std::string printed(const char *format, ...)
{
    char text[2048];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return text;
}

TEST_P(LogStringLine, ReadsAsPrintfInOneWrite)
{
    const char *value = GetParam().c_str();
    expect_one_write_as_printf(printed("Enter %s = %s!!\n", "corvane.sensor", value), [&] {
        LOG("Enter %s = %s!!\n", "corvane.sensor", value);
        return __LINE__ - 1;
    });
    expect_one_write_as_printf(printed("Set %s = %s done!!\n", value, value), [&] {
        LOG("Set %s = %s done!!\n", value, value);
        return __LINE__ - 1;
    });
    expect_one_write_as_printf(printed("Set %s(%s) by %s = %s done!!\n", "corvane.sensor", value, "system.info.sensor", value), [&] {
        LOG("Set %s(%s) by %s = %s done!!\n", "corvane.sensor", value, "system.info.sensor", value);
        return __LINE__ - 1;
    });
    expect_one_write_as_printf(printed("%s%% of %s%%%s\n", value, value, value), [&] {
        LOG("%s%% of %s%%%s\n", value, value, value);
        return __LINE__ - 1;
    });
}

INSTANTIATE_TEST_SUITE_P(Values, LogStringLine,
                         ::testing::Values("", "on-0", "100%", "%s%d%n", "%%", "caf\xc3\xa9 \xe6\x97\xa5\xe6\x9c\xac",
                                           "tab\there", std::string(240, 'v')));

TEST(LogOutput, NullStringReadsAsPrintf)
{
    const char *volatile missing = nullptr;
    expect_one_write_as_printf(printed("Enter %s = %s!!\n", "corvane.sensor", missing), [&] {
        LOG("Enter %s = %s!!\n", "corvane.sensor", missing);
        return __LINE__ - 1;
    });
}

TEST(LogOutput, OtherConversionsStillGoThroughPrintf)
{
    expect_one_write_as_printf(printed("%3s|%-4s|%.2s|%d|%x\n", "a", "b", "cdef", -12, 255u), [&] {
        LOG("%3s|%-4s|%.2s|%d|%x\n", "a", "b", "cdef", -12, 255u);
        return __LINE__ - 1;
    });
}

TEST(SimClock, PlainDaemonRunsInRealTime)
{
    EXPECT_EQ(sim::time_divisor(), 1);
}
