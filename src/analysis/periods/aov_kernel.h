#pragma once
// The multiharmonic analysis-of-variance periodogram kernel (Schwarzenberg-Czerny 1996, with
// the revised recurrence coefficient of 2012), evaluated at many trial frequencies.
//
// At angular frequency w the points are mapped to unit complex numbers z = exp(i w t) and the
// (mean-subtracted) values x' to psi = x' z^nh. The polynomials phi_n orthogonal on the unit
// circle under the point weights follow the Szego recurrence
//     phi_0 = 1,   phi_{n+1} = z phi_n - alpha_n z^n conj(phi_n),
//     alpha_n = sum w z phi_n / sum w |phi_n|^2,
// and the projections c_n = <phi_n, psi> / ||phi_n|| (<f, g> = sum w conj(f) g), n = 0 .. 2nh,
// give the part S = sum |c_n|^2 of the variance V = sum w x'^2 that a trigonometric polynomial
// of nh harmonics (with a free mean) explains. The statistic is
//     Theta = (N - 2nh - 1) / (2nh) * S / (V - S).
// The periodogram response of the period search is |c_0|^2 + |c_1|^2, the projections on the
// first two orthonormal polynomials, with a NaN term counted as 0.
//
// This header is included by the vector-instruction translation units, which are compiled
// with instruction-set flags: it must stay free of anything inline from the standard library,
// so that no such code compiled for a newer processor can be picked by the linker for the rest
// of the program.
#include <cstddef>

namespace kurvalux_analysis {

// The most harmonics a kernel accepts.
constexpr int kAovMaxHarmonics = 16;
// Arrays handed to a kernel are padded to a multiple of this many points (with weight 0) and
// aligned to this many doubles.
constexpr size_t kAovPadding = 8;

// The prepared points: times relative to a reference epoch, weights w = 1/sigma^2 and w*x'.
// Every array holds `padded` entries; the padding has w = wx = 0 and t = 0.
struct AovKernelData {
    size_t count = 0;
    size_t padded = 0;
    const double* t = nullptr;
    const double* w = nullptr;
    const double* wx = nullptr;
    double weight_sum = 0;  // sum w over the points
    double variance = 0;    // V = sum w x'^2
};

struct AovValue {
    double response = 0;   // |c_0|^2 + |c_1|^2, NaN terms as 0
    double theta = 0;      // the AoV statistic
    double explained = 0;  // S = sum |c_n|^2, n = 0 .. 2nh
};

// The scratch a kernel needs: this many doubles, aligned to kAovPadding doubles.
constexpr size_t AovScratchSize(size_t padded) {
    return 8 * padded;
}

// Evaluates the periodogram at `count` angular frequencies into `out`. When `coefficients` is
// not null it receives, per frequency, the 2nh+1 projections c_n as (re, im) pairs.
using AovKernelFunction = void (*)(const AovKernelData& data, int harmonics, const double* omegas,
                                   size_t count, double* scratch, AovValue* out,
                                   double* coefficients);

// The straightforward scalar evaluation of the recurrence (library sine and cosine per point):
// the reference the vector kernels are checked against.
void AovKernelScalar(const AovKernelData& data, int harmonics, const double* omegas, size_t count,
                     double* scratch, AovValue* out, double* coefficients);
// The same computation four and eight points at a time with an inline vector sine/cosine.
// Call only when the processor has the instructions (see aov_dispatch.h).
void AovKernelAvx2(const AovKernelData& data, int harmonics, const double* omegas, size_t count,
                   double* scratch, AovValue* out, double* coefficients);
void AovKernelAvx512(const AovKernelData& data, int harmonics, const double* omegas, size_t count,
                     double* scratch, AovValue* out, double* coefficients);

}  // namespace kurvalux_analysis
