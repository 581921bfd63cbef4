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

}  // namespace kurvalux_data
