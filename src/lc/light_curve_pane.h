#pragma once
// Chart panes: a light curve (or any value against time or phase) with axes, ticks, grid,
// markers of minima or nights, points with error bars, and a title. A pane is filled with
// points and markers in data units, lays itself out for a rectangle and a visible range, and
// paints only through a CDrawContext, so the screen, raster files and SVG files all come from
// the one routine below.
#include <cstdint>
#include <string>
#include <vector>

#include "lc/chart_layout.h"
#include "platform/draw_context.h"
#include "platform/message_box.h"

namespace kurvalux_lc {

using kurvalux_platform::CDrawContext;
using kurvalux_platform::CFont;
using kurvalux_platform::Colour;

// Where a plotted point or marker came from: series and point (or minimum) index.
struct CPointSource {
    int series = -1;
    int index = -1;
    bool operator==(const CPointSource&) const = default;
};

// A point as added, in data units.
struct CChartPoint {
    double x = 0;
    double y = 0;
    double error = 0;
    Colour colour = 0;
    bool highlighted = false;
    CPointSource source;
};

// Marker kinds. Kinds 0, 2 and 3 are always shown; 1, 4 and 5 each have a switch.
enum MarkerKind : uint32_t {
    kMarkerNight = 0,              // start of a night's series
    kMarkerMinimumUnused = 1,      // a timed minimum that is not in use
    kMarkerMinimumPrimary = 2,     // a primary minimum (or one of undefined type)
    kMarkerMinimumSecondary = 3,   // a secondary minimum
    kMarkerPredictedPrimary = 4,   // primary minimum predicted by the ephemeris
    kMarkerPredictedSecondary = 5  // secondary minimum predicted by the ephemeris
};

struct CChartMarker {
    double time = 0;      // Julian Date of the label; 0 writes no label
    double position = 0;  // place on the X axis (the time itself on a time axis)
    Colour colour = 0;
    uint32_t kind = kMarkerNight;
    CPointSource source;
    bool end_circles = false;
};

// A point after layout, in pixels. A negative y means the point is not drawn.
struct CPlotPoint {
    int32_t x = 0;
    int32_t y = -1;
    int32_t e = 0;  // error bar half-length
    Colour colour = 0;
    uint8_t highlighted = 0;
};

struct CPlotMarker {
    int32_t x = 0;
    bool end_circles = false;
};

struct CRect {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
    int Right() const { return left + width; }
    int Bottom() const { return top + height; }
    bool operator==(const CRect&) const = default;
};

// One stripe of a prediction chart: a band over the whole pane height.
struct CStripeListElem {
    static constexpr Colour kNoFill = 0xFFFFFFFF;
    int left = 0;
    int width = 0;
    Colour colour = kNoFill;
};
// Fills every stripe that has a colour, from the pane's top over `pane_height` pixels.
void PaintStripes(CDrawContext& dc, const std::vector<CStripeListElem>& stripes, int pane_height);

// Colours of the pane's style.
struct CPaneStyle {
    Colour background = kurvalux_platform::MakeColour(255, 255, 255);
    Colour axis = kurvalux_platform::MakeColour(0, 0, 0);
    Colour text = kurvalux_platform::MakeColour(0, 0, 0);
    Colour grid = kurvalux_platform::MakeColour(216, 216, 216);
    Colour highlight = kurvalux_platform::MakeColour(255, 0, 0);
};

class CLightCurvePane {
public:
    static constexpr size_t kPointGrowth = 20;
    static constexpr size_t kMarkerGrowth = 5;
    static constexpr size_t kCaptionCapacity = 7;
    static constexpr size_t kTitleCapacity = 127;

    CLightCurvePane();
    virtual ~CLightCurvePane();
    CLightCurvePane(const CLightCurvePane&) = delete;
    CLightCurvePane& operator=(const CLightCurvePane&) = delete;

    // --- contents, in data units
    void ClearData();
    void AddPoint(double x, double y, double error, Colour colour, bool highlighted,
                  CPointSource source = {});
    // Makes room for `count` points at once (a fill that knows its size).
    void ReservePoints(size_t count);
    // A marker at its own time on the X axis.
    void AddMarker(double time, Colour colour, uint32_t kind, CPointSource source = {},
                   bool end_circles = false);
    // A marker whose place on the X axis differs from its time (compressed series).
    void AddMarkerAt(double position, double time, Colour colour, uint32_t kind,
                     CPointSource source = {}, bool end_circles = false);
    const std::vector<CChartPoint>& Points() const { return points_; }
    const std::vector<CChartMarker>& Markers() const { return markers_; }
    size_t PointCapacity() const { return points_.capacity(); }
    size_t MarkerCapacity() const { return markers_.capacity(); }

    // Fixes the data range of the X axis (a phase axis); otherwise it spans the points.
    void SetXDataRange(double lower, double upper);
    // Fixes the visible Y range; otherwise it follows the points.
    void SetYRange(double lower, double upper);
    void ClearYRange() { y_range_fixed_ = false; }

    // --- geometry and settings
    void SetRect(const CRect& rect) { rect_ = rect; }
    const CRect& Rect() const { return rect_; }
    void SetDpi(int dpi_x, int dpi_y);
    int DpiX() const { return dpi_x_; }
    int DpiY() const { return dpi_y_; }
    // Thumbnail mode: the plot fills the pane, no margins, no ticks; points are single pixels.
    void SetThumbnail(bool on) { thumbnail_ = on; }
    bool Thumbnail() const { return thumbnail_; }
    // The context whose text metrics the layout uses (the target of an export); null: the
    // estimates of the base context.
    void SetMetricsContext(CDrawContext* dc) { metrics_ = dc; }

    // Magnitudes: smaller values (brighter) upward. Flux: larger values upward.
    bool invert_y = false;
    bool show_error_bars = false;
    bool show_kind1 = false;
    bool show_kind4 = false;
    bool show_kind5 = false;
    bool show_reference_line = false;
    double reference_value = 0;  // data value of the reference line
    bool fill_background = true;
    CPaneStyle style;

    void SetCaptions(const std::string& above, const std::string& below);
    const std::string& CaptionAbove() const { return caption_above_; }
    const std::string& CaptionBelow() const { return caption_below_; }
    void SetTitle(const std::string& title);
    const std::string& Title() const { return title_; }
    // The title font, its size given for 96 dots per inch (it is scaled with the pane's
    // resolution like the caption font); null writes the title in the caption font.
    void SetTitleFont(const CFont* font);

    // --- layout and paint
    // Lays out for the visible X range [start, end]. With `fit_y_to_visible` the Y range
    // follows only the points inside that range (a zoom); with `include_error_bars` the range
    // leaves room for the error bars too.
    virtual void Layout(double start, double end, bool fit_y_to_visible, bool include_error_bars);
    // Lays out again with the last range and flags (after a change of size or title).
    void Relayout();
    // The whole data range (an empty range stands for it).
    void LayoutAll() { Layout(0, 0, false, show_error_bars); }
    void Paint(CDrawContext& dc);

    // Writes the chart as an SVG document of the given size with `title` centred on top.
    // Shows "Cannot create file" through `messages` when the file cannot be written.
    bool ExportSvg(const std::string& path, int width, int height, const std::string& title,
                   kurvalux_platform::CMessageBoxSink& messages);
    // Builds the SVG text of the chart (what ExportSvg writes).
    std::string SvgText(int width, int height, const std::string& title);

    // Lays the pane out for an off-screen rendering of `width` × `height` pixels with a title
    // and restores it afterwards; the raster exporter paints in between.
    class ExportScope {
    public:
        ExportScope(CLightCurvePane& pane, int width, int height, const std::string& title,
                    CDrawContext& dc);
        ~ExportScope();
        ExportScope(const ExportScope&) = delete;
        ExportScope& operator=(const ExportScope&) = delete;

    private:
        CLightCurvePane& pane_;
        CRect rect_;
        int dpi_x_, dpi_y_;
        CDrawContext* metrics_;
    };

    // --- results of the layout
    const CRect& Plot() const { return plot_; }
    int Margin() const { return margin_; }
    int Radius() const { return radius_; }
    const TickLayout& XTicks() const { return x_ticks_; }
    const TickLayout& YTicks() const { return y_ticks_; }
    const std::vector<std::string>& XLabels() const { return x_labels_; }
    const std::vector<std::string>& YLabels() const { return y_labels_; }
    int YDecimals() const { return y_ticks_.decimals; }
    const std::vector<CPlotPoint>& PlotPoints() const { return plot_points_; }
    const std::vector<CPlotMarker>& PlotMarkers() const { return plot_markers_; }
    int ReferenceY() const { return reference_y_; }
    double XDataLower() const { return x_data_lower_; }
    double XDataUpper() const { return x_data_upper_; }
    double VisibleXLower() const { return x_visible_lower_; }
    double VisibleXUpper() const { return x_visible_upper_; }
    double VisibleYLower() const { return y_visible_lower_; }
    double VisibleYUpper() const { return y_visible_upper_; }
    const AxisMapping& XMapping() const { return x_map_; }
    const AxisMapping& YMapping() const { return y_map_; }
    const ScrollBarMapping& ScrollBar() const { return scroll_; }
    bool MarkerShown(const CChartMarker& marker) const;
    const CFont& CaptionFont() const { return caption_font_; }

protected:
    // Hooks of the derived panes: the Y range their model needs, and what they draw over the
    // points (before the title).
    virtual void ExtendYRange(double& lower, double& upper) const;
    virtual void PaintOverlay(CDrawContext& dc);
    // What a derived pane draws under the chart (right after the background) and over all of
    // it (after the title).
    virtual void PaintUnderlay(CDrawContext& dc);
    virtual void PaintOnTop(CDrawContext& dc);
    // The label of an X tick (and of the axis ends, which set the room labels need); four
    // decimals unless a derived pane writes its axis otherwise.
    virtual std::string XTickLabel(double value) const;
    CDrawContext& Metrics();

    std::vector<CChartPoint> points_;
    std::vector<CChartMarker> markers_;

private:
    void PaintPoints(CDrawContext& dc);
    void ComputeDataRange();

    CRect rect_;
    CRect plot_;
    int dpi_x_ = 96, dpi_y_ = 96;
    int margin_ = 6;
    int radius_ = 2;
    bool thumbnail_ = false;
    CDrawContext* metrics_ = nullptr;
    CDrawContext estimate_;

    bool x_range_fixed_ = false;
    bool y_range_fixed_ = false;
    double x_data_lower_ = 0, x_data_upper_ = 1;
    double y_fixed_lower_ = 0, y_fixed_upper_ = 1;
    double x_visible_lower_ = 0, x_visible_upper_ = 1;
    double y_visible_lower_ = 0, y_visible_upper_ = 1;
    bool last_fit_y_ = false, last_errors_ = false;
    bool laid_out_ = false;

    AxisMapping x_map_, y_map_;
    TickLayout x_ticks_, y_ticks_;
    std::vector<std::string> x_labels_, y_labels_;
    std::vector<CPlotPoint> plot_points_;
    std::vector<CPlotMarker> plot_markers_;
    int reference_y_ = -1;
    ScrollBarMapping scroll_;

    std::string caption_above_, caption_below_;
    std::string title_;
    CFont caption_font_;
    CFont* title_font_ = nullptr;  // owned; released by the destructor
    CFont title_font_scaled_;      // the title font at the pane's resolution
};

}  // namespace kurvalux_lc
