#include "analysis/model.h"

#include <atomic>
#include <cmath>
#include <cstdint>
#include <limits>

#include "analysis/model_kernel_loops.h"
#include "analysis/model_kernels.h"
#include "data/field.h"

namespace kurvalux_analysis {

namespace detail {
namespace {
size_t ProcessorWidth() {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx512f") && Avx512Kernels()) return 8;
    if (__builtin_cpu_supports("avx2") && Avx2Kernels()) return 4;
#endif
    return 1;
}
std::atomic<bool> g_vector_enabled{true};
std::atomic<bool> g_avx512_enabled{true};
}  // namespace

size_t VectorWidth() {
    static const size_t width = ProcessorWidth();
    if (!g_vector_enabled.load(std::memory_order_relaxed)) return 1;
    if (width == 8 && !g_avx512_enabled.load(std::memory_order_relaxed)) return 4;
    return width;
}
bool VectorKernelAvailable() {
    return VectorWidth() > 1;
}
void SetVectorKernelEnabled(bool enabled) {
    g_vector_enabled.store(enabled, std::memory_order_relaxed);
}
void SetAvx512Enabled(bool enabled) {
    g_avx512_enabled.store(enabled, std::memory_order_relaxed);
}
namespace {
std::atomic<bool> g_partial_enabled{true};
}
bool PartialEvaluationEnabled() {
    return g_partial_enabled.load(std::memory_order_relaxed);
}
void SetPartialEvaluationEnabled(bool enabled) {
    g_partial_enabled.store(enabled, std::memory_order_relaxed);
}
const KernelSet* ActiveKernels() {
    switch (VectorWidth()) {
        case 8:
            return Avx512Kernels();
        case 4:
            return Avx2Kernels();
        default:
            return nullptr;
    }
}
}  // namespace detail

using kurvalux_data::LightCurveParameters;
namespace lc = kurvalux_data;

double EclipseProfile(double x, double amplitude, double inverse_width, double shape,
                      double correction_factor) {
    return amplitude * (1.0 + correction_factor * x * x) *
           (1.0 - std::pow(1.0 - std::exp(1.0 - std::cosh(inverse_width * x)), shape));
}

double HalfDepthOffset(double shape) {
    // With no correction the profile is half its depth where
    //     1 - (1 - e^(1 - cosh u))^g = 1/2,   u = x / d,
    // so (1 - e^(1 - cosh u)) = 2^(-1/g), 1 - cosh u = ln(1 - 2^(-1/g)) and
    //     u = acosh(1 - ln(1 - 2^(-1/g))).
    // For g = 1: u = acosh(1 + ln 2) = 1.1182; a flatter bottom (larger g) moves it outward.
    return std::acosh(1.0 - std::log(1.0 - std::pow(0.5, 1.0 / shape)));
}

CLightCurveModel::CLightCurveModel(const LightCurveParameters& parameters) : p_(parameters) {
    // No guard on a zero width: 1/0 and c/0 give what the arithmetic gives.
    kp_ = p_[lc::kCPri] / (p_[lc::kDPri] * p_[lc::kDPri]);
    ip_ = 1.0 / p_[lc::kDPri];
    ks_ = p_[lc::kCSec] / (p_[lc::kDSec] * p_[lc::kDSec]);
    is_ = 1.0 / p_[lc::kDSec];
    c_.mag0 = p_[lc::kMag0];
    c_.sec_phase = p_[lc::kSecPhase];
    c_.a_sec = p_[lc::kASec];
    c_.is = is_;
    c_.g_sec = p_[lc::kGSec];
    c_.ks = ks_;
    c_.a_pri = p_[lc::kAPri];
    c_.ip = ip_;
    c_.g_pri = p_[lc::kGPri];
    c_.kp = kp_;
    for (int h = 0; h < 6; ++h) c_.harmonic[h] = p_[lc::kASin1 + h];
    c_.pair1 = c_.harmonic[0] != 0.0 || c_.harmonic[1] != 0.0;
    c_.pair2 = c_.harmonic[2] != 0.0 || c_.harmonic[3] != 0.0;
    c_.pair3 = c_.harmonic[4] != 0.0 || c_.harmonic[5] != 0.0;
}

double CLightCurveModel::Evaluate(double phase) const {
    return model_math::LightCurveValue(c_, phase);
}

namespace {
model_math::LightCurvePartArrays LightCurveArrays(CLightCurveModel::Cache& cache, size_t n) {
    model_math::LightCurvePartArrays a;
    for (auto& v : cache.arrays) v.resize(n);
    for (int k = 0; k < 2; ++k)
        for (int i = 0; i < 5; ++i) a.profile[k][i] = cache.arrays[5 * k + i].data();
    for (int i = 0; i < 6; ++i) a.basis[i] = cache.arrays[10 + i].data();
    return a;
}
}  // namespace

void CLightCurveModel::ResidualsKeeping(const double* phases, const double* values,
                                        const double* offsets, const double* sigmas,
                                        double* residuals, size_t n, Cache& cache) const {
    const model_math::LightCurvePartArrays parts = LightCurveArrays(cache, n);
    const detail::KernelSet* kernels = detail::ActiveKernels();
    const size_t done = kernels ? kernels->light_curve_residuals_keeping(
                                      c_, phases, values, offsets, sigmas, residuals, parts, n)
                                : 0;
    model_math::LightCurveResidualKeepingLoop<double>(
        c_, phases + done, values + done, offsets ? offsets + done : nullptr, sigmas + done,
        residuals + done, model_math::Advance(parts, done), n - done);
}

void CLightCurveModel::ResidualsFromCache(model_math::ProfileUpdate secondary,
                                          model_math::ProfileUpdate primary, const double* phases,
                                          const double* values, const double* offsets,
                                          const double* sigmas, double* residuals, size_t n,
                                          const Cache& cache) const {
    const model_math::LightCurvePartArrays parts = LightCurveArrays(const_cast<Cache&>(cache), n);
    const detail::KernelSet* kernels = detail::ActiveKernels();
    const size_t done =
        kernels ? kernels->light_curve_residuals_from_parts(c_, secondary, primary, phases, values,
                                                            offsets, sigmas, residuals, parts, n)
                : 0;
    model_math::LightCurveResidualFromPartsLoop<double>(
        c_, secondary, primary, phases + done, values + done, offsets ? offsets + done : nullptr,
        sigmas + done, residuals + done, model_math::Advance(parts, done), n - done);
}

void CLightCurveModel::CacheUpdates(const LightCurveParameters& from,
                                    const LightCurveParameters& to,
                                    model_math::ProfileUpdate& secondary,
                                    model_math::ProfileUpdate& primary) {
    using U = model_math::ProfileUpdate;
    auto update = [&](bool moved, size_t correction, size_t shape) {
        const bool bend = from[correction] != to[correction];
        const bool power = from[shape] != to[shape];
        if (moved || (bend && power)) return U::kFull;
        return bend ? U::kBend : power ? U::kShape : U::kKept;
    };
    secondary = update(from[lc::kSecPhase] != to[lc::kSecPhase] || from[lc::kDSec] != to[lc::kDSec],
                       lc::kCSec, lc::kGSec);
    primary = update(from[lc::kDPri] != to[lc::kDPri], lc::kCPri, lc::kGPri);
}

double CLightCurveModel::Reference(double phase) const {
    double value = p_[lc::kMag0];
    // The secondary offset is never wrapped: a secondary near phase 0 or 1 shows on one side
    // only. The primary sits at phase 0 and is seen from both ends of the cycle.
    const double xs = phase - p_[lc::kSecPhase];
    value += EclipseProfile(xs, p_[lc::kASec], is_, p_[lc::kGSec], ks_);
    const double xp = phase < 0.5 ? phase : phase - 1.0;
    value += EclipseProfile(xp, p_[lc::kAPri], ip_, p_[lc::kGPri], kp_);
    // A zero coefficient costs no trigonometric call: this runs for every point in every
    // iteration of a fit.
    const double angles[3] = {phase * kTwoPi, phase * kFourPi, phase * kSixPi};
    for (int h = 0; h < 3; ++h) {
        const double a_sin = p_[lc::kASin1 + 2 * h];
        const double a_cos = p_[lc::kACos1 + 2 * h];
        if (a_sin != 0.0) value += a_sin * std::sin(angles[h]);
        if (a_cos != 0.0) value += a_cos * std::cos(angles[h]);
    }
    return value;
}

void CLightCurveModel::EvaluateMany(const double* phases, double* values, size_t n) const {
    const detail::KernelSet* kernels = detail::ActiveKernels();
    const size_t done = kernels ? kernels->light_curve(c_, phases, values, n) : 0;
    for (size_t j = done; j < n; ++j) values[j] = Evaluate(phases[j]);
}

void CLightCurveModel::Residuals(const double* phases, const double* values, const double* offsets,
                                 const double* sigmas, double* residuals, size_t n) const {
    const detail::KernelSet* kernels = detail::ActiveKernels();
    const size_t done =
        kernels ? kernels->light_curve_residuals(c_, phases, values, offsets, sigmas, residuals, n)
                : 0;
    for (size_t j = done; j < n; ++j) {
        const double observed = offsets ? values[j] + offsets[j] : values[j];
        residuals[j] = (observed - Evaluate(phases[j])) / sigmas[j];
    }
}

double EvaluateLightCurve(const LightCurveParameters& parameters, double phase) {
    return CLightCurveModel(parameters).Evaluate(phase);
}

CSingleMinimumModel::CSingleMinimumModel(const SingleMinimumParameters& parameters)
    : p_(parameters) {
    k_ = p_[kMinCorrection] / (p_[kMinWidth] * p_[kMinWidth]);
    i_ = 1.0 / p_[kMinWidth];
    c_ = {p_[kMinBase], p_[kMinTime], p_[kMinTrend], p_[kMinAmplitude], i_, p_[kMinShape], k_};
}

double CSingleMinimumModel::Evaluate(double x) const {
    return model_math::SingleMinimumValue(c_, x);
}

namespace {
model_math::SingleMinimumPartArrays PartArrays(CSingleMinimumModel::Cache& cache) {
    return {cache.dx.data(), cache.bend.data(), cache.one_minus_power.data(), cache.base.data(),
            cache.log_base.data()};
}
}  // namespace

void CSingleMinimumModel::ResidualsKeeping(const double* xs, const double* values,
                                           const double* sigmas, double* residuals, size_t n,
                                           Cache& cache) const {
    for (auto* v : {&cache.dx, &cache.bend, &cache.one_minus_power, &cache.base, &cache.log_base})
        v->resize(n);
    const model_math::SingleMinimumPartArrays parts = PartArrays(cache);
    const detail::KernelSet* kernels = detail::ActiveKernels();
    const size_t done = kernels ? kernels->single_minimum_residuals_keeping(c_, xs, values, sigmas,
                                                                            residuals, parts, n)
                                : 0;
    for (size_t j = done; j < n; ++j) {
        model_math::SingleMinimumParts<double> kept;
        const double model = model_math::SingleMinimumValueKeeping(c_, xs[j], kept);
        residuals[j] = (values[j] - model) / sigmas[j];
        parts.dx[j] = kept.dx;
        parts.bend[j] = kept.bend;
        parts.one_minus_power[j] = kept.one_minus_power;
        parts.base[j] = kept.base;
        parts.log_base[j] = kept.log_base;
    }
}

void CSingleMinimumModel::ResidualsFromCache(model_math::SingleMinimumChange change,
                                             const double* values, const double* sigmas,
                                             double* residuals, size_t n,
                                             const Cache& cache) const {
    const model_math::SingleMinimumPartArrays parts = PartArrays(const_cast<Cache&>(cache));
    const detail::KernelSet* kernels = detail::ActiveKernels();
    const size_t done = kernels ? kernels->single_minimum_residuals_from_parts(
                                      c_, change, values, sigmas, residuals, parts, n)
                                : 0;
    for (size_t j = done; j < n; ++j) {
        const double model = model_math::SingleMinimumValueFromParts(
            c_, change, parts.dx[j], parts.bend[j], parts.one_minus_power[j], parts.base[j],
            parts.log_base[j]);
        residuals[j] = (values[j] - model) / sigmas[j];
    }
}

bool CSingleMinimumModel::CacheServes(const SingleMinimumParameters& from,
                                      const SingleMinimumParameters& to,
                                      model_math::SingleMinimumChange& change) {
    if (from[kMinTime] != to[kMinTime] || from[kMinWidth] != to[kMinWidth]) return false;
    const bool correction = from[kMinCorrection] != to[kMinCorrection];
    const bool shape = from[kMinShape] != to[kMinShape];
    if (correction && shape) return false;
    change = correction ? model_math::SingleMinimumChange::kCorrection
             : shape    ? model_math::SingleMinimumChange::kShape
                        : model_math::SingleMinimumChange::kLinear;
    return true;
}

double CSingleMinimumModel::Reference(double x) const {
    const double dx = x - p_[kMinTime];
    return p_[kMinBase] + p_[kMinTrend] * dx +
           EclipseProfile(dx, p_[kMinAmplitude], i_, p_[kMinShape], k_);
}

void CSingleMinimumModel::EvaluateMany(const double* xs, double* values, size_t n) const {
    const detail::KernelSet* kernels = detail::ActiveKernels();
    const size_t done = kernels ? kernels->single_minimum(c_, xs, values, n) : 0;
    for (size_t j = done; j < n; ++j) values[j] = Evaluate(xs[j]);
}

void CSingleMinimumModel::Residuals(const double* xs, const double* values, const double* sigmas,
                                    double* residuals, size_t n) const {
    const detail::KernelSet* kernels = detail::ActiveKernels();
    const size_t done =
        kernels ? kernels->single_minimum_residuals(c_, xs, values, sigmas, residuals, n) : 0;
    for (size_t j = done; j < n; ++j) residuals[j] = (values[j] - Evaluate(xs[j])) / sigmas[j];
}

namespace {
// The cycle count is a 32-bit integer; a value outside its range (or NaN, from a zero period)
// becomes INT32_MIN as the processor's truncating conversion gives it, instead of undefined
// behaviour.
int32_t TruncToInt32(double value) {
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}
}  // namespace

double PhaseOf(double t, double m0, double period) {
    double folded = t;
    if (t < m0)
        folded = t + TruncToInt32((period + m0 - t) / period) * period;
    else if (t > m0 + period)
        folded = t - TruncToInt32((t - m0) / period) * period;
    double phase = (folded - m0) / period;
    if (phase < -0.5) phase += 1.0;
    return phase;
}

CycleOC CycleAndOC(double t, uint32_t minimum_type, double m0, double period) {
    const double reference = minimum_type == lc::kMinimumSecondary ? m0 + period * 0.5 : m0;
    const double r = (t - reference) / period;
    CycleOC result;
    result.cycle = r > 0 ? std::floor(r + 0.5) : std::ceil(r - 0.5);
    result.oc = (t - reference) - result.cycle * period;
    return result;
}

CircularMeanResult CircularMean(const std::vector<double>& phases) {
    CircularMeanResult result;
    if (phases.empty()) return result;
    double c = 0, s = 0;
    for (double phase : phases) {
        c += std::cos(phase * kTwoPi);
        s += std::sin(phase * kTwoPi);
    }
    c /= double(phases.size());
    s /= double(phases.size());
    result.coherence = std::sqrt(s * s + c * c);
    result.mean_phase = std::atan2(s, c) * kInverseTwoPi;
    return result;
}

namespace {
template <class Model>
ModelSampling Sample(const Model& model, double from, double to, int columns, bool wrap) {
    ModelSampling sampling;
    if (columns <= 0) return sampling;
    bool first = true;
    for (int column = 0; column <= columns; column += 2) {
        const double u = from + (to - from) * double(column) / double(columns);
        const double value = model.Evaluate(wrap && u < 0 ? u + 1.0 : u);
        sampling.abscissae.push_back(u);
        sampling.values.push_back(value);
        if (first || value > sampling.largest) sampling.largest = value;
        if (first || value < sampling.smallest) sampling.smallest = value;
        first = false;
    }
    return sampling;
}
}  // namespace

ModelSampling SampleLightCurve(const LightCurveParameters& parameters, double phase_from,
                               double phase_to, int columns) {
    return Sample(CLightCurveModel(parameters), phase_from, phase_to, columns, true);
}

ModelSampling SampleSingleMinimum(const SingleMinimumParameters& parameters, double x_from,
                                  double x_to, int columns) {
    return Sample(CSingleMinimumModel(parameters), x_from, x_to, columns, false);
}

}  // namespace kurvalux_analysis
