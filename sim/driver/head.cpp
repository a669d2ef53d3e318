// Text and SVG views of the simulated head for corvane-sim's "head" and
// "svg" commands.
#include "sim/driver/head.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace {

const char *const kLetters[sim::kHeadMotors] = {"A", "B", "C", "D"};
const char *const kColours[sim::kHeadMotors] = {"#d9534f", "#5cb85c", "#428bca", "#f0ad4e"};

__attribute__((format(printf, 2, 3))) void append(std::string &out, const char *format, ...)
{
    char line[256];
    va_list args;
    va_start(args, format);
    vsnprintf(line, sizeof line, format, args);
    va_end(args);
    out += line;
}

std::string busy_kinds(const sim::HeadState &state, int motor)
{
    static const char *const names[sim::kHeadKinds] = {"focus", "zoom", "pan", "tilt"};
    std::string busy;
    for (int kind = 0; kind < sim::kHeadKinds; ++kind)
        if (state.motors[kind][motor].remaining > 0)
            busy += std::string(busy.empty() ? "" : " ") + names[kind];
    return busy.empty() ? std::string() : " [moving " + busy + "]";
}

struct Point {
    double x;
    double y;
};

// Angle 0 (B's home stop) at the top, growing clockwise.
Point on_circle(Point centre, double radius, double degrees)
{
    double radians = degrees * M_PI / 180.0;
    return {centre.x + radius * std::sin(radians), centre.y - radius * std::cos(radians)};
}

double fraction(long value, long maximum)
{
    return maximum > 0 ? static_cast<double>(value) / static_cast<double>(maximum) : 0.0;
}

} // namespace

std::string head_text(const sim::HeadState &state)
{
    std::string out;
    append(out, "head: ring %ld steps, carrier %ld, home stop %ld, switch %s%s, clock %ld\n", state.ring,
           state.width, state.home_stop, state.home_flag & 1 ? "made" : "open",
           state.home_flag_forced ? " (forced)" : "", state.clock);
    append(out, "  focus curves: peak/width %ld/%ld %ld/%ld %ld/%ld %ld/%ld, noise %ld per mille, backlash %ld\n",
           state.focus[0].peak, state.focus[0].width, state.focus[1].peak, state.focus[1].width, state.focus[2].peak,
           state.focus[2].width, state.focus[3].peak, state.focus[3].width, state.focus_noise, state.focus_backlash);
    append(out, "  collide A B C D: %d %d %d %d%s\n", state.collide[0], state.collide[1], state.collide[2],
           state.collide[3], state.collide_forced ? " (forced)" : "");
    for (int motor = 0; motor < sim::kHeadMotors; ++motor) {
        append(out,
               "  %s cam%d pan %6ld (%5.1f deg) gap %5ld  tilt %4ld/%ld  zoom %4ld/%ld  focus %4ld/%ld"
               " sharpness %6ld%s\n",
               kLetters[motor], motor + 1, state.motors[sim::kHeadPan][motor].position,
               sim::head_pan_degrees(state, motor), sim::head_gap(state, motor),
               state.motors[sim::kHeadTilt][motor].position, state.max[sim::kHeadTilt],
               state.motors[sim::kHeadZoom][motor].position, state.max[sim::kHeadZoom],
               state.motors[sim::kHeadFocus][motor].position, state.max[sim::kHeadFocus],
               sim::head_sharpness(state, motor), busy_kinds(state, motor).c_str());
    }
    return out;
}

std::string head_svg(const sim::HeadState &state)
{
    const Point centre{240, 210};
    const double radius = 150;
    const double width_degrees = state.ring > 0 ? 360.0 * static_cast<double>(state.width) / state.ring : 0;
    std::string out;
    append(out, "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"480\" height=\"530\" viewBox=\"0 0 480 530\">\n");
    append(out, "<rect width=\"480\" height=\"530\" fill=\"white\"/>\n");
    append(out, "<circle cx=\"%.1f\" cy=\"%.1f\" r=\"%.1f\" fill=\"none\" stroke=\"#999\" stroke-width=\"2\"/>\n",
           centre.x, centre.y, radius);
    Point stop_outer = on_circle(centre, radius + 14, 0);
    Point stop_inner = on_circle(centre, radius - 14, 0);
    append(out,
           "<line class=\"home-stop\" x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"black\" "
           "stroke-width=\"3\"/>\n",
           stop_outer.x, stop_outer.y, stop_inner.x, stop_inner.y);
    // a legend in the corner: near the stop it would cover the carriers' labels
    append(out, "<text x=\"12\" y=\"20\" font-size=\"11\">| home stop at the top, switch %s</text>\n",
           state.home_flag & 1 ? "made" : "open");

    for (int motor = 0; motor < sim::kHeadMotors; ++motor) {
        double start = sim::head_pan_degrees(state, motor);
        double middle = start + width_degrees / 2;
        Point from = on_circle(centre, radius, start);
        Point to = on_circle(centre, radius, start + width_degrees);
        append(out,
               "<path class=\"carrier\" id=\"carrier-%s\" d=\"M %.1f %.1f A %.1f %.1f 0 0 1 %.1f %.1f\" "
               "fill=\"none\" stroke=\"%s\" stroke-width=\"16\"/>\n",
               kLetters[motor], from.x, from.y, radius, radius, to.x, to.y, kColours[motor]);
        // the line of sight: longer the further the lens is zoomed in
        double reach = radius * (0.35 + 0.6 * fraction(state.motors[sim::kHeadZoom][motor].position,
                                                        state.max[sim::kHeadZoom]));
        Point sight = on_circle(centre, reach, middle);
        append(out,
               "<line class=\"sight\" x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"%s\" "
               "stroke-width=\"2\" stroke-dasharray=\"4 3\"/>\n",
               centre.x, centre.y, sight.x, sight.y, kColours[motor]);
        Point label = on_circle(centre, radius + 28, middle);
        append(out, "<text x=\"%.1f\" y=\"%.1f\" font-size=\"13\" text-anchor=\"middle\">%s cam%d</text>\n",
               label.x, label.y + 4, kLetters[motor], motor + 1);
    }

    // the free steps between neighbours, written inside the ring mid-gap
    for (int motor = 0; motor < sim::kHeadMotors; ++motor) {
        long gap = sim::head_gap(state, motor);
        double gap_degrees = state.ring > 0 ? 360.0 * static_cast<double>(gap) / state.ring : 0;
        double middle = sim::head_pan_degrees(state, motor) + width_degrees + gap_degrees / 2;
        Point label = on_circle(centre, radius - 22, middle);
        append(out,
               "<text class=\"gap\" id=\"gap-%s\" x=\"%.1f\" y=\"%.1f\" font-size=\"10\" fill=\"#777\" "
               "text-anchor=\"middle\">%s</text>\n",
               kLetters[motor], label.x, label.y + 3, gap > 0 ? std::to_string(gap).c_str() : "touch");
    }

    // one row per sensor: pan angle, then tilt, zoom and focus bars
    static const struct {
        const char *name;
        int kind;
        double x;
    } bars[] = {{"tilt", sim::kHeadTilt, 150}, {"zoom", sim::kHeadZoom, 255}, {"focus", sim::kHeadFocus, 365}};
    for (int motor = 0; motor < sim::kHeadMotors; ++motor) {
        double y = 405 + motor * 28;
        append(out, "<text x=\"12\" y=\"%.1f\" font-size=\"12\" fill=\"%s\">%s cam%d pan %.1f&#176;</text>\n", y + 10,
               kColours[motor], kLetters[motor], motor + 1, sim::head_pan_degrees(state, motor));
        for (const auto &bar : bars) {
            long value = state.motors[bar.kind][motor].position;
            append(out, "<text x=\"%.1f\" y=\"%.1f\" font-size=\"10\">%s %ld</text>\n", bar.x, y + 10, bar.name,
                   value);
            append(out, "<rect x=\"%.1f\" y=\"%.1f\" width=\"50\" height=\"8\" fill=\"#eee\"/>\n", bar.x + 52, y + 3);
            append(out, "<rect class=\"%s\" x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"8\" fill=\"%s\"/>\n",
                   bar.name, bar.x + 52, y + 3, 50 * fraction(value, state.max[bar.kind]), kColours[motor]);
        }
        // the simulated focus curve: where the sharpest picture is, how sharp it is now
        append(out,
               "<text class=\"focus-curve\" x=\"150\" y=\"%.1f\" font-size=\"10\">focus %ld/%ld (peak %ld), "
               "sharpness %ld</text>\n",
               y + 22, state.motors[sim::kHeadFocus][motor].position, state.max[sim::kHeadFocus],
               state.focus[motor].peak, sim::head_sharpness(state, motor));
    }
    append(out, "</svg>\n");
    return out;
}
