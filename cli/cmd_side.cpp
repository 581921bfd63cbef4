// Side texts from the command line: the fit parameters, the object data and the series offsets
// of one object saved to or loaded from a text file, and a list of alternate names applied to
// the whole field; and the levelling of an object's series.
#include <cstdio>
#include <string>

#include "cli/cli.h"
#include "data/series_levelling.h"
#include "data/side_formats.h"

namespace kurvalux_cli {
namespace {

using namespace kurvalux_data;

struct SideAction {
    const char* name;
    SideKind kind;
    bool save;
};

constexpr SideAction kActions[] = {
    {"save-fit", SideKind::kFitParameters, true},
    {"load-fit", SideKind::kFitParameters, false},
    {"save-object", SideKind::kObjectData, true},
    {"load-object", SideKind::kObjectData, false},
    {"save-offsets", SideKind::kSeriesOffsets, true},
    {"load-offsets", SideKind::kSeriesOffsets, false},
};

// The field and the options of a side command, with the field as the first positional word as
// the shared helpers expect it.
Args FieldArgs(const Args& args) {
    Args field_args = args;
    field_args.positional = {args.positional.at(1)};
    return field_args;
}

bool SaveIfAsked(const Args& args, const Args& field_args, const Field& field) {
    if (!args.Flag("save")) {
        std::printf("field not saved (add --save to keep the change)\n");
        return true;
    }
    if (!SaveFieldArgument(field_args, field)) return false;
    std::printf("field saved\n");
    return true;
}

int AlternateNames(const Args& args, const Args& field_args, const std::string& file) {
    Field field;
    if (!LoadFieldArgument(field_args, field)) return 1;
    const int applied = LoadAlternateNamesFile(file, field, Messages());
    if (applied < 0) return 1;
    std::printf("alternate names applied %d\n", applied);
    for (const auto& object : field.objects)
        if (!object->alternate_name.empty())
            std::printf("%s\t%s\n", object->name.c_str(), object->alternate_name.c_str());
    return SaveIfAsked(args, field_args, field) ? 0 : 1;
}

int Side(const Args& args) {
    if (args.positional.size() < 3) {
        std::fprintf(stderr, "usage: kurvalux-cli side ACTION FIELD.kvf --object NAME FILE\n");
        return 2;
    }
    const std::string& action = args.positional[0];
    const std::string& file = args.positional[2];
    const Args field_args = FieldArgs(args);
    if (action == "load-altnames") return AlternateNames(args, field_args, file);
    const SideAction* chosen = nullptr;
    for (const SideAction& a : kActions)
        if (action == a.name) chosen = &a;
    if (!chosen) {
        std::fprintf(stderr,
                     "kurvalux-cli side: unknown action \"%s\" (save-fit, load-fit, "
                     "save-object, load-object, save-offsets, load-offsets, load-altnames)\n",
                     action.c_str());
        return 2;
    }
    if (!args.Has("object")) {
        std::fprintf(stderr, "--object is required\n");
        return 2;
    }
    Field field;
    if (!LoadFieldArgument(field_args, field)) return 1;
    CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return 1;
    if (chosen->save) {
        if (!SaveSideFile(chosen->kind, file, *object, Messages())) return 1;
        std::printf("saved %s of %s to %s\n", SideHeader(chosen->kind), object->name.c_str(),
                    file.c_str());
        return 0;
    }
    SideReadResult result;
    if (!LoadSideFile(chosen->kind, file, *object, FieldPathBases(field_args), Messages(), &result))
        return 1;
    std::printf("loaded %s into %s\n", SideHeader(chosen->kind), object->name.c_str());
    if (chosen->kind == SideKind::kSeriesOffsets) {
        std::printf("offset lines %d matched %d\n", result.offsets_read, result.offsets_matched);
        for (const auto& series : object->series)
            std::printf("%s\t%s\n", FormatNumber(series->FirstTime()).c_str(),
                        FormatNumber(series->offset).c_str());
    } else if (chosen->kind == SideKind::kObjectData) {
        std::printf("series added %d refused %d unavailable %d\n", result.series.series_added,
                    result.series.series_refused, result.series.series_unavailable);
    }
    return SaveIfAsked(args, field_args, field) ? 0 : 1;
}

const CommandRegistrar kSide(
    "side",
    "Save or load an object's fit parameters, object data or series offsets as a text file, or "
    "apply a list of alternate names to the field.",
    &Side,
    {Positional("ACTION",
                "save-fit, load-fit, save-object, load-object, save-offsets, load-offsets or "
                "load-altnames"),
     FieldArgument(), Positional("FILE", "the text file written or read"),
     Text("object", "NAME", "the object (every action but load-altnames)"),
     Flag("save", "save the changed field (the old file kept as .bak)"), RootOption()});

int Level(const Args& args) {
    const std::string by = args.Get("by");
    LevelStatistic statistic;
    if (by == "median")
        statistic = LevelStatistic::kMedian;
    else if (by == "range")
        statistic = LevelStatistic::kRange;
    else if (by == "average")
        statistic = LevelStatistic::kAverage;
    else {
        std::fprintf(stderr, "--by takes median, range or average, not \"%s\"\n", by.c_str());
        return 2;
    }
    Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return 1;
    const LevelResult result = LevelSeries(*object, statistic);
    if (!result.ok) {
        std::fprintf(stderr, "%s\n", result.message.c_str());
        return 1;
    }
    std::printf("levelled by %s onto the series starting %s, level %s (%s)\n",
                LevelStatisticName(statistic), FormatNumber(result.reference->FirstTime()).c_str(),
                FormatNumber(result.reference_level).c_str(),
                object->is_flux ? "flux, factors" : "magnitude, offsets");
    std::printf("series levelled %d", result.levelled);
    if (result.skipped_flux_level)
        std::printf(", skipped %d (no positive flux level)", result.skipped_flux_level);
    std::printf("\nfirst time\tenabled\tlevel\toffset\n");
    for (const auto& series : object->series)
        std::printf("%s\t%s\t%s\t%s\n", FormatNumber(series->FirstTime()).c_str(),
                    series->enabled ? "yes" : "no",
                    FormatNumber(SeriesLevel(*series, statistic)).c_str(),
                    FormatNumber(series->offset).c_str());
    if (!args.Flag("save")) {
        std::printf("field not saved (add --save to keep the change)\n");
        return 0;
    }
    if (!SaveFieldArgument(args, field)) return 1;
    std::printf("field saved\n");
    return 0;
}

const CommandRegistrar kLevel(
    "level",
    "Give each enabled series of an object the offset (flux: the factor) that brings its "
    "median, mid-range or mean onto that of the earliest enabled series.",
    &Level,
    {FieldArgument(), ObjectOption(),
     Required(Text("by", "median|range|average", "the statistic made equal")),
     Flag("save", "save the changed field (the old file kept as .bak)"), RootOption()});

}  // namespace
}  // namespace kurvalux_cli
