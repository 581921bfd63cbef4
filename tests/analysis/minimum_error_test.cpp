// The block bootstrap of the time of minimum: residuals left out block by block, the
// correlation time and block length, the refusals, workers, seeds and cancel, and its error
// against the case bootstrap on white and on correlated noise.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "analysis/block_residuals.h"
#include "analysis/minimum_fit.h"
#include "analysis/synthetic_minima.h"

namespace {

using namespace kurvalux_analysis;

// Least-squares straight line a + b x through (x, y) with unit weights.
std::pair<double, double> Line(const std::vector<double>& x, const std::vector<double>& y) {
    const double n = double(x.size());
    double sx = 0, sy = 0, sxx = 0, sxy = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        sx += x[i];
        sy += y[i];
        sxx += x[i] * x[i];
        sxy += x[i] * y[i];
    }
    const double b = (n * sxy - sx * sy) / (n * sxx - sx * sx);
    return {(sy - b * sx) / n, b};
}

// For a model linear in its parameters the leave-block-out residuals are those of the fit made
// without the block, evaluated at the block's points.
TEST(LeaveBlockOutResiduals, AreTheResidualsOfTheFitWithoutTheBlock) {
    std::mt19937_64 random(4);
    std::normal_distribution<double> noise(0.0, 0.3);
    std::vector<double> x, y, jacobian;
    for (int i = 0; i < 20; ++i) {
        x.push_back(0.1 * i);
        y.push_back(1.0 + 2.0 * x.back() + noise(random));
        jacobian.push_back(1.0);       // d model / d offset
        jacobian.push_back(x.back());  // d model / d slope
    }
    const auto [a, b] = Line(x, y);
    std::vector<double> residuals;
    for (size_t i = 0; i < x.size(); ++i) residuals.push_back(y[i] - (a + b * x[i]));
    for (size_t length : {1u, 3u, 7u}) {
        const std::vector<double> out = LeaveBlockOutResiduals(residuals, jacobian, 2, length);
        ASSERT_EQ(out.size(), 20u);
        for (size_t from = 0; from < 20; from += length) {
            const size_t to = std::min<size_t>(20, from + length);
            std::vector<double> xs, ys;
            for (size_t i = 0; i < 20; ++i)
                if (i < from || i >= to) {
                    xs.push_back(x[i]);
                    ys.push_back(y[i]);
                }
            const auto [a_rest, b_rest] = Line(xs, ys);
            for (size_t i = from; i < to; ++i)
                EXPECT_NEAR(out[i], y[i] - (a_rest + b_rest * x[i]), 1e-12) << length << " " << i;
        }
    }
    // A block holding all points but one leaves the line undetermined: plain residuals.
    EXPECT_EQ(LeaveBlockOutResiduals(residuals, jacobian, 2, 19)[0], residuals[0]);
}

TEST(BlockLength, FromTheIntegratedAutocorrelationTime) {
    std::mt19937_64 random(8);
    std::normal_distribution<double> normal(0.0, 1.0);
    std::vector<double> white, red;
    double r = 0;
    for (int i = 0; i < 20000; ++i) {
        white.push_back(normal(random));
        r = 0.8 * r + std::sqrt(1 - 0.64) * normal(random);
        red.push_back(r);
    }
    // (1 + a) / (1 - a) for AR(1): 1 and 9.
    EXPECT_NEAR(IntegratedAutocorrelationTime(white), 1.0, 0.05);
    EXPECT_NEAR(IntegratedAutocorrelationTime(red), 9.0, 0.6);
    EXPECT_EQ(BlockLengthFromResiduals(red),
              int(std::ceil(3 * IntegratedAutocorrelationTime(red))));
    const std::vector<std::pair<std::vector<double>, int>> table = {
        {{1, -1, 1, -1, 1, -1, 1, -1, 1, -1}, 3},  // anticorrelated: tau 1
        {std::vector<double>(12, 1.0), 3},         // constant: no correlation to measure
        {{1, 2, 3, 4, 5, 6}, 2},                   // a third of the points at most
        {{}, 1}};
    for (const auto& [values, length] : table) EXPECT_EQ(BlockLengthFromResiduals(values), length);
}

BootstrapOptions Fitted(SyntheticKind kind, uint64_t seed, size_t index) {
    SyntheticMinimum s = GenerateSyntheticMinimum(kind, seed, index);
    s.options.start = EstimateMinimumStart(s.options);
    BootstrapOptions b;
    b.fit = s.options;
    b.fitted = FitMinimum(s.options);
    b.processors = 2;
    b.seed = 100 + index;
    b.total_rounds = 200;
    return b;
}

double GeometricMean(const std::vector<double>& v) {
    double sum = 0;
    for (double x : v) sum += std::log(x);
    return std::exp(sum / double(v.size()));
}

// On white noise the two errors agree; on AR(1) noise the block bootstrap sees the correlated
// stretches that resampling single points scatters away. Minima seen completely (gaps can
// leave one branch, where the two differ for other reasons).
TEST(BlockBootstrap, LargerThanTheCaseBootstrapOnCorrelatedNoiseOnly) {
    for (SyntheticKind kind : {SyntheticKind::kWhite, SyntheticKind::kRed}) {
        std::vector<double> ratios;
        for (size_t i = 0; ratios.size() < 10; ++i) {
            if (GenerateSyntheticMinimum(kind, 31, i).coverage != 0) continue;
            const BootstrapOptions b = Fitted(kind, 31, i);
            ASSERT_TRUE(b.fitted.ok) << i;
            const BootstrapResult single = EstimateMinimumError(b);
            const BootstrapResult block = EstimateMinimumBlockError(b);
            ASSERT_TRUE(single.ok && block.ok) << i;
            EXPECT_GE(block.block_length, 3) << i;
            ratios.push_back(block.error / single.error);
        }
        std::sort(ratios.begin(), ratios.end());
        if (kind == SyntheticKind::kWhite) {
            EXPECT_NEAR(GeometricMean(ratios), 1.0, 0.15);
            EXPECT_GT(ratios.front(), 0.75);
            EXPECT_LT(ratios.back(), 1.35);
        } else {
            EXPECT_GT(GeometricMean(ratios), 2.0);
            EXPECT_GT(ratios.front(), 1.4);
        }
    }
}

TEST(BlockBootstrap, RefusesLikeTheCaseBootstrap) {
    BootstrapOptions b = Fitted(SyntheticKind::kWhite, 3, 0);
    b.fitted.ok = false;
    BootstrapResult r = EstimateMinimumBlockError(b);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.message.title, "Cannot Estimate Error");
    EXPECT_EQ(r.message.lines, (std::vector<std::string>{"Minimum must be properly fitted",
                                                         "prior to error estimation."}));
    b = Fitted(SyntheticKind::kWhite, 3, 0);
    b.fit.t_end = b.fit.t_start + 1e-9;
    r = EstimateMinimumBlockError(b);
    EXPECT_EQ(r.message.lines, (std::vector<std::string>{"At last 7 points needed for fit.",
                                                         "Series contains too little points."}));
}

TEST(BlockBootstrap, SeededWorkersRepeatAndTheBlockLengthCanBeGiven) {
    BootstrapOptions b = Fitted(SyntheticKind::kRed, 3, 1);
    b.total_rounds = 41;
    BootstrapResult first = EstimateMinimumBlockError(b), second = EstimateMinimumBlockError(b);
    ASSERT_TRUE(first.ok && second.ok);
    EXPECT_EQ(first.workers, 2u);
    EXPECT_EQ(first.rounds_per_worker, 21);
    EXPECT_EQ(first.rounds_run, 42);
    std::sort(first.times.begin(), first.times.end());
    std::sort(second.times.begin(), second.times.end());
    EXPECT_EQ(first.times, second.times);
    EXPECT_EQ(first.error, second.error);
    b.block_length = 5;
    const BootstrapResult given = EstimateMinimumBlockError(b);
    EXPECT_EQ(given.block_length, 5);
    EXPECT_NE(given.error, first.error);
}

TEST(BlockBootstrap, ProgressInTheCallingThreadAndCancel) {
    BootstrapOptions b = Fitted(SyntheticKind::kWhite, 3, 2);
    b.processors = 1;
    b.total_rounds = 30;
    int calls = 0;
    b.progress = [&](int done, int planned) {
        EXPECT_EQ(planned, 30);
        EXPECT_EQ(done, ++calls);
        return done < 10;  // cancel after the tenth round
    };
    const BootstrapResult r = EstimateMinimumBlockError(b);
    EXPECT_TRUE(r.cancelled);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.rounds_run, 10);
    EXPECT_TRUE(r.message.empty());
}

}  // namespace
