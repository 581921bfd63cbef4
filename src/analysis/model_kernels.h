#pragma once
// Vector kernels of the two model functions (AVX2, four points at a time), chosen at run time
// when the processor supports them. Internal to the analysis folder.
#include <cstddef>

namespace kurvalux_analysis::detail {

// True when the AVX2 kernels may run on this processor (checked once).
bool VectorKernelAvailable();
// Switches the vector kernels off (false) or back on where available (true); used to compare
// the two paths. Not meant to be flipped while a fit runs on another thread.
void SetVectorKernelEnabled(bool enabled);

// Whole-cycle model: p holds the sixteen parameters, kp/ip/ks/is the derived quantities.
void LightCurveAvx2(const double* p, double kp, double ip, double ks, double is,
                    const double* phases, double* values, size_t n);

// Single-minimum model: p holds the seven parameters, k = C/D^2, i = 1/D.
void SingleMinimumAvx2(const double* p, double k, double i, const double* xs, double* values,
                       size_t n);

}  // namespace kurvalux_analysis::detail
