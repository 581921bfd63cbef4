// Layout and paint of a 1,000,000-point time series into a 1920×1080 raster image.
// Target: at most 200 ms per chart on the project machine.
#include <benchmark/benchmark.h>

#include <QImage>
#include <QPainter>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>

#include "img/qt_draw_context.h"
#include "img/raster_export.h"
#include "lc/light_curve_pane.h"

namespace {

using kurvalux_lc::CLightCurvePane;

// A long campaign of an eclipsing binary: 200 nights of 5000 points each, two filters,
// magnitudes with noise, and the minima as markers.
void FillMillion(CLightCurvePane& pane) {
    std::mt19937_64 random(42);
    std::normal_distribution<double> noise(0.0, 0.01);
    const double period = 0.7312;
    pane.invert_y = true;
    pane.SetCaptions("Mag", "HJD");
    pane.ReservePoints(1000000);
    for (int night = 0; night < 200; ++night) {
        double start = 2459000.3 + night * 1.0;
        kurvalux_platform::Colour colour = night % 2 ? kurvalux_platform::MakeColour(0, 192, 0)
                                                     : kurvalux_platform::MakeColour(255, 80, 0);
        for (int i = 0; i < 5000; ++i) {
            double t = start + i * 0.3 / 5000;
            double phase = std::fmod(t - 2459000.0, period) / period;
            double x = phase < 0.5 ? phase : phase - 1;
            double mag = 12.0 + 0.8 * std::exp(-x * x / 0.002) +
                         0.3 * std::exp(-(phase - 0.5) * (phase - 0.5) / 0.002);
            pane.AddPoint(t, mag + noise(random), 0.01, colour, false);
        }
        pane.AddMarker(start + 0.15, kurvalux_platform::MakeColour(220, 0, 0),
                       kurvalux_lc::kMarkerMinimumPrimary);
    }
}

struct Fixture {
    CLightCurvePane pane;
    QImage image{1920, 1080, QImage::Format_RGB32};
    Fixture() {
        kurvalux_img::EnsureGuiApplication();
        FillMillion(pane);
        pane.SetRect(kurvalux_lc::CRect{0, 0, 1920, 1080});
    }
    // With `omit_covered` off every point is drawn, also those an identical later one covers.
    void LayoutAndPaint(bool omit_covered = true) {
        QPainter painter(&image);
        kurvalux_img::CQtDrawContext dc(painter, &image);
        dc.SetMayOmitCoveredMarks(omit_covered);
        pane.SetMetricsContext(&dc);
        pane.LayoutAll();
        pane.Paint(dc);
        pane.SetMetricsContext(nullptr);
    }
};

Fixture& Shared() {
    static Fixture fixture;
    return fixture;
}

void BM_LayoutAndPaintMillionPoints(benchmark::State& state) {
    Fixture& f = Shared();
    for (auto _ : state) {
        f.LayoutAndPaint();
        benchmark::DoNotOptimize(f.image.constBits());
    }
    state.SetItemsProcessed(state.iterations() * 1000000);
}
BENCHMARK(BM_LayoutAndPaintMillionPoints)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// Every point drawn, covered or not: what the duplicate skipping saves.
void BM_LayoutAndPaintMillionPointsAllDrawn(benchmark::State& state) {
    Fixture& f = Shared();
    for (auto _ : state) {
        f.LayoutAndPaint(false);
        benchmark::DoNotOptimize(f.image.constBits());
    }
}
BENCHMARK(BM_LayoutAndPaintMillionPointsAllDrawn)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_RenderPaneMillionPoints(benchmark::State& state) {
    Fixture& f = Shared();
    for (auto _ : state) {
        QImage image = kurvalux_img::RenderPane(f.pane, 1920, 1080, "1,000,000 points");
        benchmark::DoNotOptimize(image.constBits());
    }
}
BENCHMARK(BM_RenderPaneMillionPoints)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

int main(int argc, char** argv) {
    Fixture& f = Shared();
    f.LayoutAndPaint();  // warm up
    const int rounds = 10;
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < rounds; ++i) f.LayoutAndPaint();
    double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                    .count() /
                rounds;
    std::printf(
        "chart raster: layout + paint of 1,000,000 points into 1920x1080: %.1f ms per chart "
        "(target <= 200 ms, mean of %d)\n",
        ms, rounds);
    QImage skipped = f.image.copy();
    f.LayoutAndPaint(false);
    std::printf(
        "chart raster: picture with covered duplicates skipped %s the picture with every "
        "point drawn\n",
        skipped == f.image ? "equals" : "DIFFERS FROM");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
