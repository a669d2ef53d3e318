#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "frame/text.h"

TEST(DigitAfter, ReadsTheOneCharacterAfterTheMarker)
{
    struct Case {
        const char *text;
        const char *marker;
        int digit;
    } cases[] = {
        {"corvane.cam3.brightness", ".cam", 3},
        {"corvane.brightness", ".cam", 0},
        {"corvane.cam0.x", ".cam", 0},
        {"corvane.cam12.x", ".cam", 1},          // one digit only
        {"corvane.cam", ".cam", -'0'},           // the terminator, minus '0'
        {"corvane.cam1.roi2_lv3", "roi", 2},
        {"corvane.user7pwd", "user", 7},
        {"corvane.camA", ".cam", 'A' - '0'},
        {"corvane.cam\xc3", ".cam", 0xc3 - '0'}, // bytes count as unsigned, as on the device
    };
    for (const Case &c : cases)
        EXPECT_EQ(digit_after(c.text, c.marker), c.digit) << c.text;
}

TEST(SensorOf, TakesOneToNineAndGivesTheGlobalNodeElse)
{
    struct Case {
        const char *name;
        int one_to_nine;
        int five_global;
    } cases[] = {
        {"corvane.cam1.brightness", 1, 1}, {"corvane.cam9.x", 9, 9},  {"corvane.cam5.dn_hrmin", 5, 0},
        {"corvane.cam4.x", 4, 4},          {"corvane.cam0.x", 0, 0},  {"corvane.brightness", 0, 0},
        {"corvane.camA.x", 0, 0},          {"corvane.cam", 0, 0},     {"corvane.cam-1", 0, 0},
        {"corvane.cam12.x", 1, 1},         {"corvane.cam\xc3", 0, 0},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(sensor_of(c.name), c.one_to_nine) << c.name;
        EXPECT_EQ(sensor_of(c.name, SensorRule::one_to_nine), c.one_to_nine) << c.name;
        EXPECT_EQ(sensor_of(c.name, SensorRule::five_global), c.five_global) << c.name;
    }
}

TEST(ParseDecimal, BehavesAs32BitStrtol)
{
    struct Case {
        const char *text;
        int32_t value;
    } cases[] = {
        {"42", 42},         {"-17", -17},      {"  8x", 8},           {"abc", 0},
        {"", 0},            {"2147483647", INT32_MAX}, {"2147483648", INT32_MAX},
        {"99999999999999999999", INT32_MAX}, {"-99999999999", INT32_MIN}, {"0x10", 0},
    };
    for (const Case &c : cases)
        EXPECT_EQ(parse_decimal(c.text), c.value) << c.text;
}

TEST(FormatInto, NeverWritesPastTheBuffer)
{
    char small[8];
    memset(small, 'x', sizeof small);
    format_into(small, "%s", "a very long value");
    EXPECT_STREQ(small, "a very ");
}

TEST(ExpandPattern, PutsTheNumberInPlaceOfThePlaceholderOnly)
{
    char name[128];
    expand_pattern(name, "corvane.cam%d.brightness", 3);
    EXPECT_STREQ(name, "corvane.cam3.brightness");
    expand_pattern(name, "event.active.smtp.mail_to_%d.enable", 10);
    EXPECT_STREQ(name, "event.active.smtp.mail_to_10.enable");
    expand_pattern(name, "corvane.ip", 3);
    EXPECT_STREQ(name, "corvane.ip");
    // a second conversion in a pattern is copied, never interpreted
    expand_pattern(name, "a%db%sc%n", 1);
    EXPECT_STREQ(name, "a1b%sc%n");
    char tiny[6];
    expand_pattern(tiny, "cam%d.focus", 4);
    EXPECT_STREQ(tiny, "cam4.");
}

TEST(WrapInt32, WrapsAsTwosComplement)
{
    EXPECT_EQ(wrap_int32(int64_t{INT32_MAX} + 1), INT32_MIN);
    EXPECT_EQ(wrap_int32(int64_t{INT32_MIN} - 50), INT32_MAX - 49);
    EXPECT_EQ(wrap_int32(-5), -5);
}

TEST(PutDecimal, WritesWhatPercentDWould)
{
    for (int number : {0, 7, 10, 65530, -1, -45, INT_MAX, INT_MIN}) {
        char out[12];
        size_t length = put_decimal(out, number);
        EXPECT_EQ(std::string(out, length), std::to_string(number));
    }
}

TEST(ExpandPattern, CutsAtTheBufferAndTakesAnyNumber)
{
    struct Case {
        const char *pattern;
        int number;
        size_t size;
        const char *expanded;
    } cases[] = {
        {"user%dpwd", -3, 32, "user-3pwd"},
        {"user%dpwd", 2147483647, 32, "user2147483647pwd"},
        {"user%dpwd", 12, 7, "user12"},
        {"user%dpwd", 12, 6, "user1"},
        {"user%dpwd", 12, 1, ""},
        {"%d", 0, 8, "0"},
        {"", 5, 8, ""},
        {"plain.name", 5, 6, "plain"},
    };
    for (const Case &c : cases) {
        char buffer[40];
        memset(buffer, 'z', sizeof buffer);
        expand_pattern(buffer, c.size, c.pattern, c.number);
        EXPECT_STREQ(buffer, c.expanded) << c.pattern << " " << c.number << " " << c.size;
        EXPECT_EQ(buffer[c.size], 'z') << "wrote past the buffer";
    }
}
