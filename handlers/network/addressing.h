// IPv4/IPv6 addressing, time server, service ports, the option word.
#ifndef HANDLERS_NETWORK_ADDRESSING_H
#define HANDLERS_NETWORK_ADDRESSING_H

#include "frame/routine.h"

#define ADDRESSING_ROUTINES(X)                                    \
    X(handler, cb_corvane_ip)                                     \
    X(handler, cb_corvane_gateway)                                \
    X(handler, cb_corvane_subnetmask)                             \
    X(handler, cb_corvane_ipv6address)                            \
    X(handler, cb_corvane_ipv6prefixlen)                          \
    X(handler, cb_corvane_ntpserver_ip)                           \
    X(handler, cb_corvane_liveipv4)                               \
    X(handler, cb_corvane_rtspport)                               \
    X(handler, cb_corvane_webserverport)                          \
    X(handler, cb_corvane_eth_negotiation) /* bound to no node */ \
    X(handler, cb_corvane_ipv4mode)                               \
    X(handler, cb_corvane_datemode)                               \
    X(handler, cb_corvane_ipv6enabled)                            \
    X(handler, cb_corvane_netopt)

ADDRESSING_ROUTINES(DECLARE_ROUTINE)

#endif
