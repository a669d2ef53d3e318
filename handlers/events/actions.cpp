// Alarm actions and storage: which event triggers recording to the card (at
// most one at a time), the alarm output, the mail recipients, the audio
// input, the card's record type, and legacy nodes accepted but not acted on.
#include "handlers/events/actions.h"

#include <cstdint>

#include "frame/context.h"
#include "frame/handler.h"
#include "frame/log.h"
#include "frame/node.h"
#include "frame/text.h"
#include "platform/nbus.h"

namespace {

struct SdTrigger {
    char key[20];
    char native[64];
};

// The legacy node of each row is "corvane.sd_" followed by its key.
constexpr SdTrigger sd_triggers[] = {
    {"ioalarm", "event.active.sd_record.enable_alarm1"},
    {"motionalarm", "event.active.sd_record.enable_motion"},
    {"networkfail", "event.active.sd_record.enable_network"},
    {"recording", "event.active.sd_record.enable_manual"},
    {"tamperalarm", "event.active.sd_record.enable_sabotage"},
};
static_assert(std::size(sd_triggers) == 5);

constexpr const char *kAlarmOut = "gpio.out.alarmout1";
constexpr WordMapping alarm_out_words[] = {{"on", "on"}, {"off", "off"}};

constexpr WordMapping mail_targets[] = {
    {"en_smtp", "event.active.smtp.mail_to_%d.enable"},
    {"smtp_alm", "event.active.smtp.mail_to_%d.on_alarm1"},
    {"smtp_md", "event.active.smtp.mail_to_%d.on_motion"},
    {"smtp_od", "event.active.smtp.mail_to_%d.on_sabotage"},
    {"smtp_rec", "event.active.smtp.mail_to_%d.receiver_email"},
};

constexpr const char *kAudioInType = "encode.audio.in.type";
constexpr const char *kAudioInLevel = "encode.audio.in.level";
constexpr const char *kSdRecordType = "event.active.sd_record.record_type";

// Mail number 1..10 of a recipient node; 0 when it has none.
int mail_number(const char *name)
{
    if (contains(name, "mail10"))
        return 10;
    if (!contains(name, "mail"))
        return 0;
    return digit_after(name, "mail");
}

// Compared as unsigned, so negative levels fall into "mid"; the gap between
// the bands is kept.
const char *line_in_level(int32_t level)
{
    uint32_t n = static_cast<uint32_t>(level);
    if (n <= 15)
        return "low";
    if (n >= 31 && n <= 45)
        return "high";
    return "mid";
}

} // namespace

void cb_corvane_sd_func_gate(const char *name, const char *value)
{
    if (!service.ready)
        return;
    cb_corvane_sd_func(name, value);
}

// Switching one trigger on switches every other one off through its own
// legacy node, whose handler clears the native node: at most one is on.
void cb_corvane_sd_func(const char *name, const char *value)
{
    LOG("Enter %s = %s!!\n", name, value);
    if (equals(value, "on")) {
        for (const SdTrigger &trigger : sd_triggers) {
            if (contains(name, trigger.key)) {
                nbus_set(trigger.native, "on");
                continue;
            }
            char legacy[128];
            char current[8];
            format_into(legacy, "corvane.sd_%s", trigger.key);
            if (int error = read_node(legacy, current)) {
                LOG("nbus_get %s, error : %d!!\n", legacy, error);
                continue;
            }
            if (equals(current, "on"))
                nbus_set(legacy, "off");
        }
        LOG("Set %s = on leave!!\n", name);
    } else if (equals(value, "off")) {
        for (const SdTrigger &trigger : sd_triggers) {
            if (contains(name, trigger.key)) {
                nbus_set(trigger.native, "off");
                break;
            }
        }
        LOG("Set %s = off leave!!\n", name);
    } else {
        LOG("Set %s=%s value error!!\n", name, value);
    }
}

void cb_corvane_auxout(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (const char *word = word_equal_to(value, alarm_out_words, nullptr))
        nbus_set(kAlarmOut, word);
}

void cb_corvane_smtp_mail(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    int mail = mail_number(name);
    if (mail == 0) {
        LOG("ERR, Name: %s, Mail no: %d!!\n", name, 0);
        return;
    }
    const char *pattern = word_containing(name, mail_targets, nullptr);
    if (!pattern) {
        LOG("Err: %s = %s!!\n", name, value);
        return;
    }
    char native[128];
    expand_pattern(native, pattern, mail);
    nbus_set(native, value);
    LOG("Set %s = %s done!!\n", native, value);
}

void cb_corvane_audinput(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char current[16];
    if (int error = read_node(kAudioInType, current)) {
        LOG("nbus_get %s, error : %d!!\n", kAudioInType, error);
        return;
    }
    if (equals(current, value))
        return;
    nbus_set(kAudioInType, value);
    LOG("%s (%s) set %s done!!\n", name, kAudioInType, value);
}

void cb_corvane_linein_volume(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *level = line_in_level(parse_decimal(value));
    nbus_set(kAudioInLevel, level);
    LOG("set %s = %s Done!!\n", kAudioInLevel, level);
}

void cb_corvane_sd_codec(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *type = contains(value, "jpeg") ? "snapshot" : "video";
    nbus_set(kSdRecordType, type);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, kSdRecordType, type);
}

// Accepted but not acted on yet: each only logs its own line.
void cb_corvane_af_dn(const char *name, const char *value)
{
    inactive_handler(__func__, name, value);
}

void cb_corvane_af_zoom(const char *name, const char *value)
{
    inactive_handler(__func__, name, value);
}

void cb_corvane_auxin(const char *name, const char *value)
{
    inactive_handler(__func__, name, value);
}

void cb_corvane_exp_ref_channel(const char *name, const char *value)
{
    inactive_handler(__func__, name, value);
}

void cb_corvane_illum(const char *name, const char *value)
{
    inactive_handler(__func__, name, value);
}

void cb_corvane_motion_compensation(const char *name, const char *value)
{
    inactive_handler(__func__, name, value);
}
