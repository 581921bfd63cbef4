// The O-C diagram through the recording context: where the minima land on both axes and in
// both units, the fitted line, the markers of the three kinds of minimum and the order they
// are painted in.
//
// The hand-checked case: ephemeris M0 = 2450000, P = 1 d. Primaries at E = 0 and 10 are
// 0.001 d and 0.003 d late, the secondary of E = 5 (fitted at 5.5) 0.0021 d late: all three
// on the line O-C = 0.001 + 0.0002·n, so the fit gives M0 = 2450000.001, P = 1.0002 exactly.
// A minimum of undefined type 0.1 d early of cycle 8 is drawn but not fitted.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "analysis/ephemeris_fit.h"
#include "lc/oc_pane.h"
#include "lc/recording_context.h"

namespace kurvalux_lc {
namespace {

using kurvalux_analysis::EphemerisFitOptions;
using kurvalux_analysis::EphemerisFitResult;
using kurvalux_analysis::OCEntry;
using kurvalux_data::CMinimaListElem;

constexpr double kM0 = 2450000.0, kP = 1.0;

CMinimaListElem Minimum(double time, uint32_t type, double error) {
    CMinimaListElem m;
    m.time = time;
    m.type = type;
    m.error = error;
    m.enabled = true;
    return m;
}

std::vector<OCEntry> HandTable() {
    return kurvalux_analysis::MakeOCTable(
        {Minimum(2450000.001, kurvalux_data::kMinimumPrimary, 0.001),
         Minimum(2450010.003, kurvalux_data::kMinimumPrimary, 0.001),
         Minimum(2450005.5021, kurvalux_data::kMinimumSecondary, 0.001),
         Minimum(2450007.9, kurvalux_data::kMinimumUndefined, 0)},
        kM0, kP);
}

struct Built {
    std::vector<OCEntry> table;
    EphemerisFitResult fit;
};

Built Fit(bool quadratic = false) {
    Built b;
    b.table = HandTable();
    EphemerisFitOptions options;
    options.quadratic = quadratic;
    b.fit = kurvalux_analysis::FitEphemeris(b.table, kM0, kP, options);
    return b;
}

void Make(COCPane& pane, const Built& b, OCXAxis axis, OCUnit unit, bool errors = true) {
    pane.SetRect({0, 0, 600, 400});
    pane.SetTable(b.table, kM0, kP);
    pane.SetFit(&b.fit);
    pane.SetXAxis(axis);
    pane.SetUnit(unit);
    pane.show_error_bars = errors;
    pane.Build();
    pane.LayoutAll();
}

// The last text call that writes `text`, or -1.
int FindText(const CRecordingContext& dc, const std::string& text) {
    const auto& calls = dc.Calls();
    for (size_t i = calls.size(); i-- > 0;)
        if (calls[i].rfind("text ", 0) == 0 && calls[i].size() > text.size() &&
            calls[i].compare(calls[i].size() - text.size() - 1, std::string::npos, " " + text) == 0)
            return int(i);
    return -1;
}

TEST(OCPane, HandCheckedFitAndTable) {
    const Built b = Fit();
    ASSERT_TRUE(b.fit.ok) << b.fit.message;
    EXPECT_NEAR(b.fit.m0, 2450000.001, 1e-9);
    EXPECT_NEAR(b.fit.period, 1.0002, 1e-10);
    ASSERT_EQ(b.table.size(), 4u);
    // In time order: E = 0, 5 (secondary), 8 (undefined), 10.
    EXPECT_EQ(b.table[1].type, kurvalux_data::kMinimumSecondary);
    EXPECT_EQ(b.table[2].type, kurvalux_data::kMinimumUndefined);
    EXPECT_FALSE(b.table[2].fitted);
    EXPECT_DOUBLE_EQ(b.table[2].cycle, 8);
    EXPECT_NEAR(b.table[2].oc, -0.1, 1e-9);
}

TEST(OCPane, AxesAndUnits) {
    const Built b = Fit();
    struct Case {
        OCXAxis axis;
        OCUnit unit;
        bool errors;
        double x0, x1, y0, y1;  // expected visible ranges
        const char* above;
        const char* below;
    };
    // Cycle axis: n from 0 to 10, a twentieth (0.5) beyond each end. O-C from the undefined
    // minimum's -0.1 up to the fitted line's 0.0031 at n = 10.5 (0.004 with the error bars:
    // 0.003 + 0.001), then a twentieth of that span beyond each end.
    // Time axis: 2450000.001 to 2450010.003, padded by 0.5001.
    const std::vector<Case> cases = {
        {OCXAxis::kCycle, OCUnit::kDays, true, -0.5, 10.5, -0.1052, 0.0092, "O-C d", "E"},
        {OCXAxis::kCycle, OCUnit::kDays, false, -0.5, 10.5, -0.105155, 0.008255, "O-C d", "E"},
        {OCXAxis::kCycle, OCUnit::kMinutes, true, -0.5, 10.5, -0.1052 * 1440, 0.0092 * 1440,
         "O-C min", "E"},
        {OCXAxis::kTime, OCUnit::kDays, true, 2449999.5009, 2450010.5031, -0.1052, 0.0092, "O-C d",
         "HJD"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.above) + " / " + c.below + (c.errors ? " bars" : ""));
        COCPane pane;
        Make(pane, b, c.axis, c.unit, c.errors);
        EXPECT_NEAR(pane.VisibleXLower(), c.x0, 1e-7);
        EXPECT_NEAR(pane.VisibleXUpper(), c.x1, 1e-7);
        // Times near 2.45 million days carry about 5e-10 d (0.7 µmin) of rounding.
        const double tolerance = c.unit == OCUnit::kMinutes ? 2e-6 : 2e-9;
        EXPECT_NEAR(pane.VisibleYLower(), c.y0, tolerance);
        EXPECT_NEAR(pane.VisibleYUpper(), c.y1, tolerance);
        EXPECT_EQ(pane.CaptionAbove(), c.above);
        EXPECT_EQ(pane.CaptionBelow(), c.below);
    }
}

TEST(OCPane, ValuesOfEntriesAndLine) {
    const Built b = Fit();
    COCPane pane;
    Make(pane, b, OCXAxis::kCycle, OCUnit::kMinutes);
    // The secondary of E = 5 sits at 5.5, 0.0021 d = 3.024 min late.
    EXPECT_DOUBLE_EQ(pane.XValue(b.table[1]), 5.5);
    EXPECT_NEAR(pane.YValue(b.table[1]), 3.024, 2e-6);
    // The fitted line goes through the three fitted minima: 1.44 min at n = 0, 4.32 at 10.
    EXPECT_NEAR(pane.FitValue(0), 1.44, 2e-6);
    EXPECT_NEAR(pane.FitValue(10), 4.32, 2e-6);
    // A straight line is drawn with its two ends, over the whole plot.
    ASSERT_EQ(pane.FitXs().size(), 2u);
    EXPECT_EQ(pane.FitXs()[0], pane.XMapping().start);
    EXPECT_EQ(pane.FitXs()[1], pane.XMapping().start + pane.XMapping().length);
    EXPECT_EQ(pane.FitYs()[0], pane.YMapping().Pixel(1.44 - 0.5 * 0.288));
    EXPECT_EQ(pane.FitYs()[1], pane.YMapping().Pixel(4.32 + 0.5 * 0.288));

    // On the time axis the line is the same ephemeris: at the time of cycle 10 it is 4.32 min.
    COCPane time;
    Make(time, b, OCXAxis::kTime, OCUnit::kMinutes);
    EXPECT_NEAR(time.FitValue(2450010.0), 4.32, 2e-6);
    EXPECT_DOUBLE_EQ(time.XValue(b.table[3]), 2450010.003);
}

TEST(OCPane, MarkersOfTheThreeKinds) {
    const Built b = Fit();
    COCPane pane;
    Make(pane, b, OCXAxis::kCycle, OCUnit::kDays);
    const auto& marks = pane.Marks();
    ASSERT_EQ(marks.size(), 4u);
    for (const auto& m : marks) ASSERT_GE(m.y, 0);
    // 0.001 d error: 0.001 × (plot pixels per day), rounded.
    const double scale = pane.YMapping().Scale();
    EXPECT_EQ(marks[0].e, int(0.001 * scale + 0.5));
    EXPECT_EQ(marks[2].e, 0);  // the undefined minimum has no error

    CRecordingContext dc;
    pane.Paint(dc);
    // Primaries: filled discs of radius 3 at their points.
    for (int i : {0, 3}) {
        const std::string disc =
            "disc " + std::to_string(marks[i].x) + " " + std::to_string(marks[i].y) + " 3 0";
        EXPECT_GE(dc.Find(disc), 0) << disc;
    }
    // The secondary: an open square 6 pixels wide.
    const auto& m1 = marks[1];
    auto xy = [](int x, int y) { return " " + std::to_string(x) + "," + std::to_string(y); };
    const std::string square = "polyline 5" + xy(m1.x - 3, m1.y - 3) + xy(m1.x + 3, m1.y - 3) +
                               xy(m1.x + 3, m1.y + 3) + xy(m1.x - 3, m1.y + 3) +
                               xy(m1.x - 3, m1.y - 3);
    const int square_at = dc.Find(square);
    EXPECT_GE(square_at, 0) << square;
    // The undefined minimum: an orange diamond, drawn after every fitted minimum.
    const auto& m2 = marks[2];
    const std::string diamond = "polyline 5" + xy(m2.x, m2.y - 4) + xy(m2.x + 4, m2.y) +
                                xy(m2.x, m2.y + 4) + xy(m2.x - 4, m2.y) + xy(m2.x, m2.y - 4);
    const int diamond_at = dc.Find(diamond);
    ASSERT_GE(diamond_at, 0) << diamond;
    EXPECT_EQ(dc.Calls()[diamond_at - 2], "pen 230,120,0");
    const int last_disc =
        dc.Find("disc " + std::to_string(marks[3].x) + " " + std::to_string(marks[3].y) + " 3 0");
    EXPECT_GT(diamond_at, last_disc);
    EXPECT_GT(diamond_at, square_at);
    // Error bars (lighter tint) come first, then the fitted line, then the markers.
    const std::string bar =
        "line " + std::to_string(marks[0].x) + " " + std::to_string(marks[0].y - marks[0].e) + " " +
        std::to_string(marks[0].x) + " " + std::to_string(marks[0].y + marks[0].e);
    const int bar_at = dc.Find(bar);
    ASSERT_GE(bar_at, 0) << bar;
    const int line_at = dc.Find("pen 0,140,0");
    ASSERT_GE(line_at, 0);
    EXPECT_LT(bar_at, line_at);
    EXPECT_LT(line_at, square_at);
    EXPECT_EQ(dc.Calls()[line_at + 2], "polyline 2" + xy(pane.FitXs()[0], pane.FitYs()[0]) +
                                           xy(pane.FitXs()[1], pane.FitYs()[1]));
    // The zero line of the current ephemeris, and the legend.
    EXPECT_EQ(pane.ReferenceY(), pane.YMapping().Pixel(0));
    for (const char* text : {"Primary", "Secondary", "Undefined", "Linear fit"})
        EXPECT_GE(FindText(dc, text), 0) << text;
}

TEST(OCPane, WithoutErrorBarsOrFit) {
    Built b = Fit();
    COCPane pane;
    Make(pane, b, OCXAxis::kCycle, OCUnit::kDays, false);
    pane.SetFit(nullptr);
    pane.Build();
    pane.LayoutAll();
    CRecordingContext dc;
    pane.Paint(dc);
    EXPECT_TRUE(pane.FitXs().empty());
    EXPECT_EQ(dc.Find("pen 0,140,0"), -1);
    EXPECT_EQ(FindText(dc, "Linear fit"), -1);
    // No lightened pen: no error bar was drawn.
    for (const std::string& call : dc.CallsOf("pen"))
        EXPECT_TRUE(call == "pen 220,0,0" || call == "pen 0,60,220" || call == "pen 230,120,0" ||
                    call == "pen 0,0,0" || call == "pen 216,216,216")
            << call;
    // A failed fit draws no line either.
    EphemerisFitResult failed;
    failed.ok = false;
    pane.SetFit(&failed);
    pane.LayoutAll();
    EXPECT_FALSE(pane.HasFit());
    EXPECT_TRUE(pane.FitXs().empty());
}

TEST(OCPane, QuadraticLine) {
    // Primaries on O-C = 0.0001·E² at E = 0, 10, 20, 30: the fit finds Q = 0.0001 d and the
    // line is drawn with a vertex every 4 pixels, bending through the points.
    std::vector<CMinimaListElem> minima;
    for (int e : {0, 10, 20, 30})
        minima.push_back(
            Minimum(kM0 + e * kP + 0.0001 * e * e, kurvalux_data::kMinimumPrimary, 0.0005));
    Built b;
    b.table = kurvalux_analysis::MakeOCTable(minima, kM0, kP);
    EphemerisFitOptions options;
    options.quadratic = true;
    b.fit = kurvalux_analysis::FitEphemeris(b.table, kM0, kP, options);
    ASSERT_TRUE(b.fit.ok);
    EXPECT_NEAR(b.fit.quadratic, 0.0001, 1e-12);
    COCPane pane;
    Make(pane, b, OCXAxis::kCycle, OCUnit::kDays);
    EXPECT_NEAR(pane.FitValue(20), 0.04, 1e-10);
    const auto& xs = pane.FitXs();
    const int length = pane.XMapping().length;
    EXPECT_EQ(xs.size(), size_t((length + 3) / 4 + 1));
    EXPECT_EQ(xs[1] - xs[0], 4);
    EXPECT_EQ(xs.back(), pane.XMapping().start + length);
    CRecordingContext dc;
    pane.Paint(dc);
    EXPECT_GE(FindText(dc, "Quadratic fit"), 0);
    EXPECT_EQ(FindText(dc, "Undefined"), -1);  // none in this table
}

TEST(OCPane, TickLabelsAndHitTest) {
    const Built b = Fit();
    COCPane pane;
    Make(pane, b, OCXAxis::kCycle, OCUnit::kDays);
    // Cycle labels are the tick values without trailing zeros: "0", "2", ..., never "2.0000".
    ASSERT_EQ(pane.XLabels().size(), pane.XTicks().values.size());
    ASSERT_FALSE(pane.XLabels().empty());
    for (size_t i = 0; i < pane.XLabels().size(); ++i) {
        const std::string& label = pane.XLabels()[i];
        EXPECT_EQ(label.find('.'), std::string::npos) << label;
        EXPECT_DOUBLE_EQ(std::stod(label), pane.XTicks().values[i]) << label;
    }
    EXPECT_EQ(pane.XLabels().front(), "0");
    const auto& m = pane.Marks()[1];
    EXPECT_EQ(pane.EntryAt(m.x + 2, m.y - 1, 5), 1);
    EXPECT_EQ(pane.EntryAt(m.x + 20, m.y + 20, 5), -1);
}

TEST(OCPane, SingleMinimumAndEmptyTable) {
    COCPane pane;
    pane.SetRect({0, 0, 400, 300});
    pane.SetTable(kurvalux_analysis::MakeOCTable(
                      {Minimum(2450003.01, kurvalux_data::kMinimumPrimary, 0)}, kM0, kP),
                  kM0, kP);
    pane.Build();
    pane.LayoutAll();
    // One cycle on either side of E = 3.
    EXPECT_DOUBLE_EQ(pane.VisibleXLower(), 2);
    EXPECT_DOUBLE_EQ(pane.VisibleXUpper(), 4);
    pane.SetXAxis(OCXAxis::kTime);
    pane.Build();
    pane.LayoutAll();
    EXPECT_DOUBLE_EQ(pane.VisibleXLower(), 2450002.01);
    EXPECT_DOUBLE_EQ(pane.VisibleXUpper(), 2450004.01);

    COCPane empty;
    empty.SetRect({0, 0, 400, 300});
    empty.Build();
    empty.LayoutAll();
    EXPECT_TRUE(empty.Marks().empty());
    CRecordingContext dc;
    empty.Paint(dc);
    EXPECT_EQ(FindText(dc, "Linear fit"), -1);
}

}  // namespace
}  // namespace kurvalux_lc
