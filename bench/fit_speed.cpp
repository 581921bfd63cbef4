// Speed of the fits on the synthetic light curves (tests/data/synthetic-lc): the single-minimum
// fit of min200.txt (6 free parameters), the whole-cycle fit of cycle1000.txt (14 free) and the
// 1000-round bootstrap of min200.txt on 2 workers. Targets: <= 100 us, <= 6 ms, <= 60 ms wall.
// The report first compares the fits with the vector kernels, with the scalar path of the same
// functions (identical bits expected) and with the model written with the C library's
// functions, point by point.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "analysis/minimum_fit.h"
#include "analysis/model_kernels.h"
#include "analysis/phase_fit.h"

namespace {

using namespace kurvalux_analysis;

struct Curve {
    std::vector<double> x, y, sigma;
};

Curve ReadCurve(const std::string& name) {
    Curve c;
    std::ifstream in(std::string(KURVALUX_TEST_DATA_DIR) + "/synthetic-lc/" + name);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream words(line);
        std::string a, b, s;
        words >> a >> b >> s;
        c.x.push_back(std::strtod(a.c_str(), nullptr));
        c.y.push_back(std::strtod(b.c_str(), nullptr));
        c.sigma.push_back(std::strtod(s.c_str(), nullptr));
    }
    return c;
}

MinimumFitOptions MinimumOptions() {
    static const Curve curve = ReadCurve("min200.txt");
    MinimumFitOptions o;
    o.times = curve.x;
    o.values = curve.y;
    o.errors = curve.sigma;
    o.t_start = 0.0;  // the file's abscissa is already the normalised axis
    o.t_end = 1.0;
    o.start = {10.05, 0.5, 0.0, 0.7, 0.1, 1.0, 0.0};
    return o;
}

PhaseFitOptions CycleOptions() {
    static const Curve curve = ReadCurve("cycle1000.txt");
    PhaseFitOptions o;
    for (size_t i = 0; i < curve.x.size(); ++i) {
        PhasedPoint p;
        p.phase = curve.x[i];
        p.value = curve.y[i];
        p.sigma = curve.sigma[i];
        o.points.push_back(p);
    }
    o.start = {12.03, 0.49, 0.7, 0.07,  1.0, 0.0,   0.25, 0.06,
               1.0,   0.0,  0.0, -0.01, 0.0, -0.03, 0.0,  0.001};
    return o;
}

double MaxRelativeDifference(const double* a, const double* b, size_t n) {
    double worst = 0;
    for (size_t k = 0; k < n; ++k) {
        const double scale = std::max(std::fabs(b[k]), 1e-300);
        if (a[k] != b[k]) worst = std::max(worst, std::fabs(a[k] - b[k]) / scale);
    }
    return worst;
}

// The same fits with the model written with the C library's functions (Reference()), point by
// point: what a straightforward implementation computes.
int ReferenceMinimumResiduals(int m, int, const double* p, double* r, double**, void* data) {
    const MinimumFitOptions& o = *static_cast<const MinimumFitOptions*>(data);
    SingleMinimumParameters q;
    std::copy(p, p + q.size(), q.begin());
    const CSingleMinimumModel model(q);
    for (int i = 0; i < m; ++i) r[i] = (o.values[i] - model.Reference(o.times[i])) / o.errors[i];
    return 0;
}

int ReferenceCycleResiduals(int m, int, const double* p, double* r, double**, void* data) {
    const PhaseFitOptions& o = *static_cast<const PhaseFitOptions*>(data);
    kurvalux_data::LightCurveParameters q;
    std::copy(p, p + q.size(), q.begin());
    const CLightCurveModel model(q);
    for (int i = 0; i < m; ++i)
        r[i] = (o.points[i].value - model.Reference(o.points[i].phase)) / o.points[i].sigma;
    return 0;
}

template <size_t N>
FitResult ReferenceFit(FitFunction f, void* data, int m, std::array<double, N>& p,
                       const std::array<double, N>& lower, const std::array<double, N>& upper,
                       const std::array<bool, N>& free) {
    std::array<FitParameterConstraint, N> c;
    for (size_t k = 0; k < N; ++k) {
        c[k].fixed = !free[k];
        c[k].limited[0] = c[k].limited[1] = 1;
        c[k].limits[0] = lower[k];
        c[k].limits[1] = upper[k];
    }
    FitResult result;
    LeastSquaresFit(f, m, int(N), p.data(), c.data(), nullptr, data, &result);
    return result;
}

void PrintReport() {
    std::printf("Model kernel width: %zu points (8 = AVX-512, 4 = AVX2, 1 = scalar only)\n",
                detail::VectorWidth());
    MinimumFitOptions min_options = MinimumOptions();
    PhaseFitOptions cycle_options = CycleOptions();
    const MinimumFitResult fast_min = FitMinimum(min_options);
    const PhaseFitResult fast_cycle = FitPhaseCurve(cycle_options);
    detail::SetVectorKernelEnabled(false);
    const MinimumFitResult slow_min = FitMinimum(min_options);
    const PhaseFitResult slow_cycle = FitPhaseCurve(cycle_options);
    detail::SetVectorKernelEnabled(true);
    SingleMinimumParameters libm_min = min_options.start;
    const FitResult libm_min_fit =
        ReferenceFit(ReferenceMinimumResiduals, &min_options, int(min_options.times.size()),
                     libm_min, kSingleMinimumLower, kSingleMinimumUpper, min_options.free);
    kurvalux_data::LightCurveParameters libm_cycle = cycle_options.start;
    const FitResult libm_cycle_fit =
        ReferenceFit(ReferenceCycleResiduals, &cycle_options, int(cycle_options.points.size()),
                     libm_cycle, kLightCurveLower, kLightCurveUpper, cycle_options.free);

    std::printf(
        "min200.txt single-minimum fit (reference C implementation: status 1, nfev 43, "
        "chi2 198.25678395264757)\n");
    std::printf("  vector kernels:     status %d, niter %d, nfev %d, chi2 %.17g\n", fast_min.status,
                fast_min.fit.niter, fast_min.fit.nfev, fast_min.fit.bestnorm);
    std::printf("  scalar path:        status %d, niter %d, nfev %d, chi2 %.17g\n", slow_min.status,
                slow_min.fit.niter, slow_min.fit.nfev, slow_min.fit.bestnorm);
    std::printf("  C library functions: status %d, niter %d, nfev %d, chi2 %.17g\n",
                libm_min_fit.status, libm_min_fit.niter, libm_min_fit.nfev, libm_min_fit.bestnorm);
    std::printf("  parameters:");
    for (double v : fast_min.normalised) std::printf(" %.15g", v);
    std::printf(
        "\n  largest relative difference, vector vs scalar path: %.3g; vector vs C library "
        "functions: %.3g\n",
        MaxRelativeDifference(fast_min.normalised.data(), slow_min.normalised.data(), 7),
        MaxRelativeDifference(fast_min.normalised.data(), libm_min.data(), 7));
    std::printf(
        "cycle1000.txt whole-cycle fit (reference C implementation: status 1, nfev 114, "
        "chi2 995.42029392452287)\n");
    std::printf("  vector kernels:     status %d, niter %d, nfev %d, chi2 %.17g\n",
                fast_cycle.status, fast_cycle.fit.niter, fast_cycle.fit.nfev,
                fast_cycle.fit.bestnorm);
    std::printf("  scalar path:        status %d, niter %d, nfev %d, chi2 %.17g\n",
                slow_cycle.status, slow_cycle.fit.niter, slow_cycle.fit.nfev,
                slow_cycle.fit.bestnorm);
    std::printf("  C library functions: status %d, niter %d, nfev %d, chi2 %.17g\n",
                libm_cycle_fit.status, libm_cycle_fit.niter, libm_cycle_fit.nfev,
                libm_cycle_fit.bestnorm);
    std::printf("  parameters:");
    for (double v : fast_cycle.parameters) std::printf(" %.15g", v);
    std::printf(
        "\n  largest relative difference, vector vs scalar path: %.3g; vector vs C library "
        "functions: %.3g\n\n",
        MaxRelativeDifference(fast_cycle.parameters.data(), slow_cycle.parameters.data(), 16),
        MaxRelativeDifference(fast_cycle.parameters.data(), libm_cycle.data(), 16));
    std::fflush(stdout);
}

void BM_SingleMinimumFit(benchmark::State& state) {
    detail::SetVectorKernelEnabled(state.range(0) != 0);
    const MinimumFitOptions options = MinimumOptions();
    int nfev = 0;
    for (auto _ : state) {
        MinimumFitResult r = FitMinimum(options);
        nfev = r.fit.nfev;
        benchmark::DoNotOptimize(r.time_of_minimum);
    }
    state.counters["nfev"] = nfev;
    detail::SetVectorKernelEnabled(true);
}
BENCHMARK(BM_SingleMinimumFit)->ArgName("vector")->Arg(1)->Arg(0)->Unit(benchmark::kMicrosecond);

void BM_WholeCycleFit(benchmark::State& state) {
    detail::SetVectorKernelEnabled(state.range(0) != 0);
    const PhaseFitOptions options = CycleOptions();
    int nfev = 0;
    for (auto _ : state) {
        PhaseFitResult r = FitPhaseCurve(options);
        nfev = r.fit.nfev;
        benchmark::DoNotOptimize(r.final_chi2);
    }
    state.counters["nfev"] = nfev;
    detail::SetVectorKernelEnabled(true);
}
BENCHMARK(BM_WholeCycleFit)->ArgName("vector")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

void BM_Bootstrap1000(benchmark::State& state) {
    BootstrapOptions options;
    options.fit = MinimumOptions();
    options.fitted = FitMinimum(options.fit);
    options.processors = unsigned(state.range(0));
    options.seed = 12345;
    double error = 0;
    for (auto _ : state) {
        BootstrapResult r = EstimateMinimumError(options);
        error = r.error;
        benchmark::DoNotOptimize(r.error);
    }
    state.counters["error"] = error;
}
BENCHMARK(BM_Bootstrap1000)
    ->ArgName("workers")
    ->Arg(2)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    PrintReport();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
