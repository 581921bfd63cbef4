#include "analysis/phase_fit.h"

#include <algorithm>

#include "analysis/model.h"
#include "analysis/model_kernels.h"
#include "platform/text.h"

namespace kurvalux_analysis {

namespace lc = kurvalux_data;

const std::array<double, lc::kLightCurveParameterCount> kLightCurveLower = {
    -20.0, -0.25, 0.0, 0.0, 0.0, -10.0, 0.0, 0.0, 0.0, -10.0, -2.0, -2.0, -2.0, -2.0, -2.0, -2.0};
const std::array<double, lc::kLightCurveParameterCount> kLightCurveUpper = {
    20.0, 0.75, 10.0, 0.6, 99.0, 10.0, 10.0, 0.6, 99.0, 10.0, 2.0, 2.0, 2.0, 2.0, 2.0, 2.0};

namespace {

// The private copy of the phased points and the intermediate values of the last full
// evaluation: a Jacobian column changes one parameter, and the kept values give its residuals
// with identical bits, recomputing at most one of the two eclipse profiles.
struct PhaseData {
    std::vector<double> phase, value, offset, sigma;
    bool have_cache = false;
    lc::LightCurveParameters cached = {};
    CLightCurveModel::Cache cache;
};

// (value + offset - m(phase)) / sigma, the model's derived quantities recomputed from every
// trial vector.
int PhaseResiduals(int m, int, const double* p, double* residuals, double**, void* private_data) {
    PhaseData& d = *static_cast<PhaseData*>(private_data);
    lc::LightCurveParameters parameters;
    std::copy(p, p + lc::kLightCurveParameterCount, parameters.begin());
    const CLightCurveModel model(parameters);
    int changed = 0;
    for (size_t k = 0; k < parameters.size(); ++k) changed += parameters[k] != d.cached[k];
    if (d.have_cache && changed == 1 && detail::PartialEvaluationEnabled()) {
        model_math::ProfileUpdate secondary, primary;
        CLightCurveModel::CacheUpdates(d.cached, parameters, secondary, primary);
        model.ResidualsFromCache(secondary, primary, d.phase.data(), d.value.data(),
                                 d.offset.data(), d.sigma.data(), residuals, size_t(m), d.cache);
        return 0;
    }
    model.ResidualsKeeping(d.phase.data(), d.value.data(), d.offset.data(), d.sigma.data(),
                           residuals, size_t(m), d.cache);
    d.cached = parameters;
    d.have_cache = true;
    return 0;
}

}  // namespace

PhaseFitResult FitPhaseCurve(const PhaseFitOptions& options) {
    PhaseFitResult result;
    result.parameters = options.start;
    const int m = int(options.points.size());
    result.points = m;
    if (m < kPhaseFitMinPoints) {
        result.message = {
            "Cannot perform parameter fitting",
            {"At last 15 points needed for fit.", "Phased curve contains too little points."}};
        return result;
    }
    std::array<FitParameterConstraint, lc::kLightCurveParameterCount> constraints;
    for (size_t k = 0; k < constraints.size(); ++k) {
        constraints[k].fixed = options.free[k] ? 0 : 1;
        constraints[k].limited[0] = constraints[k].limited[1] = 1;
        constraints[k].limits[0] = kLightCurveLower[k];
        constraints[k].limits[1] = kLightCurveUpper[k];
    }
    // A private copy: sigma 0 counts as 1 and a negative phase is raised by 1, without
    // touching the displayed curve.
    PhaseData data;
    data.phase.resize(m);
    data.value.resize(m);
    data.offset.resize(m);
    data.sigma.resize(m);
    for (int i = 0; i < m; ++i) {
        const PhasedPoint& point = options.points[i];
        data.phase[i] = point.phase < 0 ? point.phase + 1.0 : point.phase;
        data.value[i] = point.value;
        data.offset[i] = point.offset;
        data.sigma[i] = point.sigma == 0.0 ? 1.0 : point.sigma;
    }
    lc::LightCurveParameters parameters = options.start;
    result.status = LeastSquaresFit(PhaseResiduals, m, int(parameters.size()), parameters.data(),
                                    constraints.data(), nullptr, &data, &result.fit);
    result.ok = result.status > 0;
    if (!result.ok) {
        result.message = {"Phase curve fitting failed", {FitStatusText(result.status)}};
        return result;
    }
    result.parameters = parameters;
    result.initial_chi2 = result.fit.orignorm;
    result.final_chi2 = result.fit.bestnorm;
    result.message = {"Phase curve fitting OK",
                      {"Number of data points: " + std::to_string(m),
                       "Initial chi^2: " + kurvalux_platform::FormatFixed(result.initial_chi2, 6),
                       "Final chi^2: " + kurvalux_platform::FormatFixed(result.final_chi2, 6)}};
    return result;
}

}  // namespace kurvalux_analysis
