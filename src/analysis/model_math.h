#pragma once
// The elementary functions of the model (exp, log, sine and cosine) written once as templates
// over a "lane" type: plain double for the scalar path, four doubles in an AVX2 register for
// the vector path. Both paths run the same operations in the same order, so a point gives the
// same bits whichever path evaluates it, and a fit gives the same parameters on any processor.
//
// The algorithms follow the classic ones of the freely distributable fdlibm (Sun, 1993):
// Cody-Waite argument reduction and short polynomials, accurate to about one unit in the last
// place (the exponential uses a plain Taylor series on the reduced argument, so that it needs no
// division). There are no table look-ups and no data-dependent branches, which is what makes
// them vectorise.
//
// A lane type L provides: construction from double, + - * /, the comparisons < > == != giving a
// mask type, and these functions found by argument-dependent lookup:
//   Select(mask, a, b)      a where the mask is set, else b
//   Floor(x), RoundEven(x)  rounding to integral values
//   Abs(x)
//   ScaleByPowerOfTwo(k)    2^k for an integral k in [-1022, 1023], built from its bits
//   ExponentField(x)        the biased exponent field of x (0 ... 2047) as a double
//   MantissaOne(x)          x with its exponent field replaced by that of 1.0, in [1, 2)
#include <bit>
#include <cmath>
#include <cstdint>

namespace kurvalux_analysis::model_math {

// The scalar lane: plain double. (Declared before the templates, which find them by ordinary
// lookup; the vector lane's functions are found by argument-dependent lookup.)
inline double Select(bool mask, double a, double b) {
    return mask ? a : b;
}
inline double Floor(double x) {
    return std::floor(x);
}
inline double RoundEven(double x) {
    return std::nearbyint(x);
}  // default mode: to nearest even
inline double Abs(double x) {
    return std::fabs(x);
}
// The constant 1.5 * 2^52 + 1023 puts k + 1023 into the low bits of the sum.
inline constexpr double kExponentMagic = 6755399441056767.0;
inline double ScaleByPowerOfTwo(double k) {
    return std::bit_cast<double>(std::bit_cast<uint64_t>(k + kExponentMagic) << 52);
}
inline double ExponentField(double x) {
    return double((std::bit_cast<uint64_t>(x) >> 52) & 0x7ff);
}
inline double MantissaOne(double x) {
    return std::bit_cast<double>((std::bit_cast<uint64_t>(x) & 0x000fffffffffffffull) |
                                 0x3ff0000000000000ull);
}

inline constexpr double kLn2Hi = 6.93147180369123816490e-01;
inline constexpr double kLn2Lo = 1.90821492927058770002e-10;
inline constexpr double kInvLn2 = 1.44269504088896338700e+00;
inline constexpr double kExpOverflow = 7.09782712893383973096e+02;
inline constexpr double kExpUnderflow = -7.45133219101941108420e+02;

// e^r and e^-r for |r| <= ln2/2 from one Taylor series of degree 13 split into its even and
// odd parts, e^(+-r) = E(r^2) +- r O(r^2): no division, and the second exponential nearly free.
template <class L>
inline void ExpKernel(L r, L& plus, L& minus) {
    const L z = r * r;
    const L even =
        L(1.0) +
        z * (L(1.0 / 2) +
             z * (L(1.0 / 24) +
                  z * (L(1.0 / 720) +
                       z * (L(1.0 / 40320) + z * (L(1.0 / 3628800) + z * L(1.0 / 479001600))))));
    const L odd =
        L(1.0) +
        z * (L(1.0 / 6) +
             z * (L(1.0 / 120) +
                  z * (L(1.0 / 5040) + z * (L(1.0 / 362880) +
                                            z * (L(1.0 / 39916800) + z * L(1.0 / 6227020800.0))))));
    plus = even + r * odd;
    minus = even - r * odd;
}

// Reduction x = k ln2 + r, |r| <= ln2/2, with ln2 in two parts (k ln2Hi is exact).
template <class L>
inline L ReduceLn2(L x, L& k) {
    k = RoundEven(x * L(kInvLn2));
    return (x - k * L(kLn2Hi)) - k * L(kLn2Lo);
}

// 2^k times y in two factors, so that results near overflow and in the subnormal range need no
// special path: each factor stays a normal number. Then the out-of-range cases. (A NaN argument
// needs no case of its own: it makes y NaN, and NaN times any factor stays NaN.)
template <class L>
inline L ScaleExp(L x, L k, L y) {
    const L k1 = Floor(k * L(0.5));
    const L k2 = k - k1;
    L result = (y * ScaleByPowerOfTwo(k1)) * ScaleByPowerOfTwo(k2);
    result = Select(x > L(kExpOverflow), L(__builtin_inf()), result);
    return Select(x < L(kExpUnderflow), L(0.0), result);
}

// e^x.
template <class L>
inline L Exp(L x) {
    L k;
    const L r = ReduceLn2(x, k);
    L plus, minus;
    ExpKernel(r, plus, minus);
    return ScaleExp(x, k, plus);
}

// e^x and e^-x together (for cosh).
template <class L>
inline void ExpPair(L x, L& plus, L& minus) {
    L k;
    const L r = ReduceLn2(x, k);
    L p, m;
    ExpKernel(r, p, m);
    plus = ScaleExp(x, k, p);
    minus = ScaleExp(L(0.0) - x, L(0.0) - k, m);
}

// Natural logarithm: log 0 = -inf, log of a negative number = NaN, log inf = inf.
template <class L>
inline L Log(L x) {
    // Subnormal arguments are scaled into the normal range first.
    const auto tiny = x < L(2.2250738585072014e-308);
    const L xs = Select(tiny, x * L(18014398509481984.0), x);  // 2^54
    L e = ExponentField(xs) - Select(tiny, L(1023.0 + 54.0), L(1023.0));
    L m = MantissaOne(xs);
    const auto big = m > L(1.41421356237309504880);
    m = Select(big, m * L(0.5), m);
    e = Select(big, e + L(1.0), e);
    const L f = m - L(1.0);
    const L s = f / (L(2.0) + f);
    const L z = s * s;
    const L w = z * z;
    const L t1 = w * (L(3.999999999940941908e-01) +
                      w * (L(2.222219843214978396e-01) + w * L(1.531383769920937332e-01)));
    const L t2 = z * (L(6.666666666666735130e-01) +
                      w * (L(2.857142874366239149e-01) +
                           w * (L(1.818357216161805012e-01) + w * L(1.479819860511658591e-01))));
    const L r = t2 + t1;
    const L hfsq = L(0.5) * f * f;
    L result = e * L(kLn2Hi) - ((hfsq - (s * (hfsq + r) + e * L(kLn2Lo))) - f);
    result = Select(x == L(0.0), L(-__builtin_inf()), result);
    result = Select(x < L(0.0), L(__builtin_nan("")), result);
    result = Select(x == L(__builtin_inf()), x, result);
    return Select(x != x, x, result);
}

// b^g for the eclipse profile, whose base lies in [0, 1): exp(g log b), with the exact cases
// g = 0 (1, also for b = 0), g = 1 and g = 2. The absolute error stays near one unit of 1.0,
// because b^g |ln b^g| <= 1/e. PowFromLog takes log b already computed.
template <class L>
inline L PowFromLog(L base, double g, L gl, L log_base) {
    if (g == 0.0) return L(1.0);
    if (g == 1.0) return base;
    if (g == 2.0) return base * base;
    return Exp(gl * log_base);
}
template <class L>
inline L PowProfile(L base, double g, L gl) {
    if (g == 0.0 || g == 1.0 || g == 2.0) return PowFromLog(base, g, gl, base);
    return Exp(gl * Log(base));
}

// Sine and cosine of an angle of moderate size (the harmonics' angles are at most a few times
// 2 pi): reduction by pi/2 in three parts, then the fdlibm kernels and a quadrant swap.
template <class L>
inline void SinCos(L a, L& sine, L& cosine) {
    const L k = RoundEven(a * L(6.36619772367581382433e-01));
    const L r = ((a - k * L(1.57079632673412561417e+00)) - k * L(6.07710050630396597660e-11)) -
                k * L(2.02226624879595063154e-21);
    const L z = r * r;
    const L v = z * r;
    const L sr =
        L(8.33333333332248946124e-03) +
        z * (L(-1.98412698298579493134e-04) +
             z * (L(2.75573137070700676789e-06) +
                  z * (L(-2.50507602534068634195e-08) + z * L(1.58969099521155010221e-10))));
    const L s = r + v * (L(-1.66666666666666324348e-01) + z * sr);
    const L cr = z * (L(4.16666666666666019037e-02) +
                      z * (L(-1.38888888888741095749e-03) +
                           z * (L(2.48015872894767294178e-05) +
                                z * (L(-2.75573143513906633035e-07) +
                                     z * (L(2.08757232129817482790e-09) +
                                          z * L(-1.13596475577881948265e-11))))));
    const L hz = L(0.5) * z;
    const L w = L(1.0) - hz;
    const L c = w + (((L(1.0) - w) - hz) + z * cr);
    // Quadrant q = k mod 4, computed in floating point (exact for integral k).
    const L q = k - L(4.0) * Floor(k * L(0.25));
    const auto q1 = q == L(1.0), q2 = q == L(2.0), q3 = q == L(3.0);
    sine = Select(q1, c, Select(q2, L(0.0) - s, Select(q3, L(0.0) - c, s)));
    cosine = Select(q1, L(0.0) - s, Select(q2, L(0.0) - c, Select(q3, s, c)));
}

// The eclipse profile a (1 + k x^2) (1 - (1 - e^(1 - cosh(i x)))^g), with cosh from one
// exponential pair: cosh y = (e^|y| + e^-|y|) / 2.
template <class L>
inline L EclipseProfile(L x, L amplitude, L inverse_width, double shape, L shape_lane,
                        L correction) {
    L e, e_minus;
    ExpPair(Abs(inverse_width * x), e, e_minus);
    const L cosh = L(0.5) * (e + e_minus);
    const L base = L(1.0) - Exp(L(1.0) - cosh);
    const L power = PowProfile(base, shape, shape_lane);
    const L bend = L(1.0) + (correction * x) * x;
    return (amplitude * bend) * (L(1.0) - power);
}

// Coefficients of the whole-cycle model, derived once per parameter set.
struct LightCurveCoefficients {
    double mag0, sec_phase;
    double a_sec, is, g_sec, ks;
    double a_pri, ip, g_pri, kp;
    double harmonic[6];  // sin1, cos1, sin2, cos2, sin3, cos3
    bool pair1, pair2, pair3;
};

// m(phase): mag0, plus the secondary at phase - sec_phase (never wrapped), plus the primary at
// phase or phase - 1 (wrapped at 0.5), plus the harmonics. A zero pair costs nothing; sin and
// cos are computed once for 2 pi phase and the higher harmonics follow by angle addition.
template <class L>
inline L LightCurveValue(const LightCurveCoefficients& c, L phase) {
    L value = L(c.mag0);
    value = value + EclipseProfile(phase - L(c.sec_phase), L(c.a_sec), L(c.is), c.g_sec, L(c.g_sec),
                                   L(c.ks));
    const L xp = Select(phase < L(0.5), phase, phase - L(1.0));
    value = value + EclipseProfile(xp, L(c.a_pri), L(c.ip), c.g_pri, L(c.g_pri), L(c.kp));
    if (c.pair1 || c.pair2 || c.pair3) {
        L s1, c1;
        SinCos(phase * L(6.283185307179586), s1, c1);
        if (c.harmonic[0] != 0.0) value = value + L(c.harmonic[0]) * s1;
        if (c.harmonic[1] != 0.0) value = value + L(c.harmonic[1]) * c1;
        if (c.pair2 || c.pair3) {
            const L s2 = L(2.0) * (s1 * c1);
            const L c2 = (c1 - s1) * (c1 + s1);
            if (c.harmonic[2] != 0.0) value = value + L(c.harmonic[2]) * s2;
            if (c.harmonic[3] != 0.0) value = value + L(c.harmonic[3]) * c2;
            if (c.pair3) {
                const L s3 = s2 * c1 + c2 * s1;
                const L c3 = c2 * c1 - s2 * s1;
                if (c.harmonic[4] != 0.0) value = value + L(c.harmonic[4]) * s3;
                if (c.harmonic[5] != 0.0) value = value + L(c.harmonic[5]) * c3;
            }
        }
    }
    return value;
}

// The intermediate values of one eclipse profile at one point (see SingleMinimumParts).
template <class L>
struct ProfileParts {
    L x, bend, one_minus_power, base, log_base;
};

// EclipseProfile step by step (the same operations, so the same bits), keeping its parts.
template <class L>
inline L EclipseProfileKeeping(L x, L amplitude, L inverse_width, double shape, L shape_lane,
                               L correction, ProfileParts<L>& parts) {
    L e, e_minus;
    ExpPair(Abs(inverse_width * x), e, e_minus);
    const L cosh = L(0.5) * (e + e_minus);
    const L base = L(1.0) - Exp(L(1.0) - cosh);
    const L log_base = Log(base);
    const L power = PowFromLog(base, shape, shape_lane, log_base);
    const L bend = L(1.0) + (correction * x) * x;
    const L one_minus_power = L(1.0) - power;
    parts = {x, bend, one_minus_power, base, log_base};
    return (amplitude * bend) * one_minus_power;
}

// How a profile is had again after its coefficients changed: from the kept parts with a new
// amplitude only, with a new bend (correction), with a new power (shape), or computed anew
// (centre or width, or both correction and shape).
enum class ProfileUpdate { kKept, kBend, kShape, kFull };

template <class L>
inline L EclipseProfileFromParts(ProfileUpdate update, L x, L amplitude, L inverse_width,
                                 double shape, L shape_lane, L correction, L bend,
                                 L one_minus_power, L base, L log_base) {
    if (update == ProfileUpdate::kFull)
        return EclipseProfile(x, amplitude, inverse_width, shape, shape_lane, correction);
    if (update == ProfileUpdate::kBend) bend = L(1.0) + (correction * x) * x;
    if (update == ProfileUpdate::kShape)
        one_minus_power = L(1.0) - PowFromLog(base, shape, shape_lane, log_base);
    return (amplitude * bend) * one_minus_power;
}

// The harmonic sum of LightCurveValue from the basis sin/cos of 2, 4 and 6 pi phase, in its
// order, skipping zero coefficients.
template <class L>
inline L AddHarmonics(const LightCurveCoefficients& c, L value, L s1, L c1, L s2, L c2, L s3,
                      L c3) {
    if (!(c.pair1 || c.pair2 || c.pair3)) return value;
    if (c.harmonic[0] != 0.0) value = value + L(c.harmonic[0]) * s1;
    if (c.harmonic[1] != 0.0) value = value + L(c.harmonic[1]) * c1;
    if (c.pair2 || c.pair3) {
        if (c.harmonic[2] != 0.0) value = value + L(c.harmonic[2]) * s2;
        if (c.harmonic[3] != 0.0) value = value + L(c.harmonic[3]) * c2;
        if (c.pair3) {
            if (c.harmonic[4] != 0.0) value = value + L(c.harmonic[4]) * s3;
            if (c.harmonic[5] != 0.0) value = value + L(c.harmonic[5]) * c3;
        }
    }
    return value;
}

// The harmonic basis at a phase: sin and cos of 2 pi phase, then angle addition.
template <class L>
inline void HarmonicBasis(L phase, L& s1, L& c1, L& s2, L& c2, L& s3, L& c3) {
    SinCos(phase * L(6.283185307179586), s1, c1);
    s2 = L(2.0) * (s1 * c1);
    c2 = (c1 - s1) * (c1 + s1);
    s3 = s2 * c1 + c2 * s1;
    c3 = c2 * c1 - s2 * s1;
}

// LightCurveValue computed with every part kept: both profiles and the whole harmonic basis
// (also for pairs that are zero now, since a fit may make them non-zero).
template <class L>
struct LightCurveParts {
    ProfileParts<L> secondary, primary;
    L s1, c1, s2, c2, s3, c3;
};

template <class L>
inline L LightCurveValueKeeping(const LightCurveCoefficients& c, L phase,
                                LightCurveParts<L>& parts) {
    L value = L(c.mag0);
    value = value + EclipseProfileKeeping(phase - L(c.sec_phase), L(c.a_sec), L(c.is), c.g_sec,
                                          L(c.g_sec), L(c.ks), parts.secondary);
    const L xp = Select(phase < L(0.5), phase, phase - L(1.0));
    value = value + EclipseProfileKeeping(xp, L(c.a_pri), L(c.ip), c.g_pri, L(c.g_pri), L(c.kp),
                                          parts.primary);
    HarmonicBasis(phase, parts.s1, parts.c1, parts.s2, parts.c2, parts.s3, parts.c3);
    return AddHarmonics(c, value, parts.s1, parts.c1, parts.s2, parts.c2, parts.s3, parts.c3);
}

// m(phase) from kept parts after the coefficients changed to `c`; each profile is had again as
// its update says (the secondary's offset is recomputed only when it is computed anew, since
// only then may sec_phase have changed).
template <class L>
inline L LightCurveValueFromParts(const LightCurveCoefficients& c, ProfileUpdate secondary,
                                  ProfileUpdate primary, L phase, const LightCurveParts<L>& parts) {
    L value = L(c.mag0);
    const ProfileParts<L>& s = parts.secondary;
    const L xs = secondary == ProfileUpdate::kFull ? phase - L(c.sec_phase) : s.x;
    value = value + EclipseProfileFromParts(secondary, xs, L(c.a_sec), L(c.is), c.g_sec, L(c.g_sec),
                                            L(c.ks), s.bend, s.one_minus_power, s.base, s.log_base);
    const ProfileParts<L>& p = parts.primary;
    value = value + EclipseProfileFromParts(primary, p.x, L(c.a_pri), L(c.ip), c.g_pri, L(c.g_pri),
                                            L(c.kp), p.bend, p.one_minus_power, p.base, p.log_base);
    return AddHarmonics(c, value, parts.s1, parts.c1, parts.s2, parts.c2, parts.s3, parts.c3);
}

// Coefficients of the single-minimum model.
struct SingleMinimumCoefficients {
    double m0, t0, s, a, i, g, k;
};

// m(x) = m0 + s (x - t0) + profile(x - t0).
template <class L>
inline L SingleMinimumValue(const SingleMinimumCoefficients& c, L x) {
    const L dx = x - L(c.t0);
    const L level = L(c.m0) + L(c.s) * dx;
    return level + EclipseProfile(dx, L(c.a), L(c.i), c.g, L(c.g), L(c.k));
}

// The intermediate values of one point of the single-minimum model. A change of the base
// level, trend or amplitude needs none of the exponentials again, a change of the correction
// only the bend, a change of the shape one exponential: the finite-difference Jacobian of a
// minimum fit is mostly such changes.
template <class L>
struct SingleMinimumParts {
    L dx, bend, one_minus_power, base, log_base;
};

// SingleMinimumValue computed step by step (the same operations, so the same bits), keeping
// the parts.
template <class L>
inline L SingleMinimumValueKeeping(const SingleMinimumCoefficients& c, L x,
                                   SingleMinimumParts<L>& parts) {
    const L dx = x - L(c.t0);
    const L level = L(c.m0) + L(c.s) * dx;
    L e, e_minus;
    ExpPair(Abs(L(c.i) * dx), e, e_minus);
    const L cosh = L(0.5) * (e + e_minus);
    const L base = L(1.0) - Exp(L(1.0) - cosh);
    const L log_base = Log(base);
    const L power = PowFromLog(base, c.g, L(c.g), log_base);
    const L bend = L(1.0) + (L(c.k) * dx) * dx;
    const L one_minus_power = L(1.0) - power;
    parts = {dx, bend, one_minus_power, base, log_base};
    return level + (L(c.a) * bend) * one_minus_power;
}

// Which parameters changed since the parts were kept.
enum class SingleMinimumChange { kLinear, kCorrection, kShape };

// m(x) from kept parts, with the new coefficients `c` (t0 and the width unchanged).
template <class L>
inline L SingleMinimumValueFromParts(const SingleMinimumCoefficients& c, SingleMinimumChange change,
                                     L dx, L bend, L one_minus_power, L base, L log_base) {
    if (change == SingleMinimumChange::kCorrection) bend = L(1.0) + (L(c.k) * dx) * dx;
    if (change == SingleMinimumChange::kShape)
        one_minus_power = L(1.0) - PowFromLog(base, c.g, L(c.g), log_base);
    const L level = L(c.m0) + L(c.s) * dx;
    return level + (L(c.a) * bend) * one_minus_power;
}

}  // namespace kurvalux_analysis::model_math
