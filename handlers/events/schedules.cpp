// Weekly schedules whose legacy names encode the weekday and the time field
// ("corvane.auxin_d3ehr": Wednesday's end hour): alarm input, per-sensor
// tamper detection, FTP upload and network-share recording.
#include "handlers/events/schedules.h"

#include <iterator>

#include "frame/handler.h"
#include "frame/log.h"
#include "frame/node.h"
#include "frame/text.h"
#include "platform/nbus.h"

namespace {

constexpr size_t kNativeBytes = 128;

constexpr WordMapping weekdays[] = {
    {"_d1", "mon"}, {"_d2", "tue"}, {"_d3", "wed"}, {"_d4", "thu"},
    {"_d5", "fri"}, {"_d6", "sat"}, {"_d7", "sun"},
};
static_assert(std::size(weekdays) == 7);

constexpr WordMapping time_fields[] = {
    {"shr", "start_hour"}, {"smin", "start_min"}, {"ehr", "end_hour"}, {"emin", "end_min"},
};

constexpr WordMapping upload_periods[] = {
    {"_shr1", "sched_1.start_hour"},
    {"_ehr1", "sched_1.end_hour"},
    {"_shr2", "sched_2.start_hour"},
    {"_ehr2", "sched_2.end_hour"},
};

constexpr WordMapping ftp_fixed_nodes[] = {
    {"_postduration", "event.active.ftp.scheduled.post_record_duration"},
    {"_jpgprefix", "event.active.ftp.scheduled.pre_filename"},
    {"_jpgfolder", "event.active.ftp.scheduled.server_dir"},
};

constexpr const char *kAlarmEnable = "event.alarm1.enable";
constexpr const char *kNfsMountStatus = "system.nfs.mount_status";

// The weekday word, else the period word, of an upload schedule name.
const char *day_or_period(const char *name)
{
    const char *day = word_containing(name, weekdays, nullptr);
    return day ? day : word_containing(name, upload_periods, nullptr);
}

} // namespace

void cb_corvane_auxin_schedule(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *day = word_containing(name, weekdays, nullptr);
    if (!day) {
        LOG("Info-no day, %s = %s\n", name, value);
        day = "";
    }
    const char *field = word_containing(name, time_fields, nullptr);
    if (!field) {
        LOG("Info-no time, %s = %s\n", name, value);
        field = "";
    }
    char native[kNativeBytes] = {};
    if (contains(name, "en_auxin"))
        copy_into(native, kAlarmEnable);
    else
        format_into(native, "event.alarm1.scheduled.%s.%s", day, field);
    nbus_set(native, value);
    LOG("Set %s = %s done!!\n", native, value);
}

void cb_corvane_od_schedule(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    int camera = camera_digit(name);
    const char *day = word_containing(name, weekdays, nullptr);
    if (!day) {
        LOG("Info-no day, %s = %s\n", name, value);
        day = "";
    }
    const char *field = word_containing(name, time_fields, nullptr);
    if (!field) {
        LOG("Info-no time, %s = %s\n", name, value);
        field = "";
    }
    if (camera == 0) {
        LOG("ERR-cam%d, %s = %s\n", camera, name, value);
        return;
    }
    char native[kNativeBytes] = {};
    if (contains(name, "en_od"))
        format_into(native, "event.cam%d.sabotage.enable", camera);
    else if (contains(name, "_senstvt"))
        format_into(native, "event.cam%d.sabotage.sensitivity", camera);
    else
        format_into(native, "event.cam%d.sabotage.scheduled.%s.%s", camera, day, field);
    nbus_set(native, value);
    LOG("Set %s = %s done!!\n", native, value);
}

void cb_corvane_ftp_schedule(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[kNativeBytes] = {};
    if (const char *fixed = word_containing(name, ftp_fixed_nodes, nullptr)) {
        copy_into(native, fixed);
    } else if (const char *part = day_or_period(name)) {
        format_into(native, "event.active.ftp.scheduled.%s", part);
    } else {
        LOG("ERR-Unknown, %s = %s\n", name, value);
        return;
    }
    nbus_set(native, value);
    LOG("Set %s = %s done!!\n", native, value);
}

void cb_corvane_nfs_schedule(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[kNativeBytes] = {};
    if (contains(name, "_status")) {
        copy_into(native, kNfsMountStatus);
    } else if (const char *part = day_or_period(name)) {
        format_into(native, "event.active.nfs_record.scheduled.%s", part);
    } else {
        LOG("ERR-Unknown, %s = %s\n", name, value);
        return;
    }
    nbus_set(native, value);
    LOG("Set %s = %s done!!\n", native, value);
}
