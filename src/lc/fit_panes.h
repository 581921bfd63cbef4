#pragma once
// Chart panes that draw a model curve over the points: the phased curve with the whole-cycle
// model (the phase-curve fit) and one minimum with the single-minimum model (minimum timing).
// The curves are sampled once every two device columns and drawn as polylines.
#include <vector>

#include "analysis/model.h"
#include "data/light_curve_parameters.h"
#include "lc/light_curve_pane.h"

namespace kurvalux_lc {

// The pen of the model curves.
constexpr Colour kModelColour = kurvalux_platform::MakeColour(0, 0, 0);

// A sampled model curve in pixels, split where the model has no finite value.
struct CModelPolyline {
    std::vector<std::vector<int>> xs;
    std::vector<std::vector<int>> ys;
    size_t Segments() const { return xs.size(); }
};

// Turns a sampling into pixel polylines on the pane's axes; values beyond the plot are held at
// its edge so the curve leaves and re-enters the plot where it should.
CModelPolyline ToPolyline(const kurvalux_analysis::ModelSampling& sampling,
                          const AxisMapping& x_map, const AxisMapping& y_map, int top, int bottom,
                          double (*abscissa_to_axis)(double, const void*) = nullptr,
                          const void* context = nullptr);

// The phased curve with the whole-cycle model of the object's fit parameters.
class CLightCurveFitPane : public CLightCurvePane {
public:
    // Sets the model drawn over the points; `enabled` false draws none.
    void SetModel(const kurvalux_data::LightCurveParameters& parameters, bool enabled);
    bool ModelEnabled() const { return model_enabled_; }

    void Layout(double start, double end, bool fit_y_to_visible, bool include_error_bars) override;

    // Extremes of the sampled model, from the undefined 100.0 when nothing was sampled. For
    // magnitudes "Max.Mag" (maximum light) is the smallest value, "Min.Mag" the largest.
    double MaxMag() const;
    double MinMag() const;
    const kurvalux_analysis::ModelSampling& Sampling() const { return sampling_; }
    const CModelPolyline& Polyline() const { return polyline_; }
    // "Max.Mag: 12.345  Min.Mag: 12.987", written on the caption line over the plot.
    std::string MagnitudeText() const;

protected:
    void ExtendYRange(double& lower, double& upper) const override;
    void PaintOverlay(CDrawContext& dc) override;

private:
    kurvalux_data::LightCurveParameters parameters_ = kurvalux_data::kDefaultLightCurveParameters;
    bool model_enabled_ = false;
    kurvalux_analysis::ModelSampling sampling_;
    CModelPolyline polyline_;
};

// One series' points around a minimum, with the single-minimum model over the fitted span.
// The model's abscissa is normalised time: x = (t - t_start) / (t_end - t_start).
class CMinimumFitPane : public CLightCurvePane {
public:
    // The curve needs at least this many points in the pane.
    static constexpr size_t kMinimumPoints = 7;

    // The time window of the normalisation (Julian Dates).
    void SetWindow(double t_start, double t_end);
    // The fitted parameters and the fitted span of the normalised abscissa.
    void SetModel(const kurvalux_analysis::SingleMinimumParameters& parameters, double x_from,
                  double x_to);
    void ClearModel() { has_fit_ = false; }
    bool HasFit() const { return has_fit_; }
    double WindowStart() const { return t_start_; }
    double WindowEnd() const { return t_end_; }
    // The fitted time of minimum as a Julian Date.
    double MinimumTime() const;

    void Layout(double start, double end, bool fit_y_to_visible, bool include_error_bars) override;
    bool CurveShown() const { return has_fit_ && points_.size() >= kMinimumPoints; }
    const kurvalux_analysis::ModelSampling& Sampling() const { return sampling_; }
    const CModelPolyline& Polyline() const { return polyline_; }

protected:
    void ExtendYRange(double& lower, double& upper) const override;
    void PaintOverlay(CDrawContext& dc) override;

private:
    kurvalux_analysis::ModelSampling SampleFor(int columns) const;

    double t_start_ = 0, t_end_ = 1;
    kurvalux_analysis::SingleMinimumParameters parameters_{};
    double x_from_ = 0, x_to_ = 1;
    bool has_fit_ = false;
    kurvalux_analysis::ModelSampling sampling_;
    CModelPolyline polyline_;
};

}  // namespace kurvalux_lc
