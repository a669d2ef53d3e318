#include "bindings/registration.h"

#include "bindings/binding.h"
#include "frame/context.h"
#include "frame/text.h"
#include "platform/nbus.h"

namespace {

constexpr int kNameBytes = 128;

void listen_numbered(const char *pattern, Handler handler, int last)
{
    char name[kNameBytes];
    for (int number = 1; number <= last; ++number) {
        expand_pattern(name, pattern, number);
        nbus_listen(name, handler);
    }
}

} // namespace

void register_bindings()
{
    for (const NodeBinding &row : binding_table) {
        if (!row.handler)
            continue;
        if (contains(row.legacy_name, "cam%d"))
            listen_numbered(row.legacy_name, row.handler, service.cam_count);
        else
            nbus_listen(row.legacy_name, row.handler);
    }
    for (const NodeBinding &row : smtp_table)
        listen_numbered(row.legacy_name, row.handler, kMailSlots);
    for (const NodeBinding &row : user_table)
        listen_numbered(row.legacy_name, row.handler, kUserSlots);
}
