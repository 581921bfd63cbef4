// The sky over the site: the short formulas of the prediction views and ERFA's Sun and Moon,
// against the worked examples of J. Meeus, Astronomical Algorithms (2nd ed., 1998), and the
// short Sun against ERFA's over a year.
#include <erfa.h>
#include <erfam.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "time/local_sky.h"
#include "time/solar_system.h"

namespace {

using namespace kurvalux_time;

constexpr double kDegree = 3.14159265358979323846 / 180.0;

// Meeus, example 25.a: the Sun on 1992 October 13.0 TD (JD 2448908.5) by the low-precision
// theory: apparent R.A. 198.38083°, Dec. −7.78507° (quoted to five decimals).
TEST(LocalSky, LowPrecisionSunMatchesWorkedExample) {
    const Equatorial sun = LowPrecisionSun(2448908.5);
    EXPECT_NEAR(sun.ra / kDegree, 198.38083, 0.00001);
    EXPECT_NEAR(sun.dec / kDegree, -7.78507, 0.00001);
}

// Meeus, example 13.b: Venus (R.A. 23h09m16.641s, Dec. −6°43'11.61") seen from the US Naval
// Observatory (77°03'56" W, 38°55'17" N) on 1987 April 10 at 19:21:00 UT: altitude 15.1249°,
// azimuth 68.0337° west of south (248.0337° from north through east). The example uses the
// apparent sidereal time; the linear mean sidereal time here differs by 0.002°.
TEST(LocalSky, AltitudeAndAzimuthMatchWorkedExample) {
    const Equatorial venus = {(23 + 9 / 60.0 + 16.641 / 3600) * 15 * kDegree,
                              -(6 + 43 / 60.0 + 11.61 / 3600) * kDegree};
    const Site usno = {-(77 + 3 / 60.0 + 56 / 3600.0), 38 + 55 / 60.0 + 17 / 3600.0};
    const double jd = 2446895.5 + (19 + 21 / 60.0) / 24;
    const Horizontal h = HorizontalOf(venus, jd, usno);
    EXPECT_NEAR(h.altitude / kDegree, 15.1249, 0.005);
    EXPECT_NEAR(h.azimuth / kDegree, 248.0337, 0.005);
    EXPECT_DOUBLE_EQ(AltitudeDegrees(venus, jd, usno), h.altitude / kDegree);
    // Meeus, example 12.b: mean sidereal time at Greenwich at that instant 8h34m57.0896s.
    const double theta = LocalSiderealDegrees(jd, 0);
    EXPECT_NEAR(theta - 360.0 * std::floor(theta / 360.0), (8 + 34 / 60.0 + 57.0896 / 3600) * 15,
                0.003);
    // ERFA's apparent sidereal time: 8h34m56.853s (example 13.b), UT1 taken as UTC.
    const SunMoonState state = ComputeSunMoon(jd);
    const double gast =
        eraAnp(eraEra00(std::floor(jd), jd - std::floor(jd)) + state.gast_minus_era);
    EXPECT_NEAR(gast / kDegree, (8 + 34 / 60.0 + 56.853 / 3600) * 15, 0.0001);
}

// Meeus, example 47.a: the Moon on 1992 April 12, 0h TD: apparent R.A. 134.688470°, Dec.
// 13.768368°, distance 368409.7 km (a truncated ELP-2000/82, good to about 10"); example 48.a:
// illuminated fraction 0.6786 (0.68 to two figures).
TEST(SolarSystem, MoonMatchesWorkedExample) {
    const SunMoonState state = ComputeSunMoon(2448724.5 - kTtMinusUtcDays);
    double moon[3] = {state.moon[0], state.moon[1], state.moon[2]};
    double ra = 0, dec = 0;
    eraC2s(moon, &ra, &dec);
    EXPECT_NEAR(eraAnp(ra) / kDegree, 134.688470, 0.003);
    EXPECT_NEAR(dec / kDegree, 13.768368, 0.003);
    EXPECT_NEAR(std::sqrt(eraPdp(moon, moon)) * ERFA_DAU / 1000, 368409.7, 20);
    const SunMoonView view = ViewFromSite(state, state.jd, {15, 50}, nullptr);
    EXPECT_NEAR(view.moon_illumination, 0.6786, 0.001);
    EXPECT_EQ(view.moon_distance, 0.0);
}

// The table interpolates hourly samples: within a few arc seconds of the full computation.
TEST(SolarSystem, TableAgreesWithFullComputation) {
    const CSunMoonTable table(2460000.0, 2460003.0);
    const Site site = {-70.7, -30.2};
    const Equatorial star = {1.2, -0.4};
    for (double jd = 2460000.013; jd < 2460003; jd += 0.137) {
        const SunMoonView a = ViewFromSite(table.At(jd), jd, site, &star);
        const SunMoonView b = ViewFromSite(ComputeSunMoon(jd), jd, site, &star);
        EXPECT_NEAR(a.moon_altitude, b.moon_altitude, 3.0 / 3600) << jd;
        EXPECT_NEAR(a.moon_distance, b.moon_distance, 3.0 / 3600) << jd;
        EXPECT_NEAR(a.sun_altitude, b.sun_altitude, 1.0 / 3600) << jd;
        EXPECT_NEAR(a.moon_illumination, b.moon_illumination, 1e-4) << jd;
    }
}

// The Moon's parallax: seen from the site the Moon stands lower than from the Earth's centre
// by up to a degree (its horizontal parallax, 0.9° to 1.0°), and by nothing at the zenith.
TEST(SolarSystem, MoonAltitudeIsTopocentric) {
    const double jd = 2460100.3;
    const SunMoonState state = ComputeSunMoon(jd);
    double moon[3] = {state.moon[0], state.moon[1], state.moon[2]};
    double ra = 0, dec = 0;
    eraC2s(moon, &ra, &dec);
    // A site where the Moon stands in the zenith: latitude = Dec., local sidereal time = R.A.
    const double ut1 = std::floor(jd);
    const double era = eraEra00(ut1, jd - ut1) + state.gast_minus_era;
    const Site below = {eraAnpm(ra - era) / kDegree, dec / kDegree};
    EXPECT_NEAR(ViewFromSite(state, jd, below, nullptr).moon_altitude, 90.0, 1e-6);
    // A quarter of the globe away the Moon is on the geocentric horizon; from the site it is
    // lower by its horizontal parallax, asin(R / distance).
    const Site beside = {eraAnpm(ra - era + kDegree * 90) / kDegree, 0.0};
    const double parallax = std::asin(6378137.0 / (std::sqrt(eraPdp(moon, moon)) * ERFA_DAU));
    EXPECT_NEAR(ViewFromSite(state, jd, beside, nullptr).moon_altitude, -parallax / kDegree, 0.01);
}

// The short Sun against ERFA's (VSOP87 Earth, IAU 2006/2000A precession-nutation, apparent
// sidereal time, annual aberration) every half hour of 2026 at three sites.
TEST(SolarSystem, LowPrecisionSunAltitudeAgainstErfaOverAYear) {
    const Site sites[3] = {{15.0, 50.0}, {-70.74, -30.17}, {-155.47, 19.82}};
    const char* names[3] = {"15 E 50 N", "70.74 W 30.17 S", "155.47 W 19.82 N"};
    double largest[3] = {0, 0, 0};
    for (double jd = 2461041.5; jd < 2461406.5; jd += 1.0 / 48) {
        const SunMoonState state = ComputeSunMoon(jd);
        const Equatorial sun = LowPrecisionSun(jd);
        for (int s = 0; s < 3; ++s) {
            const double low = AltitudeDegrees(sun, jd, sites[s]);
            const double erfa = ViewFromSite(state, jd, sites[s], nullptr).sun_altitude;
            largest[s] = std::max(largest[s], std::fabs(low - erfa));
        }
    }
    double overall = 0;
    for (int s = 0; s < 3; ++s) {
        std::printf("Sun altitude, short formulas - ERFA, 2026, site %s: largest %.3f'\n", names[s],
                    largest[s] * 60);
        overall = std::max(overall, largest[s]);
    }
    // The short theory is good to 0.01° (0.6') in longitude; the linear sidereal time, the
    // neglected Earth-orientation terms and the geocentric place add a few tenths of a minute.
    EXPECT_LT(overall * 60, 1.5);
    EXPECT_GT(overall * 60, 0.01);  // the two are different computations
}

}  // namespace
