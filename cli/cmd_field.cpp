// Field-level subcommands: statistics and a load/save round trip.
#include <cstdio>

#include "cli/cli.h"
#include "data/field_statistics.h"

namespace kurvalux_cli {
namespace {

int Stats(const Args& args) {
    kurvalux_data::Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    const auto statistics = kurvalux_data::ComputeFieldStatistics(field, args.Flag("short"));
    for (const std::string& line : kurvalux_data::FieldStatisticsLines(statistics))
        std::printf("%s\n", line.c_str());
    return 0;
}

int Save(const Args& args) {
    if (args.positional.size() != 2) {
        std::fprintf(stderr, "usage: kurvalux-cli save IN.kvf OUT.kvf [--root DIR]\n");
        return 2;
    }
    kurvalux_data::Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    return kurvalux_data::SaveField(args.positional[1], field, Messages()) ? 0 : 1;
}

const CommandRegistrar stats(
    "stats", "Prints the field statistics: objects, series, minima, points, nights, hours.", Stats,
    {FieldArgument(), Flag("short", "count only series shorter than one day (no survey data)"),
     RootOption()});
const CommandRegistrar save("save", "Loads a field and saves it again (a round trip).", Save,
                            {Positional("IN.kvf", "the field to read"),
                             Positional("OUT.kvf", "the field file to write"), RootOption()});

}  // namespace
}  // namespace kurvalux_cli
