// SVG export of a 100,000-point chart (the document built in memory and written to a file).
// Target: at most 300 ms on the project machine.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <random>

#include "lc/light_curve_pane.h"
#include "platform/message_box.h"

namespace {

using kurvalux_lc::CLightCurvePane;

// Twenty nights of 5000 points of an eclipsing binary in two filters, with error bars.
void Fill(CLightCurvePane& pane, int points) {
    std::mt19937_64 random(7);
    std::normal_distribution<double> noise(0.0, 0.01);
    const double period = 0.7312;
    pane.invert_y = true;
    pane.show_error_bars = true;
    pane.SetCaptions("Mag", "HJD");
    pane.ReservePoints(points);
    for (int i = 0; i < points; ++i) {
        int night = i / 5000;
        double t = 2459000.3 + night + (i % 5000) * 0.3 / 5000;
        double phase = std::fmod(t - 2459000.0, period) / period;
        double x = phase < 0.5 ? phase : phase - 1;
        double mag = 12.0 + 0.8 * std::exp(-x * x / 0.002);
        kurvalux_platform::Colour colour = night % 2 ? kurvalux_platform::MakeColour(0, 192, 0)
                                                     : kurvalux_platform::MakeColour(255, 80, 0);
        pane.AddPoint(t, mag + noise(random), 0.01, colour, false);
    }
}

struct Fixture {
    CLightCurvePane pane;
    std::string path =
        (std::filesystem::temp_directory_path() / "kurvalux_bench_chart.svg").string();
    kurvalux_platform::CRecordingMessageBoxSink messages;
    Fixture() {
        Fill(pane, 100000);
        pane.SetRect(kurvalux_lc::CRect{0, 0, 1920, 1080});
        pane.LayoutAll();
    }
    bool Export() { return pane.ExportSvg(path, 1920, 1080, "100,000 points", messages); }
};

Fixture& Shared() {
    static Fixture fixture;
    return fixture;
}

void BM_SvgExport100kPoints(benchmark::State& state) {
    Fixture& f = Shared();
    for (auto _ : state) benchmark::DoNotOptimize(f.Export());
    state.SetItemsProcessed(state.iterations() * 100000);
}
BENCHMARK(BM_SvgExport100kPoints)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_SvgText100kPoints(benchmark::State& state) {
    Fixture& f = Shared();
    for (auto _ : state) {
        std::string text = f.pane.SvgText(1920, 1080, "100,000 points");
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_SvgText100kPoints)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

int main(int argc, char** argv) {
    Fixture& f = Shared();
    f.Export();  // warm up
    const int rounds = 10;
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < rounds; ++i) f.Export();
    double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                    .count() /
                rounds;
    std::printf(
        "chart svg: export of 100,000 points (1920x1080, error bars) to a file: %.1f ms per "
        "export (target <= 300 ms, mean of %d), %zu bytes\n",
        ms, rounds, static_cast<size_t>(std::filesystem::file_size(f.path)));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::filesystem::remove(f.path);
    return 0;
}
