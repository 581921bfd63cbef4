#include "lc/fit_panes.h"

#include <algorithm>
#include <cmath>

#include "platform/text.h"

namespace kurvalux_lc {

using kurvalux_analysis::ModelSampling;

CModelPolyline ToPolyline(const ModelSampling& sampling, const AxisMapping& x_map,
                          const AxisMapping& y_map, int top, int bottom,
                          double (*abscissa_to_axis)(double, const void*), const void* context) {
    CModelPolyline line;
    bool open = false;
    for (size_t i = 0; i < sampling.values.size(); ++i) {
        double value = sampling.values[i];
        if (!std::isfinite(value)) {
            open = false;
            continue;
        }
        if (!open) {
            line.xs.emplace_back();
            line.ys.emplace_back();
            open = true;
        }
        double u = sampling.abscissae[i];
        if (abscissa_to_axis) u = abscissa_to_axis(u, context);
        int y = std::clamp(y_map.Pixel(value), top, bottom);
        line.xs.back().push_back(x_map.Pixel(u));
        line.ys.back().push_back(y);
    }
    return line;
}

namespace {

void DrawModel(CDrawContext& dc, const CModelPolyline& line, int dpi_x) {
    if (line.Segments() == 0) return;
    dc.SetPenColour(kModelColour);
    dc.SetPenWidth(static_cast<unsigned>(std::max(1, 2 * dpi_x / 96)));
    for (size_t s = 0; s < line.Segments(); ++s)
        dc.DrawPolyline(line.xs[s].size(), line.xs[s].data(), line.ys[s].data());
    dc.SetPenWidth(1);
}

// Columns the visible range spans on a pane that has not been laid out yet.
constexpr int kDefaultColumns = 1000;

}  // namespace

// --- phased curve with the whole-cycle model

void CLightCurveFitPane::SetModel(const kurvalux_data::LightCurveParameters& parameters,
                                  bool enabled) {
    parameters_ = parameters;
    model_enabled_ = enabled;
    sampling_ = ModelSampling{};
    polyline_ = CModelPolyline{};
}

void CLightCurveFitPane::ExtendYRange(double& lower, double& upper) const {
    if (!model_enabled_) return;
    // Sampled at least as finely as the curve will be drawn, so that the drawn extremes lie
    // inside the range.
    int columns = std::max(Rect().width, kDefaultColumns);
    ModelSampling s =
        kurvalux_analysis::SampleLightCurve(parameters_, VisibleXLower(), VisibleXUpper(), columns);
    for (double v : s.values) {
        if (!std::isfinite(v)) continue;
        lower = std::min(lower, v);
        upper = std::max(upper, v);
    }
}

void CLightCurveFitPane::Layout(double start, double end, bool fit_y_to_visible,
                                bool include_error_bars) {
    CLightCurvePane::Layout(start, end, fit_y_to_visible, include_error_bars);
    sampling_ = ModelSampling{};
    polyline_ = CModelPolyline{};
    if (!model_enabled_ || XMapping().length <= 0) return;
    sampling_ = kurvalux_analysis::SampleLightCurve(parameters_, VisibleXLower(), VisibleXUpper(),
                                                    XMapping().length);
    polyline_ = ToPolyline(sampling_, XMapping(), YMapping(), Plot().top, Plot().Bottom());
}

double CLightCurveFitPane::MaxMag() const {
    return invert_y ? sampling_.smallest : sampling_.largest;
}

double CLightCurveFitPane::MinMag() const {
    return invert_y ? sampling_.largest : sampling_.smallest;
}

std::string CLightCurveFitPane::MagnitudeText() const {
    return "Max.Mag: " + kurvalux_platform::FormatFixedAlways(MaxMag(), 3) +
           "  Min.Mag: " + kurvalux_platform::FormatFixedAlways(MinMag(), 3);
}

void CLightCurveFitPane::PaintOverlay(CDrawContext& dc) {
    DrawModel(dc, polyline_, DpiX());
    if (!model_enabled_ || sampling_.values.empty() || Thumbnail()) return;
    std::string text = MagnitudeText();
    dc.SelectFont(&CaptionFont());
    dc.SetTextColour(style.text);
    int th = dc.TextHeight();
    int x = Plot().Right() - dc.TextWidth(text);
    dc.DrawText(std::max(x, Plot().left), Plot().top - th, text.size(), text);
}

// --- one minimum with the single-minimum model

void CMinimumFitPane::SetWindow(double t_start, double t_end) {
    t_start_ = t_start;
    t_end_ = t_end;
}

void CMinimumFitPane::SetModel(const kurvalux_analysis::SingleMinimumParameters& parameters,
                               double x_from, double x_to) {
    parameters_ = parameters;
    x_from_ = x_from;
    x_to_ = x_to;
    has_fit_ = true;
}

double CMinimumFitPane::MinimumTime() const {
    return parameters_[kurvalux_analysis::kMinTime] * (t_end_ - t_start_) + t_start_;
}

namespace {

double NormalisedToTime(double x, const void* context) {
    const double* window = static_cast<const double*>(context);
    return x * (window[1] - window[0]) + window[0];
}

}  // namespace

ModelSampling CMinimumFitPane::SampleFor(int columns) const {
    return kurvalux_analysis::SampleSingleMinimum(parameters_, x_from_, x_to_, columns);
}

void CMinimumFitPane::ExtendYRange(double& lower, double& upper) const {
    if (!CurveShown()) return;
    ModelSampling s = SampleFor(kDefaultColumns);
    for (double v : s.values) {
        if (!std::isfinite(v)) continue;
        lower = std::min(lower, v);
        upper = std::max(upper, v);
    }
}

void CMinimumFitPane::Layout(double start, double end, bool fit_y_to_visible,
                             bool include_error_bars) {
    CLightCurvePane::Layout(start, end, fit_y_to_visible, include_error_bars);
    sampling_ = ModelSampling{};
    polyline_ = CModelPolyline{};
    if (!CurveShown() || XMapping().length <= 0) return;
    // Sampled over the fitted span only, every second column of the pixels it covers.
    double window[2] = {t_start_, t_end_};
    int from = XMapping().Pixel(NormalisedToTime(x_from_, window));
    int to = XMapping().Pixel(NormalisedToTime(x_to_, window));
    int columns = std::clamp(to - from, 0, 100000);
    if (columns <= 0) return;
    sampling_ = SampleFor(columns);
    polyline_ = ToPolyline(sampling_, XMapping(), YMapping(), Plot().top, Plot().Bottom(),
                           NormalisedToTime, window);
}

void CMinimumFitPane::PaintOverlay(CDrawContext& dc) {
    DrawModel(dc, polyline_, DpiX());
}

}  // namespace kurvalux_lc
