// The O-C table and the weighted least-squares ephemeris (see ephemeris_fit.h).
#include "analysis/ephemeris_fit.h"

#include <algorithm>
#include <cmath>

#include "analysis/model.h"

namespace kurvalux_analysis {

using kurvalux_data::CMinimaListElem;
using kurvalux_data::kMinimumPrimary;
using kurvalux_data::kMinimumSecondary;

std::vector<OCEntry> MakeOCTable(const std::vector<CMinimaListElem>& minima, double m0,
                                 double period) {
    std::vector<OCEntry> table;
    if (m0 == 0 || period == 0) return table;
    for (const CMinimaListElem& m : minima) {
        if (!m.enabled) continue;
        OCEntry entry;
        entry.type = m.type;
        entry.time = m.time;
        entry.error = m.error;
        const CycleOC c = CycleAndOC(m.time, m.type, m0, period);
        entry.cycle = c.cycle;
        entry.oc = c.oc;
        table.push_back(entry);
    }
    std::stable_sort(table.begin(), table.end(),
                     [](const OCEntry& a, const OCEntry& b) { return a.time < b.time; });
    return table;
}

std::vector<OCEntry> MakeOCTable(const kurvalux_data::CObjectListElem& object, double m0,
                                 double period) {
    std::vector<OCEntry> table;
    if (m0 == 0 || period == 0) return table;
    for (size_t k = 0; k < object.series.size(); ++k) {
        std::vector<OCEntry> part = MakeOCTable(object.series[k]->minima, m0, period);
        for (OCEntry& entry : part) entry.series = k;
        table.insert(table.end(), part.begin(), part.end());
    }
    std::stable_sort(table.begin(), table.end(),
                     [](const OCEntry& a, const OCEntry& b) { return a.time < b.time; });
    return table;
}

double FitCycle(const OCEntry& entry) {
    return entry.type == kMinimumSecondary ? entry.cycle + 0.5 : entry.cycle;
}

namespace {

// Inverts the symmetric positive definite k x k matrix a (k <= 3) by Gauss-Jordan elimination
// with partial pivoting; false when it is singular to working precision.
bool Invert(double a[3][3], size_t k, double inverse[3][3]) {
    double m[3][6] = {};
    double scale = 0;
    for (size_t i = 0; i < k; ++i)
        for (size_t j = 0; j < k; ++j) {
            m[i][j] = a[i][j];
            m[i][k + j] = i == j ? 1.0 : 0.0;
            scale = std::max(scale, std::fabs(a[i][j]));
        }
    for (size_t col = 0; col < k; ++col) {
        size_t pivot = col;
        for (size_t r = col + 1; r < k; ++r)
            if (std::fabs(m[r][col]) > std::fabs(m[pivot][col])) pivot = r;
        if (!(std::fabs(m[pivot][col]) > scale * 1e-13)) return false;
        for (size_t j = 0; j < 2 * k; ++j) std::swap(m[col][j], m[pivot][j]);
        const double d = m[col][col];
        for (size_t j = 0; j < 2 * k; ++j) m[col][j] /= d;
        for (size_t r = 0; r < k; ++r) {
            if (r == col) continue;
            const double f = m[r][col];
            for (size_t j = 0; j < 2 * k; ++j) m[r][j] -= f * m[col][j];
        }
    }
    for (size_t i = 0; i < k; ++i)
        for (size_t j = 0; j < k; ++j) inverse[i][j] = m[i][k + j];
    return true;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : 0.5 * (values[n / 2 - 1] + values[n / 2]);
}

}  // namespace

EphemerisFitResult FitEphemeris(std::vector<OCEntry>& table, double m0, double period,
                                const EphemerisFitOptions& options) {
    EphemerisFitResult result;
    const size_t k = options.quadratic ? 3 : 2;
    result.parameters = k;
    std::vector<OCEntry*> used;
    std::vector<double> errors;
    for (OCEntry& entry : table) {
        entry.fitted = false;
        entry.residual = 0;
        if (entry.type != kMinimumPrimary && entry.type != kMinimumSecondary) continue;
        used.push_back(&entry);
        if (entry.error > 0) errors.push_back(entry.error);
    }
    result.count = used.size();
    if (m0 == 0 || period == 0) {
        result.message = "The object has no ephemeris (M0 and period) to count cycles from";
        return result;
    }
    if (used.size() < k) {
        result.message = options.quadratic ? "At least 3 primary or secondary minima needed"
                                           : "At least 2 primary or secondary minima needed";
        return result;
    }
    result.weighted = !errors.empty();
    const double median_error = result.weighted ? Median(errors) : 1.0;
    if (result.weighted && errors.size() < used.size()) result.assumed_error = median_error;

    // Weights, and the fit abscissa centred on its weighted mean and scaled to about one, so
    // that the normal equations stay well conditioned over tens of thousands of cycles.
    std::vector<double> weight(used.size()), n(used.size());
    double sum_w = 0, sum_wn = 0;
    for (size_t i = 0; i < used.size(); ++i) {
        const double sigma = used[i]->error > 0 ? used[i]->error : median_error;
        weight[i] = 1.0 / (sigma * sigma);
        n[i] = FitCycle(*used[i]);
        sum_w += weight[i];
        sum_wn += weight[i] * n[i];
    }
    const double centre = sum_wn / sum_w;
    double spread = 0;
    for (double value : n) spread = std::max(spread, std::fabs(value - centre));
    if (spread == 0) spread = 1;

    double normal[3][3] = {}, rhs[3] = {};
    for (size_t i = 0; i < used.size(); ++i) {
        const double u = (n[i] - centre) / spread;
        const double basis[3] = {1.0, u, u * u};
        for (size_t r = 0; r < k; ++r) {
            rhs[r] += weight[i] * basis[r] * used[i]->oc;
            for (size_t c = 0; c < k; ++c) normal[r][c] += weight[i] * basis[r] * basis[c];
        }
    }
    double inverse[3][3] = {};
    if (!Invert(normal, k, inverse)) {
        result.message = options.quadratic ? "The minima cover fewer than 3 different cycles"
                                           : "The minima cover fewer than 2 different cycles";
        return result;
    }
    double scaled[3] = {};
    for (size_t r = 0; r < k; ++r)
        for (size_t c = 0; c < k; ++c) scaled[r] += inverse[r][c] * rhs[c];

    // Back from (1, u, u²) to (1, n, n²): y = a + b·n + q·n².
    const double s = spread, c0 = centre;
    const double jacobian[3][3] = {{1.0, -c0 / s, c0 * c0 / (s * s)},
                                   {0.0, 1.0 / s, -2.0 * c0 / (s * s)},
                                   {0.0, 0.0, 1.0 / (s * s)}};
    double p[3] = {};
    for (size_t r = 0; r < 3; ++r)
        for (size_t c = 0; c < k; ++c) p[r] += jacobian[r][c] * scaled[c];
    double covariance[3][3] = {};
    for (size_t r = 0; r < 3; ++r)
        for (size_t c = 0; c < 3; ++c)
            for (size_t i = 0; i < k; ++i)
                for (size_t j = 0; j < k; ++j)
                    covariance[r][c] += jacobian[r][i] * inverse[i][j] * jacobian[c][j];

    double chi2 = 0, squares = 0;
    for (size_t i = 0; i < used.size(); ++i) {
        const double model = p[0] + p[1] * n[i] + p[2] * n[i] * n[i];
        const double residual = used[i]->oc - model;
        used[i]->fitted = true;
        used[i]->residual = residual;
        chi2 += weight[i] * residual * residual;
        squares += residual * residual;
    }
    result.chi2 = chi2;
    result.dof = used.size() - k;
    result.chi2_per_dof = result.dof > 0 ? chi2 / double(result.dof) : 0.0;
    result.residual_rms = std::sqrt(squares / double(used.size()));
    // Without errors the weights carry no scale: the scatter alone sets the errors.
    double factor = 1.0;
    if (result.dof > 0 && (!result.weighted || result.chi2_per_dof > 1.0)) {
        factor = result.chi2_per_dof;
        result.errors_scaled = result.weighted;
    } else if (!result.weighted) {
        factor = 0.0;  // two minima without errors: nothing tells how good the line is
    }
    for (size_t r = 0; r < 3; ++r)
        for (size_t c = 0; c < 3; ++c) result.covariance[r][c] = covariance[r][c] * factor;

    result.m0 = m0 + p[0];
    result.period = period + p[1];
    result.quadratic = p[2];
    result.m0_error = std::sqrt(result.covariance[0][0]);
    result.period_error = std::sqrt(result.covariance[1][1]);
    result.quadratic_error = std::sqrt(result.covariance[2][2]);
    result.dpdt = 2.0 * result.quadratic / result.period;
    result.dpdt_error = 2.0 * result.quadratic_error / result.period;
    // The residuals were taken against the refined line; the trial values only shifted it.
    result.ok = true;
    return result;
}

bool ApplyEphemeris(const EphemerisFitResult& fit, kurvalux_data::CObjectListElem& object) {
    if (!fit.ok || fit.parameters != 2) return false;
    object.m0 = fit.m0;
    object.period = fit.period;
    return true;
}

PredictedTime PredictMinimum(const EphemerisFitResult& fit, double n) {
    PredictedTime predicted;
    predicted.time = fit.m0 + fit.period * n + fit.quadratic * n * n;
    const double g[3] = {1.0, n, n * n};
    double variance = 0;
    for (size_t r = 0; r < 3; ++r)
        for (size_t c = 0; c < 3; ++c) variance += g[r] * fit.covariance[r][c] * g[c];
    predicted.error = std::sqrt(std::max(variance, 0.0));
    return predicted;
}

}  // namespace kurvalux_analysis
