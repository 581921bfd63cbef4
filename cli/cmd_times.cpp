// kurvalux-cli times: every minimum of an object in BJD_TDB, HJD_UTC or JD_UTC, computed from
// the stored time and the time standard of the series it was timed on.
#include <cstdio>

#include "cli/cli.h"
#include "data/settings.h"
#include "time/minimum_times.h"

namespace kurvalux_cli {
namespace {

using namespace kurvalux_time;

const char* TypeName(uint32_t type) {
    return type == kurvalux_data::kMinimumPrimary     ? "primary"
           : type == kurvalux_data::kMinimumSecondary ? "secondary"
                                                      : "undefined";
}

std::string Fixed8(double value) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.8f", value);
    return buffer;
}

int Times(const Args& args) {
    const std::optional<TimeStandard> to = ParseTimeStandard(args.Get("to"));
    if (!to) {
        std::fprintf(stderr, "--to takes bjd_tdb, hjd_utc or jd_utc\n");
        return 2;
    }
    kurvalux_data::Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    kurvalux_data::CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return 1;
    std::optional<Site> site;
    kurvalux_data::Settings settings;
    if (kurvalux_data::LoadSettings(kurvalux_data::DefaultSettingsPath(), settings))
        site = Site{settings.longitude, settings.latitude, 0.0};
    const std::vector<MinimumTime> times = MinimumTimes(*object, *to, site);
    double ra, dec;
    if (!object->Coordinates(ra, dec))
        std::printf("no coordinates: only times already in %s are given\n", TimeStandardName(*to));
    std::printf("type\terror\tstored\tstored standard\t%s\n", TimeStandardName(*to));
    int failed = 0;
    for (const MinimumTime& m : times) {
        std::string stored = m.stored ? TimeStandardName(*m.stored) : "unknown";
        if (m.short_formula) stored += " (field formula)";
        std::printf("%s\t%s\t%.8f\t%s\t%s\n", TypeName(m.minimum.type),
                    FormatNumber(m.minimum.error).c_str(), m.minimum.time, stored.c_str(),
                    m.converted ? Fixed8(*m.converted).c_str() : "-");
        failed += !m.converted;
    }
    std::printf("minima %zu converted %zu\n", times.size(), times.size() - failed);
    return 0;
}

const CommandRegistrar kTimes(
    "times",
    "Every minimum of an object in BJD_TDB, HJD_UTC or JD_UTC, from its stored time and its "
    "series' time standard.",
    &Times,
    {FieldArgument(), ObjectOption(),
     Required(Text("to", "bjd_tdb|hjd_utc|jd_utc", "the time standard to give")), RootOption()});

}  // namespace
}  // namespace kurvalux_cli
