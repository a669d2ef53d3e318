#include "frame/main.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <unistd.h>

#include "bindings/binding.h"
#include "bindings/registration.h"
#include "bindings/sync.h"
#include "frame/context.h"
#include "frame/log.h"
#include "frame/service_manager.h"
#include "frame/text.h"
#include "lens/home.h"
#include "lens/lens_profile.h"
#include "lens/lens_state.h"
#include "platform/mcu.h"
#include "platform/modelfeature.h"
#include "platform/nbus.h"
#include "platform/nbus_backlog.h"

namespace {

constexpr int kWorkBufferBytes = 128;
constexpr int kLastTick = 65530;
constexpr useconds_t kTickMicroseconds = 100000;

// Writes "signal N caught, exiting ...\n" with write(2) only.
void write_signal_line(int signal_number)
{
    static const char head[] = "signal ";
    static const char tail[] = " caught, exiting ...\n";
    char line[sizeof head + 11 + sizeof tail];
    size_t length = sizeof head - 1;
    memcpy(line, head, length);
    length += put_decimal(line + length, signal_number);
    memcpy(line + length, tail, sizeof tail - 1);
    length += sizeof tail - 1;
    ssize_t ignored = write(STDERR_FILENO, line, length);
    (void)ignored;
}

} // namespace

extern "C" void signal_handler(int signal_number)
{
    write_signal_line(signal_number);
    service.exit_flag = 1;
}

namespace corvaned {

int main()
{
    log_open(secret_node);

    (void)signal(SIGINT, signal_handler);
    (void)signal(SIGTERM, signal_handler);
    (void)signal(SIGQUIT, signal_handler);

    nbus_initial();

    clear(service.model_id);
    const char *model = get_modelfeature();
    copy_into(service.model_id, model ? model : "");

    lens.lens_index = getLensTypeIndex(service.model_id);
    if (lens.lens_index == -1)
        LOG("*** get error index of lenstype ***\n");
    const LensProfile &profile = lens_profile_or_zero(lens.lens_index);
    lens.mcu_tick = profile.focus_tick;

    char buffer[kWorkBufferBytes];
    clear(buffer);
    nbus_get("system.info.slave_cameras", buffer, kWorkBufferBytes);
    // held to the head's four sensors: a larger count would register and
    // loop over sensors that cannot exist (2000000000 would never finish)
    service.cam_count = std::min(parse_decimal(buffer), kMaxCameras);

    lens.lens_step2 = profile.step2;

    LOG("==>\tCorvane control model id: %s, mcu tick: %d, f-max-step: %d(%d), Max cam: %d\n\n",
        service.model_id, lens.mcu_tick, profile.max_steps, lens.lens_index, service.cam_count);

    register_bindings();

    char name_buffer[kWorkBufferBytes];
    char value_buffer[kWorkBufferBytes];
    cb_corvane_nodes_sync(name_buffer, value_buffer, kWorkBufferBytes);

    service.ready = 1;
    if (nbus_apply_backlog)
        nbus_apply_backlog();

    getVersion(&lens.mcu_version);

    nbus_set("image.global_mode", "off");
    LOG("*** set image.global_mode off ***\n");
    LOG("==>\tMCU Version: 0x%4x\n\n", static_cast<unsigned>(lens.mcu_version));

    lens.home_routine = home_routine_for(lens.mcu_version);
    tell_manager_ready();

    while (!service.exit_flag) {
        service.tick = service.tick >= kLastTick ? 0 : service.tick + 1;
        usleep(kTickMicroseconds);
    }

    tell_manager_stopping();
    nbus_release();
    return 0;
}

} // namespace corvaned
