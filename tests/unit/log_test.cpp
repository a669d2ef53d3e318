// The log convention on the output: each line reaches it in one write, the
// text of ordinary values unchanged; a hostile value still gives one
// bounded line; secrets masked on request; and the plain daemon's clock is
// real time.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bindings/binding.h"
#include "frame/log.h"
#include "frame/text.h"
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
std::vector<std::string> writes_of(Print print, SecretName secret = nullptr)
{
    output_writes.clear();
    cookie_io_functions_t functions = {nullptr, keep_write, nullptr, nullptr};
    FILE *sink = fopencookie(nullptr, "w", functions);
    setvbuf(sink, nullptr, _IONBF, 0);
    fflush(stdout);
    FILE *saved = stdout;
    stdout = sink;
    log_open(secret);
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
    std::string value(1024, 'x');
    std::vector<std::string> writes = writes_of([&] { LOG("Set %s = %s done!!\n", value.c_str(), value.c_str()); });
    std::string joined;
    for (const std::string &piece : writes)
        joined += piece;
    EXPECT_NE(joined.find(": Set " + value + " = " + value + " done!!\n"), std::string::npos);
    EXPECT_EQ(std::count(joined.begin(), joined.end(), '\n'), 1);
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

namespace {

// The message of the one line `print` logs, without its prefix; fails the
// test unless exactly one line came out.
template <typename Print>
std::string one_line(Print print, SecretName secret = nullptr)
{
    std::string joined;
    for (const std::string &piece : writes_of(print, secret))
        joined += piece;
    EXPECT_EQ(std::count(joined.begin(), joined.end(), '\n'), 1) << joined;
    EXPECT_EQ(joined.back(), '\n');
    size_t start = joined.find("]-");
    start = joined.find(": ", start);
    return start == std::string::npos ? joined : joined.substr(start + 2);
}

struct Hostile {
    std::string value;
    std::string shown;
};

const std::string kForged = "5\n[cb_corvane_admin]-1: FORGED LINE";

} // namespace

class LogHostileValue : public ::testing::TestWithParam<Hostile> {};

TEST_P(LogHostileValue, OneLineEscaped)
{
    const Hostile &hostile = GetParam();
    EXPECT_EQ(one_line([&] { LOG("Enter %s = %s!!\n", "corvane.cam1.daygain", hostile.value.c_str()); }),
              "Enter corvane.cam1.daygain = " + hostile.shown + "!!\n");
    // through printf's own conversions as well
    EXPECT_EQ(one_line([&] { LOG("Err: user num: %d (%s = %s) \n", 0, "corvane.user0pwd", hostile.value.c_str()); }),
              "Err: user num: 0 (corvane.user0pwd = " + hostile.shown + ") \n");
    // and in the place of a node name
    EXPECT_EQ(one_line([&] { LOG("Set %s = %s done!!\n", hostile.value.c_str(), "1"); }),
              "Set " + hostile.shown + " = 1 done!!\n");
}

INSTANTIATE_TEST_SUITE_P(
    Values, LogHostileValue,
    ::testing::Values(Hostile{kForged, "5\\n[cb_corvane_admin]-1: FORGED LINE"},
                      Hostile{"a\r\nb\rc", "a\\r\\nb\\rc"},
                      Hostile{"\x1b[2J\x7f\x01", "\\x1b[2J\\x7f\\x01"},
                      // tab and UTF-8 stand as they are
                      Hostile{"tab\there caf\xc3\xa9", "tab\there caf\xc3\xa9"},
                      // the bus hands a C string: a NUL ends the value
                      Hostile{std::string("on\0\n[x]-1: FORGED", 17), "on"},
                      // cut at 1024 bytes of output, escapes included
                      Hostile{std::string(1024, 'v'), std::string(1024, 'v')},
                      Hostile{std::string(1025, 'v'), std::string(1024, 'v') + "...[cut]"},
                      Hostile{std::string(1022, 'v') + "\n", std::string(1022, 'v') + "\\n"},
                      Hostile{std::string(1023, 'v') + "\n", std::string(1023, 'v') + "...[cut]"},
                      Hostile{std::string(600, '\n'), [] {
                                  std::string shown;
                                  for (int i = 0; i < 512; ++i)
                                      shown += "\\n";
                                  return shown + "...[cut]";
                              }()}));

TEST(LogOutput, ValueOf64MebibytesGivesOneBoundedLine)
{
    std::string huge(64u << 20, 'g');
    huge[1000] = '\n';
    std::string message = one_line([&] { LOG("Enter %s = %s!!\n", "corvane.cam1.daygain", huge.c_str()); });
    EXPECT_EQ(message, "Enter corvane.cam1.daygain = " + std::string(1000, 'g') + "\\n" + std::string(22, 'g') +
                           "...[cut]!!\n");
}

TEST(LogOutput, ControlCharacterArgumentIsEscaped)
{
    EXPECT_EQ(one_line([] { LOG("%c-name: %s\n", '\n', "x"); }), "\\n-name: x\n");
    EXPECT_EQ(one_line([] { LOG("%.3s|%5s|\n", "a\nbcdef", "\r"); }), "a\\n|   \\r|\n");
}

namespace {

// CORVANE_LOG_SECRETS for one test, as the packaged services set it.
class SecretsWord {
public:
    explicit SecretsWord(const char *word)
    {
        if (word)
            setenv("CORVANE_LOG_SECRETS", word, 1);
        else
            unsetenv("CORVANE_LOG_SECRETS");
    }
    ~SecretsWord() { unsetenv("CORVANE_LOG_SECRETS"); }
};

struct SecretLine {
    std::string clear;   // as the bare binary prints it
    std::string masked;  // under CORVANE_LOG_SECRETS=mask
    std::string (*print)();
};

#define MESSAGE_OF(...) [] { return one_line([] { LOG(__VA_ARGS__); }, secret_node); }

const SecretLine secret_lines[] = {
    {"Enter corvane.admin = S3cretAdm1n!!\n", "Enter corvane.admin = ********!!\n",
     MESSAGE_OF("Enter %s = %s!!\n", "corvane.admin", "S3cretAdm1n")},
    {"Set account.user.password.1 = S3cretUsr1 done!!\n", "Set account.user.password.1 = ******** done!!\n",
     MESSAGE_OF("Set %s = %s done!!\n", "account.user.password.1", "S3cretUsr1")},
    {"Set account.user.password.12 = x done!!\n", "Set account.user.password.12 = ******** done!!\n",
     MESSAGE_OF("Set %s = %s done!!\n", "account.user.password.12", "x")},
    {"Set corvane.viewer(v) by corvane.user1pwd = v done!!\n",
     "Set corvane.viewer(********) by corvane.user1pwd = ******** done!!\n",
     MESSAGE_OF("Set %s(%s) by %s = %s done!!\n", "corvane.viewer", "v", "corvane.user1pwd", "v")},
    {"Set corvane.smtp_pwd(m41l) by event.active.smtp.password = m41l done!!\n",
     "Set corvane.smtp_pwd(********) by event.active.smtp.password = ******** done!!\n",
     MESSAGE_OF("Set %s(%s) by %s = %s done!!\n", "corvane.smtp_pwd", "m41l", "event.active.smtp.password", "m41l")},
    {"Set network.snmp.v1v2c.readcommunity = publ1c done!!\n",
     "Set network.snmp.v1v2c.readcommunity = ******** done!!\n",
     MESSAGE_OF("Set %s = %s done!!\n", "network.snmp.v1v2c.readcommunity", "publ1c")},
    {"Err: user num: 0 (corvane.user0pwd = p\\nw) \n", "Err: user num: 0 (corvane.user0pwd = ********) \n",
     MESSAGE_OF("Err: user num: %d (%s = %s) \n", 0, "corvane.user0pwd", "p\nw")},
    // lines that name no secret stay as they are
    {"Enter corvane.cam2.brightness = 10!!\n", "Enter corvane.cam2.brightness = 10!!\n",
     MESSAGE_OF("Enter %s = %s!!\n", "corvane.cam2.brightness", "10")},
    {"Set account.user.level.1 = view done!!\n", "Set account.user.level.1 = view done!!\n",
     MESSAGE_OF("Set %s = %s done!!\n", "account.user.level.1", "view")},
    {"Enter corvane.user1pwdx = y!!\n", "Enter corvane.user1pwdx = y!!\n",
     MESSAGE_OF("Enter %s = %s!!\n", "corvane.user1pwdx", "y")},
};

#undef MESSAGE_OF

} // namespace

TEST(LogSecrets, MaskedOnlyWhenTheServiceAsks)
{
    for (const SecretLine &line : secret_lines) {
        {
            SecretsWord word("mask");
            EXPECT_EQ(line.print(), line.masked);
        }
        for (const char *keeps : {static_cast<const char *>(nullptr), "", "clear"}) {
            SecretsWord word(keeps);
            EXPECT_EQ(line.print(), line.clear) << (keeps ? keeps : "unset");
        }
    }
    // the word is read once, at start-up
    SecretsWord word("mask");
    std::vector<std::string> writes = writes_of([] {
        unsetenv("CORVANE_LOG_SECRETS");
        LOG("Enter %s = %s!!\n", "corvane.admin", "later");
    }, secret_node);
    ASSERT_EQ(writes.size(), 1u);
    EXPECT_EQ(writes[0].find("later"), std::string::npos);
    // an unknown word masks rather than leaks
    SecretsWord typo("masked");
    EXPECT_EQ(secret_lines[0].print(), secret_lines[0].masked);
}

TEST(LogSecrets, SecretNodesAreTheMarkedRowsNodes)
{
    for (const char *name : {"corvane.admin", "account.admin.password", "corvane.user12pwd", "account.user.password.7",
                             "corvane.snmp_trap", "network.snmp.v1v2c.trapcommunity", "corvane.ldap_tlskey",
                             "network.ieee8021x.eap-tls.key_pass", "corvane.smtp_pwd"})
        EXPECT_TRUE(secret_node(name)) << name;
    for (const char *name : {"corvane.user12id", "corvane.userpwd", "corvane.userXpwd", "account.user.password.",
                             "corvane.admin2", "corvane.snmpv3_private", "network.snmp.v3.privatemode", "",
                             "corvane.cam1.brightness"})
        EXPECT_FALSE(secret_node(name)) << name;
}

// Every row whose native node holds a password, community string or key is
// marked: the mark is the only list of secrets, so a row left out leaks.
TEST(LogSecrets, EveryPasswordCommunityAndKeyRowIsMarked)
{
    auto looks_secret = [](const char *native) {
        std::string name = native ? native : "";
        for (const char *word : {"password", "pwd", "community", "key_pass"})
            if (name.find(word) != std::string::npos)
                return true;
        return false;
    };
    auto check = [&](const auto &table) {
        for (const NodeBinding &row : table)
            EXPECT_EQ(row.secret, looks_secret(row.native_name)) << row.legacy_name;
    };
    check(binding_table);
    check(smtp_table);
    check(user_table);
}

// The table marks and the names the log masks are the same: every name a
// row expands to, legacy and native.
TEST(LogSecrets, EveryExpandedNameOfAMarkedRowIsSecretAndNoOther)
{
    auto check = [](const auto &table) {
        for (const NodeBinding &row : table) {
            for (int number : {1, 4, 10, 12}) {
                char legacy[128];
                expand_pattern(legacy, row.legacy_name, number);
                EXPECT_EQ(secret_node(legacy), row.secret) << legacy;
                if (!row.native_name)
                    continue;
                char native[128];
                expand_pattern(native, row.native_name, number);
                EXPECT_EQ(secret_node(native), row.secret) << native;
            }
        }
    };
    check(binding_table);
    check(smtp_table);
    check(user_table);
}

// The scan for bytes to escape takes eight at a time: every position of
// values around the word size, every kind of byte.
TEST(LogOutput, EveryControlByteAtEveryPositionIsEscaped)
{
    const struct {
        char byte;
        const char *shown;
    } kinds[] = {{'\x01', "\\x01"}, {'\n', "\\n"}, {'\x1f', "\\x1f"}, {'\x7f', "\\x7f"},
                 {'\t', "\t"},      {'\x80', "\x80"}, {'\xff', "\xff"},  {' ', " "}, {'~', "~"}};
    for (size_t length : {1u, 7u, 8u, 9u, 15u, 16u, 17u, 24u}) {
        for (size_t at = 0; at < length; ++at) {
            for (const auto &kind : kinds) {
                std::string value(length, 'a');
                value[at] = kind.byte;
                std::string shown = std::string(at, 'a') + kind.shown + std::string(length - at - 1, 'a');
                EXPECT_EQ(one_line([&] { LOG("%s\n", value.c_str()); }), shown + "\n")
                    << "length " << length << ", byte " << static_cast<int>(kind.byte) << " at " << at;
            }
        }
    }
}
