// The simple-set family, key by key: each legacy node, written once, reaches
// exactly its one native node with the value unchanged. The expected nodes
// are written out here by hand (the recording nodes by the event x field
// rule), independently of the daemon's lists.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "bindings/registration.h"
#include "bindings/routine_list.h"
#include "test_support.h"

namespace {

using Keys = std::vector<std::pair<std::string, std::string>>;  // legacy key, native node

const std::map<std::string, std::string> events = {
    {"alm", "alarm1"}, {"md", "motion"}, {"od", "sabotage"}, {"net", "network"}, {"scd", "scheduled"}};
const std::map<std::string, std::string> fields = {
    {"jpgfolder", "server_dir"},        {"jpgprefix", "pre_filename"},       {"jpgprerecord", "pre_record_frame"},
    {"jpgpostrecord", "post_record_frame"}, {"preduration", "pre_record_duration"},
    {"postduration", "post_record_duration"}, {"videofolder", "server_video_dir"},
    {"videoprefix", "pre_video_filename"}, {"videoprerecord", "pre_record"}, {"videopostrecord", "post_record"}};
const std::vector<std::string> jpg = {"jpgfolder", "jpgprefix", "jpgprerecord", "jpgpostrecord", "preduration",
                                      "postduration"};
const std::vector<std::string> video = {"videofolder", "videoprefix", "videoprerecord", "videopostrecord"};

// "<head><event>_<field>" keys of each event and field, to "<prefix>.<event>.<field>".
void add_rule(Keys &keys, const std::string &head, const std::string &prefix, const std::vector<std::string> &on,
              const std::vector<std::string> &with)
{
    for (const std::string &event : on)
        for (const std::string &field : with)
            keys.emplace_back(head + event + "_" + field, prefix + "." + events.at(event) + "." + fields.at(field));
}

// "<key><n>" to "<before><n><after>" for streams 1..3; stream 1's key has no number when `bare_first`.
void add_streams(Keys &keys, const std::string &key, const std::string &before, const std::string &after,
                 bool bare_first)
{
    for (int stream = 1; stream <= 3; ++stream)
        keys.emplace_back(key + (bare_first && stream == 1 ? "" : std::to_string(stream)),
                          before + std::to_string(stream) + after);
}

struct Member {
    handler_routine *routine;
    Keys bound;    // reached through the bus
    Keys unbound;  // keys no bound node reaches, called directly
};

std::vector<Member> members()
{
    const std::string rtsp = "network.rtsp.stream", x = "network.ieee8021x", sd = "event.active.sd_record";
    const std::string relay = "event.active.relay", ftp = "event.active.ftp", smtp = "event.active.smtp";
    const std::string nfs = "event.active.nfs_record";

    Keys simple = {{"sensor", "system.info.sensor"}, {"aspect", "system.info.aspect"}, {"cpu", "system.info.cpu"},
                   {"type", "system.camera_type"}, {"en_audioinput", "encode.audio.in.enable"},
                   {"audio_codec", "encode.audio.codec"}, {"en_audioout", "encode.audio.out.enable"},
                   {"lineout_volume", "encode.audio.out.level"}, {"livemsk", "network.status.ipv4.live_mask"},
                   {"livegw", "network.status.ipv4.live_gateway"}, {"livedns1", "network.status.ipv4.live_dns1"},
                   {"livedns2", "network.status.ipv4.live_dns2"}, {"dns1", "network.ipv4.primary_dns"},
                   {"dns2", "network.ipv4.secondary_dns"}, {"httpsport", "network.https.port"},
                   {"ipv6dfroute", "network.ipv6.default_route"},
                   {"ipv6routeradts", "network.ipv6.router_advertisement"}, {"ipv6dns", "network.ipv6.dns"},
                   {"en_upnp", "network.upnp.enable"}, {"en_ddns", "network.ddns.enable"},
                   {"ddns_name", "network.ddns.username"}, {"ddns_pwd", "network.ddns.password"},
                   {"ddns_host", "network.ddns.hostname"}, {"ddns_type", "network.ddns.ddns_type"}};
    add_streams(simple, "en_unicast", rtsp, ".enable_unicast", false);
    add_streams(simple, "en_metadata", rtsp, ".metadata", false);
    add_streams(simple, "alwaysmulticast", rtsp, ".multicast.multicast_auto_start_video", true);
    add_streams(simple, "rtspurl", rtsp, ".url", false);
    add_streams(simple, "multicast_audioaddr", rtsp, ".multicast.address_audio", true);
    add_streams(simple, "multicast_metadataaddr", rtsp, ".multicast.address_metadata", true);
    for (int camera = 1; camera <= 4; ++camera)
        add_streams(simple, "cam" + std::to_string(camera) + ".codec", "encode.cam" + std::to_string(camera) + ".stream",
                    ".codec", false);
    Keys simple_unbound = {{"ipv4mode", "network.ipv4.mode"}};
    add_streams(simple_unbound, "multicast_videoaddr", rtsp, ".multicast.address_video", true);

    Keys set1 = {{"snmp_community", "network.snmp.v1v2c.readcommunity"},
                 {"snmp_private", "network.snmp.v1v2c.writecommunity"},
                 {"snmp_trap", "network.snmp.v1v2c.trapcommunity"}, {"snmpv3_name", "network.snmp.v3.username"},
                 {"snmpv3_mode", "network.snmp.v3.authmode"}, {"snmpv3_pwd", "network.snmp.v3.authpwd"},
                 {"snmpv3_private", "network.snmp.v3.privatemode"},
                 {"snmpv3_privatepwd", "network.snmp.v3.privatepwd"}, {"snmp_trapaddr", "network.snmp.trap.address"},
                 {"httpsmethod", "network.https.ssl.run_method"}, {"en_ftp", "network.ftpserver.enable"},
                 {"ftpsvr_name", "network.ftpserver.username"}, {"ftpsvr_pwd", "network.ftpserver.password"},
                 {"ftpsvr_connect", "network.ftpserver.max_connect"}, {"ldap_prot", x + ".protocol"},
                 {"ldap_md5name", x + ".eap-md5.username"}, {"ldap_md5pwd", x + ".eap-md5.password"},
                 {"ldap_tlsname", x + ".eap-tls.username"}, {"ldap_tlspwd", x + ".eap-tls.password"},
                 {"ldap_tlskey", x + ".eap-tls.key_pass"}, {"ldap_ttlsname", x + ".eap-ttls.username"},
                 {"ldap_ttlspwd", x + ".eap-ttls.password"}, {"ldap_ttlsauth", x + ".eap-ttls.auth"},
                 {"ldap_ttlsanonymous", x + ".eap-ttls.anonymous_id"}, {"ldap_peapname", x + ".eap-peap.username"},
                 {"ldap_peappwd", x + ".eap-peap.password"}, {"ldap_peapca", x + ".eap-peap.ca_status"},
                 {"ldap_tlsca", x + ".eap-tls.ca_status"}, {"ldap_tlscc", x + ".eap-tls.cc_status"},
                 {"ldap_tlspk", x + ".eap-tls.pk_status"}, {"ldap_ttlsca", x + ".eap-ttls.ca_status"}};
    Keys set1_unbound = {{"en_snmpv1", "network.snmp.v1v2c.v1.enable"}, {"ldap_md5", x + ".eap-md5.status"},
                         {"ldap_tlsocsp", x + ".eap-tls.ocsp_status"}, {"ldap_peap", x + ".eap-peap.status"},
                         {"ldap_ttls", x + ".eap-ttls.status"}, {"ldap_tls", x + ".eap-tls.status"},
                         {"webprot", "network.webserver"}};

    Keys set2 = {{"auxout_ioalarm", relay + ".alarm_enable"}, {"auxout_motionalarm", relay + ".motion_enable"},
                 {"auxout_tamperalarm", relay + ".sabotage_enable"},
                 {"auxout_networkfail", relay + ".network_enable"}, {"auxouttype", relay + ".type"},
                 {"auxoutofftime", relay + ".off_time"}, {"sd_recordtype", sd + ".record_type"},
                 {"sd_overwrite", sd + ".overwrite"}};
    add_rule(set2, "sd_", sd, {"alm"}, jpg);
    Keys set2_unbound = {{"sd_capacity", "system.sd.capacity"}, {"sd_status", "system.sd.mount_status"},
                         {"sd_formatstatus", "system.sd.format_status"}};

    Keys set3;
    add_rule(set3, "sd_", sd, {"md", "od", "net"}, jpg);
    add_rule(set3, "sd_", sd, {"alm", "md", "od", "net"}, video);
    for (auto &[key, native] : set3) {  // two motion keys keep writing the network nodes
        if (key == "sd_md_videoprefix")
            native = sd + ".network.pre_filename";
        if (key == "sd_md_videoprerecord")
            native = sd + ".network.pre_record_frame";
    }
    Keys ftp_keys = {{"ftp_ioalarm", ftp + ".enable_alarm1"}, {"ftp_motionalarm", ftp + ".enable_motion"},
                     {"ftp_tamperalarm", ftp + ".enable_sabotage"}, {"ftp_recording", ftp + ".enable_schedule"},
                     {"ftp_server", ftp + ".server"}, {"ftp_name", ftp + ".username"},
                     {"ftp_pwd", ftp + ".password"}, {"ftpport", ftp + ".port"}};
    set3.insert(set3.end(), ftp_keys.begin(), ftp_keys.end());
    add_rule(set3, "ftp_", ftp, {"alm", "md", "od"}, jpg);

    Keys set4 = {{"smtp_ioalarm", smtp + ".enable_alarm1"}, {"smtp_motionalarm", smtp + ".enable_motion"},
                 {"smtp_tamperalarm", smtp + ".enable_sabotage"}, {"smtp_sender", smtp + ".sender_email"},
                 {"smtp_server", smtp + ".server"}, {"smtp_name", smtp + ".username"},
                 {"smtp_pwd", smtp + ".password"}, {"smtpport", smtp + ".port"},
                 {"smtp_authentication", smtp + ".authentication"}};
    for (const char *event : {"alm", "md", "od"})
        for (auto [key, leaf] : {std::pair{"_subjt", ".subject"}, {"_msg", ".message"}, {"_img", ".attach_image"}})
            set4.emplace_back(std::string("smtp_") + event + key, smtp + "." + events.at(event) + leaf);

    Keys set5 = {{"nfs_ioalarm", nfs + ".enable_alarm1"}, {"nfs_motionalarm", nfs + ".enable_motion"},
                 {"nfs_tamperalarm", nfs + ".enable_sabotage"}, {"nfs_recording", nfs + ".enable_schedule"},
                 {"nfs_server", nfs + ".server"}, {"nfs_name", nfs + ".username"}, {"nfs_pwd", nfs + ".password"},
                 {"nfs_recshr", nfs + ".share"}, {"nfs_rectpe", nfs + ".record_type"}};
    add_rule(set5, "nfs_", nfs, {"alm", "md", "od"}, jpg);
    add_rule(set5, "nfs_", nfs, {"alm", "md", "od"}, video);
    add_rule(set5, "nfs_", nfs, {"scd"}, {"jpgfolder", "jpgprefix", "postduration", "videofolder"});

    Keys set6 = {{"en_nd", "event.network.enable"}, {"datetime", "system.datetime.manual"},
                 {"nfs_mount", "event.active.nfs_record.handle"}, {"sn", "system.info.serial_number"},
                 {"ntpmode", "system.dattime.ntpmode"}, {"timezone", "system.datetime.time_zone"},
                 {"displayorder", "slave.display_order"}, {"dhcp_ip", "network.status.ipv4.ip_from_dhcp"},
                 // "sn" stands first and catches both trap nodes
                 {"snmp_tpmode", "system.info.serial_number"}, {"snmp_tphb", "system.info.serial_number"}};
    Keys set6_unbound = {{"datemode", "system_datetime.mode"},
                         {"linklocal_address", "network.status.ipv6.linklocal_address"},
                         {"img_stitch", "image.global.defog"}, {"trap_tpmode", "network.snmp.trap.mode"},
                         {"trap_tphb", "network.snmp.trap.heartbeat"}};

    return {{cb_corvane_simple_set, simple, simple_unbound}, {cb_corvane_simple_set1, set1, set1_unbound},
            {cb_corvane_simple_set2, set2, set2_unbound},    {cb_corvane_simple_set3, set3, {}},
            {cb_corvane_simple_set4, set4, {}},              {cb_corvane_simple_set5, set5, {}},
            {cb_corvane_simple_set6, set6, set6_unbound}};
}

// Values that must pass unchanged, whatever they hold.
std::string value_number(int n)
{
    static const std::string values[] = {"on", "off", "192.168.1.20", "100%s%n%d", "a b c", std::string(120, 'x'),
                                         "0", "-7"};
    const std::string &value = values[n % std::size(values)];
    return value.size() == 120 ? value : value + "-" + std::to_string(n);
}

using Writes = std::vector<std::pair<std::string, std::string>>;

} // namespace

TEST_F(SimBusTest, EverySimpleSetKeyReachesItsOneNativeNode)
{
    std::string error;
    ASSERT_TRUE(sim::load_device(CORVANE_DEFAULT_DEVICE, &error)) << error;
    register_bindings();
    int n = 0;
    size_t keys = 0;
    for (const Member &member : members()) {
        for (bool bound : {true, false}) {
            for (const auto &[key, native] : bound ? member.bound : member.unbound) {
                std::string legacy = "corvane." + key;
                std::string value = value_number(n++);
                sim::take_record();
                if (bound)
                    sim::client_write(legacy, value);
                else
                    member.routine(legacy.c_str(), value.c_str());
                EXPECT_EQ(sim::take_record().writes, (Writes{{native, value}})) << legacy;
                ++keys;
            }
        }
    }
    EXPECT_EQ(keys, 249u);

    // bound twice: its own handler and the sixth member both write the time server
    sim::take_record();
    sim::client_write("corvane.ntpserver_ip", "10.0.0.1");
    const std::string server = "system.datetime.ntp.manual.address";
    EXPECT_EQ(sim::take_record().writes, (Writes{{server, "10.0.0.1"}, {server, "10.0.0.1"}}));
}
