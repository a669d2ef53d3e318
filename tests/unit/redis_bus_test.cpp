// The bus on Redis below the nbus interface: the trimming rule, what a
// process sees while the server is gone, binary-safe nodes.
#ifdef CORVANE_REDIS_BUS

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>
#include <string>
#include <vector>

#include "redisbus/client.h"
#include "redisbus/connection.h"
#include "redisbus/process_bus.h"
#include "redisbus/reader.h"
#include "tests/unit/redis_server.h"

namespace {

using corvane::bus::Change;
using corvane::bus::Client;
using corvane::bus::Node;
using corvane::bus::Status;

class RedisBusTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        address_ = RedisServer::instance().address();
        ASSERT_FALSE(address_.empty()) << "redis-server did not start";
        std::string error;
        client_ = Client::connect(address_, &error);
        ASSERT_TRUE(client_) << error;
        ASSERT_EQ(client_->clear(), Status::ok);
        ASSERT_TRUE(corvane::bus::parse_address(address_, &parsed_, &error)) << error;
    }

    corvane::bus::Reply command(const corvane::bus::Arguments &arguments)
    {
        corvane::bus::Connection connection(parsed_);
        std::string error;
        return connection.command(arguments, &error);
    }

    long stream_length()
    {
        corvane::bus::Connection connection(parsed_);
        std::string error;
        corvane::bus::Reply reply = connection.command({"XLEN", corvane::bus::kChangesKey}, &error);
        return reply ? reply->integer : -1;
    }

    // Polls until `count` changes have arrived (or `rounds` polls passed).
    static std::vector<Change> read_changes(corvane::bus::Reader &reader, size_t count, int rounds = 100)
    {
        std::vector<Change> changes;
        for (int round = 0; round < rounds && changes.size() < count; ++round)
            reader.poll(50, [&](const Change &change) {
                changes.push_back(change);
                return true;
            });
        return changes;
    }

    static std::vector<Node> numbered_writes(int count)
    {
        std::vector<Node> writes;
        for (int i = 1; i <= count; ++i)
            writes.push_back({"test.counter", std::to_string(i)});
        return writes;
    }

    std::string address_;
    corvane::bus::Address parsed_;
    std::unique_ptr<Client> client_;
};

TEST_F(RedisBusTest, TheStreamIsTrimmedOnlyBehindTheSlowestReader)
{
    constexpr int kWrites = 2000;
    corvane::bus::Reader stalled(parsed_);
    corvane::bus::Reader busy(parsed_);
    std::string error;
    ASSERT_TRUE(stalled.start(&error)) << error;
    ASSERT_TRUE(busy.start(&error)) << error;
    ASSERT_EQ(client_->set_all(numbered_writes(kWrites)), Status::ok);

    // The busy reader reads everything and trims as it goes: the stalled
    // one still holds every change.
    ASSERT_EQ(read_changes(busy, kWrites).size(), static_cast<size_t>(kWrites));
    EXPECT_GE(stream_length(), kWrites);

    // The stalled one then gets each change once, in order.
    std::vector<Change> late = read_changes(stalled, kWrites);
    ASSERT_EQ(late.size(), static_cast<size_t>(kWrites));
    for (int i = 0; i < kWrites; ++i)
        ASSERT_EQ(late[i].value, std::to_string(i + 1)) << "change " << i;
    EXPECT_LE(stream_length(), 512) << "trimmed behind both readers";

    // A reader that leaves no longer holds anything back.
    stalled.finish();
    ASSERT_EQ(client_->set_all(numbered_writes(600)), Status::ok);
    EXPECT_EQ(read_changes(busy, 600).size(), 600u);
    EXPECT_LE(stream_length(), 600 - 512 + 1);
}

TEST_F(RedisBusTest, AReaderSilentLongerThanItsLeaseNoLongerHoldsTheStreamAndSaysSo)
{
    setenv("CORVANE_BUS_LEASE_MS", "300", 1);
    corvane::bus::Reader silent(parsed_);
    corvane::bus::Reader busy(parsed_);
    std::string error;
    ASSERT_TRUE(silent.start(&error)) << error;
    ASSERT_TRUE(busy.start(&error)) << error;
    ASSERT_EQ(client_->set_all(numbered_writes(10)), Status::ok);
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    ASSERT_EQ(read_changes(busy, 10).size(), 10u);  // publishes, trims past the silent one
    EXPECT_LE(stream_length(), 1);

    ::testing::internal::CaptureStderr();
    std::vector<Change> late = read_changes(silent, 10, 3);
    std::string lines = ::testing::internal::GetCapturedStderr();
    EXPECT_LT(late.size(), 10u);
    EXPECT_NE(lines.find("no longer registered"), std::string::npos) << lines;
    unsetenv("CORVANE_BUS_LEASE_MS");
}

TEST_F(RedisBusTest, ChangesCarryTheirWriterAndArriveOnceInOrder)
{
    corvane::bus::Reader reader(parsed_);
    std::string error;
    ASSERT_TRUE(reader.start(&error)) << error;
    ASSERT_EQ(client_->set("test.a", "1"), Status::ok);
    ASSERT_EQ(client_->set("test.a", "1"), Status::ok);  // unchanged, still a change
    ASSERT_EQ(client_->store({{"test.quiet", "x"}}), Status::ok);
    ASSERT_EQ(client_->set("test.b", "2"), Status::ok);
    std::vector<Change> changes = read_changes(reader, 3);
    ASSERT_EQ(changes.size(), 3u);
    EXPECT_EQ(changes[0].name + changes[1].name + changes[2].name, "test.atest.atest.b");
    EXPECT_EQ(changes[2].writer, corvane::bus::process_writer());
    EXPECT_TRUE(read_changes(reader, 1, 2).empty());
}

TEST_F(RedisBusTest, NamesAndValuesAreBinarySafe)
{
    const std::string name("test.\0\xff\n name", 13);
    const std::string value(std::string("\0\x01\x7f\x80\xff", 5) + std::string(1 << 20, 'v'));
    ASSERT_EQ(client_->set(name, value), Status::ok);
    ASSERT_EQ(client_->set("", ""), Status::ok);
    std::string read;
    ASSERT_EQ(client_->get(name, &read), Status::ok);
    EXPECT_EQ(read, value);
    ASSERT_EQ(client_->get("", &read), Status::ok);
    EXPECT_EQ(read, "");
    EXPECT_EQ(client_->get(std::string("test.\0", 6), &read), Status::absent);
    std::vector<Node> nodes;
    ASSERT_EQ(client_->dump("test.", &nodes), Status::ok);
    ASSERT_EQ(nodes.size(), 1u);
    EXPECT_EQ(nodes[0].name, name);
}

TEST_F(RedisBusTest, WithoutTheServerReadsFailAndWritesAreDroppedWithALine)
{
    setenv("CORVANE_BUS_RETRY_MS", "200", 1);
    corvane::bus::ProcessBus bus;
    std::string error;
    ASSERT_TRUE(bus.open(address_, false, &error)) << error;
    ASSERT_TRUE(bus.set("test.before", "1"));
    RedisServer::instance().kill_server();

    std::string value;
    EXPECT_EQ(bus.get("test.before", &value), Status::unreachable);
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(bus.set("test.lost", "2"));
    std::string lines = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(lines.find("write of node \"test.lost\" dropped after 200 ms"), std::string::npos) << lines;

    // Back again: the same process reads and writes as before.
    address_ = RedisServer::instance().address();
    ::testing::internal::CaptureStderr();
    EXPECT_TRUE(bus.set("test.after", "3"));
    EXPECT_EQ(bus.get("test.after", &value), Status::ok);
    EXPECT_EQ(value, "3");
    lines = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(lines.find("reconnected to " + address_), std::string::npos) << lines;
    unsetenv("CORVANE_BUS_RETRY_MS");
}

TEST_F(RedisBusTest, TheWriteFunctionMakesARetriedWriteOnceAndItsRecordExpires)
{
    auto write = [&](const char *sequence) {
        return command({"FCALL", "corvane_write", "4", "corvane:native", "corvane:native:ids", "corvane:changes",
                        "corvane:writer:test", "test.a", sequence, "test", sequence, "60000"});
    };
    corvane::bus::Reply first = write("1");
    ASSERT_TRUE(first);
    corvane::bus::Reply again = write("1");
    ASSERT_TRUE(again);
    EXPECT_EQ(corvane::bus::reply_text(again.get()), corvane::bus::reply_text(first.get()));
    corvane::bus::Reply second = write("2");
    ASSERT_TRUE(second);
    EXPECT_NE(corvane::bus::reply_text(second.get()), corvane::bus::reply_text(first.get()));
    EXPECT_EQ(stream_length(), 2);
    corvane::bus::Reply ttl = command({"PTTL", "corvane:writer:test"});
    ASSERT_TRUE(ttl);
    EXPECT_GT(ttl->integer, 0);
    EXPECT_LE(ttl->integer, 60000);
    // A node is stored only in its own subtree's hash.
    EXPECT_FALSE(command({"FCALL", "corvane_write", "3", "corvane:legacy", "corvane:legacy:ids", "corvane:changes",
                          "image.cam1.brightness", "1"}));
    EXPECT_TRUE(command({"FCALL", "corvane_write", "3", "corvane:legacy", "corvane:legacy:ids", "corvane:changes",
                         "corvane.cam1.brightness", "1"}));
    std::string value;
    EXPECT_EQ(client_->get("corvane.cam1.brightness", &value), Status::ok);
    EXPECT_EQ(value, "1");
}

TEST_F(RedisBusTest, AWriteWhoseReplyIsLostIsMadeOnceWhenRetried)
{
    corvane::bus::Connection connection(parsed_);
    std::string error, id;
    ASSERT_TRUE(connection.open(&error, 200)) << error;
    ASSERT_EQ(connection.write("test.a", "1", &id, &error), Status::ok) << error;
    RedisServer::instance().pause_server();
    EXPECT_EQ(connection.write("test.a", "2", &id, &error), Status::unreachable);
    RedisServer::instance().resume_server();
    ASSERT_TRUE(connection.open(&error, 5000)) << error;
    ASSERT_EQ(connection.write("test.a", "2", &id, &error), Status::ok) << error;
    ASSERT_EQ(connection.write("test.a", "3", &id, &error), Status::ok) << error;
    corvane::bus::Reply values = command({"XRANGE", "corvane:changes", "-", "+"});
    ASSERT_TRUE(values);
    std::vector<Change> changes;
    corvane::bus::parse_entries(values.get(), &changes);
    std::string order;
    for (const Change &change : changes)
        order += change.value;
    EXPECT_EQ(order, "123");
}

TEST_F(RedisBusTest, AChangeNeverStoredIsNotActedOn)
{
    corvane::bus::Reader reader(parsed_);
    std::string error;
    ASSERT_TRUE(reader.start(&error)) << error;
    ASSERT_EQ(client_->set("corvane.cam1.brightness", "7"), Status::ok);
    ASSERT_EQ(read_changes(reader, 1).size(), 1u);
    ASSERT_TRUE(command({"XADD", "corvane:changes", "*", "name", "corvane.cam1.brightness", "value", "1", "writer",
                         "evil"}));
    ASSERT_EQ(client_->set("corvane.cam2.brightness", "8"), Status::ok);
    ::testing::internal::CaptureStderr();
    std::vector<Change> changes = read_changes(reader, 2, 5);
    std::string lines = ::testing::internal::GetCapturedStderr();
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].value, "8");
    EXPECT_NE(lines.find("of node \"corvane.cam1.brightness\" was never stored: not acted on"), std::string::npos)
        << lines;
}

// The administrator's mistakes: the reader says what happened in one line
// and delivers the writes made once the stream can be written again.
TEST_F(RedisBusTest, AReaderRecoversFromAStreamSetBackOrBlocked)
{
    struct Case {
        const char *what;
        std::vector<corvane::bus::Arguments> mistake;
        const char *line;
    };
    // Arguments are views: the id an hour ahead must outlive the table.
    const std::string hour_ahead = std::to_string((time(nullptr) + 3600) * 1000ull) + "-0";
    const Case cases[] = {
        {"stream deleted", {{"DEL", "corvane:changes"}}, nullptr},
        {"maximum id, then deleted",
         {{"XADD", "corvane:changes", "18446744073709551615-18446744073709551615", "name", "x", "value", "1"},
          {"DEL", "corvane:changes"}},
         "following it from its start"},
        {"an hour ahead, then re-created",
         {{"XADD", "corvane:changes", hour_ahead, "name", "x", "value", "1"},
          {"DEL", "corvane:changes"},
          {"XADD", "corvane:changes", "1-1", "name", "y", "value", "1"}},
         "following it from its start"},
        {"every key flushed", {{"FLUSHALL"}}, nullptr},
        {"functions flushed", {{"FUNCTION", "FLUSH"}}, "lost the function library: loading it again"},
        {"connections killed", {{"CLIENT", "KILL", "TYPE", "normal"}}, nullptr},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_EQ(client_->clear(), Status::ok);
        corvane::bus::Reader reader(parsed_);
        std::string error;
        ASSERT_TRUE(reader.start(&error)) << error;
        ASSERT_EQ(client_->set("test.a", "1"), Status::ok);
        ASSERT_EQ(read_changes(reader, 1).size(), 1u);
        ::testing::internal::CaptureStderr();
        for (const corvane::bus::Arguments &arguments : c.mistake) {
            command(arguments);
            read_changes(reader, 1, 2);  // the reader reads what the mistake left
        }
        Status written = Status::unreachable;
        for (int tries = 0; tries < 50 && written != Status::ok; ++tries)
            written = client_->set("test.a", "2");  // the client's connection may have been killed
        ASSERT_EQ(written, Status::ok) << client_->error();
        std::vector<Change> changes = read_changes(reader, 1, 300);
        std::string lines = ::testing::internal::GetCapturedStderr();
        ASSERT_FALSE(changes.empty()) << lines;
        EXPECT_EQ(changes.back().value, "2");
        if (c.line) {
            EXPECT_NE(lines.find(c.line), std::string::npos) << lines;
        }
    }
}

TEST_F(RedisBusTest, AServicesReaderFindsTheLatestWriteOfEachLegacyNodeMadeWhileItWasAway)
{
    std::string error;
    {
        corvane::bus::Reader service(parsed_, "test-service");
        ASSERT_TRUE(service.start(&error)) << error;
        EXPECT_EQ(service.backlog().writes, 0);
        ASSERT_EQ(client_->set("corvane.a", "0"), Status::ok);
        ASSERT_EQ(read_changes(service, 1).size(), 1u);
        service.finish();
    }
    ASSERT_EQ(client_->set("corvane.a", "1"), Status::ok);
    ASSERT_EQ(client_->set("image.a", "native"), Status::ok);
    ASSERT_EQ(client_->set("corvane.b", "2"), Status::ok);
    ASSERT_EQ(client_->set("corvane.a", "3"), Status::ok);
    ASSERT_TRUE(command({"XADD", "corvane:changes", "*", "name", "corvane.c", "value", "forged"}));
    corvane::bus::Reader service(parsed_, "test-service");
    ASSERT_TRUE(service.start(&error)) << error;
    const corvane::bus::Backlog &backlog = service.backlog();
    EXPECT_EQ(backlog.writes, 4);
    ASSERT_EQ(backlog.latest.size(), 2u);
    EXPECT_EQ(backlog.latest[0].name + "=" + backlog.latest[0].value, "corvane.b=2");
    EXPECT_EQ(backlog.latest[1].name + "=" + backlog.latest[1].value, "corvane.a=3");
    // Until the backlog is handled the old position holds the stream.
    corvane::bus::Reply held = command({"HGET", "corvane:readers", "test-service"});
    ASSERT_TRUE(held);
    EXPECT_EQ(corvane::bus::reply_text(held.get()).rfind(backlog.after + " ", 0), 0u);
}

TEST_F(RedisBusTest, ToolsSeeWhetherAServiceFollowsTheBus)
{
    std::string error;
    std::vector<corvane::bus::Service> services;
    ASSERT_EQ(client_->services(&services), Status::ok);
    EXPECT_TRUE(services.empty());

    corvane::bus::Reader service(parsed_, "test-service");
    corvane::bus::Reader passing(parsed_);
    ASSERT_TRUE(service.start(&error)) << error;
    ASSERT_TRUE(passing.start(&error)) << error;
    ASSERT_EQ(client_->services(&services), Status::ok);
    ASSERT_EQ(services.size(), 1u) << "a passing reader is no service";
    EXPECT_EQ(services[0].name, "test-service");
    EXPECT_TRUE(corvane::bus::running(services[0])) << services[0].silent_ms;
    bool running = false;
    EXPECT_EQ(corvane::bus::describe_services(services, &running), "test-service running");
    EXPECT_TRUE(running);

    // A service that stopped saying where it is: its stamp an hour old.
    corvane::bus::Reply time = command({"TIME"});
    ASSERT_TRUE(time);
    std::string hour_ago = std::to_string(atoll(corvane::bus::reply_text(time->element[0]).c_str()) * 1000 - 3600000);
    std::string stale = "0-0 " + hour_ago;
    ASSERT_TRUE(command({"HSET", "corvane:readers", "test-service", stale}));
    ASSERT_EQ(client_->services(&services), Status::ok);
    ASSERT_EQ(services.size(), 1u);
    EXPECT_FALSE(corvane::bus::running(services[0]));
    EXPECT_GE(services[0].silent_ms, 3600000);
    EXPECT_EQ(corvane::bus::describe_services(services, &running).rfind("test-service not running (last seen 36", 0), 0u);
    EXPECT_FALSE(running);
    EXPECT_EQ(corvane::bus::describe_services({}, &running), "no service has followed this bus");
    passing.finish();
}

TEST_F(RedisBusTest, RecentWritesComeOldestFirstAndAtMostAsManyAsAsked)
{
    std::vector<Change> changes;
    ASSERT_EQ(client_->recent(5, &changes), Status::ok);
    EXPECT_TRUE(changes.empty());
    ASSERT_EQ(client_->set_all(numbered_writes(8)), Status::ok);
    ASSERT_EQ(client_->recent(5, &changes), Status::ok);
    ASSERT_EQ(changes.size(), 5u);
    for (size_t i = 0; i < changes.size(); ++i)
        EXPECT_EQ(changes[i].value, std::to_string(4 + i));
    EXPECT_FALSE(changes[0].writer.empty());
}

TEST_F(RedisBusTest, AddressesAreCheckedBeforeUse)
{
    struct Case {
        const char *address;
        const char *password;
        bool usable;
    };
    const Case cases[] = {
        {"redis:/run/x.sock", nullptr, true},       {"redis://127.0.0.1:6379", nullptr, true},
        {"redis://localhost:1", nullptr, true},      {"redis://[::1]:6379", nullptr, true},
        {"redis://10.0.0.2:6379", nullptr, false},   {"redis://10.0.0.2:6379", "secret", true},
        {"redis://127.0.0.1", nullptr, false},       {"redis://127.0.0.1:0", nullptr, false},
        {"redis://127.0.0.1:70000", nullptr, false}, {"redis:", nullptr, false},
        {"tcp://127.0.0.1:6379", nullptr, false},    {"sim", nullptr, false},
    };
    for (const Case &c : cases) {
        if (c.password)
            setenv("CORVANE_BUS_PASSWORD", c.password, 1);
        else
            unsetenv("CORVANE_BUS_PASSWORD");
        corvane::bus::Address address;
        std::string error;
        EXPECT_EQ(corvane::bus::parse_address(c.address, &address, &error), c.usable) << c.address << ": " << error;
    }
    unsetenv("CORVANE_BUS_PASSWORD");
}

} // namespace

#endif
