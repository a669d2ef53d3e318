// platform/nbus.h on Redis linked alone, as the daemon would link a vendor
// libnbus: registrations, delivery of every write, own writes included,
// cascades finished before an outside write returns, reads, ranges.
#include <gtest/gtest.h>

#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "platform/nbus.h"
#include "redisbus/client.h"
#include "tests/unit/redis_server.h"

namespace {

std::mutex seen_mutex;
std::vector<std::string> seen;

void remember(const char *name, const char *value)
{
    std::lock_guard<std::mutex> lock(seen_mutex);
    seen.push_back(std::string(name) + "=" + value);
}

// Writes two nodes from inside the handler, as the coupling handlers do.
void cascade(const char *name, const char *value)
{
    remember(name, value);
    nbus_set("test.b", "from-handler");
    nbus_set("test.c", "from-handler");
}

} // namespace

TEST(NbusOnRedis, TheLibraryAloneKeepsTheBusContract)
{
    std::string address = RedisServer::instance().address();
    ASSERT_FALSE(address.empty());
    setenv("CORVANE_BUS", address.c_str(), 1);
    std::string error;
    auto client = corvane::bus::Client::connect(address, &error);
    ASSERT_TRUE(client) << error;
    client->clear();
    client->store({{"system.info.slave_cameras", "4"}});
    client->store_ranges({{"encode.cam1.stream1.bit_rate", "type:int;cont[64~16384]"}});

    ASSERT_EQ(nbus_initial(), 0);
    nbus_listen("test.a", cascade);
    nbus_listen("test.b", remember);
    nbus_listen("test.c", remember);
    nbus_listen("test.c", remember);

    nbus_set("test.a", "go");  // returns once the cascade has been delivered
    EXPECT_EQ(seen, (std::vector<std::string>{"test.a=go", "test.b=from-handler", "test.c=from-handler",
                                              "test.c=from-handler"}));
    seen.clear();
    ASSERT_EQ(client->set("test.b", "from-client"), corvane::bus::Status::ok);
    nbus_set("test.c", "own");  // after the client's write in bus order: both delivered on return
    EXPECT_EQ(seen.front(), "test.b=from-client");
    EXPECT_EQ(seen.back(), "test.c=own");

    char buffer[8];
    EXPECT_EQ(nbus_get("system.info.slave_cameras", buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "4");
    EXPECT_EQ(nbus_get("test.b", buffer, 5), 0);
    EXPECT_STREQ(buffer, "from");
    EXPECT_EQ(nbus_get("test.none", buffer, sizeof buffer), -1);
    char range[128];
    EXPECT_EQ(nbus_get_range("encode.cam1.stream1.bit_rate", range, sizeof range), 0);
    EXPECT_STREQ(range, "type:int;cont[64~16384]");

    nbus_release();
    seen.clear();
    client->set("test.b", "late");
    EXPECT_TRUE(seen.empty());
    std::string value;
    EXPECT_EQ(client->get("test.b", &value), corvane::bus::Status::ok);
    EXPECT_EQ(value, "late");
}
