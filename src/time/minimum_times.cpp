#include "time/minimum_times.h"

#include <cmath>

#include "data/heliocentric.h"

namespace kurvalux_time {

using namespace kurvalux_data;

std::optional<TimeStandard> SeriesTimeStandard(const CSeriesTreeElem& series) {
    if (series.hjd_converted) return TimeStandard::kHjdUtc;
    switch (series.EffectiveMetaData().jd_type) {
        case kJdHeliocentric:
            return TimeStandard::kHjdUtc;
        case kJdGeocentric:
            return TimeStandard::kJdUtc;
        default:
            return std::nullopt;
    }
}

double InverseShortHeliocentric(double hjd, double ra, double dec) {
    // The correction changes by under a millisecond over the eight minutes it spans: a few
    // rounds of fixed-point iteration settle it to the last bit a double holds.
    const StarDirection star(ra, dec);
    double jd = hjd;
    for (int round = 0; round < 4; ++round) jd = hjd - (HeliocentricJD(jd, star) - jd);
    return jd;
}

std::vector<MinimumTime> MinimumTimes(const CObjectListElem& object, TimeStandard to,
                                      const std::optional<Site>& site) {
    double ra = kUnknownRa, dec = kUnknownDec;
    const bool known = object.Coordinates(ra, dec);
    std::vector<MinimumTime> out;
    for (const auto& series : object.series) {
        const std::optional<TimeStandard> stored = SeriesTimeStandard(*series);
        for (const CMinimaListElem& minimum : series->minima) {
            MinimumTime m;
            m.series = series.get();
            m.minimum = minimum;
            m.stored = stored;
            // A series converted by the accurate method holds a true HJD_UTC already.
            m.short_formula = series->hjd_converted && !series->hjd_accurate;
            if (stored && *stored == to && !m.short_formula) {
                m.converted = minimum.time;
            } else if (stored && known) {
                std::optional<double> utc = minimum.time;
                if (m.short_formula)
                    utc = InverseShortHeliocentric(minimum.time, ra, dec);
                else if (*stored != TimeStandard::kJdUtc)
                    utc = ConvertTime(minimum.time, *stored, TimeStandard::kJdUtc, {ra, dec}, site);
                if (utc) m.converted = ConvertTime(*utc, TimeStandard::kJdUtc, to, {ra, dec}, site);
            }
            out.push_back(m);
        }
    }
    return out;
}

}  // namespace kurvalux_time
