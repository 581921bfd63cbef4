// The Sun and the Moon from ERFA (see solar_system.h).
#include "time/solar_system.h"

#include <erfa.h>
#include <erfam.h>

#include <algorithm>
#include <cmath>
#include <thread>

namespace kurvalux_time {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegree = kPi / 180.0;
// The Earth's equatorial radius in au; the site is put on a sphere of this radius (the
// flattening moves the Moon by less than 0.1').
constexpr double kEarthRadiusAu = 6378137.0 / ERFA_DAU;

void Lerp(const double a[3], const double b[3], double f, double out[3]) {
    for (int i = 0; i < 3; ++i) out[i] = a[i] + (b[i] - a[i]) * f;
}

}  // namespace

SunMoonState ComputeSunMoon(double jd) {
    SunMoonState state;
    state.jd = jd;
    const double tt = jd + kTtMinusUtcDays;
    // ERFA takes a date as two parts; the integer day and the fraction keep the precision.
    const double tt1 = std::floor(tt), tt2 = tt - tt1;
    const double ut1 = std::floor(jd), ut2 = jd - ut1;
    eraPnm06a(tt1, tt2, state.rnpb);

    // The Sun: the Earth's heliocentric position reversed, then the annual aberration from
    // the Earth's barycentric velocity (TDB and TT differ by under 2 ms).
    double pvh[2][3], pvb[2][3];
    eraEpv00(tt1, tt2, pvh, pvb);
    double sun[3] = {-pvh[0][0], -pvh[0][1], -pvh[0][2]};
    double distance = 0, direction[3];
    eraPn(sun, &distance, direction);
    double v[3];
    for (int i = 0; i < 3; ++i) v[i] = pvb[1][i] / ERFA_DC;
    const double bm1 = std::sqrt(1.0 - eraPdp(v, v));
    double apparent[3];
    eraAb(direction, v, distance, bm1, apparent);
    for (int i = 0; i < 3; ++i) apparent[i] *= distance;
    eraRxp(state.rnpb, apparent, state.sun);

    double moon[2][3];
    eraMoon98(tt1, tt2, moon);
    eraRxp(state.rnpb, moon[0], state.moon);

    // The apparent sidereal time from the same precession-nutation matrix (eraGst06a would
    // compute the nutation series a second time).
    state.gast_minus_era = eraAnpm(eraGst06(ut1, ut2, tt1, tt2, state.rnpb) - eraEra00(ut1, ut2));
    return state;
}

CSunMoonTable::CSunMoonTable(double first, double last, double step, unsigned threads)
    : first_(first), step_(step) {
    const double count = std::ceil((last - first) / step) + 1;
    if (!(count >= 1 && count < 1e7)) return;
    samples_.resize(size_t(count) + 1);
    const unsigned workers = std::max(1u, threads);
    auto work = [&](unsigned w) {
        for (size_t i = w; i < samples_.size(); i += workers)
            samples_[i] = ComputeSunMoon(first + double(i) * step);
    };
    std::vector<std::jthread> pool;
    for (unsigned w = 1; w < workers; ++w) pool.emplace_back(work, w);
    work(0);
}

SunMoonState CSunMoonTable::At(double jd) const {
    const double x = (jd - first_) / step_;
    if (!(x >= 0) || samples_.size() < 2 || x >= double(samples_.size() - 1))
        return ComputeSunMoon(jd);
    const size_t i = size_t(x);
    const double f = x - double(i);
    const SunMoonState& a = samples_[i];
    const SunMoonState& b = samples_[i + 1];
    SunMoonState state = a;
    state.jd = jd;
    Lerp(a.sun, b.sun, f, state.sun);
    Lerp(a.moon, b.moon, f, state.moon);
    state.gast_minus_era = a.gast_minus_era + (b.gast_minus_era - a.gast_minus_era) * f;
    return state;
}

SunMoonView ViewFromSite(const SunMoonState& state, double jd, const Site& site,
                         const Equatorial* star) {
    const double ut1 = std::floor(jd), ut2 = jd - ut1;
    // Local apparent sidereal time and the site's zenith in the true-of-date frame.
    const double theta = eraEra00(ut1, ut2) + state.gast_minus_era + site.longitude * kDegree;
    const double phi = site.latitude * kDegree;
    const double zenith[3] = {std::cos(phi) * std::cos(theta), std::cos(phi) * std::sin(theta),
                              std::sin(phi)};
    auto topocentric = [&](const double body[3], double out[3]) {
        for (int i = 0; i < 3; ++i) out[i] = body[i] - kEarthRadiusAu * zenith[i];
    };
    auto altitude = [&](const double p[3]) {
        const double r = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
        const double s = (p[0] * zenith[0] + p[1] * zenith[1] + p[2] * zenith[2]) / r;
        return std::asin(std::clamp(s, -1.0, 1.0)) / kDegree;
    };
    double sun[3], moon[3];
    topocentric(state.sun, sun);
    topocentric(state.moon, moon);
    SunMoonView view;
    view.sun_altitude = altitude(sun);
    view.moon_altitude = altitude(moon);
    // Phase angle at the Moon between the directions to the Sun and to the Earth.
    double to_sun[3], to_earth[3];
    for (int i = 0; i < 3; ++i) {
        to_sun[i] = state.sun[i] - state.moon[i];
        to_earth[i] = -state.moon[i];
    }
    view.moon_illumination = 0.5 * (1.0 + std::cos(eraSepp(to_sun, to_earth)));
    if (star) {
        double catalogue[3], of_date[3], rnpb[3][3];
        std::copy(&state.rnpb[0][0], &state.rnpb[0][0] + 9, &rnpb[0][0]);
        eraS2c(star->ra, star->dec, catalogue);
        eraRxp(rnpb, catalogue, of_date);
        view.moon_distance = eraSepp(moon, of_date) / kDegree;
    }
    return view;
}

}  // namespace kurvalux_time
