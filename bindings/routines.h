// Every routine of the daemon that the bus, the start-up or the PTZ
// dialogue can reach, grouped by the file that carries it.
#ifndef BINDINGS_ROUTINES_H
#define BINDINGS_ROUTINES_H

#include <cstdint>

// Handler: legacy node name and new value, both text; no result.
using Handler = void (*)(const char *name, const char *value);
// Converter: legacy and native name, already expanded for the camera.
using Converter = void (*)(const char *legacy_name, const char *native_name);

#define HANDLER(routine) void routine([[maybe_unused]] const char *name, [[maybe_unused]] const char *value)
#define CONVERTER(routine) \
    void routine([[maybe_unused]] const char *legacy_name, [[maybe_unused]] const char *native_name)

// bindings/sync.cpp
void cb_corvane_nodes_sync(char *name_buffer, char *value_buffer, int size);

// bindings/converters.cpp
CONVERTER(n2a_brightness_converter);
CONVERTER(n2a_sharpness_converter);
CONVERTER(n2a_saturation_converter);
CONVERTER(n2a_blue_red_converter);
CONVERTER(n2a_imgquality_converter);
CONVERTER(n2a_ipv6enable_converter);
CONVERTER(n2a_pmask_blrt_converter);
CONVERTER(n2a_sd_codec_converter);
CONVERTER(n2a_shortexposures_converter);
CONVERTER(n2a_white_balance_converter);
CONVERTER(n2a_defog_converter);
CONVERTER(n2a_wdr_converter);
CONVERTER(n2a_qos_enable_converter);
CONVERTER(n2a_smtgop_snpstrm_converter);
CONVERTER(n2a_auxin_converter);
CONVERTER(n2a_autoexp_converter);
CONVERTER(n2a_lowlight_converter);
CONVERTER(n2a_rotate_converter);
CONVERTER(n2a_mdtotalzones_converter);
CONVERTER(n2a_mdzonesize_converter);
CONVERTER(n2a_mdsensitivity_converter);
CONVERTER(n2a_netopt_converter);
CONVERTER(n2a_en_multicast_converter);
CONVERTER(n2a_daynight_converter);
CONVERTER(n2a_bitrate_converter);
CONVERTER(n2a_ratelimit_converter);
CONVERTER(n2a_roi_lv_en_converter);
CONVERTER(n2a_imgres_converter);
CONVERTER(n2a_copy_converter);

// handlers/generic/simple_set.cpp
HANDLER(cb_corvane_simple_set);
// handlers/generic/simple_set_variants.cpp
HANDLER(cb_corvane_simple_set1);
HANDLER(cb_corvane_simple_set2);
HANDLER(cb_corvane_simple_set3);
HANDLER(cb_corvane_simple_set4);
HANDLER(cb_corvane_simple_set5);
HANDLER(cb_corvane_simple_set6);
// handlers/generic/accounts.cpp
HANDLER(cb_corvane_account_users);
HANDLER(cb_corvane_viewer);
HANDLER(cb_corvane_admin);
HANDLER(cb_corvane_showorder);

// handlers/image/exposure.cpp
HANDLER(cb_corvane_exposure_mode);
HANDLER(cb_corvane_autoexp);
HANDLER(cb_corvane_shortexposures);
HANDLER(cb_corvane_lowlight);
HANDLER(cb_corvane_wdr);
HANDLER(cb_corvane_analoggain);
HANDLER(cb_corvane_daygain);
HANDLER(cb_corvane_nightgain);
HANDLER(cb_corvane_daynight);
HANDLER(cb_corvane_dn_hrmin);
HANDLER(cb_corvane_freq);
HANDLER(cb_corvane_equalbright);
HANDLER(cb_corvane_sync_awb_dn_ae);
HANDLER(cb_corvane_defog);
// handlers/image/colour.cpp
HANDLER(cb_corvane_brightness);
HANDLER(cb_corvane_sharpness_gate);   // bound: tests ready, then calls the worker
HANDLER(cb_corvane_sharpness);
HANDLER(cb_corvane_saturation);
HANDLER(cb_corvane_contrast_hue);
HANDLER(cb_corvane_white_balance);
HANDLER(cb_corvane_blue_red);
HANDLER(cb_corvane_rotate);
HANDLER(cb_corvane_img_mirror);
HANDLER(cb_corvane_img_flip);
HANDLER(cb_corvane_img_rotate);
HANDLER(cb_corvane_equalcolor);       // bound to no node
// handlers/image/masks.cpp
HANDLER(cb_corvane_pmask_block);
HANDLER(cb_corvane_pmask_blrt);
HANDLER(cb_corvane_osd_all);
HANDLER(cb_corvane_roi_lv_en);

// handlers/encoder/resolution.cpp
HANDLER(cb_corvane_resolution);
HANDLER(cb_corvane_fps);
int getMaxFps(int *max_fps, int channel, int stream_id);
void CorvChkStrm12Res2LimitStrm3Qual(int cam);
HANDLER(cb_corvane_global_mode);      // bound to no node
HANDLER(cb_corvane_scaling);          // bound to no node
HANDLER(cb_corvane_scaling_size);     // bound to no node
// handlers/encoder/streams.cpp
HANDLER(cb_corvane_imgquality);
HANDLER(cb_corvane_keyframe);
HANDLER(cb_corvane_keyframeinterval);
HANDLER(cb_corvane_qp);
HANDLER(cb_corvane_sei);
HANDLER(cb_corvane_snapstream);
HANDLER(cb_corvane_enc_stream);
HANDLER(cb_corvane_bitrate);
HANDLER(cb_corvane_ratelimit);
HANDLER(cb_corvane_rlmode);
int getRangeMin(const char *range);
int getRangeMax(const char *range);

// handlers/network/addressing.cpp
HANDLER(cb_corvane_ip);
HANDLER(cb_corvane_gateway);
HANDLER(cb_corvane_subnetmask);
HANDLER(cb_corvane_ipv6address);
HANDLER(cb_corvane_ipv6prefixlen);
HANDLER(cb_corvane_ntpserver_ip);
HANDLER(cb_corvane_liveipv4);
HANDLER(cb_corvane_rtspport);
HANDLER(cb_corvane_webserverport);
HANDLER(cb_corvane_eth_negotiation); // bound to no node
HANDLER(cb_corvane_ipv4mode);
HANDLER(cb_corvane_datemode);
HANDLER(cb_corvane_ipv6enabled);
HANDLER(cb_corvane_netopt);
// handlers/network/streaming.cpp
HANDLER(cb_corvane_rtpport);
HANDLER(cb_corvane_url_streamip);
HANDLER(cb_corvane_en_multicast);
HANDLER(cb_corvane_qos_default_video);
HANDLER(cb_corvane_qos_enable);
// handlers/network/management.cpp
HANDLER(cb_corvane_en_snmpv2c);
HANDLER(cb_corvane_en_snmpv3);
HANDLER(cb_corvane_ssl_install_status);

// handlers/events/motion.cpp
HANDLER(cb_corvane_mdtotalzones);
HANDLER(cb_corvane_motiondetect);
HANDLER(cb_corvane_mdzonesize);
HANDLER(cb_corvane_mdlevelthreshold);
HANDLER(cb_corvane_mddetail);
HANDLER(cb_corvane_mdsensitivity);
// handlers/events/schedules.cpp
HANDLER(cb_corvane_auxin_schedule);
HANDLER(cb_corvane_od_schedule);
HANDLER(cb_corvane_ftp_schedule);
HANDLER(cb_corvane_nfs_schedule);
// handlers/events/actions.cpp
HANDLER(cb_corvane_sd_func_gate);     // bound: tests ready, then calls the worker
HANDLER(cb_corvane_sd_func);
HANDLER(cb_corvane_auxout);
HANDLER(cb_corvane_smtp_mail);
HANDLER(cb_corvane_audinput);
HANDLER(cb_corvane_linein_volume);
HANDLER(cb_corvane_sd_codec);
HANDLER(cb_corvane_af_dn);
HANDLER(cb_corvane_af_zoom);
HANDLER(cb_corvane_auxin);
HANDLER(cb_corvane_exp_ref_channel);
HANDLER(cb_corvane_illum);
HANDLER(cb_corvane_motion_compensation);

// lens/lens_commands.cpp
HANDLER(cb_corvane_focus);
HANDLER(cb_corvane_zoom);
HANDLER(cb_corvane_pan);
HANDLER(cb_corvane_tilt);
HANDLER(cb_corvane_allfocus);
HANDLER(cb_corvane_allzoom);
HANDLER(cb_corvane_allpan);
HANDLER(cb_corvane_alltilt);
// lens/ptz.cpp
HANDLER(cb_ptzstatus);
HANDLER(cb_corvane_ptz_home);         // bound to no node
void cb_corvane_ptz_preset(int preset, int mode);
// lens/home.cpp
void ptztohome();
void ptz2NewHome();
// lens/layouts.cpp
void ptzto360();
void ptzto270();
void ptzto180();
HANDLER(do_new_pan);                  // bound to no node
HANDLER(do_old_pan);                  // bound to no node
// lens/autofocus.cpp
void doAFocusAll();
void findFocusMaximum(int cam);

#endif
