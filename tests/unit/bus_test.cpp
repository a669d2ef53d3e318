// The bus's delivery rules, with its delivery thread running: on the
// in-process store and, where this build has it, on a Redis server.
#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "platform/nbus.h"
#include "sim/platform/sim.h"
#include "tests/unit/redis_server.h"

namespace {

std::mutex seen_mutex;
std::vector<std::string> seen;

void remember(const char *who, const char *name, const char *value)
{
    std::lock_guard<std::mutex> lock(seen_mutex);
    seen.push_back(std::string(who) + ":" + name + "=" + value);
}

void first_listener(const char *name, const char *value) { remember("first", name, value); }
void second_listener(const char *name, const char *value) { remember("second", name, value); }

// Writes two nodes from inside a handler, then notes that it returned.
void cascading_listener(const char *name, const char *value)
{
    remember("cascade", name, value);
    nbus_set("test.b", "from-handler");
    nbus_set("test.c", "from-handler");
    remember("cascade-returns", name, value);
}

class BusThreadTest : public ::testing::TestWithParam<const char *> {
protected:
    void SetUp() override
    {
        std::string address = GetParam();
#ifdef CORVANE_REDIS_BUS
        if (address == "redis")
            address = RedisServer::instance().address();
#endif
        std::string error;
        ASSERT_TRUE(sim::use_bus(address, &error)) << error;
        sim::reset();
        sim::set_recording(true);
        seen.clear();
        sim::start();
    }
    void TearDown() override
    {
        sim::stop();
        sim::reset();
        std::string error;
        sim::use_bus("sim", &error);
    }
};

} // namespace

#ifdef CORVANE_REDIS_BUS
INSTANTIATE_TEST_SUITE_P(Store, BusThreadTest, ::testing::Values("sim", "redis"),
                         [](const ::testing::TestParamInfo<const char *> &info) { return info.param; });
#else
INSTANTIATE_TEST_SUITE_P(Store, BusThreadTest, ::testing::Values("sim"),
                         [](const ::testing::TestParamInfo<const char *> &info) { return info.param; });
#endif

TEST_P(BusThreadTest, EveryRegistrationIsNotifiedOfEveryWriteEvenUnchanged)
{
    nbus_listen("test.a", first_listener);
    nbus_listen("test.a", second_listener);
    nbus_listen("test.a", first_listener);
    sim::client_write("test.a", "1");
    sim::client_write("test.a", "1");
    std::vector<std::string> expected = {"first:test.a=1", "second:test.a=1", "first:test.a=1",
                                         "first:test.a=1", "second:test.a=1", "first:test.a=1"};
    EXPECT_EQ(seen, expected);
}

TEST_P(BusThreadTest, WritesInsideAHandlerAreDeliveredAfterItReturnsInOrder)
{
    nbus_listen("test.a", cascading_listener);
    nbus_listen("test.b", first_listener);
    nbus_listen("test.c", second_listener);
    sim::client_write("test.a", "go");  // returns once the cascade is done
    std::vector<std::string> expected = {"cascade:test.a=go", "cascade-returns:test.a=go",
                                         "first:test.b=from-handler", "second:test.c=from-handler"};
    EXPECT_EQ(seen, expected);
    EXPECT_EQ(sim::node("test.b").value_or(""), "from-handler");
}

TEST_P(BusThreadTest, TheDaemonsOwnWritesAreNotifiedToo)
{
    nbus_listen("test.a", first_listener);
    nbus_set("test.a", "own");
    EXPECT_EQ(seen, std::vector<std::string>{"first:test.a=own"});
}

TEST_P(BusThreadTest, ReadsTruncateToTheCallersSizeAndReportMissingNodes)
{
    sim::device_write("test.long", "0123456789");
    char buffer[5] = {'x', 'x', 'x', 'x', 'x'};
    EXPECT_EQ(nbus_get("test.long", buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "0123");
    EXPECT_NE(nbus_get("test.missing", buffer, sizeof buffer), 0);
    sim::set_read_fault("test.long", -7);
    EXPECT_EQ(nbus_get("test.long", buffer, sizeof buffer), -7);
}

TEST_P(BusThreadTest, AnEmptyNameIsAValidNode)
{
    nbus_listen("", first_listener);
    EXPECT_EQ(nbus_set("", "value"), 0);
    EXPECT_EQ(sim::node("").value_or("<absent>"), "value");
    EXPECT_EQ(seen, std::vector<std::string>{"first:=value"});
}

TEST_P(BusThreadTest, DeviceSideChangesAreNotNotified)
{
    nbus_listen("test.a", first_listener);
    sim::device_write("test.a", "quiet");
    sim::wait_idle();
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(sim::node("test.a").value_or(""), "quiet");
}

TEST_P(BusThreadTest, NothingIsDeliveredAfterRelease)
{
    nbus_listen("test.a", first_listener);
    nbus_release();
    sim::client_write("test.a", "late");
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(sim::node("test.a").value_or(""), "late");
}

TEST_P(BusThreadTest, RangesComeFromTheDeviceParameters)
{
    sim::set_param("range.test.rate", "type:int;cont[64~16384]");
    char buffer[128];
    EXPECT_EQ(nbus_get_range("test.rate", buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "type:int;cont[64~16384]");
    EXPECT_NE(nbus_get_range("test.other", buffer, sizeof buffer), 0);
}

TEST_P(BusThreadTest, WithoutRecordingWritesStillDeliverButLeaveNoRecord)
{
    nbus_listen("test.a", cascading_listener);
    char value[32];
    auto act = [&](const char *written) {
        sim::client_write("test.a", written);
        nbus_get("test.b", value, sizeof value);
        sim::trace("mcu poll", true);
        sim::trace("mcu poll", true);
        sim::trace("mcu line");
    };
    sim::take_record();
    sim::set_recording(false);
    act("1");
    sim::Record quiet = sim::take_record();
    sim::set_recording(true);
    act("2");
    sim::Record recorded = sim::take_record();

    EXPECT_TRUE(quiet.writes.empty());
    EXPECT_TRUE(quiet.trace.empty());
    EXPECT_TRUE(quiet.reads.empty());
    EXPECT_EQ(recorded.reads, std::vector<std::string>{"test.b"});
    EXPECT_EQ(recorded.trace.back(), "mcu line");
    EXPECT_EQ(recorded.trace[recorded.trace.size() - 2], "mcu poll x2");
    EXPECT_EQ(sim::node("test.b"), "from-handler");
    EXPECT_EQ(seen.size(), 4u);  // both writes delivered
    std::vector<std::pair<std::string, std::string>> writes = {{"test.b", "from-handler"},
                                                               {"test.c", "from-handler"}};
    EXPECT_EQ(recorded.writes, writes);
    EXPECT_EQ(recorded.trace.front(), "client test.a 2");
}

TEST_P(BusThreadTest, RecordedCallsAreTheDaemonsGetsSetsAndRegistrationsInOrder)
{
    std::vector<sim::BusCall> calls;
    sim::record_bus_calls(&calls);
    nbus_listen("test.a", first_listener);
    char value[16];
    nbus_get("test.missing", value, sizeof value);
    nbus_set("test.a", "x y");
    sim::client_write("test.a", "client");  // not the daemon's
    sim::record_bus_calls(nullptr);
    nbus_set("test.a", "after");

    ASSERT_EQ(calls.size(), 3u);
    EXPECT_EQ(calls[0].kind, sim::BusCall::listen);
    EXPECT_EQ(calls[0].name, "test.a");
    EXPECT_EQ(calls[1].kind, sim::BusCall::get);
    EXPECT_EQ(calls[1].name, "test.missing");
    EXPECT_EQ(calls[1].size, 16);
    EXPECT_EQ(calls[2].kind, sim::BusCall::set);
    EXPECT_EQ(calls[2].value, "x y");
}
