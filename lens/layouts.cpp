#include "bindings/placeholder.h"

void ptzto360()
{
}

void ptzto270()
{
}

void ptzto180()
{
}

PLACEHOLDER_HANDLER(do_new_pan)
PLACEHOLDER_HANDLER(do_old_pan)
