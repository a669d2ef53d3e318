// User accounts, the viewer and administrator passwords, display order.
#ifndef HANDLERS_GENERIC_ACCOUNTS_H
#define HANDLERS_GENERIC_ACCOUNTS_H

#include "frame/routine.h"

#define ACCOUNT_ROUTINES(X)              \
    X(handler, cb_corvane_account_users) \
    X(handler, cb_corvane_viewer)        \
    X(handler, cb_corvane_admin)         \
    X(handler, cb_corvane_showorder)

ACCOUNT_ROUTINES(DECLARE_ROUTINE)

#endif
