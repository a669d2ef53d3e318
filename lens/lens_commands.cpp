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

// Writes the value to the command's native node (named into `native`).
template <size_t N>
void forward(const LensCommand &command, const char *name, const char *value, char (&native)[N])
{
    clear(native);
    expand_pattern(native, command.native, camera_digit(name));
    nbus_set(native, value);
}

} // namespace

void cb_corvane_focus(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (ignored(kFocus, name))
        return;
    char native[64];
    forward(kFocus, name, value, native);
    LOG("[%s] %s = %s leave!!\n", kFocus.leave_tag, native, value);
}

void cb_corvane_zoom(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (ignored(kZoom, name))
        return;
    char native[64];
    forward(kZoom, name, value, native);
    LOG("[%s] %s = %s leave!!\n", kZoom.leave_tag, native, value);
}

void cb_corvane_pan(const char *name, const char *value)
{
    // a pan status change leaves no line at all
    if (!service.ready || ignored(kPan, name))
        return;
    LOG("Enter %s = %s!!\n", name, value);
    char native[64];
    forward(kPan, name, value, native);
    LOG("[%s] %s = %s leave!!\n", kPan.leave_tag, native, value);
}

void cb_corvane_tilt(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (ignored(kTilt, name))
        return;
    char native[64];
    forward(kTilt, name, value, native);
    LOG("[%s] %s = %s leave!!\n", kTilt.leave_tag, native, value);
}

void cb_corvane_allfocus(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (ignored(kAllFocus, name))
        return;
    char native[64];
    forward(kAllFocus, name, value, native);
    LOG("[%s] %s = %s leave!!\n", kAllFocus.leave_tag, native, value);
}

void cb_corvane_allzoom(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (ignored(kAllZoom, name))
        return;
    char native[64];
    forward(kAllZoom, name, value, native);
    LOG("[%s] %s = %s leave!!\n", kAllZoom.leave_tag, native, value);
}

void cb_corvane_allpan(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (ignored(kAllPan, name))
        return;
    char native[64];
    forward(kAllPan, name, value, native);
    LOG("[%s] %s = %s leave!!\n", kAllPan.leave_tag, native, value);
}

void cb_corvane_alltilt(const char *name, const char *value)
{
    if (!ENTERED(name, value))
        return;
    if (ignored(kAllTilt, name))
        return;
    char native[64];
    forward(kAllTilt, name, value, native);
    LOG("[%s] %s = %s leave!!\n", kAllTilt.leave_tag, native, value);
}
