// Speed of the fits on the synthetic light curves (tests/data/synthetic-lc): the single-minimum
// fit of min200.txt (6 free parameters), the whole-cycle fit of cycle1000.txt (14 free) and the
// 1000-round bootstrap of min200.txt on 2 workers. Targets: <= 100 us, <= 6 ms, <= 60 ms wall.
// The report first compares the vector kernels with the straightforward evaluation.
#include <benchmark/benchmark.h>

#include <algorithm>
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

void PrintReport() {
    std::printf("Vector kernels available: %s\n",
                detail::VectorKernelAvailable() ? "yes (AVX2)" : "no (straightforward only)");
    detail::SetVectorKernelEnabled(true);
    const MinimumFitResult fast_min = FitMinimum(MinimumOptions());
    const PhaseFitResult fast_cycle = FitPhaseCurve(CycleOptions());
    detail::SetVectorKernelEnabled(false);
    const MinimumFitResult slow_min = FitMinimum(MinimumOptions());
    const PhaseFitResult slow_cycle = FitPhaseCurve(CycleOptions());
    detail::SetVectorKernelEnabled(true);

    std::printf(
        "min200.txt single-minimum fit: status %d, niter %d, nfev %d, chi2 %.17g "
        "(straightforward: status %d, nfev %d, chi2 %.17g)\n",
        fast_min.status, fast_min.fit.niter, fast_min.fit.nfev, fast_min.fit.bestnorm,
        slow_min.status, slow_min.fit.nfev, slow_min.fit.bestnorm);
    std::printf("  parameters:");
    for (double v : fast_min.normalised) std::printf(" %.15g", v);
    std::printf("\n  largest relative difference to the straightforward evaluation: %.3g\n",
                MaxRelativeDifference(fast_min.normalised.data(), slow_min.normalised.data(), 7));
    std::printf(
        "cycle1000.txt whole-cycle fit: status %d, niter %d, nfev %d, chi2 %.17g "
        "(straightforward: status %d, nfev %d, chi2 %.17g)\n",
        fast_cycle.status, fast_cycle.fit.niter, fast_cycle.fit.nfev, fast_cycle.fit.bestnorm,
        slow_cycle.status, slow_cycle.fit.nfev, slow_cycle.fit.bestnorm);
    std::printf("  parameters:");
    for (double v : fast_cycle.parameters) std::printf(" %.15g", v);
    std::printf(
        "\n  largest relative difference to the straightforward evaluation: %.3g\n\n",
        MaxRelativeDifference(fast_cycle.parameters.data(), slow_cycle.parameters.data(), 16));
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
