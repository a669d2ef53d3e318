// User accounts (twelve slots), the legacy viewer and administrator
// passwords, and the display order of the sensors on the web page.
#include "handlers/generic/accounts.h"

#include "frame/context.h"
#include "frame/handler.h"
#include "frame/log.h"
#include "frame/node.h"
#include "frame/text.h"
#include "handlers/generic/key_list.h"
#include "platform/nbus.h"

namespace {

constexpr WordMapping user_field_patterns[] = {
    {"id", "account.user.id.%d"},
    {"pwd", "account.user.password.%d"},
    {"level", "account.user.level.%d"},
};

// The two-digit slots stand first: "user1" is a prefix of all three.
constexpr WordMapping two_digit_slots[] = {{"user12", "12"}, {"user11", "11"}, {"user10", "10"}};

// Slot number of a user node; 0 when "user" is absent or followed by '0'.
int user_slot(const char *name)
{
    if (const char *slot = word_containing(name, two_digit_slots, nullptr))
        return parse_decimal(slot);
    if (!contains(name, "user"))
        return 0;
    // any other character is taken as it stands; no upper bound
    return digit_after(name, "user");
}

constexpr const char *kViewerPassword = "corvane.user1pwd";
constexpr const char *kViewerLevel = "corvane.user1level";
constexpr const char *kAdminPassword = "account.admin.password";
constexpr const char *kWebOrder = "slave.web_order";

} // namespace

void cb_corvane_account_users(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char native[kNativeNameBytes] = {};
    int slot = user_slot(name);
    if (slot == 0) {
        LOG("Err: user num: %d (%s = %s) \n", 0, name, value);
        return;
    }
    const char *pattern = word_containing(name, user_field_patterns, nullptr);
    if (!pattern) {
        LOG("Err: %s = %s!!\n", name, value);
        return;
    }
    expand_pattern(native, pattern, slot);
    nbus_set(native, value);
    LOG("Set %s = %s done!!\n", native, value);
}

// Writes the legacy slot-1 nodes; the bus hands them back to
// cb_corvane_account_users, which carries them to slot 1.
void cb_corvane_viewer(const char *name, const char *value)
{
    if (!service.ready)
        return;
    nbus_set(kViewerPassword, equals(value, "empty") ? "" : value);
    nbus_set(kViewerLevel, "view");
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, kViewerPassword, value);
}

void cb_corvane_admin(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    // unlike the viewer's, an unset administrator password becomes "0"
    nbus_set(kAdminPassword, equals(value, "empty") ? "0" : value);
}

void cb_corvane_showorder(const char *name, const char *value)
{
    copy_handler(__func__, name, value, kWebOrder);
}
