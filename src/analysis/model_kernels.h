#pragma once
// Vector kernels of the two model functions, chosen at run time by what the processor offers:
// AVX-512 (eight points at a time), AVX2 (four), or the scalar path. All run the same templates
// (model_math.h, model_kernel_loops.h), so every path gives identical bits. Internal to the
// analysis folder.
#include <cstddef>

#include "analysis/model_kernel_loops.h"
#include "analysis/model_math.h"

namespace kurvalux_analysis::detail {

// The widest kernel in use: 8, 4, or 1 for the scalar path.
size_t VectorWidth();
bool VectorKernelAvailable();
// Switches the vector kernels off (false) or back on where available (true); used to compare
// the paths. Not meant to be flipped while a fit runs on another thread.
void SetVectorKernelEnabled(bool enabled);
// Caps the width at 4 (AVX2) even where AVX-512 is there; false lifts the cap.
void SetAvx512Enabled(bool enabled);
// Whether minimum fits re-use the kept intermediate values for Jacobian columns (default on);
// off, every evaluation is a full one. The results are identical either way.
bool PartialEvaluationEnabled();
void SetPartialEvaluationEnabled(bool enabled);

// One set of kernels: each handles the largest multiple of its width below n and returns how
// many points it did.
struct KernelSet {
    size_t (*light_curve)(const model_math::LightCurveCoefficients&, const double*, double*,
                          size_t);
    size_t (*light_curve_residuals)(const model_math::LightCurveCoefficients&, const double*,
                                    const double*, const double*, const double*, double*, size_t);
    size_t (*single_minimum)(const model_math::SingleMinimumCoefficients&, const double*, double*,
                             size_t);
    size_t (*single_minimum_residuals)(const model_math::SingleMinimumCoefficients&, const double*,
                                       const double*, const double*, double*, size_t);
    size_t (*light_curve_residuals_keeping)(const model_math::LightCurveCoefficients&,
                                            const double*, const double*, const double*,
                                            const double*, double*,
                                            const model_math::LightCurvePartArrays&, size_t);
    size_t (*light_curve_residuals_from_parts)(const model_math::LightCurveCoefficients&,
                                               model_math::ProfileUpdate, model_math::ProfileUpdate,
                                               const double*, const double*, const double*,
                                               const double*, double*,
                                               const model_math::LightCurvePartArrays&, size_t);
    size_t (*single_minimum_residuals_keeping)(const model_math::SingleMinimumCoefficients&,
                                               const double*, const double*, const double*, double*,
                                               const model_math::SingleMinimumPartArrays&, size_t);
    size_t (*single_minimum_residuals_from_parts)(const model_math::SingleMinimumCoefficients&,
                                                  model_math::SingleMinimumChange, const double*,
                                                  const double*, double*,
                                                  const model_math::SingleMinimumPartArrays&,
                                                  size_t);
};

// Null when the build has no such kernel.
const KernelSet* Avx2Kernels();
const KernelSet* Avx512Kernels();
// The kernels to use now, or null for the scalar path.
const KernelSet* ActiveKernels();

}  // namespace kurvalux_analysis::detail
