#pragma once
// Synthetic minima with a known time of minimum, for checking the minimum fit and its error
// estimates on many cases at once. One generator serves the tests and the benchmarks, so both
// look at the same kinds of data.
//
// Every minimum is drawn from its own generator seeded with (seed, kind, index): a case can be
// rebuilt alone, and a set is the same whatever its size (with the same standard library,
// whose distributions are free to differ between implementations).
#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/minimum_fit.h"

namespace kurvalux_analysis {

enum class SyntheticKind {
    // The single-minimum model's own profile with white noise: depth 0.1-0.8 mag, width
    // 0.02-0.08 d, shape 0.7-4, 50-400 points, noise 0.002-0.02 mag; coverage complete, with
    // gaps, or one-sided (one branch and part of the bottom).
    kTiming,
    // As kTiming, without the one-sided coverage: white noise as quoted by the errors.
    kWhite,
    // As kWhite with correlated noise: AR(1) with a coefficient of 0.5-0.9 between neighbours
    // (raised to the power of the time step in cadences across gaps), the quoted errors being
    // the noise's standard deviation.
    kRed,
    // A profile unlike the model (straight ingress and egress, a rounded bottom), a curved
    // trend added, and lopsided coverage: a long baseline on one side, little on the other.
    kTrend,
};

const char* SyntheticKindName(SyntheticKind kind);

struct SyntheticMinimum {
    MinimumFitOptions options;      // points and window; the start values are left at defaults
    double true_time = 0;           // JD of the centre of the symmetric profile
    double depth = 0;               // mag
    double width = 0;               // d: the model's width D, or half the duration for kTrend
    double shape = 0;               // the model's shape G (0 for kTrend)
    double noise = 0;               // mag, the quoted error of every point
    double correlation = 0;         // AR(1) coefficient between neighbouring points (kRed)
    int coverage = 0;               // 0 complete, 1 gaps, 2 one-sided, 3 lopsided
    std::vector<double> noiseless;  // the values before the noise was added
};

SyntheticMinimum GenerateSyntheticMinimum(SyntheticKind kind, uint64_t seed, size_t index);
std::vector<SyntheticMinimum> GenerateSyntheticMinima(SyntheticKind kind, uint64_t seed,
                                                      size_t count);

}  // namespace kurvalux_analysis
