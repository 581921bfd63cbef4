// The period of a key refined by a weighted fit of the minima with their cycle counts.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "analysis/periods/period_from_minima.h"
#include "analysis/periods/period_refinement.h"

namespace kurvalux_analysis {
namespace {

using kurvalux_data::kMinimumPrimary;
using kurvalux_data::kMinimumSecondary;
using kurvalux_data::kMinimumUndefined;

TEST(RefinePeriodKey, HandCheckedLineThroughThreeMinima) {
    // Cycles 0, 1, 2 of P = 1.5 d, the middle minimum 0.001 d late, no errors: the slope is
    // (t2 - t0) / 2 = 1.5 exactly; the residuals are 0.001·(-1/3, 2/3, -1/3), so
    // χ² = 0.001²·2/3 over one degree of freedom and σ(P) = sqrt(χ²/Σ(n - n̄)²) = 0.001/√3.
    const std::vector<SearchMinimum> minima = {
        {100.0, kMinimumPrimary}, {101.501, kMinimumPrimary}, {103.0, kMinimumPrimary}};
    const RefinedPeriod r = RefinePeriodKey(minima, 1500, 0.5);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.trial, 1.5);  // 3 d over two cycles
    EXPECT_NEAR(r.period, 1.5, 1e-12);
    EXPECT_NEAR(r.error, 0.001 / std::sqrt(3.0), 1e-12);
}

TEST(RefinePeriodKey, UndefinedMinimumCountedAsTheSecondaryItIs) {
    // An untyped minimum 3.5 cycles after the first is a secondary: with it counted at 3.5 the
    // line goes through every minimum, so P is exact and its error (from the scatter) is 0.
    const std::vector<SearchMinimum> minima = {{100.0, kMinimumPrimary},
                                               {101.5, kMinimumPrimary},
                                               {103.0, kMinimumPrimary},
                                               {105.25, kMinimumUndefined}};
    const RefinedPeriod r = RefinePeriodKey(minima, 1500, 0.5);
    ASSERT_TRUE(r.ok);
    EXPECT_NEAR(r.coherence, 1.0, 1e-12);
    EXPECT_NEAR(r.period, 1.5, 1e-12);
    EXPECT_NEAR(r.error, 0.0, 1e-12);
    // A key without any trial period of the first and last minimum is not refined.
    EXPECT_FALSE(RefinePeriodKey(minima, 1700, 0.5).ok);
    EXPECT_FALSE(RefinePeriodKey({{100.0, kMinimumPrimary}}, 1500, 0.5).ok);
}

TEST(RefinePeriodKey, ErrorsWeightTheMinima) {
    // The late middle minimum has an error 10 times larger than the others: it barely pulls
    // the line, and χ²/dof < 1 leaves the formal errors unscaled.
    const std::vector<SearchMinimum> minima = {{100.0, kMinimumPrimary, 0.0001},
                                               {101.501, kMinimumPrimary, 0.001},
                                               {103.0, kMinimumPrimary, 0.0001}};
    const RefinedPeriod r = RefinePeriodKey(minima, 1500, 0.5);
    ASSERT_TRUE(r.ok);
    // Weights 1e8, 1e6, 1e8 at n = 0, 1, 2: the weighted mean cycle is 1, so the slope is
    // Σw(n-1)t / Σw(n-1)² = (1e8·3) / (2e8) = 1.5, σ² = 1/Σw(n-1)² = 5e-9.
    EXPECT_NEAR(r.period, 1.5, 1e-12);
    EXPECT_NEAR(r.error, std::sqrt(5e-9), 1e-15);
}

// Seven published WASP-12 b transit times, the first measurement of each of these orbits.
std::vector<SearchMinimum> Wasp12bTransits(std::set<int> orbits) {
    std::ifstream in(std::string(KURVALUX_TEST_DATA_DIR) +
                     "/real/wasp12b-published-transit-times.csv");
    std::vector<SearchMinimum> minima;
    std::string line;
    std::getline(in, line);  // header
    while (std::getline(in, line)) {
        std::istringstream cells(line);
        std::string system, orbit, time, error;
        std::getline(cells, system, ',');
        std::getline(cells, orbit, ',');
        std::getline(cells, time, ',');
        std::getline(cells, error, ',');
        if (orbits.erase(std::stoi(orbit)))
            minima.push_back({std::stod(time), kMinimumPrimary, std::stod(error)});
    }
    return minima;
}

// The period published from all 147 transits (linear ephemeris).
constexpr double kWasp12bPeriod = 1.091419108;

TEST(RefinePeriodKey, SevenWasp12bTransitsOverThreeYearsGiveThePublishedPeriod) {
    const std::vector<SearchMinimum> minima = Wasp12bTransits({-372, -22, 0, 307, 381, 606, 706});
    ASSERT_EQ(minima.size(), 7u);
    PeriodFromMinimaOptions options;
    options.limit = 0.0;
    options.threads = 1;
    std::vector<kurvalux_data::CPeriodListElem> found = SearchPeriodsFromMinima(minima, options);
    RefineFoundPeriods(minima, options.secondary_phase, found);
    const kurvalux_data::CPeriodListElem* key = nullptr;
    for (const auto& entry : found)
        if (entry.key == 1091) key = &entry;
    ASSERT_NE(key, nullptr);
    // Measured: the key's mean 1.091417865 d, refined 1.0914191184 ± 3.2e-7 d.
    ASSERT_GT(key->refined, 0);
    EXPECT_LT(key->refined_error, 4e-7);
    EXPECT_LT(std::fabs(key->refined - kWasp12bPeriod), key->refined_error)
        << key->refined << " ± " << key->refined_error;
    // The mean of the key's trial periods lies more than three of those errors away.
    EXPECT_GT(std::fabs(key->period - kWasp12bPeriod), 3 * key->refined_error) << key->period;
    EXPECT_EQ(key->Chosen(), key->refined);
}

TEST(RefinePeriodKey, SevenWasp12bTransitsOverTwelveYears) {
    // Over 4,000 cycles the key 1091 holds trial periods of many cycle counts; the best of them
    // folds the transits with R > 0.9999 and the fit lands 2.5 of its errors from the published
    // period (measured: 1.0914199041 ± 3.2e-7 d): the orbit of WASP-12 b shrinks, and seven
    // transits spread over the twelve years weigh its ends differently than all 147 do.
    const std::vector<SearchMinimum> minima =
        Wasp12bTransits({-2286, -1294, -952, -371, 0, 706, 1695});
    ASSERT_EQ(minima.size(), 7u);
    const RefinedPeriod r = RefinePeriodKey(minima, 1091, 0.5);
    ASSERT_TRUE(r.ok);
    EXPECT_GT(r.coherence, 0.9999);
    EXPECT_EQ(PeriodKey(r.trial), 1091);
    EXPECT_LT(r.error, 4e-7);
    EXPECT_LT(std::fabs(r.period - kWasp12bPeriod), 3 * r.error) << r.period << " ± " << r.error;
}

TEST(RefinePeriodKey, AKeyWithoutTrialPeriodsOfTheBaselineUsesTheOfferedValue) {
    // Minima at cycles 0, 1, 2 of 1.5 d: key 1499 holds no period of the first and last minimum
    // (3/2 = 1.5 falls into key 1500), so only the offered 1.4992 can count the cycles; the fit
    // then finds 1.5 from the minima.
    const std::vector<SearchMinimum> minima = {
        {100.0, kMinimumPrimary}, {101.5, kMinimumPrimary}, {103.0, kMinimumPrimary}};
    EXPECT_FALSE(RefinePeriodKey(minima, 1499, 0.5).ok);
    const RefinedPeriod r = RefinePeriodKey(minima, 1499, 0.5, 1.4992);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.trial, 1.4992);
    EXPECT_NEAR(r.period, 1.5, 1e-12);
}

TEST(PeriodListText, TheKeysPeriodAndBesideItTheRefinedOne) {
    kurvalux_data::CPeriodListElem entry{1.0911483, 1091, 0.08};
    EXPECT_EQ(PeriodListText(entry), "1.0911483");
    EXPECT_EQ(entry.Chosen(), 1.0911483);
    entry.refined = 1.09141912;
    entry.refined_error = 4.04e-7;
    EXPECT_EQ(PeriodListText(entry), "1.0911483  fit 1.0914191 \u00b14.0e-07");
    EXPECT_EQ(entry.Chosen(), 1.09141912);
    // Minima in exact whole cycles: the fit repeats the period and adds nothing to show.
    entry = {10.0, 10000, 1.0, 10.000000000000002, 1e-15};
    EXPECT_EQ(PeriodListText(entry), "10.0000000");
    entry.refined_error = 5e-8;
    EXPECT_EQ(PeriodListText(entry), "10.0000000  fit 10.0000000 \u00b15.0e-08");
}

}  // namespace
}  // namespace kurvalux_analysis
