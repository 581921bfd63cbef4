#pragma once
// The charts of an object, filled from the Field: its time series, the compressed series
// (nights side by side), the phased curve, the phased curve with the model fit, and one
// minimum of one series with the single-minimum model.
#include <memory>
#include <string>

#include "analysis/model.h"
#include "data/field.h"
#include "data/settings.h"
#include "lc/fit_panes.h"
#include "lc/light_curve_pane.h"

namespace kurvalux_lc {

enum class ChartView { kTime, kCompressed, kPhased, kPhasedFit, kMinimum };

// "time", "compressed", "phased", "fit", "minimum".
bool ParseChartView(const std::string& word, ChartView& view);
// The tab names: "Time Series", "Compressed Series", "Phased Curve", "Phased Curve Fit",
// "Minimum Fit".
const char* ChartViewName(ChartView view);

// The phase range of the phased charts: a fifth of a cycle beyond each end, so that the
// primary minimum is seen whole at both phase 0 and phase 1.
constexpr double kPhaseFrom = -0.2;
constexpr double kPhaseTo = 1.2;

// Gap between neighbouring series on the compressed axis, as a fraction of the longest
// series' span.
constexpr double kCompressedGapFraction = 0.1;

// Marker colours.
constexpr Colour kNightColour = kurvalux_platform::MakeColour(150, 150, 150);
constexpr Colour kPrimaryColour = kurvalux_platform::MakeColour(220, 0, 0);
constexpr Colour kUndefinedMinimumColour = kurvalux_platform::MakeColour(230, 120, 0);
constexpr Colour kSecondaryColour = kurvalux_platform::MakeColour(0, 60, 220);
constexpr Colour kUnusedMinimumColour = kurvalux_platform::MakeColour(170, 170, 170);
constexpr Colour kPredictedColour = kurvalux_platform::MakeColour(120, 0, 160);
// Points of a series whose filter is not in the table.
constexpr Colour kUnknownFilterColour = kurvalux_platform::MakeColour(0, 0, 0);

struct ChartRequest {
    ChartView view = ChartView::kTime;
    // The selected series (index in the object's series list), or -1. Its points are
    // highlighted and its minima get end circles; the minimum view shows only this series.
    int series = -1;
    // The visible time range (Julian Dates); both 0 for all. The minimum view's window.
    double from = 0;
    double to = 0;
    const kurvalux_data::FilterTable* filters = nullptr;  // null: the built-in table
    bool show_error_bars = false;
    bool show_unused_minima = false;     // marker kind 1
    bool show_predicted_minima = false;  // marker kinds 4 and 5
    // The minimum view: the fitted single-minimum model (normalised abscissa) over the
    // window, when there is one.
    bool has_minimum_fit = false;
    kurvalux_analysis::SingleMinimumParameters minimum_fit{};
};

struct Chart {
    std::unique_ptr<CLightCurvePane> pane;
    // The range to lay out for.
    double visible_from = 0;
    double visible_to = 0;
    void Layout() { pane->Layout(visible_from, visible_to, false, pane->show_error_bars); }
};

// Fills an existing pane anew for the request, keeping its rectangle, resolution and title
// font (a pane on screen when the object or the data change). The phased-fit view needs a
// CLightCurveFitPane, the minimum view a CMinimumFitPane. Sets the range to lay out for (both
// 0 for all the data). False with `message` when the view cannot be drawn.
bool RefillChart(CLightCurvePane& pane, const kurvalux_data::CObjectListElem& object,
                 const ChartRequest& request, std::string& message, double& visible_from,
                 double& visible_to);

// Builds the chart of `object` for the request. Returns an empty chart and sets `message`
// when the view cannot be drawn (no ephemeris for a phased view, no such series, no points).
Chart MakeChart(const kurvalux_data::CObjectListElem& object, const ChartRequest& request,
                std::string& message);

// The colour of a series: its filter (its own meta-data, else its file's, else the object's)
// looked up in the filter table.
Colour SeriesColour(const kurvalux_data::CObjectListElem& object,
                    const kurvalux_data::CSeriesTreeElem& series,
                    const kurvalux_data::FilterTable& filters);

// The caption of a time axis: "HJD", "GJD" or "JD" after the JD type of the series.
std::string TimeCaption(const kurvalux_data::CObjectListElem& object);

// The title font of the charts: bold, 16 pixels at 96 dots per inch.
CFont ChartTitleFont(int dpi_y);

}  // namespace kurvalux_lc
