#pragma once
// The sixteen parameters of the whole-cycle light-curve model, in memory and fitter order
// (the harmonic coefficients interleaved sin1, cos1, sin2, cos2, sin3, cos3).
#include <array>
#include <cstddef>

namespace kurvalux_data {

enum LightCurveParameterIndex : size_t {
    kMag0 = 0,
    kSecPhase,
    kAPri,
    kDPri,
    kGPri,
    kCPri,
    kASec,
    kDSec,
    kGSec,
    kCSec,
    kASin1,
    kACos1,
    kASin2,
    kACos2,
    kASin3,
    kACos3,
    kLightCurveParameterCount
};

using LightCurveParameters = std::array<double, kLightCurveParameterCount>;

// mag0 0, sec_phase 0.5, a_pri 0.5, d_pri 0.1, g_pri 1, c_pri 0, a_sec 0.5, d_sec 0.1,
// g_sec 1, c_sec 0, harmonics 0.
constexpr LightCurveParameters kDefaultLightCurveParameters = {
    0.0, 0.5, 0.5, 0.1, 1.0, 0.0, 0.5, 0.1, 1.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};

// File keys by memory index.
constexpr std::array<const char*, kLightCurveParameterCount> kLightCurveParameterKeys = {
    "mag0",  "sec_phase", "a_pri",  "d_pri",  "g_pri",  "c_pri",  "a_sec",  "d_sec",
    "g_sec", "c_sec",     "a_sin1", "a_cos1", "a_sin2", "a_cos2", "a_sin3", "a_cos3"};

// The order in which files list them: all sines before all cosines.
constexpr std::array<size_t, kLightCurveParameterCount> kLightCurveFileOrder = {
    kMag0, kSecPhase, kAPri,  kDPri,  kGPri,  kCPri,  kASec,  kDSec,
    kGSec, kCSec,     kASin1, kASin2, kASin3, kACos1, kACos2, kACos3};

}  // namespace kurvalux_data
