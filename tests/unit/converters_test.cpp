// Converters read their native node and write the legacy node themselves.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "bindings/routine_list.h"
#include "test_support.h"

namespace {

struct ConversionCase {
    converter_routine *converter;
    const char *native_value;
    const char *legacy_value;
};

// One native node, one legacy node: native value in, legacy value out.
void check_cases(const std::vector<ConversionCase> &cases, const char *legacy, const char *native)
{
    for (const ConversionCase &c : cases) {
        sim::reset();
        sim::device_write(native, c.native_value);
        c.converter(legacy, native);
        EXPECT_EQ(sim::node(legacy).value_or("<absent>"), c.legacy_value)
            << "native '" << c.native_value << "'";
    }
}

} // namespace

TEST_F(SimBusTest, NumericConvertersScaleBack)
{
    check_cases({{n2a_brightness_converter, "50", "0"},
                 {n2a_brightness_converter, "0", "-50"},
                 {n2a_brightness_converter, "100", "50"},
                 {n2a_brightness_converter, "junk", "-50"},
                 {n2a_brightness_converter, "-2147483648", "2147483598"},
                 {n2a_sharpness_converter, "63", "1"},
                 {n2a_sharpness_converter, "62", "0"},
                 {n2a_sharpness_converter, "255", "4"},
                 {n2a_sharpness_converter, "2147483647", "-33554432"},
                 {n2a_saturation_converter, "-17", "-1"},
                 {n2a_saturation_converter, "100", "6"},
                 {n2a_blue_red_converter, "500", "0"},
                 {n2a_blue_red_converter, "1000", "10"},
                 {n2a_blue_red_converter, "49", "-10"}},
                "corvane.cam1.x", "image.cam1.x");
}

TEST_F(SimBusTest, WordConvertersMapByTheirRules)
{
    check_cases({{n2a_imgquality_converter, "high", "21"},
                 {n2a_imgquality_converter, "mid", "14"},
                 {n2a_imgquality_converter, "low", "7"},
                 {n2a_imgquality_converter, "best", "21"},
                 {n2a_ipv6enable_converter, "on", "true"},
                 {n2a_ipv6enable_converter, "off", "false"},
                 {n2a_pmask_blrt_converter, "37", "0"},
                 {n2a_sd_codec_converter, "snapshot", "jpeg"},
                 {n2a_sd_codec_converter, "video", "h264"},
                 {n2a_shortexposures_converter, "0", "1"},
                 {n2a_shortexposures_converter, "1", "33"},
                 {n2a_shortexposures_converter, "80", "33"},
                 {n2a_shortexposures_converter, "81", "80"},
                 {n2a_white_balance_converter, "auto", "on"},
                 {n2a_white_balance_converter, "off", "off"},
                 {n2a_white_balance_converter, "manual", "on"},
                 {n2a_defog_converter, "0", "off"},
                 {n2a_defog_converter, "1", "low"},
                 {n2a_defog_converter, "85", "low"},
                 {n2a_defog_converter, "86", "medium"},
                 {n2a_defog_converter, "169", "medium"},
                 {n2a_defog_converter, "170", "high"},
                 {n2a_defog_converter, "255", "high"},
                 {n2a_defog_converter, "256", "high"},
                 {n2a_defog_converter, "-1", "high"},
                 {n2a_wdr_converter, "off", "off"},
                 {n2a_wdr_converter, "on", "auto"},
                 {n2a_qos_enable_converter, "on", "1"},
                 {n2a_qos_enable_converter, "on ", "0"},
                 {n2a_smtgop_snpstrm_converter, "1", "on"},
                 {n2a_smtgop_snpstrm_converter, "0", "off"},
                 {n2a_smtgop_snpstrm_converter, "2", "off"},
                 {n2a_auxin_converter, "0", "off"},
                 {n2a_auxin_converter, "x1y", "on"},
                 {n2a_autoexp_converter, "auto", "on"},
                 {n2a_autoexp_converter, "lock", "off"},
                 {n2a_autoexp_converter, "manual", "<absent>"},
                 {n2a_lowlight_converter, "moonlight", "moonlight"},
                 {n2a_lowlight_converter, "highspeed", "highspeed"},
                 {n2a_lowlight_converter, "quality", "quality"},
                 {n2a_lowlight_converter, "dark", "balanced"},
                 {n2a_mdtotalzones_converter, "0", "64"},
                 {n2a_mdtotalzones_converter, "1", "1024"},
                 {n2a_daynight_converter, "force_day", "day"},
                 {n2a_daynight_converter, "force_night", "night"},
                 {n2a_daynight_converter, "auto", "auto"},
                 {n2a_daynight_converter, "user_define", "schedule"},
                 {n2a_daynight_converter, "odd", "auto"},
                 {n2a_copy_converter, "as it is", "as it is"}},
                "corvane.cam2.x", "image.cam2.x");
}

TEST_F(SimBusTest, OutOfRangeDefogIsLogged)
{
    sim::device_write("image.cam1.defog", "256");
    sim::take_record();
    n2a_defog_converter("corvane.cam1.img_defog", "image.cam1.defog");
    EXPECT_NE(sim::take_record().log.find("nbus_get image.cam1.defog, error value: 256!!"), std::string::npos);
}

TEST_F(SimBusTest, FailedReadsWriteNothingExceptTheCopyConverter)
{
    for (converter_routine *converter : {n2a_brightness_converter, n2a_defog_converter, n2a_imgquality_converter,
                                n2a_netopt_converter, n2a_rotate_converter, n2a_bitrate_converter}) {
        sim::reset();
        converter("corvane.cam1.x", "image.cam1.x");
        EXPECT_FALSE(sim::node("corvane.cam1.x").has_value());
    }
    sim::reset();
    n2a_copy_converter("corvane.viewer", "account.user.password.1");
    EXPECT_EQ(value_of("corvane.viewer"), "");
}

TEST_F(SimBusTest, NetworkOptionsFoldThreeSwitches)
{
    struct Case {
        const char *ipv4_mode, *date_mode, *ipv6;
        const char *options;
    } cases[] = {
        {"dhcp", "ntp", "on", "529"},
        {"manual", "ntp", "off", "16"},
        {"dhcp", "manual", "off", "1"},
        {"manual", "manual", "on", "512"},
        {"manual", "manual", "off", "0"},
    };
    for (const Case &c : cases) {
        sim::reset();
        sim::device_write("network.ipv4.mode", c.ipv4_mode);
        sim::device_write("system.datetime.mode", c.date_mode);
        sim::device_write("network.ipv6.enable", c.ipv6);
        n2a_netopt_converter("corvane.netopt", "network.ipv4.mode");
        EXPECT_EQ(value_of("corvane.netopt"), c.options) << c.ipv4_mode << c.date_mode << c.ipv6;
    }
}

TEST_F(SimBusTest, RotateIsMirrorPlusFlip)
{
    struct Case {
        const char *mirror, *flip, *degrees;
    } cases[] = {{"on", "on", "180"}, {"on", "off", "0"}, {"off", "on", "0"}, {"ON", "on", "0"}};
    for (const Case &c : cases) {
        sim::reset();
        sim::device_write("image.cam3.mirror", c.mirror);
        sim::device_write("image.cam3.flip", c.flip);
        n2a_rotate_converter("corvane.cam3.rotate", "image.cam3.rotate");
        EXPECT_EQ(value_of("corvane.cam3.rotate"), c.degrees);
    }
}

TEST_F(SimBusTest, MotionGridFollowsTheExtendedSwitch)
{
    sim::device_write("event.cam2.motion.block_detection.zone_size", "8");
    sim::device_write("event.cam2.motion.block_detection.zone_size_e", "4");
    sim::device_write("event.cam2.motion.block_detection.sensitivity", "70");
    sim::device_write("event.cam2.motion.block_detection.sensitivity_e", "60");
    sim::device_write("event.cam2.motion.block_detection.extended", "1");
    n2a_mdzonesize_converter("corvane.cam2.mdzonesize", "event.cam2.motion.block_detection.zone_size");
    n2a_mdsensitivity_converter("corvane.cam2.mdsensitivity", "event.cam2.motion.block_detection.sensitivity");
    EXPECT_EQ(value_of("corvane.cam2.mdzonesize"), "4");
    EXPECT_EQ(value_of("corvane.cam2.mdsensitivity"), "60");
    sim::device_write("event.cam2.motion.block_detection.extended", "0");
    n2a_mdzonesize_converter("corvane.cam2.mdzonesize", "event.cam2.motion.block_detection.zone_size");
    EXPECT_EQ(value_of("corvane.cam2.mdzonesize"), "8");
}

TEST_F(SimBusTest, MulticastSwitchPicksTheLegacyNodeByStream)
{
    struct Case {
        const char *native, *value, *legacy, *word;
    } cases[] = {
        {"network.rtsp.stream2.enable_multicast", "on", "corvane.en_multicast2", "1"},
        {"network.rtsp.stream3.enable_multicast", "off", "corvane.en_multicast3", "0"},
        {"network.rtsp.stream1.enable_multicast", "maybe", "corvane.en_multicast", "0"},
    };
    for (const Case &c : cases) {
        sim::reset();
        sim::device_write(c.native, c.value);
        n2a_en_multicast_converter("corvane.whatever", c.native);
        EXPECT_EQ(value_of(c.legacy), c.word);
        EXPECT_FALSE(sim::node("corvane.whatever").has_value());
    }
}

TEST_F(SimBusTest, VariableRateReportsNoConstantBitRate)
{
    sim::device_write("encode.cam1.stream2.cbr_bitrate_t", "4096");
    sim::device_write("encode.cam1.stream2.rate_control", "cvbr");
    n2a_bitrate_converter("corvane.cam1.bitrate2", "encode.cam1.stream2.cbr_bitrate_t");
    EXPECT_EQ(value_of("corvane.cam1.bitrate2"), "0");
    sim::device_write("encode.cam1.stream2.rate_control", "cbr");
    n2a_bitrate_converter("corvane.cam1.bitrate2", "encode.cam1.stream2.cbr_bitrate_t");
    EXPECT_EQ(value_of("corvane.cam1.bitrate2"), "4096");
}

TEST_F(SimBusTest, RateLimitReadsStreamOnesSwitchForEveryRow)
{
    sim::device_write("encode.cam1.stream3.vbr_bitrate_t", "6144");
    sim::device_write("encode.cam1.stream3.enable_bitrate_limit", "off");
    sim::device_write("encode.cam1.stream1.enable_bitrate_limit", "on");
    n2a_ratelimit_converter("corvane.cam1.ratelimit3", "encode.cam1.stream3.vbr_bitrate_t");
    EXPECT_EQ(value_of("corvane.cam1.ratelimit3"), "6144");
    sim::device_write("encode.cam1.stream1.enable_bitrate_limit", "off");
    n2a_ratelimit_converter("corvane.cam1.ratelimit3", "encode.cam1.stream3.vbr_bitrate_t");
    EXPECT_EQ(value_of("corvane.cam1.ratelimit3"), "0");
}

TEST_F(SimBusTest, RegionOfInterestRowsCopyTheirOwnItem)
{
    sim::device_write("image.cam2.roi.stream2.level3", "5");
    sim::device_write("image.cam2.roi.stream1.area4", "1,2,3,4");
    n2a_roi_lv_en_converter("corvane.cam2.roi2_lv3", "image.cam2.roi.stream2.level3");
    n2a_roi_lv_en_converter("corvane.cam2.roi1_a4", "image.cam2.roi.stream1.area4");
    EXPECT_EQ(value_of("corvane.cam2.roi2_lv3"), "5");
    EXPECT_EQ(value_of("corvane.cam2.roi1_a4"), "1,2,3,4");

    sim::take_record();
    n2a_roi_lv_en_converter("corvane.cam0.roi1_lv1", "image.cam0.roi.stream1.level1");
    n2a_roi_lv_en_converter("corvane.cam1.roi3_lv1", "image.cam1.roi.stream3.level1");
    n2a_roi_lv_en_converter("corvane.cam1.roi1_lv9", "image.cam1.roi.stream1.level9");
    sim::Record record = sim::take_record();
    EXPECT_TRUE(record.writes.empty());
    EXPECT_NE(record.log.find("ERR: CAM number = 0["), std::string::npos);  // no line feed
    EXPECT_NE(record.log.find("nbus ERR: ROI number=3!!!"), std::string::npos);
    EXPECT_NE(record.log.find("ERR: level number=9, enable number=0!!!"), std::string::npos);
}

TEST_F(SimBusTest, ImageResolutionIsFullOnlyAtTheSensorsLargestSize)
{
    sim::set_param("max_resolution.cam2", "2592x1944");
    struct Case {
        const char *resolution, *word;
    } cases[] = {{"2592x1944", "full"}, {"1944x2592", "full"}, {"1920x1080", "half"}, {"junk", "half"}};
    for (const Case &c : cases) {
        sim::device_write("corvane.cam2.resolution3", c.resolution);
        n2a_imgres_converter("corvane.cam2.imgres", "encode.cam2.stream3.resolution");
        EXPECT_EQ(value_of("corvane.cam2.imgres"), c.word) << c.resolution;
    }
}

// A line a shared helper prints carries the name of the routine it serves.
TEST_F(SimBusTest, FailureLinesCarryTheRoutinesOwnName)
{
    auto sync = [] {
        char name[128], value[128];
        cb_corvane_nodes_sync(name, value, 128);
    };
    struct Case {
        const char *fault;
        std::function<void()> run;
        const char *routine;
        const char *line;
    } cases[] = {
        {"system.datetime.mode", [] { n2a_netopt_converter("corvane.netopt", "network.ipv4.mode"); },
         "n2a_netopt_converter", "n2a_brightness_converter, nbus_get network.ipv4.mode, error : -3!!\n"},
        {"event.cam2.motion.block_detection.extended",
         [] { n2a_mdzonesize_converter("corvane.cam2.mdzonesize", "event.cam2.motion.block_detection.zone_size"); },
         "n2a_mdzonesize_converter", "nbus_get event.cam2.motion.block_detection.extended, error : -3!!\n"},
        {"event.cam2.motion.block_detection.sensitivity",
         [] { n2a_mdsensitivity_converter("corvane.cam2.mdsensitivity", "event.cam2.motion.block_detection.sensitivity"); },
         "n2a_mdsensitivity_converter", "nbus_get event.cam2.motion.block_detection.sensitivity, error : -3!!\n"},
        {"corvane.ptzstatus", sync, "cb_corvane_nodes_sync", "Command - corvane.ptzstatus not supported\r\n"},
        {"system.info.mac_addr", sync, "cb_corvane_nodes_sync", "Command - system.info.mac_addr not supported\r\n"},
    };
    for (const Case &c : cases) {
        sim::reset();
        service.cam_count = 0;
        sim::device_write("network.ipv4.mode", "dhcp");
        sim::device_write("event.cam2.motion.block_detection.extended", "0");
        sim::set_read_fault(c.fault, -3);
        sim::take_record();
        c.run();
        std::string log = sim::take_record().log;
        size_t at = log.find(c.line);
        ASSERT_NE(at, std::string::npos) << c.routine << ": " << log;
        size_t line_start = log.rfind('\n', at);
        line_start = line_start == std::string::npos ? 0 : line_start + 1;
        EXPECT_EQ(log.compare(line_start, strlen(c.routine) + 3, std::string("[") + c.routine + "]-"), 0)
            << log.substr(line_start, at - line_start);
    }
}
