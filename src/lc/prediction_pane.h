#pragma once
// The minima prediction chart: the light curve that the object's ephemeris and model predict
// over a stretch of future time, over bands that mark day, twilight and night at the site,
// with the curve coloured where the star is high enough and the sky dark enough.
//
// The upper two thirds hold the chart of the base pane over the time axis with the predicted
// curve; the lower third the altitudes of the star and the Sun in degrees. Layout fills one
// column every 2 pixels (model value, star and Sun altitude, Sun class, bands) and fits the
// magnitude axis to the model; Paint draws the bands, the chart, the curve and the altitudes.
#include <string>
#include <vector>

#include "data/light_curve_parameters.h"
#include "lc/light_curve_pane.h"
#include "time/local_sky.h"

namespace kurvalux_lc {

// Pens of the predicted curve.
constexpr Colour kObservableColour = kurvalux_platform::MakeColour(31, 63, 255);
constexpr Colour kUnobservableColour = kurvalux_platform::MakeColour(192, 192, 192);

// The unset value of the altitude range.
constexpr double kUnsetAltitude = 91.0;

// Pen of the Sun's altitude curve (the star's is the axis colour).
constexpr Colour kSunAltitudeColour = kurvalux_platform::MakeColour(255, 160, 0);
// The reference line of the altitude plot, at the horizon.
constexpr Colour kHorizonColour = kurvalux_platform::MakeColour(216, 216, 216);

// A tick label of the time axis: local date and time "YYYY-MM-DD HH:MM", the minutes rounded
// up when the seconds are 30 or more and the minutes below 59 (so a label never rolls over
// into the next hour); empty outside the range of Julian Dates.
std::string PredictionTimeLabel(double jd);

// Classes of the Sun's altitude: 0 night (≤ −18°), 1 astronomical twilight (≤ −12°),
// 2 nautical (≤ −6°), 3 civil (≤ 0°), 4 day; and their band colours (no band for night, ever
// warmer tints toward day).
int SunClass(double sun_altitude);
Colour SunClassColour(int sun_class);

class CPredictionPane : public CLightCurvePane {
public:
    struct Column {
        int x = 0;
        double model = 0;  // magnitude
        int y = 0;
        double star_altitude = 0;  // degrees
        double sun_altitude = 0;   // degrees
    };

    CPredictionPane();

    // The time axis, Julian Dates.
    void SetAxis(double left, double right);
    void SetEphemeris(double m0, double period);
    void SetModel(const kurvalux_data::LightCurveParameters& parameters, bool enabled);
    // R.A. and Dec. in radians; −1 and 91 mean unknown.
    void SetPosition(double ra, double dec);
    // East longitude and latitude in degrees; either exactly 0 means the site is not set.
    void SetSite(double longitude, double latitude);
    // "StarAlt", "SunAlt" and the two switches of the colouring criteria.
    void SetCriteria(double star_alt, double sun_alt, bool use_star, bool use_sun);

    // Lays out the chart over the axis (the pane's own: `start` and `end` are not used) after
    // SetAxis and the other inputs.
    void Build();
    void Layout(double start, double end, bool fit_y_to_visible, bool include_error_bars) override;

    // The lower plot after layout: its frame, altitude axis and time ticks.
    const CRect& AltitudeFrame() const { return alt_frame_; }
    const AxisMapping& AltitudeMapping() const { return alt_map_; }
    const TickLayout& AltitudeTicks() const { return alt_ticks_; }
    const TickLayout& TimeTicks() const { return time_ticks_; }
    const std::vector<std::string>& TimeLabels() const { return time_labels_; }

    const std::vector<Column>& Columns() const { return columns_; }
    const std::vector<CStripeListElem>& Stripes() const { return stripes_; }
    bool HasCurve() const { return has_curve_; }
    bool HasStarAltitude() const { return has_star_; }
    bool HasSunAltitude() const { return has_sun_; }
    double ModelMinimum() const { return model_min_; }
    double ModelMaximum() const { return model_max_; }
    double AltitudeMinimum() const { return alt_min_; }
    double AltitudeMaximum() const { return alt_max_; }
    // The pen of column k's curve segment under the criteria.
    Colour ColumnColour(size_t k) const;

protected:
    // The bands under everything; the curve and the altitude plot over the chart.
    void PaintUnderlay(CDrawContext& dc) override;
    void PaintOnTop(CDrawContext& dc) override;

private:
    void Refill();
    void LayoutAltitudePlot(const CRect& full);
    void PaintCurve(CDrawContext& dc);
    void PaintAltitudePlot(CDrawContext& dc);

    double left_ = 0, right_ = 0;
    double m0_ = 0, period_ = 0;
    kurvalux_data::LightCurveParameters parameters_ = kurvalux_data::kDefaultLightCurveParameters;
    bool model_enabled_ = false;
    kurvalux_time::Equatorial position_{-1.0, 91.0};
    kurvalux_time::Site site_;
    double star_alt_ = 20, sun_alt_ = -12;
    bool use_star_ = true, use_sun_ = true;

    std::vector<Column> columns_;
    std::vector<CStripeListElem> stripes_;
    bool has_curve_ = false, has_star_ = false, has_sun_ = false;
    double model_min_ = 0, model_max_ = 0;
    double alt_min_ = kUnsetAltitude, alt_max_ = kUnsetAltitude;

    CRect alt_frame_;
    AxisMapping alt_map_;
    TickLayout alt_ticks_, time_ticks_;
    std::vector<std::string> alt_labels_, time_labels_;
    AxisMapping time_map_;
};

}  // namespace kurvalux_lc
