#ifndef FRAME_SERVICE_MANAGER_H
#define FRAME_SERVICE_MANAGER_H

namespace corvaned {
// Tells the service manager (systemd, Type=notify) that the start-up is
// done, and that the daemon is stopping. Nothing where the build is not for
// systemd (CORVANE_SYSTEMD off) or where no manager listens.
void tell_manager_ready();
void tell_manager_stopping();
}

#endif
