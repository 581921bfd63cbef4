#pragma once
// The two phenomenological model functions behind every fit and every drawn model curve, and
// the rules that turn a time into a phase, a cycle number or an O-C value.
//
// Whole-cycle model (an eclipsing-binary light curve over one period): a base level, a primary
// eclipse at phase 0, a secondary eclipse at `sec_phase` and up to three harmonics. Each
// eclipse has the symmetric profile
//     a * (1 + k*x^2) * (1 - (1 - exp(1 - cosh(i*x)))^g),   k = c/d^2, i = 1/d,
// which is the full depth a at x = 0 and falls to zero far from the centre; d sets the width,
// g how flat-bottomed the eclipse is and c bends its wings.
//
// Single-minimum model (one minimum in time): the same profile plus a base level and a linear
// trend, m(x) = m0 + s*(x - t0) + profile(x - t0).
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "analysis/model_math.h"
#include "data/light_curve_parameters.h"

namespace kurvalux_analysis {

// 2*pi, 4*pi and 6*pi as the harmonics use them, and 1/(2*pi) for the mean phase.
constexpr double kTwoPi = 6.283185307179586;
constexpr double kFourPi = 12.566370614359172;
constexpr double kSixPi = 18.84955592153876;
constexpr double kInverseTwoPi = 0.15915494309189535;

// The magnitude that means "undefined"; model sampling starts its extremes from it.
constexpr double kUndefinedValue = 100.0;

// Contribution of one eclipse at offset x from its centre, written out with the C library's
// cosh, exp and pow. No guard on a zero width: the caller's 1/d and c/d^2 carry whatever
// infinities the arithmetic gives.
double EclipseProfile(double x, double amplitude, double inverse_width, double shape,
                      double correction_factor);

// Offset from the centre, in widths, at which a profile of shape g without correction is
// half its depth (1.1182 widths for g = 1). A start width follows from a measured half-depth
// half-width by dividing by it.
double HalfDepthOffset(double shape);

// Evaluation. Evaluate() and EvaluateMany() share one implementation of the elementary
// functions (model_math.h) in a scalar and an AVX2 form that give identical bits, so a fit
// ends on the same parameters whether or not the processor has the vector unit. Reference()
// is the same model written out with the C library's cosh, exp, pow, sin and cos (each
// harmonic at its own angle); the two agree to a few units in the last place.
// The whole-cycle model with its derived quantities (kp, ip, ks, is) computed once.
class CLightCurveModel {
public:
    explicit CLightCurveModel(const kurvalux_data::LightCurveParameters& parameters);

    // m(phase): secondary at phase - sec_phase (never wrapped), primary at phase or phase - 1
    // (wrapped at 0.5), then the harmonics whose coefficients are not 0 (a pair of zeros costs
    // no sine or cosine).
    double Evaluate(double phase) const;
    // m at n phases, eight or four at a time where the processor allows; the same bits as
    // Evaluate().
    void EvaluateMany(const double* phases, double* values, size_t n) const;
    // The weighted residuals of a fit, (value + offset - m(phase)) / sigma, for n points;
    // `offsets` may be null.
    void Residuals(const double* phases, const double* values, const double* offsets,
                   const double* sigmas, double* residuals, size_t n) const;
    double Reference(double phase) const;

    // The same residuals, keeping the intermediate values of every point (both profiles and
    // the harmonic basis) in `cache`; then, for other parameters, the residuals from the cache
    // with each profile had again as the update says (identical bits to a full evaluation).
    // The phases, values, offsets and sigmas must be the same arrays both times.
    struct Cache {
        std::vector<double> arrays[16];
    };
    void ResidualsKeeping(const double* phases, const double* values, const double* offsets,
                          const double* sigmas, double* residuals, size_t n, Cache& cache) const;
    void ResidualsFromCache(model_math::ProfileUpdate secondary, model_math::ProfileUpdate primary,
                            const double* phases, const double* values, const double* offsets,
                            const double* sigmas, double* residuals, size_t n,
                            const Cache& cache) const;
    // The updates that turn parameters `from` into `to`: a profile whose centre or width
    // changed (or both its correction and shape) is computed anew.
    static void CacheUpdates(const kurvalux_data::LightCurveParameters& from,
                             const kurvalux_data::LightCurveParameters& to,
                             model_math::ProfileUpdate& secondary,
                             model_math::ProfileUpdate& primary);

    const kurvalux_data::LightCurveParameters& Parameters() const { return p_; }
    double kp() const { return kp_; }
    double ip() const { return ip_; }
    double ks() const { return ks_; }
    double is() const { return is_; }

private:
    kurvalux_data::LightCurveParameters p_;
    double kp_, ip_, ks_, is_;
    model_math::LightCurveCoefficients c_;
};

double EvaluateLightCurve(const kurvalux_data::LightCurveParameters& parameters, double phase);

// Indices of the single-minimum parameter vector.
enum SingleMinimumIndex : size_t {
    kMinBase = 0,    // m0, base level
    kMinTime,        // t0, time of minimum
    kMinTrend,       // s, linear trend
    kMinAmplitude,   // A
    kMinWidth,       // D
    kMinShape,       // G
    kMinCorrection,  // C
    kSingleMinimumParameterCount
};
using SingleMinimumParameters = std::array<double, kSingleMinimumParameterCount>;

class CSingleMinimumModel {
public:
    explicit CSingleMinimumModel(const SingleMinimumParameters& parameters);
    double Evaluate(double x) const;
    void EvaluateMany(const double* xs, double* values, size_t n) const;
    // (value - m(x)) / sigma for n points.
    void Residuals(const double* xs, const double* values, const double* sigmas, double* residuals,
                   size_t n) const;
    double Reference(double x) const;

    // The same residuals, keeping the intermediate values of every point in `cache`; then, for
    // parameters that differ from the kept ones only by `change`, the residuals from the cache
    // (identical bits to a full evaluation, without most of the exponentials).
    struct Cache {
        std::vector<double> dx, bend, one_minus_power, base, log_base;
    };
    void ResidualsKeeping(const double* xs, const double* values, const double* sigmas,
                          double* residuals, size_t n, Cache& cache) const;
    void ResidualsFromCache(model_math::SingleMinimumChange change, const double* values,
                            const double* sigmas, double* residuals, size_t n,
                            const Cache& cache) const;
    // How `to` differs from `from` as a change the cache can serve: base level, trend and
    // amplitude (kLinear), with the correction (kCorrection) or with the shape (kShape). False
    // when the time of minimum or the width changed, or both correction and shape.
    static bool CacheServes(const SingleMinimumParameters& from, const SingleMinimumParameters& to,
                            model_math::SingleMinimumChange& change);
    const SingleMinimumParameters& Parameters() const { return p_; }

private:
    SingleMinimumParameters p_;
    double k_, i_;
    model_math::SingleMinimumCoefficients c_;
};

// Phase of time t for the ephemeris (m0, period): the time is folded into the first cycle
// after m0, so the result lies in [0, 1] (1 exactly when the folded time is m0 + period).
double PhaseOf(double t, double m0, double period);

// Cycle number E (rounded half away from zero) and O-C in days of a minimum at time t; the
// reference is m0 for a primary or undefined minimum and m0 + P/2 for a secondary one.
struct CycleOC {
    double cycle = 0;
    double oc = 0;
};
CycleOC CycleAndOC(double t, uint32_t minimum_type, double m0, double period);

// Circular mean of phases: the mean phase in (-0.5, 0.5] and the coherence R in [0, 1].
struct CircularMeanResult {
    double mean_phase = 0;
    double coherence = 0;
};
CircularMeanResult CircularMean(const std::vector<double>& phases);

// A model curve sampled for drawing, with its largest and smallest value; both start from
// the undefined 100.0 and the first sample replaces them.
struct ModelSampling {
    std::vector<double> abscissae;
    std::vector<double> values;
    double largest = kUndefinedValue;
    double smallest = kUndefinedValue;
};

// Samples the whole-cycle model every second device column over [phase_from, phase_to] drawn
// across `columns` device columns (columns 0, 2, 4, ... up to and including the last one
// reached). A negative phase is evaluated at phase + 1.
ModelSampling SampleLightCurve(const kurvalux_data::LightCurveParameters& parameters,
                               double phase_from, double phase_to, int columns);

// Samples the single-minimum model the same way over the fitted span [x_from, x_to] of its
// abscissa (normalised time).
ModelSampling SampleSingleMinimum(const SingleMinimumParameters& parameters, double x_from,
                                  double x_to, int columns);

}  // namespace kurvalux_analysis
