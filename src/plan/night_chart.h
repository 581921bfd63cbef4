#pragma once
// The planner's night-by-night chart: one row per night, from local noon to the next local
// noon (the computer's time zone, as in the planner's table), so that the night sits whole in
// the middle of its row. Each row is banded by the Sun's altitude, day, civil, nautical and
// astronomical twilight, and night, and every planned minimum is drawn over the bands as the
// bar of its eclipse window (± half the eclipse duration) with a tick at the time of minimum
// and the object's name beside it. Primaries are red and secondaries blue; a minimum that can
// be followed whole is a filled bar, one that cannot an open one.
//
// The chart paints through the drawing context like the light-curve panes, so the planner
// window, PNG and SVG files come from one routine; the base pane contributes the background,
// the title and the export machinery.
#include <string>
#include <vector>

#include "lc/light_curve_pane.h"
#include "plan/night_planner.h"

namespace kurvalux_plan {

using kurvalux_lc::CDrawContext;
using kurvalux_lc::Colour;
using kurvalux_lc::CRect;

// The band of the dark night (the prediction chart leaves it white; here the night is what the
// observer looks for, so it gets a colour of its own).
constexpr Colour kNightBandColour = kurvalux_platform::MakeColour(214, 222, 242);
constexpr Colour kPrimaryEventColour = kurvalux_platform::MakeColour(220, 0, 0);
constexpr Colour kSecondaryEventColour = kurvalux_platform::MakeColour(0, 60, 220);

// The band colour of a Sun altitude class (0 night … 4 day).
Colour NightBandColour(int sun_class);

// One minimum as the chart draws it.
struct NightChartEvent {
    double jd = 0;           // time of minimum on the Earth (UTC)
    double half_window = 0;  // days
    MinimumKind kind = MinimumKind::kPrimary;
    bool observable = false;
    std::string label;  // the object's name
    size_t source = 0;  // index into the minima the events were made from
};

std::vector<NightChartEvent> NightChartEvents(const std::vector<PlannerObject>& objects,
                                              const std::vector<PlannedMinimum>& minima);

// The JD (UTC) of the local noon at or before `jd`, in the computer's time zone.
double LocalNoonBefore(double jd);

class CNightChartPane : public kurvalux_lc::CLightCurvePane {
public:
    struct Band {
        int left = 0, width = 0;
        Colour colour = 0;
    };
    struct Row {
        double start = 0, end = 0;  // JD (UTC) of the row's local noons
        int top = 0, height = 0;
        std::string label;  // "YYYY-MM-DD", the local date of the evening
        std::vector<Band> bands;
    };
    struct Box {
        size_t event = 0;  // index into the events
        size_t row = 0;
        int lane = 0;
        int x0 = 0, x1 = 0, x = 0;  // window and minimum, pixels
        int top = 0, height = 0;
        int label_x = 0;  // where the name is written; -1: left out (no room)
    };

    CNightChartPane();

    // The nights from the local noon before `start` on; `nights` rows.
    void SetNights(double start, int nights);
    void SetSite(const kurvalux_time::Site& site);
    void SetEvents(std::vector<NightChartEvent> events);
    const std::vector<NightChartEvent>& Events() const { return events_; }

    // Lays out the rows, bands and boxes for the pane's rectangle (the range is the pane's
    // own: the arguments are not used).
    void Layout(double start, double end, bool fit_y_to_visible, bool include_error_bars) override;

    const CRect& Frame() const { return frame_; }
    const std::vector<Row>& Rows() const { return rows_; }
    const std::vector<Box>& Boxes() const { return boxes_; }
    int Lanes() const { return lanes_; }
    // Hour ticks along the rows: hours after local noon and their pixels.
    const std::vector<int>& HourTicks() const { return hour_ticks_; }
    const std::vector<int>& HourPixels() const { return hour_pixels_; }
    // The pixel of a time inside row `row`.
    int XOf(size_t row, double jd) const;
    // The event whose bar (or name) holds the point, or -1.
    int EventAt(int x, int y) const;

protected:
    void PaintOnTop(CDrawContext& dc) override;

private:
    double start_ = 0;
    int nights_ = 1;
    kurvalux_time::Site site_;
    std::vector<NightChartEvent> events_;

    CRect frame_;
    std::vector<Row> rows_;
    std::vector<Box> boxes_;
    int lanes_ = 1;
    std::vector<int> hour_ticks_, hour_pixels_;
};

}  // namespace kurvalux_plan
