#pragma once
// The two pieces of a block bootstrap of fit residuals that do not depend on the model: how
// long the blocks are, and residuals that carry the whole noise of their block.
#include <cstddef>
#include <vector>

namespace kurvalux_analysis {

// Integrated autocorrelation time of residuals in time order, in points:
//     tau = 1 + 2 * sum of the autocorrelations rho(k), k = 1, 2, ...,
// summed while rho(k) stays positive and k < 5 tau (the self-consistent window of Sokal,
// "Monte Carlo Methods in Statistical Mechanics", 1997). 1 for white noise; (1 + a)/(1 - a)
// for AR(1) noise of coefficient a.
double IntegratedAutocorrelationTime(const std::vector<double>& residuals);

// Blocks of three correlation times, ceil(3 tau), at most a third of the points: a stretch
// of correlated error that moves a fit in the data moves it in the resampled data as well,
// while enough blocks remain to resample. White noise gives blocks of 3.
int BlockLengthFromResiduals(const std::vector<double>& residuals);

// Leave-block-out residuals. A fit takes from its residuals whatever part of the noise its
// parameters can follow; with correlated noise that is a large part, at the scales where the
// minimum's time, width and depth are decided, so bootstrap data built from the residuals
// would be too quiet there. Residuals predicted without the block do not lose it. For the
// points of the block B, consecutive blocks of `length` in time order,
//     u_B = r_B + J_B (A - J_B^T J_B)^-1 J_B^T r_B,   A = J^T J,
// the residuals of the fit made without B, to first order in the parameters (exact for a
// model linear in them). `jacobian` holds the derivatives of the weighted model by the p free
// parameters, n rows of p. A block without which the parameters cannot be determined keeps
// its plain residuals.
std::vector<double> LeaveBlockOutResiduals(const std::vector<double>& residuals,
                                           const std::vector<double>& jacobian, size_t p,
                                           size_t length);

}  // namespace kurvalux_analysis
