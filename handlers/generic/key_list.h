// The simple-set key lists: each member of the family owns an ordered list
// of {match key, native node}; the first key found anywhere in the legacy
// name wins and the value is copied unchanged to that native node. The
// recording lists build their native node as "<target>.<event>.<field>" from
// the words in the key.
#ifndef HANDLERS_GENERIC_KEY_LIST_H
#define HANDLERS_GENERIC_KEY_LIST_H

#include <cstddef>
#include <span>

// Native-name buffer of one call, cleared at its start.
constexpr size_t kNativeNameBytes = 64;

enum class Target { none, sd_record, ftp, nfs_record };
enum class Event { alm, md, od, net, scd };
enum class Field {
    jpgfolder,
    jpgprefix,
    jpgprerecord,
    jpgpostrecord,
    preduration,
    postduration,
    videofolder,
    videoprefix,
    videoprerecord,
    videopostrecord,
};

struct RecordingWord {
    const char *in_key;
    const char *native;
};

inline constexpr const char *kTargetPrefix[] = {"", "event.active.sd_record", "event.active.ftp",
                                                "event.active.nfs_record"};

inline constexpr RecordingWord kEventWords[] = {
    {"alm", "alarm1"}, {"md", "motion"}, {"od", "sabotage"}, {"net", "network"}, {"scd", "scheduled"},
};

inline constexpr RecordingWord kFieldWords[] = {
    {"jpgfolder", "server_dir"},
    {"jpgprefix", "pre_filename"},
    {"jpgprerecord", "pre_record_frame"},
    {"jpgpostrecord", "post_record_frame"},
    {"preduration", "pre_record_duration"},
    {"postduration", "post_record_duration"},
    {"videofolder", "server_video_dir"},
    {"videoprefix", "pre_video_filename"},
    {"videoprerecord", "pre_record"},
    {"videopostrecord", "post_record"},
};

struct SimpleSetEntry {
    const char *key;
    const char *native; // fixed name or pattern with one "%d"; null: built by the recording rule
    Target target;
    Event event;
    Field field;
};

// A key with its own native node (a "%d" in it takes the camera number).
constexpr SimpleSetEntry to(const char *key, const char *native)
{
    return {key, native, Target::none, Event::alm, Field::jpgfolder};
}

// A key whose native node is <target>.<event>.<field>.
constexpr SimpleSetEntry rec(const char *key, Target target, Event event, Field field)
{
    return {key, nullptr, target, event, field};
}

// Finds the first entry whose key occurs in `name` and writes its native
// name into `native` (a pattern gets `camera`); null when no key matches.
const SimpleSetEntry *choose_native(const char *name, std::span<const SimpleSetEntry> list,
                                    char (&native)[kNativeNameBytes], int camera = 0);

// The lists of cb_corvane_simple_set and of cb_corvane_simple_set1..6.
constexpr size_t kSimpleSetVariants = 6;
extern const std::span<const SimpleSetEntry> simple_set_keys;
extern const std::span<const SimpleSetEntry> simple_set_variant_keys[kSimpleSetVariants];

// Build-time checks of the lists.
namespace simple_set_check {

constexpr size_t length(const char *text)
{
    size_t n = 0;
    while (text[n])
        ++n;
    return n;
}

constexpr bool same(const char *a, const char *b)
{
    size_t i = 0;
    for (; a[i] && a[i] == b[i]; ++i) {
    }
    return a[i] == b[i];
}

constexpr bool ends_with(const char *text, size_t text_length, const char *tail)
{
    size_t n = length(tail);
    if (n > text_length)
        return false;
    for (size_t i = 0; i < n; ++i)
        if (text[text_length - n + i] != tail[i])
            return false;
    return true;
}

// A recording key reads "...<event>_<field>", or "_<field>" in a list whose
// event is implied; its native name fits the buffer.
constexpr bool follows_rule(const SimpleSetEntry &entry)
{
    if (entry.native)
        return length(entry.native) < kNativeNameBytes;
    const char *event = kEventWords[static_cast<size_t>(entry.event)].in_key;
    const char *field = kFieldWords[static_cast<size_t>(entry.field)].in_key;
    size_t key_length = length(entry.key);
    if (!ends_with(entry.key, key_length, field))
        return false;
    size_t head = key_length - length(field);
    if (head == 0 || entry.key[head - 1] != '_')
        return false;
    bool event_named = ends_with(entry.key, head - 1, event);
    bool event_implied = head == 1;
    size_t native_length = length(kTargetPrefix[static_cast<size_t>(entry.target)]) +
                           length(kEventWords[static_cast<size_t>(entry.event)].native) +
                           length(kFieldWords[static_cast<size_t>(entry.field)].native) + 2;
    return (event_named || event_implied) && entry.target != Target::none && native_length < kNativeNameBytes;
}

template <size_t N>
constexpr bool all_follow_rule(const SimpleSetEntry (&list)[N])
{
    for (const SimpleSetEntry &entry : list)
        if (!follows_rule(entry))
            return false;
    return true;
}

} // namespace simple_set_check

#endif
