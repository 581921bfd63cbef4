#include "analysis/block_residuals.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace kurvalux_analysis {

namespace {

// Cholesky factor of the symmetric p x p matrix `a` (row-major) in place. Each squared pivot
// is the information on one parameter beyond what the earlier ones explain; they are kept in
// `pivots`, and the factorisation fails when one is not above its `least`.
bool Cholesky(std::vector<double>& a, size_t p, const std::vector<double>& least,
              std::vector<double>& pivots) {
    pivots.assign(p, 0.0);
    for (size_t j = 0; j < p; ++j) {
        double d = a[j * p + j];
        for (size_t k = 0; k < j; ++k) d -= a[j * p + k] * a[j * p + k];
        if (!(d > least[j])) return false;
        pivots[j] = d;
        d = std::sqrt(d);
        a[j * p + j] = d;
        for (size_t i = j + 1; i < p; ++i) {
            double s = a[i * p + j];
            for (size_t k = 0; k < j; ++k) s -= a[i * p + k] * a[j * p + k];
            a[i * p + j] = s / d;
        }
    }
    return true;
}

// Solves L L^T x = b with the factor from Cholesky().
void CholeskySolve(const std::vector<double>& l, size_t p, std::vector<double>& b) {
    for (size_t i = 0; i < p; ++i) {
        double s = b[i];
        for (size_t k = 0; k < i; ++k) s -= l[i * p + k] * b[k];
        b[i] = s / l[i * p + i];
    }
    for (size_t i = p; i-- > 0;) {
        double s = b[i];
        for (size_t k = i + 1; k < p; ++k) s -= l[k * p + i] * b[k];
        b[i] = s / l[i * p + i];
    }
}

}  // namespace

double IntegratedAutocorrelationTime(const std::vector<double>& residuals) {
    const size_t n = residuals.size();
    if (n < 3) return 1.0;
    const double mean = std::accumulate(residuals.begin(), residuals.end(), 0.0) / double(n);
    double c0 = 0;
    for (double r : residuals) c0 += (r - mean) * (r - mean);
    if (!(c0 > 0)) return 1.0;
    double tau = 1.0;
    for (size_t k = 1; k < n / 2 && double(k) < 5.0 * tau; ++k) {
        double ck = 0;
        for (size_t i = k; i < n; ++i) ck += (residuals[i] - mean) * (residuals[i - k] - mean);
        const double rho = ck / c0;
        if (!(rho > 0)) break;
        tau += 2.0 * rho;
    }
    return tau;
}

int BlockLengthFromResiduals(const std::vector<double>& residuals) {
    const double most = std::max(1.0, std::floor(double(residuals.size()) / 3.0));
    return int(std::clamp(std::ceil(3.0 * IntegratedAutocorrelationTime(residuals)), 1.0, most));
}

std::vector<double> LeaveBlockOutResiduals(const std::vector<double>& residuals,
                                           const std::vector<double>& jacobian, size_t p,
                                           size_t length) {
    const size_t n = residuals.size();
    std::vector<double> out = residuals;
    if (p == 0 || length == 0 || jacobian.size() != n * p) return out;
    std::vector<double> full(p * p, 0.0);
    for (size_t i = 0; i < n; ++i)
        for (size_t a = 0; a < p; ++a)
            for (size_t b = 0; b < p; ++b)
                full[a * p + b] += jacobian[i * p + a] * jacobian[i * p + b];

    // Without a block the other points must keep a thousandth of the information on every
    // parameter (beyond the others) that all points give; else the fit without it is
    // undetermined and the block keeps its plain residuals.
    std::vector<double> rest = full, least(p, 0.0), pivots;
    if (!Cholesky(rest, p, least, pivots)) return out;
    for (size_t a = 0; a < p; ++a) least[a] = 1e-3 * pivots[a];
    std::vector<double> g(p);
    for (size_t from = 0; from < n; from += length) {
        const size_t to = std::min(n, from + length);
        // A without the block, and J_B^T r_B.
        rest = full;
        std::fill(g.begin(), g.end(), 0.0);
        for (size_t i = from; i < to; ++i)
            for (size_t a = 0; a < p; ++a) {
                g[a] += jacobian[i * p + a] * residuals[i];
                for (size_t b = 0; b < p; ++b)
                    rest[a * p + b] -= jacobian[i * p + a] * jacobian[i * p + b];
            }
        if (!Cholesky(rest, p, least, pivots)) continue;
        CholeskySolve(rest, p, g);
        for (size_t i = from; i < to; ++i) {
            double shift = 0;
            for (size_t a = 0; a < p; ++a) shift += jacobian[i * p + a] * g[a];
            out[i] += shift;
        }
    }
    return out;
}

}  // namespace kurvalux_analysis
