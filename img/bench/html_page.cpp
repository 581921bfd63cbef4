// The HTML page export of 200 objects with 2,500 points each, every object drawn as a
// 1200 x 800 image and a 240 x 160 thumbnail. Target on the project machine (two cores): at
// most 6 s with a worker per processor; the single-worker time is reported beside it.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "../bench/report_fields.h"
#include "export/html_export.h"
#include "img/png_image_writer.h"
#include "platform/message_box.h"
#include "platform/system.h"

namespace {

kurvalux_data::Field& SharedField() {
    static kurvalux_data::Field field = [] {
        kurvalux_data::Field f;
        MakeBenchField(f, 200, 2, 20, 5, 500);  // 5 series x 500 points = 2,500 per object
        return f;
    }();
    return field;
}

void BM_HtmlPage200Objects(benchmark::State& state) {
    auto& field = SharedField();
    const unsigned threads = state.range(0) ? static_cast<unsigned>(state.range(0))
                                            : kurvalux_platform::ProcessorCount();
    const auto folder = std::filesystem::temp_directory_path() / "kurvalux_bench_page";
    std::filesystem::create_directories(folder);
    kurvalux_img::CPngImageWriter writer;
    kurvalux_export::HtmlOptions o = kurvalux_export::HtmlOptions::FromBits(0xFF);
    o.thumbs = true;
    o.images = true;
    o.image_width = 1200;
    o.image_depth = 800;
    o.thumb_width = 240;
    o.thumb_depth = 160;
    kurvalux_platform::CRecordingMessageBoxSink messages;
    size_t images = 0;
    for (auto _ : state) {
        const auto result =
            kurvalux_export::ExportHtml(field, (folder / "page.html").string(), "Bench", o, nullptr,
                                        &writer, messages, {}, threads);
        images = result.images;
    }
    state.counters["threads"] = threads;
    state.counters["images"] = static_cast<double>(images);
    std::filesystem::remove_all(folder);
}
// 0: a worker per processor; 1: one worker.
BENCHMARK(BM_HtmlPage200Objects)->Arg(0)->Arg(1)->Unit(benchmark::kSecond)->Iterations(2);

}  // namespace

BENCHMARK_MAIN();
