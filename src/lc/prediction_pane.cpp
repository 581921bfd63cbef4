// The minima prediction chart (see prediction_pane.h).
#include "lc/prediction_pane.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "analysis/model.h"
#include "data/julian_date.h"

namespace kurvalux_lc {

int SunClass(double sun_altitude) {
    if (sun_altitude <= -18) return 0;
    if (sun_altitude <= -12) return 1;
    if (sun_altitude <= -6) return 2;
    if (sun_altitude <= 0) return 3;
    return 4;
}

Colour SunClassColour(int sun_class) {
    // Red in the lowest byte: 255,248,240; 255,244,225; 255,240,210; 255,236,195.
    static constexpr Colour kColours[5] = {CStripeListElem::kNoFill, 0xFFF0F8FF, 0xFFE1F4FF,
                                           0xFFD2F0FF, 0xFFC3ECFF};
    return kColours[std::clamp(sun_class, 0, 4)];
}

CPredictionPane::CPredictionPane() {
    invert_y = true;
}

void CPredictionPane::SetAxis(double left, double right) {
    left_ = left;
    right_ = right;
}

void CPredictionPane::SetEphemeris(double m0, double period) {
    m0_ = m0;
    period_ = period;
}

void CPredictionPane::SetModel(const kurvalux_data::LightCurveParameters& parameters,
                               bool enabled) {
    parameters_ = parameters;
    model_enabled_ = enabled;
}

void CPredictionPane::SetPosition(double ra, double dec) {
    position_ = {ra, dec};
}

void CPredictionPane::SetSite(double longitude, double latitude) {
    site_ = {longitude, latitude};
}

void CPredictionPane::SetCriteria(double star_alt, double sun_alt, bool use_star, bool use_sun) {
    star_alt_ = star_alt;
    sun_alt_ = sun_alt;
    use_star_ = use_star;
    use_sun_ = use_sun;
}

void CPredictionPane::Build() {
    ClearData();
    SetXDataRange(left_, right_);
    Layout(left_, right_, false, false);
}

void CPredictionPane::Layout(double, double, bool, bool) {
    // The chart takes the upper two thirds; the altitudes the rest.
    const CRect full = Rect();
    SetRect({full.left, full.top, full.width, full.height - full.height / 3});
    ClearYRange();
    CLightCurvePane::Layout(left_, right_, false, false);
    Refill();
    if (has_curve_) {
        SetYRange(model_min_, model_max_);
        CLightCurvePane::Layout(left_, right_, false, false);
        Refill();
    }
    SetRect(full);
    LayoutAltitudePlot(full);
}

void CPredictionPane::LayoutAltitudePlot(const CRect& full) {
    alt_frame_ = CRect{};
    alt_ticks_ = time_ticks_ = TickLayout{};
    alt_labels_.clear();
    time_labels_.clear();
    if (alt_min_ == kUnsetAltitude || Thumbnail()) return;
    CDrawContext& dc = Metrics();
    dc.SelectFont(&CaptionFont());
    const int th = dc.TextHeight(), m = Margin();
    // "Deg" on a line of its own above the frame; the time labels and "Date" below it.
    const int top = full.height - full.height / 3 + th + 2;
    const int bottom = full.height - m - 2 * th;
    if (bottom - top <= 2 * m || Plot().width <= 2 * m) return;
    alt_frame_ = CRect{Plot().left, top, Plot().width, bottom - top};
    double lower = alt_min_, upper = alt_max_;
    if (!(upper > lower)) {
        lower -= 1;
        upper += 1;
    }
    alt_map_ = AxisMapping{lower, upper, top + m, alt_frame_.height - 2 * m, true};
    alt_ticks_ = LayoutTicks(lower, upper, alt_frame_.height, MinimumTickSpacing(DpiY()), alt_map_);
    for (double v : alt_ticks_.values) alt_labels_.push_back(TickLabel(v, 0));
    time_map_ = AxisMapping{left_, right_, alt_frame_.left, alt_frame_.width, false};
    const int label_width = dc.TextWidth("0000-00-00 00:00");
    time_ticks_ =
        LayoutTicks(left_, right_, alt_frame_.width,
                    std::max(MinimumTickSpacing(DpiX()), label_width + 8 * DpiX() / 96), time_map_);
    for (double v : time_ticks_.values) time_labels_.push_back(PredictionTimeLabel(v));
}

void CPredictionPane::Refill() {
    columns_.clear();
    stripes_.clear();
    has_curve_ = has_star_ = has_sun_ = false;
    model_min_ = model_max_ = 0;
    alt_min_ = alt_max_ = kUnsetAltitude;
    const CRect& plot = Plot();
    if (plot.width <= 0) return;
    // 1. One column every 2 pixels across the plot.
    const int count = (plot.width + 1) / 2;
    const double length = right_ - left_;
    columns_.resize(size_t(count));
    for (int k = 0; k < count; ++k) columns_[size_t(k)].x = plot.left + 2 * k;
    auto time_of = [&](const Column& c) { return left_ + (c.x - plot.left) * length / plot.width; };

    // 2. The predicted curve, the phase carried from the left end of the axis column by
    // column, as whole cycles are left behind.
    if (model_enabled_ && period_ != 0 && m0_ != 0 && right_ > left_) {
        has_curve_ = true;
        double phase = (left_ - (std::trunc((left_ - m0_) / period_) * period_ + m0_)) / period_;
        const double step = (2.0 * length / plot.width) / period_;
        bool first = true;
        for (Column& c : columns_) {
            c.model = kurvalux_analysis::EvaluateLightCurve(parameters_, phase);
            if (first || c.model < model_min_) model_min_ = c.model;
            if (first || c.model > model_max_) model_max_ = c.model;
            first = false;
            phase += step;
            if (phase > 1) phase -= std::floor(phase);
        }
        // A flat curve is drawn in a band of 0.01 mag about its range, not stretched over the
        // plot's height.
        if (model_max_ - model_min_ < 0.01) {
            model_min_ -= 0.005;
            model_max_ += 0.005;
        }
        const double scale = (plot.height - 2 * Margin()) / (model_max_ - model_min_);
        for (Column& c : columns_)
            c.y = static_cast<int>(std::trunc((c.model - model_min_) * scale + 0.5)) + plot.top;
    }

    // 3. A site on the equator or the zero meridian counts as not set: no altitudes, no bands.
    if (site_.longitude == 0 || site_.latitude == 0) return;
    auto extend = [&](double altitude) {
        if (alt_min_ == kUnsetAltitude || altitude < alt_min_) alt_min_ = altitude;
        if (alt_max_ == kUnsetAltitude || altitude > alt_max_) alt_max_ = altitude;
    };
    // 4. The star.
    if (position_.ra != -1.0 && position_.dec != 91.0) {
        has_star_ = true;
        for (Column& c : columns_) {
            c.star_altitude = kurvalux_time::AltitudeDegrees(position_, time_of(c), site_);
            extend(c.star_altitude);
        }
    }
    // 5. The Sun, and 6. a band wherever its class changes.
    has_sun_ = true;
    int previous = -1;
    for (size_t k = 0; k < columns_.size(); ++k) {
        Column& c = columns_[k];
        const double t = time_of(c);
        c.sun_altitude =
            kurvalux_time::AltitudeDegrees(kurvalux_time::LowPrecisionSun(t), t, site_);
        extend(c.sun_altitude);
        const int sun_class = SunClass(c.sun_altitude);
        const bool last = k + 1 == columns_.size();
        if (k == 0 || (sun_class != previous && !last)) {
            if (!stripes_.empty()) stripes_.back().width = c.x - stripes_.back().left;
            stripes_.push_back({c.x, 0, SunClassColour(sun_class)});
        }
        previous = sun_class;
    }
    stripes_.back().width = columns_.back().x - stripes_.back().left;
}

Colour CPredictionPane::ColumnColour(size_t k) const {
    const Column& c = columns_[k];
    const bool star_ok = c.star_altitude >= star_alt_;
    if (use_star_ && use_sun_ && has_star_ && has_sun_)
        return star_ok && c.sun_altitude <= sun_alt_ ? kObservableColour : kUnobservableColour;
    if (use_star_ && has_star_) return star_ok ? kObservableColour : kUnobservableColour;
    // The Sun alone is strictly below its limit; at equality only the combined test passes.
    if (use_sun_ && has_sun_)
        return c.sun_altitude < sun_alt_ ? kObservableColour : kUnobservableColour;
    return style.axis;
}

void CPredictionPane::PaintUnderlay(CDrawContext& dc) {
    PaintStripes(dc, stripes_, Rect().height);
}

void CPredictionPane::PaintOnTop(CDrawContext& dc) {
    PaintCurve(dc);
    PaintAltitudePlot(dc);
}

void CPredictionPane::PaintCurve(CDrawContext& dc) {
    if (!has_curve_ || columns_.size() < 2) return;
    // One polyline per run of columns of one colour, each reaching to the next run's first
    // column so that the curve has no gaps.
    dc.SetPenWidth(1);
    std::vector<int> xs, ys;
    size_t start = 0;
    while (start + 1 < columns_.size()) {
        const Colour colour = ColumnColour(start);
        size_t end = start + 1;
        while (end + 1 < columns_.size() && ColumnColour(end) == colour) ++end;
        xs.clear();
        ys.clear();
        for (size_t k = start; k <= end; ++k) {
            xs.push_back(columns_[k].x);
            ys.push_back(columns_[k].y);
        }
        dc.SetPenColour(colour);
        dc.DrawPolyline(xs.size(), xs.data(), ys.data());
        start = end;
    }
}

void CPredictionPane::PaintAltitudePlot(CDrawContext& dc) {
    if (alt_frame_.width <= 0) return;
    const int left = alt_frame_.left, top = alt_frame_.top;
    const int right = alt_frame_.Right(), bottom = alt_frame_.Bottom();
    dc.SetPenWidth(1);
    dc.SelectFont(&CaptionFont());
    dc.SetTextColour(style.text);
    const int th = dc.TextHeight();
    // The horizon, when the altitudes reach across it.
    if (alt_map_.lower <= 0 && alt_map_.upper >= 0) {
        dc.SetPenColour(kHorizonColour);
        const int y = alt_map_.Pixel(0);
        dc.DrawLine(left, y, right, y);
    }
    dc.SetPenColour(style.axis);
    dc.DrawLine(left, top, right, top);
    dc.DrawLine(right, top, right, bottom);
    dc.DrawLine(left, bottom, right, bottom);
    dc.DrawLine(left, top, left, bottom);
    for (int i = 0; i < alt_ticks_.count; ++i) {
        const int y = alt_ticks_.pixels[i];
        dc.DrawLine(left - 4, y, left, y);
        dc.DrawText(left - 6 - dc.TextWidth(alt_labels_[i]), y - th / 2, alt_labels_[i].size(),
                    alt_labels_[i]);
    }
    dc.DrawText(10, top - th - 2, 3, "Deg");
    // "Date" shares the line of the time labels; a label that would run into it is left out.
    dc.DrawText(10, bottom + th, 4, "Date");
    const int free_from = 10 + dc.TextWidth("Date") + 8;
    for (int i = 0; i < time_ticks_.count; ++i) {
        const int x = time_ticks_.pixels[i];
        dc.DrawLine(x, bottom, x, bottom + 4);
        const int label_x = x - dc.TextWidth(time_labels_[i]) / 2;
        if (label_x >= free_from)
            dc.DrawText(label_x, bottom + th, time_labels_[i].size(), time_labels_[i]);
    }
    std::vector<int> xs(columns_.size()), ys(columns_.size());
    auto curve = [&](bool star, Colour colour) {
        for (size_t k = 0; k < columns_.size(); ++k) {
            xs[k] = columns_[k].x;
            ys[k] = alt_map_.Pixel(star ? columns_[k].star_altitude : columns_[k].sun_altitude);
        }
        dc.SetPenColour(colour);
        dc.DrawPolyline(xs.size(), xs.data(), ys.data());
    };
    if (has_star_) curve(true, style.axis);
    if (has_sun_) curve(false, kSunAltitudeColour);
}

std::string PredictionTimeLabel(double jd) {
    if (!kurvalux_data::IsJulianDateInRange(jd)) return {};
    // Whole seconds (a thousandth of a second of rounding noise is forgiven).
    const double seconds = std::floor((jd - 2440587.5) * 86400.0 + 0.001);
    const std::time_t t = static_cast<std::time_t>(seconds);
    std::tm tm{};
    if (!localtime_r(&t, &tm)) return {};
    int minute = tm.tm_min;
    if (tm.tm_sec >= 30 && minute < 59) ++minute;
    char text[80];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d", tm.tm_year + 1900, tm.tm_mon + 1,
                  tm.tm_mday, tm.tm_hour, minute);
    return text;
}

}  // namespace kurvalux_lc
