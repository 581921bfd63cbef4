// The table export and the observation sheet of a large field: 10,000 objects with 4
// comparison stars each, observed over 40 nights. Targets on the project machine: the table
// with every option at most 0.5 s, the sheet at most 0.3 s.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "../bench/report_fields.h"
#include "export/csv_export.h"
#include "platform/message_box.h"
#include "sheet/observation_sheet.h"

namespace {

kurvalux_data::Field& SharedField() {
    static kurvalux_data::Field field = [] {
        kurvalux_data::Field f;
        MakeBenchField(f, 10000, 4, 40, 4, 10);
        return f;
    }();
    return field;
}

void BM_CsvAllOptions10kObjects(benchmark::State& state) {
    auto& field = SharedField();
    kurvalux_export::CsvOptions o = kurvalux_export::CsvOptions::FromBits(15);
    const std::string path =
        (std::filesystem::temp_directory_path() / "kurvalux_bench_field.csv").string();
    kurvalux_platform::CRecordingMessageBoxSink messages;
    for (auto _ : state)
        benchmark::DoNotOptimize(kurvalux_export::ExportCsv(field, path, o, messages));
    std::filesystem::remove(path);
}
BENCHMARK(BM_CsvAllOptions10kObjects)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_SheetBuild10kObjects(benchmark::State& state) {
    auto& field = SharedField();
    for (auto _ : state) {
        kurvalux_sht::CObservationSheet sheet;
        sheet.Build(field);
        benchmark::DoNotOptimize(sheet.NightCount());
    }
}
BENCHMARK(BM_SheetBuild10kObjects)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
