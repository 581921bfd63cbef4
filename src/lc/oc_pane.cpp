// The O-C diagram (see oc_pane.h).
#include "lc/oc_pane.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace kurvalux_lc {

using kurvalux_analysis::OCEntry;
using kurvalux_data::kMinimumPrimary;
using kurvalux_data::kMinimumSecondary;

namespace {

// The marker colours of the light-curve charts, so a minimum looks the same in both.
constexpr Colour kPrimary = kurvalux_platform::MakeColour(220, 0, 0);
constexpr Colour kSecondary = kurvalux_platform::MakeColour(0, 60, 220);
constexpr Colour kUndefined = kurvalux_platform::MakeColour(230, 120, 0);

Colour TypeColour(uint32_t type) {
    return type == kMinimumPrimary ? kPrimary : type == kMinimumSecondary ? kSecondary : kUndefined;
}

// Vertices of the fitted line every this many pixels when it is curved.
constexpr int kCurveStep = 4;

}  // namespace

const char* OCUnitCaption(OCUnit unit) {
    return unit == OCUnit::kMinutes ? "O-C min" : "O-C d";
}

COCPane::COCPane() {
    show_error_bars = true;
    show_reference_line = true;  // O-C = 0: the current ephemeris
    reference_value = 0;
}

void COCPane::SetTable(std::vector<OCEntry> table, double m0, double period) {
    table_ = std::move(table);
    m0_ = m0;
    period_ = period;
}

void COCPane::SetFit(const kurvalux_analysis::EphemerisFitResult* fit) {
    has_fit_ = fit && fit->ok;
    fit_ = has_fit_ ? *fit : kurvalux_analysis::EphemerisFitResult{};
}

void COCPane::SetXAxis(OCXAxis axis) {
    x_axis_ = axis;
}

void COCPane::SetUnit(OCUnit unit) {
    unit_ = unit;
}

void COCPane::SetTimeCaption(const std::string& caption) {
    time_caption_ = caption;
}

double COCPane::XValue(const OCEntry& entry) const {
    return x_axis_ == OCXAxis::kTime ? entry.time : kurvalux_analysis::FitCycle(entry);
}

double COCPane::YValue(const OCEntry& entry) const {
    return entry.oc * UnitScale();
}

double COCPane::FitValue(double x) const {
    if (!has_fit_ || period_ == 0) return 0;
    const double n = x_axis_ == OCXAxis::kTime ? (x - m0_) / period_ : x;
    // Both ephemerides count cycles from the current M0, so their difference at cycle n is
    // the O-C the fitted one would have there.
    const double fitted = fit_.m0 + fit_.period * n + fit_.quadratic * n * n;
    return (fitted - (m0_ + period_ * n)) * UnitScale();
}

void COCPane::Build() {
    SetCaptions(OCUnitCaption(unit_), x_axis_ == OCXAxis::kTime ? time_caption_ : "E");
    ClearData();
    double lower = INFINITY, upper = -INFINITY;
    for (const OCEntry& entry : table_) {
        const double x = XValue(entry);
        if (!std::isfinite(x)) continue;
        lower = std::min(lower, x);
        upper = std::max(upper, x);
    }
    if (!(lower <= upper)) {
        lower = 0;
        upper = 1;
    } else {
        // A twentieth of the span beyond the outer minima keeps their markers off the axes;
        // a single minimum gets a cycle (or a period) on either side.
        double pad = (upper - lower) / 20;
        if (!(pad > 0)) pad = x_axis_ == OCXAxis::kTime && period_ > 0 ? std::fabs(period_) : 1.0;
        lower -= pad;
        upper += pad;
    }
    SetXDataRange(lower, upper);
}

void COCPane::ExtendYRange(double& lower, double& upper) const {
    for (const OCEntry& entry : table_) {
        const double y = YValue(entry);
        if (!std::isfinite(y)) continue;
        const double e = show_error_bars && entry.error > 0 ? entry.error * UnitScale() : 0;
        lower = std::min(lower, y - e);
        upper = std::max(upper, y + e);
    }
    if (has_fit_) {
        // The line at both ends of the axis and, for a parabola, at its vertex: its extremes.
        const double a = VisibleXLower(), b = VisibleXUpper();
        std::vector<double> xs = {a, b};
        if (fit_.quadratic != 0 && period_ != 0) {
            // d/dn [(M0' - M0) + (P' - P) n + Q n²] = 0.
            double n = -(fit_.period - period_) / (2 * fit_.quadratic);
            double x = x_axis_ == OCXAxis::kTime ? m0_ + period_ * n : n;
            if (x > a && x < b) xs.push_back(x);
        }
        for (double x : xs) {
            const double y = FitValue(x);
            if (!std::isfinite(y)) continue;
            lower = std::min(lower, y);
            upper = std::max(upper, y);
        }
    }
    // Room around the outer markers, as on the X axis.
    if (lower <= upper && upper > lower) {
        const double pad = (upper - lower) / 20;
        lower -= pad;
        upper += pad;
    }
}

void COCPane::Layout(double start, double end, bool fit_y_to_visible, bool include_error_bars) {
    CLightCurvePane::Layout(start, end, fit_y_to_visible, include_error_bars);
    const AxisMapping& xm = XMapping();
    const AxisMapping& ym = YMapping();
    const int top = Plot().top, bottom = Plot().Bottom();
    const double scale = ym.Scale();
    marks_.assign(table_.size(), Mark{});
    for (size_t i = 0; i < table_.size(); ++i) {
        const OCEntry& entry = table_[i];
        Mark& mark = marks_[i];
        mark.type = entry.type;
        mark.x = xm.Pixel(XValue(entry));
        const double y = YValue(entry);
        const int py = ym.Pixel(y);
        mark.y = std::isfinite(y) && py >= top && py <= bottom ? py : -1;
        const double e = entry.error > 0 ? entry.error * UnitScale() * scale + 0.5 : 0.0;
        mark.e = e < 1e6 ? static_cast<int>(e) : 1000000;
    }
    fit_xs_.clear();
    fit_ys_.clear();
    if (has_fit_ && Plot().width > 0) {
        const int left = xm.start, right = xm.start + xm.length;
        const bool curved = fit_.quadratic != 0;
        for (int x = left;; x += curved ? kCurveStep : right - left) {
            if (x > right) x = right;
            const double value = xm.lower + (x - xm.start) / xm.Scale();
            const int y = std::clamp(ym.Pixel(FitValue(value)), top, bottom);
            fit_xs_.push_back(x);
            fit_ys_.push_back(y);
            if (x >= right) break;
        }
    }
}

std::string COCPane::XTickLabel(double value) const {
    // Cycles and Julian Dates are written without trailing zeros: "1200", "1200.5",
    // "2459000.25".
    char text[64];
    std::snprintf(text, sizeof text, "%.4f", value);
    std::string s = text;
    while (!s.empty() && s.back() == '0') s.pop_back();
    if (!s.empty() && s.back() == '.') s.pop_back();
    if (s == "-0") s = "0";
    return s;
}

void COCPane::PaintMark(CDrawContext& dc, const Mark& mark, int size) {
    const int x = mark.x, y = mark.y, s = size;
    if (mark.type == kMinimumPrimary) {
        dc.DrawFilledCircle(x, y, s, false);
    } else if (mark.type == kMinimumSecondary) {
        const int xs[5] = {x - s, x + s, x + s, x - s, x - s};
        const int ys[5] = {y - s, y - s, y + s, y + s, y - s};
        dc.DrawPolyline(5, xs, ys);
    } else {
        const int d = s + s / 2;
        const int xs[5] = {x, x + d, x, x - d, x};
        const int ys[5] = {y - d, y, y + d, y, y - d};
        dc.DrawPolyline(5, xs, ys);
    }
}

void COCPane::PaintOverlay(CDrawContext& dc) {
    const int left = Plot().left, right = Plot().Right();
    const int size = std::max(2, 3 * DpiX() / 96);
    auto visible = [&](const Mark& m) { return m.y >= 0 && m.x >= left && m.x <= right; };
    // 1. Error bars, in the lighter tint of the marker colour.
    if (show_error_bars) {
        for (const Mark& m : marks_) {
            if (!visible(m) || m.e <= 0) continue;
            dc.SetPenColour(LightenedColour(TypeColour(m.type)));
            dc.DrawLine(m.x, m.y - m.e, m.x, m.y + m.e);
            dc.DrawLine(m.x - size, m.y - m.e, m.x + size, m.y - m.e);
            dc.DrawLine(m.x - size, m.y + m.e, m.x + size, m.y + m.e);
        }
    }
    // 2. The fitted line.
    if (fit_xs_.size() >= 2) {
        dc.SetPenColour(kOCFitColour);
        dc.SetPenWidth(std::max(1, DpiX() / 96));
        dc.DrawPolyline(fit_xs_.size(), fit_xs_.data(), fit_ys_.data());
        dc.SetPenWidth(1);
    }
    // 3. The fitted minima, then the undefined ones over them.
    for (int pass = 0; pass < 2; ++pass) {
        for (const Mark& m : marks_) {
            const bool undefined = m.type != kMinimumPrimary && m.type != kMinimumSecondary;
            if (undefined != (pass == 1) || !visible(m)) continue;
            const Colour colour = TypeColour(m.type);
            dc.SetPenColour(colour);
            dc.SetFillColour(colour);
            PaintMark(dc, m, size);
        }
    }
    // 4. The legend, right-aligned on the caption line over the plot.
    dc.SelectFont(&CaptionFont());
    const int th = dc.TextHeight();
    const int y = Plot().top - th;
    struct Entry {
        uint32_t type;
        const char* text;
    };
    std::vector<Entry> entries = {{kMinimumPrimary, "Primary"}, {kMinimumSecondary, "Secondary"}};
    bool any_undefined = false;
    for (const OCEntry& e : table_)
        any_undefined |= e.type != kMinimumPrimary && e.type != kMinimumSecondary;
    if (any_undefined) entries.push_back({kurvalux_data::kMinimumUndefined, "Undefined"});
    const char* fit_text =
        has_fit_ ? (fit_.quadratic != 0 ? "Quadratic fit" : "Linear fit") : nullptr;
    const int gap = th, swatch = 2 * size + 4;
    int width = 0;
    for (const Entry& e : entries) width += swatch + dc.TextWidth(e.text) + gap;
    if (fit_text) width += 2 * swatch + dc.TextWidth(fit_text);
    int x = right - width;
    if (x < left + dc.TextWidth(CaptionAbove()) + gap) return;  // no room beside the caption
    for (const Entry& e : entries) {
        const Colour colour = TypeColour(e.type);
        dc.SetPenColour(colour);
        dc.SetFillColour(colour);
        PaintMark(dc, Mark{x + size, y + th / 2, 0, e.type}, size);
        dc.SetTextColour(style.text);
        dc.DrawText(x + swatch, y, std::string_view(e.text).size(), e.text);
        x += swatch + dc.TextWidth(e.text) + gap;
    }
    if (fit_text) {
        dc.SetPenColour(kOCFitColour);
        dc.DrawLine(x, y + th / 2, x + 2 * swatch - 4, y + th / 2);
        dc.SetTextColour(style.text);
        dc.DrawText(x + 2 * swatch, y, std::string_view(fit_text).size(), fit_text);
    }
}

int COCPane::EntryAt(int x, int y, int reach) const {
    int best = -1;
    long best_d = static_cast<long>(reach) * reach;
    for (size_t i = 0; i < marks_.size(); ++i) {
        const Mark& m = marks_[i];
        if (m.y < 0) continue;
        const long dx = m.x - x, dy = m.y - y, d = dx * dx + dy * dy;
        if (d <= best_d) {
            best_d = d;
            best = static_cast<int>(i);
        }
    }
    return best;
}

}  // namespace kurvalux_lc
