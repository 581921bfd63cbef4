#include "time/time_standards.h"

#include <erfa.h>
#include <erfam.h>

#include <cmath>

namespace kurvalux_time {
namespace {

constexpr double kDaySeconds = 86400.0;
// The light-time for one astronomical unit, seconds (IAU 2012: au = 149597870700 m exactly).
constexpr double kAuLightSeconds = 149597870700.0 / 299792458.0;

TwoPartJd Normalised(double day, double fraction) {
    const double whole = std::floor(fraction);
    return {day + whole, fraction - whole};
}

TwoPartJd AddSeconds(const TwoPartJd& t, double seconds) {
    return Normalised(t.day, t.fraction + seconds / kDaySeconds);
}

void StarVector(const StarPosition& star, double n[3]) {
    n[0] = std::cos(star.dec) * std::cos(star.ra);
    n[1] = std::cos(star.dec) * std::sin(star.ra);
    n[2] = std::sin(star.dec);
}

// 1960 January 1, where ERFA's table of UTC begins; later dates beyond the table's end are
// taken with the last leap second known.
constexpr double kFirstUtcJd = 2436934.5;

std::optional<TwoPartJd> UtcToTt(const TwoPartJd& utc) {
    if (utc.Value() < kFirstUtcJd) return std::nullopt;
    double tai1, tai2, tt1, tt2;
    if (eraUtctai(utc.day, utc.fraction, &tai1, &tai2) < 0) return std::nullopt;
    eraTaitt(tai1, tai2, &tt1, &tt2);
    return Normalised(tt1, tt2);
}

// The observer's position relative to the geocentre, au, in the GCRS (precession and
// nutation neglected: they turn a vector of 21 light-ms by at most a few arc minutes).
void SiteVector(const std::optional<Site>& site, const TwoPartJd& utc, double out[3]) {
    out[0] = out[1] = out[2] = 0;
    if (!site) return;
    double xyz[3];
    if (eraGd2gc(1, site->longitude * ERFA_DD2R, site->latitude * ERFA_DD2R, site->height, xyz) !=
        0)
        return;
    // UT1 taken as UTC: 0.9 s of rotation moves the site by 0.4 km, a microsecond.
    const double era = eraEra00(utc.day, utc.fraction);
    const double c = std::cos(era), s = std::sin(era);
    out[0] = (c * xyz[0] - s * xyz[1]) / ERFA_DAU;
    out[1] = (s * xyz[0] + c * xyz[1]) / ERFA_DAU;
    out[2] = xyz[2] / ERFA_DAU;
}

// TDB − TT in seconds at the TT instant (eraDtdb; the site's few-µs term taken at the
// geocentre).
double TdbMinusTt(const TwoPartJd& tt) {
    return eraDtdb(tt.day, tt.fraction, 0.0, 0.0, 0.0, 0.0);
}

// From JD_UTC (at the observer) to the other standards.
std::optional<TwoPartJd> FromUtc(const TwoPartJd& utc, TimeStandard to, const StarPosition& star,
                                 const std::optional<Site>& site) {
    if (to == TimeStandard::kJdUtc) return utc;
    if (to == TimeStandard::kHjdUtc)
        return AddSeconds(utc, HeliocentricCorrectionSeconds(utc, star));
    const std::optional<TwoPartJd> tt = UtcToTt(utc);
    if (!tt) return std::nullopt;
    const TwoPartJd tdb = AddSeconds(*tt, TdbMinusTt(*tt));
    double pvh[2][3], pvb[2][3], n[3], observer[3];
    eraEpv00(tdb.day, tdb.fraction, pvh, pvb);
    StarVector(star, n);
    SiteVector(site, utc, observer);
    double r[3];
    for (int k = 0; k < 3; ++k) r[k] = pvb[0][k] + observer[k];
    return AddSeconds(tdb, eraPdp(r, n) * kAuLightSeconds);
}

// The inverse by iteration: the corrections change by microseconds over the ten minutes they
// span, so three rounds settle to well below a microsecond.
std::optional<TwoPartJd> ToUtc(const TwoPartJd& time, TimeStandard from, const StarPosition& star,
                               const std::optional<Site>& site) {
    if (from == TimeStandard::kJdUtc) return time;
    TwoPartJd utc = time;
    for (int round = 0; round < 4; ++round) {
        const std::optional<TwoPartJd> forward = FromUtc(utc, from, star, site);
        if (!forward) return std::nullopt;
        utc = AddSeconds(utc, -DifferenceSeconds(*forward, time));
    }
    return utc;
}

}  // namespace

const char* TimeStandardName(TimeStandard standard) {
    switch (standard) {
        case TimeStandard::kJdUtc:
            return "JD_UTC";
        case TimeStandard::kHjdUtc:
            return "HJD_UTC";
        case TimeStandard::kBjdTdb:
            break;
    }
    return "BJD_TDB";
}

std::optional<TimeStandard> ParseTimeStandard(const std::string& text) {
    std::string lower;
    for (char c : text) lower += static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    if (lower == "jd_utc") return TimeStandard::kJdUtc;
    if (lower == "hjd_utc") return TimeStandard::kHjdUtc;
    if (lower == "bjd_tdb") return TimeStandard::kBjdTdb;
    return std::nullopt;
}

double DifferenceSeconds(const TwoPartJd& a, const TwoPartJd& b) {
    return ((a.day - b.day) + (a.fraction - b.fraction)) * kDaySeconds;
}

std::optional<double> TtMinusUtcSeconds(const TwoPartJd& utc) {
    const std::optional<TwoPartJd> tt = UtcToTt(utc);
    if (!tt) return std::nullopt;
    return DifferenceSeconds(*tt, utc);
}

double HeliocentricCorrectionSeconds(const TwoPartJd& utc, const StarPosition& star) {
    // The Earth's heliocentric position; TT ≈ UTC + 69 s changes it by 2 km, 7 µs.
    const std::optional<TwoPartJd> tt = UtcToTt(utc);
    const TwoPartJd when = tt ? *tt : utc;
    double pvh[2][3], pvb[2][3], n[3];
    eraEpv00(when.day, when.fraction, pvh, pvb);
    StarVector(star, n);
    return eraPdp(pvh[0], n) * kAuLightSeconds;
}

std::optional<TwoPartJd> ConvertTime(const TwoPartJd& time, TimeStandard from, TimeStandard to,
                                     const StarPosition& star, const std::optional<Site>& site) {
    if (from == to) return time;
    const std::optional<TwoPartJd> utc = ToUtc(time, from, star, site);
    if (!utc) return std::nullopt;
    return FromUtc(*utc, to, star, site);
}

std::optional<double> ConvertTime(double jd, TimeStandard from, TimeStandard to,
                                  const StarPosition& star, const std::optional<Site>& site) {
    const double day = std::floor(jd);
    const std::optional<TwoPartJd> out = ConvertTime({day, jd - day}, from, to, star, site);
    if (!out) return std::nullopt;
    return out->Value();
}

}  // namespace kurvalux_time
