// AVX2 kernels of the model functions: the templates of model_math.h on a lane of four
// doubles. Compiled with -mavx2 (see build.cmake) and selected only after the run-time check
// in model.cpp, so the program stays portable.
#include "analysis/model_kernel_loops.h"
#include "analysis/model_kernels.h"

#if defined(__x86_64__) && defined(__AVX2__)
#include <immintrin.h>

namespace kurvalux_analysis::detail {
namespace avx2 {

struct V4 {
    __m256d v;
    V4() = default;
    V4(double d) : v(_mm256_set1_pd(d)) {}  // broadcast, as the templates expect
    explicit V4(__m256d x) : v(x) {}
};
struct M4 {
    __m256d m;
};

inline V4 operator+(V4 a, V4 b) {
    return V4(_mm256_add_pd(a.v, b.v));
}
inline V4 operator-(V4 a, V4 b) {
    return V4(_mm256_sub_pd(a.v, b.v));
}
inline V4 operator*(V4 a, V4 b) {
    return V4(_mm256_mul_pd(a.v, b.v));
}
inline V4 operator/(V4 a, V4 b) {
    return V4(_mm256_div_pd(a.v, b.v));
}
// The predicates of the C++ operators on doubles: ordered for < > ==, unordered for !=.
inline M4 operator<(V4 a, V4 b) {
    return {_mm256_cmp_pd(a.v, b.v, _CMP_LT_OQ)};
}
inline M4 operator>(V4 a, V4 b) {
    return {_mm256_cmp_pd(a.v, b.v, _CMP_GT_OQ)};
}
inline M4 operator==(V4 a, V4 b) {
    return {_mm256_cmp_pd(a.v, b.v, _CMP_EQ_OQ)};
}
inline M4 operator!=(V4 a, V4 b) {
    return {_mm256_cmp_pd(a.v, b.v, _CMP_NEQ_UQ)};
}

inline V4 Select(M4 mask, V4 a, V4 b) {
    return V4(_mm256_blendv_pd(b.v, a.v, mask.m));
}
inline V4 Floor(V4 x) {
    return V4(_mm256_floor_pd(x.v));
}
inline V4 RoundEven(V4 x) {
    return V4(_mm256_round_pd(x.v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
}
inline V4 Abs(V4 x) {
    return V4(_mm256_andnot_pd(_mm256_set1_pd(-0.0), x.v));
}
inline V4 ScaleByPowerOfTwo(V4 k) {
    const __m256i bits =
        _mm256_castpd_si256(_mm256_add_pd(k.v, _mm256_set1_pd(model_math::kExponentMagic)));
    return V4(_mm256_castsi256_pd(_mm256_slli_epi64(bits, 52)));
}
inline V4 ExponentField(V4 x) {
    const __m256i field = _mm256_and_si256(_mm256_srli_epi64(_mm256_castpd_si256(x.v), 52),
                                           _mm256_set1_epi64x(0x7ff));
    // The integer (below 2^52) in the mantissa of 2^52, minus 2^52.
    const __m256d biased =
        _mm256_castsi256_pd(_mm256_or_si256(field, _mm256_set1_epi64x(0x4330000000000000ll)));
    return V4(_mm256_sub_pd(biased, _mm256_set1_pd(4503599627370496.0)));
}
inline V4 MantissaOne(V4 x) {
    const __m256i bits = _mm256_castpd_si256(x.v);
    const __m256i m =
        _mm256_or_si256(_mm256_and_si256(bits, _mm256_set1_epi64x(0x000fffffffffffffll)),
                        _mm256_set1_epi64x(0x3ff0000000000000ll));
    return V4(_mm256_castsi256_pd(m));
}

}  // namespace avx2
}  // namespace kurvalux_analysis::detail

namespace kurvalux_analysis::model_math {
template <>
struct LaneIo<detail::avx2::V4> {
    static constexpr size_t kWidth = 4;
    static detail::avx2::V4 Load(const double* p) { return detail::avx2::V4(_mm256_loadu_pd(p)); }
    static void Store(double* p, detail::avx2::V4 v) { _mm256_storeu_pd(p, v.v); }
};
}  // namespace kurvalux_analysis::model_math

namespace kurvalux_analysis::detail {
namespace {

using avx2::V4;
namespace mm = model_math;

// Pairs of vectors first (two dependency chains interleaved), then one vector; the caller
// does the remaining points on the scalar path.
constexpr size_t kW = 4;
using P = mm::Pair<V4>;
size_t PairCount(size_t n) {
    return n / (2 * kW) * (2 * kW);
}
size_t SingleCount(size_t n, size_t pairs) {
    return (n - pairs) / kW * kW;
}
const double* Skip(const double* p, size_t k) {
    return p ? p + k : nullptr;
}

size_t LightCurve(const mm::LightCurveCoefficients& c, const double* phases, double* values,
                  size_t n) {
    const size_t pairs = PairCount(n), single = SingleCount(n, pairs);
    mm::LightCurveLoop<P>(c, phases, values, pairs);
    mm::LightCurveLoop<V4>(c, phases + pairs, values + pairs, single);
    return pairs + single;
}
size_t LightCurveResiduals(const mm::LightCurveCoefficients& c, const double* phases,
                           const double* v, const double* o, const double* s, double* r, size_t n) {
    const size_t pairs = PairCount(n), single = SingleCount(n, pairs);
    mm::LightCurveResidualLoop<P>(c, phases, v, o, s, r, pairs);
    mm::LightCurveResidualLoop<V4>(c, phases + pairs, v + pairs, Skip(o, pairs), s + pairs,
                                   r + pairs, single);
    return pairs + single;
}
size_t SingleMinimum(const mm::SingleMinimumCoefficients& c, const double* xs, double* values,
                     size_t n) {
    const size_t pairs = PairCount(n), single = SingleCount(n, pairs);
    mm::SingleMinimumLoop<P>(c, xs, values, pairs);
    mm::SingleMinimumLoop<V4>(c, xs + pairs, values + pairs, single);
    return pairs + single;
}
size_t SingleMinimumResiduals(const mm::SingleMinimumCoefficients& c, const double* xs,
                              const double* v, const double* s, double* r, size_t n) {
    const size_t pairs = PairCount(n), single = SingleCount(n, pairs);
    mm::SingleMinimumResidualLoop<P>(c, xs, v, s, r, pairs);
    mm::SingleMinimumResidualLoop<V4>(c, xs + pairs, v + pairs, s + pairs, r + pairs, single);
    return pairs + single;
}

size_t SingleMinimumResidualsKeeping(const mm::SingleMinimumCoefficients& c, const double* xs,
                                     const double* v, const double* s, double* r,
                                     const mm::SingleMinimumPartArrays& parts, size_t n) {
    const size_t pairs = PairCount(n), single = SingleCount(n, pairs);
    mm::SingleMinimumResidualKeepingLoop<P>(c, xs, v, s, r, parts, pairs);
    const mm::SingleMinimumPartArrays rest = {parts.dx + pairs, parts.bend + pairs,
                                              parts.one_minus_power + pairs, parts.base + pairs,
                                              parts.log_base + pairs};
    mm::SingleMinimumResidualKeepingLoop<V4>(c, xs + pairs, v + pairs, s + pairs, r + pairs, rest,
                                             single);
    return pairs + single;
}
size_t SingleMinimumResidualsFromParts(const mm::SingleMinimumCoefficients& c,
                                       mm::SingleMinimumChange change, const double* v,
                                       const double* s, double* r,
                                       const mm::SingleMinimumPartArrays& parts, size_t n) {
    const size_t pairs = PairCount(n), single = SingleCount(n, pairs);
    mm::SingleMinimumResidualFromPartsLoop<P>(c, change, v, s, r, parts, pairs);
    const mm::SingleMinimumPartArrays rest = {parts.dx + pairs, parts.bend + pairs,
                                              parts.one_minus_power + pairs, parts.base + pairs,
                                              parts.log_base + pairs};
    mm::SingleMinimumResidualFromPartsLoop<V4>(c, change, v + pairs, s + pairs, r + pairs, rest,
                                               single);
    return pairs + single;
}

size_t LightCurveResidualsKeeping(const mm::LightCurveCoefficients& c, const double* phases,
                                  const double* v, const double* o, const double* s, double* r,
                                  const mm::LightCurvePartArrays& parts, size_t n) {
    const size_t pairs = PairCount(n), single = SingleCount(n, pairs);
    mm::LightCurveResidualKeepingLoop<P>(c, phases, v, o, s, r, parts, pairs);
    mm::LightCurveResidualKeepingLoop<V4>(c, phases + pairs, v + pairs, Skip(o, pairs), s + pairs,
                                          r + pairs, mm::Advance(parts, pairs), single);
    return pairs + single;
}
size_t LightCurveResidualsFromParts(const mm::LightCurveCoefficients& c,
                                    mm::ProfileUpdate secondary, mm::ProfileUpdate primary,
                                    const double* phases, const double* v, const double* o,
                                    const double* s, double* r,
                                    const mm::LightCurvePartArrays& parts, size_t n) {
    const size_t pairs = PairCount(n), single = SingleCount(n, pairs);
    mm::LightCurveResidualFromPartsLoop<P>(c, secondary, primary, phases, v, o, s, r, parts, pairs);
    mm::LightCurveResidualFromPartsLoop<V4>(c, secondary, primary, phases + pairs, v + pairs,
                                            Skip(o, pairs), s + pairs, r + pairs,
                                            mm::Advance(parts, pairs), single);
    return pairs + single;
}

const KernelSet kKernels = {LightCurve,
                            LightCurveResiduals,
                            SingleMinimum,
                            SingleMinimumResiduals,
                            LightCurveResidualsKeeping,
                            LightCurveResidualsFromParts,
                            SingleMinimumResidualsKeeping,
                            SingleMinimumResidualsFromParts};

}  // namespace

const KernelSet* Avx2Kernels() {
    return &kKernels;
}

}  // namespace kurvalux_analysis::detail

#else  // not built for AVX2

namespace kurvalux_analysis::detail {
const KernelSet* Avx2Kernels() {
    return nullptr;
}
}  // namespace kurvalux_analysis::detail

#endif
