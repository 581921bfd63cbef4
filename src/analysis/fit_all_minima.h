#pragma once
// "Fit all minima": walks the selected series of an object, predicts from the ephemeris where
// each primary and secondary minimum falls, and for every predicted minimum with enough points
// on both branches fits its time, estimates the error by the bootstrap and asks whether to add
// it ("Found Minimum", Yes / No / Cancel) through the message-box sink.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "analysis/minimum_fit.h"
#include "data/field.h"
#include "platform/message_box.h"

namespace kurvalux_analysis {

// The values of the dialog "Find all minima in series".
struct FitAllMinimaOptions {
    double period = 0;                 // "Period:"
    int min_branch_points = 0;         // "Min. points on branches:"
    bool fit_primary = true;           // "Fit Primary minima"
    double primary_time_around = 0;    // "Time around Primary:", days
    bool fit_secondary = false;        // "Fit Secondary minima"
    double secondary_phase = 0.5;      // "Secondary minimum phase:"
    double secondary_time_around = 0;  // "Time around Secondary:", days
    // Fit switches of the minimum fits (C fixed by default) and the bootstrap's workers/seed.
    std::array<bool, kSingleMinimumParameterCount> free = {true, true, true, true,
                                                           true, true, false};
    unsigned processors = 0;
    uint64_t seed = 0;
};

// The dialog's values offered for an object: its period and its stored time-around values.
FitAllMinimaOptions FitAllMinimaDefaults(const kurvalux_data::CObjectListElem& object);

// The refusal under "Cannot find minima", or an empty message.
FitMessage ValidateFitAllMinima(double m0, const FitAllMinimaOptions& options);

struct FoundMinimum {
    size_t series_index = 0;
    uint32_t type = kurvalux_data::kMinimumPrimary;
    double time = 0;
    double error = 0;  // 0 when the bootstrap gave no error (spread of a day or more)
    bool has_error = false;
    bool added = false;
};

struct FitAllMinimaResult {
    bool started = false;    // false when refused (nothing changed)
    bool cancelled = false;  // Cancel in a question: the minima added so far stay
    std::vector<FoundMinimum> found;
    int windows = 0;  // predicted minima looked at
    int skipped = 0;  // not enough points on a branch
    int failed = 0;   // "MInimum Fit failed"
    int added = 0;
};

// The most predicted minima the walk looks at in one series for one kind. A century of
// photometry at a period of 0.1 d is 365,250 of them; a span that needs more comes from a
// broken time (an extra digit, an overflowed value), and walking it would keep the program
// busy for hours, so the command refuses it instead.
constexpr double kMaxWindowsPerSeries = 1'000'000;

// Runs the command over the series at `selected` (indices into object.series). Refusals,
// failed fits and the questions go through `messages`; Yes adds a minimum of the kind to the
// series' minima. The two time-around values are stored in the object once validated. A
// selected series with a time that is not finite, or whose span needs more than
// kMaxWindowsPerSeries predicted minima, is refused under "Cannot find minima" before anything
// changes.
FitAllMinimaResult FitAllMinima(kurvalux_data::CObjectListElem& object,
                                const std::vector<size_t>& selected,
                                const FitAllMinimaOptions& options,
                                kurvalux_platform::CMessageBoxSink& messages);

}  // namespace kurvalux_analysis
