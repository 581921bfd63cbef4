// The light-curve model, the single-minimum model, phase folding, cycle/O-C, mean phase and
// model sampling, with the edge cases of the model's definition.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "analysis/model.h"
#include "analysis/model_kernels.h"
#include "analysis/model_math.h"
#include "case_names.h"
#include "data/field.h"

namespace {

using kurvalux_analysis::CLightCurveModel;
using kurvalux_analysis::CSingleMinimumModel;
using kurvalux_data::LightCurveParameters;
namespace mm = kurvalux_analysis::model_math;

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

// One eclipse alone: mag0 0, the other eclipse and the harmonics switched off.
LightCurveParameters PrimaryOnly(double a, double d, double g, double c) {
    LightCurveParameters p = {};
    p[kurvalux_data::kAPri] = a;
    p[kurvalux_data::kDPri] = d;
    p[kurvalux_data::kGPri] = g;
    p[kurvalux_data::kCPri] = c;
    p[kurvalux_data::kDSec] = 0.1;
    p[kurvalux_data::kSecPhase] = 0.5;
    return p;
}

// Profile values worked out by hand: at i x = asinh(1), cosh(i x) = sqrt 2, so the inner term
// e^(1 - sqrt 2) is known in closed form; at i x = 0 the depth is full.
struct ProfileCase {
    const char* name;
    double a, d, g, c, phase, expected;
};

// The row as the test list shows it.
void PrintTo(const ProfileCase& c, std::ostream* os) {
    *os << c.name;
}

class ProfileTable : public testing::TestWithParam<ProfileCase> {};

TEST_P(ProfileTable, MatchesClosedForm) {
    const ProfileCase& t = GetParam();
    const CLightCurveModel model(PrimaryOnly(t.a, t.d, t.g, t.c));
    // A few units in the last place, plus what the rounding of the phase itself carries.
    const double tolerance = 8e-16 * std::fabs(t.expected) + 1e-300;
    EXPECT_NEAR(model.Evaluate(t.phase), t.expected, tolerance) << t.name;
    EXPECT_NEAR(model.Reference(t.phase), t.expected, tolerance) << t.name;
}

const double kAsinh1 = 0.88137358701954302;  // asinh(1)
const double kInner = std::exp(1.0 - std::sqrt(2.0));

INSTANTIATE_TEST_SUITE_P(
    Model, ProfileTable,
    testing::Values(
        ProfileCase{"centre is full depth", 0.8, 0.06, 1.2, 0.0, 0.0, 0.8},
        ProfileCase{"centre ignores the correction", 0.8, 0.06, 1.2, 3.0, 0.0, 0.8},
        // g = 1: 1 - (1 - e) = e.
        ProfileCase{"g = 1", 1.0, 0.1, 1.0, 0.0, 0.1 * kAsinh1, kInner},
        // g = 2: 1 - (1 - e)^2 = e (2 - e).
        ProfileCase{"g = 2", 0.5, 0.1, 2.0, 0.0, 0.1 * kAsinh1, 0.5 * kInner*(2.0 - kInner)},
        // c = 1, x = d asinh 1: k x^2 = asinh(1)^2.
        ProfileCase{"correction bends the wings", 1.0, 0.1, 1.0, 1.0, 0.1 * kAsinh1,
                    (1.0 + kAsinh1 * kAsinh1) * kInner},
        // The primary is seen from the end of the cycle: phase 1 - x is offset -x.
        ProfileCase{"upper branch wraps", 1.0, 0.1, 1.0, 0.0, 1.0 - 0.1 * kAsinh1, kInner},
        ProfileCase{"g = 0 gives no eclipse", 0.7, 0.1, 0.0, 0.0, 0.0, 0.0},
        ProfileCase{"far wing is zero", 0.7, 0.01, 1.0, 0.0, 0.4, 0.0}),
    RowDescription());

TEST(LightCurveModel, PhaseZeroIsMag0PlusPrimaryPlusSecondaryAtMinusSecPhase) {
    LightCurveParameters p = kurvalux_data::kDefaultLightCurveParameters;
    p[kurvalux_data::kMag0] = 12.0;
    p[kurvalux_data::kSecPhase] = 0.1;  // close enough for the secondary to reach phase 0
    p[kurvalux_data::kDSec] = 0.1;
    // Secondary (a 0.5, d 0.1, g 1) at xs = -0.1, so i x = -1:
    // 1 - (1 - e^(1 - cosh 1))^1 = e^(1 - cosh 1).
    const double secondary = 0.5 * std::exp(1.0 - std::cosh(1.0));
    EXPECT_NEAR(CLightCurveModel(p).Evaluate(0.0), 12.0 + 0.5 + secondary, 8e-15);
    // With the default secondary at 0.5 and width 0.1 its wing has vanished at phase 0.
    EXPECT_EQ(CLightCurveModel(kurvalux_data::kDefaultLightCurveParameters).Evaluate(0.0), 0.5);
}

TEST(LightCurveModel, SecondaryIsNeverWrapped) {
    // A secondary at phase 0.95 shows just before phase 1 but not just after phase 0.
    LightCurveParameters p = PrimaryOnly(0.0, 0.1, 1.0, 0.0);
    p[kurvalux_data::kSecPhase] = 0.95;
    p[kurvalux_data::kASec] = 0.3;
    p[kurvalux_data::kDSec] = 0.05;
    p[kurvalux_data::kGSec] = 1.0;
    const CLightCurveModel model(p);
    EXPECT_NEAR(model.Evaluate(0.95), 0.3, 1e-16);
    EXPECT_EQ(model.Evaluate(0.0), 0.0);  // xs = -0.95: nothing
    EXPECT_GT(model.Evaluate(0.99), 0.05);
}

TEST(LightCurveModel, HalfPhaseBelongsToTheUpperBranch) {
    // A lopsided primary cannot show the branch (the profile is even), but a primary whose
    // offset is -0.5 at phase 0.5 and +0.4999... just below must match the closed form.
    const CLightCurveModel model(PrimaryOnly(1.0, 0.5 / kAsinh1, 1.0, 0.0));
    EXPECT_NEAR(model.Evaluate(0.5), kInner, 4e-16);
    EXPECT_NEAR(model.Evaluate(std::nextafter(0.5, 0.0)), kInner, 4e-16);
}

TEST(LightCurveModel, ZeroWidthGivesNaNWithoutGuard) {
    // k = c/d^2 = 0/0 and i = 1/0: the arithmetic decides.
    EXPECT_TRUE(std::isnan(CLightCurveModel(PrimaryOnly(0.5, 0.0, 1.0, 0.0)).Evaluate(0.2)));
    EXPECT_TRUE(std::isnan(CLightCurveModel(PrimaryOnly(0.5, 0.0, 1.0, 0.0)).Reference(0.2)));
    const CSingleMinimumModel single({10.0, 0.5, 0.0, 0.8, 0.0, 1.0, 0.0});
    EXPECT_TRUE(std::isnan(single.Evaluate(0.3)));
}

TEST(LightCurveModel, HarmonicsAddTheirTerms) {
    LightCurveParameters p = PrimaryOnly(0.0, 0.1, 1.0, 0.0);
    p[kurvalux_data::kASin1] = 0.1;
    p[kurvalux_data::kACos2] = -0.2;
    p[kurvalux_data::kASin3] = 0.05;
    const CLightCurveModel model(p);
    for (double phase : {0.0, 0.125, 0.3, 0.5, 0.77, 1.0}) {
        const double expected = 0.1 * std::sin(2 * M_PI * phase) -
                                0.2 * std::cos(4 * M_PI * phase) +
                                0.05 * std::sin(6 * M_PI * phase);
        EXPECT_NEAR(model.Evaluate(phase), expected, 5e-16) << phase;
    }
}

TEST(SingleMinimumModel, TrendUsesTheSameOffsetAsTheProfile) {
    // m0 10, t0 0.5, s 2, A 1, D 0.1, G 1, C 0 at x = t0 + D asinh 1.
    const CSingleMinimumModel model({10.0, 0.5, 2.0, 1.0, 0.1, 1.0, 0.0});
    const double x = 0.5 + 0.1 * kAsinh1;
    EXPECT_NEAR(model.Evaluate(x), 10.0 + 2.0 * 0.1 * kAsinh1 + kInner, 4e-15);
    EXPECT_EQ(model.Evaluate(0.5), 11.0);
}

// The vector kernel and the scalar path give identical bits; both agree with the model written
// with the C library's functions to a few units in the last place.
TEST(ModelPaths, VectorScalarAndReferenceAgree) {
    std::mt19937_64 random(2024);
    std::uniform_real_distribution<double> phase(-0.4, 1.4);
    std::vector<double> phases(1003);
    for (double& ph : phases) ph = phase(random);
    phases[0] = 0.5;
    phases[1] = 0.0;
    phases[2] = kNaN;
    phases[3] = 1000.25;  // the harmonics reduce angles exactly up to about 10^5 turns
    const LightCurveParameters p = {12.0, 0.5,  0.8,   0.06,  1.2,   0.1,   0.3,   0.07,
                                    1.1,  -0.2, 0.005, -0.02, 0.002, -0.04, 0.001, 0.003};
    const CLightCurveModel model(p);
    std::vector<double> values(phases.size());
    model.EvaluateMany(phases.data(), values.data(), values.size());
    for (size_t i = 0; i < phases.size(); ++i) {
        const double scalar = model.Evaluate(phases[i]);
        if (std::isnan(scalar)) {
            EXPECT_TRUE(std::isnan(values[i])) << i;
            continue;
        }
        EXPECT_EQ(values[i], scalar) << "phase " << phases[i];
        EXPECT_NEAR(scalar, model.Reference(phases[i]), 4e-15) << "phase " << phases[i];
    }
    const CSingleMinimumModel single({10.0, 0.52, 0.1, 0.8, 0.08, 1.2, 0.3});
    single.EvaluateMany(phases.data(), values.data(), values.size());
    for (size_t i = 4; i < phases.size(); ++i) {
        EXPECT_EQ(values[i], single.Evaluate(phases[i])) << i;
        EXPECT_NEAR(values[i], single.Reference(phases[i]), 4e-15) << i;
    }
}

// Every kernel width the processor offers (AVX-512, AVX2, scalar) gives the same values and
// residuals, bit for bit, for any number of points (pairs of vectors, one vector, scalar tail).
TEST(ModelPaths, EveryKernelWidthGivesTheSameBits) {
    namespace detail = kurvalux_analysis::detail;
    std::vector<double> phases, values, offsets, sigmas;
    for (int i = 0; i < 37; ++i) {
        phases.push_back(-0.1 + i * 0.031);
        values.push_back(11.0 + 0.01 * i);
        offsets.push_back(0.002 * i);
        sigmas.push_back(0.01 + 0.001 * i);
    }
    const CLightCurveModel model(
        {11.0, 0.45, 0.7, 0.05, 1.5, 0.3, 0.2, 0.08, 0.9, -0.1, 0.01, 0.02, 0.0, 0.0, -0.003, 0.0});
    const CSingleMinimumModel single({10.0, 0.52, 0.1, 0.8, 0.08, 1.2, 0.3});
    struct Outputs {
        std::vector<double> lc, lc_residuals, lc_residuals_no_offset, min, min_residuals;
    };
    auto run = [&](size_t n) {
        Outputs o;
        o.lc.resize(n);
        o.lc_residuals.resize(n);
        o.lc_residuals_no_offset.resize(n);
        o.min.resize(n);
        o.min_residuals.resize(n);
        model.EvaluateMany(phases.data(), o.lc.data(), n);
        model.Residuals(phases.data(), values.data(), offsets.data(), sigmas.data(),
                        o.lc_residuals.data(), n);
        model.Residuals(phases.data(), values.data(), nullptr, sigmas.data(),
                        o.lc_residuals_no_offset.data(), n);
        single.EvaluateMany(phases.data(), o.min.data(), n);
        single.Residuals(phases.data(), values.data(), sigmas.data(), o.min_residuals.data(), n);
        return o;
    };
    for (size_t n : {size_t(37), size_t(16), size_t(9), size_t(3), size_t(0)}) {
        detail::SetVectorKernelEnabled(false);
        const Outputs scalar = run(n);
        detail::SetVectorKernelEnabled(true);
        detail::SetAvx512Enabled(false);
        const Outputs four = run(n);
        detail::SetAvx512Enabled(true);
        const Outputs widest = run(n);
        for (const Outputs* o : {&four, &widest}) {
            EXPECT_EQ(o->lc, scalar.lc) << n;
            EXPECT_EQ(o->lc_residuals, scalar.lc_residuals) << n;
            EXPECT_EQ(o->lc_residuals_no_offset, scalar.lc_residuals_no_offset) << n;
            EXPECT_EQ(o->min, scalar.min) << n;
            EXPECT_EQ(o->min_residuals, scalar.min_residuals) << n;
        }
        for (size_t i = 0; i < n; ++i) {
            EXPECT_EQ(scalar.lc[i], model.Evaluate(phases[i]));
            EXPECT_EQ(scalar.lc_residuals[i],
                      (values[i] + offsets[i] - model.Evaluate(phases[i])) / sigmas[i]);
            EXPECT_EQ(scalar.min_residuals[i],
                      (values[i] - single.Evaluate(phases[i])) / sigmas[i]);
        }
    }
}

// Residuals from kept intermediate values equal a full evaluation, bit for bit, for every kind
// of change the cache serves; the time of minimum and the width are never served.
TEST(ModelPaths, KeptPartsGiveTheFullEvaluation) {
    using kurvalux_analysis::SingleMinimumParameters;
    using Change = kurvalux_analysis::model_math::SingleMinimumChange;
    std::vector<double> xs, values, sigmas;
    for (int i = 0; i < 45; ++i) {
        xs.push_back(i / 44.0);
        values.push_back(10.0 + 0.3 * std::sin(i * 0.7));
        sigmas.push_back(0.01 + 0.0001 * i);
    }
    const SingleMinimumParameters base = {10.0, 0.52, 0.1, 0.8, 0.08, 1.2, 0.3};
    CSingleMinimumModel::Cache cache;
    std::vector<double> kept(xs.size()), full(xs.size()), served(xs.size());
    CSingleMinimumModel(base).ResidualsKeeping(xs.data(), values.data(), sigmas.data(), kept.data(),
                                               xs.size(), cache);
    CSingleMinimumModel(base).Residuals(xs.data(), values.data(), sigmas.data(), full.data(),
                                        xs.size());
    EXPECT_EQ(kept, full);
    struct Case {
        size_t index;
        double value;
        bool served;
        Change change;
    };
    const Case cases[] = {{kurvalux_analysis::kMinBase, 10.01, true, Change::kLinear},
                          {kurvalux_analysis::kMinTrend, 0.2, true, Change::kLinear},
                          {kurvalux_analysis::kMinAmplitude, 0.7, true, Change::kLinear},
                          {kurvalux_analysis::kMinCorrection, -0.4, true, Change::kCorrection},
                          {kurvalux_analysis::kMinShape, 2.0, true, Change::kShape},
                          {kurvalux_analysis::kMinShape, 0.0, true, Change::kShape},
                          {kurvalux_analysis::kMinShape, 3.7, true, Change::kShape},
                          {kurvalux_analysis::kMinTime, 0.5, false, Change::kLinear},
                          {kurvalux_analysis::kMinWidth, 0.09, false, Change::kLinear}};
    for (const Case& c : cases) {
        SingleMinimumParameters p = base;
        p[c.index] = c.value;
        Change change;
        ASSERT_EQ(CSingleMinimumModel::CacheServes(base, p, change), c.served) << c.index;
        if (!c.served) continue;
        EXPECT_EQ(change, c.change) << c.index;
        const CSingleMinimumModel model(p);
        model.ResidualsFromCache(change, values.data(), sigmas.data(), served.data(), xs.size(),
                                 cache);
        model.Residuals(xs.data(), values.data(), sigmas.data(), full.data(), xs.size());
        EXPECT_EQ(served, full) << c.index << " " << c.value;
    }
    // Correction and shape together are not served.
    SingleMinimumParameters both = base;
    both[kurvalux_analysis::kMinCorrection] = 0.0;
    both[kurvalux_analysis::kMinShape] = 1.0;
    Change change;
    EXPECT_FALSE(CSingleMinimumModel::CacheServes(base, both, change));
}

// The same for the whole-cycle model: any one of the sixteen parameters changed (harmonics
// from zero included) gives, from the kept parts, the residuals of a full evaluation.
TEST(ModelPaths, KeptLightCurvePartsGiveTheFullEvaluation) {
    std::vector<double> phases, values, offsets, sigmas;
    for (int i = 0; i < 53; ++i) {
        phases.push_back(-0.05 + i * 0.0197);
        values.push_back(12.0 + 0.2 * std::cos(i * 0.3));
        offsets.push_back(i % 3 ? 0.0 : 0.05);
        sigmas.push_back(0.01);
    }
    const LightCurveParameters base = {12.0, 0.5,  0.8, 0.06,  1.2,   0.1, 0.3, 0.07,
                                       1.1,  -0.2, 0.0, -0.02, 0.002, 0.0, 0.0, 0.0};
    CLightCurveModel::Cache cache;
    std::vector<double> kept(phases.size()), full(phases.size()), served(phases.size());
    CLightCurveModel(base).ResidualsKeeping(phases.data(), values.data(), offsets.data(),
                                            sigmas.data(), kept.data(), phases.size(), cache);
    CLightCurveModel(base).Residuals(phases.data(), values.data(), offsets.data(), sigmas.data(),
                                     full.data(), phases.size());
    EXPECT_EQ(kept, full);
    for (size_t k = 0; k < base.size(); ++k) {
        LightCurveParameters p = base;
        p[k] = base[k] == 0.0 ? 0.003 : base[k] * 1.01;
        kurvalux_analysis::model_math::ProfileUpdate secondary, primary;
        CLightCurveModel::CacheUpdates(base, p, secondary, primary);
        const CLightCurveModel model(p);
        model.ResidualsFromCache(secondary, primary, phases.data(), values.data(), offsets.data(),
                                 sigmas.data(), served.data(), phases.size(), cache);
        model.Residuals(phases.data(), values.data(), offsets.data(), sigmas.data(), full.data(),
                        phases.size());
        EXPECT_EQ(served, full) << kurvalux_data::kLightCurveParameterKeys[k];
    }
}

TEST(ModelMath, ElementaryFunctionsAtSpecialArguments) {
    EXPECT_EQ(mm::Exp(0.0), 1.0);
    EXPECT_EQ(mm::Exp(710.0), kInf);
    EXPECT_EQ(mm::Exp(-746.0), 0.0);
    EXPECT_EQ(mm::Exp(-kInf), 0.0);
    EXPECT_EQ(mm::Exp(kInf), kInf);
    EXPECT_TRUE(std::isnan(mm::Exp(kNaN)));
    EXPECT_EQ(mm::Exp(-740.0), std::exp(-740.0));  // subnormal result
    EXPECT_EQ(mm::Log(1.0), 0.0);
    EXPECT_EQ(mm::Log(0.0), -kInf);
    EXPECT_TRUE(std::isnan(mm::Log(-1.0)));
    EXPECT_EQ(mm::Log(kInf), kInf);
    EXPECT_TRUE(std::isnan(mm::Log(kNaN)));
    EXPECT_NEAR(mm::Log(5e-320), std::log(5e-320), 1e-13);  // subnormal argument
    double s, c;
    mm::SinCos(0.0, s, c);
    EXPECT_EQ(s, 0.0);
    EXPECT_EQ(c, 1.0);
}

TEST(ModelMath, ElementaryFunctionsWithinTwoUnitsInTheLastPlace) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> exp_arg(-700.0, 700.0), angle(-40.0, 40.0),
        decade(-300.0, 300.0);
    for (int i = 0; i < 100000; ++i) {
        const double a = exp_arg(random);
        EXPECT_LE(std::fabs(mm::Exp(a) - std::exp(a)), 4.45e-16 * std::exp(a)) << a;
        const double b = std::pow(10.0, decade(random));
        EXPECT_LE(std::fabs(mm::Log(b) - std::log(b)), 4.45e-16 * std::fabs(std::log(b)) + 1e-300)
            << b;
        const double t = angle(random);
        double s, c;
        mm::SinCos(t, s, c);
        EXPECT_LE(std::fabs(s - std::sin(t)), 4.45e-16) << t;
        EXPECT_LE(std::fabs(c - std::cos(t)), 4.45e-16) << t;
    }
}

struct PhaseCase {
    double t, m0, period, expected;
};

// The row as the test list shows it.
void PrintTo(const PhaseCase& c, std::ostream* os) {
    *os << "t " << c.t << ", M0 " << c.m0 << ", P " << c.period;
}

class PhaseTable : public testing::TestWithParam<PhaseCase> {};

TEST_P(PhaseTable, FoldsIntoTheFirstCycle) {
    const PhaseCase& c = GetParam();
    EXPECT_EQ(kurvalux_analysis::PhaseOf(c.t, c.m0, c.period), c.expected)
        << c.t << " " << c.m0 << " " << c.period;
}

// Period 2 and epoch 100 keep every step exact in binary.
INSTANTIATE_TEST_SUITE_P(
    Model, PhaseTable,
    testing::Values(PhaseCase{100.0, 100.0, 2.0, 0.0}, PhaseCase{101.0, 100.0, 2.0, 0.5},
                    PhaseCase{102.0, 100.0, 2.0, 1.0},  // m0 + P itself
                    PhaseCase{98.0, 100.0, 2.0, 1.0},   // m0 - P gives 1
                    PhaseCase{99.5, 100.0, 2.0, 0.75}, PhaseCase{121.5, 100.0, 2.0, 0.75},
                    PhaseCase{102.5, 100.0, 2.0, 0.25}, PhaseCase{-1900.5, 100.0, 2.0, 0.75},
                    PhaseCase{100.5, 100.0, 2.0, 0.25}),
    RowNumber());

struct CycleCase {
    double t;
    uint32_t type;
    double cycle, oc;
};

// The row as the test list shows it.
void PrintTo(const CycleCase& c, std::ostream* os) {
    *os << "t " << c.t << ", type " << c.type;
}

class CycleTable : public testing::TestWithParam<CycleCase> {};

TEST_P(CycleTable, RoundsHalfAwayFromZero) {
    const CycleCase& c = GetParam();
    const auto r = kurvalux_analysis::CycleAndOC(c.t, c.type, 100.0, 2.0);
    EXPECT_EQ(r.cycle, c.cycle);
    EXPECT_EQ(r.oc, c.oc);
}

INSTANTIATE_TEST_SUITE_P(
    Model, CycleTable,
    testing::Values(CycleCase{103.0, kurvalux_data::kMinimumPrimary, 2.0, -1.0},
                    CycleCase{97.0, kurvalux_data::kMinimumPrimary, -2.0, 1.0},
                    CycleCase{104.25, kurvalux_data::kMinimumUndefined, 2.0, 0.25},
                    // Secondary against m0 + P/2 = 101.
                    CycleCase{102.0, kurvalux_data::kMinimumSecondary, 1.0, -1.0},
                    CycleCase{100.0, kurvalux_data::kMinimumSecondary, -1.0, 1.0},
                    CycleCase{105.5, kurvalux_data::kMinimumSecondary, 2.0, 0.5}),
    RowNumber());

TEST(CircularMean, WrapsAroundPhaseZero) {
    auto r = kurvalux_analysis::CircularMean({0.95, 0.05});
    EXPECT_NEAR(r.mean_phase, 0.0, 1e-16);
    EXPECT_NEAR(r.coherence, std::cos(0.05 * 2 * M_PI), 1e-15);
    r = kurvalux_analysis::CircularMean({});
    EXPECT_EQ(r.mean_phase, 0.0);
    EXPECT_EQ(r.coherence, 0.0);
    r = kurvalux_analysis::CircularMean({0.5});
    EXPECT_EQ(r.mean_phase, 0.5);  // (-0.5, 0.5]
    EXPECT_NEAR(r.coherence, 1.0, 1e-16);
    r = kurvalux_analysis::CircularMean({0.2, 0.3});
    EXPECT_NEAR(r.mean_phase, 0.25, 1e-15);
    EXPECT_NEAR(kurvalux_analysis::CircularMean({0.1, 0.6}).coherence, 0.0, 1e-15);
}

TEST(ModelSampling, EverySecondColumnWithExtremesFromTheUndefinedValue) {
    const LightCurveParameters p = {12.0, 0.5, 0.8, 0.06, 1.2, 0.0, 0.3, 0.07,
                                    1.1,  0.0, 0.0, 0.0,  0.0, 0.0, 0.0, 0.0};
    const auto s = kurvalux_analysis::SampleLightCurve(p, -0.2, 0.8, 10);
    ASSERT_EQ(s.values.size(), 6u);  // columns 0, 2, 4, 6, 8, 10
    EXPECT_EQ(s.abscissae.front(), -0.2);
    EXPECT_EQ(s.abscissae.back(), 0.8);
    // A negative phase is evaluated one cycle later.
    EXPECT_EQ(s.values[0], CLightCurveModel(p).Evaluate(0.8));
    EXPECT_EQ(s.largest, *std::max_element(s.values.begin(), s.values.end()));
    EXPECT_EQ(s.smallest, *std::min_element(s.values.begin(), s.values.end()));
    EXPECT_LT(s.largest, 100.0);  // the first sample replaced the undefined 100
    EXPECT_GT(s.smallest, 11.9);

    LightCurveParameters faint = p;
    faint[kurvalux_data::kMag0] = 150.0;  // every value above 100: the start value never wins
    const auto f = kurvalux_analysis::SampleLightCurve(faint, 0.0, 1.0, 4);
    EXPECT_GT(f.smallest, 150.0 - 1e-12);

    const auto none = kurvalux_analysis::SampleLightCurve(p, 0.0, 1.0, 0);
    EXPECT_TRUE(none.values.empty());
    EXPECT_EQ(none.largest, 100.0);
    EXPECT_EQ(none.smallest, 100.0);

    const auto single =
        kurvalux_analysis::SampleSingleMinimum({10.0, 0.5, 0.0, 1.0, 0.1, 1.0, 0.0}, 0.0, 1.0, 100);
    ASSERT_EQ(single.values.size(), 51u);
    EXPECT_EQ(single.largest, 11.0);  // the centre at x = 0.5 is column 50
}

}  // namespace
