// Short formulas of the sky over the site (see local_sky.h).
#include "time/local_sky.h"

#include <cmath>

namespace kurvalux_time {

namespace {
constexpr double kPi = 3.14159265358979323846;
constexpr double kDegree = kPi / 180.0;
constexpr double kJ2000 = 2451545.0;
}  // namespace

double LocalSiderealDegrees(double jd, double longitude_degrees) {
    const double x = jd + 0.5;
    const double fraction = x - std::floor(x);
    return 360.0 * fraction + 0.985647 * (jd - kJ2000) + 100.46 + longitude_degrees;
}

Horizontal HorizontalOf(const Equatorial& body, double jd, const Site& site) {
    const double theta = LocalSiderealDegrees(jd, site.longitude);
    const double h = theta * kDegree - body.ra;
    const double phi = site.latitude * kDegree;
    const double cos_dec = std::cos(body.dec), sin_dec = std::sin(body.dec);
    Horizontal result;
    result.altitude = std::asin(std::cos(h) * cos_dec * std::cos(phi) + sin_dec * std::sin(phi));
    // The sine of the hour angle needs no reduction of it to (-π, π].
    double a = std::atan2(-std::sin(h) * cos_dec * std::cos(phi),
                          sin_dec - std::sin(result.altitude) * std::sin(phi));
    if (a < 0) a += 2 * kPi;
    result.azimuth = a;
    return result;
}

double AltitudeDegrees(const Equatorial& body, double jd, const Site& site) {
    const double theta = LocalSiderealDegrees(jd, site.longitude);
    const double h = theta * kDegree - body.ra;
    const double phi = site.latitude * kDegree;
    return std::asin(std::cos(h) * std::cos(body.dec) * std::cos(phi) +
                     std::sin(body.dec) * std::sin(phi)) /
           kDegree;
}

Equatorial LowPrecisionSun(double jd) {
    const double t = (jd - kJ2000) / 36525.0;
    const double m = 357.52911 + 35999.05029 * t - 0.0001537 * t * t;
    const double l0 = 280.46646 + 36000.76983 * t + 0.0003032 * t * t;
    const double omega = 125.04 - 1934.136 * t;
    const double c = (1.914602 - 0.004817 * t - 0.000014 * t * t) * std::sin(m * kDegree) +
                     (0.019993 - 0.000101 * t) * std::sin(2 * m * kDegree) +
                     0.000289 * std::sin(3 * m * kDegree);
    double lambda = l0 + c - 0.00569 - 0.00478 * std::sin(omega * kDegree);
    if (lambda < 0 || lambda >= 360) lambda = std::fmod(lambda, 360.0);
    if (lambda < 0) lambda += 360.0;
    const double epsilon =
        (84381.448 - 46.815 * t - 0.00059 * t * t + 0.001813 * t * t * t) / 3600.0 +
        0.00256 * std::cos(omega * kDegree);
    const double l = lambda * kDegree, e = epsilon * kDegree;
    Equatorial sun;
    sun.ra = std::atan2(std::cos(e) * std::sin(l), std::cos(l));
    if (sun.ra < 0) sun.ra += 2 * kPi;
    sun.dec = std::asin(std::sin(e) * std::sin(l));
    return sun;
}

}  // namespace kurvalux_time
