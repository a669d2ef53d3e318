// Multicast ports, addresses and switches; quality of service.
#ifndef HANDLERS_NETWORK_STREAMING_H
#define HANDLERS_NETWORK_STREAMING_H

#include "frame/routine.h"

#define STREAMING_ROUTINES(X)                \
    X(handler, cb_corvane_rtpport)           \
    X(handler, cb_corvane_url_streamip)      \
    X(handler, cb_corvane_en_multicast)      \
    X(handler, cb_corvane_qos_default_video) \
    X(handler, cb_corvane_qos_enable)

STREAMING_ROUTINES(DECLARE_ROUTINE)

#endif
