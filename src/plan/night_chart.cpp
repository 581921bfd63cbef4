// The planner's night-by-night chart (see night_chart.h).
#include "plan/night_chart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "lc/chart_layout.h"
#include "lc/chart_views.h"
#include "lc/prediction_pane.h"
#include "time/local_sky.h"

namespace kurvalux_plan {

using kurvalux_lc::CFont;

namespace {

// Bands are sampled every this many pixels, as the prediction chart's columns.
constexpr int kBandStep = 2;
// A day from noon to noon is labelled every 1, 2, 3 or 6 hours, the first step whose labels
// do not run into each other.
constexpr int kHourSteps[] = {1, 2, 3, 6};

// The computer's UTC offset at a Julian Date, days.
double UtcOffsetDays(double jd) {
    const double seconds = (jd - 2440587.5) * 86400.0;
    if (!(std::fabs(seconds) < 1e13)) return 0;
    const time_t t = static_cast<time_t>(std::floor(seconds));
    struct tm tm {};
    if (!localtime_r(&t, &tm)) return 0;
    return static_cast<double>(tm.tm_gmtoff) / 86400.0;
}

std::string LocalDate(double jd) {
    const std::string text = kurvalux_lc::LocalDateTime(jd);
    return text.size() >= 10 ? text.substr(0, 10) : text;
}

}  // namespace

Colour NightBandColour(int sun_class) {
    return sun_class <= 0 ? kNightBandColour : kurvalux_lc::SunClassColour(sun_class);
}

std::vector<NightChartEvent> NightChartEvents(const std::vector<PlannerObject>& objects,
                                              const std::vector<PlannedMinimum>& minima) {
    std::vector<NightChartEvent> events;
    events.reserve(minima.size());
    for (size_t i = 0; i < minima.size(); ++i) {
        const PlannedMinimum& m = minima[i];
        NightChartEvent e;
        e.jd = m.jd;
        e.half_window = m.half_window;
        e.kind = m.kind;
        e.observable = m.observable;
        e.label = m.object < objects.size() ? objects[m.object].name : std::string();
        e.source = i;
        events.push_back(e);
    }
    return events;
}

double LocalNoonBefore(double jd) {
    // A Julian Date is a whole number at noon; the local one is offset by the time zone.
    const double offset = UtcOffsetDays(jd);
    double noon = std::floor(jd + offset) - offset;
    // Across a change of the offset the noon found may lie after `jd` or a day too early.
    const double offset_at_noon = UtcOffsetDays(noon);
    noon = std::floor(jd + offset_at_noon) - offset_at_noon;
    return noon;
}

CNightChartPane::CNightChartPane() {
    const CFont title = kurvalux_lc::ChartTitleFont(96);
    SetTitleFont(&title);
}

void CNightChartPane::SetNights(double start, int nights) {
    start_ = start;
    nights_ = std::clamp(nights, 1, 366);
}

void CNightChartPane::SetSite(const kurvalux_time::Site& site) {
    site_ = site;
}

void CNightChartPane::SetEvents(std::vector<NightChartEvent> events) {
    events_ = std::move(events);
}

int CNightChartPane::XOf(size_t row, double jd) const {
    const Row& r = rows_[row];
    const double f = (jd - r.start) / (r.end - r.start);
    const double x = frame_.left + f * frame_.width;
    return static_cast<int>(std::lround(std::clamp(x, -1e9, 1e9)));
}

void CNightChartPane::Layout(double, double, bool, bool) {
    rows_.clear();
    boxes_.clear();
    hour_ticks_.clear();
    hour_pixels_.clear();
    lanes_ = 1;
    frame_ = CRect{};
    CDrawContext& dc = Metrics();
    const CRect rect = Rect();
    const int m = 6 * DpiY() / 96;
    int top = m;
    if (!Title().empty()) {
        const CFont title = kurvalux_lc::ChartTitleFont(DpiY());
        dc.SelectFont(&title);
        top = 16 + dc.TextHeight() + 4;
    }
    dc.SelectFont(&CaptionFont());
    const int th = dc.TextHeight();
    const int date_width = dc.TextWidth("0000-00-00");
    const int hour_width = dc.TextWidth("00:00");
    const int left = 10 + date_width + 8;
    const int right = rect.width - std::max(m, hour_width / 2 + 4);
    // Below the frame: the hours, and the caption on a line of its own.
    const int bottom = rect.height - m - 2 * th - 4;
    if (right - left <= 2 * m || bottom - top <= nights_) return;
    frame_ = CRect{left, top, right - left, bottom - top};

    // Rows, one local noon to the next.
    const int row_height = frame_.height / nights_;
    double noon = LocalNoonBefore(start_);
    const bool site_set = site_.longitude != 0 && site_.latitude != 0;
    for (int k = 0; k < nights_; ++k) {
        Row row;
        row.start = noon;
        noon = LocalNoonBefore(noon + 1.1);
        row.end = noon;
        row.top = frame_.top + k * row_height;
        row.height = row_height;
        row.label = LocalDate(row.start);
        rows_.push_back(row);
    }
    // The Sun's bands (none where the site is not set: no altitudes there, as in the
    // prediction chart).
    if (site_set) {
        for (size_t k = 0; k < rows_.size(); ++k) {
            Row& row = rows_[k];
            int previous = -1;
            for (int x = frame_.left; x < frame_.Right(); x += kBandStep) {
                const double jd = row.start + (x - frame_.left + 0.5 * kBandStep) / frame_.width *
                                                  (row.end - row.start);
                const double altitude =
                    kurvalux_time::AltitudeDegrees(kurvalux_time::LowPrecisionSun(jd), jd, site_);
                const int sun_class = kurvalux_lc::SunClass(altitude);
                if (sun_class != previous) {
                    if (!row.bands.empty()) row.bands.back().width = x - row.bands.back().left;
                    row.bands.push_back({x, 0, NightBandColour(sun_class)});
                    previous = sun_class;
                }
            }
            if (!row.bands.empty()) row.bands.back().width = frame_.Right() - row.bands.back().left;
        }
    }
    // Hour ticks: the first step whose "HH:00" labels stand a label apart.
    int step = 6;
    for (int s : kHourSteps) {
        if (frame_.width * s / 24 >= hour_width + 8 * DpiX() / 96) {
            step = s;
            break;
        }
    }
    for (int h = 0; h <= 24; h += step) {
        hour_ticks_.push_back(h);
        hour_pixels_.push_back(frame_.left +
                               static_cast<int>(std::lround(frame_.width * h / 24.0)));
    }

    // Boxes, in lanes: within a night each minimum takes the lowest lane where its bar and
    // its name do not run into an earlier one.
    std::vector<std::vector<int>> lane_ends(rows_.size());
    const int gap = 3 * DpiX() / 96;
    for (size_t i = 0; i < events_.size(); ++i) {
        const NightChartEvent& e = events_[i];
        size_t row = 0;
        while (row < rows_.size() && !(e.jd >= rows_[row].start && e.jd < rows_[row].end)) ++row;
        if (row == rows_.size()) continue;
        Box box;
        box.event = i;
        box.row = row;
        box.x = XOf(row, e.jd);
        box.x0 = std::max(frame_.left, XOf(row, e.jd - e.half_window));
        box.x1 = std::min(frame_.Right(), XOf(row, e.jd + e.half_window));
        box.label_x = box.x1 + gap;
        const int end = box.label_x + dc.TextWidth(e.label) + gap;
        std::vector<int>& ends = lane_ends[row];
        size_t lane = 0;
        while (lane < ends.size() && ends[lane] > box.x0) ++lane;
        if (lane == ends.size()) ends.push_back(0);
        ends[lane] = end;
        box.lane = static_cast<int>(lane);
        lanes_ = std::max(lanes_, box.lane + 1);
        boxes_.push_back(box);
    }
    const int lane_height = std::max(1, row_height / lanes_);
    for (Box& box : boxes_) {
        const Row& row = rows_[box.row];
        box.height = std::max(2, lane_height / 2);
        box.top = row.top + box.lane * lane_height + (lane_height - box.height) / 2;
        // A name needs a lane at least a text line high and room before the frame's edge.
        const int width = dc.TextWidth(events_[box.event].label);
        if (lane_height < th || box.label_x + width > rect.width) box.label_x = -1;
    }
}

int CNightChartPane::EventAt(int x, int y) const {
    CDrawContext& dc = const_cast<CNightChartPane*>(this)->Metrics();
    dc.SelectFont(&CaptionFont());
    const int th = dc.TextHeight();
    for (const Box& box : boxes_) {
        const int slack = 2;
        int right = std::max(box.x1, box.x) + slack;
        if (box.label_x >= 0) right = box.label_x + dc.TextWidth(events_[box.event].label);
        const int top = std::min(box.top, box.top + box.height / 2 - th / 2) - slack;
        const int bottom =
            std::max(box.top + box.height, box.top + box.height / 2 + th / 2) + slack;
        if (x >= std::min(box.x0, box.x) - slack && x <= right && y >= top && y <= bottom)
            return static_cast<int>(box.event);
    }
    return -1;
}

void CNightChartPane::PaintOnTop(CDrawContext& dc) {
    if (frame_.width <= 0) return;
    const int left = frame_.left, right = frame_.Right(), bottom = frame_.Bottom();
    dc.SelectFont(&CaptionFont());
    const int th = dc.TextHeight();
    // 1. The Sun's bands of every night.
    for (const Row& row : rows_) {
        for (const Band& band : row.bands) {
            if (band.colour == kurvalux_lc::CStripeListElem::kNoFill) continue;
            dc.SetFillColour(band.colour);
            dc.FillRectangle(band.left, row.top, band.width, row.height);
        }
    }
    // 2. Hour lines over all nights, midnight darker; the hours below the frame.
    dc.SetTextColour(style.text);
    for (size_t i = 0; i < hour_ticks_.size(); ++i) {
        const int x = hour_pixels_[i];
        dc.SetPenColour(hour_ticks_[i] == 12 ? style.axis : style.grid);
        dc.DrawLine(x, frame_.top, x, bottom);
        char label[8];
        std::snprintf(label, sizeof label, "%02d:00", (12 + hour_ticks_[i]) % 24);
        dc.SetPenColour(style.axis);
        dc.DrawLine(x, bottom, x, bottom + 4);
        dc.DrawText(x - dc.TextWidth(label) / 2, bottom + 5, std::string_view(label).size(), label);
    }
    // 3. Nights: separating lines and the evening's date.
    for (size_t k = 0; k < rows_.size(); ++k) {
        const Row& row = rows_[k];
        if (k > 0) {
            dc.SetPenColour(style.grid);
            dc.DrawLine(left, row.top, right, row.top);
        }
        if (row.height >= th)
            dc.DrawText(10, row.top + (row.height - th) / 2, row.label.size(), row.label);
    }
    // 4. The frame.
    dc.SetPenColour(style.axis);
    const int xs[5] = {left, right, right, left, left};
    const int ys[5] = {frame_.top, frame_.top, bottom, bottom, frame_.top};
    dc.DrawPolyline(5, xs, ys);
    const std::string caption = "Local time";
    dc.DrawText(10, bottom + 5 + th, caption.size(), caption);
    // 5. The minima: the window's bar, filled when the whole eclipse can be followed, the
    // tick at the minimum and the object's name.
    for (const Box& box : boxes_) {
        const NightChartEvent& e = events_[box.event];
        const Colour colour =
            e.kind == MinimumKind::kPrimary ? kPrimaryEventColour : kSecondaryEventColour;
        const int width = std::max(1, box.x1 - box.x0);
        dc.SetPenColour(colour);
        if (e.observable) {
            dc.SetFillColour(colour);
            dc.FillRectangle(box.x0, box.top, width, box.height);
        } else {
            const int bx[5] = {box.x0, box.x0 + width, box.x0 + width, box.x0, box.x0};
            const int by[5] = {box.top, box.top, box.top + box.height, box.top + box.height,
                               box.top};
            dc.DrawPolyline(5, bx, by);
        }
        dc.SetPenColour(style.axis);
        dc.DrawLine(box.x, box.top - 2, box.x, box.top + box.height + 2);
        if (box.label_x >= 0) {
            dc.SetTextColour(colour);
            dc.DrawText(box.label_x, box.top + box.height / 2 - th / 2, e.label.size(), e.label);
        }
    }
}

}  // namespace kurvalux_plan
