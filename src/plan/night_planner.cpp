// The night planner (see night_planner.h).
#include "plan/night_planner.h"

#include <algorithm>
#include <cmath>
#include <thread>

#include "data/heliocentric.h"
#include "time/solar_system.h"

namespace kurvalux_plan {

using kurvalux_time::Equatorial;
using kurvalux_time::Site;

namespace {

constexpr double kSiderealDegreesPerDay = 360.985647;
constexpr double kDegreesPerRadian = 57.29577951308232;
constexpr double kMaxCyclesPerObject = 1e6;

// The planner's secondary phase: a zero phase would put the secondary onto the primary, so
// it counts as unset like a missing model.
double SecondaryPhase(double sec_phase) {
    return sec_phase == 0 ? 0.5 : sec_phase;
}

// Days from t0 until the hour angle of a body at right ascension `ra` (radians) next reaches
// `target` degrees.
double DaysToHourAngle(double ra, double t0, const Site& site, double target) {
    const double h0 =
        kurvalux_time::LocalSiderealDegrees(t0, site.longitude) - ra * kDegreesPerRadian;
    double degrees = std::fmod(target - h0, 360.0);
    if (degrees < 0) degrees += 360.0;
    return degrees / kSiderealDegreesPerDay;
}

// The geocentric JD at which the light of a minimum at heliocentric `hjd` arrives: the
// heliocentric correction is nearly constant over minutes, so two steps converge.
double GeocentricOf(double hjd, const kurvalux_data::StarDirection& star) {
    double jd = hjd - (kurvalux_data::HeliocentricJD(hjd, star) - hjd);
    jd = hjd - (kurvalux_data::HeliocentricJD(jd, star) - jd);
    return jd;
}

void PlanObject(size_t index, const PlannerObject& object, const PlannerOptions& options,
                const kurvalux_time::CSunMoonTable& sky, std::vector<PlannedMinimum>& out) {
    const kurvalux_data::StarDirection star(object.position.ra, object.position.dec);
    const double span_end = options.start + options.nights;
    // The heliocentric correction is at most 8.4 minutes: a margin of 0.01 d finds every
    // minimum whose geocentric time is in the span.
    const double first_n = std::floor((options.start - 0.01 - object.m0) / object.period) - 1;
    const double last_n = std::ceil((span_end + 0.01 - object.m0) / object.period) + 1;
    // A period so short that the span holds millions of cycles is no eclipsing binary to plan.
    if (!(last_n - first_n < kMaxCyclesPerObject)) return;
    const double phases[2] = {0.0, SecondaryPhase(object.sec_phase)};
    for (double n = first_n; n <= last_n; ++n) {
        for (int k = 0; k < 2; ++k) {
            const double cycle = n + phases[k];
            double hjd = object.m0 + object.period * cycle;
            double error = -1;
            if (object.has_fit) {
                const kurvalux_analysis::PredictedTime p =
                    kurvalux_analysis::PredictMinimum(object.fit, cycle);
                hjd = p.time;
                error = p.error;
            }
            const double jd = GeocentricOf(hjd, star);
            if (!(jd >= options.start && jd < span_end)) continue;
            PlannedMinimum m;
            m.object = index;
            m.kind = k == 0 ? MinimumKind::kPrimary : MinimumKind::kSecondary;
            m.hjd = hjd;
            m.jd = jd;
            m.timing_error = error;
            const double half = k == 0 ? object.half_primary : object.half_secondary;
            m.half_window = half > 0 ? half : options.default_duration / 2;
            m.star_altitude = kurvalux_time::AltitudeDegrees(object.position, jd, options.site);
            m.sun_altitude = kurvalux_time::AltitudeDegrees(kurvalux_time::LowPrecisionSun(jd), jd,
                                                            options.site);
            const double t0 = jd - m.half_window, t1 = jd + m.half_window;
            m.lowest_star_altitude = LowestAltitude(object.position, t0, t1, options.site);
            m.highest_sun_altitude = HighestSunAltitude(t0, t1, options.site);
            const bool star_ok = m.lowest_star_altitude >= options.star_alt;
            if (options.star_criterion && options.sun_criterion)
                m.observable = star_ok && m.highest_sun_altitude <= options.sun_alt;
            else if (options.star_criterion)
                m.observable = star_ok;
            else if (options.sun_criterion)
                m.observable = m.highest_sun_altitude < options.sun_alt;
            else
                m.observable = true;
            const kurvalux_time::SunMoonView view =
                kurvalux_time::ViewFromSite(sky.At(jd), jd, options.site, &object.position);
            m.moon_altitude = view.moon_altitude;
            m.moon_illumination = view.moon_illumination;
            m.moon_distance = view.moon_distance;
            out.push_back(m);
        }
    }
}

}  // namespace

double HalfEclipsePhase(double depth, double width, double shape) {
    if (!(depth > 0 && width > 0 && shape > 0)) return 0;
    // 1 − (1 − q)^g = 0.01 with q = e^(1 − cosh u) and x = u·d.
    const double q = 1.0 - std::pow(0.99, 1.0 / shape);
    return width * std::acosh(1.0 - std::log(q));
}

bool MakePlannerObject(const kurvalux_data::CObjectListElem& object, bool fit_ephemeris,
                       PlannerObject& planned, std::string& why) {
    planned = PlannerObject();
    planned.name = object.name;
    if (object.m0 == 0 || object.period <= 0) {
        why = "no ephemeris";
        return false;
    }
    double ra = 0, dec = 0;
    if (!object.Coordinates(ra, dec)) {
        why = "no coordinates";
        return false;
    }
    planned.m0 = object.m0;
    planned.period = object.period;
    planned.position = {ra, dec};
    using namespace kurvalux_data;
    const LightCurveParameters& p = object.fit;
    const bool has_model = p != kDefaultLightCurveParameters;
    planned.sec_phase = has_model ? SecondaryPhase(p[kSecPhase]) : 0.5;
    if (has_model) {
        planned.half_primary = HalfEclipsePhase(p[kAPri], p[kDPri], p[kGPri]) * object.period;
        planned.half_secondary = HalfEclipsePhase(p[kASec], p[kDSec], p[kGSec]) * object.period;
    }
    if (fit_ephemeris) {
        std::vector<kurvalux_analysis::OCEntry> table =
            kurvalux_analysis::MakeOCTable(object, object.m0, object.period);
        kurvalux_analysis::EphemerisFitResult fit =
            kurvalux_analysis::FitEphemeris(table, object.m0, object.period, {});
        if (fit.ok && fit.period_error > 0) {
            planned.has_fit = true;
            planned.fit = fit;
            planned.m0 = fit.m0;
            planned.period = fit.period;
        }
    }
    return true;
}

double LowestAltitude(const Equatorial& body, double t0, double t1, const Site& site) {
    double lowest = std::min(kurvalux_time::AltitudeDegrees(body, t0, site),
                             kurvalux_time::AltitudeDegrees(body, t1, site));
    const double t = t0 + DaysToHourAngle(body.ra, t0, site, 180.0);
    if (t < t1) lowest = std::min(lowest, kurvalux_time::AltitudeDegrees(body, t, site));
    return lowest;
}

double HighestSunAltitude(double t0, double t1, const Site& site) {
    auto sun_altitude = [&](double t) {
        return kurvalux_time::AltitudeDegrees(kurvalux_time::LowPrecisionSun(t), t, site);
    };
    double highest = std::max(sun_altitude(t0), sun_altitude(t1));
    // The Sun creeps east by about a degree a day, so its hour angle runs slower than a fixed
    // star's: the culmination found from its place at t0 is corrected from its place there.
    double t = t0 + DaysToHourAngle(kurvalux_time::LowPrecisionSun(t0).ra, t0, site, 0.0);
    for (int step = 0; step < 2; ++step) {
        double h = DaysToHourAngle(kurvalux_time::LowPrecisionSun(t).ra, t, site, 0.0);
        if (h > 0.5) h -= 360.0 / kSiderealDegreesPerDay;  // just past culmination
        t += h;
    }
    if (t > t0 && t < t1) highest = std::max(highest, sun_altitude(t));
    return highest;
}

std::vector<PlannedMinimum> PlanMinima(const std::vector<PlannerObject>& objects,
                                       const PlannerOptions& options) {
    std::vector<PlannedMinimum> all;
    if (objects.empty() || options.nights <= 0) return all;
    const unsigned workers =
        std::max(1u, std::min<unsigned>(options.threads, unsigned(objects.size())));
    const kurvalux_time::CSunMoonTable sky(options.start - 0.05,
                                           options.start + options.nights + 0.05, 1.0 / 24.0,
                                           std::max(1u, options.threads));
    std::vector<std::vector<PlannedMinimum>> parts(workers);
    auto work = [&](unsigned w) {
        for (size_t i = w; i < objects.size(); i += workers) {
            if (objects[i].period <= 0) continue;
            PlanObject(i, objects[i], options, sky, parts[w]);
        }
    };
    {
        std::vector<std::jthread> threads;
        for (unsigned w = 1; w < workers; ++w) threads.emplace_back(work, w);
        work(0);
    }
    for (auto& part : parts) all.insert(all.end(), part.begin(), part.end());
    std::sort(all.begin(), all.end(), [](const PlannedMinimum& a, const PlannedMinimum& b) {
        if (a.jd != b.jd) return a.jd < b.jd;
        if (a.object != b.object) return a.object < b.object;
        return a.kind < b.kind;
    });
    return all;
}

}  // namespace kurvalux_plan
