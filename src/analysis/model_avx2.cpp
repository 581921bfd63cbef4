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

using Lane = avx2::V4;
#include "analysis/model_kernel_set.inc"

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
