// Multicast ports, addresses, URLs and time-to-live of the three streams of
// each sensor, the multicast switches and the quality-of-service settings.
#include "handlers/network/streaming.h"

#include <iterator>

#include "frame/handler.h"
#include "frame/log.h"
#include "frame/node.h"
#include "frame/text.h"
#include "platform/nbus.h"

namespace {

constexpr size_t kNativeBytes = 64;

// Every numbered name stands before the shorter one it holds.
constexpr WordMapping sensor_multicast_nodes[] = {
    {"rtpport3", "network.rtsp.cam%d.stream3.multicast.port_video"},
    {"rtpport2", "network.rtsp.cam%d.stream2.multicast.port_video"},
    {"rtpport", "network.rtsp.cam%d.stream1.multicast.port_video"},
    {"multicast_audioport3", "network.rtsp.cam%d.stream3.multicast.port_audio"},
    {"multicast_audioport2", "network.rtsp.cam%d.stream2.multicast.port_audio"},
    {"multicast_audioport", "network.rtsp.cam%d.stream1.multicast.port_audio"},
    {"multicast_metadataport3", "network.rtsp.cam%d.stream3.multicast.port_metadata"},
    {"multicast_metadataport2", "network.rtsp.cam%d.stream2.multicast.port_metadata"},
    {"multicast_metadataport", "network.rtsp.cam%d.stream1.multicast.port_metadata"},
    {"multicast_url3", "network.rtsp.cam%d.stream3.multicast.url"},
    {"multicast_url2", "network.rtsp.cam%d.stream2.multicast.url"},
    {"multicast_url", "network.rtsp.cam%d.stream1.multicast.url"},
    {"streamip3", "network.rtsp.cam%d.stream3.multicast.address_video"},
    {"streamip2", "network.rtsp.cam%d.stream2.multicast.address_video"},
    {"streamip", "network.rtsp.cam%d.stream1.multicast.address_video"},
    {"multicast_audioaddr3", "network.rtsp.cam%d.stream3.multicast.address_audio"},
    {"multicast_audioaddr2", "network.rtsp.cam%d.stream2.multicast.address_audio"},
    {"multicast_audioaddr", "network.rtsp.cam%d.stream1.multicast.address_audio"},
    {"multicast_metadataaddr3", "network.rtsp.cam%d.stream3.multicast.address_metadata"},
    {"multicast_metadataaddr2", "network.rtsp.cam%d.stream2.multicast.address_metadata"},
    {"multicast_metadataaddr", "network.rtsp.cam%d.stream1.multicast.address_metadata"},
    {"_ttl3", "network.rtsp.cam%d.stream3.multicast.ttl"},
    {"_ttl2", "network.rtsp.cam%d.stream2.multicast.ttl"},
    {"_ttl", "network.rtsp.cam%d.stream1.multicast.ttl"},
};
static_assert(std::size(sensor_multicast_nodes) == 24);

constexpr WordMapping global_ttl_nodes[] = {
    {"_ttl3", "network.rtsp.stream3.multicast.ttl"},
    {"_ttl2", "network.rtsp.stream2.multicast.ttl"},
    {"_ttl", "network.rtsp.stream1.multicast.ttl"},
};

constexpr WordMapping global_url_streamip_nodes[] = {
    {"streamip3", "network.rtsp.stream3.multicast.address_video"},
    {"streamip2", "network.rtsp.stream2.multicast.address_video"},
    {"streamip", "network.rtsp.stream1.multicast.address_video"},
    {"_url3", "network.rtsp.stream3.multicast.url"},
    {"url2", "network.rtsp.stream2.multicast.url"}, // kept: no underscore
    {"_url", "network.rtsp.stream1.multicast.url"},
};

constexpr const char *kStream1Url = "network.rtsp.stream1.multicast.url";

// "2" is tested before "3", both before the bare form.
constexpr WordMapping multicast_switches[] = {
    {"_multicast2", "network.rtsp.stream2.enable_multicast"},
    {"_multicast3", "network.rtsp.stream3.enable_multicast"},
    {"_multicast", "network.rtsp.stream1.enable_multicast"},
};

constexpr WordMapping qos_nodes[] = {
    {"qos_default", "network.qos.dscp_management"},
    {"qos_video", "network.qos.dscp_video"},
};

constexpr const char *kQosEnable = "network.qos.enable";

// The sensor of a name is its raw camera_digit, whatever follows ".cam"
// (kept), 0 without ".cam". Every log line carries its statement's source
// line, and clients compare the lines byte for byte: the handlers below
// keep theirs where they have always stood, so what left this place
// leaves its lines to this comment.

const char *switch_word(const char *value)
{
    return contains(value, "1") ? "on" : "off";
}

} // namespace

void cb_corvane_rtpport(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[kNativeBytes] = {};
    int sensor = camera_digit(name);
    if (sensor == 0) {
        const char *ttl = word_containing(name, global_ttl_nodes, nullptr);
        if (!ttl) {
            LOG("ERR-CAM0 %s = %s!!\n", name, value);
            return;
        }
        copy_into(native, ttl);
    } else {
        const char *pattern = word_containing(name, sensor_multicast_nodes, nullptr);
        if (!pattern) {
            LOG("ERR-cam%d, %s = %s!!\n", sensor, name, value);
            return;
        }
        expand_pattern(native, pattern, sensor);
    }
    nbus_set(native, value);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, value);
}

void cb_corvane_url_streamip(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[kNativeBytes] = {};
    if (camera_digit(name) != 0) {
        // no row registers a sensor name here; such a name goes to stream 1
        copy_into(native, kStream1Url);
    } else {
        const char *node = word_containing(name, global_url_streamip_nodes, nullptr);
        if (!node) {
            LOG("ERR-CAM0, %s = %s!!\n", name, value);
            return;
        }
        copy_into(native, node);
    }
    nbus_set(native, value);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, value);
}

void cb_corvane_en_multicast(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *native = word_containing(name, multicast_switches, nullptr);
    if (!native) {
        LOG("ERR(cam%d), %s = %s!!\n", camera_digit(name), name, value);
        return;
    }
    const char *word = switch_word(value);
    nbus_set(native, word);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, word);
}

void cb_corvane_qos_default_video(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *native = word_containing(name, qos_nodes, nullptr);
    if (!native) {
        LOG("ERR corvane node: %s, value: %s", name, value);
        return;
    }
    nbus_set(native, value);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, value);
}

void cb_corvane_qos_enable(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *word = switch_word(value);
    nbus_set(kQosEnable, word);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, kQosEnable, word);
}
