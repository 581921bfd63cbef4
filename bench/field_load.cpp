// Loading a large field: 100 objects x 40 nights x 2,500 points (10 million points, about
// 350 MB of photometry text), generated into a temporary folder when the benchmark starts.
// Reports the photometry reader's throughput on one core and the whole load, parallel and
// sequential.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "data/field_file.h"
#include "data/photometry.h"
#include "platform/files.h"

namespace {

constexpr int kObjects = 100, kSeries = 40, kPoints = 2500;

struct GeneratedField {
    std::filesystem::path folder;
    std::string field_path;
    std::vector<std::string> sample_texts;  // the files of the first object, for the reader
    uint64_t total_bytes = 0;

    GeneratedField() {
        folder = std::filesystem::temp_directory_path() / "kurvalux-bench-field";
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        std::mt19937_64 random(42);
        std::normal_distribution<double> noise(0.0, 0.01);
        std::string kvf = "kurvalux\r\n\tversion = 4\r\n\tobjects = 100\r\n";
        char line[96];
        for (int o = 0; o < kObjects; ++o) {
            const std::string name = "obj" + std::to_string(o);
            std::filesystem::create_directories(folder / name);
            kvf += "\tobject\r\n\t\tname = \"" + name +
                   "\"\r\n\t\tmeta_data\r\n\t\t\tvar\r\n"
                   "\t\t\t\tstar_ra = \"06:30:32.796\"\r\n\t\t\t\tstar_dec = \"+29:40:20.28\"\r\n"
                   "\t\t\tend_var\r\n\t\tend_meta_data\r\n";
            for (int s = 0; s < kSeries; ++s) {
                // One night in four is recorded in geocentric JD and converted on load.
                std::string text = s % 4 == 0 ? "# JD: GEOCENTRIC\r\n" : "# JD: HELIOCENTRIC\r\n";
                text += "# UNIT: MAGNITUDE FILTER: V VARAPERTURE: 6\r\n";
                text.reserve(kPoints * 36 + 128);
                const double start = 2459000.3 + 3.0 * s + 0.001 * o;
                for (int i = 0; i < kPoints; ++i) {
                    const double t = start + i * 0.0001;
                    std::snprintf(line, sizeof line, "%.7f\t%.5f\t%.5f\r\n", t,
                                  12.0 + 0.3 * std::sin(t * 20.0) + noise(random),
                                  0.01 + 0.001 * (i % 7));
                    text += line;
                }
                const std::string file = name + "/n" + std::to_string(s) + ".txt";
                std::ofstream(folder / file, std::ios::binary) << text;
                total_bytes += text.size();
                if (o == 0) sample_texts.push_back(text);
                kvf += "\t\tseries\r\n\t\t\trelative_path = \"" + name + "\\n" + std::to_string(s) +
                       ".txt\"\r\n\t\t\tenabled = TRUE\r\n\t\tend_series\r\n";
            }
            kvf += "\tend_object\r\n";
        }
        kvf += "end_kurvalux\r\n";
        field_path = (folder / "big.kvf").string();
        std::ofstream(field_path, std::ios::binary) << kvf;
    }
    ~GeneratedField() { std::filesystem::remove_all(folder); }
};

GeneratedField* g_field = nullptr;

void BM_PhotometryReaderOneCore(benchmark::State& state) {
    uint64_t bytes = 0;
    for (auto _ : state) {
        for (const std::string& text : g_field->sample_texts) {
            kurvalux_data::CLocalSeriesTreeElem series;
            benchmark::DoNotOptimize(kurvalux_data::ParsePhotometry(text, series));
            bytes += text.size();
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

void LoadWholeField(benchmark::State& state, bool parallel) {
    for (auto _ : state) {
        kurvalux_data::Field field;
        kurvalux_data::FieldLoadOptions options;
        options.parallel = parallel;
        options.bases.field_folder = g_field->folder.string() + "/";
        kurvalux_platform::CRecordingMessageBoxSink boxes;
        const auto result = kurvalux_data::LoadField(g_field->field_path, field, options, boxes);
        if (!result.ok || !boxes.Records().empty() || field.objects.size() != kObjects ||
            field.objects.back()->SeriesCount() != kSeries)
            state.SkipWithError("the generated field did not load completely");
        benchmark::DoNotOptimize(field);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_field->total_bytes));
    state.counters["points"] = kObjects * kSeries * kPoints;
}

void BM_FieldLoadParallel(benchmark::State& state) {
    LoadWholeField(state, true);
}
void BM_FieldLoadSequential(benchmark::State& state) {
    LoadWholeField(state, false);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    GeneratedField field;
    g_field = &field;
    std::printf("generated field: %d objects x %d series x %d points, %.1f MB of photometry\n",
                kObjects, kSeries, kPoints, field.total_bytes / 1e6);
    benchmark::RegisterBenchmark("PhotometryReader/one_core", BM_PhotometryReaderOneCore)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("FieldLoad/parallel", BM_FieldLoadParallel)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Iterations(3);
    benchmark::RegisterBenchmark("FieldLoad/sequential", BM_FieldLoadSequential)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Iterations(2);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
