#ifndef BINDINGS_REGISTRATION_H
#define BINDINGS_REGISTRATION_H

// Registers every handler of the three binding tables with the bus.
void register_bindings();

#endif
