#pragma once
// The phase-curve fit: the sixteen parameters of the whole-cycle model fitted to an object's
// phased curve ("Fit checked parameters").
#include <array>
#include <string>
#include <vector>

#include "analysis/fit_points.h"
#include "analysis/fitter.h"
#include "analysis/minimum_fit.h"
#include "data/light_curve_parameters.h"

namespace kurvalux_analysis {

constexpr int kPhaseFitMinPoints = 15;

// The fitter's limits of the sixteen parameters, in parameter order.
extern const std::array<double, kurvalux_data::kLightCurveParameterCount> kLightCurveLower;
extern const std::array<double, kurvalux_data::kLightCurveParameterCount> kLightCurveUpper;

struct PhaseFitOptions {
    std::vector<PhasedPoint> points;  // the phased curve; the fit works on a private copy
    kurvalux_data::LightCurveParameters start = kurvalux_data::kDefaultLightCurveParameters;
    // Free switches; the default frees all but the two correction terms.
    std::array<bool, kurvalux_data::kLightCurveParameterCount> free = {
        true, true,  true, true, true, false, true, true,
        true, false, true, true, true, true,  true, true};
};

struct PhaseFitResult {
    int status = 0;
    bool ok = false;
    // Failure: "Phase curve fitting failed" or the too-few-points refusal. Success: the
    // report box "Phase curve fitting OK" with the number of points and both chi^2.
    FitMessage message;
    kurvalux_data::LightCurveParameters parameters = {};  // fitted; the start values on failure
    double initial_chi2 = 0;
    double final_chi2 = 0;
    int points = 0;
    FitResult fit;
};

PhaseFitResult FitPhaseCurve(const PhaseFitOptions& options);

}  // namespace kurvalux_analysis
