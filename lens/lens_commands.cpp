// Lens commands: a legacy focus, zoom, pan or tilt value is forwarded
// unchanged to the native lens node, whose owner drives the motor.
#include "lens/lens_commands.h"

#include "frame/context.h"
#include "frame/handler.h"
#include "frame/log.h"
#include "frame/text.h"
#include "platform/nbus.h"

namespace {

struct LensCommand {
    const char *ignored[2];  // changes of these status words are not commands
    const char *native;      // native node; "%d" is the camera of the legacy name
    const char *leave_tag;   // handler named by the leaving line
};

constexpr LensCommand kFocus{{"focusstatus", nullptr}, "lens.cam%d.focus", "cb_corvane_focus"};
constexpr LensCommand kZoom{{"zoomstatus", nullptr}, "lens.cam%d.zoom", "cb_corvane_zoom"};
// kept: the pan handler's leaving line has always carried the focus tag
constexpr LensCommand kPan{{"panstatus", nullptr}, "lens.cam%d.pan", "cb_corvane_focus"};
constexpr LensCommand kTilt{{"tiltstatus", nullptr}, "lens.cam%d.tilt", "cb_corvane_tilt"};
constexpr LensCommand kAllFocus{{"focusstatus", nullptr}, "lens.focus", "cb_corvane_allfocus"};
constexpr LensCommand kAllZoom{{"zoomstatus", nullptr}, "lens.zoom", "cb_corvane_allzoom"};
constexpr LensCommand kAllPan{{"panstatus", "panoview"}, "lens.pan", "cb_corvane_allpan"};
constexpr LensCommand kAllTilt{{"tiltstatus", nullptr}, "lens.tilt", "cb_corvane_alltilt"};

bool ignored(const LensCommand &command, const char *name)
{
    for (const char *word : command.ignored)
        if (word && contains(name, word))
            return true;
    return false;
}

// The whole of a lens command handler, logged under `handler`'s name.
void run_command(const char *handler, const LensCommand &command, const char *name, const char *value)
{
    if (!handler_entered(handler, __LINE__, name, value) || ignored(command, name))
        return;
    char native[64];
    clear(native);
    expand_pattern(native, command.native, camera_digit(name));
    nbus_set(native, value);
    LOG_AS(handler, "[%s] %s = %s leave!!\n", command.leave_tag, native, value);
}

} // namespace

void cb_corvane_focus(const char *name, const char *value)
{
    run_command(__func__, kFocus, name, value);
}

void cb_corvane_zoom(const char *name, const char *value)
{
    run_command(__func__, kZoom, name, value);
}

void cb_corvane_pan(const char *name, const char *value)
{
    // a pan status change leaves no line at all
    if (!service.ready || ignored(kPan, name))
        return;
    run_command(__func__, kPan, name, value);
}

void cb_corvane_tilt(const char *name, const char *value)
{
    run_command(__func__, kTilt, name, value);
}

void cb_corvane_allfocus(const char *name, const char *value)
{
    run_command(__func__, kAllFocus, name, value);
}

void cb_corvane_allzoom(const char *name, const char *value)
{
    run_command(__func__, kAllZoom, name, value);
}

void cb_corvane_allpan(const char *name, const char *value)
{
    run_command(__func__, kAllPan, name, value);
}

void cb_corvane_alltilt(const char *name, const char *value)
{
    run_command(__func__, kAllTilt, name, value);
}
