// The phase-curve fit (refusals, the private copy's adjustments, the report box) and the fit
// of all minima (validation texts, the walk, branch counts, questions and Cancel).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <fstream>
#include <limits>
#include <memory>
#include <random>
#include <sstream>

#include "analysis/fit_all_minima.h"
#include "analysis/model.h"
#include "analysis/model_kernels.h"
#include "analysis/phase_fit.h"
#include "case_names.h"
#include "data/field_file.h"

namespace {

using namespace kurvalux_analysis;
using kurvalux_platform::CRecordingMessageBoxSink;
using kurvalux_platform::MessageAnswer;

PhaseFitOptions Cycle1000() {
    PhaseFitOptions o;
    std::ifstream in(std::string(KURVALUX_TEST_DATA_DIR) + "/synthetic-lc/cycle1000.txt");
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream words(line);
        std::string x, y, s;
        words >> x >> y >> s;
        PhasedPoint p;
        p.phase = std::strtod(x.c_str(), nullptr);
        p.value = std::strtod(y.c_str(), nullptr);
        p.sigma = std::strtod(s.c_str(), nullptr);
        o.points.push_back(p);
    }
    o.start = {12.03, 0.49, 0.7, 0.07,  1.0, 0.0,   0.25, 0.06,
               1.0,   0.0,  0.0, -0.01, 0.0, -0.03, 0.0,  0.001};
    return o;
}

TEST(PhaseFit, Cycle1000WithItsReport) {
    const PhaseFitResult r = FitPhaseCurve(Cycle1000());
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.fit.nfree, 14);
    // Reference implementation: orignorm 17021.96166775456, bestnorm 995.42029392452287; the
    // final chi^2 of this model's own functions lies 2e-8 below it.
    EXPECT_NEAR(r.initial_chi2, 17021.96166775456, 1e-8);
    EXPECT_NEAR(r.final_chi2, 995.42029392452287, 1e-4);
    EXPECT_LE(r.final_chi2, 995.42029392452287);
    const kurvalux_data::LightCurveParameters ref = {
        11.999796290661758,     0.49954043523508512,
        0.80768714476807579,    0.060168444437179981,
        1.1971154058988256,     0,
        0.29367062277305217,    0.07096530274396283,
        1.0839290350509672,     0,
        0.0040226988089712189,  -0.023740931177073016,
        0.0035521599291101279,  -0.040614170405260601,
        0.00058641471029205645, 0.00020690956839762749};
    for (size_t k = 0; k < ref.size(); ++k) EXPECT_NEAR(r.parameters[k], ref[k], 2e-4) << k;
    EXPECT_EQ(r.message.title, "Phase curve fitting OK");
    ASSERT_EQ(r.message.lines.size(), 3u);
    EXPECT_EQ(r.message.lines[0], "Number of data points: 1000");
    EXPECT_EQ(r.message.lines[1], "Initial chi^2: 17021.961668");
    EXPECT_EQ(r.message.lines[2].rfind("Final chi^2: 995.4202", 0), 0u) << r.message.lines[2];
}

TEST(PhaseFit, KeptPartsChangeNothingInTheFit) {
    kurvalux_analysis::detail::SetPartialEvaluationEnabled(false);
    const PhaseFitResult full = FitPhaseCurve(Cycle1000());
    kurvalux_analysis::detail::SetPartialEvaluationEnabled(true);
    const PhaseFitResult kept = FitPhaseCurve(Cycle1000());
    EXPECT_EQ(full.parameters, kept.parameters);
    EXPECT_EQ(full.final_chi2, kept.final_chi2);
    EXPECT_EQ(full.fit.nfev, kept.fit.nfev);
}

TEST(PhaseFit, FifteenPointsAreEnoughFourteenAreNot) {
    PhaseFitOptions o = Cycle1000();
    o.points.resize(14);
    PhaseFitResult r = FitPhaseCurve(o);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.message.title, "Cannot perform parameter fitting");
    EXPECT_EQ(r.message.lines,
              (std::vector<std::string>{"At last 15 points needed for fit.",
                                        "Phased curve contains too little points."}));
    EXPECT_EQ(r.parameters, o.start);
    o = Cycle1000();
    o.points.resize(15);
    o.free.fill(false);
    o.free[kurvalux_data::kMag0] = true;
    r = FitPhaseCurve(o);
    EXPECT_TRUE(r.ok) << r.message.title;
    EXPECT_EQ(r.message.lines[0], "Number of data points: 15");
}

TEST(PhaseFit, FailuresShowTheFitterText) {
    PhaseFitOptions o = Cycle1000();
    o.free.fill(false);
    PhaseFitResult r = FitPhaseCurve(o);
    EXPECT_EQ(r.message.title, "Phase curve fitting failed");
    EXPECT_EQ(r.message.lines, std::vector<std::string>{"No free parameters"});
    o = Cycle1000();
    o.start[kurvalux_data::kDPri] = 0.7;
    r = FitPhaseCurve(o);
    EXPECT_EQ(r.message.title, "Phase curve fitting failed");
    EXPECT_EQ(r.message.lines,
              std::vector<std::string>{"Initial values inconsistent with constraints"});
    EXPECT_EQ(r.parameters, o.start);
}

TEST(PhaseFit, ParametersFittedOntoTheirLimitsFitAgainAfterSavingAndLoading) {
    // d_sec = 0.6 and sec_phase = 0.75, both on their upper limits, are written with six
    // decimals; the reader sums the digits up to 6 * 0.1 = 0.6000000000000001 and
    // 0.7500000000000001, one unit in the last place outside the limits.
    kurvalux_data::Field field;
    auto object = std::make_unique<kurvalux_data::CObjectListElem>();
    object->name = "On the limits";
    object->m0 = 2459000.5;
    object->period = 0.8;
    object->fit = Cycle1000().start;
    object->fit[kurvalux_data::kDSec] = 0.6;
    object->fit[kurvalux_data::kSecPhase] = 0.75;
    object->has_fit = true;
    field.objects.push_back(std::move(object));
    kurvalux_data::Field loaded;
    CRecordingMessageBoxSink quiet;
    ASSERT_TRUE(
        kurvalux_data::LoadFieldText(kurvalux_data::FieldToText(field), loaded, {}, quiet).ok);
    ASSERT_EQ(loaded.objects.size(), 1u);
    const kurvalux_data::LightCurveParameters& back = loaded.objects[0]->fit;
    EXPECT_EQ(back[kurvalux_data::kDSec], std::nextafter(0.6, 1.0));
    EXPECT_EQ(back[kurvalux_data::kSecPhase], std::nextafter(0.75, 1.0));

    PhaseFitOptions o = Cycle1000();
    o.start = back;
    o.free[kurvalux_data::kDSec] = false;  // held on the limit
    const PhaseFitResult held = FitPhaseCurve(o);
    ASSERT_TRUE(held.ok) << (held.message.lines.empty() ? "" : held.message.lines[0]);
    EXPECT_EQ(held.parameters[kurvalux_data::kDSec], 0.6);
    EXPECT_LE(held.parameters[kurvalux_data::kSecPhase], 0.75);
    o.free[kurvalux_data::kDSec] = true;
    EXPECT_TRUE(FitPhaseCurve(o).ok);
}

TEST(PhaseFit, NegativePhaseAndZeroSigmaAdjustedOnTheCopyOnly) {
    PhaseFitOptions shifted = Cycle1000(), plain = Cycle1000();
    // Points given at phase - 1 are fitted at phase; sigma 0 counts as 1.
    for (size_t i = 0; i < 40; ++i) {
        if (plain.points[i].phase > 0.5) shifted.points[i].phase -= 1.0;
        shifted.points[i].sigma = 0.0;
        plain.points[i].sigma = 1.0;
    }
    const PhaseFitResult a = FitPhaseCurve(shifted), b = FitPhaseCurve(plain);
    ASSERT_TRUE(a.ok);
    EXPECT_EQ(a.parameters, b.parameters);
}

TEST(PhaseFit, SeriesOffsetEntersTheResidual) {
    // The same curve split: half the points 0.3 mag brighter with an offset of +0.3.
    PhaseFitOptions o = Cycle1000(), split = Cycle1000();
    for (size_t i = 0; i < split.points.size(); i += 2) {
        split.points[i].value -= 0.25;
        split.points[i].offset = 0.25;
    }
    const PhaseFitResult a = FitPhaseCurve(o), b = FitPhaseCurve(split);
    ASSERT_TRUE(a.ok && b.ok);
    for (size_t k = 0; k < a.parameters.size(); ++k)
        EXPECT_NEAR(a.parameters[k], b.parameters[k], 1e-7) << k;
}

TEST(PhasedCurve, EnabledSeriesFoldedWithOffsets) {
    kurvalux_data::CObjectListElem object;
    for (int k = 0; k < 3; ++k) {
        auto s = std::make_unique<kurvalux_data::CSeriesTreeElem>();
        s->times = {100.0 + k, 100.5 + k};
        s->values = {10.0, 10.5};
        s->errors = {0.01, 0.0};
        s->offset = 0.1 * k;
        s->enabled = k != 1;
        object.series.push_back(std::move(s));
    }
    const auto curve = PhasedCurve(object, 100.0, 2.0);
    ASSERT_EQ(curve.size(), 4u);
    EXPECT_EQ(curve[0].phase, 0.0);
    EXPECT_EQ(curve[1].phase, 0.25);
    EXPECT_EQ(curve[2].phase, 1.0);  // 102 = m0 + P
    EXPECT_EQ(curve[3].phase, 0.25);
    EXPECT_EQ(curve[2].offset, 0.2);
    EXPECT_EQ(curve[2].value, 10.0);
    EXPECT_EQ(curve[3].sigma, 0.0);
}

// --- Fit all minima ---------------------------------------------------------------------------

// An eclipsing binary (P = 0.8 d, M0 = 2450000.1) observed on two nights of 0.5 d each, 2-minute
// cadence: night 1 covers a primary, night 2 a secondary and, cut in half, a primary.
std::unique_ptr<kurvalux_data::CObjectListElem> Binary() {
    auto object = std::make_unique<kurvalux_data::CObjectListElem>();
    object->name = "Test binary";
    object->m0 = 2450000.1;
    object->period = 0.8;
    const kurvalux_data::LightCurveParameters p = {11.0, 0.5, 0.6, 0.05, 1.2, 0.0, 0.3, 0.05,
                                                   1.2,  0.0, 0.0, 0.0,  0.0, 0.0, 0.0, 0.0};
    const CLightCurveModel model(p);
    std::mt19937_64 random(4);
    std::normal_distribution<double> noise(0.0, 0.003);
    const double nights[2][2] = {{2450000.8, 2450001.1}, {2450002.35, 2450002.5}};
    for (const auto& night : nights) {
        auto s = std::make_unique<kurvalux_data::CSeriesTreeElem>();
        for (double t = night[0]; t <= night[1]; t += 2.0 / 1440) {
            s->times.push_back(t);
            s->values.push_back(model.Evaluate(PhaseOf(t, object->m0, object->period)) +
                                noise(random));
            s->errors.push_back(0.003);
        }
        object->series.push_back(std::move(s));
    }
    return object;
}

struct ValidationCase {
    const char* name;
    double m0, period, primary, secondary_phase, secondary;
    bool fit_primary, fit_secondary;
    std::string text;
};

// The row as the test list shows it.
void PrintTo(const ValidationCase& c, std::ostream* os) {
    *os << c.name;
}

class ValidationTable : public testing::TestWithParam<ValidationCase> {};

TEST_P(ValidationTable, RefusedUnderCannotFindMinima) {
    const ValidationCase& t = GetParam();
    auto object = Binary();
    object->m0 = t.m0;
    FitAllMinimaOptions o;
    o.period = t.period;
    o.fit_primary = t.fit_primary;
    o.primary_time_around = t.primary;
    o.fit_secondary = t.fit_secondary;
    o.secondary_phase = t.secondary_phase;
    o.secondary_time_around = t.secondary;
    CRecordingMessageBoxSink messages;
    const FitAllMinimaResult r = FitAllMinima(*object, {0, 1}, o, messages);
    EXPECT_FALSE(r.started);
    ASSERT_EQ(messages.Records().size(), 1u);
    EXPECT_EQ(messages.Records()[0].title, "Cannot find minima");
    EXPECT_EQ(messages.Records()[0].lines, std::vector<std::string>{t.text}) << t.name;
    EXPECT_EQ(object->primary_fit_time_range, 0.0);  // nothing stored
    EXPECT_EQ(object->series[0]->minima.size(), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    FitAllMinima, ValidationTable,
    testing::Values(ValidationCase{"m0 zero", 0.0, 0.8, 0.2, 0.5, 0.2, true, true,
                                   "M0 and/or Period udefined"},
                    ValidationCase{"period zero", 2450000.1, 0.0, 0.2, 0.5, 0.2, true, false,
                                   "M0 and/or Period udefined"},
                    ValidationCase{"primary range zero", 2450000.1, 0.8, 0.0, 0.5, 0.2, true, true,
                                   "Primary Time Range udefined"},
                    ValidationCase{"secondary phase zero", 2450000.1, 0.8, 0.2, 0.0, 0.2, true,
                                   true, "Secondary phase udefined"},
                    ValidationCase{"secondary range zero", 2450000.1, 0.8, 0.2, 0.5, 0.0, false,
                                   true, "Secondary Time Range udefined"}),
    RowDescription());

TEST(FitAllMinima, NoSeriesSelected) {
    auto object = Binary();
    CRecordingMessageBoxSink messages;
    FitAllMinimaOptions o = FitAllMinimaDefaults(*object);
    EXPECT_FALSE(FitAllMinima(*object, {}, o, messages).started);
    ASSERT_EQ(messages.Records().size(), 1u);
    EXPECT_EQ(messages.Records()[0].title, "Cannot find minima");
    EXPECT_EQ(messages.Records()[0].lines,
              std::vector<std::string>{"No series selected to find minima"});
}

FitAllMinimaOptions BothKinds(const kurvalux_data::CObjectListElem& object) {
    FitAllMinimaOptions o = FitAllMinimaDefaults(object);
    o.min_branch_points = 20;
    o.fit_primary = true;
    o.primary_time_around = 0.2;
    o.fit_secondary = true;
    o.secondary_phase = 0.5;
    o.secondary_time_around = 0.2;
    o.processors = 2;
    o.seed = 8;
    return o;
}

TEST(FitAllMinima, WalksEveryCoveredMinimumAndAsks) {
    auto object = Binary();
    CRecordingMessageBoxSink messages;
    messages.SetAffirmative(true);  // Yes to every question
    const FitAllMinimaResult r = FitAllMinima(*object, {0, 1}, BothKinds(*object), messages);
    ASSERT_TRUE(r.started);
    EXPECT_FALSE(r.cancelled);
    EXPECT_EQ(object->primary_fit_time_range, 0.2);
    EXPECT_EQ(object->secondary_fit_time_range, 0.2);
    // Night 1 (JD 2450000.8 ... 1.1) holds the whole primary at 2450000.9; night 2 (2.35 ...
    // 2.5) only the descending branch of the primary at 2450002.5, and no secondary (2.1 and
    // 2.9 lie outside it). So one question, for the primary of night 1.
    ASSERT_EQ(r.found.size(), 1u);
    EXPECT_EQ(r.found[0].series_index, 0u);
    EXPECT_EQ(r.found[0].type, kurvalux_data::kMinimumPrimary);
    EXPECT_NEAR(r.found[0].time, 2450000.9, 3e-4);
    EXPECT_TRUE(r.found[0].has_error);
    EXPECT_GT(r.found[0].error, 0.0);
    EXPECT_LT(r.found[0].error, 3e-4);
    EXPECT_EQ(r.added, 1);
    ASSERT_EQ(object->series[0]->minima.size(), 1u);
    EXPECT_EQ(object->series[0]->minima[0].type, kurvalux_data::kMinimumPrimary);
    EXPECT_EQ(object->series[0]->minima[0].time, r.found[0].time);
    EXPECT_EQ(object->series[0]->minima[0].error, r.found[0].error);
    // The one question asked, with its exact text and buttons.
    ASSERT_EQ(messages.Records().size(), 1u);
    EXPECT_EQ(messages.Records()[0].title, "Found Minimum");
    EXPECT_EQ(messages.Records()[0].lines, std::vector<std::string>{"Add Primary minimum?"});
    EXPECT_EQ(messages.Records()[0].buttons, kurvalux_platform::MessageButtons::YesNoCancel);
    EXPECT_GT(r.skipped, 0);  // the half-covered windows of night 2 were skipped silently
}

TEST(FitAllMinima, SecondaryQuestionAndNoAndCancel) {
    // A night around a secondary (2450002.1 + 0.8 = 2450002.9) and the following primary.
    auto object = Binary();
    auto& night = *object->series[1];
    const CLightCurveModel model(
        {11.0, 0.5, 0.6, 0.05, 1.2, 0.0, 0.3, 0.05, 1.2, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0});
    night.times.clear();
    night.values.clear();
    night.errors.clear();
    for (double t = 2450002.75; t <= 2450003.45; t += 2.0 / 1440) {
        night.times.push_back(t);
        night.values.push_back(model.Evaluate(PhaseOf(t, object->m0, object->period)));
        night.errors.push_back(0.003);
    }
    CRecordingMessageBoxSink messages;
    messages.QueueAnswer(MessageAnswer::No);      // the primary of night 1
    messages.QueueAnswer(MessageAnswer::Yes);     // the primary at 2450003.3 of night 2
    messages.QueueAnswer(MessageAnswer::Cancel);  // the secondary at 2450002.9
    const FitAllMinimaResult r = FitAllMinima(*object, {0, 1}, BothKinds(*object), messages);
    ASSERT_TRUE(r.started);
    EXPECT_TRUE(r.cancelled);
    ASSERT_EQ(messages.Records().size(), 3u);
    EXPECT_EQ(messages.Records()[0].lines, std::vector<std::string>{"Add Primary minimum?"});
    EXPECT_EQ(messages.Records()[1].lines, std::vector<std::string>{"Add Primary minimum?"});
    EXPECT_EQ(messages.Records()[2].lines, std::vector<std::string>{"Add Secondary minimum?"});
    ASSERT_EQ(r.found.size(), 3u);
    EXPECT_FALSE(r.found[0].added);
    EXPECT_TRUE(r.found[1].added);
    EXPECT_FALSE(r.found[2].added);
    EXPECT_NEAR(r.found[1].time, 2450003.3, 2e-4);
    EXPECT_NEAR(r.found[2].time, 2450002.9, 2e-4);
    EXPECT_EQ(r.found[2].type, kurvalux_data::kMinimumSecondary);
    // Cancel keeps what was added before it.
    EXPECT_EQ(object->series[0]->minima.size(), 0u);
    ASSERT_EQ(object->series[1]->minima.size(), 1u);
    EXPECT_EQ(object->series[1]->minima[0].type, kurvalux_data::kMinimumPrimary);
}

TEST(FitAllMinima, OneBranchOnlyIsSkippedWithoutAQuestion) {
    auto object = Binary();
    // Night 1 cut at the primary's centre: only the descending branch remains.
    auto& s = *object->series[0];
    while (!s.times.empty() && s.times.back() > 2450000.9) {
        s.times.pop_back();
        s.values.pop_back();
        s.errors.pop_back();
    }
    CRecordingMessageBoxSink messages;
    FitAllMinimaOptions o = BothKinds(*object);
    o.fit_secondary = false;
    const FitAllMinimaResult r = FitAllMinima(*object, {0}, o, messages);
    EXPECT_TRUE(r.started);
    EXPECT_TRUE(r.found.empty());
    EXPECT_TRUE(messages.Records().empty());
    EXPECT_GT(r.skipped, 0);
}

TEST(FitAllMinima, ABrokenTimeStopsTheCommandBeforeTheWalk) {
    // A time that overflowed while being read, or an extra digit typed into one, would make
    // the walk over the predicted minima endless or absurdly long (a 24-million-day span is
    // some 30 million windows at 0.8 d). The command refuses at once, names the series, and
    // changes nothing; a series that is not selected is not looked at. (Night 2 alone holds no
    // whole minimum, so a walk over it would ask nothing.)
    const double inf = std::numeric_limits<double>::infinity();
    const std::vector<std::string> not_finite = {
        "Series 2 has a time that is not a finite number",
        "(an overflowed or undefined time in its photometry)"};
    const std::vector<std::string> too_long = {
        "Series 2 would need more than 1000000 predicted minima",
        "between its first and last points: check their times"};
    const struct {
        const char* name;
        size_t series;
        size_t point;  // replaced time; SIZE_MAX: appended at the end
        double time;
        std::vector<size_t> selected;
        std::vector<std::string> lines;
    } cases[] = {
        {"last time 1e300", 1, SIZE_MAX, 1e300, {1}, too_long},
        {"an extra digit", 1, SIZE_MAX, 24500002.5, {1}, too_long},
        {"last time infinite", 1, SIZE_MAX, inf, {1}, not_finite},
        {"first time minus infinity", 1, 0, -inf, {1}, not_finite},
        {"a time not a number", 1, 10, std::nan(""), {1}, not_finite},
        {"unselected series", 0, SIZE_MAX, inf, {1}, {}},
    };
    for (const auto& c : cases) {
        auto object = Binary();
        auto& s = *object->series[c.series];
        if (c.point == SIZE_MAX) {
            s.times.push_back(c.time);
            s.values.push_back(11.0);
            s.errors.push_back(0.003);
        } else {
            s.times[c.point] = c.time;
        }
        CRecordingMessageBoxSink messages;
        const FitAllMinimaResult r =
            FitAllMinima(*object, c.selected, BothKinds(*object), messages);
        if (c.lines.empty()) {
            EXPECT_TRUE(r.started) << c.name;
            continue;
        }
        EXPECT_FALSE(r.started) << c.name;
        EXPECT_EQ(r.windows, 0) << c.name;
        ASSERT_EQ(messages.Records().size(), 1u) << c.name;
        EXPECT_EQ(messages.Records()[0].title, "Cannot find minima") << c.name;
        EXPECT_EQ(messages.Records()[0].lines, c.lines) << c.name;
        EXPECT_EQ(object->primary_fit_time_range, 0.0) << c.name;  // nothing stored
    }
}

TEST(FitAllMinima, TheWalkStaysWithinTheSeriesSpan) {
    // A season of 40 nights: every window from the first point's cycle up to the last point is
    // looked at, two kinds each, and none beyond.
    auto object = Binary();
    auto& s = *object->series[0];
    s.times.push_back(2450039.9);
    s.values.push_back(11.0);
    s.errors.push_back(0.003);
    CRecordingMessageBoxSink messages;
    messages.QueueAnswer(MessageAnswer::No);  // the primary of night 1
    const FitAllMinimaResult r = FitAllMinima(*object, {0}, BothKinds(*object), messages);
    ASSERT_TRUE(r.started);
    EXPECT_FALSE(r.cancelled);
    EXPECT_EQ(messages.Records().size(), 1u);
    // Cycle 0 (the first point at 2450000.8 lies in it): the windows of the primaries at
    // 0.1 + 0.8 k (from 0.0 + 0.8 k) and of the secondaries at 0.5 + 0.8 k (from 0.4 + 0.8 k)
    // start before the last point, 39.9, for k = 0 .. 49.
    EXPECT_EQ(r.windows, 100);
}

}  // namespace
