#pragma once
// Vector kernels of the two model functions (AVX2, four points at a time), chosen at run time
// when the processor supports them. They run the same templates as the scalar path
// (model_math.h), so both give identical bits. Internal to the analysis folder.
#include <cstddef>

#include "analysis/model_math.h"

namespace kurvalux_analysis::detail {

// True when the AVX2 kernels may run on this processor (and have not been switched off).
bool VectorKernelAvailable();
// Switches the vector kernels off (false) or back on where available (true); used to compare
// the two paths. Not meant to be flipped while a fit runs on another thread.
void SetVectorKernelEnabled(bool enabled);

// n must be a multiple of 4.
void LightCurveAvx2(const model_math::LightCurveCoefficients& c, const double* phases,
                    double* values, size_t n);
void SingleMinimumAvx2(const model_math::SingleMinimumCoefficients& c, const double* xs,
                       double* values, size_t n);

}  // namespace kurvalux_analysis::detail
