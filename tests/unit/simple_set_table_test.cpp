// The simple-set family, row by row and key by key: every bound legacy node
// reaches exactly one native node with the value unchanged, the one its row
// names (a few kept exceptions aside); every key of a member's list, written
// alone, reaches its own native node, so no earlier key hides it. The
// expected recording nodes are spelled from the key's own words.
#include <gtest/gtest.h>

#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "bindings/binding.h"
#include "bindings/registration.h"
#include "bindings/routine_list.h"
#include "frame/text.h"
#include "handlers/generic/key_list.h"
#include "test_support.h"

namespace {

struct Member {
    const char *name;
    handler_routine *routine;
    std::span<const SimpleSetEntry> keys;
};

std::vector<Member> members()
{
    return {{"simple_set", cb_corvane_simple_set, simple_set_keys},
            {"simple_set1", cb_corvane_simple_set1, simple_set_variant_keys[0]},
            {"simple_set2", cb_corvane_simple_set2, simple_set_variant_keys[1]},
            {"simple_set3", cb_corvane_simple_set3, simple_set_variant_keys[2]},
            {"simple_set4", cb_corvane_simple_set4, simple_set_variant_keys[3]},
            {"simple_set5", cb_corvane_simple_set5, simple_set_variant_keys[4]},
            {"simple_set6", cb_corvane_simple_set6, simple_set_variant_keys[5]}};
}

// Values that must pass unchanged, whatever they hold.
std::string value_number(int n)
{
    static const std::string values[] = {"off", "192.168.1.20", "100%s%n%d", "a b c", std::string(120, 'x'), "0",
                                         "-7"};
    const std::string &value = values[n % std::size(values)];
    return value.size() == 120 ? value : value + "-" + std::to_string(n);
}

using Writes = std::vector<std::pair<std::string, std::string>>;

std::string expanded(const char *pattern, int number)
{
    char name[128];
    expand_pattern(name, pattern, number);
    return name;
}

// The native node a recording key names by its words: "<...><event>_<field>"
// to "<target>.<event's node word>.<field's node word>"; "" when the key
// does not read so.
std::string spelled_recording_node(const SimpleSetEntry &entry)
{
    const std::string key = entry.key;
    for (const RecordingWord &field : kFieldWords) {
        const std::string tail = std::string("_") + field.in_key;
        if (key.size() < tail.size() || key.compare(key.size() - tail.size(), tail.size(), tail) != 0)
            continue;
        const std::string head = key.substr(0, key.size() - tail.size());
        if (head.empty())  // the list's event is implied
            return std::string(kTargetPrefix[static_cast<size_t>(entry.target)]) + "." +
                   kEventWords[static_cast<size_t>(entry.event)].native + "." + field.native;
        for (const RecordingWord &event : kEventWords) {
            const std::string word = event.in_key;
            if (head.size() >= word.size() && head.compare(head.size() - word.size(), word.size(), word) == 0)
                return std::string(kTargetPrefix[static_cast<size_t>(entry.target)]) + "." + event.native + "." +
                       field.native;
        }
    }
    return "";
}

// Rows whose handler writes another node than the row names ("": none);
// clients rely on each.
const std::map<std::string, std::string> kept_other_node = {
    {"corvane.en_audioout", "encode.audio.out.enable"},
    {"corvane.webport", ""},
    {"corvane.nfs_md_jpgprerecord", "event.active.nfs_record.motion.pre_record_frame"},
    {"corvane.ntpmode", "system.dattime.ntpmode"},
    {"corvane.snmp_tpmode", "system.info.serial_number"},
    {"corvane.snmp_tphb", "system.info.serial_number"},
    {"corvane.sd_md_videoprefix", "event.active.sd_record.network.pre_filename"},
    {"corvane.sd_md_videoprerecord", "event.active.sd_record.network.pre_record_frame"},
};

// A command, not a value: "on" writes "1", anything else nothing.
bool format_command(const std::string &name)
{
    return name.size() >= 7 && name.compare(name.size() - 7, 7, "_format") == 0;
}

} // namespace

TEST_F(SimBusTest, EveryBoundSimpleSetRowReachesTheNodeItNames)
{
    std::string error;
    ASSERT_TRUE(sim::load_device(sim::default_device(), &error)) << error;
    register_bindings();
    const int camera = 2;
    int n = 0;
    size_t rows = 0;
    for (const Member &member : members()) {
        for (const NodeBinding &row : binding_table) {
            if (row.handler != member.routine)
                continue;
            std::string legacy = expanded(row.legacy_name, camera);
            if (legacy == "corvane.ntpserver_ip")
                continue;  // bound twice: below
            std::string value = format_command(legacy) ? "on" : value_number(n++);
            std::string native = row.native_name ? expanded(row.native_name, camera) : "";
            if (kept_other_node.count(legacy))
                native = kept_other_node.at(legacy);
            sim::take_record();
            sim::client_write(legacy, value);
            Writes expected{{native, format_command(legacy) ? "1" : value}};
            EXPECT_EQ(sim::take_record().writes, native.empty() ? Writes{} : expected) << member.name << " " << legacy;
            ++rows;
        }
    }
    EXPECT_GT(rows, binding_table.size() / 4);

    // bound twice: its own handler and the sixth member both write the time server
    sim::take_record();
    sim::client_write("corvane.ntpserver_ip", "10.0.0.1");
    const std::string server = "system.datetime.ntp.manual.address";
    EXPECT_EQ(sim::take_record().writes, (Writes{{server, "10.0.0.1"}, {server, "10.0.0.1"}}));
}

TEST_F(SimBusTest, EverySimpleSetKeyAloneReachesItsOwnNode)
{
    const int camera = 3;
    int n = 0;
    size_t keys = 0;
    for (const Member &member : members()) {
        for (const SimpleSetEntry &entry : member.keys) {
            std::string native;
            if (!entry.native) {
                native = spelled_recording_node(entry);
                EXPECT_NE(native, "") << member.name << " " << entry.key << ": the key names no event and field";
            } else {
                native = expanded(entry.native, camera);
            }
            std::string legacy = std::string(entry.native && contains(entry.native, "%d") ? "corvane.cam3." : "corvane.") +
                                 entry.key;
            std::string value = value_number(n++);
            if (format_command(entry.key)) {
                member.routine(legacy.c_str(), "on");
                EXPECT_EQ(sim::take_record().writes, (Writes{{native, "1"}})) << legacy;
                member.routine(legacy.c_str(), value.c_str());
                EXPECT_EQ(sim::take_record().writes, Writes{}) << legacy;
                continue;
            }
            sim::take_record();
            member.routine(legacy.c_str(), value.c_str());
            EXPECT_EQ(sim::take_record().writes, (Writes{{native, value}})) << member.name << " " << legacy;
            ++keys;
        }
    }
    EXPECT_GT(keys, 200u);
}
