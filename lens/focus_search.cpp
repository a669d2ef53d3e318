// The contrast autofocus search, one state machine per camera.
//
// 1. Reference: the lens is driven forward past its whole travel into the
//    forward end stop (position 0).
// 2. Coarse sweep backward in step1 steps. A counter counts successive rises
//    of the focus value (+1, +2, ...) and successive falls (-1, -2, ...);
//    once it has reached rise_level1, a fall that brings it to cut or below,
//    with the value under 3/4 of the best one, marks the peak as passed
//    (noise alone never takes a quarter off a reading). Else the sweep runs
//    to the end of the travel.
// 3. A sweep whose values all lie within a tenth of the best one is a flat
//    curve: the lens goes to the middle of the travel.
// 4. Fine scan in step2 steps towards the end stop nearer to the coarse
//    peak, counted from that stop, which is touched first. The scan starts
//    beyond the coarse peak (allowing for the coarse step and for backlash)
//    and ends once the rise/fall counter has reached rise_level2 and then
//    cut2, at least kFitSamples steps past the best reading, or at the stop.
// 5. The peak is the vertex of a V fitted to the inverse focus values
//    around the best fine reading; a vertex beyond the stop is the stop.
// 6. Final approach from the same side as the fine scan: bg steps past the
//    target and back by bg, so backlash does not shift the result.
//
// Backlash: every move that starts, or ends, a scan drives bg steps past its
// point and comes back, so positions are always reached moving towards the
// stop the fine scan counts from; those positions are exact.
#include "lens/focus_search.h"

#include <algorithm>
#include <cmath>

#include "frame/log.h"
#include "lens/motors.h"

namespace {

// Noise alone never takes a quarter off a reading.
bool fell_a_quarter(uint32_t value, uint32_t best)
{
    return static_cast<uint64_t>(value) * 4 < static_cast<uint64_t>(best) * 3;
}

constexpr int kFitSamples = 16;      // fine samples each side of the peak in the fit
constexpr int kReadsPerSample = 2;   // frames averaged per fine sample
constexpr int kReadsNearStop = 8;    // ... when the peak may lie at a stop (seen from one side only)
constexpr int kMaxFineSamples = 160;
constexpr int kFitIterations = 3;

enum class Phase : uint8_t { reference, coarse, touch_stop, leave, settle, fine, final_leave, final_settle, done };
enum class Stop : uint8_t { forward, backward };

// Successive rises count up from 1, successive falls down from -1.
struct RiseCounter {
    int count = 0;
    bool armed = false;  // the rise level has been reached

    void add(uint32_t previous, uint32_t value, int rise_level)
    {
        if (value > previous)
            count = count > 0 ? count + 1 : 1;
        else if (value < previous)
            count = count < 0 ? count - 1 : -1;
        if (count >= rise_level)
            armed = true;
    }
    bool passed(int cut) const { return armed && count <= cut; }
};

struct Move {
    int direction;  // +1 backward (position grows), -1 forward, 0 none
    int32_t steps;
    int reads;      // focus values to average after the move, 0: none
};

class CameraSearch {
public:
    CameraSearch() = default;
    CameraSearch(const char *routine, const LensProfile &profile, int camera)
        : routine_(routine), profile_(&profile), camera_(camera)
    {
    }

    bool done() const { return phase_ == Phase::done; }
    const FocusResult &result() const { return result_; }
    Move next_move();
    // The move returned by next_move is done; `value` is its focus value (0 when none was read).
    void moved(uint32_t value);
    void stop();

private:
    int32_t travel() const { return profile_->max_steps; }
    int32_t fit_reach() const { return kFitSamples * profile_->step2; }
    // Distance of the position word from the stop the fine scan counts from.
    int32_t distance() const { return near_ == Stop::forward ? word_ : travel() - word_; }
    // Direction of a move towards (or away from) that stop.
    int towards() const { return near_ == Stop::forward ? -1 : 1; }
    Move along(int direction, int32_t steps, int reads = 0);
    void end_coarse();
    void plan_fine();
    void add_sample(uint32_t value);
    void end_fine();
    void finish();

    const char *routine_ = "";
    const LensProfile *profile_ = nullptr;
    int camera_ = 0;
    Phase phase_ = Phase::reference;
    Stop near_ = Stop::forward;
    int32_t word_ = 0;  // nominal position
    FocusResult result_{FocusOutcome::peak, 0, -1, -1};

    // coarse sweep
    RiseCounter counter_;
    uint32_t previous_ = 0;
    uint32_t best_ = 0;
    uint32_t lowest_ = 0;
    int32_t best_at_ = -1;
    bool passed_ = false;

    // fine scan, in distances from the near stop
    int32_t start_ = 0;
    int32_t limit_ = 0;
    int32_t target_ = 0;
    int reads_ = kReadsPerSample;
    int32_t positions_[kMaxFineSamples] = {};
    uint32_t values_[kMaxFineSamples] = {};
    int count_ = 0;
    int best_index_ = 0;
};

Move CameraSearch::along(int direction, int32_t steps, int reads)
{
    word_ += direction * steps;
    return {direction, steps, reads};
}

Move CameraSearch::next_move()
{
    const LensProfile &profile = *profile_;
    switch (phase_) {
    case Phase::reference:
        word_ = 0;
        return {-1, travel() + profile.bg, 1};
    case Phase::coarse:
        return along(1, std::min(profile.step1, travel() - word_), 1);
    case Phase::touch_stop: {
        Move move{towards(), distance() + profile.bg, 0};
        word_ = near_ == Stop::forward ? 0 : travel();
        return move;
    }
    case Phase::leave:
        return along(-towards(), start_ + profile.bg);
    case Phase::settle:
        return along(towards(), profile.bg, reads_);
    case Phase::fine:
        return along(towards(), std::min(profile.step2, distance()), reads_);
    case Phase::final_leave: {
        int32_t amount = target_ + profile.bg - distance();
        return amount >= 0 ? along(-towards(), amount) : along(towards(), -amount);
    }
    case Phase::final_settle:
        return along(towards(), profile.bg);
    case Phase::done:
        break;
    }
    return {0, 0, 0};
}

void CameraSearch::moved(uint32_t value)
{
    const LensProfile &profile = *profile_;
    switch (phase_) {
    case Phase::reference:
        previous_ = best_ = lowest_ = value;
        best_at_ = 0;
        phase_ = Phase::coarse;
        if (word_ >= travel())
            end_coarse();
        return;
    case Phase::coarse:
        counter_.add(previous_, value, profile.rise_level1);
        previous_ = value;
        lowest_ = std::min(lowest_, value);
        if (value > best_) {
            best_ = value;
            best_at_ = word_;
        }
        passed_ = counter_.passed(profile.cut) && fell_a_quarter(value, best_);
        if (passed_ || word_ >= travel())
            end_coarse();
        return;
    case Phase::touch_stop:
        phase_ = result_.outcome == FocusOutcome::flat ? Phase::final_leave : Phase::leave;
        return;
    case Phase::leave:
        phase_ = Phase::settle;
        return;
    case Phase::settle:
    case Phase::fine:
        add_sample(value);
        phase_ = Phase::fine;
        if (distance() <= limit_ || count_ >= kMaxFineSamples ||
            (counter_.passed(profile.cut2) && positions_[best_index_] - distance() >= fit_reach()))
            end_fine();
        return;
    case Phase::final_leave:
        phase_ = Phase::final_settle;
        return;
    case Phase::final_settle:
        finish();
        return;
    case Phase::done:
        return;
    }
}

void CameraSearch::add_sample(uint32_t value)
{
    positions_[count_] = distance();
    values_[count_] = value;
    if (count_ == 0)
        counter_ = RiseCounter{};
    else
        counter_.add(values_[count_ - 1], value, profile_->rise_level2);
    if (count_ == 0 || value > values_[best_index_])
        best_index_ = count_;
    ++count_;
}

void CameraSearch::end_coarse()
{
    result_.coarse_peak = best_at_;
    // within a tenth of the best reading everywhere: nothing to focus on
    if (uint64_t{best_ - lowest_} * 10 <= best_) {
        LOG_AS(routine_, "cam%d: flat curve (%u..%u), lens to the middle of the travel\n", camera_ + 1, lowest_, best_);
        result_.outcome = FocusOutcome::flat;
        near_ = Stop::forward;
        target_ = travel() / 2;
        phase_ = Phase::touch_stop;
        return;
    }
    LOG_AS(routine_, "cam%d: coarse peak at %d (%u)%s\n", camera_ + 1, best_at_, best_,
        passed_ ? "" : ", sweep ran to the end of the travel");
    plan_fine();
}

// The coarse peak lies between best_at_ - bg (backlash) and best_at_, give or
// take a coarse step; the scan starts kFitSamples fine steps beyond that.
void CameraSearch::plan_fine()
{
    const LensProfile &profile = *profile_;
    const int32_t reach = fit_reach() + profile.step1;
    near_ = best_at_ <= travel() / 2 ? Stop::forward : Stop::backward;
    int32_t nearest = near_ == Stop::forward ? best_at_ - profile.bg : travel() - best_at_;
    int32_t furthest = near_ == Stop::forward ? best_at_ : travel() - best_at_ + profile.bg;
    start_ = std::min(furthest + reach, travel());
    limit_ = std::max(nearest - reach, 0);
    reads_ = limit_ == 0 ? kReadsNearStop : kReadsPerSample;
    count_ = 0;
    best_index_ = 0;
    phase_ = Phase::touch_stop;
}

void CameraSearch::end_fine()
{
    const int32_t step = profile_->step2;
    const int32_t reach = fit_reach();
    double estimate = positions_[best_index_];
    for (int round = 0; round < kFitIterations; ++round) {
        int32_t window_positions[kMaxFineSamples];
        uint32_t window_values[kMaxFineSamples];
        int n = 0;
        for (int i = 0; i < count_; ++i) {
            if (std::fabs(positions_[i] - estimate) <= reach) {
                window_positions[n] = positions_[i];
                window_values[n] = values_[i];
                ++n;
            }
        }
        if (n < 3)
            break;
        // a vertex beyond the stop is allowed, then held to the stop
        estimate = fit_focus_peak(window_positions, window_values, n, -reach / 2.0, travel() + reach / 2.0, step);
    }
    target_ = std::clamp(static_cast<int32_t>(std::lround(estimate)), 0, travel());
    int32_t best = positions_[best_index_];
    result_.fine_peak = near_ == Stop::forward ? best : travel() - best;
    int32_t fitted = near_ == Stop::forward ? target_ : travel() - target_;
    LOG_AS(routine_, "cam%d: fine peak at %d (%u), fitted peak %d\n", camera_ + 1, result_.fine_peak, values_[best_index_], fitted);
    phase_ = Phase::final_leave;
}

void CameraSearch::finish()
{
    result_.position = word_;
    phase_ = Phase::done;
}

void CameraSearch::stop()
{
    result_.outcome = FocusOutcome::stopped;
    LOG_AS(routine_, "cam%d: af_enable cleared, search stopped at %d\n", camera_ + 1, word_);
    finish();
}

} // namespace

double fit_focus_peak(const int32_t *positions, const uint32_t *values, int count, double lo, double hi,
                      int32_t step)
{
    // Least squares of y = a + k |x - p| for a given p; the residual sum.
    auto residual = [&](double p) -> double {
        double su = 0, sy = 0, suu = 0, suy = 0, syy = 0;
        for (int i = 0; i < count; ++i) {
            double u = std::fabs(positions[i] - p);
            double y = 1.0 / std::max(values[i], 1u);
            su += u;
            sy += y;
            suu += u * u;
            suy += u * y;
            syy += y * y;
        }
        double det = count * suu - su * su;
        if (det <= 0)
            return INFINITY;
        double k = (count * suy - su * sy) / det;
        double a = (sy - k * su) / count;
        if (k <= 0)
            return INFINITY;
        return syy - a * sy - k * suy;
    };
    const double first = *std::min_element(positions, positions + count);
    const double last = *std::max_element(positions, positions + count);
    const double from = std::max(lo, first - 8.0 * step);
    const double to = std::min(hi, last + 8.0 * step);
    const double grid = step / 4.0;
    double best = first;
    double best_residual = INFINITY;
    const int points = to >= from ? static_cast<int>((to - from) / grid) : -1;
    for (int i = 0; i <= points; ++i) {
        const double p = from + i * grid;
        double r = residual(p);
        if (r < best_residual) {
            best_residual = r;
            best = p;
        }
    }
    // a parabola through the grid neighbours refines the vertex
    double left = residual(best - grid);
    double right = residual(best + grid);
    double curvature = left - 2 * best_residual + right;
    if (std::isfinite(left) && std::isfinite(right) && curvature > 0)
        best += grid * (left - right) / (2 * curvature);
    return std::clamp(best, lo, hi);
}

namespace {

// The mean of `reads` focus values; 0 when none is wanted.
uint32_t read_focus_value(const FocusDrive &drive, int camera, int reads)
{
    if (reads <= 0)
        return 0;
    uint64_t sum = 0;
    for (int read = 0; read < reads; ++read) {
        unsigned int value = 0;
        drive.value(camera, &value);
        sum += value;
    }
    return static_cast<uint32_t>(sum / static_cast<uint64_t>(reads));
}

} // namespace

void run_focus_search(const char *routine, const FocusDrive &drive, const LensProfile &profile, unsigned cameras,
                      FocusResult (&results)[kMaxCameras])
{
    CameraSearch searches[kMaxCameras];
    bool active[kMaxCameras] = {};
    for (int camera = 0; camera < kMaxCameras; ++camera) {
        if (cameras & (1u << camera)) {
            searches[camera] = CameraSearch(routine, profile, camera);
            active[camera] = true;
        }
    }
    for (;;) {
        Move moves[kMaxCameras] = {};
        bool any = false;
        for (int camera = 0; camera < kMaxCameras; ++camera) {
            if (!active[camera])
                continue;
            // stepping goes on only while the camera's enable word is set
            if (!drive.enabled(camera)) {
                searches[camera].stop();
                active[camera] = false;
                continue;
            }
            moves[camera] = searches[camera].next_move();
            any = true;
            if (moves[camera].steps > 0)
                (moves[camera].direction > 0 ? drive.backward : drive.forward)(camera, moves[camera].steps);
        }
        if (!any)
            break;
        for (int camera = 0; camera < kMaxCameras; ++camera)
            if (active[camera] && moves[camera].steps > 0)
                motors::wait_idle(drive.busy, camera, motors::Pause::none);
        for (int camera = 0; camera < kMaxCameras; ++camera) {
            if (!active[camera])
                continue;
            searches[camera].moved(read_focus_value(drive, camera, moves[camera].reads));
            active[camera] = !searches[camera].done();
        }
    }
    for (int camera = 0; camera < kMaxCameras; ++camera)
        if (cameras & (1u << camera))
            results[camera] = searches[camera].result();
}
