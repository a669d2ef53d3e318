// One handler family against the running daemon. An input is either
//   NAME \n VALUE: a client write of the family's registered legacy node
//     at or after NAME in name order (wrapping), VALUE being the rest; or
//   \x01 R NAME \n VALUE: a direct call of the family's routine picked by
//     the byte R with that arbitrary name and value, as if the bus had
//     delivered it (routines bound to no node are reached only so).
// Built once per family; CORVANE_FUZZ_FAMILY names it.
#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "bindings/routines.h"
#include "sim/platform/sim.h"
#include "tests/fuzz/fuzz_daemon.h"

namespace {

struct Family {
    const char *name;
    std::vector<Handler> routines;
};

const Family families[] = {
    {"generic",
     {cb_corvane_simple_set, cb_corvane_simple_set1, cb_corvane_simple_set2, cb_corvane_simple_set3,
      cb_corvane_simple_set4, cb_corvane_simple_set5, cb_corvane_simple_set6, cb_corvane_account_users,
      cb_corvane_viewer, cb_corvane_admin, cb_corvane_showorder}},
    {"image",
     {cb_corvane_exposure_mode, cb_corvane_autoexp, cb_corvane_shortexposures, cb_corvane_lowlight, cb_corvane_wdr,
      cb_corvane_analoggain, cb_corvane_daygain, cb_corvane_nightgain, cb_corvane_daynight, cb_corvane_dn_hrmin,
      cb_corvane_freq, cb_corvane_equalbright, cb_corvane_sync_awb_dn_ae, cb_corvane_defog, cb_corvane_brightness,
      cb_corvane_sharpness_gate, cb_corvane_saturation, cb_corvane_contrast_hue, cb_corvane_white_balance,
      cb_corvane_blue_red, cb_corvane_rotate, cb_corvane_img_mirror, cb_corvane_img_flip, cb_corvane_img_rotate,
      cb_corvane_equalcolor, cb_corvane_pmask_block, cb_corvane_pmask_blrt, cb_corvane_osd_all,
      cb_corvane_roi_lv_en}},
    {"encoder",
     {cb_corvane_resolution, cb_corvane_fps, cb_corvane_global_mode, cb_corvane_scaling, cb_corvane_scaling_size,
      cb_corvane_imgquality, cb_corvane_keyframe, cb_corvane_keyframeinterval, cb_corvane_qp, cb_corvane_sei,
      cb_corvane_snapstream, cb_corvane_enc_stream, cb_corvane_bitrate, cb_corvane_ratelimit, cb_corvane_rlmode}},
    {"network",
     {cb_corvane_ip, cb_corvane_gateway, cb_corvane_subnetmask, cb_corvane_ipv6address, cb_corvane_ipv6prefixlen,
      cb_corvane_ntpserver_ip, cb_corvane_liveipv4, cb_corvane_rtspport, cb_corvane_webserverport,
      cb_corvane_eth_negotiation, cb_corvane_ipv4mode, cb_corvane_datemode, cb_corvane_ipv6enabled,
      cb_corvane_netopt, cb_corvane_rtpport, cb_corvane_url_streamip, cb_corvane_en_multicast,
      cb_corvane_qos_default_video, cb_corvane_qos_enable, cb_corvane_en_snmpv2c, cb_corvane_en_snmpv3,
      cb_corvane_ssl_install_status}},
    {"events",
     {cb_corvane_mdtotalzones, cb_corvane_motiondetect, cb_corvane_mdzonesize, cb_corvane_mdlevelthreshold,
      cb_corvane_mddetail, cb_corvane_mdsensitivity, cb_corvane_auxin_schedule, cb_corvane_od_schedule,
      cb_corvane_ftp_schedule, cb_corvane_nfs_schedule, cb_corvane_sd_func_gate, cb_corvane_auxout,
      cb_corvane_smtp_mail, cb_corvane_audinput, cb_corvane_linein_volume, cb_corvane_sd_codec, cb_corvane_af_dn,
      cb_corvane_af_zoom, cb_corvane_auxin, cb_corvane_exp_ref_channel, cb_corvane_illum,
      cb_corvane_motion_compensation}},
    {"lens",
     {cb_corvane_focus, cb_corvane_zoom, cb_corvane_pan, cb_corvane_tilt, cb_corvane_allfocus, cb_corvane_allzoom,
      cb_corvane_allpan, cb_corvane_alltilt, cb_ptzstatus, cb_corvane_ptz_home, do_new_pan, do_old_pan}},
};

// Not called directly: under another node's name it fans out switch words
// that disagree with the stored option word, and as the kept comparison
// always writes, the switches and the word then correct each other for ever
// (docs/safety.md). Its client writes are fuzzed like every other.
const Handler not_called_directly[] = {cb_corvane_netopt};

const Family *family;
std::vector<Handler> direct_routines;  // the family's routines that direct calls pick from
std::vector<std::string> registered_names;  // the family's legacy nodes, in name order

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    for (const Family &candidate : families)
        if (strcmp(candidate.name, CORVANE_FUZZ_FAMILY) == 0)
            family = &candidate;
    if (!family)
        abort();
    for (Handler routine : family->routines)
        if (std::find(std::begin(not_called_directly), std::end(not_called_directly), routine) ==
            std::end(not_called_directly))
            direct_routines.push_back(routine);
    start_daemon();
    std::set<const void *> routines;
    for (Handler routine : family->routines)
        routines.insert(reinterpret_cast<const void *>(routine));
    std::set<std::string> names;
    for (const auto &[name, routine] : sim::listener_routines())
        if (routines.count(routine))
            names.insert(name);
    registered_names.assign(names.begin(), names.end());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    if ((data[0] != 0x01 || size < 2) && !registered_names.empty()) {
        std::string name;
        std::string value;
        split_input(data, size, &name, &value);
        auto pick = std::lower_bound(registered_names.begin(), registered_names.end(), name);
        sim::client_write(pick == registered_names.end() ? registered_names.front() : *pick, value);
    } else {
        Handler routine = direct_routines[data[1] % direct_routines.size()];
        std::string name;
        std::string value;
        split_input(data + 2, size - 2, &name, &value);
        sim::run_on_bus([&] { routine(name.c_str(), value.c_str()); });
    }
    undo_writes();
    return 0;
}
