#pragma once
// The Sun and the Moon as seen from the site, from ERFA's models: the Earth's orbit (VSOP87
// series of eraEpv00), the Moon (the ELP-based series of eraMoon98), the IAU 2006/2000A
// precession-nutation and the Greenwich apparent sidereal time. Positions refer to the true
// equator and equinox of date and are topocentric (the Moon's parallax reaches a degree).
//
// Times are Julian Dates in UTC. Terrestrial time is taken as UTC + 69.184 s (the 37 leap
// seconds in force since 2017 plus 32.184 s) and UT1 as UTC (|UT1 − UTC| < 0.9 s, a quarter
// of an arc minute of hour angle at most): the accuracy a planner needs, with no table of
// Earth-orientation parameters to keep up to date.
#include <vector>

#include "time/local_sky.h"

namespace kurvalux_time {

constexpr double kTtMinusUtcDays = 69.184 / 86400.0;

// Everything about the Sun and the Moon at one instant that does not depend on the site.
struct SunMoonState {
    double jd = 0;              // UTC
    double sun[3] = {};         // geocentric apparent position of the Sun, au, true of date
    double moon[3] = {};        // geocentric position of the Moon, au, true of date
    double gast_minus_era = 0;  // apparent sidereal time less the Earth rotation angle, rad
    double rnpb[3][3] = {};     // GCRS (J2000 catalogue directions) to true of date
};

// The state at jd, computed in full.
SunMoonState ComputeSunMoon(double jd);

// The state at jd from a table sampled every `step` days over [first, last] (linear
// interpolation between samples: the Moon's path bends by about 2" in an hour). Outside the
// table the state is computed in full. The samples are computed on `threads` workers.
class CSunMoonTable {
public:
    CSunMoonTable(double first, double last, double step = 1.0 / 24.0, unsigned threads = 1);
    SunMoonState At(double jd) const;

private:
    double first_, step_;
    std::vector<SunMoonState> samples_;
};

// What an observer at the site sees of the Sun and the Moon.
struct SunMoonView {
    double sun_altitude = 0;       // degrees, topocentric, no refraction
    double moon_altitude = 0;      // degrees, topocentric, no refraction
    double moon_illumination = 0;  // illuminated fraction of the disc, 0 … 1
    double moon_distance = 0;      // degrees between the Moon and the star
};

// `star` in catalogue coordinates (J2000/ICRS, radians); the distance is left 0 when the
// star is not given (nullptr).
SunMoonView ViewFromSite(const SunMoonState& state, double jd, const Site& site,
                         const Equatorial* star);

}  // namespace kurvalux_time
