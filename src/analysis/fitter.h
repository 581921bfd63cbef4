#pragma once
// Non-linear least squares with box constraints: the Levenberg-Marquardt method of MINPACK-1
// `lmdif` (forward-difference Jacobian, QR with column pivoting, trust-region step from
// `lmpar`), extended with fixed parameters, lower/upper limits with pegging, and per-parameter
// finite-difference steps and sides. The numerical kernels (qrfac, lmpar, enorm, covar) are
// MINPACK's; the driver around them is ours.
//
// Re-entrant: all working storage belongs to the call, so bootstrap threads fit side by side.
#include <cstdint>

namespace kurvalux_analysis {

// Status codes. Positive codes are usable fits (MINPACK's conventions).
enum FitStatus : int {
    kFitInputError = 0,         // general input parameter error
    kFitOkChi = 1,              // chi^2 converged within ftol
    kFitOkParameters = 2,       // parameters converged within xtol
    kFitOkBoth = 3,             // both of the above
    kFitOkOrthogonal = 4,       // residuals orthogonal to the Jacobian within gtol
    kFitMaxIterations = 5,      // maxiter (or maxfev) reached
    kFitFtolTooSmall = 6,       // no further reduction of chi^2 possible
    kFitXtolTooSmall = 7,       // no further improvement of the parameters possible
    kFitGtolTooSmall = 8,       // gtol too small, residuals orthogonal to machine precision
    kFitErrorNonFinite = -16,   // the user function produced non-finite values
    kFitErrorNoFunction = -17,  // no user function was supplied
    kFitErrorNoPoints = -18,    // no user data points were supplied
    kFitErrorNoFree = -19,      // no free parameters
    kFitErrorMemory = -20,      // memory allocation error
    kFitErrorInitBounds = -21,  // initial values inconsistent with constraints
    kFitErrorBounds = -22,      // initial constraints inconsistent
    kFitErrorParameters = -23,  // general input parameter error
    kFitErrorDof = -24,         // not enough degrees of freedom
};

// The text with which the program reports a failed fit; "Unknown error" for other codes.
const char* FitStatusText(int status);

// Constraints of one parameter. A caller that passes none gets all parameters free and
// unlimited.
struct FitParameterConstraint {
    int fixed = 0;                  // non-zero holds the parameter at its start value
    int limited[2] = {0, 0};        // lower and upper limit switches
    double limits[2] = {0.0, 0.0};  // lower and upper limits
    const char* parname = nullptr;  // name for debug output
    double step = 0;                // absolute finite-difference step; 0 = automatic
    double relstep = 0;             // relative step; 0 = none (step wins when both are set)
    int side = 0;  // 0/1 forward, -1 backward, 2 two-sided, 3 analytic (from the user function)
    int deriv_debug = 0;  // print the user/numerical derivative comparison to stdout
    double deriv_reltol = 0;
    double deriv_abstol = 0;
};

struct FitResult;

// Called every `nprint` iterations with the current chi^2 and the full parameter vector; a
// negative return ends the fit with that status.
using FitIterationFunction = int (*)(void* private_data, int iteration, double chi2,
                                     const double* parameters, int npar);

// Configuration; a zero field selects its default.
struct FitConfig {
    double ftol = 0;        // relative reduction of chi^2; default 1e-10
    double xtol = 0;        // relative change of the parameters; default 1e-10
    double gtol = 0;        // orthogonality of residuals and Jacobian; default 1e-10
    double epsfcn = 0;      // relative accuracy of the function; default 2.2204460e-16
    double stepfactor = 0;  // initial trust-region bound factor; default 100
    double covtol = 0;      // range tolerance for the covariance; default 1e-14
    int maxiter = 0;        // default 200; negative: no iterations, errors at the start values
    int maxfev = 0;         // 0 = unlimited
    int nprint = 0;         // call iterproc every nprint iterations
    int douserscale = 0;    // keep the unit scaling instead of the Jacobian's column norms
    int nofinitecheck = 0;  // let non-finite residuals through (a non-finite trial is a failed
                            // step; a non-finite start or Jacobian still ends with -16)
    FitIterationFunction iterproc = nullptr;
};

struct FitResult {
    double bestnorm = 0;  // final chi^2
    double orignorm = 0;  // starting chi^2
    int niter = 0;
    int nfev = 0;
    int status = 0;
    int npar = 0;
    int nfree = 0;
    int npegged = 0;  // free parameters that ended on a limit
    int nfunc = 0;    // number of residuals
    // Optional outputs supplied by the caller: m residuals, npar 1-sigma errors (0 for fixed
    // parameters) and the npar x npar covariance matrix (row-major).
    double* resid = nullptr;
    double* xerror = nullptr;
    double* covar = nullptr;
    char version[20] = "kurvalux-lm 1.0";
};

// Writes m weighted residuals (y - model)/sigma for `parameters` into `residuals`. When
// `derivatives` is not null, derivatives[k] (where not null) asks for the m derivatives of the
// residuals by parameter k. A negative return aborts the fit with that code.
using FitFunction = int (*)(int m, int npar, const double* parameters, double* residuals,
                            double** derivatives, void* private_data);

// Minimises the sum of squared residuals over the free parameters. `parameters` holds the
// start values and receives the fitted ones (the start values stay when the fit is refused). A
// start value no more than 4 units in the last place outside its limit (a limit value written
// with a few decimals and read back) is moved onto the limit; further out it is refused (-21).
// `constraints`, `config` and `result` may be null. Returns the status.
int LeastSquaresFit(FitFunction function, int m, int npar, double* parameters,
                    const FitParameterConstraint* constraints, const FitConfig* config,
                    void* private_data, FitResult* result);

}  // namespace kurvalux_analysis
