// Fits that find their minimum: the half-depth offset of the profile, the start values
// estimated from the points, the widened restarts after a collapsed width, a generated set of
// minima and the 19 WASP-12 b transits of TESS Sector 43.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "analysis/minimum_fit.h"
#include "analysis/model.h"
#include "analysis/synthetic_minima.h"
#include "analysis/wasp12b_transits.h"

namespace {

using namespace kurvalux_analysis;

TEST(HalfDepthOffset, TheModelIsHalfDeepThere) {
    // acosh(1 + ln 2) for shape 1.
    EXPECT_NEAR(HalfDepthOffset(1.0), 1.1182309, 1e-7);
    for (double shape : {0.5, 1.0, 2.0, 4.0, 10.0}) {
        const double width = 0.05, centre = 0.3;
        const CSingleMinimumModel model({0.0, centre, 0.0, 1.0, width, shape, 0.0});
        const double offset = HalfDepthOffset(shape) * width;
        EXPECT_NEAR(model.Evaluate(centre + offset), 0.5, 1e-12) << shape;
        EXPECT_NEAR(model.Evaluate(centre - offset), 0.5, 1e-12) << shape;
    }
    // A flatter bottom is half deep further out.
    EXPECT_LT(HalfDepthOffset(1.0), HalfDepthOffset(2.0));
}

// The estimated start width against the width of shape 1 that is half deep where the true
// profile is, over generated minima with both branches seen.
TEST(EstimateMinimumStart, WidthFromTheHalfDepthCrossings) {
    std::vector<double> ratios;
    for (size_t i = 0; i < 300; ++i) {
        const SyntheticMinimum s = GenerateSyntheticMinimum(SyntheticKind::kWhite, 7, i);
        if (s.coverage != 0) continue;
        const SingleMinimumParameters start = EstimateMinimumStart(s.options);
        const double span = s.options.t_end - s.options.t_start;
        const double wanted = s.width * HalfDepthOffset(s.shape) / HalfDepthOffset(1.0);
        ratios.push_back(start[kMinWidth] * span / wanted);
        EXPECT_NEAR(start[kMinTime], s.true_time, 0.25 * s.width) << i;
    }
    ASSERT_GT(ratios.size(), 100u);
    std::sort(ratios.begin(), ratios.end());
    EXPECT_NEAR(ratios[ratios.size() / 2], 1.0, 0.05);
    EXPECT_GT(ratios.front(), 0.8);
    EXPECT_LT(ratios.back(), 1.3);
}

TEST(EstimateMinimumStart, OneBranchGivesItsOwnHalfWidth) {
    // A symmetric dip of shape 1 and width 0.1 seen up to its centre only.
    MinimumFitOptions o;
    const CSingleMinimumModel model({10.0, 1.0, 0.0, 0.5, 0.1, 1.0, 0.0});
    for (int i = 0; i <= 100; ++i) {
        const double t = 0.5 + 0.005 * i;
        o.times.push_back(t);
        o.values.push_back(model.Evaluate(t));
        o.errors.push_back(0.01);
    }
    o.t_start = 0.5;
    o.t_end = 1.0;
    const SingleMinimumParameters start = EstimateMinimumStart(o);
    EXPECT_NEAR(start[kMinTime], 1.0, 1e-12);
    EXPECT_NEAR(start[kMinWidth] * 0.5, 0.1, 0.002);
    EXPECT_NEAR(start[kMinAmplitude], 0.5, 0.01);
}

// From any start width the E2265 transit reaches the same time; starts too narrow or too
// wide for it collapse the width and are rescued by the widened restarts.
TEST(FitMinimum, CollapsedWidthIsWidenedAndRefitted) {
    const std::vector<kurvalux_testdata::PublishedTransit> transits =
        kurvalux_testdata::Wasp12bSector43Transits(KURVALUX_TEST_DATA_DIR);
    auto e2265 = std::find_if(transits.begin(), transits.end(),
                              [](const auto& t) { return t.epoch == 2265; });
    ASSERT_NE(e2265, transits.end());
    MinimumFitOptions o = e2265->options;
    o.start = EstimateMinimumStart(o);
    const MinimumFitResult reference = FitMinimum(o);
    ASSERT_TRUE(reference.ok);
    EXPECT_EQ(reference.attempts, 1);
    int widened = 0;
    for (double width = 0.005; width < 0.4; width *= 1.25) {
        o.start[kMinWidth] = width;
        const MinimumFitResult r = FitMinimum(o);
        ASSERT_TRUE(r.ok) << width;
        EXPECT_GT(r.normalised[kMinWidth], 0.0) << width;
        EXPECT_NEAR(r.time_of_minimum, reference.time_of_minimum, 1e-7) << width;
        widened += r.attempts > 1;
    }
    EXPECT_GE(widened, 2);
    // A fixed width is the user's: no restart changes it.
    o.start[kMinWidth] = 0.0122;
    o.free[kMinWidth] = false;
    const MinimumFitResult fixed = FitMinimum(o);
    EXPECT_EQ(fixed.attempts, 1);
    EXPECT_EQ(fixed.normalised[kMinWidth], 0.0122);
}

TEST(FitMinimum, GeneratedMinimaAllSucceedFromTheEstimatedStart) {
    int one_sided = 0, gaps = 0;
    for (size_t i = 0; i < 200; ++i) {
        SyntheticMinimum s = GenerateSyntheticMinimum(SyntheticKind::kTiming, 2024, i);
        s.options.start = EstimateMinimumStart(s.options);
        const MinimumFitResult r = FitMinimum(s.options);
        ASSERT_TRUE(r.ok) << i << ": " << r.status;
        EXPECT_GT(r.normalised[kMinWidth], 0.0) << i;
        // A fit that succeeds has found the minimum, not a spike between points.
        EXPECT_LT(std::fabs(r.time_of_minimum - s.true_time), 2.5 * s.width) << i;
        one_sided += s.coverage == 2;
        gaps += s.coverage == 1;
    }
    // The set holds every kind of coverage.
    EXPECT_GT(one_sided, 40);
    EXPECT_GT(gaps, 40);
}

TEST(FitMinimum, Wasp12bSector43TransitsAtThePublishedTimes) {
    const std::vector<kurvalux_testdata::PublishedTransit> transits =
        kurvalux_testdata::Wasp12bSector43Transits(KURVALUX_TEST_DATA_DIR);
    std::vector<int> epochs;
    for (const auto& t : transits) epochs.push_back(t.epoch);
    EXPECT_EQ(epochs, (std::vector<int>{2258, 2259, 2260, 2261, 2262, 2263, 2264, 2265, 2266, 2270,
                                        2271, 2272, 2273, 2274, 2275, 2276, 2277, 2278, 2279}));
    for (const auto& transit : transits) {
        MinimumFitOptions o = transit.options;
        o.start = EstimateMinimumStart(o);
        const MinimumFitResult r = FitMinimum(o);
        ASSERT_TRUE(r.ok) << transit.epoch << ": " << r.status;
        EXPECT_GT(r.normalised[kMinWidth], 0.0) << transit.epoch;
        EXPECT_GE(r.points, 165) << transit.epoch;
        // Within twice the published error (0.00043-0.00053 d, 37-46 s).
        EXPECT_LT(std::fabs(r.time_of_minimum - transit.time), 2 * transit.error) << transit.epoch;
    }
}

TEST(SyntheticMinima, SeededCasesRepeatAndDoNotDependOnTheSetSize) {
    const std::vector<SyntheticMinimum> set = GenerateSyntheticMinima(SyntheticKind::kRed, 5, 3);
    const SyntheticMinimum alone = GenerateSyntheticMinimum(SyntheticKind::kRed, 5, 2);
    EXPECT_EQ(alone.options.values, set[2].options.values);
    EXPECT_EQ(alone.true_time, set[2].true_time);
    EXPECT_NE(set[1].options.values, set[2].options.values);
    for (SyntheticKind kind : {SyntheticKind::kTiming, SyntheticKind::kWhite, SyntheticKind::kRed,
                               SyntheticKind::kTrend})
        for (size_t i = 0; i < 50; ++i) {
            const SyntheticMinimum s = GenerateSyntheticMinimum(kind, 9, i);
            const size_t n = s.options.times.size();
            EXPECT_GE(n, 50u);
            EXPECT_LE(n, 400u);
            EXPECT_EQ(s.options.CountInWindow(), int(n));
            EXPECT_GE(s.depth, 0.1);
            EXPECT_LE(s.depth, 0.8);
            EXPECT_GE(s.noise, 0.002);
            EXPECT_LE(s.noise, 0.02);
            EXPECT_EQ(s.correlation > 0, kind == SyntheticKind::kRed);
        }
}

}  // namespace
