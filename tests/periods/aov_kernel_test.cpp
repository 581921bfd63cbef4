// The multiharmonic AoV kernels (scalar reference and every vector kernel this processor runs)
// against the long-double reference values of the mhaov set, against an independent weighted
// least-squares fit for two and three harmonics, and against each other.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <limits>

#include "analysis/periods/aov_dispatch.h"
#include "analysis/periods/frequency_analysis.h"
#include "periods/aov_data.h"

namespace kurvalux_analysis {
namespace {

using kurvalux_test::PointTable;

std::vector<AovIsa> SupportedKernels() {
    std::vector<AovIsa> kernels;
    for (AovIsa isa : {AovIsa::Scalar, AovIsa::Avx2, AovIsa::Avx512})
        if (AovIsaSupported(isa)) kernels.push_back(isa);
    return kernels;
}

CAovPreparedData Prepare(const PointTable& p) {
    return CAovPreparedData(p.times.data(), p.values.data(), p.errors.data(), p.times.size());
}

double RelativeError(double value, double reference) {
    return std::abs(value - reference) / std::abs(reference);
}

TEST(AovKernel, MatchesTheLongDoubleReferenceWhereThetaExceedsOne) {
    const PointTable points = kurvalux_test::ReadMhaovDataset();
    ASSERT_EQ(points.times.size(), 2000u);
    const CAovPreparedData data = Prepare(points);
    // Reference computed with unit weights; ours are 1/sigma^2 with sigma = 0.010 for every
    // point, which scales S and every |c_n|^2 and leaves Theta unchanged.
    const double scale = 1.0 / (points.errors[0] * points.errors[0]);
    EXPECT_NEAR(data.Variance() / scale, 94.65568186735, 1e-9);

    std::vector<std::vector<double>> rows =
        kurvalux_test::ReadNumberRows(kurvalux_test::MhaovPath("ref_nh1_grid1000.txt"));
    ASSERT_EQ(rows.size(), 1000u);
    for (const auto& row :
         kurvalux_test::ReadNumberRows(kurvalux_test::MhaovPath("ref_nh1_peakwindow.txt")))
        rows.push_back(row);
    ASSERT_EQ(rows.size(), 1201u);
    const PeriodGrid grid{0.1, 1e-5, 90000};
    std::vector<double> periods;
    for (const auto& row : rows) periods.push_back(grid.Period(static_cast<uint64_t>(row[0])));

    for (AovIsa isa : SupportedKernels()) {
        std::vector<double> c;
        const std::vector<AovValue> values = EvaluateAov(data, 1, periods, isa, &c);
        ASSERT_EQ(values.size(), rows.size());
        double worst = 0;
        int compared = 0;
        for (size_t i = 0; i < rows.size(); ++i) {
            // columns: k P Theta S c0sq c1sq c2sq
            const std::vector<double>& ref = rows[i];
            if (ref[2] <= 1) continue;
            ++compared;
            const double found[] = {values[i].theta, values[i].explained / scale,
                                    std::norm(std::complex(c[6 * i], c[6 * i + 1])) / scale,
                                    std::norm(std::complex(c[6 * i + 2], c[6 * i + 3])) / scale,
                                    std::norm(std::complex(c[6 * i + 4], c[6 * i + 5])) / scale};
            for (int j = 0; j < 5; ++j) {
                const double error = RelativeError(found[j], ref[2 + j]);
                worst = std::max(worst, error);
                EXPECT_LT(error, 1e-9) << AovIsaName(isa) << " k=" << ref[0] << " column " << 2 + j;
            }
            // The response is |c_0|^2 + |c_1|^2.
            EXPECT_LT(RelativeError(values[i].response / scale, ref[4] + ref[5]), 1e-9);
        }
        EXPECT_GT(compared, 900);
        std::printf("[ mhaov    ] %s: %d grid points with Theta > 1, max relative error %.3g\n",
                    AovIsaName(isa), compared, worst);
    }
}

// Independent check for more harmonics: the weighted least-squares fit of a constant plus nh
// harmonics, solved in long double from its normal equations. S is the weighted sum of
// squares the fit explains, V - RSS.
struct LsqAov {
    long double theta, explained;
};

LsqAov LeastSquaresAov(const PointTable& p, int nh, double omega) {
    const int m = 2 * nh + 1;
    const size_t n = p.times.size();
    std::vector<long double> a(m * m, 0.0L), b(m, 0.0L), row(m);
    long double sw = 0, swx = 0;
    for (size_t i = 0; i < n; ++i) {
        const long double w = 1.0L / ((long double)p.errors[i] * p.errors[i]);
        sw += w;
        swx += w * p.values[i];
    }
    const long double mean = swx / sw;
    long double variance = 0;
    for (size_t i = 0; i < n; ++i) {
        const long double w = 1.0L / ((long double)p.errors[i] * p.errors[i]);
        const long double x = p.values[i] - mean;
        variance += w * x * x;
        row[0] = 1;
        for (int h = 1; h <= nh; ++h) {
            const long double angle = (long double)omega * h * p.times[i];
            row[2 * h - 1] = std::cos(angle);
            row[2 * h] = std::sin(angle);
        }
        for (int r = 0; r < m; ++r) {
            b[r] += w * row[r] * x;
            for (int s = 0; s < m; ++s) a[r * m + s] += w * row[r] * row[s];
        }
    }
    // Cholesky solve.
    for (int j = 0; j < m; ++j) {
        long double d = a[j * m + j];
        for (int k = 0; k < j; ++k) d -= a[j * m + k] * a[j * m + k];
        a[j * m + j] = std::sqrt(d);
        for (int i = j + 1; i < m; ++i) {
            long double s = a[i * m + j];
            for (int k = 0; k < j; ++k) s -= a[i * m + k] * a[j * m + k];
            a[i * m + j] = s / a[j * m + j];
        }
    }
    std::vector<long double> y(m), coef(m);
    for (int i = 0; i < m; ++i) {
        long double s = b[i];
        for (int k = 0; k < i; ++k) s -= a[i * m + k] * y[k];
        y[i] = s / a[i * m + i];
    }
    for (int i = m - 1; i >= 0; --i) {
        long double s = y[i];
        for (int k = i + 1; k < m; ++k) s -= a[k * m + i] * coef[k];
        coef[i] = s / a[i * m + i];
    }
    // Explained part: coef . b (the normal equations make it equal to V - RSS).
    long double explained = 0;
    for (int i = 0; i < m; ++i) explained += coef[i] * b[i];
    const long double dof = (long double)(n - 2 * nh - 1) / (2 * nh);
    return {dof * explained / (variance - explained), explained};
}

TEST(AovKernel, MoreHarmonicsEqualAWeightedLeastSquaresFit) {
    PointTable points = kurvalux_test::ReadMhaovDataset();
    // Unequal errors, so that the weights matter.
    for (size_t i = 0; i < points.errors.size(); ++i) points.errors[i] *= 1.0 + 0.3 * (i % 5);
    const CAovPreparedData data = Prepare(points);
    const std::vector<double> periods = {0.18655, 0.3731, 0.25137, 0.5, 0.1234567, 0.97};
    for (int nh : {2, 3}) {
        std::vector<LsqAov> expected;
        for (double p : periods)
            expected.push_back(LeastSquaresAov(points, nh, AngularFrequency(p)));
        for (AovIsa isa : SupportedKernels()) {
            const std::vector<AovValue> values = EvaluateAov(data, nh, periods, isa);
            ASSERT_EQ(values.size(), periods.size());
            for (size_t i = 0; i < periods.size(); ++i) {
                EXPECT_LT(RelativeError(values[i].theta, (double)expected[i].theta), 1e-9)
                    << AovIsaName(isa) << " nh=" << nh << " P=" << periods[i];
                EXPECT_LT(RelativeError(values[i].explained, (double)expected[i].explained), 1e-9)
                    << AovIsaName(isa) << " nh=" << nh << " P=" << periods[i];
            }
        }
    }
    // At the true period of the binary, two harmonics explain far more than one.
    const auto one = EvaluateAov(data, 1, {0.3731});
    const auto two = EvaluateAov(data, 2, {0.3731});
    EXPECT_GT(two[0].explained, 2 * one[0].explained);
}

TEST(AovKernel, VectorKernelsAgreeWithTheScalarOneOverWidePhaseRanges) {
    // Ten years of sparse points: w*t reaches 6e5 rad at P = 0.1 d, far outside the reduction
    // range of a naive polynomial.
    PointTable points;
    for (int i = 0; i < 301; ++i) {
        const double t = 2455000.0 + 12.17 * i + 0.013 * (i % 7);
        points.times.push_back(t);
        points.values.push_back(10 + 0.3 * std::sin(6.283185307179586 * t / 0.731) +
                                0.01 * ((i * 37) % 11 - 5));
        points.errors.push_back(0.005 + 0.001 * (i % 3));
    }
    const CAovPreparedData data = Prepare(points);
    std::vector<double> periods;
    for (int k = 0; k < 3000; ++k) periods.push_back(0.05 * std::pow(1000.0, k / 3000.0));
    // (Up to three harmonics: beyond that the polynomials become ill-conditioned at the
    // aliases of the 12.17-d sampling step, where kernels differ in rounding by ~1e-7.)
    for (int nh : {1, 3}) {
        const std::vector<AovValue> reference = EvaluateAov(data, nh, periods, AovIsa::Scalar);
        for (AovIsa isa : SupportedKernels()) {
            if (isa == AovIsa::Scalar) continue;
            const std::vector<AovValue> values = EvaluateAov(data, nh, periods, isa);
            double worst = 0;
            for (size_t i = 0; i < periods.size(); ++i) {
                worst = std::max(worst, RelativeError(values[i].explained, reference[i].explained));
                worst = std::max(worst, RelativeError(values[i].response, reference[i].response));
            }
            EXPECT_LT(worst, 1e-9) << AovIsaName(isa) << " nh=" << nh;
        }
    }
}

TEST(AovKernel, WeightsAreInverseSquaredErrorsWithZeroCountingAsOne) {
    PointTable points = kurvalux_test::ReadMhaovDataset();
    points.times.resize(300);
    points.values.resize(300);
    const std::vector<double> periods = {0.18655, 0.3, 0.77};
    struct Case {
        double sigma;
        double scale;  // of S relative to unit weights
    } cases[] = {{0.0, 1.0}, {1.0, 1.0}, {0.5, 4.0}, {2.0, 0.25}};
    points.errors.assign(300, 1.0);
    const std::vector<AovValue> unit = EvaluateAov(Prepare(points), 1, periods, AovIsa::Scalar);
    for (const Case& c : cases) {
        points.errors.assign(300, c.sigma);
        for (AovIsa isa : SupportedKernels()) {
            const std::vector<AovValue> values = EvaluateAov(Prepare(points), 1, periods, isa);
            for (size_t i = 0; i < periods.size(); ++i) {
                EXPECT_LT(RelativeError(values[i].explained, unit[i].explained * c.scale), 1e-12)
                    << c.sigma;
                EXPECT_LT(RelativeError(values[i].theta, unit[i].theta), 1e-12) << c.sigma;
            }
        }
    }
}

TEST(AovKernel, DegenerateInputsGiveNoNaNResponse) {
    // Whole-day sampling: at P = 1 d and 0.5 d every point has z = 1, the first polynomial
    // vanishes on the data and the recurrence stops; the response is then |c_0|^2 alone.
    PointTable alias;
    for (int i = 0; i < 40; ++i) {
        alias.times.push_back(2459000.0 + i);
        alias.values.push_back(12 + 0.1 * ((i * 13) % 7));
        alias.errors.push_back(0.01);
    }
    // A NaN value makes every projection NaN; NaN terms count as 0 in the response.
    PointTable nan_value = alias;
    nan_value.values[5] = std::numeric_limits<double>::quiet_NaN();
    for (AovIsa isa : SupportedKernels()) {
        std::vector<double> c;
        const std::vector<AovValue> v = EvaluateAov(Prepare(alias), 1, {1.0, 0.5}, isa, &c);
        for (int k = 0; k < 2; ++k) {
            EXPECT_FALSE(std::isnan(v[k].response)) << AovIsaName(isa);
            EXPECT_FALSE(std::isnan(v[k].theta)) << AovIsaName(isa);
            for (int j = 2; j < 6; ++j) EXPECT_EQ(c[6 * k + j], 0.0) << AovIsaName(isa);
            EXPECT_DOUBLE_EQ(v[k].response, c[6 * k] * c[6 * k] + c[6 * k + 1] * c[6 * k + 1]);
        }
        const std::vector<AovValue> n = EvaluateAov(Prepare(nan_value), 1, {0.7}, isa);
        EXPECT_EQ(n[0].response, 0.0) << AovIsaName(isa);
        EXPECT_TRUE(std::isnan(n[0].explained)) << AovIsaName(isa);
    }
}

TEST(AovDispatch, NamesAndChoice) {
    const struct {
        const char* text;
        AovIsa isa;
    } names[] = {{"auto", AovIsa::Auto},
                 {"scalar", AovIsa::Scalar},
                 {"avx2", AovIsa::Avx2},
                 {"avx512", AovIsa::Avx512}};
    for (const auto& n : names) {
        AovIsa parsed = AovIsa::Scalar;
        EXPECT_TRUE(ParseAovIsa(n.text, parsed));
        EXPECT_EQ(parsed, n.isa);
        EXPECT_STREQ(AovIsaName(n.isa), n.text);
    }
    AovIsa untouched = AovIsa::Avx2;
    EXPECT_FALSE(ParseAovIsa("sse", untouched));
    EXPECT_EQ(untouched, AovIsa::Avx2);
    EXPECT_EQ(AovKernelFor(AovIsa::Scalar), &AovKernelScalar);
    EXPECT_EQ(AovKernelFor(AovIsa::Auto), AovKernelFor(BestAovIsa()));
    EXPECT_TRUE(AovIsaSupported(BestAovIsa()));
    if (!AovIsaSupported(AovIsa::Avx512)) {
        EXPECT_EQ(AovKernelFor(AovIsa::Avx512), nullptr);
    }
}

}  // namespace
}  // namespace kurvalux_analysis
