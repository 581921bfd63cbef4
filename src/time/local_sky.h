#pragma once
// The sky over the observer's site with the short formulas the prediction views use for a
// column every two pixels: a linear local sidereal time, the hour angle, altitude and
// azimuth, and the apparent Sun of a low-precision solar theory (good to about 0.01°). Both
// the prediction pane and the night planner decide "observable" with these, so that the two
// always agree about a night.

#include "time/time_standards.h"  // Site: the observer's east longitude and latitude

namespace kurvalux_time {

// Equatorial coordinates in radians.
struct Equatorial {
    double ra = 0;
    double dec = 0;
};

// Altitude above the horizon and azimuth (from north through east), radians.
struct Horizontal {
    double altitude = 0;
    double azimuth = 0;
};

// Local sidereal time in degrees, not reduced: 360·frac(t + 0.5) + 0.985647·(t − 2451545.0) +
// 100.46 + λ.
double LocalSiderealDegrees(double jd, double longitude_degrees);

// Altitude and azimuth of a body at Julian Date jd. The azimuth is in [0, 2π).
Horizontal HorizontalOf(const Equatorial& body, double jd, const Site& site);

// Altitude only, degrees (what the views plot).
double AltitudeDegrees(const Equatorial& body, double jd, const Site& site);

// The Sun's apparent right ascension (in [0, 2π)) and declination: mean anomaly and mean
// longitude of the Sun (not reduced to 0…360°, the sines do not need it), the equation of the
// centre, nutation and aberration folded into the apparent longitude, and the apparent
// obliquity.
Equatorial LowPrecisionSun(double jd);

}  // namespace kurvalux_time
