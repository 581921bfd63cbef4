// Reading TESS light-curve FITS files: a two-minute sector (about 20,000 cadences) and a
// light curve cut from the full-frame images at 200 s (about 100,000 cadences), written into a
// temporary folder when the benchmark starts. Reports cadences read per second, the whole
// import (open, columns, quality filter, median) as the command line and the desktop run it.
#include <benchmark/benchmark.h>

#include <cmath>
#include <filesystem>
#include <string>

#include "data/import/photometry_import.h"
#include "import/light_curve_fits.h"

namespace {

std::string Generated(int cadences) {
    const std::filesystem::path path = std::filesystem::temp_directory_path() /
                                       ("kurvalux-bench-lc-" + std::to_string(cadences) + ".fits");
    std::filesystem::remove(path);
    kurvalux_test::LightCurve lc;
    lc.cadences.reserve(static_cast<size_t>(cadences));
    const double step = 27.0 / cadences;  // one sector
    for (int i = 0; i < cadences; ++i) {
        const double t = 1325.3 + i * step;
        const double flux = 15000 * (1 + 0.01 * std::sin(t * 9.0));
        lc.cadences.push_back({t, flux, 12, flux * 1.02, i % 97 == 0 ? 32 : 0});
    }
    if (kurvalux_test::WriteLightCurve(path.string(), lc) != 0) return "";
    return path.string();
}

void ImportSector(benchmark::State& state) {
    const int cadences = static_cast<int>(state.range(0));
    const std::string path = Generated(cadences);
    if (path.empty()) {
        state.SkipWithError("cannot write the light curve");
        return;
    }
    size_t kept = 0;
    for (auto _ : state) {
        const kurvalux_data::ImportResult r = kurvalux_data::ImportPhotometryFile(path, {});
        if (!r.ok) {
            state.SkipWithError(r.message.c_str());
            break;
        }
        kept = r.series[0].times.size();
        benchmark::DoNotOptimize(r.series[0].values.data());
    }
    std::filesystem::remove(path);
    state.counters["kept"] = static_cast<double>(kept);
    state.counters["cadences/s"] = benchmark::Counter(
        static_cast<double>(cadences), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(ImportSector)->Arg(20000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
