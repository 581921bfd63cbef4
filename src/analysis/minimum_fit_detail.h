#pragma once
// What the minimum fit and its error estimates share: the window's points on the normalised
// axis, the fitter's constraints and one fit of the single-minimum model.
#include <array>
#include <vector>

#include "analysis/fitter.h"
#include "analysis/minimum_fit.h"

namespace kurvalux_analysis::detail {

// The points inside the window in series order: x = (t - t_start) / (t_end - t_start), the
// value, and sigma with 0 taken as 1.
struct MinimumPoints {
    std::vector<double> x, y, sigma;
};
MinimumPoints SelectPoints(const MinimumFitOptions& options);

// Both limits of every parameter; the time of minimum always free, the others as switched.
using MinimumConstraints = std::array<FitParameterConstraint, kSingleMinimumParameterCount>;
MinimumConstraints Constraints(const std::array<bool, kSingleMinimumParameterCount>& free);

// Fits the single-minimum model to m points from `parameters` (normalised axis); returns the
// fitter's status.
int RunFit(const double* x, const double* y, const double* sigma, int m,
           const MinimumConstraints& constraints, SingleMinimumParameters& parameters,
           FitResult& result);

}  // namespace kurvalux_analysis::detail
