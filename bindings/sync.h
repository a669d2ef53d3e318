// The start-up synchronisation of the legacy subtree.
#ifndef BINDINGS_SYNC_H
#define BINDINGS_SYNC_H

#include "frame/routine.h"

#define SYNC_ROUTINES(X) X(sync, cb_corvane_nodes_sync)

SYNC_ROUTINES(DECLARE_ROUTINE)

#endif
