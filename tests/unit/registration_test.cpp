#include <gtest/gtest.h>

#include <set>
#include <string>

#include "bindings/binding.h"
#include "bindings/registration.h"
#include "bindings/routine_list.h"
#include "test_support.h"

namespace {

class RegistrationTest : public SimBusTest, public ::testing::WithParamInterface<int> {};

bool per_camera(const NodeBinding &row) { return std::string(row.legacy_name).find("cam%d") != std::string::npos; }

const NodeBinding *row_named(const char *legacy_name)
{
    for (const NodeBinding &row : binding_table)
        if (std::string(row.legacy_name) == legacy_name)
            return &row;
    return nullptr;
}

} // namespace

// The rows a synchronised value is read through are whole, and the rows
// clients know by name stand as the legacy interface defines them.
TEST(BindingTable, HasTheRowsTheLegacyInterfaceDefines)
{
    for (const NodeBinding &row : binding_table) {
        EXPECT_TRUE(row.handler || row.native_name) << row.legacy_name << ": neither listened to nor synchronised";
        EXPECT_FALSE(row.converter && !row.native_name) << row.legacy_name << ": a converter without a native node";
    }
    EXPECT_STREQ(binding_table.front().legacy_name, "corvane.cam%d.focus");
    EXPECT_STREQ(binding_table.back().legacy_name, "corvane.ptzstatus");
    EXPECT_EQ(binding_table.back().handler, cb_ptzstatus);
    const NodeBinding *viewer = row_named("corvane.viewer");
    ASSERT_NE(viewer, nullptr);
    EXPECT_EQ(viewer->converter, n2a_copy_converter);
    const NodeBinding *brightness = row_named("corvane.cam%d.brightness");
    ASSERT_NE(brightness, nullptr);
    EXPECT_EQ(brightness->converter, n2a_brightness_converter);
    EXPECT_STREQ(brightness->native_name, "image.cam%d.brightness");
}

// Every listened row once, a per-sensor row once per camera, every SMTP and
// user row once per slot; the names counted from the tables.
TEST_P(RegistrationTest, RegistersGlobalRowsOncePerSensorRowsPerCameraAndAllSlots)
{
    int cameras = GetParam();
    service.cam_count = cameras;
    long expected = static_cast<long>(smtp_table.size()) * kMailSlots + static_cast<long>(user_table.size()) * kUserSlots;
    for (const NodeBinding &row : binding_table)
        if (row.handler)
            expected += per_camera(row) ? cameras : 1;
    ASSERT_GT(expected, static_cast<long>(binding_table.size()) / 2);
    register_bindings();
    EXPECT_EQ(sim::listen_calls(), expected);
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
    ASSERT_TRUE(sim::load_device(sim::default_device(), &error)) << error;
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
