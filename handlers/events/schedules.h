// Weekly schedules of alarm input, tamper detection and uploads.
#ifndef HANDLERS_EVENTS_SCHEDULES_H
#define HANDLERS_EVENTS_SCHEDULES_H

#include "frame/routine.h"

#define SCHEDULE_ROUTINES(X)              \
    X(handler, cb_corvane_auxin_schedule) \
    X(handler, cb_corvane_od_schedule)    \
    X(handler, cb_corvane_ftp_schedule)   \
    X(handler, cb_corvane_nfs_schedule)

SCHEDULE_ROUTINES(DECLARE_ROUTINE)

#endif
