// Period from minima instances: the coherence, the search against a literal (sorted-list)
// rendering of the rule, the result rule, the command's gathering and messages, and the real
// minima of NSVS 896797.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <list>
#include <sstream>

#include "analysis/periods/period_from_minima.h"

namespace kurvalux_analysis {
namespace {

using kurvalux_data::CLocalSeriesTreeElem;
using kurvalux_data::CObjectListElem;
using kurvalux_data::CPeriodListElem;
using kurvalux_data::kMinimumPrimary;
using kurvalux_data::kMinimumSecondary;
using kurvalux_data::kMinimumUndefined;
using kurvalux_platform::CRecordingMessageBoxSink;
using kurvalux_platform::MessageBoxRecord;

constexpr uint32_t P = kMinimumPrimary, S = kMinimumSecondary, U = kMinimumUndefined;
const double kPi = std::acos(-1.0);

std::vector<SearchMinimum> Minima(std::vector<double> times, std::vector<uint32_t> types) {
    std::vector<SearchMinimum> minima;
    for (size_t i = 0; i < times.size(); ++i) minima.push_back({times[i], types[i]});
    return minima;
}

// ---- coherence ----

struct CoherenceCase {
    const char* name;
    std::vector<double> times;
    std::vector<uint8_t> flags;
    double secondary_phase;
    double period;
    double expected;
};

TEST(MinimaCoherence, MatchesTheGeometryOfThePhaseVectors) {
    const CoherenceCase cases[] = {
        // Phases 0, 0.25, 0: |1 + i + 1| / 3.
        {"quarter cycle off", {0, 1.25, 2.0}, {1, 1, 1}, 0.5, 1.0, std::sqrt(5.0) / 3},
        {"secondary at half phase", {0, 0.5, 1.0}, {1, 0, 1}, 0.5, 1.0, 1.0},
        // A primary followed by a secondary is expected 1 - s cycles later.
        {"secondary 1 - s after the primary", {0, 0.3, 1.0}, {1, 0, 1}, 0.7, 1.0, 1.0},
        // Expected at 0.5, found at 0.3: phase difference -0.2 -> |2 + exp(-0.4 pi i)| / 3.
        {"secondary expected elsewhere",
         {0, 0.3, 1.0},
         {1, 0, 1},
         0.5,
         1.0,
         std::sqrt(5 + 4 * std::cos(0.4 * kPi)) / 3},
        // Only the pairs (0, j) count: the fourth minimum at half phase gives |3 - 1| / 4.
        {"last minimum at half phase", {0, 1, 2, 2.5}, {1, 1, 1, 1}, 0.5, 1.0, 0.5},
        // A secondary before a primary expects s; a primary before a secondary 1 - s.
        {"secondary then primary", {0, 0.4}, {0, 1}, 0.4, 1.0, 1.0},
        {"primary then secondary", {0, 0.4}, {1, 0}, 0.4, 1.0, std::cos(0.2 * kPi)},
        // Ten cycles apart with a period of 10/3: 3 cycles, exactly in phase.
        {"whole cycles", {0, 10, 20}, {1, 1, 1}, 0.5, 10.0 / 3, 1.0},
    };
    for (const CoherenceCase& c : cases) {
        std::vector<SearchMinimum> minima;
        for (double t : c.times) minima.push_back({t, U});
        EXPECT_NEAR(MinimaCoherence(minima, c.flags, c.period, c.secondary_phase), c.expected,
                    1e-14)
            << c.name;
    }
}

TEST(MinimaCoherence, MixedFlagsCoincideOnlyAtHalfPhase) {
    const std::vector<SearchMinimum> minima = Minima({0, 5.37, 11.02, 16.4}, {U, U, U, U});
    const std::vector<uint8_t> a = {1, 0, 1, 0}, b = {0, 1, 0, 1};
    for (double period : {0.7, 1.13, 2.9, 5.5}) {
        EXPECT_DOUBLE_EQ(MinimaCoherence(minima, a, period, 0.5),
                         MinimaCoherence(minima, b, period, 0.5))
            << period;
        EXPECT_GT(std::abs(MinimaCoherence(minima, a, period, 0.3) -
                           MinimaCoherence(minima, b, period, 0.3)),
                  1e-3)
            << period;
    }
    PeriodFromMinimaOptions options;
    options.limit = 0.9;
    const auto psp = SearchPeriodsFromMinima(Minima({0, 5.5, 11, 16.5}, {P, S, P, S}), options);
    const auto sps = SearchPeriodsFromMinima(Minima({0, 5.5, 11, 16.5}, {S, P, S, P}), options);
    ASSERT_FALSE(psp.empty());
    ASSERT_EQ(psp.size(), sps.size());
    for (size_t i = 0; i < psp.size(); ++i) {
        EXPECT_EQ(psp[i].key, sps[i].key);
        EXPECT_EQ(psp[i].coherence, sps[i].coherence);
    }
}

TEST(PeriodKey, RoundsToThousandthsOfADay) {
    const struct {
        double period;
        int64_t key;
    } cases[] = {{0.312969992, 313}, {0.3125, 313}, {0.31249, 312}, {0.1, 100},
                 {0.0005, 1},        {0.00049, 0},  {10.0, 10000},  {1234.5678, 1234568}};
    for (const auto& c : cases) EXPECT_EQ(PeriodKey(c.period), c.key) << c.period;
}

TEST(CountMinimaCandidates, SumsWholeCyclesOverPairs) {
    EXPECT_EQ(CountMinimaCandidates(Minima({0, 10, 20}, {P, P, P}), 0.1), 100u + 200u + 100u);
    EXPECT_EQ(CountMinimaCandidates(Minima({0, 10, 20}, {P, P, P}), 3.0), 3u + 6u + 3u);
    EXPECT_EQ(CountMinimaCandidates(Minima({0, 10, 20}, {P, P, P}), 25.0), 0u);
}

// ---- the result rule ----

TEST(MergePeriodIntoResult, OrdersByCoherenceKeepsFirstKeyAndCapsAtTwenty) {
    std::vector<CPeriodListElem> result;
    MergePeriodIntoResult(result, {1.0, 1000, 0.95});
    MergePeriodIntoResult(result, {2.0, 2000, 0.99});
    MergePeriodIntoResult(result, {3.0, 3000, 0.95});      // after the equal one
    MergePeriodIntoResult(result, {1.0004, 1000, 0.999});  // key already there: discarded
    MergePeriodIntoResult(result, {4.0, 4000, 0.97});
    std::vector<int64_t> keys;
    for (const auto& e : result) keys.push_back(e.key);
    EXPECT_EQ(keys, (std::vector<int64_t>{2000, 4000, 1000, 3000}));
    EXPECT_EQ(result[2].period, 1.0);

    // Fill to 20 with falling R; then a candidate that would go last is refused, and one that
    // goes inside pushes the 20th out, after which its key may come back.
    result.clear();
    for (int i = 0; i < 20; ++i)
        MergePeriodIntoResult(result, {1.0 + i, 1000 + 1000 * i, 0.99 - 0.001 * i});
    ASSERT_EQ(result.size(), 20u);
    MergePeriodIntoResult(result, {50.0, 50000, 0.99 - 0.001 * 19});  // equal to the last
    EXPECT_EQ(result.size(), 20u);
    EXPECT_EQ(result.back().key, 20000);
    MergePeriodIntoResult(result, {60.0, 60000, 0.995});
    EXPECT_EQ(result.size(), 20u);
    EXPECT_EQ(result.front().key, 60000);
    EXPECT_EQ(result.back().key, 19000);
    MergePeriodIntoResult(result, {20.0, 20000, 0.9999});
    EXPECT_EQ(result.front().key, 20000);
    EXPECT_EQ(result.back().key, 18000);
}

// ---- the search against a literal rendering of the rule ----

// Candidates inserted one by one into a list sorted by descending key (after equal keys), runs
// merged to
// their mean, every candidate scored over all n minima, the result built candidate by
// candidate. Slow, but the rule as it reads.
std::vector<CPeriodListElem> LiteralSearch(const std::vector<SearchMinimum>& minima,
                                           const PeriodFromMinimaOptions& o) {
    const size_t n = minima.size();
    std::vector<size_t> undefined;
    for (size_t i = 0; i < n; ++i)
        if (minima[i].type == U) undefined.push_back(i);
    std::vector<CPeriodListElem> result;
    for (uint64_t v = 0; v < (uint64_t{1} << undefined.size()); ++v) {
        std::vector<uint8_t> f(n);
        for (size_t i = 0, k = 0; i < n; ++i)
            f[i] = minima[i].type == P ? 1 : minima[i].type == S ? 0 : (v >> k++) & 1;
        std::list<std::pair<int64_t, double>> sorted;
        for (size_t i = 0; i + 1 < n; ++i)
            for (size_t j = i; j < n; ++j) {
                const double delta = minima[j].time - minima[i].time;
                const long count = static_cast<long>(std::trunc(delta / o.min_period));
                const double c = f[i] == f[j] ? 1.0
                                 : f[j] == 1  ? o.secondary_phase
                                              : 1.0 - o.secondary_phase;
                for (long m = 0; m < count; ++m) {
                    const double period = delta / (c + m);
                    const int64_t key = static_cast<int64_t>(period * 1000 + 0.5);
                    auto it = sorted.begin();
                    while (it != sorted.end() && it->first >= key) ++it;
                    sorted.insert(it, {key, period});
                }
            }
        for (auto a = sorted.begin(); a != sorted.end();) {
            auto b = a;
            double sum = 0;
            int count = 0;
            for (; b != sorted.end() && b->first == a->first; ++b, ++count) sum += b->second;
            const double period = sum / count;
            double sc = 0, ss = 0;
            for (size_t j = 0; j < n; ++j) {
                const double c = f[0] == f[j] ? 0.0
                                 : f[j] == 1  ? o.secondary_phase
                                              : 1.0 - o.secondary_phase;
                double d = (minima[j].time - minima[0].time) / period - c;
                d -= d < 0 ? std::ceil(d) : std::floor(d);
                sc += std::cos(6.283185307179586 * d);
                ss += std::sin(6.283185307179586 * d);
            }
            const double cm = sc / n, sm = ss / n;
            const double r = std::sqrt(sm * sm + cm * cm);
            if (r >= o.limit) MergePeriodIntoResult(result, {period, a->first, r});
            a = b;
        }
    }
    return result;
}

TEST(SearchPeriodsFromMinima, EqualsTheLiteralRuleForAnyNumberOfWorkers) {
    // Minima of a binary with P = 0.8137 d timed to ~1e-4 d (short span: every key in the
    // dense table) and of one with P = 3.917 d over 313 days (periods up to 600 d: keys far
    // above the table, merged from the sorted remainder, where 20P, 40P/2, 60P/3 ... share
    // keys). Four undefined minima: 16 variants. The limits include the exact R of a
    // candidate, which must survive (only R < L is dropped).
    struct Case {
        double period;
        std::vector<double> cycles;
        double min_period;
    } cases[] = {{0.8137, {0, 3.5, 9, 17.5, 26}, 0.3}, {3.917, {0, 20, 40, 60.5, 80}, 2.0}};
    const double jitter[] = {0, 0.0002, -0.0001, 0.0003, 0};
    for (const Case& c : cases) {
        std::vector<SearchMinimum> minima;
        for (size_t i = 0; i < c.cycles.size(); ++i)
            minima.push_back({100.0 + c.cycles[i] * c.period + jitter[i], i == 0 ? P : U});
        PeriodFromMinimaOptions probe;
        probe.min_period = c.min_period;
        probe.limit = 0.5;
        const double exact_r = LiteralSearch(minima, probe).at(12).coherence;
        for (double limit : {0.95, 0.5, exact_r}) {
            PeriodFromMinimaOptions options;
            options.min_period = c.min_period;
            options.limit = limit;
            const std::vector<CPeriodListElem> expected = LiteralSearch(minima, options);
            ASSERT_FALSE(expected.empty());
            for (unsigned threads : {1u, 2u, 3u, 5u}) {
                options.threads = threads;
                const std::vector<CPeriodListElem> found = SearchPeriodsFromMinima(minima, options);
                ASSERT_EQ(found.size(), expected.size()) << threads << " " << limit;
                for (size_t i = 0; i < found.size(); ++i) {
                    EXPECT_EQ(found[i].key, expected[i].key) << i;
                    EXPECT_EQ(found[i].period, expected[i].period) << i;
                    EXPECT_EQ(found[i].coherence, expected[i].coherence) << i;
                }
            }
        }
    }
}

TEST(SearchPeriodsFromMinima, ThreePrimaryMinimaTenDaysApart) {
    PeriodFromMinimaOptions options;
    options.min_period = 3.0;
    const auto found = SearchPeriodsFromMinima(Minima({0, 10, 20}, {P, P, P}), options);
    std::vector<int64_t> keys;
    for (const auto& e : found) {
        keys.push_back(e.key);
        EXPECT_NEAR(e.coherence, 1.0, 1e-15);
    }
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(keys, (std::vector<int64_t>{3333, 5000, 10000}));

    options.min_period = 0.1;
    const auto many = SearchPeriodsFromMinima(Minima({0, 10, 20}, {P, P, P}), options);
    ASSERT_EQ(many.size(), 20u);
    for (size_t i = 0; i < many.size(); ++i) {
        EXPECT_GE(many[i].coherence, 0.999);
        if (i) {
            EXPECT_LE(many[i].coherence, many[i - 1].coherence);
        }
        for (size_t j = 0; j < i; ++j) EXPECT_NE(many[i].key, many[j].key);
        // Every one of them divides ten days into whole cycles.
        EXPECT_NEAR(10.0 / many[i].period, std::round(10.0 / many[i].period), 1e-3);
    }
}

TEST(SearchPeriodsFromMinima, OffersTheLongestWholeCyclePeriodsFirst) {
    // Every whole-cycle period of three primaries ten days apart has R = 1; among equal R the
    // list keeps the order the candidates are scored in, longest period first, so the twenty
    // offered are 10, 5, 3.333, 2.5, ... and not the twenty shortest aliases near 0.1 d.
    const auto found =
        SearchPeriodsFromMinima(Minima({0, 10, 20}, {P, P, P}), PeriodFromMinimaOptions{});
    ASSERT_EQ(found.size(), 20u);
    const struct {
        double period;
        int64_t key;
    } expected[] = {{10.0, 10000}, {5.0, 5000}, {10.0 / 3, 3333}, {2.5, 2500}, {2.0, 2000}};
    for (size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_DOUBLE_EQ(found[i].period, expected[i].period) << i;
        EXPECT_EQ(found[i].key, expected[i].key) << i;
        EXPECT_NEAR(found[i].coherence, 1.0, 1e-15) << i;
    }
    // The twentieth: ten days in twenty cycles.
    EXPECT_EQ(found[19].key, 500);
}

TEST(SearchPeriodsFromMinima, RefusesCountsOutsideThreeToThirtyOne) {
    PeriodFromMinimaOptions options;
    EXPECT_TRUE(SearchPeriodsFromMinima(Minima({0, 10}, {P, P}), options).empty());
    std::vector<SearchMinimum> many;
    for (int i = 0; i < 32; ++i) many.push_back({10.0 * i, P});
    options.min_period = 5;
    EXPECT_TRUE(SearchPeriodsFromMinima(many, options).empty());
    many.pop_back();
    EXPECT_FALSE(SearchPeriodsFromMinima(many, options).empty());
}

// ---- the command ----

std::unique_ptr<CLocalSeriesTreeElem> SeriesWithMinima(double first_time, std::vector<double> times,
                                                       std::vector<uint32_t> types,
                                                       std::vector<bool> enabled = {}) {
    auto series = std::make_unique<CLocalSeriesTreeElem>();
    series->times = {first_time};
    series->values = {12.0};
    series->errors = {0.01};
    for (size_t i = 0; i < times.size(); ++i) {
        kurvalux_data::CMinimaListElem m;
        m.time = times[i];
        m.type = types[i];
        m.enabled = enabled.empty() ? true : enabled[i];
        series->minima.push_back(m);
    }
    return series;
}

TEST(GatherSearchMinima, TakesMinimaNotExcludedInTimeOrderAndWarnsAboveEight) {
    // A minimum marked excluded is left out; a series switched off (hidden from the charts)
    // still lends its minima, which are timings of the star all the same.
    CObjectListElem object;
    object.series.push_back(SeriesWithMinima(0, {1.0, 3.0, 5.0, 7.0, 9.0}, {P, P, S, P, P},
                                             {true, true, true, false, true}));
    object.series.push_back(SeriesWithMinima(2, {2.0, 4.0, 6.0, 8.0, 10.0}, {U, U, U, U, U}));
    auto disabled = SeriesWithMinima(20, {0.5, 4.5}, {S, P}, {true, false});
    disabled->enabled = false;
    object.series.push_back(std::move(disabled));

    const MinimaGathering g = GatherSearchMinima(object);
    ASSERT_TRUE(g.can_search);
    std::vector<double> times;
    for (const auto& m : g.minima) times.push_back(m.time);
    EXPECT_EQ(times, (std::vector<double>{0.5, 1, 2, 3, 4, 5, 6, 8}));
    EXPECT_EQ(g.minima[0].type, S);
    EXPECT_EQ(g.minima[5].type, S);
    ASSERT_EQ(g.messages.size(), 1u);
    EXPECT_EQ(g.messages[0].title, "Too many minima");
    EXPECT_EQ(g.messages[0].lines,
              std::vector<std::string>{"Only first 8 minima used for estimation"});
}

TEST(GatherSearchMinima, CountsTheMinimaOfADisabledSeries) {
    CObjectListElem object;
    auto disabled = SeriesWithMinima(0, {1.0, 2.0, 3.0}, {P, P, P});
    disabled->enabled = false;
    object.series.push_back(std::move(disabled));
    const MinimaGathering g = GatherSearchMinima(object);
    EXPECT_TRUE(g.can_search);
    EXPECT_EQ(g.minima.size(), 3u);
    EXPECT_TRUE(g.messages.empty());
}

TEST(FindPeriodsFromMinimaCommand, ShowsEachOutcomeWithItsExactTexts) {
    struct Case {
        const char* name;
        std::vector<double> times;
        PeriodFromMinimaOptions options;
        std::vector<MessageBoxRecord> boxes;
    };
    PeriodFromMinimaOptions strict;
    strict.limit = 1.0;
    PeriodFromMinimaOptions zero_pmin;
    zero_pmin.min_period = 0;
    PeriodFromMinimaOptions bad_phase;
    bad_phase.secondary_phase = 1.0;
    PeriodFromMinimaOptions tiny_pmin;
    tiny_pmin.min_period = 1e-6;
    const MessageBoxRecord no_fit{
        "Cannot find period",
        {"No period fits defined minima. Try to:", "- lower Phase difference limit",
         "- remove (possibly wrong) Primary/Secondary attribute (set "
         "minima type Undefined)"}};
    const Case cases[] = {
        {"two minima",
         {1.0, 2.0},
         {},
         {{"Cannot find period", {"At last 3 minima needed to find period"}}}},
        {"found",
         {10.0, 10.0 + 4 * 0.61, 10.0 + 9 * 0.61},
         {},
         {{"Possible periods were found",
           {"All found periods fitting defined minima",
            "were added as items of period combo-box \"P:\""}}}},
        {"nothing at R = 1", {10.0, 12.345678, 15.1234567}, strict, {no_fit}},
        {"zero minimal period",
         {1.0, 2.0, 3.0},
         zero_pmin,
         {{"Cannot find period", {"Minimal period must be a positive number"}}}},
        {"secondary phase 1",
         {1.0, 2.0, 3.0},
         bad_phase,
         {{"Cannot find period", {"Secondary minimum phase must lie between 0 and 1"}}}},
        {"too many trial periods",
         {0.0, 100.0, 200.0},
         tiny_pmin,
         {{"Cannot find period",
           {"Too many trial periods (400000000)", "- raise Minimal period"}}}},
    };
    for (const Case& c : cases) {
        CObjectListElem object;
        object.series.push_back(
            SeriesWithMinima(0, c.times, std::vector<uint32_t>(c.times.size(), P)));
        object.periods = {{9.0, 9000, 0.5}};
        CRecordingMessageBoxSink sink;
        const PeriodCommandResult result = FindPeriodsFromMinimaCommand(object, c.options, sink);
        ASSERT_EQ(sink.Records().size(), c.boxes.size()) << c.name;
        for (size_t i = 0; i < c.boxes.size(); ++i) {
            EXPECT_EQ(sink.Records()[i].title, c.boxes[i].title) << c.name;
            EXPECT_EQ(sink.Records()[i].lines, c.boxes[i].lines) << c.name;
        }
        const bool searched =
            std::string(c.name) == "found" || std::string(c.name) == "nothing at R = 1";
        EXPECT_EQ(result.changed, searched) << c.name;
        // The list is replaced only by a search; otherwise it stays as it was.
        if (!searched) {
            EXPECT_EQ(object.periods.size(), 1u) << c.name;
        }
        if (std::string(c.name) == "nothing at R = 1") {
            EXPECT_TRUE(object.periods.empty());
        }
    }
}

TEST(FindPeriodsFromMinimaCommand, PutsTheCurrentPeriodFirst) {
    CObjectListElem object;
    object.period = 1.2345678;
    object.series.push_back(
        SeriesWithMinima(0, {10.0, 10.0 + 4 * 0.61, 10.0 + 9 * 0.61}, {P, P, P}));
    CRecordingMessageBoxSink sink;
    const PeriodCommandResult result = FindPeriodsFromMinimaCommand(object, {}, sink);
    ASSERT_TRUE(result.found);
    ASSERT_GE(object.periods.size(), 2u);
    EXPECT_EQ(object.periods[0].period, 1.2345678);
    EXPECT_EQ(object.periods[0].key, 1235);
    EXPECT_TRUE(std::any_of(object.periods.begin() + 1, object.periods.end(),
                            [](const CPeriodListElem& e) { return e.key == 610; }));
}

// ---- real minima ----

// Rows 5-12 of the NSVS 896797 list (the first eight TESS minima), typed from the epoch column
// (integer primary, half-integer secondary) or all undefined.
std::vector<SearchMinimum> Nsvs896797Minima(bool typed) {
    std::ifstream in(std::string(KURVALUX_TEST_DATA_DIR) +
                     "/real/nsvs896797-minima-eclipsingbinaries.txt");
    std::vector<SearchMinimum> minima;
    std::string line;
    for (int row = 1; std::getline(in, line) && row <= 12; ++row) {
        if (row < 5) continue;
        std::istringstream fields(line);
        double time = 0, epoch = 0;
        fields >> time >> epoch;
        const uint32_t type = !typed ? U : epoch == std::floor(epoch) ? P : S;
        minima.push_back({time, type});
    }
    return minima;
}

TEST(SearchPeriodsFromMinima, FindsTheCatalogueKeyOfNsvs896797) {
    for (bool typed : {true, false}) {
        const std::vector<SearchMinimum> minima = Nsvs896797Minima(typed);
        ASSERT_EQ(minima.size(), 8u);
        EXPECT_EQ(minima[0].time, 2458842.680575);
        EXPECT_EQ(minima[7].time, 2458843.775735);
        const auto found = SearchPeriodsFromMinima(minima, PeriodFromMinimaOptions{});
        auto it = std::find_if(found.begin(), found.end(),
                               [](const CPeriodListElem& e) { return e.key == 313; });
        ASSERT_NE(it, found.end()) << typed;
        // The catalogue period, 0.312969992 d, within the spread the minima timings allow.
        EXPECT_NEAR(it->period, 0.312969992, 2e-4);
        EXPECT_GT(it->coherence, 0.99999);
        EXPECT_EQ(it, found.begin());
    }
}

}  // namespace
}  // namespace kurvalux_analysis
