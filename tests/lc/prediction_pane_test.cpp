// The prediction chart through the recording context: the columns, the model curve and its
// 0.01-mag band, the site test, the Sun's classes and bands, the colouring criteria at their
// edges, and the painting order.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "analysis/model.h"
#include "lc/prediction_pane.h"
#include "lc/recording_context.h"
#include "time/local_sky.h"

namespace kurvalux_lc {
namespace {

constexpr double kDegree = 3.14159265358979323846 / 180.0;

// Index of the first text call at x = 10 writing `text`, or -1.
int FindCaption(const CRecordingContext& dc, const std::string& text) {
    const auto& calls = dc.Calls();
    for (size_t i = 0; i < calls.size(); ++i)
        if (calls[i].rfind("text 10 ", 0) == 0 && calls[i].size() > text.size() &&
            calls[i].compare(calls[i].size() - text.size() - 1, std::string::npos, " " + text) == 0)
            return int(i);
    return -1;
}

// An Algol-like binary at R.A. 5h34.5m, Dec. +22°, three days from 2025 October 22, 0h UT, seen
// from 15° E, 50° N on a 600 × 400 pane.
void SetUpAlgol(CPredictionPane& pane, double m0 = 2460950.3876543, double period = 0.7654321,
                double longitude = 15.0, double latitude = 50.0) {
    kurvalux_data::LightCurveParameters p = kurvalux_data::kDefaultLightCurveParameters;
    p[kurvalux_data::kMag0] = 12.3;
    p[kurvalux_data::kAPri] = 0.85;
    p[kurvalux_data::kDPri] = 0.045;
    p[kurvalux_data::kASec] = 0.1;
    pane.SetRect({0, 0, 600, 400});
    pane.SetAxis(2460970.5, 2460973.5);
    pane.SetEphemeris(m0, period);
    pane.SetModel(p, true);
    pane.SetPosition((5 + 34.5 / 60) * 15 * kDegree, 22.0 * kDegree);
    pane.SetSite(longitude, latitude);
    pane.SetCriteria(20, -12, true, true);
    pane.Build();
}

TEST(PredictionPane, ColumnsCurveAndBands) {
    CPredictionPane pane;
    SetUpAlgol(pane);
    const auto& columns = pane.Columns();
    const CRect& plot = pane.Plot();
    ASSERT_EQ(columns.size(), size_t((plot.width + 1) / 2));
    EXPECT_EQ(columns.front().x, plot.left);
    EXPECT_EQ(columns[1].x, plot.left + 2);
    ASSERT_TRUE(pane.HasCurve());
    ASSERT_TRUE(pane.HasStarAltitude());
    ASSERT_TRUE(pane.HasSunAltitude());
    // The curve spans the primary's depth: from mag0 to mag0 + a_pri.
    EXPECT_NEAR(pane.ModelMinimum(), 12.3, 1e-3);
    EXPECT_NEAR(pane.ModelMaximum(), 12.3 + 0.85, 0.02);
    // The column of the model's minimum value lies at the plot's top, the faintest one at
    // the bottom less twice the margin.
    int top = 1 << 30, bottom = -1;
    for (const auto& c : columns) {
        top = std::min(top, c.y);
        bottom = std::max(bottom, c.y);
    }
    EXPECT_EQ(top, plot.top);
    EXPECT_EQ(bottom, plot.top + plot.height - 2 * pane.Margin());
    // The phase of column k follows the time of column k.
    const double step = 3.0 * 2 / plot.width;
    for (size_t k : {size_t(0), size_t(57), columns.size() - 1}) {
        const double t = 2460970.5 + k * step;
        const double phase = kurvalux_analysis::PhaseOf(t, 2460950.3876543, 0.7654321);
        kurvalux_data::LightCurveParameters p = kurvalux_data::kDefaultLightCurveParameters;
        p[kurvalux_data::kMag0] = 12.3;
        p[kurvalux_data::kAPri] = 0.85;
        p[kurvalux_data::kDPri] = 0.045;
        p[kurvalux_data::kASec] = 0.1;
        EXPECT_NEAR(columns[k].model, kurvalux_analysis::EvaluateLightCurve(p, phase), 1e-6) << k;
    }
    // Bands: the first starts at the first column; each starts where the Sun's class changes;
    // they tile the columns; three days hold three nights, so every class occurs.
    const auto& stripes = pane.Stripes();
    ASSERT_FALSE(stripes.empty());
    EXPECT_EQ(stripes.front().left, columns.front().x);
    int covered = 0;
    for (size_t i = 0; i < stripes.size(); ++i) {
        covered += stripes[i].width;
        if (i > 0) {
            EXPECT_EQ(stripes[i].left, stripes[i - 1].left + stripes[i - 1].width);
        }
    }
    EXPECT_EQ(covered, columns.back().x - columns.front().x);
    size_t changes = 0;
    for (size_t k = 1; k + 1 < columns.size(); ++k)
        changes += SunClass(columns[k].sun_altitude) != SunClass(columns[k - 1].sun_altitude);
    EXPECT_EQ(stripes.size(), changes + 1);
    EXPECT_EQ(stripes.size(), 3u * 8u + 1u);  // day, 3 twilights, night, 3 twilights, day ...
    EXPECT_LT(pane.AltitudeMinimum(), -50);
    EXPECT_GT(pane.AltitudeMaximum(), 55);
}

TEST(PredictionPane, SunClassesAndColours) {
    struct Case {
        double altitude;
        int sun_class;
        Colour colour;
    };
    const Case cases[] = {
        {-18.0, 0, 0xFFFFFFFF}, {-17.999, 1, 0xFFF0F8FF}, {-12.0, 1, 0xFFF0F8FF},
        {-11.5, 2, 0xFFE1F4FF}, {-6.0, 2, 0xFFE1F4FF},    {-0.001, 3, 0xFFD2F0FF},
        {0.0, 3, 0xFFD2F0FF},   {0.001, 4, 0xFFC3ECFF},   {-90, 0, 0xFFFFFFFF},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(SunClass(c.altitude), c.sun_class) << c.altitude;
        EXPECT_EQ(SunClassColour(c.sun_class), c.colour) << c.altitude;
    }
    EXPECT_EQ(ColourText(SunClassColour(1)), "255,248,240");
    EXPECT_EQ(ColourText(SunClassColour(4)), "255,236,195");
}

// Period or M0 zero: no curve, but the bands and the Sun's altitude; a site on the equator or
// the zero meridian: no bands and no altitudes, but the curve.
TEST(PredictionPane, WhatEachInputLeavesOut) {
    struct Case {
        double m0, period, longitude, latitude;
        bool curve, altitudes;
    };
    const Case cases[] = {
        {2460950.3876543, 0.0, 15, 50, false, true},
        {0.0, 0.7654321, 15, 50, false, true},
        {2460950.3876543, 0.7654321, 15, 0.0, true, false},
        {2460950.3876543, 0.7654321, 0.0, 50, true, false},
    };
    for (const Case& c : cases) {
        CPredictionPane pane;
        SetUpAlgol(pane, c.m0, c.period, c.longitude, c.latitude);
        EXPECT_EQ(pane.HasCurve(), c.curve);
        EXPECT_EQ(pane.HasSunAltitude(), c.altitudes);
        EXPECT_EQ(pane.HasStarAltitude(), c.altitudes);
        EXPECT_EQ(pane.Stripes().empty(), !c.altitudes);
        if (!c.altitudes) {
            EXPECT_EQ(pane.AltitudeMinimum(), kUnsetAltitude);
            EXPECT_EQ(pane.AltitudeMaximum(), kUnsetAltitude);
        }
        // The curve's runs, then the star's and the Sun's altitudes.
        CRecordingContext dc;
        pane.Paint(dc);
        const size_t polylines = dc.CallsOf("polyline").size();
        EXPECT_EQ(polylines == 2u, !c.curve);
        EXPECT_EQ(FindCaption(dc, "Deg") >= 0, c.altitudes);
    }
}

// A model without eclipses or harmonics is flat: drawn in a 0.01 mag band about its value,
// all columns at half the band's height.
TEST(PredictionPane, FlatModelInAHundredthOfAMagnitude) {
    CPredictionPane pane;
    SetUpAlgol(pane);
    kurvalux_data::LightCurveParameters p = kurvalux_data::kDefaultLightCurveParameters;
    p[kurvalux_data::kMag0] = 11.0;
    p[kurvalux_data::kAPri] = 0;
    p[kurvalux_data::kASec] = 0;
    pane.SetModel(p, true);
    pane.Build();
    EXPECT_EQ(pane.ModelMinimum(), 11.0 - 0.005);
    EXPECT_EQ(pane.ModelMaximum(), 11.0 + 0.005);
    const int height = pane.Plot().height - 2 * pane.Margin();
    const int expected = int(std::trunc((11.0 - pane.ModelMinimum()) * height /
                                            (pane.ModelMaximum() - pane.ModelMinimum()) +
                                        0.5)) +
                         pane.Plot().top;
    EXPECT_NEAR(expected, pane.Plot().top + height / 2, 1);
    for (const auto& c : pane.Columns()) ASSERT_EQ(c.y, expected);
}

// The Sun exactly at "SunAlt": grey under the Sun's criterion alone, blue under both with the
// star high enough; the star exactly at "StarAlt" is good enough.
TEST(PredictionPane, CriteriaAtTheirEdges) {
    CPredictionPane pane;
    SetUpAlgol(pane);
    const size_t k = 100;
    const auto column = pane.Columns()[k];
    struct Case {
        double star_alt, sun_alt;
        bool use_star, use_sun;
        Colour colour;
    };
    const Case cases[] = {
        {-90, column.sun_altitude, false, true, kUnobservableColour},
        {-90, std::nextafter(column.sun_altitude, 90.0), false, true, kObservableColour},
        {-90, column.sun_altitude, true, true, kObservableColour},
        {column.star_altitude, column.sun_altitude, true, true, kObservableColour},
        {std::nextafter(column.star_altitude, 90.0), 90, true, true, kUnobservableColour},
        {column.star_altitude, -90, true, false, kObservableColour},
        {std::nextafter(column.star_altitude, 90.0), -90, true, false, kUnobservableColour},
        {90, -90, false, false, pane.style.axis},
    };
    for (const Case& c : cases) {
        pane.SetCriteria(c.star_alt, c.sun_alt, c.use_star, c.use_sun);
        EXPECT_EQ(pane.ColumnColour(k), c.colour)
            << c.star_alt << " " << c.sun_alt << " " << c.use_star << c.use_sun;
    }
    // Without the star's position the star's criterion has nothing to judge: the Sun decides.
    pane.SetPosition(-1.0, 91.0);
    pane.Build();
    pane.SetCriteria(90, column.sun_altitude, true, true);
    EXPECT_FALSE(pane.HasStarAltitude());
    EXPECT_EQ(pane.ColumnColour(k), kUnobservableColour);
}

// Background, the bands, the chart, then the curve in runs of one colour that join up.
TEST(PredictionPane, PaintingOrder) {
    CPredictionPane pane;
    SetUpAlgol(pane);
    CRecordingContext dc;
    pane.Paint(dc);
    const auto& calls = dc.Calls();
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(calls[0], "fill 255,255,255");
    EXPECT_EQ(calls[1], "rect 0 0 600 400");
    // The axis starts at midnight UT: night, no band; the first band drawn is the next one.
    const auto& stripes = pane.Stripes();
    EXPECT_EQ(stripes[0].colour, CStripeListElem::kNoFill);
    EXPECT_EQ(calls[2], "fill " + ColourText(stripes[1].colour));
    EXPECT_EQ(calls[3], "rect " + std::to_string(stripes[1].left) + " 0 " +
                            std::to_string(stripes[1].width) + " 400");
    const int first_axis = dc.Find(
        "line " + std::to_string(pane.Plot().left) + " " + std::to_string(pane.Plot().top) + " " +
        std::to_string(pane.Plot().left) + " " + std::to_string(pane.Plot().Bottom()));
    ASSERT_GT(first_axis, 3);
    int last_rect = -1, first_polyline = -1;
    for (size_t i = 0; i < calls.size(); ++i) {
        if (calls[i].rfind("rect ", 0) == 0 && int(i) < first_axis) last_rect = int(i);
        if (calls[i].rfind("polyline ", 0) == 0 && first_polyline < 0) first_polyline = int(i);
    }
    EXPECT_LT(last_rect, first_axis);
    EXPECT_GT(first_polyline, first_axis);
    // The runs cover every column once, each starting where the previous ended; then comes
    // the altitude plot.
    const int deg = FindCaption(dc, "Deg");
    ASSERT_GT(deg, first_polyline);
    size_t points = 0, runs = 0;
    for (int i = first_polyline; i < deg; ++i) {
        if (calls[i].rfind("polyline ", 0) != 0) continue;
        points += std::stoul(calls[i].substr(9));
        ++runs;
    }
    EXPECT_EQ(points, pane.Columns().size() + runs - 1);
    EXPECT_GT(runs, 2u);
    const auto pens = dc.CallsOf("pen");
    EXPECT_NE(std::find(pens.begin(), pens.end(), "pen 31,63,255"), pens.end());
    EXPECT_NE(std::find(pens.begin(), pens.end(), "pen 192,192,192"), pens.end());
}

// The lower plot: a frame under the chart's plot, the altitude axis in degrees, the horizon in
// grey, "Deg" and "Date", local-time labels, then the star's and the Sun's curves.
TEST(PredictionPane, AltitudePlot) {
    CPredictionPane pane;
    SetUpAlgol(pane);
    pane.SetRect({0, 0, 800, 600});
    pane.Build();
    CRecordingContext dc;
    pane.Paint(dc);
    const CRect& frame = pane.AltitudeFrame();
    EXPECT_EQ(frame.left, pane.Plot().left);
    EXPECT_EQ(frame.width, pane.Plot().width);
    EXPECT_GT(frame.top, pane.Plot().Bottom());
    EXPECT_LT(frame.Bottom(), 600);
    // Altitudes from about −56° to +62° (the Sun at night, the star at culmination): steps of
    // 2, 5 or 10 · 10^k at least 30 pixels apart.
    const TickLayout& ticks = pane.AltitudeTicks();
    ASSERT_GT(ticks.count, 1);
    EXPECT_TRUE(ticks.step == 20 || ticks.step == 50 || ticks.step == 10) << ticks.step;
    EXPECT_GE(ticks.pixels[0] - ticks.pixels[1], 30);  // higher values upward
    const int horizon = pane.AltitudeMapping().Pixel(0);
    const int line = dc.Find("line " + std::to_string(frame.left) + " " + std::to_string(horizon) +
                             " " + std::to_string(frame.Right()) + " " + std::to_string(horizon));
    ASSERT_GT(line, 0);
    EXPECT_EQ(dc.Calls()[line - 1], "pen 216,216,216");
    EXPECT_LT(line, FindCaption(dc, "Deg"));
    EXPECT_GE(FindCaption(dc, "Date"), 0);
    ASSERT_GT(pane.TimeTicks().count, 0);
    EXPECT_EQ(pane.TimeLabels()[0], PredictionTimeLabel(pane.TimeTicks().values[0]));
    // The last two polylines: the star (axis colour), then the Sun.
    const auto polylines = dc.CallsOf("polyline");
    ASSERT_GE(polylines.size(), 2u);
    const auto& columns = pane.Columns();
    const std::string star = polylines[polylines.size() - 2];
    const std::string first_point =
        std::to_string(columns[0].x) + "," +
        std::to_string(pane.AltitudeMapping().Pixel(columns[0].star_altitude));
    EXPECT_EQ(star.substr(0, star.find(' ', 9 + 1) + 1 + first_point.size()),
              "polyline " + std::to_string(columns.size()) + " " + first_point);
    const auto pens = dc.CallsOf("pen");
    EXPECT_EQ(pens.back(), "pen 255,160,0");

    // No site: no altitudes and no lower plot.
    pane.SetSite(15, 0);
    pane.Build();
    CRecordingContext bare;
    pane.Paint(bare);
    EXPECT_EQ(pane.AltitudeFrame().width, 0);
    EXPECT_LT(FindCaption(bare, "Deg"), 0);
}

// Minutes rounded up from 30 seconds on, but never past 59.
TEST(PredictionPane, TimeLabels) {
    const char* tz = std::getenv("TZ");
    const std::string old = tz ? tz : "";
    setenv("TZ", "UTC", 1);
    tzset();
    const double midnight = 2460970.5;  // 2025-10-22 0h UT
    struct Case {
        double seconds;
        const char* label;
    };
    const Case cases[] = {
        {0, "2025-10-22 00:00"},
        {29, "2025-10-22 00:00"},
        {30, "2025-10-22 00:01"},
        {58 * 60 + 30, "2025-10-22 00:59"},
        {59 * 60 + 29, "2025-10-22 00:59"},
        {59 * 60 + 45, "2025-10-22 00:59"},
        {23 * 3600 + 59 * 60 + 59, "2025-10-22 23:59"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(PredictionTimeLabel(midnight + c.seconds / 86400.0), c.label) << c.seconds;
    EXPECT_EQ(PredictionTimeLabel(-1.0), "");
    if (tz)
        setenv("TZ", old.c_str(), 1);
    else
        unsetenv("TZ");
    tzset();
}

}  // namespace
}  // namespace kurvalux_lc
