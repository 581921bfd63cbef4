// The O-C table and the ephemeris fit: a case worked by hand, the rules for secondaries,
// missing errors and undefined minima, an exact quadratic, and two published minima lists.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "analysis/ephemeris_fit.h"

namespace {

using namespace kurvalux_analysis;
using kurvalux_data::CMinimaListElem;
using kurvalux_data::kMinimumPrimary;
using kurvalux_data::kMinimumSecondary;
using kurvalux_data::kMinimumUndefined;

CMinimaListElem Minimum(uint32_t type, double time, double error) {
    CMinimaListElem m;
    m.type = type;
    m.time = time;
    m.error = error;
    return m;
}

// Three primaries at E = 0, 1, 2 with one error 0.001 d, timed at 100, 102.01 and 103.99
// against M0 = 100, P = 2. By hand: the least-squares line through (0, 0), (1, 0.01),
// (2, -0.01) has slope -0.005 and intercept 0.005, so P = 1.995 and M0 = 100.005; the
// residuals are -0.005, 0.01, -0.005 d; chi2 = (25 + 100 + 25)e-6 / 1e-6 = 150 with one degree
// of freedom. Unscaled variances: Var(P) = s²/Sxx = s²/2, Var(M0) = s²(1/3 + 1²/2) = 5s²/6;
// scaled by chi2/dof = 150: sigma_P = 0.001·sqrt(75), sigma_M0 = 0.001·sqrt(125).
TEST(EphemerisFit, ThreePrimariesWorkedByHand) {
    const std::vector<CMinimaListElem> minima = {Minimum(kMinimumPrimary, 103.99, 0.001),
                                                 Minimum(kMinimumPrimary, 100.0, 0.001),
                                                 Minimum(kMinimumPrimary, 102.01, 0.001)};
    std::vector<OCEntry> table = MakeOCTable(minima, 100.0, 2.0);
    ASSERT_EQ(table.size(), 3u);
    EXPECT_EQ(table[0].time, 100.0);  // sorted by time
    EXPECT_EQ(table[2].cycle, 2.0);
    EXPECT_NEAR(table[1].oc, 0.01, 1e-12);
    EXPECT_NEAR(table[2].oc, -0.01, 1e-12);

    EphemerisFitResult fit = FitEphemeris(table, 100.0, 2.0, {});
    ASSERT_TRUE(fit.ok) << fit.message;
    EXPECT_NEAR(fit.period, 1.995, 1e-12);
    EXPECT_NEAR(fit.m0, 100.005, 1e-11);
    EXPECT_NEAR(fit.chi2, 150.0, 1e-6);
    EXPECT_EQ(fit.dof, 1u);
    EXPECT_NEAR(fit.chi2_per_dof, 150.0, 1e-6);
    EXPECT_TRUE(fit.errors_scaled);
    EXPECT_TRUE(fit.weighted);
    EXPECT_EQ(fit.assumed_error, 0.0);
    EXPECT_NEAR(fit.period_error, 0.001 * std::sqrt(75.0), 1e-12);
    EXPECT_NEAR(fit.m0_error, 0.001 * std::sqrt(125.0), 1e-12);
    EXPECT_NEAR(table[0].residual, -0.005, 1e-11);
    EXPECT_NEAR(table[1].residual, 0.01, 1e-11);
    EXPECT_NEAR(table[2].residual, -0.005, 1e-11);
    EXPECT_NEAR(fit.residual_rms, std::sqrt(150e-6 / 3), 1e-12);
    // The prediction for cycle 2 is the fitted line there; its variance is g' C g with
    // g = (1, 2): 0.001² · 150 · (1/3 + (2 - 1)²/2) = 125e-6.
    const PredictedTime at2 = PredictMinimum(fit, 2.0);
    EXPECT_NEAR(at2.time, 103.995, 1e-11);
    EXPECT_NEAR(at2.error, std::sqrt(125e-6), 1e-12);
}

// Applying keeps the saved copy; a quadratic or failed fit changes nothing.
TEST(EphemerisFit, ApplyEphemeris) {
    const std::vector<CMinimaListElem> minima = {Minimum(kMinimumPrimary, 103.99, 0.001),
                                                 Minimum(kMinimumPrimary, 100.0, 0.001),
                                                 Minimum(kMinimumPrimary, 102.01, 0.001)};
    kurvalux_data::CObjectListElem object;
    object.m0 = object.saved_m0 = 100.0;
    object.period = object.saved_period = 2.0;
    std::vector<OCEntry> table = MakeOCTable(minima, 100.0, 2.0);
    EphemerisFitOptions quadratic;
    quadratic.quadratic = true;
    EXPECT_FALSE(ApplyEphemeris(FitEphemeris(table, 100.0, 2.0, quadratic), object));
    EXPECT_FALSE(ApplyEphemeris(EphemerisFitResult{}, object));
    EXPECT_EQ(object.m0, 100.0);
    ASSERT_TRUE(ApplyEphemeris(FitEphemeris(table, 100.0, 2.0, {}), object));
    EXPECT_NEAR(object.m0, 100.005, 1e-11);
    EXPECT_NEAR(object.period, 1.995, 1e-12);
    EXPECT_EQ(object.saved_m0, 100.0);
    EXPECT_EQ(object.saved_period, 2.0);
}

// Errors are never shrunk: with chi2/dof below 1 they stay those of the weights.
TEST(EphemerisFit, SmallScatterLeavesErrorsUnscaled) {
    const std::vector<CMinimaListElem> minima = {Minimum(kMinimumPrimary, 100.0, 0.1),
                                                 Minimum(kMinimumPrimary, 102.01, 0.1),
                                                 Minimum(kMinimumPrimary, 103.99, 0.1)};
    std::vector<OCEntry> table = MakeOCTable(minima, 100.0, 2.0);
    EphemerisFitResult fit = FitEphemeris(table, 100.0, 2.0, {});
    ASSERT_TRUE(fit.ok);
    EXPECT_NEAR(fit.chi2_per_dof, 0.015, 1e-12);
    EXPECT_FALSE(fit.errors_scaled);
    EXPECT_NEAR(fit.period_error, 0.1 / std::sqrt(2.0), 1e-12);
}

// A secondary sits at n = E + 1/2, a minimum without error counts with the median error of the
// others, an undefined one is listed but not fitted, an excluded one is not listed.
TEST(EphemerisFit, SecondariesMissingErrorsAndUndefinedMinima) {
    // On the line T = 10 + 1.5 n for n = 0, 0.5, 2, 2.5, except 13.0 + 0.01.
    auto minima_with = [](double missing_error) {
        std::vector<CMinimaListElem> minima = {Minimum(kMinimumPrimary, 10.0, 0.002),
                                               Minimum(kMinimumSecondary, 10.75, missing_error),
                                               Minimum(kMinimumPrimary, 13.01, 0.001),
                                               Minimum(kMinimumSecondary, 13.75, 0.003),
                                               Minimum(kMinimumUndefined, 11.7, 0.001),
                                               Minimum(kMinimumPrimary, 20.0, 0.001)};
        minima.back().enabled = false;
        return minima;
    };
    std::vector<OCEntry> table = MakeOCTable(minima_with(0.0), 10.0, 1.5);
    ASSERT_EQ(table.size(), 5u);
    // 10.75 against M0 + P/2 = 10.75: E = 0, O-C = 0. 11.7 undefined, against M0: E = 1,
    // O-C = 0.2. 13.75 against 10.75: E = 2.
    EXPECT_EQ(table[1].type, kMinimumSecondary);
    EXPECT_EQ(table[1].cycle, 0.0);
    EXPECT_EQ(FitCycle(table[1]), 0.5);
    EXPECT_EQ(table[2].cycle, 1.0);
    EXPECT_NEAR(table[2].oc, 0.2, 1e-12);
    EXPECT_EQ(table[4].cycle, 2.0);
    EXPECT_EQ(FitCycle(table[4]), 2.5);
    EXPECT_NEAR(table[4].oc, 0.0, 1e-12);

    EphemerisFitResult fit = FitEphemeris(table, 10.0, 1.5, {});
    ASSERT_TRUE(fit.ok) << fit.message;
    EXPECT_EQ(fit.count, 4u);
    EXPECT_EQ(fit.dof, 2u);
    EXPECT_FALSE(table[2].fitted);
    EXPECT_EQ(table[2].residual, 0.0);
    EXPECT_TRUE(table[1].fitted);
    EXPECT_EQ(fit.assumed_error, 0.002);  // the median of 0.002, 0.001 and 0.003
    // The same fit as with that error written into the minimum.
    std::vector<OCEntry> explicit_table = MakeOCTable(minima_with(0.002), 10.0, 1.5);
    EphemerisFitResult explicit_fit = FitEphemeris(explicit_table, 10.0, 1.5, {});
    EXPECT_EQ(explicit_fit.assumed_error, 0.0);
    EXPECT_EQ(fit.period, explicit_fit.period);
    EXPECT_EQ(fit.m0, explicit_fit.m0);
    EXPECT_EQ(fit.chi2, explicit_fit.chi2);
    EXPECT_EQ(fit.period_error, explicit_fit.period_error);
    // The weighted fit pulls the line towards the precise 13.01: a longer period.
    EXPECT_GT(fit.period, 1.5);
    EXPECT_LT(fit.period, 1.5 + 0.01 / 2);
}

// Times on an exact parabola give back its coefficients; dP/dt = 2Q/P.
TEST(EphemerisFit, QuadraticTermRecoveredExactly) {
    const double m0 = 2450000.123, p = 0.8, q = 2e-9;
    std::vector<CMinimaListElem> minima;
    for (int e = -3000; e <= 9000; e += 700) {
        const double n = e;
        minima.push_back(Minimum(kMinimumPrimary, m0 + p * n + q * n * n, 0.0005));
        const double s = n + 0.5;
        minima.push_back(Minimum(kMinimumSecondary, m0 + p * s + q * s * s, 0.0007));
    }
    std::vector<OCEntry> table = MakeOCTable(minima, m0, p);
    EphemerisFitOptions options;
    options.quadratic = true;
    EphemerisFitResult fit = FitEphemeris(table, m0, p, options);
    ASSERT_TRUE(fit.ok) << fit.message;
    EXPECT_EQ(fit.parameters, 3u);
    EXPECT_NEAR(fit.quadratic, q, 1e-14);
    EXPECT_NEAR(fit.period, p, 1e-10);
    EXPECT_NEAR(fit.m0, m0, 1e-6);
    EXPECT_NEAR(fit.dpdt, 2 * q / p, 1e-13);
    EXPECT_LT(fit.chi2, 1e-6);
    EXPECT_FALSE(fit.errors_scaled);
    EXPECT_GT(fit.quadratic_error, 0.0);
    // The linear fit of the same times leaves the curvature in the residuals.
    EphemerisFitResult linear = FitEphemeris(table, m0, p, {});
    ASSERT_TRUE(linear.ok);
    EXPECT_TRUE(linear.errors_scaled);
    EXPECT_EQ(linear.quadratic, 0.0);
    EXPECT_EQ(linear.quadratic_error, 0.0);
}

TEST(EphemerisFit, RefusesWhatCannotBeFitted) {
    struct Case {
        std::vector<CMinimaListElem> minima;
        bool quadratic;
        const char* message;
    };
    const std::vector<Case> cases = {
        {{Minimum(kMinimumPrimary, 100, 0.001)},
         false,
         "At least 2 primary or secondary minima needed"},
        {{Minimum(kMinimumPrimary, 100, 0.001), Minimum(kMinimumUndefined, 102, 0.001)},
         false,
         "At least 2 primary or secondary minima needed"},
        {{Minimum(kMinimumPrimary, 100, 0.001), Minimum(kMinimumPrimary, 102, 0.001)},
         true,
         "At least 3 primary or secondary minima needed"},
        {{Minimum(kMinimumPrimary, 100, 0.001), Minimum(kMinimumPrimary, 100.01, 0.001)},
         false,
         "The minima cover fewer than 2 different cycles"},
        {{Minimum(kMinimumPrimary, 100, 0.001), Minimum(kMinimumPrimary, 102, 0.001),
          Minimum(kMinimumPrimary, 102.01, 0.001)},
         true,
         "The minima cover fewer than 3 different cycles"},
    };
    for (const Case& c : cases) {
        std::vector<OCEntry> table = MakeOCTable(c.minima, 100.0, 2.0);
        EphemerisFitOptions options;
        options.quadratic = c.quadratic;
        EphemerisFitResult fit = FitEphemeris(table, 100.0, 2.0, options);
        EXPECT_FALSE(fit.ok);
        EXPECT_EQ(fit.message, c.message);
    }
    EXPECT_TRUE(MakeOCTable({Minimum(kMinimumPrimary, 100, 0)}, 0.0, 2.0).empty());
    EXPECT_TRUE(MakeOCTable({Minimum(kMinimumPrimary, 100, 0)}, 100.0, 0.0).empty());
}

// Without any error the weights are equal and the scatter sets the errors (the ordinary
// unweighted regression): for n = 0, 1, 2 and residuals -0.005, 0.01, -0.005 the residual
// variance is 150e-6 / 1 and sigma_P = sqrt(150e-6 / 2).
TEST(EphemerisFit, NoErrorsMeansEqualWeightsAndScatterErrors) {
    const std::vector<CMinimaListElem> minima = {Minimum(kMinimumPrimary, 100.0, 0),
                                                 Minimum(kMinimumPrimary, 102.01, 0),
                                                 Minimum(kMinimumPrimary, 103.99, 0)};
    std::vector<OCEntry> table = MakeOCTable(minima, 100.0, 2.0);
    EphemerisFitResult fit = FitEphemeris(table, 100.0, 2.0, {});
    ASSERT_TRUE(fit.ok);
    EXPECT_FALSE(fit.weighted);
    EXPECT_FALSE(fit.errors_scaled);
    EXPECT_NEAR(fit.period_error, std::sqrt(150e-6 / 2), 1e-12);
}

// CM Dra, TESS Sector 16 (Deeg 2021, Galaxies 9, 1, Table 1 as quoted by the KvW repository):
// epochs 7023 and 7024 at 58738.6607358 +- 0.0000191 and 58739.9291169 +- 0.0000125 (BJD_TDB
// less an offset). Two minima: the period is their difference and its error the quadrature
// sum of the two errors; no degree of freedom is left.
TEST(EphemerisFit, CmDraTwoPublishedMinima) {
    const std::vector<CMinimaListElem> minima = {
        Minimum(kMinimumPrimary, 58738.6607358, 0.0000191),
        Minimum(kMinimumPrimary, 58739.9291169, 0.0000125)};
    std::vector<OCEntry> table = MakeOCTable(minima, 58738.66, 1.2684);
    EphemerisFitResult fit = FitEphemeris(table, 58738.66, 1.2684, {});
    ASSERT_TRUE(fit.ok);
    EXPECT_EQ(fit.dof, 0u);
    EXPECT_NEAR(fit.period, 1.2683811, 1e-10);
    EXPECT_NEAR(fit.period_error, std::hypot(0.0000191, 0.0000125), 1e-12);
    EXPECT_NEAR(fit.m0, 58738.6607358, 1e-9);
    EXPECT_NEAR(fit.m0_error, 0.0000191, 1e-12);
}

struct ListedMinimum {
    double time, error, epoch;
};

// WASP-12 b: the 147 published mid-transit times (Ivshina & Winn 2022, ApJS 259, 62, table 4)
// and their linear ephemeris (table 3): P = 1.091419108 +- 5.5e-08 d, T0 = 2457010.512173 +-
// 7e-05 BJD_TDB, N = 147, chi2 = 661.85.
std::vector<ListedMinimum> Wasp12bTimes() {
    std::vector<ListedMinimum> rows;
    std::ifstream file(std::string(KURVALUX_TEST_DATA_DIR) +
                       "/real/wasp12b-published-transit-times.csv");
    std::string line;
    std::getline(file, line);  // header
    while (std::getline(file, line)) {
        std::vector<std::string> cells;
        std::stringstream stream(line);
        std::string cell;
        while (std::getline(stream, cell, ',')) cells.push_back(cell);
        if (cells.size() < 4 || cells[0] != "WASP-012") continue;
        rows.push_back({std::stod(cells[2]), std::stod(cells[3]), std::stod(cells[1])});
    }
    return rows;
}

TEST(EphemerisFit, Wasp12bPublishedLinearEphemeris) {
    const std::vector<ListedMinimum> rows = Wasp12bTimes();
    ASSERT_EQ(rows.size(), 147u);
    std::vector<CMinimaListElem> minima;
    for (const ListedMinimum& r : rows) minima.push_back(Minimum(kMinimumPrimary, r.time, r.error));
    // Start from a rounded ephemeris; the cycles must still be the published orbit numbers.
    std::vector<OCEntry> table = MakeOCTable(minima, 2457010.51, 1.0914);
    for (size_t i = 0; i < table.size(); ++i) ASSERT_EQ(table[i].cycle, rows[i].epoch) << i;
    EphemerisFitResult fit = FitEphemeris(table, 2457010.51, 1.0914, {});
    ASSERT_TRUE(fit.ok);
    EXPECT_EQ(fit.count, 147u);
    // The same normal equations solved apart (a few lines of Python over the csv, in double
    // precision) give P = 1.091419214049629, T0 = 2457010.5122941756, chi2 = 725.1611835,
    // sigma_P = 5.5618942e-08 after scaling.
    EXPECT_NEAR(fit.period, 1.091419214049629, 1e-13);
    EXPECT_NEAR(fit.m0, 2457010.5122941756, 1e-8);
    EXPECT_NEAR(fit.chi2, 725.1611835, 1e-5);
    EXPECT_NEAR(fit.period_error, 5.5618942e-08, 1e-14);
    EXPECT_TRUE(fit.errors_scaled);
    // The published fit of these 147 times reports chi2 661.85, so it was made from slightly
    // different numbers than the table lists; its period lies 1.9 of its errors from ours.
    EXPECT_NEAR(fit.period, 1.091419108, 2 * 5.5e-08);
    EXPECT_NEAR(fit.m0, 2457010.512173, 2 * 7e-05);
    std::printf(
        "WASP-12 b: P = %.10f +- %.2e (published 1.091419108 +- 5.5e-08), "
        "T0 = %.6f +- %.1e (published 2457010.512173 +- 7e-05), chi2 = %.2f\n",
        fit.period, fit.period_error, fit.m0, fit.m0_error, fit.chi2);
    // The period is known to shrink: the quadratic term is negative and significant.
    EphemerisFitOptions options;
    options.quadratic = true;
    EphemerisFitResult curved = FitEphemeris(table, 2457010.51, 1.0914, options);
    ASSERT_TRUE(curved.ok);
    EXPECT_LT(curved.quadratic, -5 * curved.quadratic_error);
    std::printf("WASP-12 b: dP/dt = %.3f +- %.3f ms/yr\n", curved.dpdt * 86400e3 * 365.25,
                curved.dpdt_error * 86400e3 * 365.25);
}

// NSVS 896797: 906 minima (kjkoeller/EclipsingBinaries, examples/test_minimums.txt), epoch
// half-integer for a secondary, with the list's own O-C column. That column was computed
// against T0 = 2457143.761878, P = 0.312969992 d (the line through time − O−C; no error is
// published) and drifts to −0.04 d by cycle 5580: the minima themselves call for a shorter
// period. The weighted fit solved apart (Python, double precision) gives P = 0.3129629090474,
// T0 = 2457143.7614084, chi2/dof = 22.3974, sigma_P = 5.14412e-08 after scaling.
TEST(EphemerisFit, Nsvs896797ListedMinima) {
    std::ifstream file(std::string(KURVALUX_TEST_DATA_DIR) +
                       "/real/nsvs896797-minima-eclipsingbinaries.txt");
    std::vector<CMinimaListElem> minima;
    struct Row {
        double time, epoch, oc;
    };
    std::vector<Row> listed;
    double time = 0, epoch = 0, oc = 0, error = 0;
    while (file >> time >> epoch >> oc >> error) {
        const bool secondary = epoch != std::floor(epoch);
        minima.push_back(Minimum(secondary ? kMinimumSecondary : kMinimumPrimary, time, error));
        listed.push_back({time, epoch, oc});
    }
    ASSERT_EQ(minima.size(), 906u);
    // The list is not quite in time order (its duplicated row comes later); the table is.
    std::stable_sort(listed.begin(), listed.end(),
                     [](const Row& a, const Row& b) { return a.time < b.time; });
    std::vector<OCEntry> table = MakeOCTable(minima, 2457143.761878, 0.312969992);
    double largest = 0;
    for (size_t i = 0; i < table.size(); ++i) {
        ASSERT_EQ(FitCycle(table[i]), listed[i].epoch) << table[i].time;
        largest = std::max(largest, std::fabs(table[i].oc - listed[i].oc));
    }
    // The column's ephemeris was rounded: its O-C and ours differ by at most 0.0005 d.
    EXPECT_LT(largest, 0.0006);
    EphemerisFitResult fit = FitEphemeris(table, 2457143.761878, 0.312969992, {});
    ASSERT_TRUE(fit.ok);
    EXPECT_EQ(fit.count, 906u);
    EXPECT_NEAR(fit.period, 0.3129629090474, 1e-12);
    EXPECT_NEAR(fit.m0, 2457143.7614084, 1e-7);
    EXPECT_NEAR(fit.chi2_per_dof, 22.3974, 1e-4);
    EXPECT_NEAR(fit.period_error, 5.14412e-08, 1e-13);
    std::printf(
        "NSVS 896797: P = %.10f +- %.2e (the list's O-C made with 0.312969992), "
        "T0 = %.6f +- %.1e, chi2/dof = %.3f, largest O-C difference from the list "
        "%.6f d\n",
        fit.period, fit.period_error, fit.m0, fit.m0_error, fit.chi2_per_dof, largest);
}

}  // namespace
