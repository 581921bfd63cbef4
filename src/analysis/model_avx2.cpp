// AVX2 kernels of the model functions: four points per step, with the transcendentals from
// the C library's vector math (libmvec). Compiled with -mavx2 (see build.cmake) and called
// only after the run-time check in model.cpp, so the program stays portable.
//
// Per point and eclipse: one exp for cosh (cosh y = (e^|y| + e^-|y|)/2), one exp for the
// inner term, one log and one exp for the power; per point one sine and one cosine, the
// higher harmonics following by angle addition.
#include "analysis/model_kernels.h"

#if defined(__x86_64__) && defined(__AVX2__) && defined(KURVALUX_HAVE_MVEC)
#include <immintrin.h>

extern "C" {
__m256d _ZGVdN4v_exp(__m256d x);
__m256d _ZGVdN4v_log(__m256d x);
__m256d _ZGVdN4v_sin(__m256d x);
__m256d _ZGVdN4v_cos(__m256d x);
}

namespace kurvalux_analysis::detail {
namespace {

struct Profile {
    __m256d amplitude, inverse_width, shape, correction;
    double shape_scalar;
};

inline __m256d EclipseProfile4(__m256d x, const Profile& p) {
    const __m256d one = _mm256_set1_pd(1.0);
    const __m256d half = _mm256_set1_pd(0.5);
    const __m256d sign = _mm256_set1_pd(-0.0);
    const __m256d y = _mm256_andnot_pd(sign, _mm256_mul_pd(p.inverse_width, x));
    const __m256d e = _ZGVdN4v_exp(y);
    const __m256d cosh = _mm256_mul_pd(half, _mm256_add_pd(e, _mm256_div_pd(one, e)));
    const __m256d base = _mm256_sub_pd(one, _ZGVdN4v_exp(_mm256_sub_pd(one, cosh)));
    __m256d power;
    // pow(b, 0) is 1 and pow(b, 1) is b exactly; exp(g*log(b)) would miss both by rounding
    // (and give NaN for 0^0).
    if (p.shape_scalar == 0.0)
        power = one;
    else if (p.shape_scalar == 1.0)
        power = base;
    else if (p.shape_scalar == 2.0)
        power = _mm256_mul_pd(base, base);
    else
        power = _ZGVdN4v_exp(_mm256_mul_pd(p.shape, _ZGVdN4v_log(base)));
    const __m256d bend = _mm256_add_pd(one, _mm256_mul_pd(_mm256_mul_pd(p.correction, x), x));
    return _mm256_mul_pd(_mm256_mul_pd(p.amplitude, bend), _mm256_sub_pd(one, power));
}

Profile MakeProfile(double amplitude, double inverse_width, double shape, double correction) {
    return Profile{_mm256_set1_pd(amplitude), _mm256_set1_pd(inverse_width), _mm256_set1_pd(shape),
                   _mm256_set1_pd(correction), shape};
}

}  // namespace

void LightCurveAvx2(const double* p, double kp, double ip, double ks, double is,
                    const double* phases, double* values, size_t n) {
    const Profile secondary = MakeProfile(p[6], is, p[8], ks);
    const Profile primary = MakeProfile(p[2], ip, p[4], kp);
    const __m256d mag0 = _mm256_set1_pd(p[0]);
    const __m256d sec_phase = _mm256_set1_pd(p[1]);
    const __m256d one = _mm256_set1_pd(1.0);
    const __m256d half = _mm256_set1_pd(0.5);
    const __m256d two = _mm256_set1_pd(2.0);
    const __m256d two_pi = _mm256_set1_pd(6.283185307179586);
    const bool pair1 = p[10] != 0.0 || p[11] != 0.0;
    const bool pair2 = p[12] != 0.0 || p[13] != 0.0;
    const bool pair3 = p[14] != 0.0 || p[15] != 0.0;
    const __m256d c[6] = {_mm256_set1_pd(p[10]), _mm256_set1_pd(p[11]), _mm256_set1_pd(p[12]),
                          _mm256_set1_pd(p[13]), _mm256_set1_pd(p[14]), _mm256_set1_pd(p[15])};
    for (size_t j = 0; j + 4 <= n; j += 4) {
        const __m256d phase = _mm256_loadu_pd(phases + j);
        __m256d value = mag0;
        value = _mm256_add_pd(value, EclipseProfile4(_mm256_sub_pd(phase, sec_phase), secondary));
        const __m256d upper = _mm256_cmp_pd(phase, half, _CMP_NLT_UQ);
        const __m256d xp = _mm256_blendv_pd(phase, _mm256_sub_pd(phase, one), upper);
        value = _mm256_add_pd(value, EclipseProfile4(xp, primary));
        if (pair1 || pair2 || pair3) {
            const __m256d angle = _mm256_mul_pd(phase, two_pi);
            const __m256d s1 = _ZGVdN4v_sin(angle);
            const __m256d c1 = _ZGVdN4v_cos(angle);
            if (p[10] != 0.0) value = _mm256_add_pd(value, _mm256_mul_pd(c[0], s1));
            if (p[11] != 0.0) value = _mm256_add_pd(value, _mm256_mul_pd(c[1], c1));
            if (pair2 || pair3) {
                const __m256d s2 = _mm256_mul_pd(two, _mm256_mul_pd(s1, c1));
                const __m256d c2 = _mm256_mul_pd(_mm256_sub_pd(c1, s1), _mm256_add_pd(c1, s1));
                if (p[12] != 0.0) value = _mm256_add_pd(value, _mm256_mul_pd(c[2], s2));
                if (p[13] != 0.0) value = _mm256_add_pd(value, _mm256_mul_pd(c[3], c2));
                if (pair3) {
                    const __m256d s3 = _mm256_add_pd(_mm256_mul_pd(s2, c1), _mm256_mul_pd(c2, s1));
                    const __m256d c3 = _mm256_sub_pd(_mm256_mul_pd(c2, c1), _mm256_mul_pd(s2, s1));
                    if (p[14] != 0.0) value = _mm256_add_pd(value, _mm256_mul_pd(c[4], s3));
                    if (p[15] != 0.0) value = _mm256_add_pd(value, _mm256_mul_pd(c[5], c3));
                }
            }
        }
        _mm256_storeu_pd(values + j, value);
    }
}

void SingleMinimumAvx2(const double* p, double k, double i, const double* xs, double* values,
                       size_t n) {
    const Profile profile = MakeProfile(p[3], i, p[5], k);
    const __m256d base = _mm256_set1_pd(p[0]);
    const __m256d t0 = _mm256_set1_pd(p[1]);
    const __m256d trend = _mm256_set1_pd(p[2]);
    for (size_t j = 0; j + 4 <= n; j += 4) {
        const __m256d dx = _mm256_sub_pd(_mm256_loadu_pd(xs + j), t0);
        const __m256d level = _mm256_add_pd(base, _mm256_mul_pd(trend, dx));
        _mm256_storeu_pd(values + j, _mm256_add_pd(level, EclipseProfile4(dx, profile)));
    }
}

}  // namespace kurvalux_analysis::detail

#else  // no AVX2 build of this file: the run-time check never selects these

namespace kurvalux_analysis::detail {
void LightCurveAvx2(const double*, double, double, double, double, const double*, double*, size_t) {
}
void SingleMinimumAvx2(const double*, double, double, const double*, double*, size_t) {}
}  // namespace kurvalux_analysis::detail

#endif
