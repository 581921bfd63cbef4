#include "lc/light_curve_pane.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

#include "lc/svg_context.h"
#include "platform/files.h"
#include "platform/text.h"

namespace kurvalux_lc {

using kurvalux_platform::MakeColour;

void PaintStripes(CDrawContext& dc, const std::vector<CStripeListElem>& stripes, int pane_height) {
    Colour current = CStripeListElem::kNoFill;
    for (const CStripeListElem& stripe : stripes) {
        if (stripe.colour == CStripeListElem::kNoFill) continue;
        if (stripe.colour != current) {
            dc.SetFillColour(stripe.colour);
            current = stripe.colour;
        }
        dc.FillRectangle(stripe.left, 0, stripe.width, pane_height);
    }
}

namespace {

// Point and marker storage grows in whole steps (20 points, 5 markers); the number of steps
// added grows with the size, so that a million points are added in linear time.
size_t Grown(size_t size, size_t step) {
    size_t wanted = std::max(size + step, size + size / 2);
    return (wanted + step - 1) / step * step;
}

}  // namespace

void CLightCurvePane::ReservePoints(size_t count) {
    if (count > points_.capacity())
        points_.reserve((count + kPointGrowth - 1) / kPointGrowth * kPointGrowth);
}

CLightCurvePane::CLightCurvePane() {
    SetDpi(96, 96);
}

CLightCurvePane::~CLightCurvePane() {
    delete title_font_;
}

void CLightCurvePane::ClearData() {
    points_.clear();
    markers_.clear();
    plot_points_.clear();
    plot_markers_.clear();
    x_range_fixed_ = false;
}

void CLightCurvePane::AddPoint(double x, double y, double error, Colour colour, bool highlighted,
                               CPointSource source) {
    if (points_.size() == points_.capacity()) points_.reserve(Grown(points_.size(), kPointGrowth));
    points_.push_back(CChartPoint{x, y, error, colour, highlighted, source});
}

void CLightCurvePane::AddMarker(double time, Colour colour, uint32_t kind, CPointSource source,
                                bool end_circles) {
    AddMarkerAt(time, time, colour, kind, source, end_circles);
}

void CLightCurvePane::AddMarkerAt(double position, double time, Colour colour, uint32_t kind,
                                  CPointSource source, bool end_circles) {
    if (markers_.size() == markers_.capacity())
        markers_.reserve(Grown(markers_.size(), kMarkerGrowth));
    markers_.push_back(CChartMarker{time, position, colour, kind, source, end_circles});
}

void CLightCurvePane::SetXDataRange(double lower, double upper) {
    x_range_fixed_ = true;
    x_data_lower_ = lower;
    x_data_upper_ = upper;
}

void CLightCurvePane::SetYRange(double lower, double upper) {
    y_range_fixed_ = true;
    y_fixed_lower_ = lower;
    y_fixed_upper_ = upper;
}

void CLightCurvePane::SetDpi(int dpi_x, int dpi_y) {
    dpi_x_ = dpi_x > 0 ? dpi_x : 96;
    dpi_y_ = dpi_y > 0 ? dpi_y : 96;
    caption_font_ = CFont{-12 * dpi_y_ / 96, 400, "sans-serif"};
    if (title_font_) {
        title_font_scaled_ = *title_font_;
        title_font_scaled_.height = title_font_->height * dpi_y_ / 96;
    }
}

void CLightCurvePane::SetCaptions(const std::string& above, const std::string& below) {
    kurvalux_platform::AssignCut(caption_above_, above, kCaptionCapacity);
    kurvalux_platform::AssignCut(caption_below_, below, kCaptionCapacity);
}

void CLightCurvePane::SetTitle(const std::string& title) {
    kurvalux_platform::AssignCut(title_, title, kTitleCapacity);
}

void CLightCurvePane::SetTitleFont(const CFont* font) {
    delete title_font_;
    title_font_ = font ? new CFont(*font) : nullptr;
    SetDpi(dpi_x_, dpi_y_);
}

CDrawContext& CLightCurvePane::Metrics() {
    return metrics_ ? *metrics_ : estimate_;
}

bool CLightCurvePane::MarkerShown(const CChartMarker& marker) const {
    switch (marker.kind) {
        case kMarkerMinimumUnused:
            return show_kind1;
        case kMarkerPredictedPrimary:
            return show_kind4;
        case kMarkerPredictedSecondary:
            return show_kind5;
        case kMarkerNight:
        case kMarkerMinimumPrimary:
        case kMarkerMinimumSecondary:
            return true;
        default:
            return false;
    }
}

void CLightCurvePane::ComputeDataRange() {
    if (x_range_fixed_) return;
    double lower = INFINITY, upper = -INFINITY;
    for (const CChartPoint& p : points_) {
        if (!std::isfinite(p.x)) continue;
        lower = std::min(lower, p.x);
        upper = std::max(upper, p.x);
    }
    if (!(lower <= upper)) {
        for (const CChartMarker& m : markers_) {
            if (!std::isfinite(m.position)) continue;
            lower = std::min(lower, m.position);
            upper = std::max(upper, m.position);
        }
    }
    if (!(lower <= upper)) {
        lower = 0;
        upper = 1;
    } else if (lower == upper) {
        lower -= 0.5;
        upper += 0.5;
    }
    x_data_lower_ = lower;
    x_data_upper_ = upper;
}

void CLightCurvePane::ExtendYRange(double&, double&) const {}
void CLightCurvePane::PaintOverlay(CDrawContext&) {}
void CLightCurvePane::PaintUnderlay(CDrawContext&) {}
void CLightCurvePane::PaintOnTop(CDrawContext&) {}
std::string CLightCurvePane::XTickLabel(double value) const {
    return TickLabel(value, 4);
}

void CLightCurvePane::Relayout() {
    Layout(x_visible_lower_, x_visible_upper_, last_fit_y_, last_errors_);
}

void CLightCurvePane::Layout(double start, double end, bool fit_y_to_visible,
                             bool include_error_bars) {
    ComputeDataRange();
    if (!(end > start) || !std::isfinite(start) || !std::isfinite(end)) {
        start = x_data_lower_;
        end = x_data_upper_;
    }
    laid_out_ = true;
    last_fit_y_ = fit_y_to_visible;
    last_errors_ = include_error_bars;
    x_visible_lower_ = start;
    x_visible_upper_ = end;

    // The visible Y range: the points (in the visible X range for a zoom), with their error
    // bars when these are shown, and whatever a derived pane draws besides.
    double lower = INFINITY, upper = -INFINITY;
    if (y_range_fixed_) {
        lower = y_fixed_lower_;
        upper = y_fixed_upper_;
    } else {
        for (const CChartPoint& p : points_) {
            if (!std::isfinite(p.y)) continue;
            if (fit_y_to_visible && (p.x < start || p.x > end)) continue;
            double e = include_error_bars && p.error > 0 && std::isfinite(p.error) ? p.error : 0;
            lower = std::min(lower, p.y - e);
            upper = std::max(upper, p.y + e);
        }
        ExtendYRange(lower, upper);
        if (!(lower <= upper)) {
            lower = 0;
            upper = 1;
        } else if (upper - lower < 1e-9 * std::max(1.0, std::fabs(lower))) {
            lower -= 0.05;
            upper += 0.05;
        }
    }
    y_visible_lower_ = lower;
    y_visible_upper_ = upper;

    CDrawContext& dc = Metrics();
    dc.SelectFont(&caption_font_);
    int th = dc.TextHeight();
    radius_ = std::max(1, 2 * dpi_x_ / 96);
    x_ticks_ = TickLayout{};
    y_ticks_ = TickLayout{};
    x_labels_.clear();
    y_labels_.clear();

    if (thumbnail_) {
        margin_ = 0;
        plot_ = CRect{0, 0, rect_.width, rect_.height};
        x_map_ = AxisMapping{start, end, 0, plot_.width, false};
        y_map_ = AxisMapping{lower, upper, 0, plot_.height, !invert_y};
    } else {
        margin_ = 6 * dpi_y_ / 96;
        int m = margin_;
        int title_height = 0;
        if (!title_.empty()) {
            dc.SelectFont(title_font_ ? &title_font_scaled_ : &caption_font_);
            title_height = dc.TextHeight();
            dc.SelectFont(&caption_font_);
        }
        // Above the plot: the title (written at y = 16), then one line for the upper caption
        // and the marker dates. Below it: a blank line, then the X labels and the lower
        // caption.
        int top = (title_.empty() ? m : 16 + title_height + 4) + th + 2;
        int bottom = rect_.height - m - 2 * th;
        int height = std::max(0, bottom - top);
        y_map_ = AxisMapping{lower, upper, top + m, height - 2 * m, !invert_y};
        y_ticks_ = LayoutTicks(lower, upper, height, MinimumTickSpacing(dpi_y_), y_map_);
        int widest = std::max(dc.TextWidth(caption_above_), dc.TextWidth(caption_below_));
        for (double v : y_ticks_.values) {
            y_labels_.push_back(TickLabel(v, y_ticks_.decimals));
            widest = std::max(widest, dc.TextWidth(y_labels_.back()));
        }
        // X labels are centred on their ticks, so the outer ones need half a label of room
        // beyond the plot (on the left also past the lower caption, which shares their line),
        // and neighbouring ticks must be a label apart.
        int label_width = std::max(dc.TextWidth(XTickLabel(start)), dc.TextWidth(XTickLabel(end)));
        int left =
            std::max(10 + widest + 8, 10 + dc.TextWidth(caption_below_) + 16 + label_width / 2 - m);
        int right = rect_.width - std::max(m, label_width / 2 - m + 4);
        int width = std::max(0, right - left);
        plot_ = CRect{left, top, width, height};
        x_map_ = AxisMapping{start, end, left + m, width - 2 * m, false};
        int spacing = std::max(MinimumTickSpacing(dpi_x_), label_width + 8 * dpi_x_ / 96);
        x_ticks_ = LayoutTicks(start, end, width, spacing, x_map_);
        for (double v : x_ticks_.values) x_labels_.push_back(XTickLabel(v));
        if (width <= 2 * m || height <= 2 * m) {
            // Nothing but the background and the title is drawn at this size.
            x_ticks_ = TickLayout{};
            y_ticks_ = TickLayout{};
            x_labels_.clear();
            y_labels_.clear();
        }
    }

    // Points and markers in pixels.
    plot_points_.resize(points_.size());
    double ys = y_map_.Scale();
    int top = plot_.top, bottom = plot_.Bottom();
    for (size_t i = 0; i < points_.size(); ++i) {
        const CChartPoint& p = points_[i];
        CPlotPoint& q = plot_points_[i];
        q.x = x_map_.Pixel(p.x);
        int y = y_map_.Pixel(p.y);
        q.y = (y < top || y > bottom || !std::isfinite(p.y)) ? -1 : y;
        double e = p.error > 0 && std::isfinite(p.error) ? p.error * ys + 0.5 : 0.0;
        q.e = e < 1e6 ? static_cast<int32_t>(e) : 1000000;
        q.colour = p.colour;
        q.highlighted = p.highlighted ? 1 : 0;
    }
    plot_markers_.resize(markers_.size());
    for (size_t i = 0; i < markers_.size(); ++i) {
        plot_markers_[i].x = x_map_.Pixel(markers_[i].position);
        plot_markers_[i].end_circles = markers_[i].end_circles;
    }
    reference_y_ = show_reference_line ? y_map_.Pixel(reference_value) : -1;
    scroll_ = MapScrollBar(x_data_lower_, x_data_upper_, start, end);
}

void CLightCurvePane::Paint(CDrawContext& dc) {
    const int m = margin_;
    const int left = plot_.left, top = plot_.top, right = plot_.Right(), bottom = plot_.Bottom();

    // 1. Background.
    if (fill_background) {
        dc.SetFillColour(style.background);
        dc.FillRectangle(0, 0, rect_.width, rect_.height);
    }
    PaintUnderlay(dc);
    // 2. A plot no larger than its margins shows nothing but the title.
    if (plot_.width > 2 * m && plot_.height > 2 * m) {
        // 3. Axes.
        dc.SetPenWidth(1);
        dc.SetPenColour(style.axis);
        dc.SelectFont(&caption_font_);
        dc.SetTextColour(style.text);
        int th = dc.TextHeight();
        dc.DrawLine(left, top, left, bottom);
        dc.DrawLine(left, bottom, right, bottom);
        // 4. X ticks with their values.
        for (int i = 0; i < x_ticks_.count; ++i) {
            int x = x_ticks_.pixels[i];
            dc.DrawLine(x, bottom, x, bottom + 4);
            // Centred under the tick, where the eye looks for the value.
            int label_x = x - dc.TextWidth(x_labels_[i]) / 2;
            dc.DrawText(label_x, bottom + th, x_labels_[i].size(), x_labels_[i]);
        }
        // 5. Y ticks with their labels.
        for (int i = 0; i < y_ticks_.count; ++i) {
            int y = y_ticks_.pixels[i];
            dc.DrawLine(left - 4, y, left, y);
            dc.DrawText(10, y - th / 2, y_labels_[i].size(), y_labels_[i]);
        }
        // 6. Reference line.
        if (show_reference_line) {
            dc.SetPenColour(style.grid);
            dc.DrawLine(left, reference_y_, right, reference_y_);
        }
        // 7. Captions.
        dc.DrawText(10, top - th, caption_above_.size(), caption_above_);
        dc.DrawText(10, bottom + th, caption_below_.size(), caption_below_);
        // 8. Grid: a small cross at every crossing of an X and a Y tick.
        dc.SetPenColour(style.grid);
        for (int i = 0; i < x_ticks_.count; ++i) {
            for (int j = 0; j < y_ticks_.count; ++j) {
                int x = x_ticks_.pixels[i], y = y_ticks_.pixels[j];
                dc.DrawLine(x - 3, y, x + 3, y);
                dc.DrawLine(x, y - 3, x, y + 3);
            }
        }
        // 9. Markers.
        bool have_colour = false;
        Colour current = 0;
        int label_end = INT32_MIN;
        for (size_t i = 0; i < markers_.size(); ++i) {
            const CChartMarker& marker = markers_[i];
            if (!MarkerShown(marker)) continue;
            int x = plot_markers_[i].x;
            if (x < left || x > right) continue;
            if (!have_colour || marker.colour != current) {
                dc.SetPenColour(marker.colour);
                dc.SetTextColour(marker.colour);
                current = marker.colour;
                have_colour = true;
            }
            dc.DrawLine(x, top, x, bottom);
            if (plot_markers_[i].end_circles) {
                dc.DrawCircle(x, top, 2 * radius_);
                dc.DrawCircle(x, bottom, 2 * radius_);
            }
            // A time out of range (from a broken series) has no date: the line alone is drawn.
            const std::string label = marker.time != 0 ? LocalDateTime(marker.time) : "";
            if (!label.empty()) {
                // A label that would be written over the previous one is left out: the
                // marker line still shows the minimum, and its neighbour stays readable.
                int label_width = dc.TextWidth(label);
                int label_x = x + 2;
                // A label that would run off the pane's right edge is written to the left of
                // its marker instead.
                if (label_x + label_width > rect_.width && x - 2 - label_width >= left)
                    label_x = x - 2 - label_width;
                if (label_x >= label_end) {
                    dc.DrawText(label_x, top - th, label.size(), label);
                    label_end = label_x + label_width + th / 2;
                }
            }
        }
        // 10. Points.
        if (!points_.empty()) PaintPoints(dc);
        PaintOverlay(dc);
    }
    // 11. Title.
    if (!title_.empty()) {
        dc.SelectFont(title_font_ ? &title_font_scaled_ : &caption_font_);
        dc.SetTextColour(style.text);
        int width = dc.TextWidth(title_);
        dc.DrawText((rect_.width - width) / 2, 16, title_.size(), title_);
    }
    PaintOnTop(dc);
}

namespace {

// Remembers which (pixel, colour) marks have been drawn, one bit per pixel of the plot and
// colour. Used from the last point backwards: a point whose identical mark is drawn later
// would be covered by it completely, so leaving it out does not change the picture.
class CPixelColourSet {
public:
    // `expected` marks will be offered. Dense charts keep one bit per plot pixel and colour
    // (up to a memory budget); sparse ones, where such bitmaps would be mostly empty, keep a
    // hash set of (pixel, colour) instead.
    CPixelColourSet(int left, int top, int width, int height, size_t expected)
        : left_(left), top_(top), width_(width + 1), height_(height + 1) {
        size_t area = static_cast<size_t>(width_) * static_cast<size_t>(height_);
        dense_ = expected * 16 >= area;
        if (!dense_) seen_.reserve(expected);
    }

    // True when (x, y, colour) was not there yet (and records it).
    bool Insert(int x, int y, Colour colour) {
        int dx = x - left_, dy = y - top_;
        if (dx < 0 || dy < 0 || dx >= width_ || dy >= height_) return true;
        size_t index = static_cast<size_t>(dy) * width_ + dx;
        if (!dense_)
            return seen_
                .insert(static_cast<uint64_t>(index) << 24 | kurvalux_platform::RgbOf(colour) |
                        (static_cast<uint64_t>(colour >> 24) << 56))
                .second;
        std::vector<uint64_t>* bits = BitsOf(colour);
        if (!bits) return true;  // over the budget: this colour is drawn in full
        uint64_t mask = uint64_t{1} << (index & 63);
        uint64_t& word = (*bits)[index >> 6];
        if (word & mask) return false;
        word |= mask;
        return true;
    }

private:
    // 64 MB of bitmaps at most.
    static constexpr size_t kBudgetWords = size_t{8} << 20;

    std::vector<uint64_t>* BitsOf(Colour colour) {
        if (last_ < colours_.size() && colours_[last_] == colour) return Bits(last_);
        for (size_t i = 0; i < colours_.size(); ++i) {
            if (colours_[i] == colour) {
                last_ = i;
                return Bits(i);
            }
        }
        colours_.push_back(colour);
        size_t words = (static_cast<size_t>(width_) * height_ + 63) / 64;
        if (used_words_ + words <= kBudgetWords) {
            bits_.emplace_back(words, 0);
            used_words_ += words;
        } else {
            bits_.emplace_back();
        }
        last_ = colours_.size() - 1;
        return Bits(last_);
    }
    std::vector<uint64_t>* Bits(size_t i) { return bits_[i].empty() ? nullptr : &bits_[i]; }

    int left_, top_, width_, height_;
    bool dense_ = true;
    std::unordered_set<uint64_t> seen_;
    std::vector<Colour> colours_;
    std::vector<std::vector<uint64_t>> bits_;
    size_t used_words_ = 0;
    size_t last_ = 0;
};

}  // namespace

void CLightCurvePane::PaintPoints(CDrawContext& dc) {
    const int left = plot_.left, right = plot_.Right();
    const int r = radius_;
    const size_t n = plot_points_.size();
    auto visible = [&](const CPlotPoint& p) { return p.x >= left && p.x <= right && p.y >= 0; };
    std::vector<uint8_t> keep(n, 0);
    // On a pixel device a point (error bar, highlight ring) drawn again later at the same pixel
    // in the same colour covers the earlier one completely; leaving that out keeps the picture
    // and lets a chart of a million points draw only the marks that can be seen.
    const bool dedupe = dc.MayOmitCoveredMarks();

    if (thumbnail_) {
        CPixelColourSet seen(plot_.left, plot_.top, plot_.width, plot_.height, n);
        for (size_t i = n; i-- > 0;) {
            const CPlotPoint& p = plot_points_[i];
            keep[i] = visible(p) && (!dedupe || seen.Insert(p.x, p.y, p.colour));
        }
        for (size_t i = 0; i < n; ++i)
            if (keep[i]) dc.SetPixel(plot_points_[i].x, plot_points_[i].y, plot_points_[i].colour);
        return;
    }

    if (show_error_bars) {
        // Identical bars (same place, length and colour) are drawn once, the last of them.
        std::unordered_set<uint64_t> seen;
        std::vector<Colour> colours;  // colour -> small index for the key
        for (size_t i = n; i-- > 0;) {
            const CPlotPoint& p = plot_points_[i];
            if (!visible(p)) continue;
            size_t c = std::find(colours.begin(), colours.end(), p.colour) - colours.begin();
            if (c == colours.size()) colours.push_back(p.colour);
            uint64_t dx = static_cast<uint64_t>(p.x - left), dy = static_cast<uint64_t>(p.y);
            uint64_t e = static_cast<uint64_t>(p.e);
            if (dx > 0xFFFF || dy > 0xFFFF || e > 0xFFFF || c > 0xFFFF) {
                keep[i] = 1;
                continue;
            }
            keep[i] = !dedupe ||
                      seen.insert(dx | dy << 16 | e << 32 | static_cast<uint64_t>(c) << 48).second;
        }
        bool have = false;
        Colour current = 0;
        for (size_t i = 0; i < n; ++i) {
            if (!keep[i]) continue;
            const CPlotPoint& p = plot_points_[i];
            Colour light = LightenedColour(p.colour);
            if (!have || light != current) {
                dc.SetPenColour(light);
                current = light;
                have = true;
            }
            dc.DrawLine(p.x, p.y - p.e, p.x, p.y + p.e);
            dc.DrawLine(p.x - r, p.y - p.e, p.x + r, p.y - p.e);
            dc.DrawLine(p.x - r, p.y + p.e, p.x + r, p.y + p.e);
        }
    }

    {
        CPixelColourSet seen(plot_.left, plot_.top, plot_.width, plot_.height, n);
        bool any = false;
        for (size_t i = n; i-- > 0;) {
            const CPlotPoint& p = plot_points_[i];
            keep[i] = p.highlighted && visible(p) && (!dedupe || seen.Insert(p.x, p.y, 0));
            any = any || keep[i];
        }
        if (any) {
            dc.SetPenColour(style.highlight);
            for (size_t i = 0; i < n; ++i)
                if (keep[i]) dc.DrawCircle(plot_points_[i].x, plot_points_[i].y, 2 * r);
        }
    }

    CPixelColourSet seen(plot_.left, plot_.top, plot_.width, plot_.height, n);
    for (size_t i = n; i-- > 0;) {
        const CPlotPoint& p = plot_points_[i];
        keep[i] = visible(p) && (!dedupe || seen.Insert(p.x, p.y, p.colour));
    }
    bool have = false;
    Colour current = 0;
    for (size_t i = 0; i < n; ++i) {
        if (!keep[i]) continue;
        const CPlotPoint& p = plot_points_[i];
        if (!have || p.colour != current) {
            dc.SetFillColour(p.colour);
            current = p.colour;
            have = true;
        }
        dc.DrawFilledCircle(p.x, p.y, r, false);
    }
}

CLightCurvePane::ExportScope::ExportScope(CLightCurvePane& pane, int width, int height,
                                          const std::string& title, CDrawContext& dc)
    : pane_(pane),
      rect_(pane.rect_),
      dpi_x_(pane.dpi_x_),
      dpi_y_(pane.dpi_y_),
      metrics_(pane.metrics_) {
    if (!pane_.laid_out_) {
        pane_.ComputeDataRange();
        pane_.x_visible_lower_ = pane_.x_data_lower_;
        pane_.x_visible_upper_ = pane_.x_data_upper_;
        pane_.last_errors_ = pane_.show_error_bars;
    }
    pane_.SetTitle(title);
    pane_.rect_ = CRect{0, 0, width, height};
    pane_.SetDpi(dc.DpiX(), dc.DpiY());
    pane_.metrics_ = &dc;
    pane_.Relayout();
}

CLightCurvePane::ExportScope::~ExportScope() {
    pane_.title_.clear();
    pane_.rect_ = rect_;
    pane_.SetDpi(dpi_x_, dpi_y_);
    pane_.metrics_ = metrics_;
    pane_.Relayout();
}

std::string CLightCurvePane::SvgText(int width, int height, const std::string& title) {
    // Every point is written (about 110 bytes a disc, 300 more for its error bar): room for
    // them at once keeps a document of tens of megabytes from being moved while it grows.
    constexpr size_t kFrameBytes = 64 * 1024, kDiscBytes = 112, kErrorBarBytes = 300;
    CTextBuffer buffer;
    buffer.line_end = false;
    buffer.Reserve(kFrameBytes +
                   points_.size() * (kDiscBytes + (show_error_bars ? kErrorBarBytes : 0)));
    {
        CSVGContext svg;
        ExportScope scope(*this, width, height, title, svg);
        svg.WriteHeader(buffer, width, height);
        Paint(svg);
        svg.WriteFooter();
    }
    return buffer.Release();
}

bool CLightCurvePane::ExportSvg(const std::string& path, int width, int height,
                                const std::string& title,
                                kurvalux_platform::CMessageBoxSink& messages) {
    std::string text = SvgText(width, height, title);
    if (!kurvalux_platform::WriteWholeFile(path, text)) {
        messages.Error("Error", {"Cannot create file", path});
        return false;
    }
    return true;
}

}  // namespace kurvalux_lc
