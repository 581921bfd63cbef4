// The JSON document model on a large repository answer: an object list of 20 object records,
// each with 25 series of 2,300 points sent as "data" strings (about 50 MB of text as the
// writer lays it out), generated when the benchmark starts. Reports the parser's and the
// writer's throughput on one core.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <random>
#include <string>

#include "json/json.h"

namespace {

constexpr int kObjects = 20, kSeries = 25, kPoints = 2300;

void AddObjectRecord(sjson::CJSON& doc, int object, std::mt19937_64& random) {
    std::normal_distribution<double> noise(0.0, 0.01);
    doc.AppendRecord();
    const std::string number = std::to_string(object);
    doc.AddString("token", std::string("obj") + number);
    doc.AddString("name", std::string("V1") + number + " Cyg");
    doc.AddString("alt_name", std::string("GSC 03149-0") + number);
    doc.AddString("comment", "Eclipsing binary observed from the backyard");
    doc.AddString("var_type", "EA");
    doc.AddReal("m0", 2459000.123456 + object);
    doc.AddReal("period", 0.3 + 0.01 * object);
    doc.AddReal("ra", 5.1 + 0.01 * object);
    doc.AddReal("dec", 0.7);
    doc.AddArray("notes");
    doc.AppendString("Observed with a 200 mm reflector and a V filter.");
    doc.Leave();
    doc.AddArray("series");
    char line[96];
    for (int s = 0; s < kSeries; ++s) {
        doc.AppendRecord();
        doc.AddInteger("file_time", 133000000000000000LL + s);
        doc.AddInteger("var_aperture", 6);
        doc.AddInteger("cmp_aperture", 6);
        doc.AddInteger("chk_aperture", 6);
        doc.AddInteger("jd_type", 2);
        doc.AddString("brightness_unit", "mag");
        doc.AddString("filter", "V");
        doc.AddArray("minima");
        doc.AppendRecord();
        doc.AddReal("jd", 2459000.4 + 3.0 * s);
        doc.AddReal("error", 0.0002);
        doc.AddString("type", "primary");
        doc.Leave();
        doc.Leave();
        doc.AddArray("data");
        const double start = 2459000.3 + 3.0 * s + 0.001 * object;
        for (int i = 0; i < kPoints; ++i) {
            const double t = start + i * 0.0001;
            std::snprintf(line, sizeof line, "%.8f %.5f %.5f", t,
                          12.0 + 0.3 * std::sin(t * 20.0) + noise(random), 0.01 + 0.001 * (i % 7));
            doc.AppendString(line);
        }
        doc.Leave();  // data
        doc.Leave();  // the series record
    }
    doc.Leave();  // series
    doc.Leave();  // the object record
}

std::string GenerateAnswer() {
    sjson::CJSON doc;
    doc.Reset(false);
    doc.AddString("status", "ok");
    doc.AddArray("objects");
    std::mt19937_64 random(42);
    for (int o = 0; o < kObjects; ++o) AddObjectRecord(doc, o, random);
    kurvalux_platform::CTextBuffer out;
    doc.Write(out, sjson::kWritePretty);
    return out.Release();
}

const std::string* g_answer = nullptr;

void BM_Parse(benchmark::State& state, bool include_free) {
    for (auto _ : state) {
        auto doc = std::make_unique<sjson::CJSON>();
        sjson::CJSONSource source(*g_answer);
        if (!doc->Parse(source)) state.SkipWithError("the generated answer did not parse");
        if (include_free) {
            doc.reset();
        } else {
            state.PauseTiming();
            doc.reset();
            state.ResumeTiming();
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_answer->size()));
}

// Into a fresh buffer each time (as a request body is written), or into one kept from the
// previous round (the writer's own work without the growth of the buffer).
void BM_Write(benchmark::State& state, bool fresh_buffer) {
    sjson::CJSON doc;
    sjson::CJSONSource source(*g_answer);
    if (!doc.Parse(source)) state.SkipWithError("the generated answer did not parse");
    uint64_t bytes = 0;
    kurvalux_platform::CTextBuffer kept;
    for (auto _ : state) {
        kurvalux_platform::CTextBuffer fresh;
        kurvalux_platform::CTextBuffer& out = fresh_buffer ? fresh : kept;
        out.ClearKeepingCapacity();
        doc.Write(out, sjson::kWritePretty);
        bytes += out.Length();
        if (out.Length() != g_answer->size()) state.SkipWithError("written text differs in size");
        benchmark::DoNotOptimize(out.Text().data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const std::string answer = GenerateAnswer();
    g_answer = &answer;
    std::printf("generated repository answer: %d objects x %d series x %d points, %.1f MB\n",
                kObjects, kSeries, kPoints, answer.size() / 1e6);
    benchmark::RegisterBenchmark("Json/parse", BM_Parse, false)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("Json/parse_and_free", BM_Parse, true)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("Json/write", BM_Write, true)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("Json/write_kept_buffer", BM_Write, false)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
