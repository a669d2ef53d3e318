// The two SNMP agent switches, which keep the one trap sender's mode in line
// with the pair, and the HTTPS certificate installation status words.
#include "handlers/network/management.h"

#include "frame/handler.h"
#include "frame/log.h"
#include "frame/node.h"
#include "frame/text.h"
#include "platform/nbus.h"

namespace {

constexpr const char *kV2cEnable = "network.snmp.v1v2c.v2c.enable";
constexpr const char *kV3Enable = "network.snmp.v3.enable";
constexpr const char *kTrapMode = "network.snmp.trap.mode";
constexpr const char *kTrapHeartbeat = "network.snmp.trap.heartbeat";

// Why the trap sender was left as it was.
enum class TrapOutcome { set, unchanged, other_bad_while_on, other_bad_while_off, own_bad };

// One switch turned to `own` while the other holds `other`: the trap mode
// follows the single switch that is on, "off" when neither is; with both on
// it stays as the earlier switch left it.
TrapOutcome update_trap_mode(const char *own, const char *other, const char *own_mode, const char *other_mode)
{
    if (equals(own, "on")) {
        if (equals(other, "on"))
            return TrapOutcome::unchanged;
        if (!equals(other, "off"))
            return TrapOutcome::other_bad_while_on;
        nbus_set(kTrapMode, own_mode);
        nbus_set(kTrapHeartbeat, "on");
        return TrapOutcome::set;
    }
    if (equals(own, "off")) {
        if (equals(other, "on")) {
            nbus_set(kTrapMode, other_mode);
            nbus_set(kTrapHeartbeat, "on");
            return TrapOutcome::set;
        }
        if (!equals(other, "off"))
            return TrapOutcome::other_bad_while_off;
        nbus_set(kTrapMode, "off"); // heartbeat untouched
        return TrapOutcome::set;
    }
    return TrapOutcome::own_bad;
}

// "_install" stands first and also catches "_installstatus"; kept.
constexpr WordMapping ssl_status_nodes[] = {
    {"_install", "network.https.ssl.install.check"},
    {"_installstatus", "network.https.ssl.install.status"},
    {"_pkstatus", "network.https.ssl.install.key_status"},
    {"_ccstatus", "network.https.ssl.install.cert_status"},
};

} // namespace

void cb_corvane_en_snmpv2c(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char other[32];
    if (int error = read_node(kV3Enable, other)) {
        LOG("nbus_get %s, error : %d!!\n", kV3Enable, error);
        return;
    }
    switch (update_trap_mode(value, other, "v2c", "v3")) {
    case TrapOutcome::other_bad_while_on:
        LOG("Err-1 v3-value: %s", other);
        break;
    case TrapOutcome::other_bad_while_off:
        LOG("Err-2 v3-value: %s", other);
        break;
    case TrapOutcome::own_bad:
        LOG("Err-3 v2-value: %s", value);
        break;
    case TrapOutcome::set:
    case TrapOutcome::unchanged:
        break;
    }
    // the switch itself is written whatever the trap sender did
    nbus_set(kV2cEnable, value);
    LOG("Set %s = %s done!!\n", kV2cEnable, value);
}

void cb_corvane_en_snmpv3(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    char other[32];
    if (int error = read_node(kV2cEnable, other)) {
        LOG("nbus_get %s, error : %d!!\n", kV2cEnable, error);
        return;
    }
    switch (update_trap_mode(value, other, "v3", "v2c")) {
    case TrapOutcome::other_bad_while_on:
        LOG("Err-1 v2-value: %s", other);
        break;
    case TrapOutcome::other_bad_while_off:
        LOG("Err-2 v2-value: %s", other);
        break;
    case TrapOutcome::own_bad:
        LOG("Err-3 v3-value: %s", value);
        break;
    case TrapOutcome::set:
    case TrapOutcome::unchanged:
        break;
    }
    nbus_set(kV3Enable, value);
    LOG("Set %s = %s done!!\n", kV3Enable, value);
}

void cb_corvane_ssl_install_status(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *native = word_containing(name, ssl_status_nodes, nullptr);
    if (!native) {
        LOG("Err: %s = %s!!\n", name, value);
        return;
    }
    nbus_set(native, value);
    LOG("Set %s = %s done!!\n", native, value);
}
