// cb_corvane_simple_set: audio, system information, IPv4/IPv6 status, RTSP
// stream switches and DDNS, copied unchanged to their native nodes.
#include "handlers/generic/simple_set.h"

#include "frame/handler.h"
#include "frame/log.h"
#include "frame/text.h"
#include "handlers/generic/key_list.h"
#include "platform/nbus.h"

namespace {

// Longer keys that hold a shorter one stand before it.
constexpr SimpleSetEntry simple_set_list[] = {
    to("sensor", "system.info.sensor"),
    to("aspect", "system.info.aspect"),
    to("cpu", "system.info.cpu"),
    to("en_audioin", "encode.audio.in.enable"),
    to("audio_codec", "encode.audio.codec"),
    // kept: the binding row names the input switch, clients rely on the output one
    to("en_audioout", "encode.audio.out.enable"),
    to("lineout_v", "encode.audio.out.level"),
    to("ipv4mode", "network.ipv4.mode"),
    to("livemsk", "network.status.ipv4.live_mask"),
    to("livegw", "network.status.ipv4.live_gateway"),
    to("livedns1", "network.status.ipv4.live_dns1"),
    to("livedns2", "network.status.ipv4.live_dns2"),
    to("dns1", "network.ipv4.primary_dns"),
    to("dns2", "network.ipv4.secondary_dns"),
    to("httpsport", "network.https.port"),
    to("dfroute", "network.ipv6.default_route"),
    to("routeradts", "network.ipv6.router_advertisement"),
    to("ipv6dns", "network.ipv6.dns"),
    to("en_upnp", "network.upnp.enable"),
    to("en_unicast1", "network.rtsp.stream1.enable_unicast"),
    to("en_unicast2", "network.rtsp.stream2.enable_unicast"),
    to("en_unicast3", "network.rtsp.stream3.enable_unicast"),
    to("en_metadata1", "network.rtsp.stream1.metadata"),
    to("en_metadata2", "network.rtsp.stream2.metadata"),
    to("en_metadata3", "network.rtsp.stream3.metadata"),
    to("alwaysmulticast3", "network.rtsp.stream3.multicast.multicast_auto_start_video"),
    to("alwaysmulticast2", "network.rtsp.stream2.multicast.multicast_auto_start_video"),
    to("alwaysmulticast", "network.rtsp.stream1.multicast.multicast_auto_start_video"),
    to("rtspurl1", "network.rtsp.stream1.url"),
    to("rtspurl2", "network.rtsp.stream2.url"),
    to("rtspurl3", "network.rtsp.stream3.url"),
    to("_videoaddr3", "network.rtsp.stream3.multicast.address_video"),
    to("_videoaddr2", "network.rtsp.stream2.multicast.address_video"),
    to("_videoaddr", "network.rtsp.stream1.multicast.address_video"),
    to("_audioaddr3", "network.rtsp.stream3.multicast.address_audio"),
    to("_audioaddr2", "network.rtsp.stream2.multicast.address_audio"),
    to("_audioaddr", "network.rtsp.stream1.multicast.address_audio"),
    to("_metadataaddr3", "network.rtsp.stream3.multicast.address_metadata"),
    to("_metadataaddr2", "network.rtsp.stream2.multicast.address_metadata"),
    to("_metadataaddr", "network.rtsp.stream1.multicast.address_metadata"),
    to("en_ddns", "network.ddns.enable"),
    to("ddns_name", "network.ddns.username"),
    to("ddns_host", "network.ddns.hostname"),
    to("ddns_pwd", "network.ddns.password"),
    to("ddns_type", "network.ddns.ddns_type"),
    to("type", "system.camera_type"),
    to("codec1", "encode.cam%d.stream1.codec"),
    to("codec2", "encode.cam%d.stream2.codec"),
    to("codec3", "encode.cam%d.stream3.codec"),
};
static_assert(std::size(simple_set_list) == 49);
static_assert(simple_set_check::all_follow_rule(simple_set_list));

} // namespace

const SimpleSetEntry *choose_native(const char *name, std::span<const SimpleSetEntry> list,
                                    char (&native)[kNativeNameBytes], int camera)
{
    for (const SimpleSetEntry &entry : list) {
        if (!contains(name, entry.key))
            continue;
        if (entry.native)
            expand_pattern(native, entry.native, camera);
        else
            format_into(native, "%s.%s.%s", kTargetPrefix[static_cast<size_t>(entry.target)],
                        kEventWords[static_cast<size_t>(entry.event)].native,
                        kFieldWords[static_cast<size_t>(entry.field)].native);
        return &entry;
    }
    return nullptr;
}

void cb_corvane_simple_set(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[kNativeNameBytes] = {};
    int camera = camera_digit(name);
    if (!choose_native(name, simple_set_list, native, camera))
        LOG("Err: %s = %s!!\n", name, value);
    // kept: an unknown name is still written, to the empty native name
    nbus_set(native, value);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, value);
}

const std::span<const SimpleSetEntry> simple_set_keys = simple_set_list;
