// SNMP agent switches and HTTPS certificate status.
#ifndef HANDLERS_NETWORK_MANAGEMENT_H
#define HANDLERS_NETWORK_MANAGEMENT_H

#include "frame/routine.h"

#define MANAGEMENT_ROUTINES(X)                \
    X(handler, cb_corvane_en_snmpv2c)         \
    X(handler, cb_corvane_en_snmpv3)          \
    X(handler, cb_corvane_ssl_install_status)

MANAGEMENT_ROUTINES(DECLARE_ROUTINE)

#endif
