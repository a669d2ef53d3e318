// What viewers see: the pairs and values corvane-web shows, the writes it
// refuses, who may ask, and the head as the bus carries it.
#include <gtest/gtest.h>

#include <set>

#include "sim/console/line_editor.h"
#include "sim/driver/head.h"
#include "sim/driver/view.h"
#include "sim/platform/sim.h"
#include "web/nodes.h"
#include "web/server.h"

namespace {

TEST(NodePairs, EverySensorHasThePerSensorRowsAndTheCameraTheRest)
{
    std::set<std::string> legacy;
    size_t rows = 0;
    for (int sensor = 0; sensor <= 4; ++sensor) {
        for (const NodePair &pair : node_pairs(sensor)) {
            legacy.insert(pair.legacy);
            ++rows;
            if (sensor > 0) {
                EXPECT_NE(pair.legacy.find("cam" + std::to_string(sensor) + "."), std::string::npos) << pair.legacy;
            }
            EXPECT_EQ(pair.legacy.find("%d"), std::string::npos) << pair.legacy;
            EXPECT_EQ(pair.native.find("%d"), std::string::npos) << pair.native;
        }
    }
    EXPECT_EQ(node_pairs(1).size(), 168u);
    EXPECT_EQ(node_pairs(0).size(), 370u);
    EXPECT_EQ(rows, 4 * 168u + 370u);
}

TEST(NodePairs, ARowNamesItsNativeNodeAndHandler)
{
    for (const NodePair &pair : node_pairs(2)) {
        if (pair.legacy != "corvane.cam2.brightness")
            continue;
        EXPECT_EQ(pair.native, "image.cam2.brightness");
        EXPECT_EQ(pair.handler, "cb_corvane_brightness");
        return;
    }
    FAIL() << "no corvane.cam2.brightness row";
}

TEST(Secrets, PasswordsKeysAndTheirLegacyMirrorsAreHidden)
{
    const struct {
        const char *name;
        bool secret;
    } cases[] = {
        {"corvane.viewer", true},          // mirrors account.user.password.1
        {"corvane.admin", true},           // account.admin.password
        {"corvane.snmp_trap", true},       // a community string
        {"corvane.user7pwd", true},        {"account.user.password.3", true},
        {"corvane.ldap_tlskey", true},     {"network.ddns.password", true},
        {"corvane.cam1.brightness", false}, {"corvane.user7id", false},
        {"corvane.ptzstatus", false},      {"image.cam1.brightness", false},
    };
    for (const auto &one : cases)
        EXPECT_EQ(is_secret(one.name), one.secret) << one.name;
    EXPECT_EQ(shown_value("corvane.viewer", "hunter2"), (nlohmann::json{{"text", "(hidden)"}, {"hidden", true}}));
}

TEST(ShownValue, UnicodeAsItIsOtherBytesEscaped)
{
    EXPECT_EQ(shown_value("x", "<b>&amp;</b>"), (nlohmann::json{{"text", "<b>&amp;</b>"}}));
    EXPECT_EQ(shown_value("x", "caf\xc3\xa9"), (nlohmann::json{{"text", "caf\xc3\xa9"}}));
    EXPECT_EQ(shown_value("x", std::string("a\xff\x01z")), (nlohmann::json{{"text", "a\\xff\\x01z"}, {"escaped", true}}));
}

TEST(RefusedWrite, OnlyWhatTheBusCannotCarryAsTyped)
{
    EXPECT_EQ(refused_write("corvane.cam1.brightness", ""), "");
    EXPECT_EQ(refused_write("corvane.cam1.brightness", std::string(kMaxWriteBytes, 'a')), "");
    EXPECT_EQ(refused_write("corvane.x", "<script>\xe2\x82\xac"), "");
    EXPECT_NE(refused_write("", "1"), "");
    EXPECT_NE(refused_write("corvane.x", std::string("a\0b", 3)), "");
    EXPECT_NE(refused_write(std::string("a\0b", 3), "1"), "");
    EXPECT_NE(refused_write("corvane.x", std::string(kMaxWriteBytes + 1, 'a')).find("value too long"), std::string::npos);
}

TEST(Loopback, OnlyLoopbackAddressesGoWithoutAPassword)
{
    for (const char *address : {"127.0.0.1", "127.1.2.3", "::1", "localhost", "::ffff:127.0.0.1"})
        EXPECT_TRUE(is_loopback(address)) << address;
    for (const char *address : {"0.0.0.0", "10.0.0.1", "::", "128.0.0.1", "localhost.evil.com", "::ffff:10.0.0.1",
                                "127.0.0.1.evil.example", "127.evil.example", "::1.evil"})
        EXPECT_FALSE(is_loopback(address)) << address;
}

TEST(HeadNodes, ABusClientDrawsTheHeadAsTheSimulatorDoes)
{
    sim::reset();
    sim::set_param("mcu.pan_start", "20000,100,6000,12000");
    sim::set_param("mcu.tilt_start", "0,500,1000,2000");
    sim::set_param("collide", "1,0,1,1");
    sim::HeadState state = sim::head_state();
    state.motors[sim::kHeadZoom][2].remaining = 30;  // moving
    sim::HeadState seen;
    ASSERT_TRUE(head_from_nodes(head_nodes(state), &seen));
    EXPECT_EQ(head_svg(seen), head_svg(state));
    auto sensor_lines = [](const std::string &text) { return text.substr(text.find("  A cam1")); };
    EXPECT_EQ(sensor_lines(head_text(seen)), sensor_lines(head_text(state)));
    EXPECT_EQ(head_nodes(state).at("sim.head.cam3.moving"), "zoom");
    EXPECT_EQ(head_nodes(state).at("sim.head.collide"), "1 0 1 1");
    EXPECT_FALSE(head_from_nodes({}, &seen));
    sim::reset();
}

TEST(Completion, CandidatesStartWithTheWord)
{
    const std::vector<std::string> words = {"set", "get", "expect", "expect-log", "exit"};
    EXPECT_EQ(complete_from(words, "ex"), (std::vector<std::string>{"expect", "expect-log", "exit"}));
    EXPECT_EQ(complete_from(words, "expect-"), (std::vector<std::string>{"expect-log"}));
    EXPECT_EQ(complete_from(words, ""), words);
    EXPECT_TRUE(complete_from(words, "q").empty());
}

} // namespace

TEST(HostHeader, OnlyLoopbackLiteralsLocalhostAndGivenNamesOnOurPort)
{
    const std::vector<std::string> given = {"camera.example", "192.0.2.7", "fe80::1"};
    const struct {
        const char *host;
        bool ours;
    } cases[] = {
        {"127.0.0.1:18080", true},
        {"127.9.8.7:18080", true},
        {"localhost:18080", true},
        {"LocalHost:18080", true},
        {"[::1]:18080", true},
        {"camera.example:18080", true},
        {"192.0.2.7:18080", true},
        {"[fe80::1]:18080", true},
        // rebinding names that merely begin or end like ours
        {"127.0.0.1.evil.example:18080", false},
        {"localhost.evil.example:18080", false},
        {"evil.example:18080", false},
        {"127.0.0.1evil:18080", false},
        {"camera.example.evil:18080", false},
        // loopback in forms that are not the literal
        {"127.1:18080", false},
        {"0x7f.0.0.1:18080", false},
        {"2130706433:18080", false},
        {"[::ffff:127.0.0.1]:18080", false},
        {"::1:18080", false},
        {"128.0.0.1:18080", false},
        // another port, no port, nothing
        {"127.0.0.1:18081", false},
        {"127.0.0.1", false},
        {"localhost:", false},
        {":18080", false},
        {"", false},
    };
    for (const auto &one : cases)
        EXPECT_EQ(host_is_ours(one.host, 18080, given), one.ours) << one.host;
    EXPECT_TRUE(host_is_ours("localhost", 80, {}));
    EXPECT_FALSE(host_is_ours("camera.example:18080", 18080, {}));
}
