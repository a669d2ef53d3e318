// PTZ commands on "corvane.ptzstatus" and the two presets.
#include "lens/ptz.h"

#include <algorithm>

#include "frame/context.h"
#include "frame/handler.h"
#include "frame/log.h"
#include "frame/node.h"
#include "frame/text.h"
#include "lens/home.h"
#include "lens/layouts.h"
#include "lens/lens_commands.h"
#include "lens/lens_state.h"
#include "platform/nbus.h"

namespace {

constexpr const char *kPtzStatus = "corvane.ptzstatus";

enum class PtzAction { home, record, recall, save };

struct PtzCommand {
    const char *word;
    PtzAction action;
    void (*layout)();   // run after the home routine, if any
    int preset;         // preset of the record and recall commands
    const char *reply;  // written to "corvane.ptzstatus" when done
};

const PtzCommand kPtzCommands[] = {
    {.word = "ptz-home", .action = PtzAction::home, .layout = nullptr, .preset = 0, .reply = "ptz-home_done"},
    {.word = "ptz-360", .action = PtzAction::home, .layout = ptzto360, .preset = 0, .reply = "ptz-360_done"},
    {.word = "ptz-270", .action = PtzAction::home, .layout = ptzto270, .preset = 0, .reply = "ptz-270_done"},
    {.word = "ptz-180", .action = PtzAction::home, .layout = ptzto180, .preset = 0, .reply = "ptz-180_done"},
    {.word = "ptz-record-preset1", .action = PtzAction::record, .layout = nullptr, .preset = 1, .reply = nullptr},
    {.word = "ptz-record-preset2", .action = PtzAction::record, .layout = nullptr, .preset = 2, .reply = nullptr},
    {.word = "ptz-preset1", .action = PtzAction::recall, .layout = nullptr, .preset = 1, .reply = "ptz-preset1_done"},
    {.word = "ptz-preset2", .action = PtzAction::recall, .layout = nullptr, .preset = 2, .reply = "ptz-preset2_done"},
    {.word = "ptz-save_preset", .action = PtzAction::save, .layout = nullptr, .preset = 0, .reply = nullptr},
};
static_assert(std::size(kPtzCommands) == 9, "nine PTZ command words");

// Cameras are restored in this order (cam1, cam4, cam3, cam2); a unit with
// fewer cameras visits the first entries only. Kept as the head expects it.
constexpr int kRestoreOrder[kMaxCameras] = {0, 3, 2, 1};

struct RestoredAxis {
    const char *suffix;
    handler_routine *handler;
    char letter;  // names the axis in the error line
};
const RestoredAxis kRestoredAxes[] = {
    {.suffix = "pan", .handler = cb_corvane_pan, .letter = 'p'},
    {.suffix = "tilt", .handler = cb_corvane_tilt, .letter = 't'},
    {.suffix = "zoom", .handler = cb_corvane_zoom, .letter = 'z'},
    // focus is saved but deliberately not restored
};

struct SavedAxis {
    const char *suffix;
    LensAxis axis;
    char letter;
};
const SavedAxis kSavedAxes[] = {
    {.suffix = "focus", .axis = kFocusAxis, .letter = 'f'},
    {.suffix = "pan", .axis = kPanAxis, .letter = 'p'},
    {.suffix = "tilt", .axis = kTiltAxis, .letter = 't'},
    {.suffix = "zoom", .axis = kZoomAxis, .letter = 'z'},
};

// The camera count as far as the context's four-camera arrays reach.
int cameras()
{
    return std::clamp(service.cam_count, 0, kMaxCameras);
}

void enable_autofocus_all()
{
    for (int camera = 0; camera < cameras(); ++camera)
        lens.af_enable[camera] = 1;
}

void run_home_routine()
{
    if (lens.home_routine)
        lens.home_routine();
}

int pending_slot()
{
    return static_cast<int>(lens.pending_preset & 0xFFu);
}

} // namespace

void cb_ptzstatus(const char *name, const char *value)
{
    nbus_set("corvane.presetstat_for_icr", value);
    LOG("Set %s = %s done!!\n", name, value);
}

void cb_corvane_ptz_home(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    enable_autofocus_all();

    const PtzCommand *command = nullptr;
    for (const PtzCommand &candidate : kPtzCommands)
        if (equals(value, candidate.word)) {
            command = &candidate;
            break;
        }
    if (!command) {
        LOG("do nothing!\n");
        return;
    }

    const char *reply = command->reply;
    switch (command->action) {
    case PtzAction::home:
        run_home_routine();
        if (command->layout)
            command->layout();
        LOG("refocus all cam!\n");
        break;
    case PtzAction::record:
        run_home_routine();
        LOG("preset%d-refocus all cam!\n", command->preset);
        lens.pending_preset = static_cast<uint32_t>(command->preset);
        break;
    case PtzAction::recall:
        cb_corvane_ptz_preset(command->preset, 0);
        break;
    case PtzAction::save: {
        int slot = pending_slot();
        if (slot != 1 && slot != 2) {
            LOG("save_preset error (%d)!\n", slot);
            break;
        }
        cb_corvane_ptz_preset(slot, 1);
        lens.pending_preset = 0;
        reply = slot == 1 ? "ptz-preset1_done" : "ptz-preset2_done";
        break;
    }
    }
    if (reply)
        nbus_set(kPtzStatus, reply);
}

void cb_corvane_ptz_preset(int preset, int mode)
{
    if (!service.ready)
        return;
    LOG("cb_corvane_ptz_preset now, v = %d!!\n", preset);
    if (mode == 0) {
        enable_autofocus_all();
        run_home_routine();
        for (int i = 0; i < cameras(); ++i) {
            int camera = kRestoreOrder[i] + 1;
            for (const RestoredAxis &restored : kRestoredAxes) {
                char name[64];
                char value[128];
                format_into(name, "corvane.cam%d.preset%d.%s", camera, preset, restored.suffix);
                if (read_node(name, value) == 0)
                    restored.handler(name, value);
                else
                    LOG("cb_corvane_ptz_preset-nbus-get error, %c-n: %s, %c-v: %s\n", restored.letter, name,
                        restored.letter, value);
            }
        }
    } else if (mode == 1) {
        for (int camera = 1; camera <= cameras(); ++camera) {
            for (const SavedAxis &saved : kSavedAxes) {
                char name[64];
                char value[16];
                format_into(name, "corvane.cam%d.preset%d.%s", camera, preset, saved.suffix);
                format_into(value, "%d", lens_position(saved.axis, camera - 1));
                nbus_set(name, value);
                LOG("cb_corvane_ptz_preset-S, %c-name: %s, %c-val: %s\n", saved.letter, name, saved.letter,
                    value);
            }
        }
    } else {
        LOG("cb_corvane_ptz_preset, error index: %d\n", preset);
    }
    LOG("End of cb_corvane_ptz_preset(%d, %d).\n", preset, mode);
}
