// Start-up synchronisation: rebuilds the legacy subtree from the native
// nodes once, before the handlers are opened for business.
#include "bindings/sync.h"

#include <cstring>

#include "bindings/binding.h"
#include "frame/context.h"
#include "frame/log.h"
#include "frame/text.h"
#include "platform/nbus.h"

namespace {

constexpr int kCopyBytes = 64;

// Native node to legacy node, unchanged; a failed read is silent.
void copy_node(const char *native_name, const char *legacy_name)
{
    char value[kCopyBytes];
    clear(value);
    if (nbus_get(native_name, value, kCopyBytes) == 0)
        nbus_set(legacy_name, value);
}

void dashes_for_colons(char *text)
{
    for (char *colon = strchr(text, ':'); colon; colon = strchr(colon, ':'))
        *colon = '-';
}

struct FixedCopy {
    const char *native_name;
    const char *legacy_name;
    const char *failure_name;  // the name the failure line gives
    void (*transform)(char *value);
};

constexpr FixedCopy fixed_copies[] = {
    {"network.ipv4.ip_addr", "corvane.ip", "network.ipv4.ip_addr", nullptr},
    {"system.info.mac_addr", "corvane.mac", "system.info.mac_addr", dashes_for_colons},
    {"network.ipv4.mask", "corvane.subnetmask", "network.ipv4.mask", nullptr},
    // kept: the failure line names another node; clients' log scanners expect it
    {"gpio.out.alarmout1", "corvane.auxout", "network.http_port", nullptr},
    {"hardware.model_feature", "corvane.modelfeature", "hardware.model_feature", nullptr},
};

void acknowledge_recorded_preset(const char *caller, char *value, int size)
{
    memset(value, 0, size);
    if (nbus_get("corvane.ptzstatus", value, size) != 0) {
        LOG_AS(caller, "Command - %s not supported\r\n", "corvane.ptzstatus");
        return;
    }
    if (equals(value, "ptz-record-preset1"))
        nbus_set("corvane.ptzstatus", "ptz-preset1_done");
    else if (equals(value, "ptz-record-preset2"))
        nbus_set("corvane.ptzstatus", "ptz-preset2_done");
}

void copy_fixed_nodes(const char *caller, char *value, int size)
{
    for (const FixedCopy &copy : fixed_copies) {
        memset(value, 0, size);
        if (nbus_get(copy.native_name, value, size) != 0) {
            LOG_AS(caller, "Command - %s not supported\r\n", copy.failure_name);
            continue;
        }
        if (copy.transform)
            copy.transform(value);
        nbus_set(copy.legacy_name, value);
    }
}

// Both names expanded with `number` into the caller's work buffers.
void expand_pair(const NodeBinding &row, int number, char *name, char *value, int size)
{
    memset(name, 0, size);
    memset(value, 0, size);
    expand_pattern(name, size, row.legacy_name, number);
    expand_pattern(value, size, row.native_name, number);
}

void copy_numbered(const NodeBinding &row, int last, char *name, char *value, int size)
{
    for (int number = 1; number <= last; ++number) {
        expand_pair(row, number, name, value, size);
        copy_node(value, name);
    }
}

void synchronise_row(const NodeBinding &row, char *name, char *value, int size)
{
    bool per_camera = contains(row.legacy_name, "cam%d");
    if (row.converter) {
        if (!per_camera) {
            memset(name, 0, size);
            memset(value, 0, size);
            format_into_buffer(name, size, "%s", row.legacy_name);
            format_into_buffer(value, size, "%s", row.native_name);
            row.converter(name, value);
            return;
        }
        for (int camera = 1; camera <= service.cam_count; ++camera) {
            expand_pair(row, camera, name, value, size);
            row.converter(name, value);
        }
    } else if (row.native_name) {
        if (per_camera)
            copy_numbered(row, service.cam_count, name, value, size);
        else
            copy_node(row.native_name, row.legacy_name);
    }
}

} // namespace

void cb_corvane_nodes_sync(char *name_buffer, char *value_buffer, int size)
{
    acknowledge_recorded_preset(__func__, value_buffer, size);
    copy_fixed_nodes(__func__, value_buffer, size);

    for (const NodeBinding &row : smtp_table)
        if (row.native_name && contains(row.legacy_name, "mail%d"))
            copy_numbered(row, kMailSlots, name_buffer, value_buffer, size);
    for (const NodeBinding &row : user_table)
        if (row.native_name)
            copy_numbered(row, kUserSlots, name_buffer, value_buffer, size);
    for (const NodeBinding &row : binding_table)
        synchronise_row(row, name_buffer, value_buffer, size);

    LOG("\tCallback Func, all size: %d, struct size: %d, item size: %d.\n",
        row_count(binding_table) * kDeviceRecordBytes, kDeviceRecordBytes, row_count(binding_table));
    LOG("\tSMTP mail, all size: %d, item size: %d.\n", row_count(smtp_table) * kDeviceRecordBytes,
        row_count(smtp_table));
    LOG("\tAccount users, all size: %d, item size: %d.\n", row_count(user_table) * kDeviceRecordBytes,
        row_count(user_table));
}
