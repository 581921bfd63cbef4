// Charts filled from the Field (time, compressed, phased, phased fit, minimum) and the model
// curves of the fit panes.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "lc/chart_views.h"
#include "lc/recording_context.h"

namespace kurvalux_lc {
namespace {

using kurvalux_data::CLocalSeriesTreeElem;
using kurvalux_data::CObjectListElem;
using kurvalux_platform::RgbOf;

// Two nights: V filter at 100.3 .. 100.5 (5 points), R filter at 105.4 .. 105.5 (3 points).
std::unique_ptr<CObjectListElem> TwoNights() {
    auto object = std::make_unique<CObjectListElem>();
    object->name = "Test";
    auto first = std::make_unique<CLocalSeriesTreeElem>();
    first->meta_data.filter = "V";
    first->times = {100.3, 100.35, 100.4, 100.45, 100.5};
    first->values = {12.0, 12.1, 12.5, 12.1, 12.0};
    first->errors = {0.01, 0.01, 0.02, 0.01, 0.01};
    first->offset = 0.5;
    first->minima.push_back({kurvalux_data::kMinimumPrimary, 100.4, 0.001, true});
    auto second = std::make_unique<CLocalSeriesTreeElem>();
    second->meta_data.filter = "R";
    second->times = {105.4, 105.45, 105.5};
    second->values = {11.0, 11.2, 11.0};
    second->errors = {0.02, 0.02, 0.02};
    second->minima.push_back({kurvalux_data::kMinimumSecondary, 105.45, 0.002, false});
    second->minima.push_back({kurvalux_data::kMinimumUndefined, 105.46, 0.002, true});
    object->series.push_back(std::move(first));
    object->series.push_back(std::move(second));
    return object;
}

TEST(ChartViews, ViewNames) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"time", "Time Series"},
        {"compressed", "Compressed Series"},
        {"phased", "Phased Curve"},
        {"fit", "Phased Curve Fit"},
        {"minimum", "Minimum Fit"}};
    for (const auto& [word, name] : cases) {
        ChartView view;
        ASSERT_TRUE(ParseChartView(word, view)) << word;
        EXPECT_EQ(ChartViewName(view), name);
    }
    ChartView view;
    EXPECT_FALSE(ParseChartView("Time", view));
    EXPECT_FALSE(ParseChartView("", view));
}

TEST(ChartViews, TimeSeries) {
    auto object = TwoNights();
    ChartRequest request;
    request.series = 1;
    std::string message;
    Chart chart = MakeChart(*object, request, message);
    ASSERT_TRUE(chart.pane) << message;
    const CLightCurvePane& pane = *chart.pane;
    ASSERT_EQ(pane.Points().size(), 8u);
    EXPECT_TRUE(pane.invert_y);
    EXPECT_EQ(pane.CaptionAbove(), "Mag");
    EXPECT_EQ(pane.CaptionBelow(), "JD");
    // Magnitudes with the series offset; colours by filter (V green, R red-orange).
    EXPECT_DOUBLE_EQ(pane.Points()[2].y, 13.0);
    EXPECT_EQ(RgbOf(pane.Points()[0].colour), 0x00C000u);
    EXPECT_EQ(RgbOf(pane.Points()[5].colour), 0x0050FFu);
    EXPECT_FALSE(pane.Points()[4].highlighted);
    EXPECT_TRUE(pane.Points()[5].highlighted);
    EXPECT_EQ(pane.Points()[6].source, (CPointSource{1, 1}));
    // Minima: primary (kind 2), unused secondary (kind 1), undefined (kind 2, its own
    // colour); those of the selected series carry end circles.
    ASSERT_EQ(pane.Markers().size(), 3u);
    EXPECT_EQ(pane.Markers()[0].kind, kMarkerMinimumPrimary);
    EXPECT_EQ(pane.Markers()[0].colour, kPrimaryColour);
    EXPECT_FALSE(pane.Markers()[0].end_circles);
    EXPECT_EQ(pane.Markers()[1].kind, kMarkerMinimumUnused);
    EXPECT_EQ(pane.Markers()[1].colour, kUnusedMinimumColour);
    EXPECT_EQ(pane.Markers()[2].kind, kMarkerMinimumPrimary);
    EXPECT_EQ(pane.Markers()[2].colour, kUndefinedMinimumColour);
    EXPECT_TRUE(pane.Markers()[2].end_circles);
    EXPECT_DOUBLE_EQ(pane.Markers()[2].time, 105.46);
}

TEST(ChartViews, TimeCaptionFollowsTheJdType) {
    auto object = TwoNights();
    EXPECT_EQ(TimeCaption(*object), "JD");
    object->series[0]->meta_data.jd_type = kurvalux_data::kJdHeliocentric;
    EXPECT_EQ(TimeCaption(*object), "HJD");
    object->series[0]->meta_data.jd_type = kurvalux_data::kJdGeocentric;
    EXPECT_EQ(TimeCaption(*object), "GJD");
    object->series[0]->hjd_converted = true;
    EXPECT_EQ(TimeCaption(*object), "HJD");
}

TEST(ChartViews, FilterColours) {
    auto object = TwoNights();
    kurvalux_data::FilterTable table;
    table.Add("V", 0xFF123456);
    auto& series = *object->series[1];
    EXPECT_EQ(SeriesColour(*object, *object->series[0], table), 0xFF123456u);
    EXPECT_EQ(SeriesColour(*object, series, table), kUnknownFilterColour);  // no "R"
    series.meta_data.filter.clear();
    series.file_meta_data.filter = "V";  // the file's filter when the series has none
    EXPECT_EQ(SeriesColour(*object, series, table), 0xFF123456u);
    series.file_meta_data.filter.clear();
    object->meta_data.filter = "V";  // then the object's
    EXPECT_EQ(SeriesColour(*object, series, table), 0xFF123456u);
}

TEST(ChartViews, CompressedSeriesSideBySide) {
    // Spans 0.2 and 0.1 day; the gap is a tenth of the longest, 0.02 day. The first series
    // starts at 0, the second at 0.2 + 0.02; night markers sit in the middle of each gap.
    auto object = TwoNights();
    ChartRequest request;
    request.view = ChartView::kCompressed;
    std::string message;
    Chart chart = MakeChart(*object, request, message);
    ASSERT_TRUE(chart.pane) << message;
    const CLightCurvePane& pane = *chart.pane;
    EXPECT_EQ(pane.CaptionBelow(), "Days");
    std::vector<double> xs;
    for (const CChartPoint& p : pane.Points()) xs.push_back(p.x);
    const std::vector<double> expected = {0, 0.05, 0.1, 0.15, 0.2, 0.22, 0.27, 0.32};
    ASSERT_EQ(xs.size(), expected.size());
    for (size_t i = 0; i < xs.size(); ++i) EXPECT_NEAR(xs[i], expected[i], 1e-9) << i;
    ASSERT_EQ(pane.Markers().size(), 5u);
    EXPECT_EQ(pane.Markers()[0].kind, kMarkerNight);
    EXPECT_NEAR(pane.Markers()[0].position, -0.01, 1e-9);
    EXPECT_DOUBLE_EQ(pane.Markers()[0].time, 100.3);
    EXPECT_NEAR(pane.Markers()[1].position, 0.1, 1e-9);  // the primary minimum at 100.4
    EXPECT_DOUBLE_EQ(pane.Markers()[1].time, 100.4);
    EXPECT_EQ(pane.Markers()[2].kind, kMarkerNight);
    EXPECT_NEAR(pane.Markers()[2].position, 0.21, 1e-9);
    EXPECT_DOUBLE_EQ(pane.Markers()[2].time, 105.4);
    chart.pane->LayoutAll();
    EXPECT_NEAR(pane.XDataLower(), -0.01, 1e-9);
    EXPECT_NEAR(pane.XDataUpper(), 0.33, 1e-9);
}

TEST(ChartViews, PhasedCurveRepeatsTheEnds) {
    // M0 100, P 1: phases 0.3, 0.35, 0.4, 0.45, 0.5 and 0.4, 0.45, 0.5; none lies within 0.2
    // of an end, so no point is repeated. Move one night to phases 0.1 and 0.9.
    auto object = TwoNights();
    object->m0 = 100.0;
    object->period = 1.0;
    object->series[1]->times = {105.1, 105.45, 105.9};
    ChartRequest request;
    request.view = ChartView::kPhased;
    std::string message;
    Chart chart = MakeChart(*object, request, message);
    ASSERT_TRUE(chart.pane) << message;
    std::vector<double> xs;
    for (const CChartPoint& p : chart.pane->Points())
        if (p.source.series == 1) xs.push_back(p.x);
    const std::vector<double> expected = {0.1, 1.1, 0.45, 0.9, -0.1};
    ASSERT_EQ(xs.size(), expected.size());
    for (size_t i = 0; i < xs.size(); ++i) EXPECT_NEAR(xs[i], expected[i], 1e-9) << i;
    EXPECT_EQ(chart.pane->CaptionBelow(), "Phase");
    EXPECT_TRUE(chart.pane->Markers().empty());
    EXPECT_DOUBLE_EQ(chart.visible_from, kPhaseFrom);
    EXPECT_DOUBLE_EQ(chart.visible_to, kPhaseTo);
}

TEST(ChartViews, Refusals) {
    auto object = TwoNights();
    struct Case {
        ChartView view;
        int series;
        const char* message;
    };
    const std::vector<Case> cases = {
        {ChartView::kPhased, -1, "Cannot draw phased light curve if M0 and/or P is not defined"},
        {ChartView::kPhasedFit, -1, "Cannot draw phased light curve if M0 and/or P is not defined"},
        {ChartView::kMinimum, -1, "The minimum chart needs a series of the object"},
        {ChartView::kTime, 2, "The object has no series 2"},
    };
    for (const Case& c : cases) {
        ChartRequest request;
        request.view = c.view;
        request.series = c.series;
        std::string message;
        EXPECT_FALSE(MakeChart(*object, request, message).pane);
        EXPECT_EQ(message, c.message);
    }
    object->series[0]->enabled = false;
    object->series[1]->enabled = false;
    std::string message;
    EXPECT_FALSE(MakeChart(*object, ChartRequest{}, message).pane);
    EXPECT_EQ(message, "No points to draw in the Time Series chart");
}

TEST(ChartViews, PredictedMinima) {
    auto object = TwoNights();
    object->m0 = 100.0;
    object->period = 1.0;
    ChartRequest request;
    request.show_predicted_minima = true;
    std::string message;
    Chart chart = MakeChart(*object, request, message);
    ASSERT_TRUE(chart.pane);
    // Over 100.3 .. 105.5: primaries at 101 .. 105, secondaries at 100.5 .. 105.5.
    int primaries = 0, secondaries = 0;
    for (const CChartMarker& m : chart.pane->Markers()) {
        primaries += m.kind == kMarkerPredictedPrimary;
        secondaries += m.kind == kMarkerPredictedSecondary;
    }
    EXPECT_EQ(primaries, 5);
    EXPECT_EQ(secondaries, 6);
    EXPECT_TRUE(chart.pane->show_kind4);
    EXPECT_TRUE(chart.pane->show_kind5);
}

TEST(ChartViews, RefillKeepsThePane) {
    auto object = TwoNights();
    CLightCurvePane pane;
    pane.SetRect(CRect{0, 0, 300, 200});
    double from = -1, to = -1;
    std::string message;
    ChartRequest request;
    request.from = 100.3;
    request.to = 100.4;
    ASSERT_TRUE(RefillChart(pane, *object, request, message, from, to)) << message;
    EXPECT_EQ(pane.Points().size(), 8u);
    EXPECT_DOUBLE_EQ(from, 100.3);
    EXPECT_DOUBLE_EQ(to, 100.4);
    object->series.pop_back();
    request = ChartRequest{};
    request.view = ChartView::kCompressed;
    ASSERT_TRUE(RefillChart(pane, *object, request, message, from, to)) << message;
    EXPECT_EQ(pane.Points().size(), 5u);  // the old points are gone
    EXPECT_EQ(pane.Markers().size(), 2u);
    EXPECT_EQ(from, 0);  // all the data
    EXPECT_EQ(to, 0);
    EXPECT_EQ(pane.Rect(), (CRect{0, 0, 300, 200}));
    object->m0 = 100;
    object->period = 1;
    request.view = ChartView::kPhasedFit;
    EXPECT_FALSE(RefillChart(pane, *object, request, message, from, to));
    EXPECT_EQ(message, "The pane cannot show the Phased Curve Fit chart");
}

kurvalux_data::LightCurveParameters Binary() {
    kurvalux_data::LightCurveParameters p = kurvalux_data::kDefaultLightCurveParameters;
    p[kurvalux_data::kMag0] = 12.0;
    p[kurvalux_data::kAPri] = 0.8;
    p[kurvalux_data::kDPri] = 0.05;
    p[kurvalux_data::kASec] = 0.3;
    p[kurvalux_data::kDSec] = 0.05;
    return p;
}

TEST(FitPanes, PhasedModelSampledEveryTwoColumns) {
    CLightCurveFitPane pane;
    pane.invert_y = true;
    pane.SetRect(CRect{0, 0, 400, 300});
    pane.AddPoint(0.25, 12.0, 0, 0, false);
    pane.AddPoint(0.75, 12.05, 0, 0, false);
    pane.SetXDataRange(kPhaseFrom, kPhaseTo);
    pane.SetModel(Binary(), true);
    pane.LayoutAll();
    // The Y range takes in the model's eclipses, not only the two points.
    EXPECT_LT(pane.VisibleYUpper(), 12.81);
    EXPECT_GT(pane.VisibleYUpper(), 12.79);
    const int columns = pane.XMapping().length;
    ASSERT_EQ(pane.Polyline().Segments(), 1u);
    const std::vector<int>& xs = pane.Polyline().xs[0];
    EXPECT_EQ(xs.size(), static_cast<size_t>(columns / 2 + 1));
    EXPECT_EQ(xs.front(), pane.XMapping().start);
    for (size_t i = 1; i < xs.size(); ++i) EXPECT_EQ(xs[i] - xs[i - 1], 2) << i;
    // Out of eclipse the model is mag0 exactly; the deepest sample lies within half a sample
    // step (0.0045 in phase) of phase 0, so within 0.004 mag of mag0 + a_pri.
    EXPECT_DOUBLE_EQ(pane.MaxMag(), 12.0);
    EXPECT_NEAR(pane.MinMag(), 12.8, 0.004);
    EXPECT_EQ(pane.MagnitudeText().substr(0, 27), "Max.Mag: 12.000  Min.Mag: 1");

    CRecordingContext dc;
    pane.Paint(dc);
    auto polylines = dc.CallsOf("polyline");
    ASSERT_EQ(polylines.size(), 1u);
    int pen = dc.Find("pen 0,0,0", dc.Find("fill 0,0,0"));  // after the points
    ASSERT_GE(pen, 0);
    EXPECT_EQ(dc.Calls()[pen + 1], "width 2");
    EXPECT_EQ(dc.Calls()[pen + 2].substr(0, 9), "polyline ");
    EXPECT_EQ(dc.Calls()[pen + 3], "width 1");
}

TEST(FitPanes, NoModelWithoutFit) {
    CLightCurveFitPane pane;
    pane.SetRect(CRect{0, 0, 400, 300});
    pane.AddPoint(0.25, 12.0, 0, 0, false);
    pane.SetModel(Binary(), false);
    pane.LayoutAll();
    EXPECT_EQ(pane.Polyline().Segments(), 0u);
    EXPECT_EQ(pane.MaxMag(), 100.0);  // the undefined value: nothing sampled
    CRecordingContext dc;
    pane.Paint(dc);
    EXPECT_TRUE(dc.CallsOf("polyline").empty());
}

TEST(FitPanes, MinimumCurveNeedsSevenPointsAndAFit) {
    kurvalux_analysis::SingleMinimumParameters fit = {12.0, 0.5, 0.0, 0.6, 0.1, 1.0, 0.0};
    for (int points : {6, 7}) {
        CMinimumFitPane pane;
        pane.invert_y = true;
        pane.SetRect(CRect{0, 0, 400, 300});
        pane.SetWindow(200.0, 200.2);
        for (int i = 0; i < points; ++i) {
            double t = 200.0 + 0.2 * i / (points - 1);
            pane.AddPoint(t, kurvalux_analysis::CSingleMinimumModel(fit).Evaluate((t - 200) / 0.2),
                          0, 0, false);
        }
        pane.SetXDataRange(200.0, 200.2);
        pane.LayoutAll();
        EXPECT_EQ(pane.Polyline().Segments(), 0u) << "no fit yet";
        pane.SetModel(fit, 0.25, 0.75);
        pane.LayoutAll();
        EXPECT_DOUBLE_EQ(pane.MinimumTime(), 200.1);
        if (points < 7) {
            EXPECT_FALSE(pane.CurveShown());
            EXPECT_EQ(pane.Polyline().Segments(), 0u);
            continue;
        }
        ASSERT_EQ(pane.Polyline().Segments(), 1u);
        // Only over the fitted span: a quarter to three quarters of the window.
        int from = pane.XMapping().Pixel(200.05), to = pane.XMapping().Pixel(200.15);
        EXPECT_EQ(pane.Polyline().xs[0].front(), from);
        EXPECT_EQ(pane.Polyline().xs[0].size(), static_cast<size_t>((to - from) / 2 + 1));
        // Deepest at t0 (0.5, the middle of the span): m0 + A. At the ends, a quarter window
        // (2.5 widths) from t0, the profile is A * exp(1 - cosh 2.5) = 0.0035.
        EXPECT_NEAR(pane.Sampling().largest, 12.6, 1e-3);
        EXPECT_DOUBLE_EQ(pane.Sampling().smallest, pane.Sampling().values.front());
        EXPECT_NEAR(pane.Sampling().smallest, 12.0035, 1e-4);
    }
}

TEST(ChartViews, MinimumViewKeepsTheWindow) {
    auto object = TwoNights();
    ChartRequest request;
    request.view = ChartView::kMinimum;
    request.series = 0;
    request.from = 100.33;
    request.to = 100.47;
    std::string message;
    Chart chart = MakeChart(*object, request, message);
    ASSERT_TRUE(chart.pane) << message;
    ASSERT_EQ(chart.pane->Points().size(), 3u);         // 100.35, 100.4, 100.45
    EXPECT_DOUBLE_EQ(chart.pane->Points()[1].y, 13.0);  // magnitude with the offset
    EXPECT_EQ(chart.pane->Markers().size(), 1u);
    EXPECT_DOUBLE_EQ(chart.visible_from, 100.33);
    EXPECT_DOUBLE_EQ(chart.visible_to, 100.47);
    auto* minimum = dynamic_cast<CMinimumFitPane*>(chart.pane.get());
    ASSERT_NE(minimum, nullptr);
    EXPECT_DOUBLE_EQ(minimum->WindowStart(), 100.33);
    EXPECT_FALSE(minimum->HasFit());
}

TEST(ChartViews, FluxObjectFitChartInMagnitudes) {
    auto object = TwoNights();
    object->is_flux = true;
    for (auto& s : object->series) {
        s->offset = 1.0;
        for (double& v : s->values) v = 1.0;
    }
    object->m0 = 100.0;
    object->period = 1.0;
    object->has_fit = true;
    object->fit = Binary();
    ChartRequest request;
    request.view = ChartView::kPhased;
    std::string message;
    Chart phased = MakeChart(*object, request, message);
    ASSERT_TRUE(phased.pane);
    EXPECT_FALSE(phased.pane->invert_y);  // flux grows upward
    EXPECT_EQ(phased.pane->CaptionAbove(), "Flux");
    request.view = ChartView::kPhasedFit;
    Chart fit = MakeChart(*object, request, message);
    ASSERT_TRUE(fit.pane);
    EXPECT_TRUE(fit.pane->invert_y);  // the fit works in magnitudes: -2.5 log10(1) = 0
    EXPECT_EQ(fit.pane->CaptionAbove(), "Mag");
    EXPECT_DOUBLE_EQ(fit.pane->Points()[0].y, 0.0);
    EXPECT_TRUE(dynamic_cast<CLightCurveFitPane&>(*fit.pane).ModelEnabled());
}

}  // namespace
}  // namespace kurvalux_lc
