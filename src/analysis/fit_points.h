#pragma once
// The points that the fits see. Fits work in magnitudes: a flux series is converted with its
// factor, so that a minimum is always a positive amplitude within the fitter's limits.
#include <cstddef>
#include <vector>

#include "data/field.h"

namespace kurvalux_analysis {

// 2.5 / ln 10: turns a relative flux error into a magnitude error.
constexpr double kMagnitudeErrorFactor = 1.0857362047581294;

// Points of one series in time order, as magnitudes. For a magnitude series the value is the
// point's value plus the series offset. For a flux series it is -2.5 log10(flux * factor) and
// the error becomes 1.0857 * error / flux; a point whose flux is not positive has no magnitude
// and is left out.
struct SeriesPoints {
    std::vector<double> times;
    std::vector<double> values;
    std::vector<double> errors;
    size_t Count() const { return times.size(); }
};
SeriesPoints MagnitudePoints(const kurvalux_data::CSeriesTreeElem& series, bool is_flux);

// One point of the phased curve: phase, value, error, series offset (added to the value in the
// residual) and two spare doubles, as the phase fit's point record has them.
struct PhasedPoint {
    double phase = 0;
    double value = 0;
    double sigma = 0;
    double offset = 0;
    double spare[2] = {0, 0};
};

// The phased curve of an object: every enabled series, in series and point order, folded with
// the ephemeris (m0, period). Magnitude series keep their raw values and carry their offset;
// flux series are converted with their factor and carry offset 0.
std::vector<PhasedPoint> PhasedCurve(const kurvalux_data::CObjectListElem& object, double m0,
                                     double period);

}  // namespace kurvalux_analysis
