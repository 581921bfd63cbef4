#pragma once
// Minimum timing: the time of one minimum of brightness, fitted with the single-minimum model
// to the points of a series inside a time window, and its error from a case-resampling
// bootstrap that runs on every processor.
//
// The fit works on a normalised time axis, x = (t - t_start) / (t_end - t_start), so that the
// window maps onto [0, 1] and the time of minimum may lie up to a third of the window outside
// it. The time of minimum is given and returned as a Julian date; the other six parameters
// stay in the units of the normalised axis (the width D and the trend s per window length).
#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "analysis/fitter.h"
#include "analysis/model.h"

namespace kurvalux_analysis {

// Names of the seven parameters as the command line takes them, and the fitter's limits.
constexpr std::array<const char*, kSingleMinimumParameterCount> kSingleMinimumParameterNames = {
    "m0", "t0", "s", "A", "D", "G", "C"};
constexpr std::array<double, kSingleMinimumParameterCount> kSingleMinimumLower = {
    -20.0, -0.33, -20.0, 0.0, 0.0, 0.0, -10.0};
constexpr std::array<double, kSingleMinimumParameterCount> kSingleMinimumUpper = {
    20.0, 1.33, 20.0, 10.0, 0.6, 99.0, 10.0};

constexpr int kMinimumFitMinPoints = 7;
// Factors of the start width for the first fit and the fits after a collapse of the width.
constexpr std::array<double, 3> kMinimumFitWidenings = {1.0, 2.0, 4.0};
constexpr int kBootstrapRounds = 1000;

// A message box the caller shows: a title and its lines.
struct FitMessage {
    std::string title;
    std::vector<std::string> lines;
    bool empty() const { return title.empty(); }
};

struct MinimumFitOptions {
    // The series' points (magnitudes, see fit_points.h), in series order.
    std::vector<double> times, values, errors;
    // The window, Julian dates; points with t_start <= t <= t_end take part.
    double t_start = 0;
    double t_end = 0;
    // Start values: m0, t0 (a Julian date), s, A, D, G, C.
    SingleMinimumParameters start = {0, 0, 0, 0, 0.1, 1.0, 0};
    // Fit switches; the time of minimum is always free whatever its switch says. By default
    // the correction C is fixed.
    std::array<bool, kSingleMinimumParameterCount> free = {true, true, true, true,
                                                           true, true, false};

    // Points inside the window.
    int CountInWindow() const;
    // The refusal for a fit or an error estimate under `title`, or an empty message.
    FitMessage Validate(const std::string& title) const;
};

struct MinimumFitResult {
    int status = 0;      // the fitter's status; 0 also when refused before fitting
    bool ok = false;     // status > 0
    FitMessage message;  // the box to show when not ok
    // Fitted parameters on the normalised axis (t0 included), and the time of minimum as JD.
    SingleMinimumParameters normalised = {};
    double time_of_minimum = 0;
    // The seven values as the pane shows them (t0 as JD).
    SingleMinimumParameters shown = {};
    int points = 0;
    int attempts = 0;  // fits run: 1, or more when the width collapsed to 0 and was widened
    FitResult fit;
};

// "Fit Min.": fits the single-minimum model to the window's points.
MinimumFitResult FitMinimum(const MinimumFitOptions& options);

// Start values estimated from the window's points, smoothed by a 5-point running median: the
// brightest level as base, the faintest point as depth, and the width of shape 1 that is half
// deep where the points cross half the depth. The time of minimum is the middle of the two
// crossings, or the faintest point when only one branch is seen. Trend 0, shape 1,
// correction 0. t0 as a JD.
SingleMinimumParameters EstimateMinimumStart(const MinimumFitOptions& options);

struct BootstrapOptions {
    MinimumFitOptions fit;    // the same points, window, switches
    MinimumFitResult fitted;  // the successful fit to resample around
    // Worker threads: 0 = the processor count read at start-up. With 1 the rounds run in the
    // calling thread.
    unsigned processors = 0;
    int total_rounds = kBootstrapRounds;
    // 0 seeds every worker's generator from the clock; otherwise worker k uses seed + k.
    uint64_t seed = 0;
    // Called now and then with (rounds done, rounds planned); false cancels the estimate.
    std::function<bool(int, int)> progress;
    // Block bootstrap: residuals per block; 0 takes the length from the residuals.
    int block_length = 0;
};

struct BootstrapResult {
    bool ok = false;  // false: refused (see message) or cancelled
    bool cancelled = false;
    FitMessage message;
    unsigned workers = 0;
    int rounds_per_worker = 0;
    int rounds_run = 0;
    std::vector<double> times;  // times of minimum (JD) of the successful rounds
    double mean = 0;
    double error = 0;        // standard deviation of the times, days
    bool has_error = false;  // false when the spread is 1 day or more (the box is cleared)
    double seconds = 0;
    int block_length = 0;  // block bootstrap: the residuals per block
};

// Rounds per worker for `processors` workers: all rounds on one, else (rounds + N - 1) / N.
int BootstrapRoundsPerWorker(int total_rounds, unsigned processors);

// "Est. Err.": the case-resampling bootstrap. Writes the "Error > 1" list and the elapsed
// time to the debug output.
BootstrapResult EstimateMinimumError(const BootstrapOptions& options);

// The error under correlated noise: a moving-block bootstrap of the fit's residuals.
//
// Resampling single points (the case bootstrap) treats every point as independent evidence.
// Photometry of one night is not: scintillation, guiding, airmass and the star's own
// flickering make neighbouring points err together ("red" noise), and a model that does not
// quite match the profile leaves residuals that run in stretches. The time of minimum then
// scatters far more than independent points suggest (Pont, Zucker & Queloz 2006, MNRAS 373,
// 231). Here the weighted residuals of the fit, in time order, are resampled in blocks of
// consecutive points (the moving-block bootstrap, Kuensch 1989, Ann. Stat. 17, 1217, wrapping
// round the end as in Politis & Romano 1992): each round lays blocks from uniformly drawn
// starts onto the fitted model and fits again, so a stretch of correlated error keeps its
// shape and its effect on the timing. The block length comes from the residuals' correlation
// time (block_residuals.h), and each block's residuals are those of a fit made without it, so
// that they keep the part of the noise the fit itself followed. The error is the standard
// deviation of the times, with the rules of the case bootstrap (rounds per worker, seed,
// progress and cancel, no error for a spread of a day or more); nothing is written to the
// debug output.
BootstrapResult EstimateMinimumBlockError(const BootstrapOptions& options);

}  // namespace kurvalux_analysis
