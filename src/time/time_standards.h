#pragma once
// Time standards of photometry: when a time was taken and where the light was timed.
//
//   JD_UTC   Julian Date in Coordinated Universal Time, at the observer (geocentric): what a
//            camera's clock gives.
//   HJD_UTC  the same instant moved to the Sun's centre: the light-time across the Earth's
//            orbit towards the star added, the clock still UTC. The axis of the field.
//   BJD_TDB  moved to the solar system's barycentre and counted in Barycentric Dynamical
//            Time: the standard of space photometry (TESS, Kepler) and of transit timing.
//
// HJD_UTC and BJD_TDB differ by the leap seconds plus 32.184 s (69.184 s since 2017), the
// Sun's motion about the barycentre (up to 4 s of light-time) and the periodic TDB − TT terms
// (1.7 ms): the ~69 s that is easy to mistake for an error in a period.
//
// Times are held in two parts (day + fraction) because one double near JD 2.46 million
// resolves only 40 µs; the conversions keep microseconds. The Earth's position comes from
// ERFA's eraEpv00 (VSOP87-based, a few km), leap seconds from eraDat, TDB − TT from eraDtdb;
// the star's direction is its catalogue (ICRS/J2000) position, proper motion and the star's
// own parallax neglected (below a millisecond for any star observers time).
#include <optional>
#include <string>

namespace kurvalux_time {

enum class TimeStandard { kJdUtc, kHjdUtc, kBjdTdb };

// "JD_UTC", "HJD_UTC", "BJD_TDB".
const char* TimeStandardName(TimeStandard standard);
// "jd_utc", "hjd_utc", "bjd_tdb" (any letter case) -> the standard.
std::optional<TimeStandard> ParseTimeStandard(const std::string& text);

// A Julian Date as two doubles whose sum is the date.
struct TwoPartJd {
    double day = 0;
    double fraction = 0;
    double Value() const { return day + fraction; }
};
// (a − b) in seconds, without losing the fraction.
double DifferenceSeconds(const TwoPartJd& a, const TwoPartJd& b);

// The observer: east longitude and latitude in degrees, height in metres. The site moves the
// arrival time by at most 21 ms (the Earth's radius in light-time).
struct Site {
    double longitude = 0;
    double latitude = 0;
    double height = 0;
};

struct StarPosition {
    double ra = 0;   // radians, ICRS (J2000)
    double dec = 0;  // radians
};

// Converts `time` from one standard to another for the star, with the site where known.
// Fails (nullopt) only for times outside ERFA's leap-second table (before 1960).
std::optional<TwoPartJd> ConvertTime(const TwoPartJd& time, TimeStandard from, TimeStandard to,
                                     const StarPosition& star, const std::optional<Site>& site);
std::optional<double> ConvertTime(double jd, TimeStandard from, TimeStandard to,
                                  const StarPosition& star, const std::optional<Site>& site);

// The parts, for reports and tests.
// TT − UTC in seconds at the UTC instant (leap seconds + 32.184 s).
std::optional<double> TtMinusUtcSeconds(const TwoPartJd& utc);
// The heliocentric light-time correction (HJD − JD, seconds) from the Earth's heliocentric
// position by ERFA: what the program's short formula approximates.
double HeliocentricCorrectionSeconds(const TwoPartJd& utc, const StarPosition& star);

}  // namespace kurvalux_time
