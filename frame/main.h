#ifndef FRAME_MAIN_H
#define FRAME_MAIN_H

namespace corvaned {
// The daemon: start-up, the 100 ms loop, shutdown. Returns 0.
int main();
}

// Installed for SIGINT, SIGTERM and SIGQUIT.
extern "C" void signal_handler(int signal_number);

#endif
