// Hostile values through a handler: whatever a client writes, each log
// call of the handler is one line of bounded length.
#include <algorithm>
#include <string>
#include <vector>

#include "handlers/generic/accounts.h"
#include "handlers/image/exposure.h"
#include "platform/nbus.h"
#include "test_support.h"

namespace {

std::vector<std::string> lines_of(const std::string &log)
{
    std::vector<std::string> lines;
    for (size_t start = 0, end; start < log.size(); start = end + 1) {
        end = log.find('\n', start);
        if (end == std::string::npos)
            end = log.size();
        lines.push_back(log.substr(start, end - start));
    }
    return lines;
}

// Every line begins with a routine's prefix and none is longer than the
// line's own text and two values at the bound.
void expect_bounded_lines(const std::vector<std::string> &lines, size_t count)
{
    EXPECT_EQ(lines.size(), count);
    for (const std::string &line : lines) {
        EXPECT_EQ(line.rfind("[cb_corvane_", 0), 0u) << line.substr(0, 80);
        EXPECT_LT(line.size(), 2 * (1024 + 8) + 200u) << line.substr(0, 80);
    }
}

} // namespace

TEST_F(SimBusTest, ValueWithNewlinesGivesOneLinePerLogCall)
{
    sim::take_record();
    cb_corvane_admin("corvane.admin", "5\n[cb_corvane_admin]-1: FORGED LINE\r\n");
    std::vector<std::string> lines = lines_of(sim::take_record().log);
    expect_bounded_lines(lines, 1);
    EXPECT_NE(lines[0].find("= 5\\n[cb_corvane_admin]-1: FORGED LINE\\r\\n!!"), std::string::npos) << lines[0];
    // the bus still carries the value as the client wrote it
    EXPECT_EQ(value_of("account.admin.password"), "5\n[cb_corvane_admin]-1: FORGED LINE\r\n");
}

TEST_F(SimBusTest, ValueWithNulsThroughTheBusIsCutAtTheFirst)
{
    nbus_listen("corvane.cam1.daygain", cb_corvane_daygain);
    sim::take_record();
    sim::client_write("corvane.cam1.daygain", std::string("7\0\n[cb_corvane_daygain]-1: FORGED\0x", 33));
    std::vector<std::string> lines = lines_of(sim::take_record().log);
    expect_bounded_lines(lines, 2);
    for (const std::string &line : lines)
        EXPECT_EQ(line.find("FORGED"), std::string::npos) << line;
    EXPECT_EQ(value_of("image.cam1.exposure.i2c_night2day"), "7");
}

TEST_F(SimBusTest, ValueOf64MebibytesGivesBoundedLines)
{
    std::string huge(64u << 20, '9');
    sim::take_record();
    cb_corvane_daygain("corvane.cam1.daygain", huge.c_str());
    std::vector<std::string> lines = lines_of(sim::take_record().log);
    expect_bounded_lines(lines, 2);
    EXPECT_NE(lines[0].find(std::string(1024, '9') + "...[cut]!!"), std::string::npos);
}

TEST_F(SimBusTest, RandomBytesGiveOneLineOfPrintableText)
{
    std::string random(1u << 20, ' ');
    unsigned state = 12345;
    for (char &c : random) {
        state = state * 1103515245u + 12345u;
        c = static_cast<char>((state >> 16) % 255 + 1);  // no NUL: the value would end there
    }
    sim::take_record();
    cb_corvane_admin("corvane.admin", random.c_str());
    std::string log = sim::take_record().log;
    expect_bounded_lines(lines_of(log), 1);
    for (size_t at = 0; at + 1 < log.size(); ++at) {
        auto byte = static_cast<unsigned char>(log[at]);
        ASSERT_TRUE(byte == '\t' || (byte >= 0x20 && byte != 0x7f)) << "byte " << int(byte) << " at " << at;
    }
}
