// The three binding tables. Order matters: registration and the start-up
// synchronisation walk them front to back, so a later row's synchronised
// value wins over an earlier row of the same legacy node. Four legacy
// names stand twice on purpose ("corvane.ip", "corvane.ntpserver_ip",
// "corvane.qos_default", "corvane.qos_video").
#include "bindings/binding.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "bindings/routine_list.h"

namespace {

// The mark of a row whose values are secrets (passwords, community strings,
// keys).
constexpr bool secret = true;

constexpr bool holds(const char *text, std::string_view part)
{
    return text != nullptr && std::string_view(text).find(part) != std::string_view::npos;
}

template <size_t N, typename Predicate>
constexpr size_t count_rows(const NodeBinding (&table)[N], Predicate predicate)
{
    size_t count = 0;
    for (const NodeBinding &row : table)
        count += predicate(row) ? 1 : 0;
    return count;
}

} // namespace

constexpr NodeBinding binding_rows[] = {
    {"corvane.cam%d.focus", cb_corvane_focus, nullptr, nullptr},
    {"corvane.cam%d.zoom", cb_corvane_zoom, nullptr, nullptr},
    {"corvane.cam%d.pan", cb_corvane_pan, nullptr, nullptr},
    {"corvane.cam%d.tilt", cb_corvane_tilt, nullptr, nullptr},
    {"corvane.focus", cb_corvane_allfocus, nullptr, nullptr},
    {"corvane.zoom", cb_corvane_allzoom, nullptr, nullptr},
    {"corvane.pan", cb_corvane_allpan, nullptr, nullptr},
    {"corvane.tilt", cb_corvane_alltilt, nullptr, nullptr},
    {"corvane.ip", cb_corvane_ip, nullptr, nullptr},
    {"corvane.cam%d.brightness", cb_corvane_brightness, "image.cam%d.brightness", n2a_brightness_converter},
    {"corvane.cam%d.sharpness", cb_corvane_sharpness_gate, "image.cam%d.sharpness", n2a_sharpness_converter},
    {"corvane.cam%d.saturation", cb_corvane_saturation, "image.cam%d.saturation", n2a_saturation_converter},
    {"corvane.cam%d.rotate", cb_corvane_rotate, "image.cam%d.rotate", n2a_rotate_converter},
    {"corvane.freq", cb_corvane_freq, "system.frequency_value", nullptr},
    {"corvane.af_dn", cb_corvane_af_dn, nullptr, nullptr},
    {"corvane.af_zoom", cb_corvane_af_zoom, nullptr, nullptr},
    {"corvane.analoggain", cb_corvane_analoggain, nullptr, nullptr},
    {"corvane.cam%d.analoggain", cb_corvane_analoggain, nullptr, nullptr},
    {"corvane.audioinput", cb_corvane_audinput, nullptr, nullptr},
    {"corvane.cam%d.autoexp", cb_corvane_autoexp, "image.cam%d.exposure.mode", n2a_autoexp_converter},
    {"corvane.auxin", cb_corvane_auxin, "gpio.in.alarmin1", n2a_auxin_converter},
    {"corvane.auxout", cb_corvane_auxout, "gpio.out.alarmout1", nullptr},
    {"corvane.cam%d.daynight", cb_corvane_daynight, "image.cam%d.exposure.day_night", n2a_daynight_converter},
    {"corvane.equalbright", cb_corvane_equalbright, "image.global.sync_brightness", nullptr},
    {"corvane.exp_ref_channel", cb_corvane_exp_ref_channel, nullptr, nullptr},
    {"corvane.illum", cb_corvane_illum, nullptr, nullptr},
    {"corvane.cam%d.imgquality", cb_corvane_imgquality, "encode.cam%d.stream3.quality", n2a_imgquality_converter},
    {"corvane.cam%d.imgquality1", cb_corvane_imgquality, "encode.cam%d.stream1.quality", n2a_imgquality_converter},
    {"corvane.cam%d.imgquality2", cb_corvane_imgquality, "encode.cam%d.stream2.quality", n2a_imgquality_converter},
    {"corvane.cam%d.imgres", nullptr, "encode.cam%d.stream3.resolution", n2a_imgres_converter},
    {"corvane.ip", cb_corvane_ip, nullptr, nullptr},
    {"corvane.linein_volume", cb_corvane_linein_volume, nullptr, nullptr},
    {"corvane.cam%d.lowlight", cb_corvane_lowlight, "image.cam%d.exposure.lowlightmode", n2a_lowlight_converter},
    {"corvane.motion_compensation", cb_corvane_motion_compensation, nullptr, nullptr},
    {"corvane.cam%d.mdtotalzones", cb_corvane_mdtotalzones, "event.cam%d.motion.block_detection.extended", n2a_mdtotalzones_converter},
    {"corvane.cam%d.motiondetect", cb_corvane_motiondetect, "event.cam%d.motion.enable", nullptr},
    {"corvane.cam%d.mdzonesize", cb_corvane_mdzonesize, "event.cam%d.motion.block_detection.zone_size", n2a_mdzonesize_converter},
    {"corvane.cam%d.mdlevelthreshold", cb_corvane_mdlevelthreshold, "event.cam%d.motion.block_detection.threshold", nullptr},
    {"corvane.cam%d.mddetail", cb_corvane_mddetail, "event.cam%d.motion.block_detection.detail", nullptr},
    {"corvane.cam%d.mdsensitivity", cb_corvane_mdsensitivity, "event.cam%d.motion.block_detection.sensitivity", n2a_mdsensitivity_converter},
    {"corvane.cam%d.resolution1", cb_corvane_resolution, "encode.cam%d.stream1.resolution", nullptr},
    {"corvane.cam%d.resolution2", cb_corvane_resolution, "encode.cam%d.stream2.resolution", nullptr},
    {"corvane.cam%d.resolution3", cb_corvane_resolution, "encode.cam%d.stream3.resolution", nullptr},
    {"corvane.img_mirror", cb_corvane_img_mirror, "image.global.mirror", nullptr},
    {"corvane.img_flip", cb_corvane_img_flip, "image.global.flip", nullptr},
    {"corvane.img_rotate", cb_corvane_img_rotate, "image.global.rotate", nullptr},
    {"corvane.cam%d.img_mirror", cb_corvane_img_mirror, "image.cam%d.mirror", nullptr},
    {"corvane.cam%d.img_flip", cb_corvane_img_flip, "image.cam%d.flip", nullptr},
    {"corvane.cam%d.img_rotate", cb_corvane_img_rotate, "image.cam%d.rotate", nullptr},
    {"corvane.cam%d.enc_stream1_stwidth", cb_corvane_enc_stream, "encode.cam%d.stream1.state.width", nullptr},
    {"corvane.cam%d.enc_stream2_stwidth", cb_corvane_enc_stream, "encode.cam%d.stream2.state.width", nullptr},
    {"corvane.cam%d.enc_stream3_stwidth", cb_corvane_enc_stream, "encode.cam%d.stream3.state.width", nullptr},
    {"corvane.cam%d.enc_stream1_stheight", cb_corvane_enc_stream, "encode.cam%d.stream1.state.height", nullptr},
    {"corvane.cam%d.enc_stream2_stheight", cb_corvane_enc_stream, "encode.cam%d.stream2.state.height", nullptr},
    {"corvane.cam%d.enc_stream3_stheight", cb_corvane_enc_stream, "encode.cam%d.stream3.state.height", nullptr},
    {"corvane.cam%d.nightgain", cb_corvane_nightgain, "image.cam%d.exposure.i2c_day2night", nullptr},
    {"corvane.cam%d.daygain", cb_corvane_daygain, "image.cam%d.exposure.i2c_night2day", nullptr},
    {"corvane.cam%d.contrast", cb_corvane_contrast_hue, "image.cam%d.contrast", nullptr},
    {"corvane.cam%d.hue", cb_corvane_contrast_hue, "image.cam%d.hue", nullptr},
    {"corvane.img_defog", cb_corvane_defog, "image.global.defog", n2a_defog_converter},
    {"corvane.cam%d.img_defog", cb_corvane_defog, "image.cam%d.defog", n2a_defog_converter},
    {"corvane.cam%d.slowshutter", cb_corvane_exposure_mode, "image.cam%d.exposure.lowlightmode_slowshutter", nullptr},
    {"corvane.img_expo_dn", cb_corvane_exposure_mode, "image.global.exposure.day_night", nullptr},
    {"corvane.cam%d.img_expo_dn", cb_corvane_exposure_mode, "image.cam%d.exposure.day_night", nullptr},
    {"corvane.blue", cb_corvane_blue_red, "image.global.wb.bg_gain", n2a_blue_red_converter},
    {"corvane.cam%d.blue", cb_corvane_blue_red, "image.cam%d.wb.bg_gain", n2a_blue_red_converter},
    {"corvane.red", cb_corvane_blue_red, "image.global.wb.bg_gain", n2a_blue_red_converter},
    {"corvane.cam%d.red", cb_corvane_blue_red, "image.cam%d.wb.bg_gain", n2a_blue_red_converter},
    {"corvane.cam%d.bitrate", cb_corvane_bitrate, "encode.cam%d.stream1.cbr_bitrate_t", n2a_bitrate_converter},
    {"corvane.cam%d.bitrate2", cb_corvane_bitrate, "encode.cam%d.stream2.cbr_bitrate_t", n2a_bitrate_converter},
    {"corvane.cam%d.bitrate3", cb_corvane_bitrate, "encode.cam%d.stream3.cbr_bitrate_t", n2a_bitrate_converter},
    {"corvane.cam%d.ratelimit", cb_corvane_ratelimit, "encode.cam%d.stream1.vbr_bitrate_t", n2a_ratelimit_converter},
    {"corvane.cam%d.ratelimit2", cb_corvane_ratelimit, "encode.cam%d.stream2.vbr_bitrate_t", n2a_ratelimit_converter},
    {"corvane.cam%d.ratelimit3", cb_corvane_ratelimit, "encode.cam%d.stream3.vbr_bitrate_t", n2a_ratelimit_converter},
    {"corvane.cam%d.ratelimit_mode", cb_corvane_rlmode, "encode.cam%d.stream1.enable_bitrate_limit", nullptr},
    {"corvane.cam%d.ratelimit_mode2", cb_corvane_rlmode, "encode.cam%d.stream2.enable_bitrate_limit", nullptr},
    {"corvane.cam%d.ratelimit_mode3", cb_corvane_rlmode, "encode.cam%d.stream3.enable_bitrate_limit", nullptr},
    {"corvane.cam%d.qp", cb_corvane_qp, "encode.cam%d.stream1.min_qp", nullptr},
    {"corvane.cam%d.qp2", cb_corvane_qp, "encode.cam%d.stream2.min_qp", nullptr},
    {"corvane.cam%d.qp3", cb_corvane_qp, "encode.cam%d.stream3.min_qp", nullptr},
    {"corvane.cam%d.keyframe", cb_corvane_keyframe, nullptr, nullptr},
    {"corvane.cam%d.keyframe_sub", cb_corvane_keyframe, nullptr, nullptr},
    {"corvane.cam%d.keyframeinterval", cb_corvane_keyframeinterval, "encode.cam%d.stream1.gop", nullptr},
    {"corvane.cam%d.keyframeinterval_sub", cb_corvane_keyframeinterval, "encode.cam%d.stream2.gop", nullptr},
    {"corvane.ntpserver_ip", cb_corvane_ntpserver_ip, "system.datetime.ntp.manual.address", nullptr},
    {"corvane.pmask", cb_corvane_pmask_block, "image.global.privacy_zone.enable", nullptr},
    {"corvane.pmaskblock", cb_corvane_pmask_block, nullptr, nullptr},
    {"corvane.pmaskbottom", cb_corvane_pmask_blrt, "image.global.privacy_zone.pmaskbottom", n2a_pmask_blrt_converter},
    {"corvane.pmaskleft", cb_corvane_pmask_blrt, "image.global.privacy_zone.pmaskleft", n2a_pmask_blrt_converter},
    {"corvane.pmaskright", cb_corvane_pmask_blrt, "image.global.privacy_zone.pmaskright", n2a_pmask_blrt_converter},
    {"corvane.pmasktop", cb_corvane_pmask_blrt, "image.global.privacy_zone.pmasktop", n2a_pmask_blrt_converter},
    {"corvane.cam%d.pmask", cb_corvane_pmask_block, "image.cam%d.privacy_zone.enable", nullptr},
    {"corvane.cam%d.pmaskblock", cb_corvane_pmask_block, nullptr, nullptr},
    {"corvane.cam%d.pmaskbottom", cb_corvane_pmask_blrt, "image.cam%d.privacy_zone.pmaskbottom", n2a_pmask_blrt_converter},
    {"corvane.cam%d.pmaskleft", cb_corvane_pmask_blrt, "image.cam%d.privacy_zone.pmaskleft", n2a_pmask_blrt_converter},
    {"corvane.cam%d.pmaskright", cb_corvane_pmask_blrt, "image.cam%d.privacy_zone.pmaskright", n2a_pmask_blrt_converter},
    {"corvane.cam%d.pmasktop", cb_corvane_pmask_blrt, "image.cam%d.privacy_zone.pmasktop", n2a_pmask_blrt_converter},
    {"corvane.sd_codec", cb_corvane_sd_codec, "event.active.sd_record.record_type", n2a_sd_codec_converter},
    {"corvane.sd_ioalarm", cb_corvane_sd_func_gate, "event.active.sd_record.enable_alarm1", nullptr},
    {"corvane.sd_motionalarm", cb_corvane_sd_func_gate, "event.active.sd_record.enable_motion", nullptr},
    {"corvane.sd_networkfail", cb_corvane_sd_func_gate, "event.active.sd_record.enable_network", nullptr},
    {"corvane.sd_recording", cb_corvane_sd_func_gate, "event.active.sd_record.enable_manual", nullptr},
    {"corvane.sd_tamperalarm", cb_corvane_sd_func_gate, "event.active.sd_record.enable_sabotage", nullptr},
    {"corvane.cam%d.snapstream", cb_corvane_snapstream, "encode.cam%d.stream1.smartgop", n2a_smtgop_snpstrm_converter},
    {"corvane.cam%d.snapstream2", cb_corvane_snapstream, "encode.cam%d.stream2.smartgop", n2a_smtgop_snpstrm_converter},
    {"corvane.cam%d.snapstream3", cb_corvane_snapstream, "encode.cam%d.stream3.smartgop", n2a_smtgop_snpstrm_converter},
    {"corvane.cam%d.shortexposures", cb_corvane_shortexposures, "image.cam%d.exposure.lowlightshutter", n2a_shortexposures_converter},
    {"corvane.cam%d.wdr", cb_corvane_wdr, "image.cam%d.exposure.wdr", n2a_wdr_converter},
    {"corvane.cam%d.white_balance", cb_corvane_white_balance, "image.cam%d.wb.mode", n2a_white_balance_converter},
    {"corvane.admin", cb_corvane_admin, "account.admin.password", nullptr, secret},
    {"corvane.viewer", cb_corvane_viewer, "account.user.password.1", n2a_copy_converter, secret},
    {"corvane.cam%d.fps", cb_corvane_fps, "encode.cam%d.stream1.frame_rate", nullptr},
    {"corvane.cam%d.fps_sub", cb_corvane_fps, "encode.cam%d.stream2.frame_rate", nullptr},
    {"corvane.cam%d.fps_third", cb_corvane_fps, "encode.cam%d.stream3.frame_rate", nullptr},
    {"corvane.cam%d.dn_shr", cb_corvane_dn_hrmin, "image.cam%d.exposure.day_night_start_hour", nullptr},
    {"corvane.cam%d.dn_smin", cb_corvane_dn_hrmin, "image.cam%d.exposure.day_night_start_min", nullptr},
    {"corvane.cam%d.dn_ehr", cb_corvane_dn_hrmin, "image.cam%d.exposure.day_night_end_hour", nullptr},
    {"corvane.cam%d.dn_emin", cb_corvane_dn_hrmin, "image.cam%d.exposure.day_night_end_min", nullptr},
    {"corvane.showorder", cb_corvane_showorder, "slave.web_order", nullptr},
    {"corvane.osdbg", cb_corvane_osd_all, "system.cam1.osd.background", nullptr},
    {"corvane.osdcolor", cb_corvane_osd_all, "system.cam1.osd.color", nullptr},
    {"corvane.osdtxt", cb_corvane_osd_all, "system.cam1.osd.text", nullptr},
    {"corvane.osdtopleft", cb_corvane_osd_all, "system.cam1.osd.topleft", nullptr},
    {"corvane.osdtopright", cb_corvane_osd_all, "system.cam1.osd.topright", nullptr},
    {"corvane.osdbotleft", cb_corvane_osd_all, "system.cam1.osd.botleft", nullptr},
    {"corvane.osdbotright", cb_corvane_osd_all, "system.cam1.osd.botright", nullptr},
    {"corvane.osdfb", cb_corvane_osd_all, "system.cam1.osd.text_shadow", nullptr},
    {"corvane.cam%d.roi1_lv1", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.level1", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_lv2", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.level2", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_lv3", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.level3", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_lv4", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.level4", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_lv5", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.level5", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_en1", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.enable1", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_en2", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.enable2", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_en3", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.enable3", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_en4", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.enable4", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_en5", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.enable5", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_a1", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.area1", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_a2", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.area2", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_a3", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.area3", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_a4", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.area4", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi1_a5", cb_corvane_roi_lv_en, "image.cam%d.roi.stream1.area5", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_lv1", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.level1", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_lv2", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.level2", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_lv3", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.level3", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_lv4", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.level4", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_lv5", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.level5", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_en1", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.enable1", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_en2", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.enable2", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_en3", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.enable3", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_en4", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.enable4", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_en5", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.enable5", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_a1", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.area1", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_a2", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.area2", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_a3", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.area3", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_a4", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.area4", n2a_roi_lv_en_converter},
    {"corvane.cam%d.roi2_a5", cb_corvane_roi_lv_en, "image.cam%d.roi.stream2.area5", n2a_roi_lv_en_converter},
    {"corvane.sensor", cb_corvane_simple_set, "system.info.sensor", nullptr},
    {"corvane.aspect", cb_corvane_simple_set, "system.info.aspect", nullptr},
    {"corvane.cpu", cb_corvane_simple_set, "system.info.cpu", nullptr},
    {"corvane.type", cb_corvane_simple_set, "system.camera_type", nullptr},
    {"corvane.cam%d.codec1", cb_corvane_simple_set, "encode.cam%d.stream1.codec", nullptr},
    {"corvane.cam%d.codec2", cb_corvane_simple_set, "encode.cam%d.stream2.codec", nullptr},
    {"corvane.cam%d.codec3", cb_corvane_simple_set, "encode.cam%d.stream3.codec", nullptr},
    {"corvane.en_audioinput", cb_corvane_simple_set, "encode.audio.in.enable", nullptr},
    {"corvane.audio_codec", cb_corvane_simple_set, "encode.audio.codec", nullptr},
    {"corvane.en_audioout", cb_corvane_simple_set, "encode.audio.in.enable", nullptr},
    {"corvane.lineout_volume", cb_corvane_simple_set, "encode.audio.out.level", nullptr},
    {"corvane.en_auxin", cb_corvane_auxin_schedule, "event.alarm1.enable", nullptr},
    {"corvane.auxin_d1shr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.mon.start_hour", nullptr},
    {"corvane.auxin_d1smin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.mon.start_min", nullptr},
    {"corvane.auxin_d1ehr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.mon.end_hour", nullptr},
    {"corvane.auxin_d1emin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.mon.end_min", nullptr},
    {"corvane.auxin_d2shr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.tue.start_hour", nullptr},
    {"corvane.auxin_d2smin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.tue.start_min", nullptr},
    {"corvane.auxin_d2ehr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.tue.end_hour", nullptr},
    {"corvane.auxin_d2emin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.tue.end_min", nullptr},
    {"corvane.auxin_d3shr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.wed.start_hour", nullptr},
    {"corvane.auxin_d3smin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.wed.start_min", nullptr},
    {"corvane.auxin_d3ehr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.wed.end_hour", nullptr},
    {"corvane.auxin_d3emin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.wed.end_min", nullptr},
    {"corvane.auxin_d4shr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.thu.start_hour", nullptr},
    {"corvane.auxin_d4smin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.thu.start_min", nullptr},
    {"corvane.auxin_d4ehr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.thu.end_hour", nullptr},
    {"corvane.auxin_d4emin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.thu.end_min", nullptr},
    {"corvane.auxin_d5shr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.fri.start_hour", nullptr},
    {"corvane.auxin_d5smin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.fri.start_min", nullptr},
    {"corvane.auxin_d5ehr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.fri.end_hour", nullptr},
    {"corvane.auxin_d5emin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.fri.end_min", nullptr},
    {"corvane.auxin_d6shr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.sat.start_hour", nullptr},
    {"corvane.auxin_d6smin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.sat.start_min", nullptr},
    {"corvane.auxin_d6ehr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.sat.end_hour", nullptr},
    {"corvane.auxin_d6emin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.sat.end_min", nullptr},
    {"corvane.auxin_d7shr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.sun.start_hour", nullptr},
    {"corvane.auxin_d7smin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.sun.start_min", nullptr},
    {"corvane.auxin_d7ehr", cb_corvane_auxin_schedule, "event.alarm1.scheduled.sun.end_hour", nullptr},
    {"corvane.auxin_d7emin", cb_corvane_auxin_schedule, "event.alarm1.scheduled.sun.end_min", nullptr},
    {"corvane.auxout_ioalarm", cb_corvane_simple_set2, "event.active.relay.alarm_enable", nullptr},
    {"corvane.auxout_motionalarm", cb_corvane_simple_set2, "event.active.relay.motion_enable", nullptr},
    {"corvane.auxout_tamperalarm", cb_corvane_simple_set2, "event.active.relay.sabotage_enable", nullptr},
    {"corvane.auxout_networkfail", cb_corvane_simple_set2, "event.active.relay.network_enable", nullptr},
    {"corvane.auxouttype", cb_corvane_simple_set2, "event.active.relay.type", nullptr},
    {"corvane.auxoutofftime", cb_corvane_simple_set2, "event.active.relay.off_time", nullptr},
    {"corvane.cam%d.en_od", cb_corvane_od_schedule, "event.cam%d.sabotage.enable", nullptr},
    {"corvane.cam%d.od_senstvt", cb_corvane_od_schedule, "event.cam%d.sabotage.sensitivity", nullptr},
    {"corvane.cam%d.od_d1shr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.mon.start_hour", nullptr},
    {"corvane.cam%d.od_d1smin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.mon.start_min", nullptr},
    {"corvane.cam%d.od_d1ehr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.mon.end_hour", nullptr},
    {"corvane.cam%d.od_d1emin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.mon.end_min", nullptr},
    {"corvane.cam%d.od_d2shr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.tue.start_hour", nullptr},
    {"corvane.cam%d.od_d2smin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.tue.start_min", nullptr},
    {"corvane.cam%d.od_d2ehr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.tue.end_hour", nullptr},
    {"corvane.cam%d.od_d2emin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.tue.end_min", nullptr},
    {"corvane.cam%d.od_d3shr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.wed.start_hour", nullptr},
    {"corvane.cam%d.od_d3smin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.wed.start_min", nullptr},
    {"corvane.cam%d.od_d3ehr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.wed.end_hour", nullptr},
    {"corvane.cam%d.od_d3emin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.wed.end_min", nullptr},
    {"corvane.cam%d.od_d4shr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.thu.start_hour", nullptr},
    {"corvane.cam%d.od_d4smin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.thu.start_min", nullptr},
    {"corvane.cam%d.od_d4ehr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.thu.end_hour", nullptr},
    {"corvane.cam%d.od_d4emin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.thu.end_min", nullptr},
    {"corvane.cam%d.od_d5shr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.fri.start_hour", nullptr},
    {"corvane.cam%d.od_d5smin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.fri.start_min", nullptr},
    {"corvane.cam%d.od_d5ehr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.fri.end_hour", nullptr},
    {"corvane.cam%d.od_d5emin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.fri.end_min", nullptr},
    {"corvane.cam%d.od_d6shr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.sat.start_hour", nullptr},
    {"corvane.cam%d.od_d6smin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.sat.start_min", nullptr},
    {"corvane.cam%d.od_d6ehr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.sat.end_hour", nullptr},
    {"corvane.cam%d.od_d6emin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.sat.end_min", nullptr},
    {"corvane.cam%d.od_d7shr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.sun.start_hour", nullptr},
    {"corvane.cam%d.od_d7smin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.sun.start_min", nullptr},
    {"corvane.cam%d.od_d7ehr", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.sun.end_hour", nullptr},
    {"corvane.cam%d.od_d7emin", cb_corvane_od_schedule, "event.cam%d.sabotage.scheduled.sun.end_min", nullptr},
    {"corvane.sd_alm_jpgfolder", cb_corvane_simple_set2, "event.active.sd_record.alarm1.server_dir", nullptr},
    {"corvane.sd_alm_jpgprefix", cb_corvane_simple_set2, "event.active.sd_record.alarm1.pre_filename", nullptr},
    {"corvane.sd_alm_jpgprerecord", cb_corvane_simple_set2, "event.active.sd_record.alarm1.pre_record_frame", nullptr},
    {"corvane.sd_alm_jpgpostrecord", cb_corvane_simple_set2, "event.active.sd_record.alarm1.post_record_frame", nullptr},
    {"corvane.sd_alm_preduration", cb_corvane_simple_set2, "event.active.sd_record.alarm1.pre_record_duration", nullptr},
    {"corvane.sd_alm_postduration", cb_corvane_simple_set2, "event.active.sd_record.alarm1.post_record_duration", nullptr},
    {"corvane.sd_md_jpgfolder", cb_corvane_simple_set3, "event.active.sd_record.motion.server_dir", nullptr},
    {"corvane.sd_md_jpgprefix", cb_corvane_simple_set3, "event.active.sd_record.motion.pre_filename", nullptr},
    {"corvane.sd_md_jpgprerecord", cb_corvane_simple_set3, "event.active.sd_record.motion.pre_record_frame", nullptr},
    {"corvane.sd_md_jpgpostrecord", cb_corvane_simple_set3, "event.active.sd_record.motion.post_record_frame", nullptr},
    {"corvane.sd_md_preduration", cb_corvane_simple_set3, "event.active.sd_record.motion.pre_record_duration", nullptr},
    {"corvane.sd_md_postduration", cb_corvane_simple_set3, "event.active.sd_record.motion.post_record_duration", nullptr},
    {"corvane.sd_od_jpgfolder", cb_corvane_simple_set3, "event.active.sd_record.sabotage.server_dir", nullptr},
    {"corvane.sd_od_jpgprefix", cb_corvane_simple_set3, "event.active.sd_record.sabotage.pre_filename", nullptr},
    {"corvane.sd_od_jpgprerecord", cb_corvane_simple_set3, "event.active.sd_record.sabotage.pre_record_frame", nullptr},
    {"corvane.sd_od_jpgpostrecord", cb_corvane_simple_set3, "event.active.sd_record.sabotage.post_record_frame", nullptr},
    {"corvane.sd_od_preduration", cb_corvane_simple_set3, "event.active.sd_record.sabotage.pre_record_duration", nullptr},
    {"corvane.sd_od_postduration", cb_corvane_simple_set3, "event.active.sd_record.sabotage.post_record_duration", nullptr},
    {"corvane.sd_net_jpgfolder", cb_corvane_simple_set3, "event.active.sd_record.network.server_dir", nullptr},
    {"corvane.sd_net_jpgprefix", cb_corvane_simple_set3, "event.active.sd_record.network.pre_filename", nullptr},
    {"corvane.sd_net_jpgprerecord", cb_corvane_simple_set3, "event.active.sd_record.network.pre_record_frame", nullptr},
    {"corvane.sd_net_jpgpostrecord", cb_corvane_simple_set3, "event.active.sd_record.network.post_record_frame", nullptr},
    {"corvane.sd_net_preduration", cb_corvane_simple_set3, "event.active.sd_record.network.pre_record_duration", nullptr},
    {"corvane.sd_net_postduration", cb_corvane_simple_set3, "event.active.sd_record.network.post_record_duration", nullptr},
    {"corvane.sd_alm_videofolder", cb_corvane_simple_set3, "event.active.sd_record.alarm1.server_video_dir", nullptr},
    {"corvane.sd_alm_videoprefix", cb_corvane_simple_set3, "event.active.sd_record.alarm1.pre_video_filename", nullptr},
    {"corvane.sd_alm_videoprerecord", cb_corvane_simple_set3, "event.active.sd_record.alarm1.pre_record", nullptr},
    {"corvane.sd_alm_videopostrecord", cb_corvane_simple_set3, "event.active.sd_record.alarm1.post_record", nullptr},
    {"corvane.sd_md_videofolder", cb_corvane_simple_set3, "event.active.sd_record.motion.server_video_dir", nullptr},
    {"corvane.sd_md_videoprefix", cb_corvane_simple_set3, "event.active.sd_record.motion.pre_video_filename", nullptr},
    {"corvane.sd_md_videoprerecord", cb_corvane_simple_set3, "event.active.sd_record.motion.pre_record", nullptr},
    {"corvane.sd_md_videopostrecord", cb_corvane_simple_set3, "event.active.sd_record.motion.post_record", nullptr},
    {"corvane.sd_od_videofolder", cb_corvane_simple_set3, "event.active.sd_record.sabotage.server_video_dir", nullptr},
    {"corvane.sd_od_videoprefix", cb_corvane_simple_set3, "event.active.sd_record.sabotage.pre_video_filename", nullptr},
    {"corvane.sd_od_videoprerecord", cb_corvane_simple_set3, "event.active.sd_record.sabotage.pre_record", nullptr},
    {"corvane.sd_od_videopostrecord", cb_corvane_simple_set3, "event.active.sd_record.sabotage.post_record", nullptr},
    {"corvane.sd_net_videofolder", cb_corvane_simple_set3, "event.active.sd_record.network.server_video_dir", nullptr},
    {"corvane.sd_net_videoprefix", cb_corvane_simple_set3, "event.active.sd_record.network.pre_video_filename", nullptr},
    {"corvane.sd_net_videoprerecord", cb_corvane_simple_set3, "event.active.sd_record.network.pre_record", nullptr},
    {"corvane.sd_net_videopostrecord", cb_corvane_simple_set3, "event.active.sd_record.network.post_record", nullptr},
    {"corvane.ftp_ioalarm", cb_corvane_simple_set3, "event.active.ftp.enable_alarm1", nullptr},
    {"corvane.ftp_motionalarm", cb_corvane_simple_set3, "event.active.ftp.enable_motion", nullptr},
    {"corvane.ftp_tamperalarm", cb_corvane_simple_set3, "event.active.ftp.enable_sabotage", nullptr},
    {"corvane.ftp_recording", cb_corvane_simple_set3, "event.active.ftp.enable_schedule", nullptr},
    {"corvane.ftp_server", cb_corvane_simple_set3, "event.active.ftp.server", nullptr},
    {"corvane.ftp_name", cb_corvane_simple_set3, "event.active.ftp.username", nullptr},
    {"corvane.ftp_pwd", cb_corvane_simple_set3, "event.active.ftp.password", nullptr, secret},
    {"corvane.ftpport", cb_corvane_simple_set3, "event.active.ftp.port", nullptr},
    {"corvane.ftp_alm_jpgfolder", cb_corvane_simple_set3, "event.active.ftp.alarm1.server_dir", nullptr},
    {"corvane.ftp_alm_jpgprefix", cb_corvane_simple_set3, "event.active.ftp.alarm1.pre_filename", nullptr},
    {"corvane.ftp_alm_jpgprerecord", cb_corvane_simple_set3, "event.active.ftp.alarm1.pre_record_frame", nullptr},
    {"corvane.ftp_alm_jpgpostrecord", cb_corvane_simple_set3, "event.active.ftp.alarm1.post_record_frame", nullptr},
    {"corvane.ftp_alm_preduration", cb_corvane_simple_set3, "event.active.ftp.alarm1.pre_record_duration", nullptr},
    {"corvane.ftp_alm_postduration", cb_corvane_simple_set3, "event.active.ftp.alarm1.post_record_duration", nullptr},
    {"corvane.ftp_md_jpgfolder", cb_corvane_simple_set3, "event.active.ftp.motion.server_dir", nullptr},
    {"corvane.ftp_md_jpgprefix", cb_corvane_simple_set3, "event.active.ftp.motion.pre_filename", nullptr},
    {"corvane.ftp_md_jpgprerecord", cb_corvane_simple_set3, "event.active.ftp.motion.pre_record_frame", nullptr},
    {"corvane.ftp_md_jpgpostrecord", cb_corvane_simple_set3, "event.active.ftp.motion.post_record_frame", nullptr},
    {"corvane.ftp_md_preduration", cb_corvane_simple_set3, "event.active.ftp.motion.pre_record_duration", nullptr},
    {"corvane.ftp_md_postduration", cb_corvane_simple_set3, "event.active.ftp.motion.post_record_duration", nullptr},
    {"corvane.ftp_od_jpgfolder", cb_corvane_simple_set3, "event.active.ftp.sabotage.server_dir", nullptr},
    {"corvane.ftp_od_jpgprefix", cb_corvane_simple_set3, "event.active.ftp.sabotage.pre_filename", nullptr},
    {"corvane.ftp_od_jpgprerecord", cb_corvane_simple_set3, "event.active.ftp.sabotage.pre_record_frame", nullptr},
    {"corvane.ftp_od_jpgpostrecord", cb_corvane_simple_set3, "event.active.ftp.sabotage.post_record_frame", nullptr},
    {"corvane.ftp_od_preduration", cb_corvane_simple_set3, "event.active.ftp.sabotage.pre_record_duration", nullptr},
    {"corvane.ftp_od_postduration", cb_corvane_simple_set3, "event.active.ftp.sabotage.post_record_duration", nullptr},
    {"corvane.ftp_scd_postduration", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.post_record_duration", nullptr},
    {"corvane.ftp_scd_shr1", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.sched_1.start_hour", nullptr},
    {"corvane.ftp_scd_ehr1", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.sched_1.end_hour", nullptr},
    {"corvane.ftp_scd_shr2", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.sched_2.start_hour", nullptr},
    {"corvane.ftp_scd_ehr2", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.sched_2.end_hour", nullptr},
    {"corvane.ftp_scd_jpgprefix", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.pre_filename", nullptr},
    {"corvane.ftp_scd_jpgfolder", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.server_dir", nullptr},
    {"corvane.ftp_scd_d1", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.mon", nullptr},
    {"corvane.ftp_scd_d2", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.tue", nullptr},
    {"corvane.ftp_scd_d3", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.wed", nullptr},
    {"corvane.ftp_scd_d4", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.thu", nullptr},
    {"corvane.ftp_scd_d5", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.fri", nullptr},
    {"corvane.ftp_scd_d6", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.sat", nullptr},
    {"corvane.ftp_scd_d7", cb_corvane_ftp_schedule, "event.active.ftp.scheduled.sun", nullptr},
    {"corvane.smtp_ioalarm", cb_corvane_simple_set4, "event.active.smtp.enable_alarm1", nullptr},
    {"corvane.smtp_motionalarm", cb_corvane_simple_set4, "event.active.smtp.enable_motion", nullptr},
    {"corvane.smtp_tamperalarm", cb_corvane_simple_set4, "event.active.smtp.enable_sabotage", nullptr},
    {"corvane.smtp_sender", cb_corvane_simple_set4, "event.active.smtp.sender_email", nullptr},
    {"corvane.smtp_server", cb_corvane_simple_set4, "event.active.smtp.server", nullptr},
    {"corvane.smtp_name", cb_corvane_simple_set4, "event.active.smtp.username", nullptr},
    {"corvane.smtp_pwd", cb_corvane_simple_set4, "event.active.smtp.password", nullptr, secret},
    {"corvane.smtpport", cb_corvane_simple_set4, "event.active.smtp.port", nullptr},
    {"corvane.smtp_authentication", cb_corvane_simple_set4, "event.active.smtp.authentication", nullptr},
    {"corvane.smtp_alm_subjt", cb_corvane_simple_set4, "event.active.smtp.alarm1.subject", nullptr},
    {"corvane.smtp_alm_msg", cb_corvane_simple_set4, "event.active.smtp.alarm1.message", nullptr},
    {"corvane.smtp_alm_img", cb_corvane_simple_set4, "event.active.smtp.alarm1.attach_image", nullptr},
    {"corvane.smtp_md_subjt", cb_corvane_simple_set4, "event.active.smtp.motion.subject", nullptr},
    {"corvane.smtp_md_msg", cb_corvane_simple_set4, "event.active.smtp.motion.message", nullptr},
    {"corvane.smtp_md_img", cb_corvane_simple_set4, "event.active.smtp.motion.attach_image", nullptr},
    {"corvane.smtp_od_subjt", cb_corvane_simple_set4, "event.active.smtp.sabotage.subject", nullptr},
    {"corvane.smtp_od_msg", cb_corvane_simple_set4, "event.active.smtp.sabotage.message", nullptr},
    {"corvane.smtp_od_img", cb_corvane_simple_set4, "event.active.smtp.sabotage.attach_image", nullptr},
    {"corvane.nfs_ioalarm", cb_corvane_simple_set5, "event.active.nfs_record.enable_alarm1", nullptr},
    {"corvane.nfs_motionalarm", cb_corvane_simple_set5, "event.active.nfs_record.enable_motion", nullptr},
    {"corvane.nfs_tamperalarm", cb_corvane_simple_set5, "event.active.nfs_record.enable_sabotage", nullptr},
    {"corvane.nfs_recording", cb_corvane_simple_set5, "event.active.nfs_record.enable_schedule", nullptr},
    {"corvane.nfs_server", cb_corvane_simple_set5, "event.active.nfs_record.server", nullptr},
    {"corvane.nfs_name", cb_corvane_simple_set5, "event.active.nfs_record.username", nullptr},
    {"corvane.nfs_pwd", cb_corvane_simple_set5, "event.active.nfs_record.password", nullptr, secret},
    {"corvane.nfs_recshr", cb_corvane_simple_set5, "event.active.nfs_record.share", nullptr},
    {"corvane.nfs_rectpe", cb_corvane_simple_set5, "event.active.nfs_record.record_type", nullptr},
    {"corvane.nfs_alm_jpgfolder", cb_corvane_simple_set5, "event.active.nfs_record.alarm1.server_dir", nullptr},
    {"corvane.nfs_alm_jpgprefix", cb_corvane_simple_set5, "event.active.nfs_record.alarm1.pre_filename", nullptr},
    {"corvane.nfs_alm_jpgprerecord", cb_corvane_simple_set5, "event.active.nfs_record.alarm1.pre_record_frame", nullptr},
    {"corvane.nfs_alm_jpgpostrecord", cb_corvane_simple_set5, "event.active.nfs_record.alarm1.post_record_frame", nullptr},
    {"corvane.nfs_alm_preduration", cb_corvane_simple_set5, "event.active.nfs_record.alarm1.pre_record_duration", nullptr},
    {"corvane.nfs_alm_postduration", cb_corvane_simple_set5, "event.active.nfs_record.alarm1.post_record_duration", nullptr},
    {"corvane.nfs_md_jpgfolder", cb_corvane_simple_set5, "event.active.nfs_record.motion.server_dir", nullptr},
    {"corvane.nfs_md_jpgprefix", cb_corvane_simple_set5, "event.active.nfs_record.motion.pre_filename", nullptr},
    {"corvane.nfs_md_jpgprerecord", cb_corvane_simple_set5, "event.active.nfs_record.motion.pre_record", nullptr},
    {"corvane.nfs_md_jpgpostrecord", cb_corvane_simple_set5, "event.active.nfs_record.motion.post_record_frame", nullptr},
    {"corvane.nfs_md_preduration", cb_corvane_simple_set5, "event.active.nfs_record.motion.pre_record_duration", nullptr},
    {"corvane.nfs_md_postduration", cb_corvane_simple_set5, "event.active.nfs_record.motion.post_record_duration", nullptr},
    {"corvane.nfs_od_jpgfolder", cb_corvane_simple_set5, "event.active.nfs_record.sabotage.server_dir", nullptr},
    {"corvane.nfs_od_jpgprefix", cb_corvane_simple_set5, "event.active.nfs_record.sabotage.pre_filename", nullptr},
    {"corvane.nfs_od_jpgprerecord", cb_corvane_simple_set5, "event.active.nfs_record.sabotage.pre_record_frame", nullptr},
    {"corvane.nfs_od_jpgpostrecord", cb_corvane_simple_set5, "event.active.nfs_record.sabotage.post_record_frame", nullptr},
    {"corvane.nfs_od_preduration", cb_corvane_simple_set5, "event.active.nfs_record.sabotage.pre_record_duration", nullptr},
    {"corvane.nfs_od_postduration", cb_corvane_simple_set5, "event.active.nfs_record.sabotage.post_record_duration", nullptr},
    {"corvane.nfs_alm_videofolder", cb_corvane_simple_set5, "event.active.nfs_record.alarm1.server_video_dir", nullptr},
    {"corvane.nfs_alm_videoprefix", cb_corvane_simple_set5, "event.active.nfs_record.alarm1.pre_video_filename", nullptr},
    {"corvane.nfs_alm_videoprerecord", cb_corvane_simple_set5, "event.active.nfs_record.alarm1.pre_record", nullptr},
    {"corvane.nfs_alm_videopostrecord", cb_corvane_simple_set5, "event.active.nfs_record.alarm1.post_record", nullptr},
    {"corvane.nfs_md_videofolder", cb_corvane_simple_set5, "event.active.nfs_record.motion.server_video_dir", nullptr},
    {"corvane.nfs_md_videoprefix", cb_corvane_simple_set5, "event.active.nfs_record.motion.pre_video_filename", nullptr},
    {"corvane.nfs_md_videoprerecord", cb_corvane_simple_set5, "event.active.nfs_record.motion.pre_record", nullptr},
    {"corvane.nfs_md_videopostrecord", cb_corvane_simple_set5, "event.active.nfs_record.motion.post_record", nullptr},
    {"corvane.nfs_od_videofolder", cb_corvane_simple_set5, "event.active.nfs_record.sabotage.server_video_dir", nullptr},
    {"corvane.nfs_od_videoprefix", cb_corvane_simple_set5, "event.active.nfs_record.sabotage.pre_video_filename", nullptr},
    {"corvane.nfs_od_videoprerecord", cb_corvane_simple_set5, "event.active.nfs_record.sabotage.pre_record", nullptr},
    {"corvane.nfs_od_videopostrecord", cb_corvane_simple_set5, "event.active.nfs_record.sabotage.post_record", nullptr},
    {"corvane.nfs_scd_jpgfolder", cb_corvane_simple_set5, "event.active.nfs_record.scheduled.server_dir", nullptr},
    {"corvane.nfs_scd_jpgprefix", cb_corvane_simple_set5, "event.active.nfs_record.scheduled.pre_filename", nullptr},
    {"corvane.nfs_scd_postduration", cb_corvane_simple_set5, "event.active.nfs_record.scheduled.post_record_duration", nullptr},
    {"corvane.nfs_scd_videofolder", cb_corvane_simple_set5, "event.active.nfs_record.scheduled.server_video_dir", nullptr},
    {"corvane.en_nd", cb_corvane_simple_set6, "event.network.enable", nullptr},
    {"corvane.datetime", cb_corvane_simple_set6, "system.datetime.manual", nullptr},
    {"corvane.ssl_install", cb_corvane_ssl_install_status, "network.https.ssl.install.check", nullptr},
    {"corvane.ssl_installstatus", cb_corvane_ssl_install_status, "network.https.ssl.install.status", nullptr},
    {"corvane.ssl_pkstatus", cb_corvane_ssl_install_status, "network.https.ssl.install.key_status", nullptr},
    {"corvane.ssl_ccstatus", cb_corvane_ssl_install_status, "network.https.ssl.install.cert_status", nullptr},
    {"corvane.nfs_scd_shr1", cb_corvane_nfs_schedule, "event.active.ftp.scheduled.sched_1.start_hour", nullptr},
    {"corvane.nfs_scd_ehr1", cb_corvane_nfs_schedule, "event.active.ftp.scheduled.sched_1.end_hour", nullptr},
    {"corvane.nfs_scd_shr2", cb_corvane_nfs_schedule, "event.active.ftp.scheduled.sched_2.start_hour", nullptr},
    {"corvane.nfs_scd_ehr2", cb_corvane_nfs_schedule, "event.active.ftp.scheduled.sched_2.end_hour", nullptr},
    {"corvane.nfs_scd_d1", cb_corvane_nfs_schedule, "event.active.ftp.scheduled.mon", nullptr},
    {"corvane.nfs_scd_d2", cb_corvane_nfs_schedule, "event.active.ftp.scheduled.tue", nullptr},
    {"corvane.nfs_scd_d3", cb_corvane_nfs_schedule, "event.active.ftp.scheduled.wed", nullptr},
    {"corvane.nfs_scd_d4", cb_corvane_nfs_schedule, "event.active.ftp.scheduled.thu", nullptr},
    {"corvane.nfs_scd_d5", cb_corvane_nfs_schedule, "event.active.ftp.scheduled.fri", nullptr},
    {"corvane.nfs_scd_d6", cb_corvane_nfs_schedule, "event.active.ftp.scheduled.sat", nullptr},
    {"corvane.nfs_scd_d7", cb_corvane_nfs_schedule, "event.active.ftp.scheduled.sun", nullptr},
    {"corvane.nfs_status", nullptr, "system.nfs.mount_status", nullptr},
    {"corvane.nfs_mount", cb_corvane_simple_set6, "event.active.nfs_record.handle", nullptr},
    {"corvane.sn", cb_corvane_simple_set6, "system.info.serial_number", nullptr},
    {"corvane.datemode", cb_corvane_datemode, "system.datetime.mode", nullptr},
    {"corvane.ntpmode", cb_corvane_simple_set6, "system.datetime.ntp.mode", nullptr},
    {"corvane.ntpserver_ip", cb_corvane_simple_set6, "system.datetime.ntp.manual.address", nullptr},
    {"corvane.timezone", cb_corvane_simple_set6, "system.datetime.time_zone", nullptr},
    {"corvane.displayorder", cb_corvane_simple_set6, "slave.display_order", nullptr},
    {"corvane.snmp_tpmode", cb_corvane_simple_set6, "network.snmp.trap.mode", nullptr},
    {"corvane.snmp_tphb", cb_corvane_simple_set6, "network.snmp.trap.heartbeat", nullptr},
    {"corvane.linklocal_address", nullptr, "network.status.ipv6.linklocal_address", nullptr},
    {"corvane.dhcp_ip", cb_corvane_simple_set6, "network.status.ipv4.ip_from_dhcp", nullptr},
    {"corvane.sync_daynight", cb_corvane_sync_awb_dn_ae, "image.global.sync_daynight", nullptr},
    {"corvane.sync_awb", cb_corvane_sync_awb_dn_ae, "image.global.sync_awb", nullptr},
    {"corvane.sync_ae", cb_corvane_sync_awb_dn_ae, "image.global.sync_ae", nullptr},
    {"corvane.gateway", cb_corvane_gateway, "network.ipv4.gateway", nullptr},
    {"corvane.netopt", cb_corvane_netopt, "network.ipv4.mode", n2a_netopt_converter},
    {"corvane.en_multicast", cb_corvane_en_multicast, "network.rtsp.stream1.enable_multicast", n2a_en_multicast_converter},
    {"corvane.en_multicast2", cb_corvane_en_multicast, "network.rtsp.stream2.enable_multicast", n2a_en_multicast_converter},
    {"corvane.en_multicast3", cb_corvane_en_multicast, "network.rtsp.stream3.enable_multicast", n2a_en_multicast_converter},
    {"corvane.ipv6address", cb_corvane_ipv6address, "network.ipv6.address", nullptr},
    {"corvane.ipv6prefixlen", cb_corvane_ipv6prefixlen, "network.ipv6.address_prefixlength", nullptr},
    {"corvane.qos_default", cb_corvane_qos_default_video, "network.qos.dscp_management", nullptr},
    {"corvane.qos_video", cb_corvane_qos_default_video, "network.qos.dscp_video", nullptr},
    {"corvane.qos_enabled", cb_corvane_qos_enable, "network.qos.enable", n2a_qos_enable_converter},
    {"corvane.qos_default", cb_corvane_qos_default_video, "network.qos.dscp_management", nullptr},
    {"corvane.qos_video", cb_corvane_qos_default_video, "network.qos.dscp_video", nullptr},
    {"corvane.subnetmask", cb_corvane_subnetmask, "network.ipv4.mask", nullptr},
    {"corvane.webserverport", cb_corvane_webserverport, "network.http_port_2", nullptr},
    {"corvane.webserverport2", cb_corvane_webserverport, "network.http_port", nullptr},
    {"corvane.cam%d.multicast_url", cb_corvane_rtpport, "network.rtsp.cam%d.stream1.multicast.url", nullptr},
    {"corvane.cam%d.multicast_url2", cb_corvane_rtpport, "network.rtsp.cam%d.stream2.multicast.url", nullptr},
    {"corvane.cam%d.multicast_url3", cb_corvane_rtpport, "network.rtsp.cam%d.stream3.multicast.url", nullptr},
    {"corvane.cam%d.streamip", cb_corvane_rtpport, "network.rtsp.cam%d.stream1.multicast.address_video", nullptr},
    {"corvane.cam%d.streamip2", cb_corvane_rtpport, "network.rtsp.cam%d.stream2.multicast.address_video", nullptr},
    {"corvane.cam%d.streamip3", cb_corvane_rtpport, "network.rtsp.cam%d.stream3.multicast.address_video", nullptr},
    {"corvane.cam%d.multicast_audioaddr", cb_corvane_rtpport, "network.rtsp.cam%d.stream1.multicast.address_audio", nullptr},
    {"corvane.cam%d.multicast_audioaddr2", cb_corvane_rtpport, "network.rtsp.cam%d.stream2.multicast.address_audio", nullptr},
    {"corvane.cam%d.multicast_audioaddr3", cb_corvane_rtpport, "network.rtsp.cam%d.stream3.multicast.address_audio", nullptr},
    {"corvane.cam%d.multicast_metadataaddr", cb_corvane_rtpport, "network.rtsp.cam%d.stream1.multicast.address_metadata", nullptr},
    {"corvane.cam%d.multicast_metadataaddr2", cb_corvane_rtpport, "network.rtsp.cam%d.stream2.multicast.address_metadata", nullptr},
    {"corvane.cam%d.multicast_metadataaddr3", cb_corvane_rtpport, "network.rtsp.cam%d.stream3.multicast.address_metadata", nullptr},
    {"corvane.cam%d.multicast_ttl", cb_corvane_rtpport, "network.rtsp.cam%d.stream1.multicast.ttl", nullptr},
    {"corvane.cam%d.multicast_ttl2", cb_corvane_rtpport, "network.rtsp.cam%d.stream2.multicast.ttl", nullptr},
    {"corvane.cam%d.multicast_ttl3", cb_corvane_rtpport, "network.rtsp.cam%d.stream3.multicast.ttl", nullptr},
    {"corvane.cam%d.rtpport", cb_corvane_rtpport, "network.rtsp.cam%d.stream1.multicast.port_video", nullptr},
    {"corvane.cam%d.rtpport2", cb_corvane_rtpport, "network.rtsp.cam%d.stream2.multicast.port_video", nullptr},
    {"corvane.cam%d.rtpport3", cb_corvane_rtpport, "network.rtsp.cam%d.stream3.multicast.port_video", nullptr},
    {"corvane.cam%d.multicast_audioport", cb_corvane_rtpport, "network.rtsp.cam%d.stream1.multicast.port_audio", nullptr},
    {"corvane.cam%d.multicast_audioport2", cb_corvane_rtpport, "network.rtsp.cam%d.stream2.multicast.port_audio", nullptr},
    {"corvane.cam%d.multicast_audioport3", cb_corvane_rtpport, "network.rtsp.cam%d.stream3.multicast.port_audio", nullptr},
    {"corvane.cam%d.multicast_metadataport", cb_corvane_rtpport, "network.rtsp.cam%d.stream1.multicast.port_metadata", nullptr},
    {"corvane.cam%d.multicast_metadataport2", cb_corvane_rtpport, "network.rtsp.cam%d.stream2.multicast.port_metadata", nullptr},
    {"corvane.cam%d.multicast_metadataport3", cb_corvane_rtpport, "network.rtsp.cam%d.stream3.multicast.port_metadata", nullptr},
    {"corvane.multicast_ttl", cb_corvane_rtpport, "network.rtsp.stream1.multicast.ttl", nullptr},
    {"corvane.multicast_ttl2", cb_corvane_rtpport, "network.rtsp.stream2.multicast.ttl", nullptr},
    {"corvane.multicast_ttl3", cb_corvane_rtpport, "network.rtsp.stream3.multicast.ttl", nullptr},
    {"corvane.rtspport", cb_corvane_rtspport, "network.rtsp.port", nullptr},
    {"corvane.liveipv4", cb_corvane_liveipv4, "network.status.ipv4.live_ip", nullptr},
    {"corvane.ipv4mode", cb_corvane_ipv4mode, "network.ipv4.mode", nullptr},
    {"corvane.livemsk", cb_corvane_simple_set, "network.status.ipv4.live_mask", nullptr},
    {"corvane.livegw", cb_corvane_simple_set, "network.status.ipv4.live_gateway", nullptr},
    {"corvane.livedns1", cb_corvane_simple_set, "network.status.ipv4.live_dns1", nullptr},
    {"corvane.livedns2", cb_corvane_simple_set, "network.status.ipv4.live_dns2", nullptr},
    {"corvane.dns1", cb_corvane_simple_set, "network.ipv4.primary_dns", nullptr},
    {"corvane.dns2", cb_corvane_simple_set, "network.ipv4.secondary_dns", nullptr},
    {"corvane.httpsport", cb_corvane_simple_set, "network.https.port", nullptr},
    {"corvane.ipv6dfroute", cb_corvane_simple_set, "network.ipv6.default_route", nullptr},
    {"corvane.ipv6routeradts", cb_corvane_simple_set, "network.ipv6.router_advertisement", nullptr},
    {"corvane.ipv6dns", cb_corvane_simple_set, "network.ipv6.dns", nullptr},
    {"corvane.en_upnp", cb_corvane_simple_set, "network.upnp.enable", nullptr},
    {"corvane.en_unicast1", cb_corvane_simple_set, "network.rtsp.stream1.enable_unicast", nullptr},
    {"corvane.en_unicast2", cb_corvane_simple_set, "network.rtsp.stream2.enable_unicast", nullptr},
    {"corvane.en_unicast3", cb_corvane_simple_set, "network.rtsp.stream3.enable_unicast", nullptr},
    {"corvane.en_metadata1", cb_corvane_simple_set, "network.rtsp.stream1.metadata", nullptr},
    {"corvane.en_metadata2", cb_corvane_simple_set, "network.rtsp.stream2.metadata", nullptr},
    {"corvane.en_metadata3", cb_corvane_simple_set, "network.rtsp.stream3.metadata", nullptr},
    {"corvane.alwaysmulticast", cb_corvane_simple_set, "network.rtsp.stream1.multicast.multicast_auto_start_video", nullptr},
    {"corvane.alwaysmulticast2", cb_corvane_simple_set, "network.rtsp.stream2.multicast.multicast_auto_start_video", nullptr},
    {"corvane.alwaysmulticast3", cb_corvane_simple_set, "network.rtsp.stream3.multicast.multicast_auto_start_video", nullptr},
    {"corvane.rtspurl1", cb_corvane_simple_set, "network.rtsp.stream1.url", nullptr},
    {"corvane.rtspurl2", cb_corvane_simple_set, "network.rtsp.stream2.url", nullptr},
    {"corvane.rtspurl3", cb_corvane_simple_set, "network.rtsp.stream3.url", nullptr},
    {"corvane.multicast_audioaddr", cb_corvane_simple_set, "network.rtsp.stream1.multicast.address_audio", nullptr},
    {"corvane.multicast_audioaddr2", cb_corvane_simple_set, "network.rtsp.stream2.multicast.address_audio", nullptr},
    {"corvane.multicast_audioaddr3", cb_corvane_simple_set, "network.rtsp.stream3.multicast.address_audio", nullptr},
    {"corvane.multicast_metadataaddr", cb_corvane_simple_set, "network.rtsp.stream1.multicast.address_metadata", nullptr},
    {"corvane.multicast_metadataaddr2", cb_corvane_simple_set, "network.rtsp.stream2.multicast.address_metadata", nullptr},
    {"corvane.multicast_metadataaddr3", cb_corvane_simple_set, "network.rtsp.stream3.multicast.address_metadata", nullptr},
    {"corvane.en_ddns", cb_corvane_simple_set, "network.ddns.enable", nullptr},
    {"corvane.ddns_name", cb_corvane_simple_set, "network.ddns.username", nullptr},
    {"corvane.ddns_pwd", cb_corvane_simple_set, "network.ddns.password", nullptr, secret},
    {"corvane.ddns_host", cb_corvane_simple_set, "network.ddns.hostname", nullptr},
    {"corvane.ddns_type", cb_corvane_simple_set, "network.ddns.ddns_type", nullptr},
    {"corvane.en_snmpv2c", cb_corvane_en_snmpv2c, "network.snmp.v1v2c.v2c.enable", nullptr},
    {"corvane.snmp_community", cb_corvane_simple_set1, "network.snmp.v1v2c.readcommunity", nullptr, secret},
    {"corvane.snmp_private", cb_corvane_simple_set1, "network.snmp.v1v2c.writecommunity", nullptr, secret},
    {"corvane.snmp_trap", cb_corvane_simple_set1, "network.snmp.v1v2c.trapcommunity", nullptr, secret},
    {"corvane.en_snmpv3", cb_corvane_en_snmpv3, "network.snmp.v3.enable", nullptr},
    {"corvane.snmpv3_name", cb_corvane_simple_set1, "network.snmp.v3.username", nullptr},
    {"corvane.snmpv3_mode", cb_corvane_simple_set1, "network.snmp.v3.authmode", nullptr},
    {"corvane.snmpv3_pwd", cb_corvane_simple_set1, "network.snmp.v3.authpwd", nullptr, secret},
    {"corvane.snmpv3_private", cb_corvane_simple_set1, "network.snmp.v3.privatemode", nullptr},
    {"corvane.snmpv3_privatepwd", cb_corvane_simple_set1, "network.snmp.v3.privatepwd", nullptr, secret},
    {"corvane.snmp_trapaddr", cb_corvane_simple_set1, "network.snmp.trap.address", nullptr},
    {"corvane.webport", cb_corvane_simple_set1, "network.webserver", nullptr},
    {"corvane.httpsmethod", cb_corvane_simple_set1, "network.https.ssl.run_method", nullptr},
    {"corvane.en_ftp", cb_corvane_simple_set1, "network.ftpserver.enable", nullptr},
    {"corvane.ftpsvr_name", cb_corvane_simple_set1, "network.ftpserver.username", nullptr},
    {"corvane.ftpsvr_pwd", cb_corvane_simple_set1, "network.ftpserver.password", nullptr, secret},
    {"corvane.ftpsvr_connect", cb_corvane_simple_set1, "network.ftpserver.max_connect", nullptr},
    {"corvane.ldap_prot", cb_corvane_simple_set1, "network.ieee8021x.protocol", nullptr},
    {"corvane.ldap_md5name", cb_corvane_simple_set1, "network.ieee8021x.eap-md5.username", nullptr},
    {"corvane.ldap_md5pwd", cb_corvane_simple_set1, "network.ieee8021x.eap-md5.password", nullptr, secret},
    {"corvane.ldap_md5", nullptr, "network.ieee8021x.eap-md5.status", nullptr},
    {"corvane.ldap_tlsname", cb_corvane_simple_set1, "network.ieee8021x.eap-tls.username", nullptr},
    {"corvane.ldap_tlspwd", cb_corvane_simple_set1, "network.ieee8021x.eap-tls.password", nullptr, secret},
    {"corvane.ldap_tlskey", cb_corvane_simple_set1, "network.ieee8021x.eap-tls.key_pass", nullptr, secret},
    {"corvane.ldap_tlsocsp", nullptr, "network.ieee8021x.eap-tls.ocsp_status", nullptr},
    {"corvane.ldap_ttlsname", cb_corvane_simple_set1, "network.ieee8021x.eap-ttls.username", nullptr},
    {"corvane.ldap_ttlspwd", cb_corvane_simple_set1, "network.ieee8021x.eap-ttls.password", nullptr, secret},
    {"corvane.ldap_ttlsauth", cb_corvane_simple_set1, "network.ieee8021x.eap-ttls.auth", nullptr},
    {"corvane.ldap_ttlsanonymous", cb_corvane_simple_set1, "network.ieee8021x.eap-ttls.anonymous_id", nullptr},
    {"corvane.ldap_peapname", cb_corvane_simple_set1, "network.ieee8021x.eap-peap.username", nullptr},
    {"corvane.ldap_peappwd", cb_corvane_simple_set1, "network.ieee8021x.eap-peap.password", nullptr, secret},
    {"corvane.ldap_peap", nullptr, "network.ieee8021x.eap-peap.status", nullptr},
    {"corvane.ldap_peapca", cb_corvane_simple_set1, "network.ieee8021x.eap-peap.ca_status", nullptr},
    {"corvane.ldap_tls", nullptr, "network.ieee8021x.eap-tls.status", nullptr},
    {"corvane.ldap_tlsca", cb_corvane_simple_set1, "network.ieee8021x.eap-tls.ca_status", nullptr},
    {"corvane.ldap_tlscc", cb_corvane_simple_set1, "network.ieee8021x.eap-tls.cc_status", nullptr},
    {"corvane.ldap_tlspk", cb_corvane_simple_set1, "network.ieee8021x.eap-tls.pk_status", nullptr},
    {"corvane.ldap_ttls", nullptr, "network.ieee8021x.eap-ttls.status", nullptr},
    {"corvane.ldap_ttlsca", cb_corvane_simple_set1, "network.ieee8021x.eap-ttls.ca_status", nullptr},
    {"corvane.multicast_url", cb_corvane_url_streamip, "network.rtsp.stream1.multicast.url", nullptr},
    {"corvane.multicast_url2", cb_corvane_url_streamip, "network.rtsp.stream2.multicast.url", nullptr},
    {"corvane.multicast_url3", cb_corvane_url_streamip, "network.rtsp.stream3.multicast.url", nullptr},
    {"corvane.streamip", cb_corvane_url_streamip, "network.rtsp.stream1.multicast.address_video", nullptr},
    {"corvane.streamip2", cb_corvane_url_streamip, "network.rtsp.stream2.multicast.address_video", nullptr},
    {"corvane.streamip3", cb_corvane_url_streamip, "network.rtsp.stream3.multicast.address_video", nullptr},
    {"corvane.ipv6enabled", cb_corvane_ipv6enabled, "network.ipv6.enable", n2a_ipv6enable_converter},
    {"corvane.sd_format", cb_corvane_simple_set2, "system.sd.do_format", nullptr},
    {"corvane.sd_recordtype", cb_corvane_simple_set2, "event.active.sd_record.record_type", nullptr},
    {"corvane.sd_overwrite", cb_corvane_simple_set2, "event.active.sd_record.overwrite", nullptr},
    {"corvane.cam%d.sei", cb_corvane_sei, "encode.cam%d.stream1.sei", nullptr},
    {"corvane.cam%d.sei2", cb_corvane_sei, "encode.cam%d.stream2.sei", nullptr},
    {"corvane.cam%d.sei3", cb_corvane_sei, "encode.cam%d.stream3.sei", nullptr},
    {"corvane.ptzstatus", cb_ptzstatus, nullptr, nullptr},
};

constexpr NodeBinding smtp_rows[] = {
    {"corvane.en_smtpmail%d", cb_corvane_smtp_mail, "event.active.smtp.mail_to_%d.enable", nullptr},
    {"corvane.smtp_alm_mail%d", cb_corvane_smtp_mail, "event.active.smtp.mail_to_%d.on_alarm1", nullptr},
    {"corvane.smtp_md_mail%d", cb_corvane_smtp_mail, "event.active.smtp.mail_to_%d.on_motion", nullptr},
    {"corvane.smtp_od_mail%d", cb_corvane_smtp_mail, "event.active.smtp.mail_to_%d.on_sabotage", nullptr},
    {"corvane.smtp_recmail%d", cb_corvane_smtp_mail, "event.active.smtp.mail_to_%d.receiver_email", nullptr},
};

constexpr NodeBinding user_rows[] = {
    {"corvane.user%did", cb_corvane_account_users, "account.user.id.%d", nullptr},
    {"corvane.user%dpwd", cb_corvane_account_users, "account.user.password.%d", nullptr, secret},
    {"corvane.user%dlevel", cb_corvane_account_users, "account.user.level.%d", nullptr},
};

constexpr std::span<const NodeBinding> binding_table = binding_rows;
constexpr std::span<const NodeBinding> smtp_table = smtp_rows;
constexpr std::span<const NodeBinding> user_table = user_rows;

// The start-up summary reports the legacy device's record count, which
// clients compare; a row added or dropped changes what they see.
static_assert(std::size(binding_rows) == 538, "the legacy interface's 538 records");
// The sanitizers make function addresses non-constant.
#ifndef CORVANE_SANITIZED
static_assert(count_rows(binding_rows, [](const NodeBinding &row) {
                  return row.converter != nullptr && row.native_name == nullptr;
              }) == 0,
              "every converted row names its native node");
#endif
static_assert(count_rows(binding_rows, [](const NodeBinding &row) { return holds(row.legacy_name, "corvane."); }) ==
                  std::size(binding_rows),
              "every legacy name lies below corvane.");
static_assert(count_rows(smtp_rows, [](const NodeBinding &row) { return holds(row.legacy_name, "mail%d"); }) ==
                  std::size(smtp_rows),
              "every SMTP row is per recipient");
static_assert(sizeof(void *) != 4 || sizeof(NodeBinding) == kDeviceRecordBytes + 4,
              "the legacy record's four words and the secret mark on the device");

namespace {

// The legacy and native name patterns of the rows marked secret, gathered
// from the three tables at build time, with their fixed parts measured.
struct SecretPattern {
    const char *text;
    size_t head;   // characters before the "%d", or the whole length
    size_t tail;   // characters after it
    bool numbered;
};

constexpr SecretPattern measured(const char *pattern)
{
    std::string_view text(pattern);
    size_t at = text.find("%d");
    if (at == std::string_view::npos)
        return {pattern, text.size(), 0, false};
    return {pattern, at, text.size() - at - 2, true};
}

constexpr size_t count_secret_patterns()
{
    auto in = [](const auto &table) {
        size_t count = 0;
        for (const NodeBinding &row : table)
            count += row.secret ? 1 + (row.native_name ? 1 : 0) : 0;
        return count;
    };
    return in(binding_rows) + in(smtp_rows) + in(user_rows);
}

constexpr auto secret_patterns = [] {
    std::array<SecretPattern, count_secret_patterns()> patterns{};
    size_t next = 0;
    auto add = [&](const auto &table) {
        for (const NodeBinding &row : table) {
            if (!row.secret)
                continue;
            patterns[next++] = measured(row.legacy_name);
            if (row.native_name)
                patterns[next++] = measured(row.native_name);
        }
    };
    add(binding_rows);
    add(smtp_rows);
    add(user_rows);
    return patterns;
}();

// A longer name matches no pattern (a number has at most 11 characters).
constexpr size_t kLongestSecretName = [] {
    size_t longest = 0;
    for (const SecretPattern &pattern : secret_patterns)
        longest = std::max(longest, pattern.head + pattern.tail + (pattern.numbered ? 11 : 0));
    return longest;
}();

// A quick no for most names: bit n of kSecretEndings[b] is set when some
// secret name of length n ends in the byte b.
constexpr auto kSecretEndings = [] {
    std::array<uint64_t, 256> endings{};
    auto mark = [&](char last, size_t length) { endings[static_cast<unsigned char>(last)] |= uint64_t{1} << length; };
    for (const SecretPattern &pattern : secret_patterns) {
        if (!pattern.numbered) {
            mark(pattern.text[pattern.head - 1], pattern.head);
            continue;
        }
        for (size_t digits = 1; digits <= 11; ++digits) {
            size_t length = pattern.head + pattern.tail + digits;
            if (pattern.tail > 0)
                mark(pattern.text[pattern.head + 2 + pattern.tail - 1], length);
            else
                for (char digit = '0'; digit <= '9'; ++digit)
                    mark(digit, length);
        }
    }
    return endings;
}();
static_assert(kLongestSecretName < 64, "secret name lengths fit the endings' bits");

// "%d" as expand_pattern fills it: an optional minus and at least one digit.
bool number_text(const char *text, size_t length)
{
    size_t at = length > 0 && text[0] == '-' ? 1 : 0;
    if (at == length)
        return false;
    for (; at < length; ++at)
        if (text[at] < '0' || text[at] > '9')
            return false;
    return true;
}

bool matches(const SecretPattern &pattern, const char *name, size_t length)
{
    if (!pattern.numbered)
        return length == pattern.head && memcmp(name, pattern.text, length) == 0;
    if (length <= pattern.head + pattern.tail)
        return false;
    size_t number_length = length - pattern.head - pattern.tail;
    return memcmp(name, pattern.text, pattern.head) == 0 &&
           memcmp(name + length - pattern.tail, pattern.text + pattern.head + 2, pattern.tail) == 0 &&
           number_text(name + pattern.head, number_length);
}

} // namespace

bool secret_node(const char *name)
{
    size_t length = strnlen(name, kLongestSecretName + 1);
    if (length == 0 || length > kLongestSecretName ||
        !(kSecretEndings[static_cast<unsigned char>(name[length - 1])] >> length & 1))
        return false;
    for (const SecretPattern &pattern : secret_patterns)
        if (matches(pattern, name, length))
            return true;
    return false;
}
