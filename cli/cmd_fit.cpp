// Fitting subcommands: the time of one minimum (with its bootstrap error), every minimum of an
// object's series, and the sixteen parameters of the phased light curve.
#include <cstdio>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "analysis/fit_all_minima.h"
#include "analysis/fit_points.h"
#include "analysis/minimum_fit.h"
#include "analysis/phase_fit.h"
#include "cli/cli.h"
#include "platform/system.h"

namespace kurvalux_cli {
namespace {

using namespace kurvalux_analysis;

std::vector<std::string> SplitCommas(const std::string& text) {
    std::vector<std::string> parts;
    std::stringstream stream(text);
    std::string part;
    while (std::getline(stream, part, ','))
        if (!part.empty()) parts.push_back(part);
    return parts;
}

void PrintValue(const char* key, double value) {
    std::printf("%s %s\n", key, FormatNumber(value).c_str());
}

// Julian dates with eight decimals (a millisecond), whatever their size.
void PrintTime(const char* key, double jd) {
    std::printf("%s %.8f\n", key, jd);
}

void PrintBox(const FitMessage& message) {
    if (!message.empty())
        Messages().Show(message.title, message.lines, kurvalux_platform::MessageIcon::Error,
                        kurvalux_platform::MessageButtons::Ok);
}

// --processors N and --seed S shared by the subcommands that run the bootstrap.
bool BootstrapArguments(const Args& args, unsigned& processors, uint64_t& seed) {
    processors = 0;
    seed = 0;
    if (args.Has("processors")) {
        auto n = args.Integer("processors");
        if (!n || *n < 1) {
            std::fprintf(stderr, "--processors needs a count of at least 1\n");
            return false;
        }
        processors = unsigned(*n);
    }
    if (args.Has("seed")) {
        auto s = args.Integer("seed");
        if (!s || *s < 1) {
            std::fprintf(stderr, "--seed needs a positive whole number\n");
            return false;
        }
        seed = uint64_t(*s);
    }
    return true;
}

// --series K counts the object's series from 1 in time order.
kurvalux_data::CSeriesTreeElem* SeriesArgument(const Args& args,
                                               kurvalux_data::CObjectListElem& object,
                                               const std::string& value) {
    long k = 0;
    if (!ReadInteger(value, 1, long(object.series.size()), k)) {
        std::fprintf(stderr, "--series must be a number from 1 to %zu (object %s), not \"%s\"\n",
                     object.series.size(), object.name.c_str(), value.c_str());
        return nullptr;
    }
    (void)args;
    return object.series[size_t(k - 1)].get();
}

int FitMin(const Args& args) {
    kurvalux_data::Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    kurvalux_data::CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return 1;
    kurvalux_data::CSeriesTreeElem* series = SeriesArgument(args, *object, args.Get("series"));
    if (!series) return 2;
    auto from = args.Number("from");
    auto to = args.Number("to");
    if (!from || !to) return 2;
    unsigned processors;
    uint64_t seed;
    if (!BootstrapArguments(args, processors, seed)) return 2;
    // --error-method block adds the block bootstrap's error to the case bootstrap's lines.
    const std::string method = args.Get("error-method", "case");
    if (method != "case" && method != "block") {
        std::fprintf(stderr, "--error-method must be case or block, not \"%s\"\n", method.c_str());
        return 2;
    }

    const SeriesPoints points = MagnitudePoints(*series, object->is_flux);
    MinimumFitOptions options;
    options.times = points.times;
    options.values = points.values;
    options.errors = points.errors;
    options.t_start = *from;
    options.t_end = *to;
    if (args.Has("fixed")) {
        options.free.fill(true);
        for (const std::string& name : SplitCommas(args.Get("fixed"))) {
            size_t k = 0;
            while (k < kSingleMinimumParameterNames.size() &&
                   name != kSingleMinimumParameterNames[k])
                ++k;
            if (k == kSingleMinimumParameterNames.size()) {
                std::fprintf(stderr, "--fixed: unknown parameter \"%s\" (names: m0,t0,s,A,D,G,C)\n",
                             name.c_str());
                return 2;
            }
            if (k == kMinTime) std::fprintf(stderr, "note: t0 is always fitted\n");
            options.free[k] = false;
        }
    }
    if (args.Has("start")) {
        const std::vector<std::string> parts = SplitCommas(args.Get("start"));
        if (parts.size() != kSingleMinimumParameterCount) {
            std::fprintf(stderr, "--start needs seven numbers m0,t0,s,A,D,G,C\n");
            return 2;
        }
        for (size_t k = 0; k < parts.size(); ++k) {
            if (!ReadNumber(parts[k], options.start[k])) {
                std::fprintf(stderr, "--start: \"%s\" is not a number\n", parts[k].c_str());
                return 2;
            }
        }
    } else {
        options.start = EstimateMinimumStart(options);
    }

    const MinimumFitResult fit = FitMinimum(options);
    if (!fit.ok) {
        PrintBox(fit.message);
        return 1;
    }
    std::printf("points %d\nstatus %d\n", fit.points, fit.status);
    for (size_t k = 0; k < kSingleMinimumParameterCount; ++k) {
        if (k == kMinTime)
            PrintTime("t0", fit.shown[k]);
        else
            PrintValue(kSingleMinimumParameterNames[k], fit.shown[k]);
    }
    PrintValue("chi2", fit.fit.bestnorm);
    PrintTime("time_of_minimum", fit.time_of_minimum);
    if (!args.Flag("bootstrap")) return 0;

    BootstrapOptions bootstrap;
    bootstrap.fit = options;
    bootstrap.fitted = fit;
    bootstrap.processors = processors;
    bootstrap.seed = seed;
    const BootstrapResult error = EstimateMinimumError(bootstrap);
    if (!error.ok) {
        PrintBox(error.message);
        return 1;
    }
    std::printf("bootstrap_rounds %d\nbootstrap_fits %zu\n", error.rounds_run, error.times.size());
    if (error.has_error)
        PrintValue("error", error.error);
    else
        std::printf("error none (spread of %s d, 1 day or more)\n",
                    FormatNumber(error.error).c_str());
    if (method != "block") return 0;

    const BootstrapResult block = EstimateMinimumBlockError(bootstrap);
    if (!block.ok) {
        PrintBox(block.message);
        return 1;
    }
    std::printf("block_length %d\nblock_bootstrap_fits %zu\n", block.block_length,
                block.times.size());
    if (block.has_error)
        PrintValue("block_error", block.error);
    else
        std::printf("block_error none (spread of %s d, 1 day or more)\n",
                    FormatNumber(block.error).c_str());
    return 0;
}

int FitAll(const Args& args) {
    kurvalux_data::Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    kurvalux_data::CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return 1;
    FitAllMinimaOptions options = FitAllMinimaDefaults(*object);
    if (!BootstrapArguments(args, options.processors, options.seed)) return 2;
    auto branch = args.Integer("min-branch-points");
    if (!branch || *branch < 0) return 2;
    options.min_branch_points = int(*branch);
    if (args.Has("period")) {
        auto period = args.Number("period");
        if (!period) return 2;
        options.period = *period;
    }
    auto non_negative = [&](const char* name, double& target) {
        auto value = args.Number(name);
        if (!value || *value < 0) {
            if (value) std::fprintf(stderr, "--%s must not be negative\n", name);
            return false;
        }
        target = *value;
        return true;
    };
    const bool primary = args.Has("primary"), secondary = args.Has("secondary");
    if (primary || secondary) {
        // The kinds named on the command line; the others are not fitted.
        options.fit_primary = primary;
        options.fit_secondary = secondary;
        if (primary && !non_negative("primary", options.primary_time_around)) return 2;
        if (secondary && !non_negative("secondary", options.secondary_time_around)) return 2;
    } else {
        // As the dialog offers them: the object's stored time ranges.
        options.fit_primary = options.primary_time_around > 0 || options.secondary_time_around == 0;
        options.fit_secondary = options.secondary_time_around > 0;
    }
    if (args.Has("secondary-phase")) {
        auto phase = args.Number("secondary-phase");
        if (!phase) return 2;
        options.secondary_phase = *phase;
    }
    std::vector<size_t> selected;
    if (args.Has("series")) {
        for (const std::string& k : SplitCommas(args.Get("series"))) {
            if (!SeriesArgument(args, *object, k)) return 2;
            long number = 0;
            ReadInteger(k, 1, long(object->series.size()), number);
            selected.push_back(size_t(number - 1));
        }
    } else {
        for (size_t k = 0; k < object->series.size(); ++k) selected.push_back(k);
    }
    Messages().SetAffirmative(args.Flag("yes"));
    const FitAllMinimaResult result = FitAllMinima(*object, selected, options, Messages());
    if (!result.started) return 1;
    for (const FoundMinimum& found : result.found)
        std::printf("minimum series %zu %s %.8f error %s %s\n", found.series_index + 1,
                    found.type == kurvalux_data::kMinimumSecondary ? "secondary" : "primary",
                    found.time, found.has_error ? FormatNumber(found.error).c_str() : "none",
                    found.added ? "added" : "not-added");
    std::printf("windows %d skipped %d failed %d found %zu added %d%s\n", result.windows,
                result.skipped, result.failed, result.found.size(), result.added,
                result.cancelled ? " cancelled" : "");
    if (args.Flag("save") && !SaveFieldArgument(args, field)) return 1;
    return 0;
}

int FitPhase(const Args& args) {
    kurvalux_data::Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    kurvalux_data::CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return 1;
    if (object->m0 == 0 || object->period == 0) {
        std::fprintf(stderr,
                     "Cannot perform parameter fitting: object %s has no ephemeris "
                     "(M0 and period)\n",
                     object->name.c_str());
        return 1;
    }
    PhaseFitOptions options;
    options.points = PhasedCurve(*object, object->m0, object->period);
    options.start = object->fit;
    if (args.Has("free")) {
        options.free.fill(false);
        for (const std::string& name : SplitCommas(args.Get("free"))) {
            size_t k = 0;
            while (k < kurvalux_data::kLightCurveParameterCount &&
                   name != kurvalux_data::kLightCurveParameterKeys[k])
                ++k;
            if (k == kurvalux_data::kLightCurveParameterCount) {
                std::fprintf(stderr, "--free: unknown parameter \"%s\"\n", name.c_str());
                return 2;
            }
            options.free[k] = true;
        }
    }
    const PhaseFitResult result = FitPhaseCurve(options);
    PrintBox(result.ok ? FitMessage{} : result.message);
    if (!result.ok) return 1;
    std::printf("points %d\nstatus %d\n", result.points, result.status);
    for (size_t k = 0; k < kurvalux_data::kLightCurveParameterCount; ++k)
        PrintValue(kurvalux_data::kLightCurveParameterKeys[k], result.parameters[k]);
    PrintValue("initial_chi2", result.initial_chi2);
    PrintValue("final_chi2", result.final_chi2);
    if (args.Flag("save")) {
        object->fit = result.parameters;
        object->has_fit = true;
        if (!SaveFieldArgument(args, field)) return 1;
    }
    return 0;
}

// The options of the subcommands that run the bootstrap.
OptionSpec ProcessorsOption() {
    return Integer("processors", "N",
                   "worker threads of the bootstrap (default: one per processor)");
}
OptionSpec SeedOption() {
    return Integer("seed", "S", "seed of the bootstrap's random draws (default: the clock)",
                   LONG_MIN, LONG_MAX);
}

const char kFitMinNeeds[] = "fit-min needs --series K --from JD --to JD";
const CommandRegistrar kFitMin(
    "fit-min", "Times one minimum: fits the single-minimum model to one series between two times.",
    FitMin,
    {FieldArgument(), ObjectOption(),
     Required(Integer("series", "K", "the series, counted from 1 in time order"), kFitMinNeeds),
     Required(Number("from", "JD", "start of the time window"), kFitMinNeeds),
     Required(Number("to", "JD", "end of the time window"), kFitMinNeeds),
     Text("start", "m0,t0,s,A,D,G,C", "start values of the seven parameters (default: estimated)"),
     Text("fixed", "NAMES",
          "parameters kept at their start values, e.g. s,G (t0 is always fitted)"),
     Flag("bootstrap", "estimate the error of the time of minimum by the bootstrap"),
     Text("error-method", "case|block",
          "with --bootstrap: case resamples the points; block also prints the error of a "
          "moving-block bootstrap of the residuals, honest under correlated noise (default: case)"),
     ProcessorsOption(), SeedOption(), RootOption()});

const CommandRegistrar kFitAllMinima(
    "fit-all-minima",
    "Fits every predicted minimum in the object's series and adds the minima found.", FitAll,
    {FieldArgument(), ObjectOption(),
     Number("primary", "W", "fit primary minima, W days around each (default: the object's)"),
     Number("secondary-phase", "S", "phase of the secondary minimum (default 0.5)"),
     Number("secondary", "W", "fit secondary minima, W days around each"),
     Required(Integer("min-branch-points", "N", "points needed on each side of a minimum", 0),
              "fit-all-minima needs --min-branch-points N"),
     Number("period", "P", "period in days (default: the object's)"),
     Text("series", "K,...", "only these series, counted from 1 in time order (default: all)"),
     Flag("yes", "answer every question with Yes (else Cancel)"),
     Flag("save", "save the field with the minima added"), ProcessorsOption(), SeedOption(),
     RootOption()});

const CommandRegistrar kFitPhase(
    "fit-phase", "Fits the sixteen light-curve parameters to the phased curve of the object.",
    FitPhase,
    {FieldArgument(), ObjectOption(),
     Text("free", "NAMES", "only these parameters are fitted, e.g. mag0,a_pri (default: all)"),
     Flag("save", "store the fitted parameters in the object and save the field"), RootOption()});

}  // namespace
}  // namespace kurvalux_cli
