#include "analysis/synthetic_minima.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

namespace kurvalux_analysis {

namespace {

class Draw {
public:
    Draw(uint64_t seed, SyntheticKind kind, size_t index) {
        std::seed_seq sequence{uint32_t(seed), uint32_t(seed >> 32), uint32_t(kind),
                               uint32_t(index), uint32_t(uint64_t(index) >> 32)};
        engine_.seed(sequence);
    }
    double Uniform(double a, double b) {
        return std::uniform_real_distribution<double>(a, b)(engine_);
    }
    double LogUniform(double a, double b) { return std::exp(Uniform(std::log(a), std::log(b))); }
    int Integer(int a, int b) { return std::uniform_int_distribution<int>(a, b)(engine_); }
    double Normal() { return std::normal_distribution<double>(0.0, 1.0)(engine_); }
    bool Coin() { return Integer(0, 1) == 1; }

private:
    std::mt19937_64 engine_;
};

// Intervals of time with data, in order.
using Coverage = std::vector<std::pair<double, double>>;

// Cuts `gaps` holes of 5-20 % of the window each out of [from, to].
Coverage WithGaps(Draw& draw, double from, double to, int gaps) {
    Coverage covered = {{from, to}};
    const double length = to - from;
    for (int g = 0; g < gaps; ++g) {
        const double size = draw.Uniform(0.05, 0.2) * length;
        const double start = draw.Uniform(from, to - size), end = start + size;
        Coverage next;
        for (const auto& [a, b] : covered) {
            if (a < start) next.push_back({a, std::min(b, start)});
            if (b > end) next.push_back({std::max(a, end), b});
        }
        covered = std::move(next);
    }
    return covered;
}

// n times spread evenly over the covered intervals, each moved by up to a quarter step.
std::vector<double> Sample(Draw& draw, const Coverage& covered, int n) {
    double total = 0;
    for (const auto& [a, b] : covered) total += b - a;
    const double step = total / n;
    std::vector<double> times;
    for (int i = 0; i < n; ++i) {
        double along = (i + 0.5 + draw.Uniform(-0.25, 0.25)) * step;
        for (const auto& [a, b] : covered) {
            if (along <= b - a) {
                times.push_back(a + along);
                break;
            }
            along -= b - a;
        }
    }
    return times;
}

// A transit-like dip that the model cannot follow exactly: a bottom rounded by b over the flat
// part and straight ingress and egress of `ingress` days, `half` days from centre to contact.
double TrapezoidDip(double x, double depth, double half, double ingress, double b) {
    const double ax = std::fabs(x), flat = half - ingress;
    if (ax >= half) return 0.0;
    const double u = std::min(ax, flat) / half;
    const double bottom = depth * (1.0 - b * u * u);
    return ax <= flat ? bottom : bottom * (half - ax) / ingress;
}

}  // namespace

const char* SyntheticKindName(SyntheticKind kind) {
    switch (kind) {
        case SyntheticKind::kTiming:
            return "timing";
        case SyntheticKind::kWhite:
            return "white";
        case SyntheticKind::kRed:
            return "red";
        case SyntheticKind::kTrend:
            return "trend";
    }
    return "";
}

SyntheticMinimum GenerateSyntheticMinimum(SyntheticKind kind, uint64_t seed, size_t index) {
    Draw draw(seed, kind, index);
    SyntheticMinimum s;
    s.true_time = 2459000.0 + draw.Uniform(0.0, 1000.0);
    s.depth = draw.Uniform(0.1, 0.8);
    s.noise = draw.LogUniform(0.002, 0.02);
    const double base = draw.Uniform(8.0, 14.0);
    const int n = draw.Integer(50, 400);
    const double t0 = s.true_time;

    Coverage covered;
    double from = 0, to = 0;
    if (kind != SyntheticKind::kTrend) {
        // The model's profile: width, shape and a linear trend it can follow.
        s.width = draw.Uniform(0.02, 0.08);
        s.shape = draw.LogUniform(0.7, 4.0);
        const double slope = draw.Uniform(-0.1, 0.1);  // mag per day
        const double half = s.width * draw.Uniform(3.5, 6.0);
        const double centre = t0 + draw.Uniform(-0.25, 0.25) * half;
        from = centre - half;
        to = centre + half;
        const int kinds = kind == SyntheticKind::kTiming ? 3 : 2;
        s.coverage = draw.Integer(0, kinds - 1);
        if (s.coverage == 2) {
            // The night began or ended in the eclipse: one branch, the bottom and a little
            // of the other branch.
            const double reach = draw.Uniform(0.2, 1.0) * HalfDepthOffset(s.shape) * s.width;
            const bool early = draw.Coin();
            from = early ? t0 - reach : t0 - half;
            to = early ? t0 + half : t0 + reach;
        }
        covered =
            s.coverage == 1 ? WithGaps(draw, from, to, draw.Integer(1, 3)) : Coverage{{from, to}};
        const std::vector<double> times = Sample(draw, covered, n);
        SingleMinimumParameters truth = {base, t0, slope, s.depth, s.width, s.shape, 0.0};
        const CSingleMinimumModel model(truth);
        if (kind == SyntheticKind::kRed) s.correlation = draw.Uniform(0.5, 0.9);
        const double cadence = (to - from) / n;
        double red = 0;
        for (size_t i = 0; i < times.size(); ++i) {
            double e = s.noise * draw.Normal();
            if (kind == SyntheticKind::kRed) {
                // AR(1) in time: the coefficient falls off with the time step, so a gap
                // forgets the past as the same time without data would.
                const double rho =
                    i == 0 ? 0.0 : std::pow(s.correlation, (times[i] - times[i - 1]) / cadence);
                red = rho * red + std::sqrt(1.0 - rho * rho) * e;
                e = red;
            }
            s.options.times.push_back(times[i]);
            s.noiseless.push_back(model.Evaluate(times[i]));
            s.options.values.push_back(s.noiseless.back() + e);
        }
    } else {
        // A flat-bottomed transit-like dip, a curved trend, much more baseline on one side.
        s.width = draw.Uniform(0.05, 0.15);
        const double ingress = s.width * draw.Uniform(0.2, 0.6);
        const double rounding = draw.Uniform(0.0, 0.3);
        const double long_side = s.width * draw.Uniform(2.0, 4.0);
        const double short_side = s.width * draw.Uniform(1.1, 1.6);
        s.coverage = 3;
        from = t0 - long_side;
        to = t0 + short_side;
        if (draw.Coin()) {
            from = t0 - short_side;
            to = t0 + long_side;
        }
        covered = {{from, to}};
        const std::vector<double> times = Sample(draw, covered, n);
        const double middle = 0.5 * (from + to), reach = 0.5 * (to - from);
        const double linear = draw.Uniform(-0.02, 0.02);
        const double curve = draw.Uniform(-3.0, 3.0) * s.noise;
        for (double t : times) {
            const double u = (t - middle) / reach;
            s.options.times.push_back(t);
            s.noiseless.push_back(base + linear * u + curve * u * u +
                                  TrapezoidDip(t - t0, s.depth, s.width, ingress, rounding));
            s.options.values.push_back(s.noiseless.back() + s.noise * draw.Normal());
        }
    }
    s.options.errors.assign(s.options.times.size(), s.noise);
    s.options.t_start = from;
    s.options.t_end = to;
    return s;
}

std::vector<SyntheticMinimum> GenerateSyntheticMinima(SyntheticKind kind, uint64_t seed,
                                                      size_t count) {
    std::vector<SyntheticMinimum> set;
    set.reserve(count);
    for (size_t i = 0; i < count; ++i) set.push_back(GenerateSyntheticMinimum(kind, seed, i));
    return set;
}

}  // namespace kurvalux_analysis
