#include "analysis/minimum_fit.h"

#include <algorithm>
#include <cmath>

#include "analysis/minimum_fit_detail.h"
#include "analysis/model_kernels.h"

namespace kurvalux_analysis {

namespace {

const char* const kCannotFit = "Cannot perform minimum fit";

double Median(std::vector<double> v) {
    if (v.empty()) return 0;
    const size_t mid = v.size() / 2;
    std::nth_element(v.begin(), v.begin() + mid, v.end());
    double m = v[mid];
    if (v.size() % 2 == 0) m = 0.5 * (m + *std::max_element(v.begin(), v.begin() + mid));
    return m;
}

// The points of one fit and the intermediate values of the last full evaluation: the
// finite-difference Jacobian changes one parameter at a time, and for the base level, trend,
// amplitude, correction and shape the kept values give the residuals with identical bits and
// without most of the exponentials.
struct ResidualData {
    const double* x = nullptr;
    const double* y = nullptr;
    const double* sigma = nullptr;
    bool have_cache = false;
    SingleMinimumParameters cached = {};
    CSingleMinimumModel::Cache cache;
};

// (value - m(x)) / sigma.
int MinimumResiduals(int m, int, const double* p, double* residuals, double**, void* data) {
    ResidualData& d = *static_cast<ResidualData*>(data);
    SingleMinimumParameters parameters;
    std::copy(p, p + kSingleMinimumParameterCount, parameters.begin());
    const CSingleMinimumModel model(parameters);
    model_math::SingleMinimumChange change;
    if (d.have_cache && detail::PartialEvaluationEnabled() &&
        CSingleMinimumModel::CacheServes(d.cached, parameters, change)) {
        model.ResidualsFromCache(change, d.y, d.sigma, residuals, size_t(m), d.cache);
        return 0;
    }
    // A Jacobian column of the time of minimum or the width differs from the kept point in
    // that one parameter: evaluate it without replacing the kept values, which the other
    // columns still need.
    int changed = 0;
    for (size_t k = 0; k < parameters.size(); ++k) changed += parameters[k] != d.cached[k];
    if (d.have_cache && changed == 1) {
        model.Residuals(d.x, d.y, d.sigma, residuals, size_t(m));
        return 0;
    }
    model.ResidualsKeeping(d.x, d.y, d.sigma, residuals, size_t(m), d.cache);
    d.cached = parameters;
    d.have_cache = true;
    return 0;
}

}  // namespace

namespace detail {

MinimumPoints SelectPoints(const MinimumFitOptions& o) {
    MinimumPoints p;
    const double scale = 1.0 / (o.t_end - o.t_start);
    for (size_t i = 0; i < o.times.size(); ++i) {
        const double t = o.times[i];
        if (!(t >= o.t_start && t <= o.t_end)) continue;
        p.x.push_back((t - o.t_start) * scale);
        p.y.push_back(o.values[i]);
        const double s = i < o.errors.size() ? o.errors[i] : 0.0;
        p.sigma.push_back(s == 0.0 ? 1.0 : s);
    }
    return p;
}

MinimumConstraints Constraints(const std::array<bool, kSingleMinimumParameterCount>& free) {
    MinimumConstraints c;
    for (size_t k = 0; k < c.size(); ++k) {
        c[k].fixed = (k == kMinTime || free[k]) ? 0 : 1;
        c[k].limited[0] = c[k].limited[1] = 1;
        c[k].limits[0] = kSingleMinimumLower[k];
        c[k].limits[1] = kSingleMinimumUpper[k];
    }
    return c;
}

int RunFit(const double* x, const double* y, const double* sigma, int m,
           const MinimumConstraints& constraints, SingleMinimumParameters& parameters,
           FitResult& result) {
    ResidualData data;
    data.x = x;
    data.y = y;
    data.sigma = sigma;
    result = FitResult();
    return LeastSquaresFit(MinimumResiduals, m, int(parameters.size()), parameters.data(),
                           constraints.data(), nullptr, &data, &result);
}

}  // namespace detail

int MinimumFitOptions::CountInWindow() const {
    int n = 0;
    for (double t : times)
        if (t >= t_start && t <= t_end) ++n;
    return n;
}

FitMessage MinimumFitOptions::Validate(const std::string& title) const {
    if (CountInWindow() < kMinimumFitMinPoints)
        return {title, {"At last 7 points needed for fit.", "Series contains too little points."}};
    if (!(t_end > t_start)) return {title, {"The time window has no length."}};
    return {};
}

MinimumFitResult FitMinimum(const MinimumFitOptions& options) {
    MinimumFitResult result;
    result.message = options.Validate(kCannotFit);
    if (!result.message.empty()) return result;

    const detail::MinimumPoints p = detail::SelectPoints(options);
    const double span = options.t_end - options.t_start;
    SingleMinimumParameters start = options.start;
    start[kMinTime] = (options.start[kMinTime] - options.t_start) * (1.0 / span);
    const auto constraints = detail::Constraints(options.free);
    result.points = int(p.x.size());
    // A start width too narrow for the minimum lets the fit shrink the profile until it sits
    // between the points: the width ends on its lower limit 0 (where the model is 0/0 at any
    // point that falls exactly on the centre) and the time of minimum means nothing. Such a
    // fit starts again from twice, then four times the width.
    const bool width_free = options.free[kMinWidth];
    SingleMinimumParameters parameters;
    for (double widen : kMinimumFitWidenings) {
        parameters = start;
        if (widen != 1.0)
            parameters[kMinWidth] =
                std::min(start[kMinWidth] * widen, kSingleMinimumUpper[kMinWidth]);
        result.status = detail::RunFit(p.x.data(), p.y.data(), p.sigma.data(), result.points,
                                       constraints, parameters, result.fit);
        ++result.attempts;
        const bool collapsed = result.status == kFitErrorNonFinite ||
                               (result.status > 0 && parameters[kMinWidth] == 0.0);
        if (!collapsed || !width_free || !(start[kMinWidth] > 0)) break;
    }
    result.ok = result.status > 0;
    if (!result.ok) {
        result.message = {"Minimum fitting failed", {FitStatusText(result.status)}};
        return result;
    }
    result.normalised = parameters;
    result.time_of_minimum = parameters[kMinTime] * span + options.t_start;
    result.shown = parameters;
    result.shown[kMinTime] = result.time_of_minimum;
    return result;
}

SingleMinimumParameters EstimateMinimumStart(const MinimumFitOptions& options) {
    SingleMinimumParameters start = {0, 0.5 * (options.t_start + options.t_end), 0, 0, 0.1, 1.0, 0};
    std::vector<double> t, v;
    for (size_t i = 0; i < options.times.size(); ++i)
        if (options.times[i] >= options.t_start && options.times[i] <= options.t_end) {
            t.push_back(options.times[i]);
            v.push_back(options.values[i]);
        }
    if (t.empty() || !(options.t_end > options.t_start)) return start;
    // Time order, then a 5-point running median so that one outlier is not the "minimum".
    std::vector<size_t> order(t.size());
    for (size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return t[a] < t[b]; });
    std::vector<double> ts(t.size()), smooth(t.size());
    for (size_t i = 0; i < order.size(); ++i) ts[i] = t[order[i]];
    for (size_t i = 0; i < order.size(); ++i) {
        std::vector<double> w;
        for (size_t j = (i >= 2 ? i - 2 : 0); j <= std::min(order.size() - 1, i + 2); ++j)
            w.push_back(v[order[j]]);
        smooth[i] = Median(w);
    }
    // Magnitudes: the brightest smoothed level is the base (a window may hold little outside
    // the eclipse), the faintest the minimum.
    const double base = *std::min_element(smooth.begin(), smooth.end());
    const size_t deepest = size_t(std::max_element(smooth.begin(), smooth.end()) - smooth.begin());
    const double depth = smooth[deepest] - base;
    const double span = options.t_end - options.t_start;
    start[kMinBase] = base;
    start[kMinTime] = ts[deepest];
    start[kMinAmplitude] = std::clamp(depth, 0.0, kSingleMinimumUpper[kMinAmplitude]);
    // The half-depth level is crossed on each side where the smoothed curve rises back above
    // it; the crossing time is interpolated between the two points that straddle it.
    const double half = base + 0.5 * depth;
    size_t lo = deepest, hi = deepest;
    while (lo > 0 && smooth[lo - 1] > half) --lo;
    while (hi + 1 < smooth.size() && smooth[hi + 1] > half) ++hi;
    auto crossing = [&](size_t inside, size_t outside) {
        const double f = (smooth[inside] - half) / (smooth[inside] - smooth[outside]);
        return ts[inside] + f * (ts[outside] - ts[inside]);
    };
    const bool left = lo > 0, right = hi + 1 < smooth.size();
    double half_width = 0;
    if (left && right) {
        // Both branches seen: the middle of the crossings is a steadier time of minimum than
        // the faintest point of a flat or noisy bottom.
        const double from = crossing(lo, lo - 1), to = crossing(hi, hi + 1);
        half_width = 0.5 * (to - from);
        start[kMinTime] = 0.5 * (from + to);
    } else if (left) {
        // One branch only (the data end in the eclipse): its distance from the faintest point.
        half_width = ts[deepest] - crossing(lo, lo - 1);
    } else if (right) {
        half_width = crossing(hi, hi + 1) - ts[deepest];
    } else {
        half_width = 0.5 * (ts.back() - ts.front());
    }
    // The start shape is 1, whose profile is half deep at HalfDepthOffset(1) = 1.118 widths.
    half_width /= span;
    if (depth > 0 && half_width > 0)
        start[kMinWidth] = std::clamp(half_width / HalfDepthOffset(1.0), 0.01, 0.5);
    return start;
}

}  // namespace kurvalux_analysis
