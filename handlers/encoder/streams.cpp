// Per-stream encoder settings: quality, key frames, group of pictures,
// quantiser, bit rate and its limit, stream state size, SEI and smart GOP.
// Each legacy node exists once per stream; a key in its name picks the
// stream, first match wins.
#include "handlers/encoder/streams.h"

#include <cstdint>

#include "frame/handler.h"
#include "frame/log.h"
#include "frame/node.h"
#include "frame/text.h"

namespace {

constexpr int32_t kLowestConstantBitRate = 64;
constexpr char kUnlimitedBitRate[] = "8000";

// A key of the legacy name and the stream it stands for.
struct StreamKey {
    const char *key;
    int stream;
};

// The stream of the first key the name holds; `otherwise` without one.
template <size_t N>
int stream_of(const char *name, const StreamKey (&keys)[N], int otherwise = 0)
{
    for (const StreamKey &row : keys)
        if (contains(name, row.key))
            return row.stream;
    return otherwise;
}

// A name with ".cam1".."cam9" addresses that camera, any other the global
// nodes (sensor_of in frame/text.h).
//
// Every log line carries its statement's source line, and clients compare
// the lines byte for byte: the code below keeps its lines where they have
// always stood, so what left this place leaves its lines to this comment.
//

// "encode.cam<camera>.stream<stream>.<leaf>", or the global form for camera 0.
template <size_t N>
void stream_node(char (&buffer)[N], int camera, int stream, const char *leaf)
{
    if (camera == 0)
        format_into(buffer, "encode.global.stream%d.%s", stream, leaf);
    else
        format_into(buffer, "encode.cam%d.stream%d.%s", camera, stream, leaf);
}

const char *quality_word(int32_t level)
{
    if (level >= 1 && level <= 7)
        return "low";
    if (level >= 8 && level <= 14)
        return "mid";
    return "high";
}

// The decimal value of the first or last "~"-separated piece of the range
// text's "cont[min~max" part, taken before its first ","; 0 when the text
// holds no such part or the part no piece.
enum class Piece { first, last };

int32_t range_piece(const char *range, Piece which)
{
    const char *bounds = strstr(range, "cont[");
    if (!bounds)
        return 0;
    char work[64];
    copy_into(work, bounds + strlen("cont["));
    char *part = work + strspn(work, ",");
    part[strcspn(part, ",")] = '\0';
    const char *found = nullptr;
    for (char *piece = part + strspn(part, "~"); *piece != '\0'; piece += strspn(piece, "~")) {
        size_t length = strcspn(piece, "~");
        if (!found || which == Piece::last)
            found = piece;
        if (piece[length] == '\0')
            break;
        piece[length] = '\0';
        piece += length + 1;
    }
    return found ? parse_decimal(found) : 0;
}

constexpr StreamKey quality_keys[] = {{"quality1", 1}, {"quality2", 2}, {"quality", 3}};
constexpr StreamKey keyframe_keys[] = {{"keyframe_sub", 2}, {"keyframe", 1}};
constexpr StreamKey interval_keys[] = {{"interval_sub", 2}, {"interval3", 3}, {"interval", 1}};
constexpr StreamKey qp_keys[] = {{"qp2", 2}, {"qp3", 3}, {"qp", 1}};
constexpr StreamKey sei_keys[] = {{"sei2", 2}, {"sei3", 3}, {"sei", 1}};
constexpr StreamKey snapstream_keys[] = {{"stream2", 2}, {"stream3", 3}};
constexpr StreamKey state_keys[] = {{"stream1", 1}, {"stream2", 2}, {"stream3", 3}};
constexpr StreamKey bitrate_keys[] = {{"bitrate2", 2}, {"bitrate3", 3}, {"bitrate", 1}};
constexpr StreamKey ratelimit_keys[] = {{"ratelimit2", 2}, {"ratelimit3", 3}};
constexpr StreamKey ratelimit_mode_keys[] = {{"mode2", 2}, {"mode3", 3}};

} // namespace

void cb_corvane_imgquality(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[64];
    clear(native);
    const char *word = quality_word(parse_decimal(value));
    int camera = sensor_of(name);
    int stream = camera == 0 ? 3 : stream_of(name, quality_keys);
    if (stream == 0) {
        LOG("ERR(cam%d) %s = %s!!\n", camera, name, value);
        return;
    }
    stream_node(native, camera, stream, "quality");
    nbus_set(native, word);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, word);
}

void cb_corvane_keyframe(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[64];
    char written[64];
    clear(native);
    clear(written);
    int camera = sensor_of(name);
    int stream = camera == 0 ? 0 : stream_of(name, keyframe_keys);
    if (stream != 0) {
        stream_node(native, camera, stream, "force_idr");
        nbus_set(native, value);
    }
    // the last field stays empty: clients parse the line as it is (kept)
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, written);
}

void cb_corvane_keyframeinterval(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[64];
    char interval[64];
    clear(native);
    clear(interval);
    int camera = sensor_of(name);
    if (camera != 0) {
        int stream = stream_of(name, interval_keys);
        if (stream == 0) {
            LOG("ERR-cam%d, %s = %s!!\n", camera, name, value);
            return;
        }
        stream_node(native, camera, stream, "gop");
        expand_own_format(interval, value);
        nbus_set(native, interval);
    }
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, interval);
}

void cb_corvane_qp(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[64];
    clear(native);
    int camera = sensor_of(name);
    if (camera != 0) {
        int stream = stream_of(name, qp_keys);
        if (stream == 0) {
            LOG("ERR(cam%d), %s = %s!!\n", camera, name, value);
            return;
        }
        stream_node(native, camera, stream, "min_qp");
        nbus_set(native, value);
    }
    LOG("Set %s = %s done!!\n", native, value);
}

void cb_corvane_sei(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[64];
    clear(native);
    int camera = sensor_of(name);
    int stream = stream_of(name, sei_keys);
    if (camera == 0 || stream == 0) {
        LOG("Err: cam num: %d (%s = %s) \n", camera, name, value);
        return;
    }
    stream_node(native, camera, stream, "sei");
    nbus_set(native, value);
    LOG("Set %s = %s done!!\n", native, value);
}

void cb_corvane_snapstream(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[64];
    clear(native);
    const char *smart = equals(value, "on") ? "1" : "0";
    stream_node(native, sensor_of(name), stream_of(name, snapstream_keys, 1), "smartgop");
    nbus_set(native, smart);
    LOG("Set %s=%s by %s=%s done!!\n", name, value, native, smart);
}

void cb_corvane_enc_stream(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[64];
    clear(native);
    int stream = stream_of(name, state_keys);
    if (stream == 0) {
        LOG("error parameters: N-%s, V-%s!!\n", name, value);
        return;
    }
    const char *leaf = contains(name, "width") ? "state.width" : contains(name, "height") ? "state.height" : nullptr;
    if (leaf) {
        stream_node(native, sensor_of(name), stream, leaf);
        nbus_set(native, value);
    } else {
        LOG("stream%d error: N-%s, V-%s!!\n", stream, name, value);
    }
    LOG("Set %s by %s = %s done!!\n", name, native, value);
}

void cb_corvane_bitrate(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    int camera = sensor_of(name);
    // camera 5 is refused on purpose (kept)
    int stream = camera == 0 || camera == 5 ? 0 : stream_of(name, bitrate_keys);
    if (stream == 0) {
        LOG("ERR-cam%d, %s = %s !!\n", camera, name, value);
        return;
    }
    int32_t rate = parse_decimal(value);
    char constant[64];
    char control[64];
    char current[64];
    char variable[64];
    stream_node(constant, camera, stream, "cbr_bitrate_t");
    stream_node(control, camera, stream, "rate_control");
    stream_node(current, camera, stream, "bit_rate");
    stream_node(variable, camera, stream, "vbr_bitrate_t");
    if (rate == 0) {
        nbus_set(control, "cvbr");
        char limit[8];
        read_node(variable, limit);
        nbus_set(current, limit);
        return;
    }
    char text[16];
    format_into(text, "%d", rate < kLowestConstantBitRate ? kLowestConstantBitRate : rate);
    nbus_set(constant, text);
    nbus_set(current, text);
    nbus_set(control, "cbr");
}

void cb_corvane_ratelimit(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    int camera = sensor_of(name);
    if (camera == 0) {
        LOG("ERR(CAM0), %s = %s\n", name, value);
        return;
    }
    int32_t rate = parse_decimal(value);
    int stream = stream_of(name, ratelimit_keys, 1);
    char variable[64];
    char control[64];
    char current[64];
    stream_node(variable, camera, stream, "vbr_bitrate_t");
    stream_node(control, camera, stream, "rate_control");
    stream_node(current, camera, stream, "bit_rate");
    char range[128];
    clear(range);
    nbus_get_range(variable, range, sizeof range);
    int lowest = getRangeMin(range);
    // only the lower bound is enforced (kept)
    [[maybe_unused]] int highest = getRangeMax(range);
    if (rate != 0) {
        char text[16];
        format_into(text, "%d", rate < lowest ? lowest : rate);
        nbus_set(variable, text);
        LOG("Set TC nbus %s = %s!!\n", current, text);
        nbus_set(current, text);
        LOG("Set %s = %s done!!\n", variable, text);
    } else {
        LOG("Set %s = %s done!!\n", variable, value);
    }
    nbus_set(control, "cvbr");
}

void cb_corvane_rlmode(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    int camera = sensor_of(name);
    if (camera == 0) {
        LOG("ERR(CAM0), %s = %s\n", name, value);
        return;
    }
    int stream = stream_of(name, ratelimit_mode_keys, 1);
    char limit[64];
    stream_node(limit, camera, stream, "enable_bitrate_limit");
    nbus_set(limit, value);
    if (equals(value, "off")) {
        char current[64];
        stream_node(current, camera, stream, "bit_rate");
        nbus_set(current, kUnlimitedBitRate);
        LOG("Set TC nbus %s=8000\n", current);
    }
    LOG("Set  %s = %s done!!\n", limit, value);
}

// Range texts hold "cont[min~max]": the first piece is the lower bound.
int getRangeMin(const char *range)
{
    return range_piece(range, Piece::first);
}

int getRangeMax(const char *range)
{
    return range_piece(range, Piece::last);
}
