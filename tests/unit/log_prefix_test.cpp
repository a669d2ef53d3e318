// Every log line carries the name of a routine of the daemon, never that of
// a helper the routine uses inside.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "bindings/routine_list.h"
#include "test_support.h"

namespace {

#define ROUTINE_NAME(shape, routine) #routine,
const std::set<std::string> routine_names = {DAEMON_ROUTINES(ROUTINE_NAME)};
#undef ROUTINE_NAME

// The names in the "[name]-line: " prefixes that start the log's lines.
std::set<std::string> prefix_names(const std::string &log)
{
    std::set<std::string> names;
    for (size_t start = 0; start < log.size(); start = log.find('\n', start) + 1) {
        if (log[start] == '[') {
            size_t end = log.find("]-", start);
            if (end != std::string::npos && end < log.find('\n', start))
                names.insert(log.substr(start + 1, end - start - 1));
        }
        if (log.find('\n', start) == std::string::npos)
            break;
    }
    return names;
}

struct Call {
    const char *first;
    const char *second;
};
// Known and unknown names, good and bad values: the error paths are where
// shared helpers log.
constexpr Call calls[] = {
    {"corvane.cam1.x", "on"},          {"corvane.x", "0"},
    {"corvane.cam0.resolution1", "x"}, {"corvane.cam2.brightness", "10"},
};

} // namespace

TEST_F(SimBusTest, EveryLineNamesARoutine)
{
    std::string error;
    ASSERT_TRUE(sim::load_device(sim::default_device(), &error)) << error;
    sim::set_read_fault("event.cam1.motion.block_detection.extended", -3);
    sim::set_read_fault("system.datetime.mode", -3);
    sim::take_record();
#define CALL_ROUTINE(shape, routine) call_##shape(routine);
    auto call_handler = [](handler_routine *routine) {
        for (const Call &call : calls)
            routine(call.first, call.second);
    };
    auto call_converter = [](converter_routine *routine) {
        for (const Call &call : calls)
            routine(call.first, "image.cam1.x");
        routine("corvane.cam1.mdzonesize", "event.cam1.motion.block_detection.zone_size");
        routine("corvane.netopt", "network.ipv4.mode");
    };
    auto call_sync = [](sync_routine *routine) {
        char name[128], value[128];
        routine(name, value, 128);
    };
    auto ignore = [](auto *) {};
    auto call_plain = ignore;
    auto call_one_number = ignore;
    auto call_two_numbers = ignore;
    auto call_max_fps = ignore;
    auto call_text_query = ignore;
    DAEMON_ROUTINES(CALL_ROUTINE)
#undef CALL_ROUTINE
    std::string log = sim::take_record().log;
    std::set<std::string> names = prefix_names(log);
    EXPECT_GT(names.size(), 100u);
    for (const std::string &name : names)
        EXPECT_TRUE(routine_names.count(name)) << "[" << name << "] is no routine";
}
