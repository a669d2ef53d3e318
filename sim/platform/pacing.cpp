// The daemon's pacing calls. The simulator provides usleep and sleep so
// that its time can run faster than real time (the divisor) and so that it
// can see the main loop's first sleep, which ends the start-up.
#include <cerrno>
#include <ctime>
#include <unistd.h>

#include "sim/platform/internal.h"
#include "sim/platform/sim.h"

namespace {

int pause_for(unsigned long long microseconds)
{
    unsigned long long scaled = microseconds / static_cast<unsigned long long>(sim::time_divisor());
    if (scaled == 0)
        return 0;
    timespec duration = {static_cast<time_t>(scaled / 1000000), static_cast<long>(scaled % 1000000) * 1000};
    return nanosleep(&duration, nullptr);
}

} // namespace

extern "C" int usleep(useconds_t microseconds)
{
    if (sim::on_main_thread())
        sim::note_main_loop_sleep();
    return pause_for(microseconds) == 0 ? 0 : -1;
}

extern "C" unsigned int sleep(unsigned int seconds)
{
    pause_for(seconds * 1000000ULL);
    return 0;
}
