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

using Lane = avx512::V8;
#include "analysis/model_kernel_set.inc"

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
