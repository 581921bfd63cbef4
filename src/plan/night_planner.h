#pragma once
// The night planner: for every object with an ephemeris and a position, the primary and
// secondary minima of the coming nights, where the star and the Sun stand during each, the
// Moon's altitude, phase and distance from the star, and whether the whole eclipse can be
// followed from the site.
//
// "Observable" is the prediction pane's rule applied to the whole window of ± half the
// eclipse duration around the minimum: the star at or above the altitude limit and the Sun at
// or below its limit all through it (with only the Sun's criterion in use, strictly below).
// Star and Sun altitudes come from the same short formulas as the pane, so that the planner
// and the pane never disagree about a night; the Moon, which no criterion uses, comes from
// ERFA's lunar theory.
#include <cstddef>
#include <string>
#include <vector>

#include "analysis/ephemeris_fit.h"
#include "data/field.h"
#include "time/local_sky.h"

namespace kurvalux_plan {

// One object as the planner sees it.
struct PlannerObject {
    std::string name;
    double m0 = 0, period = 0;  // HJD of a primary minimum, days
    double sec_phase = 0.5;
    kurvalux_time::Equatorial position;  // J2000, radians
    // Half the duration of the primary and of the secondary eclipse, days; 0: the planner's
    // default duration.
    double half_primary = 0, half_secondary = 0;
    // With a fitted ephemeris the minima are predicted from it (quadratic term included) and
    // carry its timing error; without one, from (m0, period) and with no error.
    bool has_fit = false;
    kurvalux_analysis::EphemerisFitResult fit;
};

// Half the duration of an eclipse of the model's profile in phase: the offset at which the
// profile (without its curvature term) has fallen to 1 % of its depth,
// d·acosh(1 − ln(1 − 0.99^(1/g))). 0 for a zero depth, width or shape.
double HalfEclipsePhase(double depth, double width, double shape);

// The planner's view of a field object. False (and `why` set) when it cannot be planned: no
// ephemeris or no coordinates. With `fit_ephemeris`, the ephemeris fitted to its minima in
// use is taken when that fit succeeds with at least one degree of freedom.
bool MakePlannerObject(const kurvalux_data::CObjectListElem& object, bool fit_ephemeris,
                       PlannerObject& planned, std::string& why);

struct PlannerOptions {
    double start = 0;  // JD (UTC) of the start of the first night
    int nights = 10;   // the span is [start, start + nights)
    kurvalux_time::Site site;
    double star_alt = 20.0, sun_alt = -12.0;  // degrees
    bool star_criterion = true, sun_criterion = true;
    double default_duration = 0.1;  // days, the whole eclipse, for objects without a model
    unsigned threads = 1;
};

enum class MinimumKind { kPrimary, kSecondary };

struct PlannedMinimum {
    size_t object = 0;  // index into the planner's objects
    MinimumKind kind = MinimumKind::kPrimary;
    double hjd = 0;                              // time of minimum, heliocentric
    double jd = 0;                               // the same instant on the Earth (UTC)
    double half_window = 0;                      // days
    double star_altitude = 0, sun_altitude = 0;  // at minimum, degrees
    double lowest_star_altitude = 0;             // over the window
    double highest_sun_altitude = 0;             // over the window
    double moon_altitude = 0, moon_illumination = 0, moon_distance = 0;
    bool observable = false;
    double timing_error = -1;  // days; negative: unknown
};

// Every minimum of every object whose time on the Earth falls in the span, in time order
// (objects in their order for equal times). An object whose period puts a million cycles or
// more into the span is left out.
std::vector<PlannedMinimum> PlanMinima(const std::vector<PlannerObject>& objects,
                                       const PlannerOptions& options);

// The lowest altitude (degrees) of a fixed body over [t0, t1], and the highest of the Sun:
// the ends of the window, and the lower (upper) culmination when it falls inside.
double LowestAltitude(const kurvalux_time::Equatorial& body, double t0, double t1,
                      const kurvalux_time::Site& site);
double HighestSunAltitude(double t0, double t1, const kurvalux_time::Site& site);

}  // namespace kurvalux_plan
