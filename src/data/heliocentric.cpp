#include "data/heliocentric.h"

#include <atomic>
#include <cmath>

#include "time/time_standards.h"

namespace kurvalux_data {
namespace {

constexpr double kDegree = M_PI / 180.0;
// The light time for one astronomical unit, in days.
constexpr double kLightTimeAu = 0.005775518331436995;

// Brings an angle in degrees into [0, 360): above 360 modulo 360, negative modulo 360 + 360.
double Range360(double degrees) {
    if (degrees > 360.0) return std::fmod(degrees, 360.0);
    if (degrees < 0.0) return std::fmod(degrees, 360.0) + 360.0;
    return degrees;
}

std::atomic<HeliocentricMethod> heliocentric_method{HeliocentricMethod::kShortFormula};

}  // namespace

void SetHeliocentricMethod(HeliocentricMethod method) {
    heliocentric_method.store(method, std::memory_order_relaxed);
}

HeliocentricMethod CurrentHeliocentricMethod() {
    return heliocentric_method.load(std::memory_order_relaxed);
}

double AccurateHeliocentricJD(double jd, double ra, double dec) {
    // Split into day and fraction so that ERFA sees the instant to the microsecond.
    kurvalux_time::TwoPartJd utc;
    utc.day = std::floor(jd);
    utc.fraction = jd - utc.day;
    const double seconds = kurvalux_time::HeliocentricCorrectionSeconds(utc, {ra, dec});
    return jd + seconds / 86400.0;
}

StarDirection::StarDirection(double ra, double dec)
    : sin_ra(std::sin(ra)),
      cos_ra(std::cos(ra)),
      sin_dec(std::sin(dec)),
      cos_dec(std::cos(dec)),
      tan_dec(std::tan(dec)) {}

double HeliocentricJD(double jd, const StarDirection& star) {
    const double t = (jd - 2451545.0) / 36525.0;
    const double t2 = t * t;
    const double l0 = Range360(280.46646 + 36000.76983 * t + 0.0003032 * t2);
    const double m = Range360(357.52911 + 35999.05029 * t - 0.0001537 * t2) * kDegree;
    const double c = (1.914602 - 0.004817 * t - 0.000014 * t2) * std::sin(m) +
                     (0.019993 - 0.000101 * t) * std::sin(2.0 * m) + 0.000289 * std::sin(3.0 * m);
    const double lambda =
        Range360(l0 + c - 0.00569 - 0.00478 * std::sin((125.04 - 1934.136 * t) * kDegree)) *
        kDegree;
    const double e = 0.0167086342 - 0.0004203654 * t - 0.0000126734 * t2 + 0.0000001444 * t2 * t -
                     0.0000000002 * t2 * t2 + 0.0000000003 * t2 * t2 * t;
    const double eps =
        (84381.448 - 46.815 * t - 0.00059 * t2 + 0.001813 * t2 * t) / 3600.0 * kDegree;
    const double sin_eps = std::sin(eps), cos_eps = std::cos(eps);
    // The star's ecliptic longitude and latitude.
    const double ls = std::atan2(cos_eps * star.sin_ra + sin_eps * star.tan_dec, star.cos_ra);
    const double bs = std::asin(cos_eps * star.sin_dec - sin_eps * star.cos_dec * star.sin_ra);
    // The Sun's distance in astronomical units. The apparent longitude stands where the true
    // anomaly would; the difference is below a second of light time and the formula is kept
    // so that converted times agree with those already published by our users.
    const double r = 1.0000002 * (1.0 - e * e) / (1.0 + e * std::cos(lambda));
    return jd - kLightTimeAu * r * std::cos(bs) * std::cos(ls - lambda);
}

}  // namespace kurvalux_data
