// Period from minima at its heaviest practical size: eight minima of undefined type over 1000
// days with the minimal period 0.1 d (256 variants of tens of thousands of trial periods each).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>

#include "analysis/periods/period_from_minima.h"
#include "platform/system.h"

namespace {

using namespace kurvalux_analysis;

// A binary with P = 0.7131 d: primaries and secondaries at these cycle counts, timed to a few
// 1e-4 d, all given as undefined.
std::vector<SearchMinimum> EightMinima() {
    const double period = 0.7131, epoch = 2459000.3172;
    const double cycles[] = {0, 200, 400.5, 601, 801.5, 1002, 1202.5, 1402};
    const double noise[] = {0.0001, -0.0002, 0.00015, 0, -0.0001, 0.0002, -0.00005, 0.0001};
    std::vector<SearchMinimum> minima;
    for (int i = 0; i < 8; ++i)
        minima.push_back({epoch + cycles[i] * period + noise[i], kurvalux_data::kMinimumUndefined});
    return minima;
}

PeriodFromMinimaOptions Options(unsigned threads) {
    PeriodFromMinimaOptions options;
    options.min_period = 0.1;
    options.limit = 0.9;
    options.threads = threads;
    return options;
}

void BM_PeriodFromMinima(benchmark::State& state) {
    const std::vector<SearchMinimum> minima = EightMinima();
    const PeriodFromMinimaOptions options = Options(static_cast<unsigned>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(SearchPeriodsFromMinima(minima, options));
    state.counters["candidates"] =
        static_cast<double>(CountMinimaCandidates(minima, options.min_period) * 256);
}
BENCHMARK(BM_PeriodFromMinima)->Arg(1)->Arg(2)->UseRealTime()->Unit(benchmark::kMillisecond);

void Report() {
    const std::vector<SearchMinimum> minima = EightMinima();
    const unsigned processors = kurvalux_platform::ProcessorCount();
    const uint64_t per_variant = CountMinimaCandidates(minima, 0.1);
    std::printf("period from minima: 8 undefined minima over %.1f d, Pmin 0.1 d, L 0.9\n",
                minima.back().time - minima.front().time);
    std::printf("  256 variants x %llu trial periods = %llu candidates\n",
                static_cast<unsigned long long>(per_variant),
                static_cast<unsigned long long>(per_variant * 256));
    double best = 1e9;
    std::vector<kurvalux_data::CPeriodListElem> found;
    for (int run = 0; run < 3; ++run) {
        const auto start = std::chrono::steady_clock::now();
        found = SearchPeriodsFromMinima(minima, Options(processors));
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        best = std::min(best, took.count());
    }
    std::printf("  wall time on %u workers: %.3f s (best of 3; target <= 1.5 s)\n", processors,
                best);
    std::printf("  %zu periods found; first: %.9f d (key %lld, R %.9f)\n", found.size(),
                found.empty() ? 0.0 : found[0].period,
                found.empty() ? 0LL : static_cast<long long>(found[0].key),
                found.empty() ? 0.0 : found[0].coherence);
}

}  // namespace

int main(int argc, char** argv) {
    Report();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
