// The six further simple-set members: management protocols and 802.1X
// (set1), relay output and memory card (set2), card and FTP recording
// (set3), e-mail (set4), network-share recording (set5), system and time
// (set6). None takes a camera number.
#include "handlers/generic/simple_set_variants.h"

#include "frame/context.h"
#include "frame/handler.h"
#include "frame/log.h"
#include "frame/text.h"
#include "handlers/generic/key_list.h"
#include "platform/nbus.h"

namespace {

using enum Target;
using enum Event;
using enum Field;

constexpr SimpleSetEntry set1_list[] = {
    to("en_snmpv1", "network.snmp.v1v2c.v1.enable"),
    to("snmp_commu", "network.snmp.v1v2c.readcommunity"),
    to("snmp_private", "network.snmp.v1v2c.writecommunity"),
    to("_trapaddr", "network.snmp.trap.address"),
    to("snmp_trap", "network.snmp.v1v2c.trapcommunity"),
    to("snmpv3_name", "network.snmp.v3.username"),
    to("v3_mode", "network.snmp.v3.authmode"),
    to("v3_pwd", "network.snmp.v3.authpwd"),
    to("v3_privatepwd", "network.snmp.v3.privatepwd"),
    to("v3_private", "network.snmp.v3.privatemode"),
    // kept: "corvane.webport" matches no key; clients rely on the write being refused
    to("webprot", "network.webserver"),
    to("httpsmethod", "network.https.ssl.run_method"),
    to("ftpsvr_name", "network.ftpserver.username"),
    to("ftpsvr_pwd", "network.ftpserver.password"),
    to("ftpsvr_connect", "network.ftpserver.max_connect"),
    to("ldap_prot", "network.ieee8021x.protocol"),
    to("ldap_md5name", "network.ieee8021x.eap-md5.username"),
    to("ldap_md5pwd", "network.ieee8021x.eap-md5.password"),
    to("ldap_md5", "network.ieee8021x.eap-md5.status"),
    to("ldap_tlsname", "network.ieee8021x.eap-tls.username"),
    to("ldap_tlspwd", "network.ieee8021x.eap-tls.password"),
    to("ldap_tlskey", "network.ieee8021x.eap-tls.key_pass"),
    to("ldap_tlsocsp", "network.ieee8021x.eap-tls.ocsp_status"),
    to("_ttlsname", "network.ieee8021x.eap-ttls.username"),
    to("_ttlspwd", "network.ieee8021x.eap-ttls.password"),
    to("_ttlsauth", "network.ieee8021x.eap-ttls.auth"),
    to("_ttlsanonymous", "network.ieee8021x.eap-ttls.anonymous_id"),
    to("_peapname", "network.ieee8021x.eap-peap.username"),
    to("_peappwd", "network.ieee8021x.eap-peap.password"),
    to("_peapca", "network.ieee8021x.eap-peap.ca_status"),
    to("_peap", "network.ieee8021x.eap-peap.status"),
    to("_tlscc", "network.ieee8021x.eap-tls.cc_status"),
    to("_tlsca", "network.ieee8021x.eap-tls.ca_status"),
    to("_tlspk", "network.ieee8021x.eap-tls.pk_status"),
    to("_ttlsca", "network.ieee8021x.eap-ttls.ca_status"),
    to("_ttls", "network.ieee8021x.eap-ttls.status"),
    to("_tls", "network.ieee8021x.eap-tls.status"),
    to("en_ftp", "network.ftpserver.enable"),
};
static_assert(std::size(set1_list) == 38);
static_assert(simple_set_check::all_follow_rule(set1_list));

constexpr SimpleSetEntry set2_list[] = {
    to("_ioalarm", "event.active.relay.alarm_enable"),
    to("_motionalarm", "event.active.relay.motion_enable"),
    to("_tamperalarm", "event.active.relay.sabotage_enable"),
    to("_networkfail", "event.active.relay.network_enable"),
    to("xouttype", "event.active.relay.type"),
    to("auxoutofftime", "event.active.relay.off_time"),
    to("_capacity", "system.sd.capacity"),
    to("_status", "system.sd.mount_status"),
    to("_formatstatus", "system.sd.format_status"),
    to("_format", "system.sd.do_format"), // the format command, see below
    to("_overwrite", "event.active.sd_record.overwrite"),
    // the card's alarm-input recording; the event is implied by the list
    rec("_jpgfolder", sd_record, alm, jpgfolder),
    rec("_jpgprefix", sd_record, alm, jpgprefix),
    rec("_jpgprerecord", sd_record, alm, jpgprerecord),
    rec("_jpgpostrecord", sd_record, alm, jpgpostrecord),
    rec("_preduration", sd_record, alm, preduration),
    rec("_postduration", sd_record, alm, postduration),
    to("_recordtype", "event.active.sd_record.record_type"),
};
static_assert(std::size(set2_list) == 18);
static_assert(simple_set_check::all_follow_rule(set2_list));
constexpr size_t kFormatCommand = 9;
static_assert(simple_set_check::same(set2_list[kFormatCommand].key, "_format"));

constexpr SimpleSetEntry set3_list[] = {
    rec("sd_md_jpgfolder", sd_record, md, jpgfolder),
    rec("sd_md_jpgprefix", sd_record, md, jpgprefix),
    rec("sd_md_jpgprerecord", sd_record, md, jpgprerecord),
    rec("sd_md_jpgpostrecord", sd_record, md, jpgpostrecord),
    rec("sd_md_preduration", sd_record, md, preduration),
    rec("sd_md_postduration", sd_record, md, postduration),
    rec("sd_od_jpgfolder", sd_record, od, jpgfolder),
    rec("sd_od_jpgprefix", sd_record, od, jpgprefix),
    rec("sd_od_jpgprerecord", sd_record, od, jpgprerecord),
    rec("sd_od_jpgpostrecord", sd_record, od, jpgpostrecord),
    rec("sd_od_preduration", sd_record, od, preduration),
    rec("sd_od_postduration", sd_record, od, postduration),
    rec("sd_net_jpgfolder", sd_record, net, jpgfolder),
    rec("sd_net_jpgprefix", sd_record, net, jpgprefix),
    rec("sd_net_jpgprerecord", sd_record, net, jpgprerecord),
    rec("sd_net_jpgpostrecord", sd_record, net, jpgpostrecord),
    rec("sd_net_preduration", sd_record, net, preduration),
    rec("sd_net_postduration", sd_record, net, postduration),
    rec("sd_alm_videofolder", sd_record, alm, videofolder),
    rec("sd_alm_videoprefix", sd_record, alm, videoprefix),
    rec("sd_alm_videoprerecord", sd_record, alm, videoprerecord),
    rec("sd_alm_videopostrecord", sd_record, alm, videopostrecord),
    rec("sd_md_videofolder", sd_record, md, videofolder),
    // kept exceptions: these two motion keys write the network nodes of
    // "sd_net_jpgprefix" and "sd_net_jpgprerecord"; clients rely on it
    to("sd_md_videoprefix", "event.active.sd_record.network.pre_filename"),
    to("sd_md_videoprerecord", "event.active.sd_record.network.pre_record_frame"),
    rec("sd_md_videopostrecord", sd_record, md, videopostrecord),
    rec("sd_od_videofolder", sd_record, od, videofolder),
    rec("sd_od_videoprefix", sd_record, od, videoprefix),
    rec("sd_od_videoprerecord", sd_record, od, videoprerecord),
    rec("sd_od_videopostrecord", sd_record, od, videopostrecord),
    rec("sd_net_videofolder", sd_record, net, videofolder),
    rec("sd_net_videoprefix", sd_record, net, videoprefix),
    rec("sd_net_videoprerecord", sd_record, net, videoprerecord),
    rec("sd_net_videopostrecord", sd_record, net, videopostrecord),
    to("ftp_ioalarm", "event.active.ftp.enable_alarm1"),
    to("ftp_motionalarm", "event.active.ftp.enable_motion"),
    to("ftp_tamperalarm", "event.active.ftp.enable_sabotage"),
    to("ftp_recording", "event.active.ftp.enable_schedule"),
    to("ftp_server", "event.active.ftp.server"),
    to("ftp_name", "event.active.ftp.username"),
    to("ftp_pwd", "event.active.ftp.password"),
    to("ftpport", "event.active.ftp.port"),
    rec("ftp_alm_jpgfolder", ftp, alm, jpgfolder),
    rec("ftp_alm_jpgprefix", ftp, alm, jpgprefix),
    rec("ftp_alm_jpgprerecord", ftp, alm, jpgprerecord),
    rec("ftp_alm_jpgpostrecord", ftp, alm, jpgpostrecord),
    rec("ftp_alm_preduration", ftp, alm, preduration),
    rec("ftp_alm_postduration", ftp, alm, postduration),
    rec("ftp_md_jpgfolder", ftp, md, jpgfolder),
    rec("ftp_md_jpgprefix", ftp, md, jpgprefix),
    rec("ftp_md_jpgprerecord", ftp, md, jpgprerecord),
    rec("ftp_md_jpgpostrecord", ftp, md, jpgpostrecord),
    rec("ftp_md_preduration", ftp, md, preduration),
    rec("ftp_md_postduration", ftp, md, postduration),
    rec("ftp_od_jpgfolder", ftp, od, jpgfolder),
    rec("ftp_od_jpgprefix", ftp, od, jpgprefix),
    rec("ftp_od_jpgprerecord", ftp, od, jpgprerecord),
    rec("ftp_od_jpgpostrecord", ftp, od, jpgpostrecord),
    rec("ftp_od_preduration", ftp, od, preduration),
    rec("ftp_od_postduration", ftp, od, postduration),
};
static_assert(std::size(set3_list) == 60);
static_assert(simple_set_check::all_follow_rule(set3_list));

constexpr SimpleSetEntry set4_list[] = {
    to("smtp_ioalarm", "event.active.smtp.enable_alarm1"),
    to("smtp_motionalarm", "event.active.smtp.enable_motion"),
    to("smtp_tamperalarm", "event.active.smtp.enable_sabotage"),
    to("smtp_sender", "event.active.smtp.sender_email"),
    to("smtp_server", "event.active.smtp.server"),
    to("smtp_name", "event.active.smtp.username"),
    to("smtp_pwd", "event.active.smtp.password"),
    to("smtpport", "event.active.smtp.port"),
    to("smtp_authentication", "event.active.smtp.authentication"),
    to("smtp_alm_subjt", "event.active.smtp.alarm1.subject"),
    to("smtp_alm_msg", "event.active.smtp.alarm1.message"),
    to("smtp_alm_img", "event.active.smtp.alarm1.attach_image"),
    to("smtp_md_subjt", "event.active.smtp.motion.subject"),
    to("smtp_md_msg", "event.active.smtp.motion.message"),
    to("smtp_md_img", "event.active.smtp.motion.attach_image"),
    to("smtp_od_subjt", "event.active.smtp.sabotage.subject"),
    to("smtp_od_msg", "event.active.smtp.sabotage.message"),
    to("smtp_od_img", "event.active.smtp.sabotage.attach_image"),
};
static_assert(std::size(set4_list) == 18);
static_assert(simple_set_check::all_follow_rule(set4_list));

// Keys of the jpg fields and of the alarm video fields carry no "nfs_"; the
// bound nodes ("corvane.nfs_md_jpgfolder", ...) still hold them. By the rule
// "md_jpgprerecord" writes motion.pre_record_frame although the binding row
// names motion.pre_record; kept.
constexpr SimpleSetEntry set5_list[] = {
    to("nfs_ioalarm", "event.active.nfs_record.enable_alarm1"),
    to("nfs_motionalarm", "event.active.nfs_record.enable_motion"),
    to("nfs_tamperalarm", "event.active.nfs_record.enable_sabotage"),
    to("nfs_recording", "event.active.nfs_record.enable_schedule"),
    to("nfs_server", "event.active.nfs_record.server"),
    to("nfs_name", "event.active.nfs_record.username"),
    to("nfs_pwd", "event.active.nfs_record.password"),
    to("nfs_recshr", "event.active.nfs_record.share"),
    to("nfs_rectpe", "event.active.nfs_record.record_type"),
    rec("alm_jpgfolder", nfs_record, alm, jpgfolder),
    rec("alm_jpgprefix", nfs_record, alm, jpgprefix),
    rec("alm_jpgprerecord", nfs_record, alm, jpgprerecord),
    rec("alm_jpgpostrecord", nfs_record, alm, jpgpostrecord),
    rec("alm_preduration", nfs_record, alm, preduration),
    rec("alm_postduration", nfs_record, alm, postduration),
    rec("md_jpgfolder", nfs_record, md, jpgfolder),
    rec("md_jpgprefix", nfs_record, md, jpgprefix),
    rec("md_jpgprerecord", nfs_record, md, jpgprerecord),
    rec("md_jpgpostrecord", nfs_record, md, jpgpostrecord),
    rec("md_preduration", nfs_record, md, preduration),
    rec("md_postduration", nfs_record, md, postduration),
    rec("od_jpgfolder", nfs_record, od, jpgfolder),
    rec("od_jpgprefix", nfs_record, od, jpgprefix),
    rec("od_jpgprerecord", nfs_record, od, jpgprerecord),
    rec("od_jpgpostrecord", nfs_record, od, jpgpostrecord),
    rec("od_preduration", nfs_record, od, preduration),
    rec("od_postduration", nfs_record, od, postduration),
    rec("alm_videofolder", nfs_record, alm, videofolder),
    rec("alm_videoprefix", nfs_record, alm, videoprefix),
    rec("alm_videoprerecord", nfs_record, alm, videoprerecord),
    rec("alm_videopostrecord", nfs_record, alm, videopostrecord),
    rec("nfs_md_videofolder", nfs_record, md, videofolder),
    rec("nfs_md_videoprefix", nfs_record, md, videoprefix),
    rec("nfs_md_videoprerecord", nfs_record, md, videoprerecord),
    rec("nfs_md_videopostrecord", nfs_record, md, videopostrecord),
    rec("nfs_od_videofolder", nfs_record, od, videofolder),
    rec("nfs_od_videoprefix", nfs_record, od, videoprefix),
    rec("nfs_od_videoprerecord", nfs_record, od, videoprerecord),
    rec("nfs_od_videopostrecord", nfs_record, od, videopostrecord),
    rec("nfs_scd_jpgfolder", nfs_record, scd, jpgfolder),
    rec("nfs_scd_jpgprefix", nfs_record, scd, jpgprefix),
    rec("nfs_scd_postduration", nfs_record, scd, postduration),
    rec("nfs_scd_videofolder", nfs_record, scd, videofolder),
};
static_assert(std::size(set5_list) == 43);
static_assert(simple_set_check::all_follow_rule(set5_list));

constexpr SimpleSetEntry set6_list[] = {
    // kept: "sn" stands first and also catches "corvane.snmp_tpmode" and
    // "corvane.snmp_tphb"; clients rely on it
    to("sn", "system.info.serial_number"),
    // kept: the two native names are spelled as clients have always seen them
    to("datemode", "system_datetime.mode"),
    to("ntpmode", "system.dattime.ntpmode"),
    to("ntpserver_ip", "system.datetime.ntp.manual.address"),
    to("timezone", "system.datetime.time_zone"),
    to("local_addr", "network.status.ipv6.linklocal_address"),
    to("dhcp_ip", "network.status.ipv4.ip_from_dhcp"),
    to("displayorder", "slave.display_order"),
    to("_tpmode", "network.snmp.trap.mode"),
    to("_tphb", "network.snmp.trap.heartbeat"),
    to("en_nd", "event.network.enable"),
    to("nfs_mount", "event.active.nfs_record.handle"),
    to("datetime", "system.datetime.manual"),
    to("img_stitch", "image.global.defog"),
};
static_assert(std::size(set6_list) == 14);
static_assert(simple_set_check::all_follow_rule(set6_list));

// The whole of a member without a camera: the first key in the name picks
// the native node, which takes the value unchanged.
void copy_by_key(const char *handler, const char *name, const char *value, std::span<const SimpleSetEntry> list)
{
    if (!handler_entered(handler, __LINE__, name, value))
        return;
    char native[kNativeNameBytes] = {};
    if (!choose_native(name, list, native)) {
        LOG_AS(handler, "Err: %s = %s!!\n", name, value);
        return;
    }
    nbus_set(native, value);
    LOG_AS(handler, "Set %s = %s done!!\n", native, value);
}

} // namespace

void cb_corvane_simple_set1(const char *name, const char *value)
{
    copy_by_key(__func__, name, value, set1_list);
}

void cb_corvane_simple_set2(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char held[32] = {}; // shown, still empty, in the do-nothing line
    char native[kNativeNameBytes] = {};
    const SimpleSetEntry *entry = choose_native(name, set2_list, native);
    if (!entry) {
        LOG("Err: %s = %s!!\n", name, value);
    } else if (entry == &set2_list[kFormatCommand]) {
        if (equals(value, "on") || equals(value, "1")) {
            nbus_set(native, "1");
            LOG("Set %s = %s done!!\n", native, "1");
        } else {
            LOG("do nothing: %s=%s(%s)\n", name, value, held);
        }
        return;
    }
    // kept: an unknown name is still written, to the empty native name
    nbus_set(native, value);
    LOG("Set %s = %s done!!\n", native, value);
}

void cb_corvane_simple_set3(const char *name, const char *value)
{
    copy_by_key(__func__, name, value, set3_list);
}

void cb_corvane_simple_set4(const char *name, const char *value)
{
    copy_by_key(__func__, name, value, set4_list);
}

void cb_corvane_simple_set5(const char *name, const char *value)
{
    copy_by_key(__func__, name, value, set5_list);
}

void cb_corvane_simple_set6(const char *name, const char *value)
{
    copy_by_key(__func__, name, value, set6_list);
}

const std::span<const SimpleSetEntry> simple_set_variant_keys[kSimpleSetVariants] = {
    set1_list, set2_list, set3_list, set4_list, set5_list, set6_list,
};
