// Alarm actions, recording triggers, mail recipients and audio input.
#ifndef HANDLERS_EVENTS_ACTIONS_H
#define HANDLERS_EVENTS_ACTIONS_H

#include "frame/routine.h"

#define ACTION_ROUTINES(X)                                                              \
    X(handler, cb_corvane_sd_func_gate) /* bound: tests ready, then calls the worker */ \
    X(handler, cb_corvane_sd_func)                                                      \
    X(handler, cb_corvane_auxout)                                                       \
    X(handler, cb_corvane_smtp_mail)                                                    \
    X(handler, cb_corvane_audinput)                                                     \
    X(handler, cb_corvane_linein_volume)                                                \
    X(handler, cb_corvane_sd_codec)                                                     \
    X(handler, cb_corvane_af_dn)                                                        \
    X(handler, cb_corvane_af_zoom)                                                      \
    X(handler, cb_corvane_auxin)                                                        \
    X(handler, cb_corvane_exp_ref_channel)                                              \
    X(handler, cb_corvane_illum)                                                        \
    X(handler, cb_corvane_motion_compensation)

ACTION_ROUTINES(DECLARE_ROUTINE)

#endif
