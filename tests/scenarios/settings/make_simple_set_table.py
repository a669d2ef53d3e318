#!/usr/bin/env python3
"""Writes simple_set_table.scn: every legacy node of the simple-set family,
written once by a client, and the one native node it must reach. The
expected nodes are written out here by hand (the recording nodes from the
event x field rule), independently of the daemon's tables.

Usage: python3 make_simple_set_table.py > simple_set_table.scn
"""

EVENTS = {"alm": "alarm1", "md": "motion", "od": "sabotage", "net": "network", "scd": "scheduled"}
FIELDS = {
    "jpgfolder": "server_dir", "jpgprefix": "pre_filename", "jpgprerecord": "pre_record_frame",
    "jpgpostrecord": "post_record_frame", "preduration": "pre_record_duration",
    "postduration": "post_record_duration", "videofolder": "server_video_dir",
    "videoprefix": "pre_video_filename", "videoprerecord": "pre_record", "videopostrecord": "post_record",
}
JPG = ["jpgfolder", "jpgprefix", "jpgprerecord", "jpgpostrecord", "preduration", "postduration"]
VIDEO = ["videofolder", "videoprefix", "videoprerecord", "videopostrecord"]


def rule(prefix, event, field):
    return f"{prefix}.{EVENTS[event]}.{FIELDS[field]}"


rtsp = "network.rtsp"
simple_set = [
    ("sensor", "system.info.sensor"), ("aspect", "system.info.aspect"), ("cpu", "system.info.cpu"),
    ("type", "system.camera_type"),
    ("en_audioinput", "encode.audio.in.enable"), ("audio_codec", "encode.audio.codec"),
    ("en_audioout", "encode.audio.out.enable"), ("lineout_volume", "encode.audio.out.level"),
    ("livemsk", "network.status.ipv4.live_mask"), ("livegw", "network.status.ipv4.live_gateway"),
    ("livedns1", "network.status.ipv4.live_dns1"), ("livedns2", "network.status.ipv4.live_dns2"),
    ("dns1", "network.ipv4.primary_dns"), ("dns2", "network.ipv4.secondary_dns"),
    ("httpsport", "network.https.port"), ("ipv6dfroute", "network.ipv6.default_route"),
    ("ipv6routeradts", "network.ipv6.router_advertisement"), ("ipv6dns", "network.ipv6.dns"),
    ("en_upnp", "network.upnp.enable"),
] + [(f"en_unicast{s}", f"{rtsp}.stream{s}.enable_unicast") for s in (1, 2, 3)] \
  + [(f"en_metadata{s}", f"{rtsp}.stream{s}.metadata") for s in (1, 2, 3)] \
  + [(f"alwaysmulticast{'' if s == 1 else s}", f"{rtsp}.stream{s}.multicast.multicast_auto_start_video")
     for s in (1, 2, 3)] \
  + [(f"rtspurl{s}", f"{rtsp}.stream{s}.url") for s in (1, 2, 3)] \
  + [(f"multicast_audioaddr{'' if s == 1 else s}", f"{rtsp}.stream{s}.multicast.address_audio")
     for s in (1, 2, 3)] \
  + [(f"multicast_metadataaddr{'' if s == 1 else s}", f"{rtsp}.stream{s}.multicast.address_metadata")
     for s in (1, 2, 3)] \
  + [("en_ddns", "network.ddns.enable"), ("ddns_name", "network.ddns.username"),
     ("ddns_pwd", "network.ddns.password"), ("ddns_host", "network.ddns.hostname"),
     ("ddns_type", "network.ddns.ddns_type")] \
  + [(f"cam{c}.codec{s}", f"encode.cam{c}.stream{s}.codec") for c in (1, 2, 3, 4) for s in (1, 2, 3)]
simple_set_unbound = [
    ("ipv4mode", "network.ipv4.mode"),
    ("multicast_videoaddr3", f"{rtsp}.stream3.multicast.address_video"),
    ("multicast_videoaddr2", f"{rtsp}.stream2.multicast.address_video"),
    ("multicast_videoaddr", f"{rtsp}.stream1.multicast.address_video"),
]

x = "network.ieee8021x"
set1 = [
    ("snmp_community", "network.snmp.v1v2c.readcommunity"),
    ("snmp_private", "network.snmp.v1v2c.writecommunity"),
    ("snmp_trap", "network.snmp.v1v2c.trapcommunity"),
    ("snmpv3_name", "network.snmp.v3.username"), ("snmpv3_mode", "network.snmp.v3.authmode"),
    ("snmpv3_pwd", "network.snmp.v3.authpwd"), ("snmpv3_private", "network.snmp.v3.privatemode"),
    ("snmpv3_privatepwd", "network.snmp.v3.privatepwd"), ("snmp_trapaddr", "network.snmp.trap.address"),
    ("httpsmethod", "network.https.ssl.run_method"), ("en_ftp", "network.ftpserver.enable"),
    ("ftpsvr_name", "network.ftpserver.username"), ("ftpsvr_pwd", "network.ftpserver.password"),
    ("ftpsvr_connect", "network.ftpserver.max_connect"), ("ldap_prot", f"{x}.protocol"),
    ("ldap_md5name", f"{x}.eap-md5.username"), ("ldap_md5pwd", f"{x}.eap-md5.password"),
    ("ldap_tlsname", f"{x}.eap-tls.username"), ("ldap_tlspwd", f"{x}.eap-tls.password"),
    ("ldap_tlskey", f"{x}.eap-tls.key_pass"), ("ldap_ttlsname", f"{x}.eap-ttls.username"),
    ("ldap_ttlspwd", f"{x}.eap-ttls.password"), ("ldap_ttlsauth", f"{x}.eap-ttls.auth"),
    ("ldap_ttlsanonymous", f"{x}.eap-ttls.anonymous_id"), ("ldap_peapname", f"{x}.eap-peap.username"),
    ("ldap_peappwd", f"{x}.eap-peap.password"), ("ldap_peapca", f"{x}.eap-peap.ca_status"),
    ("ldap_tlsca", f"{x}.eap-tls.ca_status"), ("ldap_tlscc", f"{x}.eap-tls.cc_status"),
    ("ldap_tlspk", f"{x}.eap-tls.pk_status"), ("ldap_ttlsca", f"{x}.eap-ttls.ca_status"),
]
set1_unbound = [
    ("en_snmpv1", "network.snmp.v1v2c.v1.enable"), ("ldap_md5", f"{x}.eap-md5.status"),
    ("ldap_tlsocsp", f"{x}.eap-tls.ocsp_status"), ("ldap_peap", f"{x}.eap-peap.status"),
    ("ldap_ttls", f"{x}.eap-ttls.status"), ("ldap_tls", f"{x}.eap-tls.status"),
    ("webprot", "network.webserver"),
]

relay = "event.active.relay"
set2 = [
    ("auxout_ioalarm", f"{relay}.alarm_enable"), ("auxout_motionalarm", f"{relay}.motion_enable"),
    ("auxout_tamperalarm", f"{relay}.sabotage_enable"), ("auxout_networkfail", f"{relay}.network_enable"),
    ("auxouttype", f"{relay}.type"), ("auxoutofftime", f"{relay}.off_time"),
    ("sd_recordtype", "event.active.sd_record.record_type"),
    ("sd_overwrite", "event.active.sd_record.overwrite"),
] + [(f"sd_alm_{f}", rule("event.active.sd_record", "alm", f)) for f in JPG]
set2_unbound = [
    ("sd_capacity", "system.sd.capacity"), ("sd_status", "system.sd.mount_status"),
    ("sd_formatstatus", "system.sd.format_status"),
]

set3 = [(f"sd_{e}_{f}", rule("event.active.sd_record", e, f)) for e in ("md", "od", "net") for f in JPG] \
     + [(f"sd_{e}_{f}", rule("event.active.sd_record", e, f)) for e in ("alm", "md", "od", "net") for f in VIDEO]
exceptions = {  # two motion keys keep writing the network nodes
    "sd_md_videoprefix": "event.active.sd_record.network.pre_filename",
    "sd_md_videoprerecord": "event.active.sd_record.network.pre_record_frame",
}
set3 = [(k, exceptions.get(k, n)) for k, n in set3]
set3 += [("ftp_ioalarm", "event.active.ftp.enable_alarm1"), ("ftp_motionalarm", "event.active.ftp.enable_motion"),
         ("ftp_tamperalarm", "event.active.ftp.enable_sabotage"),
         ("ftp_recording", "event.active.ftp.enable_schedule"), ("ftp_server", "event.active.ftp.server"),
         ("ftp_name", "event.active.ftp.username"), ("ftp_pwd", "event.active.ftp.password"),
         ("ftpport", "event.active.ftp.port")]
set3 += [(f"ftp_{e}_{f}", rule("event.active.ftp", e, f)) for e in ("alm", "md", "od") for f in JPG]

smtp = "event.active.smtp"
set4 = [("smtp_ioalarm", f"{smtp}.enable_alarm1"), ("smtp_motionalarm", f"{smtp}.enable_motion"),
        ("smtp_tamperalarm", f"{smtp}.enable_sabotage"), ("smtp_sender", f"{smtp}.sender_email"),
        ("smtp_server", f"{smtp}.server"), ("smtp_name", f"{smtp}.username"), ("smtp_pwd", f"{smtp}.password"),
        ("smtpport", f"{smtp}.port"), ("smtp_authentication", f"{smtp}.authentication")]
for e in ("alm", "md", "od"):
    set4 += [(f"smtp_{e}_subjt", f"{smtp}.{EVENTS[e]}.subject"), (f"smtp_{e}_msg", f"{smtp}.{EVENTS[e]}.message"),
             (f"smtp_{e}_img", f"{smtp}.{EVENTS[e]}.attach_image")]

nfs = "event.active.nfs_record"
set5 = [("nfs_ioalarm", f"{nfs}.enable_alarm1"), ("nfs_motionalarm", f"{nfs}.enable_motion"),
        ("nfs_tamperalarm", f"{nfs}.enable_sabotage"), ("nfs_recording", f"{nfs}.enable_schedule"),
        ("nfs_server", f"{nfs}.server"), ("nfs_name", f"{nfs}.username"), ("nfs_pwd", f"{nfs}.password"),
        ("nfs_recshr", f"{nfs}.share"), ("nfs_rectpe", f"{nfs}.record_type")]
set5 += [(f"nfs_{e}_{f}", rule(nfs, e, f)) for e in ("alm", "md", "od") for f in JPG]
set5 += [(f"nfs_{e}_{f}", rule(nfs, e, f)) for e in ("alm", "md", "od") for f in VIDEO]
set5 += [(f"nfs_scd_{f}", rule(nfs, "scd", f)) for f in ("jpgfolder", "jpgprefix", "postduration", "videofolder")]

set6 = [("en_nd", "event.network.enable"), ("datetime", "system.datetime.manual"),
        ("nfs_mount", "event.active.nfs_record.handle"), ("sn", "system.info.serial_number"),
        ("ntpmode", "system.dattime.ntpmode"), ("timezone", "system.datetime.time_zone"),
        ("displayorder", "slave.display_order"), ("dhcp_ip", "network.status.ipv4.ip_from_dhcp"),
        # "sn" stands first and catches both trap nodes
        ("snmp_tpmode", "system.info.serial_number"), ("snmp_tphb", "system.info.serial_number")]
set6_unbound = [("datemode", "system_datetime.mode"), ("linklocal_address", "network.status.ipv6.linklocal_address"),
                ("img_stitch", "image.global.defog"), ("trap_tpmode", "network.snmp.trap.mode"),
                ("trap_tphb", "network.snmp.trap.heartbeat")]

# Values that must pass unchanged, whatever they hold.
VALUES = ["on", "off", "192.168.1.20", "100%s%n%d", "a b c", "x" * 120, "0", "-7"]

counter = 0


def emit(lines, command, legacy, native, writes=1):
    global counter
    value = VALUES[counter % len(VALUES)] + ("" if counter % len(VALUES) in (5,) else f"-{counter}")
    counter += 1
    lines.append(f"{command} corvane.{legacy} {value}")
    lines.append(f"expect-write {native} {value}")
    lines.append(f"expect-writes {writes}")


out = ["# Generated by make_simple_set_table.py: each legacy node of the simple-set",
       "# family, written once, reaches exactly its one native node, value unchanged.",
       "device ../../../sim/devices/default.dev", ""]
for title, routine, bound, unbound in [
        ("cb_corvane_simple_set", "cb_corvane_simple_set", simple_set, simple_set_unbound),
        ("cb_corvane_simple_set1", "cb_corvane_simple_set1", set1, set1_unbound),
        ("cb_corvane_simple_set2", "cb_corvane_simple_set2", set2, set2_unbound),
        ("cb_corvane_simple_set3", "cb_corvane_simple_set3", set3, []),
        ("cb_corvane_simple_set4", "cb_corvane_simple_set4", set4, []),
        ("cb_corvane_simple_set5", "cb_corvane_simple_set5", set5, []),
        ("cb_corvane_simple_set6", "cb_corvane_simple_set6", set6, set6_unbound)]:
    out.append(f"# {title}: bound nodes, through the bus")
    for legacy, native in bound:
        emit(out, "set", legacy, native)
    if unbound:
        out.append(f"# {title}: keys no bound node reaches, called directly")
        for legacy, native in unbound:
            emit(out, f"call {routine}", legacy, native)
    out.append("")

# Bound twice: its own handler and set6 both write the time server.
out.append("# corvane.ntpserver_ip has two handlers")
emit(out, "set", "ntpserver_ip", "system.datetime.ntp.manual.address", writes=2)
print("\n".join(out))
