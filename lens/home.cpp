#include "bindings/placeholder.h"

void ptztohome()
{
}

void ptz2NewHome()
{
}

