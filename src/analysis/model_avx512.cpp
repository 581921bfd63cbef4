// AVX-512 kernels of the model functions: the templates of model_math.h on a lane of
// eight doubles. Compiled with -mavx512f (see build.cmake) and selected only after the run-time
// check in model.cpp, so the program stays portable.
#include "analysis/model_kernel_loops.h"
#include "analysis/model_kernels.h"

#if defined(__x86_64__) && defined(__AVX512F__)
// GCC 12 reports its own AVX-512 intrinsics (which start from _mm512_undefined_pd) as "maybe
// uninitialized" once inlined (their __Y = __Y idiom); the warning is about the header.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>

namespace kurvalux_analysis::detail {
namespace avx512 {

struct V8 {
    __m512d v;
    V8() = default;
    V8(double d) : v(_mm512_set1_pd(d)) {}  // broadcast, as the templates expect
    explicit V8(__m512d x) : v(x) {}
};
struct M8 {
    __mmask8 m;
};

inline V8 operator+(V8 a, V8 b) {
    return V8(_mm512_add_pd(a.v, b.v));
}
inline V8 operator-(V8 a, V8 b) {
    return V8(_mm512_sub_pd(a.v, b.v));
}
inline V8 operator*(V8 a, V8 b) {
    return V8(_mm512_mul_pd(a.v, b.v));
}
inline V8 operator/(V8 a, V8 b) {
    return V8(_mm512_div_pd(a.v, b.v));
}
// The predicates of the C++ operators on doubles: ordered for < > ==, unordered for !=.
inline M8 operator<(V8 a, V8 b) {
    return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_LT_OQ)};
}
inline M8 operator>(V8 a, V8 b) {
    return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_GT_OQ)};
}
inline M8 operator==(V8 a, V8 b) {
    return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_EQ_OQ)};
}
inline M8 operator!=(V8 a, V8 b) {
    return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_NEQ_UQ)};
}

inline V8 Select(M8 mask, V8 a, V8 b) {
    return V8(_mm512_mask_blend_pd(mask.m, b.v, a.v));
}
inline V8 Floor(V8 x) {
    return V8(_mm512_mask_roundscale_pd(x.v, 0xff, x.v, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC));
}
inline V8 RoundEven(V8 x) {
    return V8(
        _mm512_mask_roundscale_pd(x.v, 0xff, x.v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
}
inline V8 Abs(V8 x) {
    return V8(_mm512_castsi512_pd(
        _mm512_and_epi64(_mm512_castpd_si512(x.v), _mm512_set1_epi64(0x7fffffffffffffffll))));
}
inline V8 ScaleByPowerOfTwo(V8 k) {
    const __m512i bits =
        _mm512_castpd_si512(_mm512_add_pd(k.v, _mm512_set1_pd(model_math::kExponentMagic)));
    return V8(_mm512_castsi512_pd(_mm512_slli_epi64(bits, 52)));
}
inline V8 ExponentField(V8 x) {
    const __m512i field =
        _mm512_and_epi64(_mm512_srli_epi64(_mm512_castpd_si512(x.v), 52), _mm512_set1_epi64(0x7ff));
    // The integer (below 2^52) in the mantissa of 2^52, minus 2^52.
    const __m512d biased =
        _mm512_castsi512_pd(_mm512_or_epi64(field, _mm512_set1_epi64(0x4330000000000000ll)));
    return V8(_mm512_sub_pd(biased, _mm512_set1_pd(4503599627370496.0)));
}
inline V8 MantissaOne(V8 x) {
    const __m512i bits = _mm512_castpd_si512(x.v);
    const __m512i m =
        _mm512_or_epi64(_mm512_and_epi64(bits, _mm512_set1_epi64(0x000fffffffffffffll)),
                        _mm512_set1_epi64(0x3ff0000000000000ll));
    return V8(_mm512_castsi512_pd(m));
}

}  // namespace avx512
}  // namespace kurvalux_analysis::detail

namespace kurvalux_analysis::model_math {
template <>
struct LaneIo<detail::avx512::V8> {
    static constexpr size_t kWidth = 8;
    static detail::avx512::V8 Load(const double* p) {
        return detail::avx512::V8(_mm512_loadu_pd(p));
    }
    static void Store(double* p, detail::avx512::V8 v) { _mm512_storeu_pd(p, v.v); }
};
}  // namespace kurvalux_analysis::model_math

namespace kurvalux_analysis::detail {
namespace {

using avx512::V8;
namespace mm = model_math;

// Pairs of vectors first (two dependency chains interleaved), then one vector; the caller
// does the remaining points on the scalar path.
constexpr size_t kW = 8;
using P = mm::Pair<V8>;
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
    mm::LightCurveLoop<V8>(c, phases + pairs, values + pairs, single);
    return pairs + single;
}
size_t LightCurveResiduals(const mm::LightCurveCoefficients& c, const double* phases,
                           const double* v, const double* o, const double* s, double* r, size_t n) {
    const size_t pairs = PairCount(n), single = SingleCount(n, pairs);
    mm::LightCurveResidualLoop<P>(c, phases, v, o, s, r, pairs);
    mm::LightCurveResidualLoop<V8>(c, phases + pairs, v + pairs, Skip(o, pairs), s + pairs,
                                   r + pairs, single);
    return pairs + single;
}
size_t SingleMinimum(const mm::SingleMinimumCoefficients& c, const double* xs, double* values,
                     size_t n) {
    const size_t pairs = PairCount(n), single = SingleCount(n, pairs);
    mm::SingleMinimumLoop<P>(c, xs, values, pairs);
    mm::SingleMinimumLoop<V8>(c, xs + pairs, values + pairs, single);
    return pairs + single;
}
size_t SingleMinimumResiduals(const mm::SingleMinimumCoefficients& c, const double* xs,
                              const double* v, const double* s, double* r, size_t n) {
    const size_t pairs = PairCount(n), single = SingleCount(n, pairs);
    mm::SingleMinimumResidualLoop<P>(c, xs, v, s, r, pairs);
    mm::SingleMinimumResidualLoop<V8>(c, xs + pairs, v + pairs, s + pairs, r + pairs, single);
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
    mm::SingleMinimumResidualKeepingLoop<V8>(c, xs + pairs, v + pairs, s + pairs, r + pairs, rest,
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
    mm::SingleMinimumResidualFromPartsLoop<V8>(c, change, v + pairs, s + pairs, r + pairs, rest,
                                               single);
    return pairs + single;
}

size_t LightCurveResidualsKeeping(const mm::LightCurveCoefficients& c, const double* phases,
                                  const double* v, const double* o, const double* s, double* r,
                                  const mm::LightCurvePartArrays& parts, size_t n) {
    const size_t pairs = PairCount(n), single = SingleCount(n, pairs);
    mm::LightCurveResidualKeepingLoop<P>(c, phases, v, o, s, r, parts, pairs);
    mm::LightCurveResidualKeepingLoop<V8>(c, phases + pairs, v + pairs, Skip(o, pairs), s + pairs,
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
    mm::LightCurveResidualFromPartsLoop<V8>(c, secondary, primary, phases + pairs, v + pairs,
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

const KernelSet* Avx512Kernels() {
    return &kKernels;
}

}  // namespace kurvalux_analysis::detail

#else  // not built for AVX-512

namespace kurvalux_analysis::detail {
const KernelSet* Avx512Kernels() {
    return nullptr;
}
}  // namespace kurvalux_analysis::detail

#endif
