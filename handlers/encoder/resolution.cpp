// Stream resolutions and frame rates. A large main-stream size pulls the
// other main stream down, every size change clamps the stream's frame rate
// to what the shared encoder can still deliver, and on a four-sensor camera
// in resolution profile 2 the third stream's quality is capped when all
// three streams run at their largest sizes. The coupling and the clamp
// write legacy nodes, so the bus brings them back to these handlers.
#include "handlers/encoder/resolution.h"

#include <cstdint>

#include "frame/context.h"
#include "frame/handler.h"
#include "frame/log.h"
#include "frame/node.h"
#include "frame/text.h"
#include "platform/avc.h"
#include "platform/modelfeature.h"

namespace {

constexpr int32_t kFullHdPixels = 1920 * 1080;
constexpr int32_t kFiveMegapixels = 2592 * 1944;
constexpr int32_t kSingleSensorCapacity = 300 * 1048576;  // pixels per second
constexpr int32_t kSharedCapacity = 280 * 1048576;        // divided by the sensors sharing it
constexpr int32_t kFrameRateStep = 5;
constexpr char kQualityTrigger[] = "21";
constexpr char kQualityCap[] = "14";

struct ResolutionStream {
    const char *key;
    const char *native;
    const char *global;
    int stream_id;               // 0-based, as the video library counts
    const char *frame_rate;      // legacy frame-rate node; none for stream 3
    const char *other;           // the other main stream's legacy node
    int other_id;
};

constexpr ResolutionStream resolution_streams[] = {
    {"resolution1", "encode.cam%d.stream1.resolution", "encode.global.stream1.resolution", 0, "corvane.cam%d.fps",
     "corvane.cam%d.resolution2", 1},
    {"resolution2", "encode.cam%d.stream2.resolution", "encode.global.stream2.resolution", 1,
     "corvane.cam%d.fps_sub", "corvane.cam%d.resolution1", 0},
    {"resolution3", "encode.cam%d.stream3.resolution", "encode.global.stream3.resolution", 2, nullptr, nullptr, 0},
};
static_assert(std::size(resolution_streams) == 3);

// A size set on one main stream caps the other one once that is larger
// than `threshold` pixels.
struct CouplingRule {
    const char *sizes[4];
    int32_t threshold;
    const char *cap;
};

// The 5 MP cap is 2592x1944 even after a smaller size was set (kept).
constexpr CouplingRule coupling_rules[] = {
    {{"3840x2160"}, kFullHdPixels, "1920x1080"},
    {{"2592x1944", "2560x1440", "2304x1296", "2048x1536"}, kFiveMegapixels, "2592x1944"},
};

const CouplingRule *coupling_rule(const char *size)
{
    for (const CouplingRule &rule : coupling_rules)
        for (const char *candidate : rule.sizes)
            if (candidate && equals(size, candidate))
                return &rule;
    return nullptr;
}

const ResolutionStream *resolution_stream(const char *name)
{
    for (const ResolutionStream &stream : resolution_streams)
        if (contains(name, stream.key))
            return &stream;
    return nullptr;
}

// A name with ".cam1".."cam9" addresses that camera, any other the global
// nodes (sensor_of in frame/text.h).
//
// Every log line carries its statement's source line, and clients compare
// the lines byte for byte: the code below keeps its lines where they have
// always stood, so what left this place leaves its lines to this comment.
//

int32_t pixels_of(int width, int height)
{
    return wrap_int32(int64_t{width} * height);
}

constexpr WordMapping frame_rate_nodes[] = {
    {"sub", "encode.cam%d.stream2.frame_rate"},
    {"third", "encode.cam%d.stream3.frame_rate"},
};

} // namespace

void cb_corvane_resolution(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[64];
    char legacy[64];
    char text[64];
    clear(native);
    clear(legacy);
    clear(text);
    int camera = sensor_of(name);
    int channel = camera - 1;
    const ResolutionStream *stream = resolution_stream(name);
    if (!stream) {
        LOG("error parameters: N-%s, V-%s!!\n", name, value);
        return;
    }
    if (camera == 0) {
        copy_into(native, stream->global);
        nbus_set(native, value);
    } else {
        expand_pattern(native, stream->native, camera);
        nbus_set(native, value);
    }
    if (camera != 0 && stream->frame_rate) {
        int encoders = get_encoderNum();
        int32_t sensors = encoders == 0 ? 0 : wrap_int32(int64_t{get_slaveCameras()} / encoders);
        const CouplingRule *rule = coupling_rule(value);
        if (encoders == 0) {
            LOG("no encoder reported, %s left as it is\n", stream->other);
        } else if (sensors != 1 && rule) {
            int width = 0;
            int height = 0;
            getStreamCurResolution(channel, stream->other_id, &width, &height);
            if (pixels_of(width, height) > rule->threshold) {
                expand_pattern(legacy, stream->other, camera);
                nbus_set(legacy, rule->cap);
            }
        }
        int max_fps = 0;
        if (getMaxFps(&max_fps, channel, stream->stream_id)) {
            expand_pattern(legacy, stream->frame_rate, camera);
            read_node(legacy, text);  // a failed read leaves "", which counts as 0
            if (parse_decimal(text) > max_fps) {
                format_into(text, "%d", max_fps);
                nbus_printf("Adaptive change %s to %s\n", legacy, text);
            }
            // rewritten even when unchanged: the frame-rate handler then
            // pushes it to the native node
            nbus_set(legacy, text);
        }
    }
    LOG("Set %s by %s = %s done!!\n", name, native, value);
    if (service.cam_count != 4 || get_profileResolution() != 2)
        return;
    if (camera != 0) {
        CorvChkStrm12Res2LimitStrm3Qual(camera);
        return;
    }
    for (int each = 1; each <= service.cam_count; ++each)
        CorvChkStrm12Res2LimitStrm3Qual(each);
}

void cb_corvane_fps(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[64];
    clear(native);
    int camera = sensor_of(name);
    if (camera == 0) {
        LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, value);
        return;
    }
    expand_pattern(native, word_containing(name, frame_rate_nodes, "encode.cam%d.stream1.frame_rate"), camera);
    nbus_set(native, value);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, value);
}

// The budget left for stream `stream_id` (0 or 1) of `channel` once the
// other main stream's current rate is charged at its current size, in the
// device's 32-bit arithmetic, rounded down to a multiple of 5. A device
// without encoders or sensors, or a stream without pixels, has no budget
// to divide: then 0 is returned and the caller leaves the rate alone.
int getMaxFps(int *max_fps, int channel, int stream_id)
{
    nbus_printf("Enter getMaxFps chnID=%d, streamId=%d.\n", channel, stream_id);
    const int64_t camera = int64_t{channel} + 1;
    char node[128];
    char rate[128];
    format_into(node, "encode.cam%lld.stream%lld.frame_rate", static_cast<long long>(camera),
                static_cast<long long>(stream_id) + 1);
    read_node(node, rate);
    int32_t frame_rate = parse_decimal(rate);
    nbus_printf("1. nbusName=%s, framerate=%d.\n", node, frame_rate);
    format_into(node, "encode.cam%lld.stream%lld.frame_rate", static_cast<long long>(camera),
                static_cast<long long>(2 - int64_t{stream_id}));
    read_node(node, rate);
    int32_t other_rate = parse_decimal(rate);
    nbus_printf("2. nbusName=%s, framerate=%d.\n", node, other_rate);
    int width = 0;
    int height = 0;
    int other_width = 0;
    int other_height = 0;
    getStreamCurResolution(channel, stream_id, &width, &height);
    getStreamCurResolution(channel, wrap_int32(1 - int64_t{stream_id}), &other_width, &other_height);
    nbus_printf("3.fr=%d(%dx%d), pfr=%d(%dx%d).\n", frame_rate, width, height, other_rate, other_width,
                other_height);
    *max_fps = 0;
    int encoders = get_encoderNum();
    int slaves = get_slaveCameras();
    int32_t sensors = encoders == 0 ? 0 : wrap_int32(int64_t{slaves} / encoders);
    if (sensors == 0) {
        LOG("no budget: %d sensors on %d encoders, frame rate left alone\n", slaves, encoders);
        return 0;
    }
    int32_t capacity = sensors == 1 ? kSingleSensorCapacity : wrap_int32(int64_t{kSharedCapacity} / sensors);
    nbus_printf("4.snsNum=%d, stmID=%d, cap=%d.\n", sensors, stream_id, capacity);
    int32_t pixels = pixels_of(width, height);
    if (pixels == 0) {
        LOG("no budget: stream %d of channel %d has no pixels, frame rate left alone\n", stream_id, channel);
        return 0;
    }
    int32_t used = wrap_int32(int64_t{pixels_of(other_rate, other_width)} * other_height);
    int32_t budget = wrap_int32(int64_t{capacity} - used);
    int32_t fps = wrap_int32(int64_t{budget} / pixels);
    fps = fps / kFrameRateStep * kFrameRateStep;
    nbus_printf("5.sns no.=%d, capacity=%d, new fps=%d(%d).\n", sensors, capacity, fps, frame_rate);
    *max_fps = fps;
    nbus_printf("Final maxFps=%d.\n", fps);
    return 1;
}

void CorvChkStrm12Res2LimitStrm3Qual(int cam)
{
    char node[128];
    char sizes[3][16];
    for (int stream = 0; stream < 3; ++stream) {
        format_into(node, "encode.cam%d.stream%d.resolution", cam, stream + 1);
        read_node(node, sizes[stream]);
    }
    char number[16];
    read_node("encode.stream.vin.width", number);
    int32_t vin_width = parse_decimal(number);
    read_node("encode.stream.vin.height", number);
    int32_t vin_height = parse_decimal(number);
    char vin[16];
    format_into(vin, "%dx%d", vin_width, vin_height);
    // `node` still names the stream-3 resolution node
    char largest[16];
    clear(largest);
    getImgMaxResolution(node, largest);
    char quality_node[128];
    expand_pattern(quality_node, "corvane.cam%d.imgquality", cam);
    char quality[16];
    read_node(quality_node, quality);
    LOG("Res:%s-%s-%s, MaxRex:%s-%s, Qual:%s \n", sizes[0], sizes[1], sizes[2], vin, largest, quality);
    if (equals(sizes[0], vin) && equals(sizes[1], vin) && equals(sizes[2], largest) &&
        equals(quality, kQualityTrigger)) {
        nbus_set(quality_node, kQualityCap);
        LOG("===>set %s=%s\n", quality_node, kQualityCap);
    }
}

// Bound to no node; unlike the others it has no ready gate.
void cb_corvane_global_mode(const char *name, const char *value)
{
    LOG("Enter %s = %s!!\n", name, value);
    nbus_set("image.global_mode", value);
    LOG("Set %s by %s = %s done!!\n", name, "image.global_mode", value);
}

// Bound to no node: stands for the legacy "scaling" parameter.
void cb_corvane_scaling(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
}

// Bound to no node: stands for the legacy "scaling_size" parameter and
// reports it as set without writing anything.
void cb_corvane_scaling_size(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    LOG("Set %s = %s done!!\n", name, value);
}
