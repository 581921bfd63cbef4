#include "analysis/fit_points.h"

#include <cmath>

#include "analysis/model.h"

namespace kurvalux_analysis {

SeriesPoints MagnitudePoints(const kurvalux_data::CSeriesTreeElem& series, bool is_flux) {
    SeriesPoints points;
    const size_t n = series.Count();
    points.times.reserve(n);
    points.values.reserve(n);
    points.errors.reserve(n);
    for (size_t i = 0; i < n; ++i) {
        const double error = i < series.errors.size() ? series.errors[i] : 0.0;
        if (!is_flux) {
            points.times.push_back(series.times[i]);
            points.values.push_back(series.values[i] + series.offset);
            points.errors.push_back(error);
            continue;
        }
        const double flux = series.values[i] * series.offset;
        if (!(flux > 0)) continue;
        points.times.push_back(series.times[i]);
        points.values.push_back(-2.5 * std::log10(flux));
        points.errors.push_back(kMagnitudeErrorFactor * std::fabs(error * series.offset) / flux);
    }
    return points;
}

std::vector<PhasedPoint> PhasedCurve(const kurvalux_data::CObjectListElem& object, double m0,
                                     double period) {
    std::vector<PhasedPoint> curve;
    for (const auto& series : object.series) {
        if (!series->enabled) continue;
        for (size_t i = 0; i < series->Count(); ++i) {
            PhasedPoint point;
            point.phase = PhaseOf(series->times[i], m0, period);
            const double error = i < series->errors.size() ? series->errors[i] : 0.0;
            if (object.is_flux) {
                const double flux = series->values[i] * series->offset;
                if (!(flux > 0)) continue;
                point.value = -2.5 * std::log10(flux);
                point.sigma = kMagnitudeErrorFactor * std::fabs(error * series->offset) / flux;
            } else {
                point.value = series->values[i];
                point.sigma = error;
                point.offset = series->offset;
            }
            curve.push_back(point);
        }
    }
    return curve;
}

}  // namespace kurvalux_analysis
