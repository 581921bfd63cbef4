// Minimum timing: refusals, the normalised axis, fit switches, sigma 0, the synthetic min200
// curve against the reference implementation, the bootstrap's split over processors, its
// "Error > 1" rule, debug lines, progress and cancel; magnitudes from flux series.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <mutex>
#include <random>
#include <sstream>
#include <string>
#include <thread>

#include "analysis/fit_points.h"
#include "analysis/minimum_fit.h"
#include "analysis/model_kernels.h"
#include "case_names.h"
#include "platform/system.h"

namespace {

using namespace kurvalux_analysis;

MinimumFitOptions Min200() {
    MinimumFitOptions o;
    std::ifstream in(std::string(KURVALUX_TEST_DATA_DIR) + "/synthetic-lc/min200.txt");
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream words(line);
        std::string x, y, s;
        words >> x >> y >> s;
        o.times.push_back(std::strtod(x.c_str(), nullptr));
        o.values.push_back(std::strtod(y.c_str(), nullptr));
        o.errors.push_back(std::strtod(s.c_str(), nullptr));
    }
    o.t_start = 0.0;
    o.t_end = 1.0;
    o.start = {10.05, 0.5, 0.0, 0.7, 0.1, 1.0, 0.0};
    return o;
}

// Collects the debug channel for one test.
class DebugCapture {
public:
    DebugCapture() {
        kurvalux_platform::SetDebugSink([this](std::string_view text) {
            std::lock_guard<std::mutex> lock(mutex_);
            text_.append(text);
        });
    }
    ~DebugCapture() { kurvalux_platform::SetDebugSink(nullptr); }
    std::string Text() {
        std::lock_guard<std::mutex> lock(mutex_);
        return text_;
    }

private:
    std::mutex mutex_;
    std::string text_;
};

TEST(MinimumFit, Min200AgreesWithTheReferenceImplementation) {
    const MinimumFitResult r = FitMinimum(Min200());
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.fit.niter, 7);
    EXPECT_EQ(r.fit.nfev, 43);
    EXPECT_EQ(r.points, 200);
    EXPECT_NEAR(r.fit.orignorm, 74348.320174730485, 1e-9);
    EXPECT_NEAR(r.fit.bestnorm, 198.25678395264757, 1e-9);
    // The reference's parameters (cmpfit 1.4 with the C library's functions); this model's own
    // elementary functions move the stopping point by a few parts in 10^9.
    const SingleMinimumParameters ref = {9.9997058160909358,
                                         0.520001739266999,
                                         0.10153848445395847,
                                         0.79895604107001172,
                                         0.07969612286332084,
                                         1.2152850679890592,
                                         0.0};
    for (size_t k = 0; k < ref.size(); ++k) EXPECT_NEAR(r.normalised[k], ref[k], 1e-7) << k;
    EXPECT_EQ(r.normalised[kMinCorrection], 0.0);          // fixed by default
    EXPECT_EQ(r.time_of_minimum, r.normalised[kMinTime]);  // window [0, 1]
}

TEST(MinimumFit, KeptPartsChangeNothingInTheFit) {
    kurvalux_analysis::detail::SetPartialEvaluationEnabled(false);
    const MinimumFitResult full = FitMinimum(Min200());
    kurvalux_analysis::detail::SetPartialEvaluationEnabled(true);
    const MinimumFitResult kept = FitMinimum(Min200());
    EXPECT_EQ(full.normalised, kept.normalised);
    EXPECT_EQ(full.fit.bestnorm, kept.fit.bestnorm);
    EXPECT_EQ(full.fit.nfev, kept.fit.nfev);
}

TEST(MinimumFit, WindowInJulianDatesMapsOntoTheUnitInterval) {
    // The same points on a Julian-date axis: t = 2450000 + 0.25 x.
    MinimumFitOptions unit = Min200();
    MinimumFitOptions jd = unit;
    for (double& t : jd.times) t = 2450000.0 + 0.25 * t;
    jd.t_start = 2450000.0;
    jd.t_end = 2450000.25;
    jd.start[kMinTime] = 2450000.0 + 0.25 * 0.5;
    const MinimumFitResult a = FitMinimum(unit), b = FitMinimum(jd);
    ASSERT_TRUE(a.ok && b.ok);
    for (size_t k = 0; k < kSingleMinimumParameterCount; ++k)
        EXPECT_NEAR(b.normalised[k], a.normalised[k], 1e-7) << k;
    EXPECT_NEAR(b.time_of_minimum, 2450000.0 + 0.25 * b.normalised[kMinTime], 1e-9);
    EXPECT_EQ(b.shown[kMinTime], b.time_of_minimum);
    EXPECT_EQ(b.shown[kMinWidth], b.normalised[kMinWidth]);
}

TEST(MinimumFit, FixedSwitchesHoldValuesButTheTimeIsAlwaysFree) {
    MinimumFitOptions o = Min200();
    o.free = {false, false, false, true, false, false, false};
    const MinimumFitResult r = FitMinimum(o);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.normalised[kMinBase], 10.05);
    EXPECT_EQ(r.normalised[kMinTrend], 0.0);
    EXPECT_EQ(r.normalised[kMinWidth], 0.1);
    EXPECT_EQ(r.normalised[kMinShape], 1.0);
    EXPECT_NE(r.normalised[kMinTime], 0.5);
    EXPECT_EQ(r.fit.nfree, 2);
}

TEST(MinimumFit, ZeroSigmaWeighsAsOne) {
    MinimumFitOptions zero = Min200(), one = Min200();
    for (double& s : zero.errors) s = 0.0;
    for (double& s : one.errors) s = 1.0;
    const MinimumFitResult a = FitMinimum(zero), b = FitMinimum(one);
    ASSERT_TRUE(a.ok);
    EXPECT_EQ(a.normalised, b.normalised);
    EXPECT_EQ(a.fit.bestnorm, b.fit.bestnorm);
}

struct RefusalCase {
    const char* name;
    int points_inside;  // of a 50-point series
    bool fitted;
    bool bootstrap;
    std::string title;
    std::vector<std::string> lines;
};

// The row as the test list shows it.
void PrintTo(const RefusalCase& c, std::ostream* os) {
    *os << c.name;
}

class RefusalTable : public testing::TestWithParam<RefusalCase> {};

TEST_P(RefusalTable, ExactMessage) {
    const RefusalCase& t = GetParam();
    MinimumFitOptions o;
    for (int i = 0; i < 50; ++i) {
        o.times.push_back(100.0 + i * 0.01);
        o.values.push_back(10.0 + 0.5 * std::exp(-std::pow((i - 25) / 5.0, 2)));
        o.errors.push_back(0.01);
    }
    o.t_start = 100.2;
    o.t_end = 100.2 + (t.points_inside - 0.5) * 0.01;
    o.start = {10.0, 100.25, 0.0, 0.5, 0.1, 1.0, 0.0};
    EXPECT_EQ(o.CountInWindow(), t.points_inside);
    FitMessage message;
    if (t.bootstrap) {
        BootstrapOptions b;
        b.fit = o;
        b.fitted.ok = t.fitted;
        b.processors = 1;
        message = EstimateMinimumError(b).message;
    } else {
        const MinimumFitResult r = FitMinimum(o);
        EXPECT_FALSE(r.ok);
        message = r.message;
    }
    EXPECT_EQ(message.title, t.title) << t.name;
    EXPECT_EQ(message.lines, t.lines) << t.name;
}

INSTANTIATE_TEST_SUITE_P(
    MinimumFit, RefusalTable,
    testing::Values(
        RefusalCase{"fit with 6 points in the window",
                    6,
                    false,
                    false,
                    "Cannot perform minimum fit",
                    {"At last 7 points needed for fit.", "Series contains too little points."}},
        RefusalCase{"error estimate without a fit",
                    20,
                    false,
                    true,
                    "Cannot Estimate Error",
                    {"Minimum must be properly fitted", "prior to error estimation."}},
        RefusalCase{"error estimate with 6 points in the window",
                    6,
                    true,
                    true,
                    "Cannot Estimate Error",
                    {"At last 7 points needed for fit.", "Series contains too little points."}}),
    RowDescription());

TEST(MinimumFit, FailedFitReportsTheFitterText) {
    MinimumFitOptions o = Min200();
    o.start[kMinWidth] = 0.7;  // above the width limit 0.6
    const MinimumFitResult r = FitMinimum(o);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.status, -21);
    EXPECT_EQ(r.message.title, "Minimum fitting failed");
    EXPECT_EQ(r.message.lines,
              std::vector<std::string>{"Initial values inconsistent with constraints"});
    o = Min200();
    o.start[kMinTime] = 1.4;  // a time of minimum more than a third of the window outside it
    EXPECT_EQ(FitMinimum(o).status, -21);
}

TEST(MinimumFit, EstimatedStartFindsTheMinimum) {
    const MinimumFitOptions o = Min200();
    const SingleMinimumParameters start = EstimateMinimumStart(o);
    // The curve has a trend of 0.1 per window: its brightest level (at x = 0) is 9.948.
    EXPECT_NEAR(start[kMinTime], 0.52, 0.02);
    EXPECT_NEAR(start[kMinBase], 9.948, 0.01);
    EXPECT_NEAR(start[kMinAmplitude], 10.8 - 9.948, 0.03);
    EXPECT_NEAR(start[kMinWidth], 0.08, 0.04);
    MinimumFitOptions from_estimate = o;
    from_estimate.start = start;
    const MinimumFitResult r = FitMinimum(from_estimate);
    ASSERT_TRUE(r.ok);
    EXPECT_NEAR(r.time_of_minimum, 0.520001739266999, 1e-7);
}

TEST(Bootstrap, RoundsPerWorker) {
    const std::vector<std::pair<unsigned, int>> table = {{0, 1000}, {1, 1000}, {2, 500}, {3, 334},
                                                         {4, 250},  {7, 143},  {999, 2}, {1000, 1}};
    for (const auto& [processors, rounds] : table)
        EXPECT_EQ(BootstrapRoundsPerWorker(1000, processors), rounds) << processors;
}

BootstrapOptions FittedMin200(unsigned processors, uint64_t seed) {
    BootstrapOptions b;
    b.fit = Min200();
    b.fitted = FitMinimum(b.fit);
    b.processors = processors;
    b.seed = seed;
    return b;
}

TEST(Bootstrap, ThreeProcessorsRun334RoundsEach) {
    BootstrapOptions b = FittedMin200(3, 11);
    b.total_rounds = 1000;
    const BootstrapResult r = EstimateMinimumError(b);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.workers, 3u);
    EXPECT_EQ(r.rounds_per_worker, 334);
    EXPECT_EQ(r.rounds_run, 1002);
    EXPECT_EQ(r.times.size(), 1002u);  // every resampled fit of this clean curve succeeds
    // The spread of the time of minimum matches the fit's own 1-sigma error (1.23e-4 from
    // the covariance of the reference implementation) within sampling scatter.
    EXPECT_GT(r.error, 0.8e-4);
    EXPECT_LT(r.error, 1.6e-4);
    EXPECT_TRUE(r.has_error);
}

TEST(Bootstrap, ProcessorCountFromStartUpAndOneProcessorInTheCallingThread) {
    kurvalux_platform::SetProcessorCount(1);
    BootstrapOptions b = FittedMin200(0, 5);
    b.total_rounds = 40;
    std::thread::id seen;
    int calls = 0;
    b.progress = [&](int done, int total) {
        seen = std::this_thread::get_id();
        ++calls;
        EXPECT_EQ(total, 40);
        EXPECT_EQ(done, calls);  // one call per round
        return true;
    };
    const BootstrapResult r = EstimateMinimumError(b);
    kurvalux_platform::SetProcessorCount(0);
    EXPECT_EQ(r.workers, 1u);
    EXPECT_EQ(r.rounds_run, 40);
    EXPECT_EQ(calls, 40);
    EXPECT_EQ(seen, std::this_thread::get_id());
}

TEST(Bootstrap, SeededRunsRepeat) {
    BootstrapOptions b = FittedMin200(2, 42);
    b.total_rounds = 60;
    BootstrapResult first = EstimateMinimumError(b), second = EstimateMinimumError(b);
    ASSERT_TRUE(first.ok && second.ok);
    // The list is filled by two threads in any order; the set of times is the same.
    std::sort(first.times.begin(), first.times.end());
    std::sort(second.times.begin(), second.times.end());
    EXPECT_EQ(first.times, second.times);
    b.seed = 43;
    BootstrapResult other = EstimateMinimumError(b);
    std::sort(other.times.begin(), other.times.end());
    EXPECT_NE(first.times, other.times);
}

TEST(Bootstrap, CancelStopsTheWorkers) {
    BootstrapOptions b = FittedMin200(2, 3);
    b.total_rounds = 100000;
    b.progress = [](int, int) { return false; };
    const BootstrapResult r = EstimateMinimumError(b);
    EXPECT_TRUE(r.cancelled);
    EXPECT_FALSE(r.ok);
    EXPECT_LT(r.rounds_run, 100000);
    EXPECT_TRUE(r.message.empty());
}

TEST(Bootstrap, DebugOutputAndTheErrorAboveOneDayRule) {
    // A flat noisy series over 40 days with a shallow dip: resampled fits put the minimum
    // anywhere, so the times spread over days.
    BootstrapOptions b;
    std::mt19937_64 random(9);
    std::normal_distribution<double> noise(0.0, 0.05);
    for (int i = 0; i < 80; ++i) {
        b.fit.times.push_back(2450000.0 + i * 0.5);
        b.fit.values.push_back(10.0 + noise(random) + (i == 40 ? 0.06 : 0.0));
        b.fit.errors.push_back(0.05);
    }
    b.fit.t_start = 2450000.0;
    b.fit.t_end = 2450039.5;
    b.fit.start = {10.0, 2450020.0, 0.0, 0.05, 0.02, 1.0, 0.0};
    b.fitted = FitMinimum(b.fit);
    ASSERT_TRUE(b.fitted.ok);
    b.processors = 2;
    b.seed = 77;
    b.total_rounds = 200;
    DebugCapture capture;
    const BootstrapResult r = EstimateMinimumError(b);
    ASSERT_TRUE(r.ok);
    EXPECT_GE(r.error, 1.0);
    EXPECT_FALSE(r.has_error);
    const std::string text = capture.Text();
    ASSERT_EQ(text.rfind("Error > 1, list of Times\r\n", 0), 0u) << text.substr(0, 80);
    // One line per collected time, then the elapsed time.
    size_t lines = 0;
    for (size_t pos = 0; (pos = text.find("\r\n", pos)) != std::string::npos; pos += 2) ++lines;
    EXPECT_EQ(lines, r.times.size() + 2);
    const size_t timing = text.find("Bootstrap time =");
    ASSERT_NE(timing, std::string::npos);
    EXPECT_EQ(text.substr(text.size() - 4), " s\r\n");

    // A tight minimum: only the timing line.
    DebugCapture quiet;
    BootstrapOptions tight = FittedMin200(2, 1);
    tight.total_rounds = 20;
    ASSERT_TRUE(EstimateMinimumError(tight).has_error);
    EXPECT_EQ(quiet.Text().rfind("Bootstrap time =", 0), 0u);
}

TEST(FitPoints, FluxSeriesBecomeMagnitudes) {
    kurvalux_data::CSeriesTreeElem series;
    series.times = {1.0, 2.0, 3.0, 4.0};
    series.values = {0.5, 0.05, 0.0, -1.0};
    series.errors = {0.01, 0.001, 0.01, 0.01};
    series.offset = 2.0;  // a flux factor
    const SeriesPoints flux = MagnitudePoints(series, true);
    ASSERT_EQ(flux.Count(), 2u);  // no magnitude for fluxes of 0 and below
    EXPECT_EQ(flux.times, (std::vector<double>{1.0, 2.0}));
    EXPECT_EQ(flux.values[0], 0.0);  // -2.5 log10(0.5 * 2)
    EXPECT_NEAR(flux.values[1], 2.5, 1e-15);
    EXPECT_NEAR(flux.errors[0], 0.021714724095162588, 1e-17);  // 1.0857 * 0.02 / 1
    const SeriesPoints mags = MagnitudePoints(series, false);
    ASSERT_EQ(mags.Count(), 4u);
    EXPECT_EQ(mags.values[0], 2.5);  // value plus offset
    EXPECT_EQ(mags.errors[3], 0.01);
}

}  // namespace
