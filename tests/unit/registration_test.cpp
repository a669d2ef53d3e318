#include <gtest/gtest.h>

#include <set>
#include <string>

#include "bindings/binding.h"
#include "bindings/registration.h"
#include "bindings/routine_list.h"
#include "test_support.h"

namespace {

class RegistrationTest : public SimBusTest, public ::testing::WithParamInterface<int> {};

size_t rows_where(bool per_camera)
{
    size_t count = 0;
    for (const NodeBinding &row : binding_table)
        if (row.handler && (std::string(row.legacy_name).find("cam%d") != std::string::npos) == per_camera)
            ++count;
    return count;
}

} // namespace

TEST(BindingTable, HasTheRowsTheLegacyInterfaceDefines)
{
    // 363 global and 167 per-sensor rows carry a handler; 8 carry none.
    EXPECT_EQ(rows_where(false), 363u);
    EXPECT_EQ(rows_where(true), 167u);
    size_t converted = 0, without_native = 0;
    for (const NodeBinding &row : binding_table) {
        converted += row.converter ? 1 : 0;
        without_native += row.native_name ? 0 : 1;
    }
    EXPECT_EQ(converted, 79u);
    EXPECT_EQ(without_native, 24u);
    EXPECT_STREQ(binding_table.front().legacy_name, "corvane.cam%d.focus");
    EXPECT_STREQ(binding_table.back().legacy_name, "corvane.ptzstatus");
    EXPECT_EQ(binding_table.back().handler, cb_ptzstatus);
    EXPECT_STREQ(binding_table[110].legacy_name, "corvane.viewer");
    EXPECT_EQ(binding_table[110].converter, n2a_copy_converter);
}

TEST_P(RegistrationTest, RegistersGlobalRowsOncePerSensorRowsPerCameraAndAllSlots)
{
    int cameras = GetParam();
    service.cam_count = cameras;
    register_bindings();
    EXPECT_EQ(sim::listen_calls(), static_cast<long>(363 + 167 * cameras + 50 + 36));
    for (int camera = 1; camera <= 5; ++camera) {
        std::string focus = "corvane.cam" + std::to_string(camera) + ".focus";
        EXPECT_EQ(sim::listener_count(focus), camera <= cameras ? 1 : 0) << focus;
    }
    EXPECT_EQ(sim::listener_count("corvane.ip"), 2);
    EXPECT_EQ(sim::listener_count("corvane.ntpserver_ip"), 2);
    EXPECT_EQ(sim::listener_count("corvane.smtp_od_mail10"), 1);
    EXPECT_EQ(sim::listener_count("corvane.smtp_od_mail0"), 0);
    EXPECT_EQ(sim::listener_count("corvane.user12pwd"), 1);
    EXPECT_EQ(sim::listener_count("corvane.user0pwd"), 0);
    EXPECT_EQ(sim::listener_count("corvane.nfs_status"), 0);
}

INSTANTIATE_TEST_SUITE_P(SensorCounts, RegistrationTest, ::testing::Values(0, 1, 2, 3, 4));

// Until the start-up synchronisation is done, every handler returns at once,
// silently, through the bus or called directly; only the few the interface
// leaves without the gate act.
TEST_F(SimBusTest, HandlersIgnoreEverythingBeforeReady)
{
    std::string error;
    ASSERT_TRUE(sim::load_device(CORVANE_DEFAULT_DEVICE, &error)) << error;
    service.ready = 0;
    service.cam_count = 2;
    register_bindings();
    sim::take_record();
    sim::client_write("corvane.cam1.focus", "100");
    sim::client_write("corvane.ip", "10.0.0.1");
    sim::Record record = sim::take_record();
    EXPECT_TRUE(record.writes.empty());
    EXPECT_EQ(record.log, "");

    const std::set<std::string> ungated = {"cb_corvane_sharpness", "cb_corvane_sd_func", "cb_corvane_rotate",
                                           "cb_corvane_global_mode", "cb_ptzstatus"};
    size_t gated = 0;
    auto check = [&](const char *name, handler_routine *routine) {
        if (ungated.count(name))
            return;
        ++gated;
        for (const char *value : {"on", "1", "ptz-home", "ptz-preset1"}) {
            routine("corvane.cam1.sd_ioalarm_sharpness_focus", value);
            routine("corvane.viewer", value);
        }
        sim::Record after = sim::take_record();
        EXPECT_TRUE(after.writes.empty()) << name;
        EXPECT_EQ(after.log, "") << name;
    };
#define CHECK_HANDLER(shape, routine) check_##shape(#routine, routine);
    auto check_handler = check;
    auto ignore = [](const char *, auto *) {};
    auto check_converter = ignore, check_plain = ignore, check_one_number = ignore, check_max_fps = ignore,
         check_text_query = ignore, check_sync = ignore;
    auto check_two_numbers = [](const char *name, two_numbers_routine *routine) {
        routine(1, 0);
        routine(2, 1);
        EXPECT_EQ(sim::take_record().log, "") << name;
    };
    DAEMON_ROUTINES(CHECK_HANDLER)
#undef CHECK_HANDLER
    EXPECT_GT(gated, 100u);
}
