// corvane-af-bench: focus moves, busy polls and focus value reads of
// doAFocusAll on random simulated focus curves, against an exhaustive sweep
// of the travel in fine steps. Prints one markdown section (make bench).
//
//   corvane-af-bench [--quick]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include "frame/context.h"
#include "lens/autofocus.h"
#include "lens/lens_profile.h"
#include "lens/lens_state.h"
#include "lens/motors.h"
#include "platform/avc.h"
#include "platform/mcu.h"
#include "sim/platform/head.h"
#include "sim/platform/sim.h"

namespace {

struct Counts {
    long moves = 0;
    long polls = 0;
    long reads = 0;
    long worst_error = 0;
};

Counts count(const sim::Record &record)
{
    Counts counts;
    for (const std::string &line : record.trace) {
        if (line.rfind("mcu setFocusForward", 0) == 0 || line.rfind("mcu setFocusBackward", 0) == 0)
            ++counts.moves;
        else if (line.rfind("avc getFocusValue", 0) == 0)
            ++counts.reads;
        else if (line.rfind("mcu getFocusBusyStatus", 0) == 0) {
            size_t repeat = line.rfind(" x");
            counts.polls += repeat == std::string::npos ? 1 : atol(line.c_str() + repeat + 2);
        }
    }
    return counts;
}

// Every fine step of the travel on all four sensors at once, then back to
// the best reading with the same backlash approach.
void exhaustive_sweep(const LensProfile &profile)
{
    int32_t best_at[kMaxCameras] = {};
    unsigned best[kMaxCameras] = {};
    auto round = [](int (*move)(int, int), int steps) {
        for (int camera = 0; camera < kMaxCameras; ++camera)
            move(camera, steps);
        for (int camera = 0; camera < kMaxCameras; ++camera)
            motors::wait_idle(getFocusBusyStatus, camera, motors::Pause::none);
    };
    round(setFocusForward, profile.max_steps + profile.bg);
    for (int32_t position = 0;; position += profile.step2) {
        for (int camera = 0; camera < kMaxCameras; ++camera) {
            unsigned value = 0;
            getFocusValue(camera, &value);
            if (value > best[camera] || position == 0) {
                best[camera] = value;
                best_at[camera] = position;
            }
        }
        if (position >= profile.max_steps)
            break;
        round(setFocusBackward, std::min(profile.step2, profile.max_steps - position));
    }
    for (int camera = 0; camera < kMaxCameras; ++camera)
        setFocusForward(camera, profile.max_steps - best_at[camera] + profile.bg);
    for (int camera = 0; camera < kMaxCameras; ++camera)
        motors::wait_idle(getFocusBusyStatus, camera, motors::Pause::none);
    round(setFocusBackward, profile.bg);
}

long percentile(std::vector<long> values, double fraction)
{
    std::sort(values.begin(), values.end());
    return values[static_cast<size_t>(fraction * static_cast<double>(values.size() - 1))];
}

struct Series {
    std::vector<long> moves, polls, reads;
    long worst_error = 0;
    void add(const Counts &counts, long error)
    {
        moves.push_back(counts.moves);
        polls.push_back(counts.polls);
        reads.push_back(counts.reads);
        worst_error = std::max(worst_error, error);
    }
    void row(FILE *out, const char *lens_name, const char *search) const
    {
        fprintf(out, "| %s | %s | %ld | %ld | %ld | %ld | %ld | %ld | %ld |\n", lens_name, search, percentile(moves, 0.5),
               percentile(moves, 1.0), percentile(polls, 0.5), percentile(polls, 1.0), percentile(reads, 0.5),
               percentile(reads, 1.0), worst_error);
    }
};

} // namespace

int main(int argc, char **argv)
{
    const bool quick = argc > 1 && strcmp(argv[1], "--quick") == 0;
    const int runs = quick ? 10 : 200;
    // the section goes to standard output, the daemon's log nowhere
    FILE *out = fdopen(dup(STDOUT_FILENO), "w");
    FILE *quiet = fopen("/dev/null", "w");
    if (!out || !quiet)
        return 1;
    stdout = quiet;
    sim::set_recording(true);  // the counts come from the trace lines
    std::mt19937 random(20261123);
    char line[256];
    for (int index = 0; index < kLensProfileCount; ++index) {
        const LensProfile &profile = lens_profiles[index];
        Series search;
        Series sweep;
        for (int run = 0; run < runs; ++run) {
            sim::reset();
            sim::set_param("lenstype", std::to_string(profile.lens_type));
            long peaks[kMaxCameras];
            for (int camera = 0; camera < kMaxCameras; ++camera) {
                std::string n = std::to_string(camera + 1);
                peaks[camera] = std::uniform_int_distribution<long>(0, profile.max_steps)(random);
                sim::set_param("focus_peak.cam" + n, std::to_string(peaks[camera]));
                sim::set_param("focus_width.cam" + n, std::to_string(std::uniform_int_distribution<int>(50, 400)(random)));
                lens.af_enable[camera] = 1;
            }
            sim::set_param("focus_noise", std::to_string(std::uniform_int_distribution<int>(0, 20)(random)));
            sim::set_param("focus_backlash", std::to_string(std::uniform_int_distribution<int>(0, profile.bg)(random)));
            sim::set_param("seed", std::to_string(random()));
            lens.lens_index = index;
            lens.mcu_tick = profile.focus_tick;
            service.cam_count = kMaxCameras;
            auto error = [&] {
                sim::HeadState state = sim::head_state();
                long worst = 0;
                for (int camera = 0; camera < kMaxCameras; ++camera)
                    worst = std::max(worst, std::labs(state.motors[sim::kHeadFocus][camera].position - peaks[camera]));
                return worst;
            };
            sim::take_record();
            doAFocusAll();
            search.add(count(sim::take_record()), error());
            sim::reset_head();
            exhaustive_sweep(profile);
            sweep.add(count(sim::take_record()), error());
        }
        std::string name = "type " + std::to_string(profile.lens_type);
        snprintf(line, sizeof line, "%s", name.c_str());
        if (index == 0) {
            fprintf(stderr, "autofocus bench: %d runs per lens type\n", runs);
            fprintf(out, "## Autofocus\n\n");
            fprintf(out, "`doAFocusAll` on the simulated head, four sensors searched at once, %d random curves per lens\n"
                   "type (peak anywhere in the travel, half width 50..400 steps, noise 0..20 per mille, backlash\n"
                   "0..bg), against an exhaustive sweep of the travel in fine (step2) steps that goes back to its\n"
                   "best reading the same way. Per run of all four sensors; the head makes 60 steps per busy\n"
                   "poll. Error: the largest distance of a lens from its peak over all runs, in steps.\n\n",
                   runs);
            fprintf(out, "| lens | search | focus moves, median | worst | busy polls, median | worst | focus reads, median | worst | worst error |\n");
            fprintf(out, "|---|---|---|---|---|---|---|---|---|\n");
        }
        search.row(out, line, "doAFocusAll");
        sweep.row(out, line, "exhaustive step2 sweep");
    }
    fprintf(out, "\n");
    fclose(out);
    return 0;
}
