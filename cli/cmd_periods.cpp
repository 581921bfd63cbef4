// Period searches from the command line: period-minima (candidate periods from the times of
// an object's minima) and periodogram (the multiharmonic AoV frequency analysis).
#include <cstdio>
#include <string>

#include "analysis/periods/frequency_analysis.h"
#include "analysis/periods/period_from_minima.h"
#include "cli/cli.h"
#include "platform/files.h"

namespace kurvalux_cli {
namespace {

using namespace kurvalux_analysis;

// Reads an optional number option into `value`; false (after a message) when it is not one.
bool OptionalNumber(const Args& args, const char* name, double& value) {
    if (!args.Has(name)) return true;
    std::optional<double> number = args.Number(name);
    if (!number) return false;
    value = *number;
    return true;
}

bool OptionalWorkers(const Args& args, unsigned& workers) {
    if (!args.Has("threads")) return true;
    std::optional<long> count = args.Integer("threads");
    if (!count || *count < 1 || *count > 1024) {
        std::fprintf(stderr, "--threads needs a count from 1 to 1024\n");
        return false;
    }
    workers = static_cast<unsigned>(*count);
    return true;
}

void PrintPeriods(const std::vector<kurvalux_data::CPeriodListElem>& periods,
                  const char* score_name) {
    std::printf("period\t%s\tkey\n", score_name);
    for (const auto& p : periods)
        std::printf("%s\t%s\t%lld\n", FormatNumber(p.period).c_str(),
                    FormatNumber(p.coherence).c_str(), static_cast<long long>(p.key));
}

int PeriodMinima(const Args& args) {
    PeriodFromMinimaOptions options;
    if (!OptionalNumber(args, "pmin", options.min_period) ||
        !OptionalNumber(args, "limit", options.limit) ||
        !OptionalNumber(args, "secondary-phase", options.secondary_phase) ||
        !OptionalWorkers(args, options.threads))
        return 2;
    kurvalux_data::Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    kurvalux_data::CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return 1;
    PeriodCommandResult result = FindPeriodsFromMinimaCommand(*object, options, Messages());
    if (!result.changed) return 1;
    if (args.Flag("refined")) {
        // Each period with the one the minima give when their cycles are counted with the
        // key's best trial period (empty for the current period, which was not searched).
        std::printf("period\tR\tkey\trefined\terror\n");
        for (const auto& p : object->periods)
            std::printf("%s\t%s\t%lld\t%s\t%s\n", FormatNumber(p.period).c_str(),
                        FormatNumber(p.coherence).c_str(), static_cast<long long>(p.key),
                        p.refined > 0 ? FormatNumber(p.refined).c_str() : "",
                        p.refined > 0 ? FormatNumber(p.refined_error).c_str() : "");
    } else {
        PrintPeriods(object->periods, "R");
    }
    return result.found ? 0 : 1;
}

int Periodogram(const Args& args) {
    FrequencyAnalysisOptions options;
    if (!OptionalNumber(args, "pmin", options.min_period) ||
        !OptionalNumber(args, "pmax", options.max_period) ||
        !OptionalNumber(args, "step", options.resolution) ||
        !OptionalWorkers(args, options.workers))
        return 2;
    options.double_periods = args.Flag("double");
    if (args.Has("harmonics")) {
        std::optional<long> harmonics = args.Integer("harmonics");
        if (!harmonics || *harmonics < 1 || *harmonics > kAovMaxHarmonics) {
            std::fprintf(stderr, "--harmonics needs a count from 1 to %d\n", kAovMaxHarmonics);
            return 2;
        }
        options.harmonics = static_cast<int>(*harmonics);
    }
    if (args.Has("kernel")) {
        if (!ParseAovIsa(args.Get("kernel"), options.isa)) {
            std::fprintf(stderr, "--kernel is one of auto, scalar, avx2, avx512\n");
            return 2;
        }
        if (!AovIsaSupported(options.isa)) {
            std::fprintf(stderr, "This processor cannot run the %s kernel\n",
                         AovIsaName(options.isa));
            return 1;
        }
    }
    kurvalux_data::Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    kurvalux_data::CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return 1;

    FrequencyCommandResult result =
        RunFrequencyAnalysisCommand(*object, options, nullptr, FrequencyProgress());
    for (const auto& box : result.messages)
        Messages().Show(box.title, box.lines, box.icon, box.buttons);
    if (!result.found) return 1;

    std::printf("period\tresponse\ttheta\tk\n");
    // The periods as they went into the object's list (doubled when asked).
    for (size_t i = 0; i < result.chosen.size(); ++i) {
        const uint64_t k = result.chosen[i];
        std::printf("%s\t%s\t%s\t%llu\n", FormatNumber(result.offered[i].period).c_str(),
                    FormatNumber(result.offered[i].coherence).c_str(),
                    FormatNumber(result.values[k].theta).c_str(),
                    static_cast<unsigned long long>(k));
    }
    if (args.Has("csv")) {
        std::string text = "period,response,theta\n";
        for (uint64_t k = 0; k < result.values.size(); ++k) {
            text += FormatNumber(result.grid.Period(k));
            text += ',';
            text += FormatNumber(result.values[k].response);
            text += ',';
            text += FormatNumber(result.values[k].theta);
            text += '\n';
        }
        if (!kurvalux_platform::WriteWholeFile(args.Get("csv"), text)) {
            std::fprintf(stderr, "Cannot create file: %s\n", args.Get("csv").c_str());
            return 1;
        }
    }
    return 0;
}

OptionSpec ThreadsOption() {
    return Integer("threads", "N", "worker threads, 1 to 1024 (default: one per processor)");
}

const CommandRegistrar kPeriodMinima(
    "period-minima", "Candidate periods from the times of the object's minima.", &PeriodMinima,
    {FieldArgument(), ObjectOption(),
     Number("pmin", "P", "shortest period tried, days (default 0.1)"),
     Number("limit", "R", "least phase coherence R of a period kept (default 0.999)"),
     Number("secondary-phase", "S", "phase of the secondary minima (default 0.5)"),
     Flag("refined", "add each period fitted to the minima with its error"), ThreadsOption(),
     RootOption()});

const CommandRegistrar kPeriodogram(
    "periodogram", "The multiharmonic analysis-of-variance periodogram of the object's points.",
    &Periodogram,
    {FieldArgument(), ObjectOption(), Required(Number("pmin", "A", "shortest period, days")),
     Required(Number("pmax", "B", "longest period, days")),
     Required(Number("step", "C", "step between the periods tried, days")),
     Flag("double", "print twice the periods found (for eclipsing binaries)"),
     Text("csv", "OUT", "write every period tried with its response and theta to OUT"),
     Integer("harmonics", "N", "harmonics of the model (default 1)"), ThreadsOption(),
     Text("kernel", "auto|scalar|avx2|avx512", "the vector kernel (default auto)"), RootOption()});

}  // namespace
}  // namespace kurvalux_cli
