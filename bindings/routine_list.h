// Every routine of the daemon that the bus, the start-up or the PTZ
// dialogue can reach, family by family: DAEMON_ROUTINES(X) expands X(shape,
// routine) once for each. A family's own header is the one place a routine
// is listed.
#ifndef BINDINGS_ROUTINE_LIST_H
#define BINDINGS_ROUTINE_LIST_H

#include "bindings/converters.h"
#include "bindings/sync.h"
#include "handlers/encoder/resolution.h"
#include "handlers/encoder/streams.h"
#include "handlers/events/actions.h"
#include "handlers/events/motion.h"
#include "handlers/events/schedules.h"
#include "handlers/generic/accounts.h"
#include "handlers/generic/simple_set.h"
#include "handlers/generic/simple_set_variants.h"
#include "handlers/image/colour.h"
#include "handlers/image/exposure.h"
#include "handlers/image/masks.h"
#include "handlers/network/addressing.h"
#include "handlers/network/management.h"
#include "handlers/network/streaming.h"
#include "lens/autofocus.h"
#include "lens/home.h"
#include "lens/layouts.h"
#include "lens/lens_commands.h"
#include "lens/lens_profile.h"
#include "lens/ptz.h"

#define DAEMON_ROUTINES(X)         \
    SYNC_ROUTINES(X)               \
    CONVERTER_ROUTINES(X)          \
    SIMPLE_SET_ROUTINES(X)         \
    SIMPLE_SET_VARIANT_ROUTINES(X) \
    ACCOUNT_ROUTINES(X)            \
    EXPOSURE_ROUTINES(X)           \
    COLOUR_ROUTINES(X)             \
    MASK_ROUTINES(X)               \
    RESOLUTION_ROUTINES(X)         \
    STREAM_ROUTINES(X)             \
    ADDRESSING_ROUTINES(X)         \
    STREAMING_ROUTINES(X)          \
    MANAGEMENT_ROUTINES(X)         \
    MOTION_ROUTINES(X)             \
    SCHEDULE_ROUTINES(X)           \
    ACTION_ROUTINES(X)             \
    LENS_COMMAND_ROUTINES(X)       \
    PTZ_ROUTINES(X)                \
    HOME_ROUTINES(X)               \
    LAYOUT_ROUTINES(X)             \
    AUTOFOCUS_ROUTINES(X)          \
    LENS_PROFILE_ROUTINES(X)

#endif
