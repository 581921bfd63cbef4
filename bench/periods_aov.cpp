// The multiharmonic AoV frequency analysis on the mhaov reference set: 2000 points, periods
// 0.1 ... 1.0 d in steps of 1e-5 d (90,001 periods, 1.8e8 point-periods), on every processor,
// with the dispatched vector kernel and with the scalar reference kernel in the same run.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <complex>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "analysis/periods/frequency_analysis.h"
#include "platform/system.h"

namespace {

using namespace kurvalux_analysis;

std::vector<std::vector<double>> ReadRows(const std::string& name) {
    std::ifstream in(std::string(KURVALUX_TEST_DATA_DIR) + "/mhaov/" + name);
    std::vector<std::vector<double>> rows;
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream fields(line);
        std::vector<double> row;
        for (double x; fields >> x;) row.push_back(x);
        rows.push_back(row);
    }
    return rows;
}

std::shared_ptr<const CAovPreparedData> LoadData() {
    std::vector<double> t, x, e;
    for (const auto& row : ReadRows("dataset_eb0p3731.txt")) {
        t.push_back(row[0]);
        x.push_back(row[1]);
        e.push_back(row[2]);
    }
    return std::make_shared<const CAovPreparedData>(t.data(), x.data(), e.data(), t.size());
}

const PeriodGrid kGrid{0.1, 1e-5, 90000};

// Seconds for the whole grid on all processors.
double TimeGrid(const std::shared_ptr<const CAovPreparedData>& data, AovIsa isa,
                std::vector<AovValue>& values) {
    const auto start = std::chrono::steady_clock::now();
    FrequencyRunResult run = RunFrequencyAnalysis(data, kGrid, 1, 0, isa, nullptr, {});
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    values = std::move(run.values);
    return took.count();
}

// Largest relative difference from the long-double reference (Theta, S, each |c_n|^2) over the
// reference rows with Theta > 1.
double ReferenceAgreement(const CAovPreparedData& data, AovIsa isa, int& compared,
                          double& worst_theta) {
    auto rows = ReadRows("ref_nh1_grid1000.txt");
    for (const auto& row : ReadRows("ref_nh1_peakwindow.txt")) rows.push_back(row);
    std::vector<double> periods;
    for (const auto& row : rows) periods.push_back(kGrid.Period(static_cast<uint64_t>(row[0])));
    std::vector<double> c;
    const std::vector<AovValue> v = EvaluateAov(data, 1, periods, isa, &c);
    const double scale = 1e4;  // weights 1/0.010^2 against the reference's unit weights
    double worst = 0;
    worst_theta = 0;
    compared = 0;
    for (size_t i = 0; i < rows.size(); ++i) {
        if (rows[i][2] <= 1) continue;
        ++compared;
        const double found[] = {v[i].theta, v[i].explained / scale,
                                std::norm(std::complex(c[6 * i], c[6 * i + 1])) / scale,
                                std::norm(std::complex(c[6 * i + 2], c[6 * i + 3])) / scale,
                                std::norm(std::complex(c[6 * i + 4], c[6 * i + 5])) / scale};
        worst_theta = std::max(worst_theta, std::abs(found[0] - rows[i][2]) / rows[i][2]);
        for (int j = 0; j < 5; ++j)
            worst = std::max(worst, std::abs(found[j] - rows[i][2 + j]) / std::abs(rows[i][2 + j]));
    }
    return worst;
}

void Report() {
    const auto data = LoadData();
    const double work = static_cast<double>(data->Count()) * static_cast<double>(kGrid.Count());
    const AovIsa best = BestAovIsa();
    std::printf("frequency analysis: %zu points x %llu periods = %.3g point-periods, %u workers\n",
                data->Count(), static_cast<unsigned long long>(kGrid.Count()), work,
                kurvalux_platform::ProcessorCount());
    std::vector<AovValue> values;
    double fastest = 1e9;
    for (int run = 0; run < 5; ++run) fastest = std::min(fastest, TimeGrid(data, best, values));
    std::printf("  %-7s kernel: grid %.3f s (best of 5), %.3g point-periods/s (target >= 6e8)\n",
                AovIsaName(best), fastest, work / fastest);
    std::vector<AovValue> scalar_values;
    const double scalar = TimeGrid(data, AovIsa::Scalar, scalar_values);
    std::printf("  %-7s kernel: grid %.3f s, %.3g point-periods/s\n", "scalar", scalar,
                work / scalar);
    const std::vector<uint64_t> top = TopThree(values);
    std::printf("  top three (expected k = 8655, 8654, 8656):");
    for (uint64_t k : top)
        std::printf("  k=%llu P=%.5f theta=%.10g", static_cast<unsigned long long>(k),
                    kGrid.Period(k), values[k].theta);
    std::printf("\n");
    for (AovIsa isa : {best, AovIsa::Scalar}) {
        int compared = 0;
        double worst_theta = 0;
        const double worst = ReferenceAgreement(*data, isa, compared, worst_theta);
        std::printf(
            "  mhaov reference, %s: %d rows with theta > 1, max relative error %.3g over "
            "theta, S and every |c_n|^2 (theta alone %.3g)\n",
            AovIsaName(isa), compared, worst, worst_theta);
    }
}

// One thread, 1000 periods around the main peak per iteration.
void BM_AovKernel(benchmark::State& state) {
    const AovIsa isa = static_cast<AovIsa>(state.range(0));
    if (!AovIsaSupported(isa)) {
        state.SkipWithError("kernel not supported on this processor");
        return;
    }
    static const auto data = LoadData();
    std::vector<double> periods;
    for (int k = 0; k < 1000; ++k) periods.push_back(kGrid.Period(8155 + k));
    for (auto _ : state) benchmark::DoNotOptimize(EvaluateAov(*data, 1, periods, isa));
    state.SetLabel(AovIsaName(isa));
    state.SetItemsProcessed(state.iterations() * 1000 * static_cast<int64_t>(data->Count()));
}
BENCHMARK(BM_AovKernel)
    ->Arg(static_cast<int>(AovIsa::Scalar))
    ->Arg(static_cast<int>(AovIsa::Avx2))
    ->Arg(static_cast<int>(AovIsa::Avx512))
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    Report();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
