// The daemon as the fuzz targets meet it: started once on the default
// device and reused by every input; what an input wrote is put back after it.
#ifndef TESTS_FUZZ_FUZZ_DAEMON_H
#define TESTS_FUZZ_FUZZ_DAEMON_H

#include <cstddef>
#include <cstdint>
#include <string>

// Loads the default device, shortens the daemon's pauses and routes its log
// into the records (not onto the terminal). Idempotent.
void load_default_device();
// load_default_device, then the daemon's start-up on its own main thread;
// returns once the main loop ticks.
void start_daemon();
// Puts back every node written since the last call (no notification).
void undo_writes();

// The text up to the first line feed or NUL, removed from `text` with its
// terminator.
std::string take_line(std::string *text);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);

#endif
