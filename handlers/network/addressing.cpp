// IPv4/IPv6 addresses, time server, service ports, and the network option
// word "corvane.netopt" that folds the IPv4 mode, the date mode and the IPv6
// switch into bits.
#include "handlers/network/addressing.h"

#include <cstdint>
#include <cstring>

#include "frame/context.h"
#include "frame/handler.h"
#include "frame/log.h"
#include "frame/node.h"
#include "frame/text.h"
#include "platform/nbus.h"

namespace {

constexpr const char *kNetopt = "corvane.netopt";

constexpr const char *kIpAddress = "network.ipv4.ip_addr";
constexpr const char *kGateway = "network.ipv4.gateway";
constexpr const char *kMask = "network.ipv4.mask";
constexpr const char *kIpv6Address = "network.ipv6.address";
constexpr const char *kIpv6Prefix = "network.ipv6.address_prefixlength";
constexpr const char *kNtpServer = "system.datetime.ntp.manual.address";
constexpr const char *kLiveIpv4 = "network.status.ipv4.live_ip";
constexpr const char *kRtspPort = "network.rtsp.port";
constexpr const char *kIpv4Mode = "network.ipv4.mode";
constexpr const char *kDateMode = "system.datetime.mode";
constexpr const char *kIpv6Enable = "network.ipv6.enable";

// The unnumbered legacy port feeds the native port with the suffix and the
// reverse; the numbered name stands first since it holds the other.
constexpr WordMapping web_ports[] = {
    {"webserverport2", "network.http_port"},
    {"webserverport", "network.http_port_2"},
};

// One bit of the option word and the legacy switch that mirrors it.
struct OptionSwitch {
    const char *legacy;
    int32_t bit;
    const char *set_word;
    const char *clear_word;
};

constexpr OptionSwitch option_switches[] = {
    {"corvane.ipv4mode", 1, "dhcp", "manual"},
    {"corvane.datemode", 16, "ntp", "manual"},
    {"corvane.ipv6enabled", 512, "true", "false"},
};

// Brings one bit of the option word in line with a switch; a rewrite or a
// failed read of the word is logged under `handler`'s name.
void align_option_bit(const char *handler, const char *name, const char *value, int32_t bit, bool wanted)
{
    char word[8];
    if (int error = read_node(kNetopt, word)) {
        LOG_AS(handler, "nbus_get %s, error : %d!!\n", kNetopt, error);
        return;
    }
    int32_t current = parse_decimal(word);
    if (((current & bit) != 0) == wanted)
        return;
    char number[16];
    format_into(number, "%d", wanted ? (current | bit) : (current & ~bit));
    nbus_set(kNetopt, number);
    LOG_AS(handler, "Set %s(%s) by %s = %s done!!\n", name, value, kNetopt, number);
}

// True when "corvane.netopt" no longer holds `value`: a later write of the
// word is on its way and fans out itself. Without this test, two writes of
// the word in flight (two clients at once, or a word longer than the 8 bytes
// the switches read) make the switches and the word correct each other for
// ever. A failed read tells nothing, so the fan-out goes ahead.
bool option_word_superseded(const char *value)
{
    char stored[64];
    if (read_node(kNetopt, stored) != 0)
        return false;
    return strncmp(stored, value, sizeof stored - 1) != 0;
}

} // namespace

void cb_corvane_ip(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    nbus_set(kIpAddress, value);
    LOG("Set %s = %s !!\n", name, value);
}

void cb_corvane_gateway(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    nbus_set(kGateway, value);
    LOG("Set %s = %s!!\n", kGateway, value);
}

void cb_corvane_subnetmask(const char *name, const char *value)
{
    copy_handler(__func__, name, value, kMask);
}

void cb_corvane_ipv6address(const char *name, const char *value)
{
    copy_handler(__func__, name, value, kIpv6Address);
}

void cb_corvane_ipv6prefixlen(const char *name, const char *value)
{
    copy_handler(__func__, name, value, kIpv6Prefix);
}

void cb_corvane_ntpserver_ip(const char *name, const char *value)
{
    copy_handler(__func__, name, value, kNtpServer);
}

void cb_corvane_liveipv4(const char *name, const char *value)
{
    copy_handler(__func__, name, value, kLiveIpv4);
}

void cb_corvane_rtspport(const char *name, const char *value)
{
    copy_handler(__func__, name, value, kRtspPort);
}

void cb_corvane_webserverport(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    const char *native = word_containing(name, web_ports, nullptr);
    if (!native) {
        LOG("Err: %s = %s!!\n", name, value);
        return;
    }
    nbus_set(native, value);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, native, value);
}

// Bound to no node: stands ready, translates nothing yet.
void cb_corvane_eth_negotiation(const char *name, const char *value)
{
    inactive_handler(__func__, name, value);
}

void cb_corvane_ipv4mode(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    nbus_set(kIpv4Mode, value);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, kIpv4Mode, value);
    align_option_bit(__func__, name, value, option_switches[0].bit, contains(value, "dhcp"));
}

void cb_corvane_datemode(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    nbus_set(kDateMode, value);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, kDateMode, value);
    align_option_bit(__func__, name, value, option_switches[1].bit, contains(value, "ntp"));
}

void cb_corvane_ipv6enabled(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    bool enabled = contains(value, "true");
    const char *native_value = enabled ? "on" : "off";
    nbus_set(kIpv6Enable, native_value);
    LOG("Set %s(%s) by %s = %s done!!\n", name, value, kIpv6Enable, native_value);
    align_option_bit(__func__, name, value, option_switches[2].bit, enabled);
}

// Fans the bit set out to the three legacy switches; their handlers write the
// native nodes and find their bit already in line, so the cascade ends there.
// Only the word's latest value is fanned out (see option_word_superseded).
void cb_corvane_netopt(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (option_word_superseded(value)) {
        LOG("Skip %s = %s, superseded!!\n", name, value);
        return;
    }
    int32_t options = parse_decimal(value);
    for (const OptionSwitch &option : option_switches) {
        char current[8];
        if (int error = read_node(option.legacy, current)) {
            LOG("nbus_get %s, error : %d!!\n", option.legacy, error);
            return;
        }
        const char *wanted = (options & option.bit) ? option.set_word : option.clear_word;
        // kept: the incoming bit-set text, not the switch read, is compared
        if (!equals(value, wanted))
            nbus_set(option.legacy, wanted);
    }
    LOG("Set %s = %s(%d) done!!\n", name, value, options);
}
