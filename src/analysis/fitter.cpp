#include "analysis/fitter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

#include <cminpack.h>

namespace kurvalux_analysis {

namespace {

// The machine precision the fitter works with (the published driver's constant; using the
// exact DBL_EPSILON instead changes the last digits of some fits).
constexpr double kMachineEpsilon = 2.2204460e-16;

constexpr double kDefaultTolerance = 1e-10;
constexpr double kDefaultStepFactor = 100.0;
constexpr double kDefaultCovarianceTolerance = 1e-14;
constexpr int kDefaultMaxIterations = 200;

// A parameter fitted onto a limit is saved with a few decimals and read back digit by digit:
// 0.6 comes back as 6 * 0.1 = 0.6000000000000001, one unit in the last place above it. A start
// value this close outside a limit is taken as the limit instead of being refused.
constexpr int kLimitRoundingUlps = 4;

// True when `value` lies no more than `ulps` representable doubles away from `limit`.
bool WithinUlps(double value, double limit, int ulps) {
    const double away = value > limit ? HUGE_VAL : -HUGE_VAL;
    double edge = limit;
    for (int k = 0; k < ulps; ++k) edge = std::nextafter(edge, away);
    return value > limit ? value <= edge : value >= edge;
}

// True when no value is infinite or NaN (exponent field all ones); written on the bits so that
// the loop vectorises.
bool AllFinite(const double* values, int n) {
    uint64_t all_ones = 0;
    for (int i = 0; i < n; ++i) {
        uint64_t bits;
        std::memcpy(&bits, values + i, sizeof bits);
        all_ones |= uint64_t((bits & 0x7ff0000000000000ull) == 0x7ff0000000000000ull);
    }
    return all_ones == 0;
}

// Everything one fit needs, allocated per call.
class Fit {
public:
    Fit(FitFunction function, int m, int npar, double* parameters,
        const FitParameterConstraint* constraints, const FitConfig& config, void* private_data)
        : function_(function),
          m_(m),
          npar_(npar),
          xall_(parameters),
          pars_(constraints),
          config_(config),
          private_(private_data) {}

    int Run(FitResult* result);

private:
    // One call of the user function at the full vector `xall`; counts the evaluation and
    // applies the finite check. Returns the user's (negative) code, -16, or 0.
    int Call(const double* xall, double* fvec, double** derivatives) {
        ++nfev_;
        int code = function_(m_, npar_, xall, fvec, derivatives, private_);
        if (code < 0) return code;
        if (!config_.nofinitecheck && !AllFinite(fvec, m_)) return kFitErrorNonFinite;
        return 0;
    }
    int Jacobian();
    void PegAtLimits();

    FitFunction function_;
    int m_, npar_;
    double* xall_;
    const FitParameterConstraint* pars_;
    FitConfig config_;
    void* private_;
    int nfev_ = 0;

    int nfree_ = 0;
    std::vector<int> ifree_;                 // full index of each free parameter
    std::vector<double> x_;                  // free parameters
    std::vector<double> xnew_;               // full vector for evaluations
    std::vector<int> qllim_, qulim_;         // limit switches of the free parameters
    std::vector<double> llim_, ulim_;        // their limits
    std::vector<double> fvec_, fjac_, wa4_;  // m, m * nfree, m
    std::vector<double> wa_jac_;             // m, second evaluation of a two-sided step
};

// The forward-difference Jacobian (or backward, two-sided, analytic per parameter) of the
// residuals at xnew_, column j for free parameter j.
int Fit::Jacobian() {
    const double eps = std::sqrt(std::max(config_.epsfcn, kMachineEpsilon));

    // Columns that the user function computes itself: analytic sides, and those whose
    // derivative is to be compared with the numerical one.
    std::vector<double*> dvec;
    bool any_user_derivative = false, any_debug = false;
    if (pars_) {
        dvec.assign(npar_, nullptr);
        for (int j = 0; j < nfree_; ++j) {
            const FitParameterConstraint& c = pars_[ifree_[j]];
            if (c.side == 3 || c.deriv_debug) {
                dvec[ifree_[j]] = fjac_.data() + size_t(j) * m_;
                any_user_derivative = true;
            }
            if (c.deriv_debug) any_debug = true;
        }
    }
    if (any_user_derivative) {
        // Columns the user function leaves alone read as zero.
        for (int j = 0; j < nfree_; ++j)
            if (dvec[ifree_[j]]) std::fill(dvec[ifree_[j]], dvec[ifree_[j]] + m_, 0.0);
        int code = Call(xnew_.data(), wa4_.data(), dvec.data());
        if (code < 0) return code;
    }
    if (any_debug) {
        std::printf("FJAC DEBUG BEGIN\n");
        std::printf("#  %10s %10s %10s %10s %10s %10s\n", "IPNT", "FUNC", "DERIV_U", "DERIV_N",
                    "DIFF_ABS", "DIFF_REL");
    }

    for (int j = 0; j < nfree_; ++j) {
        const int k = ifree_[j];
        const int side = pars_ ? pars_[k].side : 0;
        const bool debug = pars_ && pars_[k].deriv_debug;
        if (debug) std::printf("FJAC PARM %d\n", k);
        if (side == 3 && !debug) continue;

        const double temp = xnew_[k];
        // step wins over relstep; both win over the automatic step.
        double h = eps * std::fabs(temp);
        if (pars_ && pars_[k].relstep > 0) h = std::fabs(pars_[k].relstep * temp);
        if (pars_ && pars_[k].step > 0) h = pars_[k].step;
        if (h == 0.0) h = eps;
        // Backward when asked, or when a forward step would cross the upper limit.
        if (side == -1 || ((side == 0 || side == 1) && qulim_[j] && temp > ulim_[j] - h)) h = -h;

        xnew_[k] = temp + h;
        int code = Call(xnew_.data(), wa4_.data(), nullptr);
        xnew_[k] = temp;
        if (code < 0) return code;

        double* column = fjac_.data() + size_t(j) * m_;
        const double* fminus = fvec_.data();
        double divisor = h;
        if (side == 2) {
            // Two-sided: (f(p+h) - f(p-h)) / 2h.
            std::copy(wa4_.begin(), wa4_.end(), wa_jac_.begin());
            xnew_[k] = temp - h;
            code = Call(xnew_.data(), wa4_.data(), nullptr);
            xnew_[k] = temp;
            if (code < 0) return code;
            std::swap(wa4_, wa_jac_);  // wa4_ = f(p+h), wa_jac_ = f(p-h)
            fminus = wa_jac_.data();
            divisor = 2.0 * h;
        }
        if (!debug) {
            for (int i = 0; i < m_; ++i) column[i] = (wa4_[i] - fminus[i]) / divisor;
            continue;
        }
        const double da = pars_[k].deriv_abstol, dr = pars_[k].deriv_reltol;
        for (int i = 0; i < m_; ++i) {
            const double user = column[i];
            column[i] = (wa4_[i] - fminus[i]) / divisor;
            const double numerical = column[i];
            const bool print =
                (da == 0 && dr == 0 && (user != 0 || numerical != 0)) ||
                ((da != 0 || dr != 0) && std::fabs(user - numerical) > da + std::fabs(user) * dr);
            if (print)
                std::printf("   %10d %10.4g %10.4g %10.4g %10.4g %10.4g\n", i, fvec_[i], user,
                            numerical, user - numerical,
                            user == 0 ? 0.0 : (user - numerical) / user);
        }
    }
    if (any_debug) std::printf("FJAC DEBUG END\n");
    return 0;
}

// A free parameter sitting on a limit while the gradient pushes it outward keeps a zero
// Jacobian column, so the step leaves it where it is.
void Fit::PegAtLimits() {
    for (int j = 0; j < nfree_; ++j) {
        const bool lpegged = qllim_[j] && x_[j] == llim_[j];
        const bool upegged = qulim_[j] && x_[j] == ulim_[j];
        if (!lpegged && !upegged) continue;
        double* column = fjac_.data() + size_t(j) * m_;
        double sum = 0;
        for (int i = 0; i < m_; ++i) sum += fvec_[i] * column[i];
        if ((lpegged && sum > 0) || (upegged && sum < 0)) std::fill(column, column + m_, 0.0);
    }
}

int Fit::Run(FitResult* result) {
    // Defaults for zero fields.
    if (config_.ftol <= 0) config_.ftol = kDefaultTolerance;
    if (config_.xtol <= 0) config_.xtol = kDefaultTolerance;
    if (config_.gtol <= 0) config_.gtol = kDefaultTolerance;
    if (config_.epsfcn <= 0) config_.epsfcn = kMachineEpsilon;
    if (config_.stepfactor <= 0) config_.stepfactor = kDefaultStepFactor;
    if (config_.covtol <= 0) config_.covtol = kDefaultCovarianceTolerance;
    if (config_.maxiter == 0) config_.maxiter = kDefaultMaxIterations;

    if (!function_) return kFitErrorNoFunction;
    if (m_ <= 0) return kFitErrorNoPoints;
    if (!xall_ || npar_ <= 0) return npar_ <= 0 ? kFitErrorNoFree : kFitErrorParameters;

    for (int i = 0; i < npar_; ++i)
        if (!pars_ || !pars_[i].fixed) ifree_.push_back(i);
    nfree_ = int(ifree_.size());
    if (nfree_ == 0) return kFitErrorNoFree;

    if (pars_) {
        for (int i = 0; i < npar_; ++i) {
            const FitParameterConstraint& c = pars_[i];
            if ((c.limited[0] && xall_[i] < c.limits[0] &&
                 !WithinUlps(xall_[i], c.limits[0], kLimitRoundingUlps)) ||
                (c.limited[1] && xall_[i] > c.limits[1] &&
                 !WithinUlps(xall_[i], c.limits[1], kLimitRoundingUlps)))
                return kFitErrorInitBounds;
        }
        for (int i : ifree_) {
            const FitParameterConstraint& c = pars_[i];
            if (c.limited[0] && c.limited[1] && c.limits[0] >= c.limits[1]) return kFitErrorBounds;
        }
    }
    if (m_ < nfree_) return kFitErrorDof;
    // The checks passed: a start value within rounding outside its limit is the limit.
    if (pars_)
        for (int i = 0; i < npar_; ++i) {
            const FitParameterConstraint& c = pars_[i];
            if (c.limited[0] && xall_[i] < c.limits[0]) xall_[i] = c.limits[0];
            if (c.limited[1] && xall_[i] > c.limits[1]) xall_[i] = c.limits[1];
        }

    x_.resize(nfree_);
    qllim_.assign(nfree_, 0);
    qulim_.assign(nfree_, 0);
    llim_.assign(nfree_, 0.0);
    ulim_.assign(nfree_, 0.0);
    bool any_limit = false;
    for (int j = 0; j < nfree_; ++j) {
        const int k = ifree_[j];
        x_[j] = xall_[k];
        if (pars_) {
            qllim_[j] = pars_[k].limited[0];
            qulim_[j] = pars_[k].limited[1];
            llim_[j] = pars_[k].limits[0];
            ulim_[j] = pars_[k].limits[1];
            any_limit = any_limit || qllim_[j] || qulim_[j];
        }
    }

    const int m = m_, n = nfree_;
    fvec_.assign(m, 0.0);
    wa4_.assign(m, 0.0);
    wa_jac_.assign(m, 0.0);
    fjac_.assign(size_t(m) * n, 0.0);
    std::vector<double> qtf(n), diag(n), wa1(n), wa2(n), wa3(n);
    std::vector<int> ipvt(n);  // MINPACK's pivot indices, counted from 1
    xnew_.assign(xall_, xall_ + npar_);

    int info = 0;
    int iter = 1;
    double fnorm = 0, fnorm1 = -1, xnorm = 0, delta = 0, par = 0, gnorm = 0;
    bool have_r = false;

    int code = Call(xnew_.data(), fvec_.data(), nullptr);
    if (code < 0) {
        info = code;
    } else {
        fnorm = __cminpack_func__(enorm)(m, fvec_.data());
        if (result) result->orignorm = fnorm * fnorm;
    }

    while (info == 0) {
        // Outer loop: a new Jacobian at the accepted point.
        for (int j = 0; j < n; ++j) xnew_[ifree_[j]] = x_[j];
        if (config_.nprint > 0 && config_.iterproc && (iter - 1) % config_.nprint == 0) {
            code = config_.iterproc(private_, iter, fnorm * fnorm, xnew_.data(), npar_);
            if (code < 0) {
                info = code;
                break;
            }
        }
        have_r = false;  // the Jacobian pass overwrites the previous R
        code = Jacobian();
        if (code < 0) {
            info = code;
            break;
        }
        if (any_limit) PegAtLimits();

        __cminpack_func__(qrfac)(m, n, fjac_.data(), m, 1, ipvt.data(), n, wa1.data(), wa2.data(),
                                 wa3.data());
        have_r = true;
        if (!AllFinite(wa1.data(), n) || !AllFinite(wa2.data(), n)) {
            info = kFitErrorNonFinite;
            break;
        }

        if (iter == 1) {
            // Scale by the column norms of the first Jacobian; the trust region starts at
            // stepfactor times the scaled parameter norm.
            for (int j = 0; j < n; ++j) {
                diag[j] = config_.douserscale ? 1.0 : wa2[j];
                if (diag[j] == 0.0) diag[j] = 1.0;
                wa3[j] = diag[j] * x_[j];
            }
            xnorm = __cminpack_func__(enorm)(n, wa3.data());
            delta = config_.stepfactor * xnorm;
            if (delta == 0.0) delta = config_.stepfactor;
        }

        // Q^T f into qtf; R's diagonal back into fjac.
        std::copy(fvec_.begin(), fvec_.end(), wa4_.begin());
        for (int j = 0; j < n; ++j) {
            double* column = fjac_.data() + size_t(j) * m;
            const double temp3 = column[j];
            if (temp3 != 0.0) {
                double sum = 0;
                for (int i = j; i < m; ++i) sum += column[i] * wa4_[i];
                const double temp = -sum / temp3;
                for (int i = j; i < m; ++i) wa4_[i] += column[i] * temp;
            }
            column[j] = wa1[j];
            qtf[j] = wa4_[j];
        }

        // Norm of the scaled gradient.
        gnorm = 0;
        if (fnorm != 0.0) {
            for (int j = 0; j < n; ++j) {
                const int l = ipvt[j] - 1;
                if (wa2[l] == 0.0) continue;
                const double* column = fjac_.data() + size_t(j) * m;
                double sum = 0;
                for (int i = 0; i <= j; ++i) sum += column[i] * (qtf[i] / fnorm);
                gnorm = std::max(gnorm, std::fabs(sum / wa2[l]));
            }
        }
        if (gnorm <= config_.gtol) info = kFitOkOrthogonal;
        if (info != 0) break;
        if (config_.maxiter < 0) {
            info = kFitMaxIterations;
            break;
        }
        if (!config_.douserscale)
            for (int j = 0; j < n; ++j) diag[j] = std::max(diag[j], wa2[j]);

        double ratio = 0;
        do {
            // Inner loop: the Levenberg-Marquardt step inside the trust region. lmpar takes
            // the scaling of the free parameters only.
            __cminpack_func__(lmpar)(n, fjac_.data(), m, ipvt.data(), diag.data(), qtf.data(),
                                     delta, &par, wa1.data(), wa2.data(), wa3.data(), wa4_.data());
            for (int j = 0; j < n; ++j) wa1[j] = -wa1[j];

            double alpha = 1.0;
            if (!any_limit) {
                for (int j = 0; j < n; ++j) wa2[j] = x_[j] + wa1[j];
            } else {
                // Cut the step so that no limited parameter leaves its interval; a parameter
                // already on a limit does not move outward.
                for (int j = 0; j < n; ++j) {
                    const bool lpegged = qllim_[j] && x_[j] <= llim_[j];
                    const bool upegged = qulim_[j] && x_[j] >= ulim_[j];
                    const bool moves = std::fabs(wa1[j]) > kMachineEpsilon;
                    if (lpegged && wa1[j] < 0) wa1[j] = 0;
                    if (upegged && wa1[j] > 0) wa1[j] = 0;
                    if (moves && qllim_[j] && x_[j] + wa1[j] < llim_[j])
                        alpha = std::min(alpha, (llim_[j] - x_[j]) / wa1[j]);
                    if (moves && qulim_[j] && x_[j] + wa1[j] > ulim_[j])
                        alpha = std::min(alpha, (ulim_[j] - x_[j]) / wa1[j]);
                }
                for (int j = 0; j < n; ++j) {
                    wa1[j] *= alpha;
                    wa2[j] = x_[j] + wa1[j];
                    // A parameter that lands within rounding of a limit lands on it.
                    const double sgnu = ulim_[j] >= 0 ? 1.0 : -1.0;
                    const double sgnl = llim_[j] >= 0 ? 1.0 : -1.0;
                    const double ulim1 = ulim_[j] * (1 - sgnu * kMachineEpsilon) -
                                         (ulim_[j] == 0 ? kMachineEpsilon : 0);
                    const double llim1 = llim_[j] * (1 + sgnl * kMachineEpsilon) +
                                         (llim_[j] == 0 ? kMachineEpsilon : 0);
                    if (qulim_[j] && wa2[j] >= ulim1) wa2[j] = ulim_[j];
                    if (qllim_[j] && wa2[j] <= llim1) wa2[j] = llim_[j];
                }
            }
            for (int j = 0; j < n; ++j) wa3[j] = diag[j] * wa1[j];
            const double pnorm = __cminpack_func__(enorm)(n, wa3.data());
            if (iter == 1) delta = std::min(delta, pnorm);

            for (int j = 0; j < n; ++j) xnew_[ifree_[j]] = wa2[j];
            code = Call(xnew_.data(), wa4_.data(), nullptr);
            if (code < 0) {
                info = code;
                break;
            }
            fnorm1 = __cminpack_func__(enorm)(m, wa4_.data());

            // Actual and predicted reductions of the scaled chi^2.
            double actred = -1.0;
            if (0.1 * fnorm1 < fnorm) {
                const double temp = fnorm1 / fnorm;
                actred = 1.0 - temp * temp;
            }
            for (int j = 0; j < n; ++j) {
                wa3[j] = 0;
                const int l = ipvt[j] - 1;
                const double temp = wa1[l];
                const double* column = fjac_.data() + size_t(j) * m;
                for (int i = 0; i <= j; ++i) wa3[i] += column[i] * temp;
            }
            // alpha is the fraction of the full step actually taken.
            const double temp1 = __cminpack_func__(enorm)(n, wa3.data()) * alpha / fnorm;
            const double temp2 = (std::sqrt(alpha * par) * pnorm) / fnorm;
            const double prered = temp1 * temp1 + (temp2 * temp2) / 0.5;
            const double dirder = -(temp1 * temp1 + temp2 * temp2);
            ratio = prered != 0.0 ? actred / prered : 0.0;

            // Update the trust region.
            if (ratio <= 0.25) {
                double temp = actred >= 0 ? 0.5 : 0.5 * dirder / (dirder + 0.5 * actred);
                if (0.1 * fnorm1 >= fnorm || temp < 0.1) temp = 0.1;
                delta = temp * std::min(delta, pnorm / 0.1);
                par /= temp;
            } else if (par == 0.0 || ratio >= 0.75) {
                delta = pnorm / 0.5;
                par *= 0.5;
            }

            if (ratio >= 1e-4) {
                // Successful step.
                for (int j = 0; j < n; ++j) {
                    x_[j] = wa2[j];
                    wa2[j] = diag[j] * x_[j];
                }
                std::copy(wa4_.begin(), wa4_.end(), fvec_.begin());
                xnorm = __cminpack_func__(enorm)(n, wa2.data());
                fnorm = fnorm1;
                ++iter;
            }
            // A NaN here (non-finite residuals let through) would make the loop go round for
            // ever: stop instead.
            if (std::isnan(ratio) || std::isnan(delta) || std::isnan(par)) {
                info = kFitErrorNonFinite;
                break;
            }

            const bool chi_converged =
                std::fabs(actred) <= config_.ftol && prered <= config_.ftol && 0.5 * ratio <= 1;
            if (chi_converged) info = kFitOkChi;
            if (delta <= config_.xtol * xnorm) info = chi_converged ? kFitOkBoth : kFitOkParameters;
            if (info != 0) break;

            if (config_.maxfev > 0 && nfev_ >= config_.maxfev) info = kFitMaxIterations;
            if (iter >= config_.maxiter) info = kFitMaxIterations;
            if (std::fabs(actred) <= kMachineEpsilon && prered <= kMachineEpsilon &&
                0.5 * ratio <= 1)
                info = kFitFtolTooSmall;
            if (delta <= kMachineEpsilon * xnorm) info = kFitXtolTooSmall;
            if (gnorm <= kMachineEpsilon) info = kFitGtolTooSmall;
            if (info != 0) break;
        } while (ratio < 1e-4);
    }

    // Unpack the free parameters; failures before the first step leave the start values.
    for (int j = 0; j < n; ++j) xall_[ifree_[j]] = x_[j];

    if (config_.nprint > 0 && info > 0) {
        code = Call(xall_, fvec_.data(), nullptr);
        if (code < 0) info = code;
        fnorm = __cminpack_func__(enorm)(m, fvec_.data());
    }

    if (result) {
        // Free parameters that ended on one of their limits.
        int npegged = 0;
        if (pars_)
            for (int i : ifree_)
                if ((pars_[i].limited[0] && pars_[i].limits[0] == xall_[i]) ||
                    (pars_[i].limited[1] && pars_[i].limits[1] == xall_[i]))
                    ++npegged;
        result->bestnorm = fnorm * fnorm;
        result->niter = iter;
        result->nfev = nfev_;
        result->status = info;
        result->npar = npar_;
        result->nfree = n;
        result->npegged = npegged;
        result->nfunc = m;
        if (result->resid) std::copy(fvec_.begin(), fvec_.end(), result->resid);
        if (result->covar || result->xerror) {
            if (result->covar) std::fill(result->covar, result->covar + size_t(npar_) * npar_, 0.0);
            if (result->xerror) std::fill(result->xerror, result->xerror + npar_, 0.0);
            if (have_r) {
                // (J^T J)^-1 of the free parameters from the R factor, spread to full indices.
                __cminpack_func__(covar)(n, fjac_.data(), m, ipvt.data(), config_.covtol,
                                         wa2.data());
                for (int j = 0; j < n; ++j) {
                    const double* column = fjac_.data() + size_t(j) * m;
                    if (result->covar)
                        for (int i = 0; i < n; ++i)
                            result->covar[size_t(ifree_[j]) * npar_ + ifree_[i]] = column[i];
                    if (result->xerror && column[j] > 0)
                        result->xerror[ifree_[j]] = std::sqrt(column[j]);
                }
            }
        }
    }
    return info;
}

}  // namespace

const char* FitStatusText(int status) {
    switch (status) {
        case kFitInputError:
            return "General input parameter error";
        case kFitErrorNonFinite:
            return "User function produced non-finite values";
        case kFitErrorNoFunction:
            return "No user function was supplied";
        case kFitErrorNoPoints:
            return "No user data points were supplied";
        case kFitErrorNoFree:
            return "No free parameters";
        case kFitErrorMemory:
            return "Memory allocation error";
        case kFitErrorInitBounds:
            return "Initial values inconsistent with constraints";
        case kFitErrorBounds:
            return "Initial constraints inconsistent";
        case kFitErrorParameters:
            return "General input parameter error";
        case kFitErrorDof:
            return "Not enough degrees of freedom";
        default:
            return "Unknown error";
    }
}

int LeastSquaresFit(FitFunction function, int m, int npar, double* parameters,
                    const FitParameterConstraint* constraints, const FitConfig* config,
                    void* private_data, FitResult* result) {
    const FitConfig effective = config ? *config : FitConfig{};
    int status;
    try {
        Fit fit(function, m, npar, parameters, constraints, effective, private_data);
        status = fit.Run(result);
    } catch (const std::bad_alloc&) {
        status = kFitErrorMemory;
    }
    if (result) {
        result->status = status;
        if (status < 0 || status == kFitInputError) {
            result->npar = npar;
            result->nfunc = m;
        }
    }
    return status;
}

}  // namespace kurvalux_analysis
