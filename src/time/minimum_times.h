#pragma once
// Times of minima in a chosen standard. A minimum is stored on the field's axis, in the time
// standard of the series it was timed on: HJD_UTC for a heliocentric series or one the field
// converted on load (by its short heliocentric formula, or by ERFA when the observer chose the
// accurate conversion), JD_UTC for a geocentric series whose
// star has no coordinates. Each is brought to JD_UTC by the inverse of what made it, then to
// the standard asked for by ERFA.
#include <optional>
#include <string>
#include <vector>

#include "data/field.h"
#include "time/time_standards.h"

namespace kurvalux_time {

struct MinimumTime {
    const kurvalux_data::CSeriesTreeElem* series = nullptr;
    kurvalux_data::CMinimaListElem minimum;
    std::optional<TimeStandard> stored;  // nullopt when the series' standard is unknown
    std::optional<double> converted;     // nullopt when it cannot be converted
    bool short_formula = false;          // the stored HJD came from the field's formula
};

// The series' time standard on the field's axis, nullopt when unknown.
std::optional<TimeStandard> SeriesTimeStandard(const kurvalux_data::CSeriesTreeElem& series);

// The geocentric JD whose heliocentric JD by the field's formula is `hjd`.
double InverseShortHeliocentric(double hjd, double ra, double dec);

// Every minimum of the object's series, in series order, converted to `to`. Without the
// object's coordinates only times already in `to` are given.
std::vector<MinimumTime> MinimumTimes(const kurvalux_data::CObjectListElem& object, TimeStandard to,
                                      const std::optional<Site>& site);

}  // namespace kurvalux_time
