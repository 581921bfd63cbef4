// The frequency-analysis driver (work split, progress and end messages, cancel), the top-3
// rule, the number of steps and the command with its messages, doubling switch and current
// period.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <mutex>

#include "analysis/periods/frequency_analysis.h"
#include "periods/aov_data.h"

namespace kurvalux_analysis {
namespace {

using kurvalux_data::CLocalSeriesTreeElem;
using kurvalux_data::CObjectListElem;
using kurvalux_platform::kMsgFrequencyDone;
using kurvalux_platform::kMsgFrequencyProgress;

struct Posted {
    uint32_t message;
    intptr_t a, b;
};

class CRecordingPoster : public kurvalux_platform::CPoster {
public:
    void Post(uint32_t message, intptr_t a, intptr_t b) override {
        std::lock_guard lock(mutex_);
        posted_.push_back({message, a, b});
    }
    std::vector<Posted> Messages() {
        std::lock_guard lock(mutex_);
        return posted_;
    }

private:
    std::mutex mutex_;
    std::vector<Posted> posted_;
};

std::shared_ptr<const CAovPreparedData> SineData(double period, size_t n = 200) {
    std::vector<double> t, x, e;
    for (size_t i = 0; i < n; ++i) {
        const double time = 2459000.0 + 0.05 * i + 0.7 * (i / 40);
        t.push_back(time);
        x.push_back(11.0 + 0.2 * std::sin(6.283185307179586 * time / period) +
                    0.003 * static_cast<double>((i * 29) % 13));
        e.push_back(0.01);
    }
    return std::make_shared<const CAovPreparedData>(t.data(), x.data(), e.data(), n);
}

AovValue Response(double r) {
    AovValue v;
    v.response = r;
    return v;
}

TEST(TopThree, OnePassStrictlyGreaterTiesKeepTheLowerIndex) {
    const struct {
        std::vector<double> responses;
        std::vector<uint64_t> expected;
    } cases[] = {
        {{}, {}},
        {{0.5}, {0}},
        {{0, 0}, {0, 1}},
        {{1, 3, 3, 2}, {1, 2, 3}},
        {{5, 4, 3, 2, 1}, {0, 1, 2}},
        {{1, 2, 3, 4}, {3, 2, 1}},
        {{2, 9, 2, 9, 9, 1}, {1, 3, 4}},
        // One broad peak fills all three places (no peak separation).
        {{1, 7, 8, 9, 8.5, 2, 8.9}, {3, 6, 4}},
    };
    for (const auto& c : cases) {
        std::vector<AovValue> values;
        for (double r : c.responses) values.push_back(Response(r));
        EXPECT_EQ(TopThree(values), c.expected);
    }
}

TEST(FrequencyAnalysisSteps, TruncatesTheSpanOverTheResolution) {
    const struct {
        double pmin, pmax, resolution;
        int64_t steps;
    } cases[] = {{0.1, 1.0, 1e-5, 90000}, {0.3, 0.4, 0.001, 100}, {1.0, 1.0, 0.1, 0},
                 {1.0, 1.05, 0.1, 0},     {2.0, 1.0, 0.1, -10},   {0.1, 1.0, 0.0, -1},
                 {0.1, 1.0, -0.5, -1}};
    for (const auto& c : cases) {
        FrequencyAnalysisOptions o;
        o.min_period = c.pmin;
        o.max_period = c.pmax;
        o.resolution = c.resolution;
        EXPECT_EQ(FrequencyAnalysisSteps(o), c.steps) << c.pmin << " " << c.pmax;
    }
}

TEST(CFrequencyAnalysis, AnyWorkerCountGivesTheSingleThreadPeriodogram) {
    const auto data = SineData(0.4321);
    const PeriodGrid grid{0.2, 0.0007, 1000};
    std::vector<double> periods;
    for (uint64_t k = 0; k < grid.Count(); ++k) periods.push_back(grid.Period(k));
    const std::vector<AovValue> expected = EvaluateAov(*data, 1, periods);
    for (unsigned workers : {1u, 2u, 3u, 7u}) {
        CFrequencyAnalysis analysis(data, grid, 1, workers, AovIsa::Auto);
        EXPECT_EQ(analysis.WorkerCount(), workers);
        ASSERT_TRUE(analysis.Start(nullptr));
        analysis.Join();
        ASSERT_EQ(analysis.Values().size(), expected.size());
        EXPECT_EQ(analysis.Done(), grid.Count());
        for (size_t k = 0; k < expected.size(); ++k) {
            EXPECT_EQ(analysis.Values()[k].response, expected[k].response) << k;
            EXPECT_EQ(analysis.Values()[k].theta, expected[k].theta) << k;
        }
    }
}

TEST(CFrequencyAnalysis, UnacknowledgedProgressIsPostedOncePerWorker) {
    const auto data = SineData(0.4321);
    const PeriodGrid grid{0.2, 0.0001, 2000};  // 2001 periods
    for (unsigned workers : {1u, 3u, 4u}) {
        CRecordingPoster poster;
        CFrequencyAnalysis analysis(data, grid, 1, workers, AovIsa::Auto);
        ASSERT_TRUE(analysis.Start(&poster));
        analysis.Join();
        std::map<intptr_t, int> progress, done;
        std::map<intptr_t, size_t> last_index;
        const std::vector<Posted> posted = poster.Messages();
        for (size_t i = 0; i < posted.size(); ++i) {
            const Posted& m = posted[i];
            ASSERT_GE(m.a, 0);
            ASSERT_LT(m.a, static_cast<intptr_t>(workers));
            if (m.message == kMsgFrequencyProgress) {
                ++progress[m.a];
                EXPECT_GE(m.b, 1);
                EXPECT_LE(m.b, static_cast<intptr_t>(grid.Count() / workers + 1));
            } else {
                ASSERT_EQ(m.message, kMsgFrequencyDone);
                ++done[m.a];
            }
            last_index[m.a] = i;
        }
        for (unsigned id = 0; id < workers; ++id) {
            EXPECT_EQ(progress[id], 1) << workers;  // the byte was never cleared
            EXPECT_EQ(done[id], 1) << workers;
            EXPECT_EQ(posted[last_index[id]].message, kMsgFrequencyDone);
        }
    }
}

TEST(RunFrequencyAnalysis, ReportsProgressAndPassesMessagesOn) {
    const auto data = SineData(0.4321);
    const PeriodGrid grid{0.2, 0.0001, 3000};
    CRecordingPoster observer;
    std::vector<uint64_t> reported;
    FrequencyRunResult run = RunFrequencyAnalysis(data, grid, 1, 2, AovIsa::Auto, &observer,
                                                  [&](uint64_t done, uint64_t total) {
                                                      EXPECT_EQ(total, grid.Count());
                                                      reported.push_back(done);
                                                      return true;
                                                  });
    EXPECT_TRUE(run.started);
    EXPECT_FALSE(run.cancelled);
    EXPECT_EQ(run.values.size(), grid.Count());
    ASSERT_FALSE(reported.empty());
    EXPECT_TRUE(std::is_sorted(reported.begin(), reported.end()));
    EXPECT_LE(reported.back(), grid.Count());
    int ends = 0, progress = 0;
    for (const Posted& m : observer.Messages()) {
        ends += m.message == kMsgFrequencyDone;
        progress += m.message == kMsgFrequencyProgress;
    }
    EXPECT_EQ(ends, 2);
    EXPECT_EQ(progress, static_cast<int>(reported.size()));
}

TEST(RunFrequencyAnalysis, CancelStopsTheWorkersAndReturnsNothing) {
    const auto data = SineData(0.4321, 2000);
    const PeriodGrid grid{0.1, 1e-6, 2'000'000};
    FrequencyRunResult run = RunFrequencyAnalysis(data, grid, 1, 2, AovIsa::Auto, nullptr,
                                                  [](uint64_t, uint64_t) { return false; });
    EXPECT_TRUE(run.started);
    EXPECT_TRUE(run.cancelled);
    EXPECT_TRUE(run.values.empty());
}

// ---- the command ----

std::unique_ptr<CLocalSeriesTreeElem> Series(const std::vector<double>& t,
                                             const std::vector<double>& x, double offset = 0) {
    auto s = std::make_unique<CLocalSeriesTreeElem>();
    s->times = t;
    s->values = x;
    s->errors.assign(t.size(), 0.01);
    s->offset = offset;
    return s;
}

// A sine of period 0.35 d split over two series, the second with a magnitude offset that
// brings it onto the first; a third, disabled series is noise that must be left out.
void FillSineObject(CObjectListElem& object) {
    std::vector<double> t1, x1, t2, x2, t3, x3;
    for (int i = 0; i < 150; ++i) {
        const double t = 2459000.0 + 0.031 * i + (i >= 75 ? 3.2 : 0);
        const double x = 12.0 + 0.3 * std::sin(6.283185307179586 * t / 0.35);
        (i % 2 ? t2 : t1).push_back(t);
        (i % 2 ? x2 : x1).push_back(i % 2 ? x - 0.5 : x);
        t3.push_back(t + 0.0101);
        x3.push_back(13.0 + ((i * 7919) % 100) * 0.01);
    }
    object.series.push_back(Series(t1, x1));
    object.series.push_back(Series(t2, x2, 0.5));
    auto disabled = Series(t3, x3);
    disabled->enabled = false;
    object.series.push_back(std::move(disabled));
}

TEST(CollectObjectPoints, EnabledSeriesWithTheirOffsets) {
    CObjectListElem object;
    FillSineObject(object);
    const ObjectPoints points = CollectObjectPoints(object);
    ASSERT_EQ(points.times.size(), 150u);
    EXPECT_EQ(points.times[75], object.series[1]->times[0]);
    EXPECT_EQ(points.values[75], object.series[1]->values[0] + 0.5);
}

TEST(RunFrequencyAnalysisCommand, AppendsTheThreeBestPeriodsToTheList) {
    // The list held 5 d before; the three best periods go after it, best first. Doubling
    // applies to every period then in the list, and the current period goes to the head.
    const struct {
        bool doubled;
        double current;
        std::vector<int64_t> keys;
    } cases[] = {
        {false, 0.0, {5000, 350, 349, 351}},
        {true, 0.0, {10000, 700, 698, 702}},
        {true, 1.2345, {1235, 10000, 700, 698, 702}},
    };
    for (const auto& c : cases) {
        CObjectListElem object;
        FillSineObject(object);
        object.period = c.current;
        object.periods = {{5.0, 5000, 1.0}};
        FrequencyAnalysisOptions options;
        options.min_period = 0.3;
        options.max_period = 0.4;
        options.resolution = 0.001;
        options.double_periods = c.doubled;
        const FrequencyCommandResult result =
            RunFrequencyAnalysisCommand(object, options, nullptr, {});
        ASSERT_TRUE(result.found);
        EXPECT_TRUE(result.changed);
        EXPECT_EQ(result.values.size(), 101u);
        ASSERT_EQ(result.chosen.size(), 3u);
        EXPECT_EQ(result.chosen[0], 50u);
        // The sampling makes the left neighbour of the peak the higher one.
        EXPECT_GT(result.values[49].response, result.values[51].response);
        std::vector<int64_t> keys;
        for (const auto& p : object.periods) keys.push_back(p.key);
        EXPECT_EQ(keys, c.keys);
        const size_t best = c.current != 0 ? 2 : 1;
        EXPECT_NEAR(object.periods[best].period, c.doubled ? 0.7 : 0.35, 1e-12);
        EXPECT_EQ(object.periods[best].coherence, result.values[50].response);
        // What the run offered, best first, as it went into the list.
        ASSERT_EQ(result.offered.size(), 3u);
        for (size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(result.offered[i].period, object.periods[best + i].period) << i;
            EXPECT_EQ(result.offered[i].key, object.periods[best + i].key) << i;
        }
        ASSERT_EQ(result.messages.size(), 1u);
        EXPECT_EQ(result.messages[0].title, "Possible periods were found");
        EXPECT_EQ(result.messages[0].lines,
                  (std::vector<std::string>{"Three periods with highest response",
                                            "were added as items of period combo-box \"P:\""}));
    }
}

TEST(RunFrequencyAnalysisCommand, ASecondRunAddsToTheFirst) {
    CObjectListElem object;
    FillSineObject(object);
    FrequencyAnalysisOptions options;
    options.min_period = 0.3;
    options.max_period = 0.4;
    options.resolution = 0.001;
    ASSERT_TRUE(RunFrequencyAnalysisCommand(object, options, nullptr, {}).found);
    options.min_period = 0.34;
    // 0.005 / 0.001 falls just short of 5 in binary: four steps, 0.340 .. 0.344. The peak lies
    // above, so the grid's upper end responds best.
    options.max_period = 0.345;
    ASSERT_TRUE(RunFrequencyAnalysisCommand(object, options, nullptr, {}).found);
    std::vector<int64_t> keys;
    for (const auto& p : object.periods) keys.push_back(p.key);
    EXPECT_EQ(keys, (std::vector<int64_t>{350, 349, 351, 344, 343, 342}));
}

TEST(RunFrequencyAnalysisCommand, FailuresLeaveThePeriodListAlone) {
    const struct {
        const char* name;
        double pmin, pmax, resolution;
        bool cancel;
        const char* line;
    } cases[] = {
        {"Pmax equal to Pmin", 0.5, 0.5, 0.001, false, "Frequency analysis failed"},
        {"Pmax below Pmin", 0.5, 0.4, 0.001, false, "Frequency analysis failed"},
        {"cancelled", 0.1, 1.0, 1e-6, true, "Frequency analysis failed"},
        {"zero resolution", 0.1, 1.0, 0, false, "Resolution must be a positive number"},
        {"zero minimal period", 0, 1.0, 0.01, false, "Minimal period must be a positive number"},
        {"huge grid", 0.1, 1000.0, 1e-6, false, "Too many steps (999900000); raise Resolution"},
    };
    for (const auto& c : cases) {
        CObjectListElem object;
        FillSineObject(object);
        object.periods = {{5.0, 5000, 1.0}};
        FrequencyAnalysisOptions options;
        options.min_period = c.pmin;
        options.max_period = c.pmax;
        options.resolution = c.resolution;
        const FrequencyCommandResult result = RunFrequencyAnalysisCommand(
            object, options, nullptr, [&](uint64_t, uint64_t) { return !c.cancel; });
        EXPECT_FALSE(result.found) << c.name;
        EXPECT_FALSE(result.changed) << c.name;
        EXPECT_EQ(result.cancelled, c.cancel) << c.name;
        ASSERT_EQ(result.messages.size(), 1u) << c.name;
        EXPECT_EQ(result.messages[0].title, "Cannot find period") << c.name;
        EXPECT_EQ(result.messages[0].lines, std::vector<std::string>{c.line}) << c.name;
        ASSERT_EQ(object.periods.size(), 1u) << c.name;
        EXPECT_EQ(object.periods[0].key, 5000) << c.name;
    }
}

TEST(RunFrequencyAnalysisCommand, TheReferenceGridPicksTheMainPeakAndItsNeighbours) {
    const kurvalux_test::PointTable points = kurvalux_test::ReadMhaovDataset();
    CObjectListElem object;
    object.series.push_back(Series(points.times, points.values));
    FrequencyAnalysisOptions options;
    options.min_period = 0.1;
    options.max_period = 1.0;
    options.resolution = 1e-5;
    const FrequencyCommandResult result = RunFrequencyAnalysisCommand(object, options, nullptr, {});
    EXPECT_EQ(result.grid.steps, 90000u);
    EXPECT_EQ(result.chosen, (std::vector<uint64_t>{8655, 8654, 8656}));
    // ref_nh1_top3.txt, response c0sq+c1sq (unit weights; ours are 1/0.01^2).
    const double reference[] = {3.590059081757e+01, 3.588990340791e+01, 3.587157675184e+01};
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(object.periods[i].coherence / 1e4, reference[i], 1e-9 * reference[i]);
    EXPECT_NEAR(result.values[8655].theta, 3.204656320434e+03, 1e-9 * 3.2e3);
}

}  // namespace
}  // namespace kurvalux_analysis
