// Every routine of the daemon by its name, for direct calls from a script
// and for naming handlers in the trace.
#include "sim/driver/routines.h"

#include <cstring>

#include "lens/lens_profile.h"

namespace {

const Routine routines[] = {
    {"cb_corvane_simple_set", RoutineKind::handler, {.handler = cb_corvane_simple_set}},
    {"cb_corvane_simple_set1", RoutineKind::handler, {.handler = cb_corvane_simple_set1}},
    {"cb_corvane_simple_set2", RoutineKind::handler, {.handler = cb_corvane_simple_set2}},
    {"cb_corvane_simple_set3", RoutineKind::handler, {.handler = cb_corvane_simple_set3}},
    {"cb_corvane_simple_set4", RoutineKind::handler, {.handler = cb_corvane_simple_set4}},
    {"cb_corvane_simple_set5", RoutineKind::handler, {.handler = cb_corvane_simple_set5}},
    {"cb_corvane_simple_set6", RoutineKind::handler, {.handler = cb_corvane_simple_set6}},
    {"cb_corvane_account_users", RoutineKind::handler, {.handler = cb_corvane_account_users}},
    {"cb_corvane_viewer", RoutineKind::handler, {.handler = cb_corvane_viewer}},
    {"cb_corvane_admin", RoutineKind::handler, {.handler = cb_corvane_admin}},
    {"cb_corvane_showorder", RoutineKind::handler, {.handler = cb_corvane_showorder}},
    {"cb_corvane_exposure_mode", RoutineKind::handler, {.handler = cb_corvane_exposure_mode}},
    {"cb_corvane_autoexp", RoutineKind::handler, {.handler = cb_corvane_autoexp}},
    {"cb_corvane_shortexposures", RoutineKind::handler, {.handler = cb_corvane_shortexposures}},
    {"cb_corvane_lowlight", RoutineKind::handler, {.handler = cb_corvane_lowlight}},
    {"cb_corvane_wdr", RoutineKind::handler, {.handler = cb_corvane_wdr}},
    {"cb_corvane_analoggain", RoutineKind::handler, {.handler = cb_corvane_analoggain}},
    {"cb_corvane_daygain", RoutineKind::handler, {.handler = cb_corvane_daygain}},
    {"cb_corvane_nightgain", RoutineKind::handler, {.handler = cb_corvane_nightgain}},
    {"cb_corvane_daynight", RoutineKind::handler, {.handler = cb_corvane_daynight}},
    {"cb_corvane_dn_hrmin", RoutineKind::handler, {.handler = cb_corvane_dn_hrmin}},
    {"cb_corvane_freq", RoutineKind::handler, {.handler = cb_corvane_freq}},
    {"cb_corvane_equalbright", RoutineKind::handler, {.handler = cb_corvane_equalbright}},
    {"cb_corvane_sync_awb_dn_ae", RoutineKind::handler, {.handler = cb_corvane_sync_awb_dn_ae}},
    {"cb_corvane_defog", RoutineKind::handler, {.handler = cb_corvane_defog}},
    {"cb_corvane_brightness", RoutineKind::handler, {.handler = cb_corvane_brightness}},
    {"cb_corvane_sharpness_gate", RoutineKind::handler, {.handler = cb_corvane_sharpness_gate}},
    {"cb_corvane_sharpness", RoutineKind::handler, {.handler = cb_corvane_sharpness}},
    {"cb_corvane_saturation", RoutineKind::handler, {.handler = cb_corvane_saturation}},
    {"cb_corvane_contrast_hue", RoutineKind::handler, {.handler = cb_corvane_contrast_hue}},
    {"cb_corvane_white_balance", RoutineKind::handler, {.handler = cb_corvane_white_balance}},
    {"cb_corvane_blue_red", RoutineKind::handler, {.handler = cb_corvane_blue_red}},
    {"cb_corvane_rotate", RoutineKind::handler, {.handler = cb_corvane_rotate}},
    {"cb_corvane_img_mirror", RoutineKind::handler, {.handler = cb_corvane_img_mirror}},
    {"cb_corvane_img_flip", RoutineKind::handler, {.handler = cb_corvane_img_flip}},
    {"cb_corvane_img_rotate", RoutineKind::handler, {.handler = cb_corvane_img_rotate}},
    {"cb_corvane_equalcolor", RoutineKind::handler, {.handler = cb_corvane_equalcolor}},
    {"cb_corvane_pmask_block", RoutineKind::handler, {.handler = cb_corvane_pmask_block}},
    {"cb_corvane_pmask_blrt", RoutineKind::handler, {.handler = cb_corvane_pmask_blrt}},
    {"cb_corvane_osd_all", RoutineKind::handler, {.handler = cb_corvane_osd_all}},
    {"cb_corvane_roi_lv_en", RoutineKind::handler, {.handler = cb_corvane_roi_lv_en}},
    {"cb_corvane_resolution", RoutineKind::handler, {.handler = cb_corvane_resolution}},
    {"cb_corvane_fps", RoutineKind::handler, {.handler = cb_corvane_fps}},
    {"cb_corvane_global_mode", RoutineKind::handler, {.handler = cb_corvane_global_mode}},
    {"cb_corvane_scaling", RoutineKind::handler, {.handler = cb_corvane_scaling}},
    {"cb_corvane_scaling_size", RoutineKind::handler, {.handler = cb_corvane_scaling_size}},
    {"cb_corvane_imgquality", RoutineKind::handler, {.handler = cb_corvane_imgquality}},
    {"cb_corvane_keyframe", RoutineKind::handler, {.handler = cb_corvane_keyframe}},
    {"cb_corvane_keyframeinterval", RoutineKind::handler, {.handler = cb_corvane_keyframeinterval}},
    {"cb_corvane_qp", RoutineKind::handler, {.handler = cb_corvane_qp}},
    {"cb_corvane_sei", RoutineKind::handler, {.handler = cb_corvane_sei}},
    {"cb_corvane_snapstream", RoutineKind::handler, {.handler = cb_corvane_snapstream}},
    {"cb_corvane_enc_stream", RoutineKind::handler, {.handler = cb_corvane_enc_stream}},
    {"cb_corvane_bitrate", RoutineKind::handler, {.handler = cb_corvane_bitrate}},
    {"cb_corvane_ratelimit", RoutineKind::handler, {.handler = cb_corvane_ratelimit}},
    {"cb_corvane_rlmode", RoutineKind::handler, {.handler = cb_corvane_rlmode}},
    {"cb_corvane_ip", RoutineKind::handler, {.handler = cb_corvane_ip}},
    {"cb_corvane_gateway", RoutineKind::handler, {.handler = cb_corvane_gateway}},
    {"cb_corvane_subnetmask", RoutineKind::handler, {.handler = cb_corvane_subnetmask}},
    {"cb_corvane_ipv6address", RoutineKind::handler, {.handler = cb_corvane_ipv6address}},
    {"cb_corvane_ipv6prefixlen", RoutineKind::handler, {.handler = cb_corvane_ipv6prefixlen}},
    {"cb_corvane_ntpserver_ip", RoutineKind::handler, {.handler = cb_corvane_ntpserver_ip}},
    {"cb_corvane_liveipv4", RoutineKind::handler, {.handler = cb_corvane_liveipv4}},
    {"cb_corvane_rtspport", RoutineKind::handler, {.handler = cb_corvane_rtspport}},
    {"cb_corvane_webserverport", RoutineKind::handler, {.handler = cb_corvane_webserverport}},
    {"cb_corvane_eth_negotiation", RoutineKind::handler, {.handler = cb_corvane_eth_negotiation}},
    {"cb_corvane_ipv4mode", RoutineKind::handler, {.handler = cb_corvane_ipv4mode}},
    {"cb_corvane_datemode", RoutineKind::handler, {.handler = cb_corvane_datemode}},
    {"cb_corvane_ipv6enabled", RoutineKind::handler, {.handler = cb_corvane_ipv6enabled}},
    {"cb_corvane_netopt", RoutineKind::handler, {.handler = cb_corvane_netopt}},
    {"cb_corvane_rtpport", RoutineKind::handler, {.handler = cb_corvane_rtpport}},
    {"cb_corvane_url_streamip", RoutineKind::handler, {.handler = cb_corvane_url_streamip}},
    {"cb_corvane_en_multicast", RoutineKind::handler, {.handler = cb_corvane_en_multicast}},
    {"cb_corvane_qos_default_video", RoutineKind::handler, {.handler = cb_corvane_qos_default_video}},
    {"cb_corvane_qos_enable", RoutineKind::handler, {.handler = cb_corvane_qos_enable}},
    {"cb_corvane_en_snmpv2c", RoutineKind::handler, {.handler = cb_corvane_en_snmpv2c}},
    {"cb_corvane_en_snmpv3", RoutineKind::handler, {.handler = cb_corvane_en_snmpv3}},
    {"cb_corvane_ssl_install_status", RoutineKind::handler, {.handler = cb_corvane_ssl_install_status}},
    {"cb_corvane_mdtotalzones", RoutineKind::handler, {.handler = cb_corvane_mdtotalzones}},
    {"cb_corvane_motiondetect", RoutineKind::handler, {.handler = cb_corvane_motiondetect}},
    {"cb_corvane_mdzonesize", RoutineKind::handler, {.handler = cb_corvane_mdzonesize}},
    {"cb_corvane_mdlevelthreshold", RoutineKind::handler, {.handler = cb_corvane_mdlevelthreshold}},
    {"cb_corvane_mddetail", RoutineKind::handler, {.handler = cb_corvane_mddetail}},
    {"cb_corvane_mdsensitivity", RoutineKind::handler, {.handler = cb_corvane_mdsensitivity}},
    {"cb_corvane_auxin_schedule", RoutineKind::handler, {.handler = cb_corvane_auxin_schedule}},
    {"cb_corvane_od_schedule", RoutineKind::handler, {.handler = cb_corvane_od_schedule}},
    {"cb_corvane_ftp_schedule", RoutineKind::handler, {.handler = cb_corvane_ftp_schedule}},
    {"cb_corvane_nfs_schedule", RoutineKind::handler, {.handler = cb_corvane_nfs_schedule}},
    {"cb_corvane_sd_func_gate", RoutineKind::handler, {.handler = cb_corvane_sd_func_gate}},
    {"cb_corvane_sd_func", RoutineKind::handler, {.handler = cb_corvane_sd_func}},
    {"cb_corvane_auxout", RoutineKind::handler, {.handler = cb_corvane_auxout}},
    {"cb_corvane_smtp_mail", RoutineKind::handler, {.handler = cb_corvane_smtp_mail}},
    {"cb_corvane_audinput", RoutineKind::handler, {.handler = cb_corvane_audinput}},
    {"cb_corvane_linein_volume", RoutineKind::handler, {.handler = cb_corvane_linein_volume}},
    {"cb_corvane_sd_codec", RoutineKind::handler, {.handler = cb_corvane_sd_codec}},
    {"cb_corvane_af_dn", RoutineKind::handler, {.handler = cb_corvane_af_dn}},
    {"cb_corvane_af_zoom", RoutineKind::handler, {.handler = cb_corvane_af_zoom}},
    {"cb_corvane_auxin", RoutineKind::handler, {.handler = cb_corvane_auxin}},
    {"cb_corvane_exp_ref_channel", RoutineKind::handler, {.handler = cb_corvane_exp_ref_channel}},
    {"cb_corvane_illum", RoutineKind::handler, {.handler = cb_corvane_illum}},
    {"cb_corvane_motion_compensation", RoutineKind::handler, {.handler = cb_corvane_motion_compensation}},
    {"cb_corvane_focus", RoutineKind::handler, {.handler = cb_corvane_focus}},
    {"cb_corvane_zoom", RoutineKind::handler, {.handler = cb_corvane_zoom}},
    {"cb_corvane_pan", RoutineKind::handler, {.handler = cb_corvane_pan}},
    {"cb_corvane_tilt", RoutineKind::handler, {.handler = cb_corvane_tilt}},
    {"cb_corvane_allfocus", RoutineKind::handler, {.handler = cb_corvane_allfocus}},
    {"cb_corvane_allzoom", RoutineKind::handler, {.handler = cb_corvane_allzoom}},
    {"cb_corvane_allpan", RoutineKind::handler, {.handler = cb_corvane_allpan}},
    {"cb_corvane_alltilt", RoutineKind::handler, {.handler = cb_corvane_alltilt}},
    {"cb_ptzstatus", RoutineKind::handler, {.handler = cb_ptzstatus}},
    {"cb_corvane_ptz_home", RoutineKind::handler, {.handler = cb_corvane_ptz_home}},
    {"do_new_pan", RoutineKind::handler, {.handler = do_new_pan}},
    {"do_old_pan", RoutineKind::handler, {.handler = do_old_pan}},
    {"n2a_brightness_converter", RoutineKind::converter, {.converter = n2a_brightness_converter}},
    {"n2a_sharpness_converter", RoutineKind::converter, {.converter = n2a_sharpness_converter}},
    {"n2a_saturation_converter", RoutineKind::converter, {.converter = n2a_saturation_converter}},
    {"n2a_blue_red_converter", RoutineKind::converter, {.converter = n2a_blue_red_converter}},
    {"n2a_imgquality_converter", RoutineKind::converter, {.converter = n2a_imgquality_converter}},
    {"n2a_ipv6enable_converter", RoutineKind::converter, {.converter = n2a_ipv6enable_converter}},
    {"n2a_pmask_blrt_converter", RoutineKind::converter, {.converter = n2a_pmask_blrt_converter}},
    {"n2a_sd_codec_converter", RoutineKind::converter, {.converter = n2a_sd_codec_converter}},
    {"n2a_shortexposures_converter", RoutineKind::converter, {.converter = n2a_shortexposures_converter}},
    {"n2a_white_balance_converter", RoutineKind::converter, {.converter = n2a_white_balance_converter}},
    {"n2a_defog_converter", RoutineKind::converter, {.converter = n2a_defog_converter}},
    {"n2a_wdr_converter", RoutineKind::converter, {.converter = n2a_wdr_converter}},
    {"n2a_qos_enable_converter", RoutineKind::converter, {.converter = n2a_qos_enable_converter}},
    {"n2a_smtgop_snpstrm_converter", RoutineKind::converter, {.converter = n2a_smtgop_snpstrm_converter}},
    {"n2a_auxin_converter", RoutineKind::converter, {.converter = n2a_auxin_converter}},
    {"n2a_autoexp_converter", RoutineKind::converter, {.converter = n2a_autoexp_converter}},
    {"n2a_lowlight_converter", RoutineKind::converter, {.converter = n2a_lowlight_converter}},
    {"n2a_rotate_converter", RoutineKind::converter, {.converter = n2a_rotate_converter}},
    {"n2a_mdtotalzones_converter", RoutineKind::converter, {.converter = n2a_mdtotalzones_converter}},
    {"n2a_mdzonesize_converter", RoutineKind::converter, {.converter = n2a_mdzonesize_converter}},
    {"n2a_mdsensitivity_converter", RoutineKind::converter, {.converter = n2a_mdsensitivity_converter}},
    {"n2a_netopt_converter", RoutineKind::converter, {.converter = n2a_netopt_converter}},
    {"n2a_en_multicast_converter", RoutineKind::converter, {.converter = n2a_en_multicast_converter}},
    {"n2a_daynight_converter", RoutineKind::converter, {.converter = n2a_daynight_converter}},
    {"n2a_bitrate_converter", RoutineKind::converter, {.converter = n2a_bitrate_converter}},
    {"n2a_ratelimit_converter", RoutineKind::converter, {.converter = n2a_ratelimit_converter}},
    {"n2a_roi_lv_en_converter", RoutineKind::converter, {.converter = n2a_roi_lv_en_converter}},
    {"n2a_imgres_converter", RoutineKind::converter, {.converter = n2a_imgres_converter}},
    {"n2a_copy_converter", RoutineKind::converter, {.converter = n2a_copy_converter}},
    {"ptztohome", RoutineKind::plain, {.plain = ptztohome}},
    {"ptz2NewHome", RoutineKind::plain, {.plain = ptz2NewHome}},
    {"ptzto360", RoutineKind::plain, {.plain = ptzto360}},
    {"ptzto270", RoutineKind::plain, {.plain = ptzto270}},
    {"ptzto180", RoutineKind::plain, {.plain = ptzto180}},
    {"doAFocusAll", RoutineKind::plain, {.plain = doAFocusAll}},
    {"findFocusMaximum", RoutineKind::one_number, {.one_number = findFocusMaximum}},
    {"cb_corvane_ptz_preset", RoutineKind::two_numbers, {.two_numbers = cb_corvane_ptz_preset}},
    {"getMaxFps", RoutineKind::max_fps, {.max_fps = getMaxFps}},
    {"CorvChkStrm12Res2LimitStrm3Qual", RoutineKind::one_number, {.one_number = CorvChkStrm12Res2LimitStrm3Qual}},
    {"getRangeMin", RoutineKind::range, {.range = getRangeMin}},
    {"getRangeMax", RoutineKind::range, {.range = getRangeMax}},
    {"getLensTypeIndex", RoutineKind::range, {.range = getLensTypeIndex}},
    {"cb_corvane_nodes_sync", RoutineKind::sync, {.sync = cb_corvane_nodes_sync}},
};

} // namespace

const Routine *find_routine(const std::string &name)
{
    for (const Routine &routine : routines)
        if (name == routine.name)
            return &routine;
    return nullptr;
}

const void *Routine::address() const
{
    switch (kind) {
    case RoutineKind::handler: return reinterpret_cast<const void *>(handler);
    case RoutineKind::converter: return reinterpret_cast<const void *>(converter);
    case RoutineKind::plain: return reinterpret_cast<const void *>(plain);
    case RoutineKind::two_numbers: return reinterpret_cast<const void *>(two_numbers);
    case RoutineKind::one_number: return reinterpret_cast<const void *>(one_number);
    case RoutineKind::max_fps: return reinterpret_cast<const void *>(max_fps);
    case RoutineKind::range: return reinterpret_cast<const void *>(range);
    case RoutineKind::sync: return reinterpret_cast<const void *>(sync);
    }
    return nullptr;
}

std::string name_of_routine(const void *address)
{
    for (const Routine &routine : routines)
        if (routine.address() == address)
            return routine.name;
    return "?";
}
