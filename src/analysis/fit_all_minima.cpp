#include "analysis/fit_all_minima.h"

#include <algorithm>
#include <cmath>

#include "analysis/fit_points.h"

namespace kurvalux_analysis {

namespace {

const char* const kCannotFind = "Cannot find minima";

struct Kind {
    bool asked;
    uint32_t type;
    double phase;
    double around;
    const char* question;
};

// The walk of one kind over one series: the first predicted minimum at or before the first
// point's cycle, and the number of periods from its window start to the last point (not
// finite, or huge, when a time is broken).
struct WalkPlan {
    double centre = 0;
    double from = 0;
    double cycles = 0;
};

WalkPlan PlanWalk(const SeriesPoints& points, double m0, double period, const Kind& kind) {
    WalkPlan plan;
    const double cycle = std::trunc((points.times.front() - m0) / period);
    plan.centre = m0 + (cycle + kind.phase) * period;
    plan.from = plan.centre - kind.around / 2;
    plan.cycles = (points.times.back() - plan.from) / period;
    return plan;
}

// Why a selected series cannot be walked, or an empty message. A time that is not finite
// cannot be placed on the ephemeris; a span of more than kMaxWindowsPerSeries periods comes
// from a broken time, not from a real campaign.
FitMessage CheckSpan(const SeriesPoints& points, size_t index, double m0, double period,
                     const Kind (&kinds)[2]) {
    const std::string name = "Series " + std::to_string(index + 1);
    for (double t : points.times)
        if (!std::isfinite(t))
            return {kCannotFind,
                    {name + " has a time that is not a finite number",
                     "(an overflowed or undefined time in its photometry)"}};
    for (const Kind& kind : kinds) {
        if (!kind.asked) continue;
        if (!(PlanWalk(points, m0, period, kind).cycles <= kMaxWindowsPerSeries))
            return {
                kCannotFind,
                {name + " would need more than " +
                     std::to_string(static_cast<long>(kMaxWindowsPerSeries)) + " predicted minima",
                 "between its first and last points: check their times"}};
    }
    return {};
}

}  // namespace

FitAllMinimaOptions FitAllMinimaDefaults(const kurvalux_data::CObjectListElem& object) {
    FitAllMinimaOptions options;
    options.period = object.period;
    options.primary_time_around = object.primary_fit_time_range;
    options.secondary_time_around = object.secondary_fit_time_range;
    return options;
}

FitMessage ValidateFitAllMinima(double m0, const FitAllMinimaOptions& o) {
    // A negative or non-finite period cannot come from the dialog; it is as unusable as 0.
    if (m0 == 0 || !(o.period > 0) || !std::isfinite(o.period) || !std::isfinite(m0))
        return {kCannotFind, {"M0 and/or Period udefined"}};
    if (o.fit_primary && !(o.primary_time_around > 0))
        return {kCannotFind, {"Primary Time Range udefined"}};
    if (o.fit_secondary && o.secondary_phase == 0)
        return {kCannotFind, {"Secondary phase udefined"}};
    if (o.fit_secondary && !(o.secondary_time_around > 0))
        return {kCannotFind, {"Secondary Time Range udefined"}};
    return {};
}

FitAllMinimaResult FitAllMinima(kurvalux_data::CObjectListElem& object,
                                const std::vector<size_t>& selected,
                                const FitAllMinimaOptions& options,
                                kurvalux_platform::CMessageBoxSink& messages) {
    FitAllMinimaResult result;
    if (selected.empty()) {
        messages.Error(kCannotFind, {"No series selected to find minima"});
        return result;
    }
    const FitMessage refusal = ValidateFitAllMinima(object.m0, options);
    if (!refusal.empty()) {
        messages.Error(refusal.title, refusal.lines);
        return result;
    }
    const double m0 = object.m0;
    const double period = options.period;
    const Kind kinds[2] = {
        {options.fit_primary, kurvalux_data::kMinimumPrimary, 0.0, options.primary_time_around,
         "Add Primary minimum?"},
        {options.fit_secondary, kurvalux_data::kMinimumSecondary, options.secondary_phase,
         options.secondary_time_around, "Add Secondary minimum?"}};

    // Every selected series is checked before anything changes or any question is asked.
    std::vector<std::pair<size_t, SeriesPoints>> walks;
    for (size_t index : selected) {
        if (index >= object.series.size()) continue;
        SeriesPoints points = MagnitudePoints(*object.series[index], object.is_flux);
        if (points.Count() == 0) continue;
        const FitMessage broken = CheckSpan(points, index, m0, period, kinds);
        if (!broken.empty()) {
            messages.Error(broken.title, broken.lines);
            return result;
        }
        walks.emplace_back(index, std::move(points));
    }

    result.started = true;
    object.primary_fit_time_range = options.primary_time_around;
    object.secondary_fit_time_range = options.secondary_time_around;

    for (const auto& [index, points] : walks) {
        kurvalux_data::CSeriesTreeElem& series = *object.series[index];
        const double t_last = points.times.back();
        // Series are normally in time order; then each window is found by bisection.
        const bool sorted = std::is_sorted(points.times.begin(), points.times.end());
        for (const Kind& kind : kinds) {
            if (!kind.asked) continue;
            const WalkPlan plan = PlanWalk(points, m0, period, kind);
            // Window k starts k periods after the first (computed, not accumulated, so that
            // rounding never stalls or drifts it); the count bound is a second guarantee that
            // the walk ends, whatever the times.
            const long limit = static_cast<long>(kMaxWindowsPerSeries) + 1;
            for (long k = 0; k < limit; ++k) {
                const double shift = static_cast<double>(k) * period;
                const double centre = plan.centre + shift;
                const double from = plan.from + shift;
                const double to = centre + kind.around / 2;
                if (!(from < t_last)) break;
                ++result.windows;
                // Both branches of the predicted minimum must be covered.
                int descending = 0, ascending = 0;
                if (sorted) {
                    const auto begin = points.times.begin(), end = points.times.end();
                    const auto first = std::lower_bound(begin, end, from);
                    const auto middle = std::lower_bound(first, end, centre);
                    const auto last = std::upper_bound(middle, end, to);
                    descending = int(middle - first);
                    ascending = int(last - middle);
                } else {
                    for (double t : points.times) {
                        if (t < from || t > to) continue;
                        if (t < centre)
                            ++descending;
                        else
                            ++ascending;
                    }
                }
                if (descending < options.min_branch_points ||
                    ascending < options.min_branch_points) {
                    ++result.skipped;
                    continue;
                }
                MinimumFitOptions fit_options;
                fit_options.times = points.times;
                fit_options.values = points.values;
                fit_options.errors = points.errors;
                fit_options.t_start = from;
                fit_options.t_end = to;
                fit_options.free = options.free;
                fit_options.start = EstimateMinimumStart(fit_options);
                const MinimumFitResult fit = FitMinimum(fit_options);
                if (!fit.ok) {
                    ++result.failed;
                    messages.Error("MInimum Fit failed", {"Cannot fit selected points"});
                    continue;
                }
                BootstrapOptions bootstrap;
                bootstrap.fit = fit_options;
                bootstrap.fitted = fit;
                bootstrap.processors = options.processors;
                bootstrap.seed = options.seed;
                const BootstrapResult error = EstimateMinimumError(bootstrap);

                FoundMinimum found;
                found.series_index = index;
                found.type = kind.type;
                found.time = fit.time_of_minimum;
                found.has_error = error.ok && error.has_error;
                found.error = found.has_error ? error.error : 0.0;
                const kurvalux_platform::MessageAnswer answer = messages.Show(
                    "Found Minimum", {kind.question}, kurvalux_platform::MessageIcon::Question,
                    kurvalux_platform::MessageButtons::YesNoCancel);
                if (answer == kurvalux_platform::MessageAnswer::Yes) {
                    kurvalux_data::CMinimaListElem minimum;
                    minimum.type = kind.type;
                    minimum.time = found.time;
                    minimum.error = found.error;
                    series.minima.push_back(minimum);
                    found.added = true;
                    ++result.added;
                }
                result.found.push_back(found);
                if (answer == kurvalux_platform::MessageAnswer::Cancel) {
                    result.cancelled = true;
                    return result;
                }
            }
        }
    }
    return result;
}

}  // namespace kurvalux_analysis
