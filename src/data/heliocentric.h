#pragma once
// Geocentric to heliocentric Julian Date: the light-time across the Earth's orbit towards the
// star, from a low-precision solar theory (mean longitude, mean anomaly, equation of centre,
// nutation in longitude and aberration folded into the apparent longitude).

namespace kurvalux_data {

// The star's direction, its trigonometric values taken once per series.
struct StarDirection {
    double sin_ra, cos_ra, sin_dec, cos_dec, tan_dec;
    StarDirection(double ra_radians, double dec_radians);
};

// The heliocentric JD of the geocentric `jd`.
double HeliocentricJD(double jd, const StarDirection& star);

// The same from the Earth's heliocentric position by ERFA's ephemeris and the star's catalogue
// (J2000) position, which needs no precession in that frame: within a few milliseconds of the
// true light-time, where the short formula above is off by up to ±10 s. `ra`, `dec` in radians.
double AccurateHeliocentricJD(double jd, double ra, double dec);

// How geocentric series are brought onto the heliocentric axis when they are added to an
// object. The short formula is the default, so that a field converts the same way on every
// installation; the observer may choose the accurate one (a setting of the program, applied to
// the series loaded after the change).
enum class HeliocentricMethod { kShortFormula, kAccurate };
void SetHeliocentricMethod(HeliocentricMethod method);
HeliocentricMethod CurrentHeliocentricMethod();

}  // namespace kurvalux_data
