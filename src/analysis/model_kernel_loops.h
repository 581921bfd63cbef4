#pragma once
// The loops of the model kernels over n points, written once for any lane type. A kernel file
// specialises LaneIo<L> with Width, Load and Store for its lane and instantiates these.
#include <cstddef>

#include "analysis/model_math.h"

namespace kurvalux_analysis::model_math {

template <class L>
struct LaneIo;

// Two lanes side by side: every operation is issued for both halves in turn, so that the long
// dependency chains of the elementary functions of two vectors interleave and the processor
// can overlap them.
template <class L>
struct Pair {
    L a, b;
    Pair() = default;
    Pair(double d) : a(d), b(d) {}  // broadcast, as the templates expect
    Pair(L x, L y) : a(x), b(y) {}
};
template <class M>
struct PairMask {
    M a, b;
};

template <class L>
inline Pair<L> operator+(Pair<L> x, Pair<L> y) {
    return {x.a + y.a, x.b + y.b};
}
template <class L>
inline Pair<L> operator-(Pair<L> x, Pair<L> y) {
    return {x.a - y.a, x.b - y.b};
}
template <class L>
inline Pair<L> operator*(Pair<L> x, Pair<L> y) {
    return {x.a * y.a, x.b * y.b};
}
template <class L>
inline Pair<L> operator/(Pair<L> x, Pair<L> y) {
    return {x.a / y.a, x.b / y.b};
}
template <class L>
inline auto operator<(Pair<L> x, Pair<L> y) {
    return PairMask<decltype(x.a < y.a)>{x.a < y.a, x.b < y.b};
}
template <class L>
inline auto operator>(Pair<L> x, Pair<L> y) {
    return PairMask<decltype(x.a > y.a)>{x.a > y.a, x.b > y.b};
}
template <class L>
inline auto operator==(Pair<L> x, Pair<L> y) {
    return PairMask<decltype(x.a == y.a)>{x.a == y.a, x.b == y.b};
}
template <class L>
inline auto operator!=(Pair<L> x, Pair<L> y) {
    return PairMask<decltype(x.a != y.a)>{x.a != y.a, x.b != y.b};
}
template <class L, class M>
inline Pair<L> Select(PairMask<M> m, Pair<L> x, Pair<L> y) {
    return {Select(m.a, x.a, y.a), Select(m.b, x.b, y.b)};
}
template <class L>
inline Pair<L> Floor(Pair<L> x) {
    return {Floor(x.a), Floor(x.b)};
}
template <class L>
inline Pair<L> RoundEven(Pair<L> x) {
    return {RoundEven(x.a), RoundEven(x.b)};
}
template <class L>
inline Pair<L> Abs(Pair<L> x) {
    return {Abs(x.a), Abs(x.b)};
}
template <class L>
inline Pair<L> ScaleByPowerOfTwo(Pair<L> x) {
    return {ScaleByPowerOfTwo(x.a), ScaleByPowerOfTwo(x.b)};
}
template <class L>
inline Pair<L> ExponentField(Pair<L> x) {
    return {ExponentField(x.a), ExponentField(x.b)};
}
template <class L>
inline Pair<L> MantissaOne(Pair<L> x) {
    return {MantissaOne(x.a), MantissaOne(x.b)};
}

template <class L>
struct LaneIo<Pair<L>> {
    static constexpr size_t kWidth = 2 * LaneIo<L>::kWidth;
    static Pair<L> Load(const double* p) {
        return {LaneIo<L>::Load(p), LaneIo<L>::Load(p + LaneIo<L>::kWidth)};
    }
    static void Store(double* p, Pair<L> v) {
        LaneIo<L>::Store(p, v.a);
        LaneIo<L>::Store(p + LaneIo<L>::kWidth, v.b);
    }
};

template <class L>
void LightCurveLoop(const LightCurveCoefficients& c, const double* phases, double* values,
                    size_t n) {
    using Io = LaneIo<L>;
    for (size_t j = 0; j + Io::kWidth <= n; j += Io::kWidth)
        Io::Store(values + j, LightCurveValue(c, Io::Load(phases + j)));
}

// (value + offset - m(phase)) / sigma; offsets may be null (no offsets).
template <class L>
void LightCurveResidualLoop(const LightCurveCoefficients& c, const double* phases,
                            const double* values, const double* offsets, const double* sigmas,
                            double* residuals, size_t n) {
    using Io = LaneIo<L>;
    for (size_t j = 0; j + Io::kWidth <= n; j += Io::kWidth) {
        const L model = LightCurveValue(c, Io::Load(phases + j));
        L observed = Io::Load(values + j);
        if (offsets) observed = observed + Io::Load(offsets + j);
        Io::Store(residuals + j, (observed - model) / Io::Load(sigmas + j));
    }
}

template <class L>
void SingleMinimumLoop(const SingleMinimumCoefficients& c, const double* xs, double* values,
                       size_t n) {
    using Io = LaneIo<L>;
    for (size_t j = 0; j + Io::kWidth <= n; j += Io::kWidth)
        Io::Store(values + j, SingleMinimumValue(c, Io::Load(xs + j)));
}

// (value - m(x)) / sigma.
template <class L>
void SingleMinimumResidualLoop(const SingleMinimumCoefficients& c, const double* xs,
                               const double* values, const double* sigmas, double* residuals,
                               size_t n) {
    using Io = LaneIo<L>;
    for (size_t j = 0; j + Io::kWidth <= n; j += Io::kWidth) {
        const L model = SingleMinimumValue(c, Io::Load(xs + j));
        Io::Store(residuals + j, (Io::Load(values + j) - model) / Io::Load(sigmas + j));
    }
}

// The parts of the single-minimum model, one array each (see SingleMinimumParts).
struct SingleMinimumPartArrays {
    double* dx;
    double* bend;
    double* one_minus_power;
    double* base;
    double* log_base;
};

// (value - m(x)) / sigma, keeping the parts of every point.
template <class L>
void SingleMinimumResidualKeepingLoop(const SingleMinimumCoefficients& c, const double* xs,
                                      const double* values, const double* sigmas, double* residuals,
                                      const SingleMinimumPartArrays& parts, size_t n) {
    using Io = LaneIo<L>;
    for (size_t j = 0; j + Io::kWidth <= n; j += Io::kWidth) {
        SingleMinimumParts<L> kept;
        const L model = SingleMinimumValueKeeping(c, Io::Load(xs + j), kept);
        Io::Store(residuals + j, (Io::Load(values + j) - model) / Io::Load(sigmas + j));
        Io::Store(parts.dx + j, kept.dx);
        Io::Store(parts.bend + j, kept.bend);
        Io::Store(parts.one_minus_power + j, kept.one_minus_power);
        Io::Store(parts.base + j, kept.base);
        Io::Store(parts.log_base + j, kept.log_base);
    }
}

// (value - m(x)) / sigma from kept parts after a change of the coefficients `c`.
template <class L>
void SingleMinimumResidualFromPartsLoop(const SingleMinimumCoefficients& c,
                                        SingleMinimumChange change, const double* values,
                                        const double* sigmas, double* residuals,
                                        const SingleMinimumPartArrays& parts, size_t n) {
    using Io = LaneIo<L>;
    for (size_t j = 0; j + Io::kWidth <= n; j += Io::kWidth) {
        const L model =
            SingleMinimumValueFromParts(c, change, Io::Load(parts.dx + j), Io::Load(parts.bend + j),
                                        Io::Load(parts.one_minus_power + j),
                                        Io::Load(parts.base + j), Io::Load(parts.log_base + j));
        Io::Store(residuals + j, (Io::Load(values + j) - model) / Io::Load(sigmas + j));
    }
}

// The parts of the whole-cycle model, one array each (see LightCurveParts).
struct LightCurvePartArrays {
    double* profile[2][5];  // secondary, primary: x, bend, one_minus_power, base, log_base
    double* basis[6];       // s1, c1, s2, c2, s3, c3
};

template <class L>
inline void StoreParts(const LightCurvePartArrays& a, size_t j, const LightCurveParts<L>& p) {
    using Io = LaneIo<L>;
    const ProfileParts<L>* profiles[2] = {&p.secondary, &p.primary};
    for (int k = 0; k < 2; ++k) {
        Io::Store(a.profile[k][0] + j, profiles[k]->x);
        Io::Store(a.profile[k][1] + j, profiles[k]->bend);
        Io::Store(a.profile[k][2] + j, profiles[k]->one_minus_power);
        Io::Store(a.profile[k][3] + j, profiles[k]->base);
        Io::Store(a.profile[k][4] + j, profiles[k]->log_base);
    }
    const L* basis[6] = {&p.s1, &p.c1, &p.s2, &p.c2, &p.s3, &p.c3};
    for (int k = 0; k < 6; ++k) Io::Store(a.basis[k] + j, *basis[k]);
}

template <class L>
inline LightCurveParts<L> LoadParts(const LightCurvePartArrays& a, size_t j) {
    using Io = LaneIo<L>;
    LightCurveParts<L> p;
    ProfileParts<L>* profiles[2] = {&p.secondary, &p.primary};
    for (int k = 0; k < 2; ++k) {
        profiles[k]->x = Io::Load(a.profile[k][0] + j);
        profiles[k]->bend = Io::Load(a.profile[k][1] + j);
        profiles[k]->one_minus_power = Io::Load(a.profile[k][2] + j);
        profiles[k]->base = Io::Load(a.profile[k][3] + j);
        profiles[k]->log_base = Io::Load(a.profile[k][4] + j);
    }
    L* basis[6] = {&p.s1, &p.c1, &p.s2, &p.c2, &p.s3, &p.c3};
    for (int k = 0; k < 6; ++k) *basis[k] = Io::Load(a.basis[k] + j);
    return p;
}

inline LightCurvePartArrays Advance(const LightCurvePartArrays& a, size_t k) {
    LightCurvePartArrays b = a;
    for (auto& profile : b.profile)
        for (double*& p : profile) p += k;
    for (double*& p : b.basis) p += k;
    return b;
}

// (value + offset - m(phase)) / sigma, keeping the parts of every point.
template <class L>
void LightCurveResidualKeepingLoop(const LightCurveCoefficients& c, const double* phases,
                                   const double* values, const double* offsets,
                                   const double* sigmas, double* residuals,
                                   const LightCurvePartArrays& parts, size_t n) {
    using Io = LaneIo<L>;
    for (size_t j = 0; j + Io::kWidth <= n; j += Io::kWidth) {
        LightCurveParts<L> kept;
        const L model = LightCurveValueKeeping(c, Io::Load(phases + j), kept);
        L observed = Io::Load(values + j);
        if (offsets) observed = observed + Io::Load(offsets + j);
        Io::Store(residuals + j, (observed - model) / Io::Load(sigmas + j));
        StoreParts(parts, j, kept);
    }
}

// The same from kept parts after a change of the coefficients to `c`.
template <class L>
void LightCurveResidualFromPartsLoop(const LightCurveCoefficients& c, ProfileUpdate secondary,
                                     ProfileUpdate primary, const double* phases,
                                     const double* values, const double* offsets,
                                     const double* sigmas, double* residuals,
                                     const LightCurvePartArrays& parts, size_t n) {
    using Io = LaneIo<L>;
    for (size_t j = 0; j + Io::kWidth <= n; j += Io::kWidth) {
        const L model = LightCurveValueFromParts(c, secondary, primary, Io::Load(phases + j),
                                                 LoadParts<L>(parts, j));
        L observed = Io::Load(values + j);
        if (offsets) observed = observed + Io::Load(offsets + j);
        Io::Store(residuals + j, (observed - model) / Io::Load(sigmas + j));
    }
}

// The scalar lane.
template <>
struct LaneIo<double> {
    static constexpr size_t kWidth = 1;
    static double Load(const double* p) { return *p; }
    static void Store(double* p, double v) { *p = v; }
};

}  // namespace kurvalux_analysis::model_math
