// The planner's night chart through the recording context: rows from local noon to noon, the
// Sun's bands of an October night at 15° E, 50° N, the minima in lanes, and what is painted.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "lc/prediction_pane.h"
#include "lc/recording_context.h"
#include "plan/night_chart.h"

namespace kurvalux_plan {
namespace {

using kurvalux_lc::ColourText;
using kurvalux_lc::CRecordingContext;

class NightChart : public ::testing::Test {
protected:
    void SetUp() override { SetZone("UTC0"); }
    void TearDown() override {
        if (had_tz_)
            setenv("TZ", old_tz_.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    void SetZone(const char* zone) {
        if (!saved_) {
            const char* tz = std::getenv("TZ");
            had_tz_ = tz != nullptr;
            if (tz) old_tz_ = tz;
            saved_ = true;
        }
        setenv("TZ", zone, 1);
        tzset();
    }
    bool saved_ = false, had_tz_ = false;
    std::string old_tz_;
};

NightChartEvent Event(double jd, double half, MinimumKind kind, bool observable,
                      const std::string& label) {
    NightChartEvent e;
    e.jd = jd;
    e.half_window = half;
    e.kind = kind;
    e.observable = observable;
    e.label = label;
    return e;
}

// Two nights from 2025 October 22, 0h UT: a primary at 21:36 UT that can be followed, a
// secondary overlapping it (so it takes the second lane) that cannot, a primary at 6h UT on
// October 23 (still the second night, which ends at noon), and one after the two nights.
void Make(CNightChartPane& chart, double longitude = 15, double latitude = 50) {
    chart.SetRect({0, 0, 800, 400});
    chart.SetNights(2460970.5, 2);
    chart.SetSite({longitude, latitude});
    chart.SetEvents({Event(2460971.4, 0.05, MinimumKind::kPrimary, true, "KVX Demo Algol"),
                     Event(2460971.43, 0.04, MinimumKind::kSecondary, false, "WASP-12"),
                     Event(2460971.75, 0.05, MinimumKind::kPrimary, false, "CM Dra"),
                     Event(2460975.0, 0.05, MinimumKind::kPrimary, true, "after the span")});
    chart.LayoutAll();
}

TEST_F(NightChart, LocalNoonInTwoZones) {
    // 2025 October 22, 0h UT: the noon before is October 21, 12h UT; one hour east of
    // Greenwich (CET, no summer time in the zone string) local noon is 11h UT.
    EXPECT_DOUBLE_EQ(LocalNoonBefore(2460970.5), 2460970.0);
    EXPECT_DOUBLE_EQ(LocalNoonBefore(2460970.0), 2460970.0);
    SetZone("CET-1");
    EXPECT_NEAR(LocalNoonBefore(2460970.5), 2460970.0 - 1.0 / 24, 1e-9);
    EXPECT_NEAR(LocalNoonBefore(2460970.45), 2460970.0 - 1.0 / 24, 1e-9);
    // Just before local noon the noon of the day before is meant.
    EXPECT_NEAR(LocalNoonBefore(2460970.0 - 1.0 / 24 - 1e-6), 2460969.0 - 1.0 / 24, 1e-9);
}

TEST_F(NightChart, RowsAndBands) {
    CNightChartPane chart;
    Make(chart);
    const auto& rows = chart.Rows();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_DOUBLE_EQ(rows[0].start, 2460970.0);
    EXPECT_DOUBLE_EQ(rows[0].end, 2460971.0);
    EXPECT_DOUBLE_EQ(rows[1].end, 2460972.0);
    EXPECT_EQ(rows[0].label, "2025-10-21");
    EXPECT_EQ(rows[1].label, "2025-10-22");
    const auto& frame = chart.Frame();
    EXPECT_EQ(rows[0].top, frame.top);
    EXPECT_EQ(rows[1].top, frame.top + frame.height / 2);
    // At 50° N in late October the Sun sinks below −18°: from noon to noon the row passes day,
    // civil, nautical and astronomical twilight, night, and back.
    const std::vector<int> classes = {4, 3, 2, 1, 0, 1, 2, 3, 4};
    for (const auto& row : rows) {
        ASSERT_EQ(row.bands.size(), classes.size());
        for (size_t i = 0; i < classes.size(); ++i)
            EXPECT_EQ(row.bands[i].colour, NightBandColour(classes[i])) << i;
        EXPECT_EQ(row.bands.front().left, frame.left);
        EXPECT_EQ(row.bands.back().left + row.bands.back().width, frame.Right());
        for (size_t i = 1; i < row.bands.size(); ++i)
            EXPECT_EQ(row.bands[i].left, row.bands[i - 1].left + row.bands[i - 1].width);
    }
    // Local midnight (the middle of the row) is dark night; the Sun at 15° E crosses the
    // meridian near 10:44 UT, so the night's middle, near 22:44 UT, lies left of the
    // row's middle (0h UT) by about 1.3 h of 24.
    const auto& night = rows[0].bands[4];
    const double middle = night.left + night.width / 2.0;
    EXPECT_NEAR((middle - frame.left) / frame.width * 24, 10.7, 0.5);
    EXPECT_EQ(NightBandColour(0), kNightBandColour);
    EXPECT_EQ(NightBandColour(4), kurvalux_lc::SunClassColour(4));

    // Without a site (a coordinate exactly 0) there is nothing to band.
    CNightChartPane unset;
    Make(unset, 0, 50);
    ASSERT_EQ(unset.Rows().size(), 2u);
    EXPECT_TRUE(unset.Rows()[0].bands.empty());
}

TEST_F(NightChart, MinimaInLanes) {
    CNightChartPane chart;
    Make(chart);
    const auto& boxes = chart.Boxes();
    ASSERT_EQ(boxes.size(), 3u);  // the fourth minimum lies after the two nights
    EXPECT_EQ(chart.Lanes(), 2);
    const auto& frame = chart.Frame();
    // 21:36 UT is 9.6 h after the row's noon.
    EXPECT_EQ(boxes[0].row, 1u);
    EXPECT_EQ(boxes[0].lane, 0);
    EXPECT_EQ(boxes[0].x, frame.left + int(std::lround(0.4 * frame.width)));
    EXPECT_EQ(boxes[0].x0, frame.left + int(std::lround(0.35 * frame.width)));
    EXPECT_EQ(boxes[0].x1, frame.left + int(std::lround(0.45 * frame.width)));
    // The secondary overlaps the primary's bar and name: second lane, lower down.
    EXPECT_EQ(boxes[1].lane, 1);
    EXPECT_GT(boxes[1].top, boxes[0].top);
    // The morning minimum belongs to the same night.
    EXPECT_EQ(boxes[2].row, 1u);
    EXPECT_EQ(boxes[2].lane, 0);  // its window starts after the others' names end
    const int row_half = chart.Rows()[1].height / 2;
    EXPECT_EQ(boxes[0].height, row_half / 2);
    EXPECT_GE(boxes[0].label_x, boxes[0].x1);

    // Double-click targets: a bar, a name, and empty sky.
    EXPECT_EQ(chart.EventAt(boxes[0].x, boxes[0].top + 1), 0);
    EXPECT_EQ(chart.EventAt(boxes[1].label_x + 5, boxes[1].top + boxes[1].height / 2), 1);
    EXPECT_EQ(chart.EventAt(frame.left + 2, chart.Rows()[0].top + 2), -1);
}

TEST_F(NightChart, WhatIsPainted) {
    CNightChartPane chart;
    Make(chart);
    CRecordingContext dc;
    chart.Paint(dc);
    const auto& b = chart.Boxes();
    auto rect = [](int x, int y, int w, int h) {
        return "rect " + std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(w) +
               " " + std::to_string(h);
    };
    // The observable primary: a filled red bar after the bands.
    const int bar = dc.Find(rect(b[0].x0, b[0].top, b[0].x1 - b[0].x0, b[0].height));
    ASSERT_GE(bar, 0);
    EXPECT_EQ(dc.Calls()[bar - 1], "fill 220,0,0");
    const int night_band = dc.Find("fill " + ColourText(kNightBandColour));
    ASSERT_GE(night_band, 0);
    EXPECT_LT(night_band, bar);
    // The secondary that cannot be followed: an open blue bar.
    auto xy = [](int x, int y) { return " " + std::to_string(x) + "," + std::to_string(y); };
    const int x0 = b[1].x0, x1 = b[1].x1, t = b[1].top, h = b[1].height;
    const int open =
        dc.Find("polyline 5" + xy(x0, t) + xy(x1, t) + xy(x1, t + h) + xy(x0, t + h) + xy(x0, t));
    ASSERT_GE(open, 0);
    EXPECT_EQ(dc.Calls()[open - 1], "pen 0,60,220");
    // Names, dates, hours and the caption.
    CRecordingContext metrics;
    metrics.SelectFont(&chart.CaptionFont());
    const int th = metrics.TextHeight();
    const std::string name = "text " + std::to_string(b[0].label_x) + " ";
    EXPECT_GE(
        dc.Find(name + std::to_string(b[0].top + b[0].height / 2 - th / 2) + " KVX Demo Algol"), 0);
    int dates = 0, hours = 0;
    for (const std::string& call : dc.CallsOf("text")) {
        dates += call.find(" 2025-10-2") != std::string::npos;
        hours += call.find(":00") != std::string::npos;
    }
    EXPECT_EQ(dates, 2);
    EXPECT_EQ(size_t(hours), chart.HourTicks().size());
    ASSERT_GE(chart.HourTicks().size(), 3u);
    EXPECT_EQ(chart.HourTicks().front(), 0);
    EXPECT_EQ(chart.HourTicks().back(), 24);
    EXPECT_EQ(chart.HourPixels().back(), chart.Frame().Right());
    bool caption = false;
    for (const std::string& call : dc.CallsOf("text"))
        caption |= call.size() > 11 && call.compare(call.size() - 11, 11, " Local time") == 0;
    EXPECT_TRUE(caption);
}

TEST_F(NightChart, EventsFromThePlanner) {
    std::vector<PlannerObject> objects(2);
    objects[0].name = "A";
    objects[1].name = "B";
    std::vector<PlannedMinimum> minima(2);
    minima[0].object = 1;
    minima[0].jd = 2460971.2;
    minima[0].half_window = 0.03;
    minima[0].kind = MinimumKind::kSecondary;
    minima[0].observable = true;
    minima[1].object = 0;
    minima[1].jd = 2460971.3;
    const std::vector<NightChartEvent> events = NightChartEvents(objects, minima);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].label, "B");
    EXPECT_EQ(events[0].kind, MinimumKind::kSecondary);
    EXPECT_TRUE(events[0].observable);
    EXPECT_DOUBLE_EQ(events[0].half_window, 0.03);
    EXPECT_EQ(events[1].label, "A");
    EXPECT_EQ(events[1].source, 1u);
}

}  // namespace
}  // namespace kurvalux_plan
