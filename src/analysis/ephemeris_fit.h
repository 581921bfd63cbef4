#pragma once
// The O-C diagram of an object and the ephemeris fitted to it. Each minimum in use gets its
// cycle number E and its O-C against the object's current ephemeris (CycleAndOC); the
// ephemeris is then refined by weighted least squares,
//
//   T = M0 + P·n (+ Q·n²),   n = E for a primary, E + 1/2 for a secondary minimum,
//
// so that the secondaries, timed half a cycle after the primaries, pin the same line. The
// quadratic term Q describes a steadily changing period: dP/dE = 2Q, dP/dt = 2Q/P.
//
// Weights are 1/σ². A minimum stored without an error (0) is counted with the median of the
// errors the other minima have, so that it neither dominates the fit (σ → 0) nor drops out;
// when no minimum has an error, every minimum has the same weight and the errors of the
// parameters come from the scatter alone (as if χ²/dof were 1 by construction). When the
// scatter is larger than the errors claim (χ²/dof > 1) the parameter errors are multiplied by
// √(χ²/dof); errors are never shrunk.
//
// Minima of undefined type are listed with their O-C against M0 but not fitted: a minimum
// whose kind is unknown may lie half a cycle away from where a primary would be.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "data/field.h"

namespace kurvalux_analysis {

// One minimum of the O-C table.
struct OCEntry {
    uint32_t type = kurvalux_data::kMinimumUndefined;
    double time = 0;
    double error = 0;   // as stored; 0 = none
    double cycle = 0;   // E, whole (a secondary's reference is M0 + P/2)
    double oc = 0;      // O-C in days against the ephemeris the table was made with
    size_t series = 0;  // index of the series the minimum belongs to
    bool fitted = false;
    double residual = 0;  // O-C against the fitted ephemeris (set by FitEphemeris)
};

// The enabled minima of every series of the object (a disabled series is only hidden from
// the charts; its minima are timings of the star all the same), in time order, with cycle and
// O-C against (m0, period). Empty when the period or M0 is 0.
std::vector<OCEntry> MakeOCTable(const kurvalux_data::CObjectListElem& object, double m0,
                                 double period);
// The same for minima given directly.
std::vector<OCEntry> MakeOCTable(const std::vector<kurvalux_data::CMinimaListElem>& minima,
                                 double m0, double period);

// The abscissa of the fit: E, plus one half for a secondary minimum.
double FitCycle(const OCEntry& entry);

struct EphemerisFitOptions {
    bool quadratic = false;  // also fit Q (needs at least 3 minima)
};

struct EphemerisFitResult {
    bool ok = false;
    std::string message;  // why the fit could not be made
    double m0 = 0, m0_error = 0;
    double period = 0, period_error = 0;
    double quadratic = 0, quadratic_error = 0;  // Q in days; 0 without the quadratic term
    double dpdt = 0, dpdt_error = 0;            // 2Q/P, days per day
    size_t count = 0;                           // minima fitted
    size_t parameters = 0;                      // 2 or 3
    double chi2 = 0;
    size_t dof = 0;
    double chi2_per_dof = 0;     // 0 when dof is 0
    bool errors_scaled = false;  // parameter errors multiplied by sqrt(chi2/dof)
    bool weighted = false;       // false: no minimum had an error, equal weights
    double assumed_error = 0;    // the error given to minima without one (median), or 0
    double residual_rms = 0;     // unweighted rms of the residuals, days
    // Covariance of (M0, P, Q), scaled like the errors; the Q row and column stay 0 without
    // the quadratic term.
    double covariance[3][3] = {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}};
};

// Fits the ephemeris to the typed minima of `table` (which was made against m0, period: the
// fit refines that ephemeris) and fills each entry's `fitted` and `residual`.
EphemerisFitResult FitEphemeris(std::vector<OCEntry>& table, double m0, double period,
                                const EphemerisFitOptions& options);

// "Apply ephemeris": the fitted linear ephemeris becomes the object's M0 and period; the saved
// copy of the ephemeris stays as it was, so the previous values can still be restored. False
// (and nothing changed) for a failed fit or one with a quadratic term, whose M0 and P describe
// cycle 0 only.
bool ApplyEphemeris(const EphemerisFitResult& fit, kurvalux_data::CObjectListElem& object);

// The time of the minimum of fitted cycle n (E, or E + 1/2 for a secondary) by the fitted
// ephemeris, and its standard error from the parameters' covariance.
struct PredictedTime {
    double time = 0;
    double error = 0;
};
PredictedTime PredictMinimum(const EphemerisFitResult& fit, double n);

}  // namespace kurvalux_analysis
