#include "frame/service_manager.h"

#ifdef CORVANE_SYSTEMD
#include <systemd/sd-daemon.h>
#endif

namespace corvaned {

#ifdef CORVANE_SYSTEMD
void tell_manager_ready() { (void)sd_notify(0, "READY=1"); }
void tell_manager_stopping() { (void)sd_notify(0, "STOPPING=1"); }
#else
void tell_manager_ready() {}
void tell_manager_stopping() {}
#endif

} // namespace corvaned
