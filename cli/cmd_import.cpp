// kurvalux-cli import: a foreign photometry file (AAVSO Extended, AAVSO exoplanet report,
// measurement table, plain columns, TESS or Kepler light-curve FITS) becomes photometry files of
// the program's own format beside the object's other files, added to the object as series.
#include <cstdio>
#include <filesystem>
#include <string>

#include "cli/cli.h"
#include "data/import/photometry_import.h"
#include "data/settings.h"

namespace kurvalux_cli {
namespace {

using namespace kurvalux_data;

int Import(const Args& args) {
    ImportOptions options;
    options.star = args.Get("star");
    options.filter = args.Get("filter");
    options.column = args.Get("column");
    options.time_column = args.Get("time-column");
    if (args.Has("time-kind")) {
        options.time_kind = ParseTimeKind(args.Get("time-kind"));
        if (!options.time_kind) {
            std::fprintf(stderr, "--time-kind takes jd, mjd, hjd, bjd_tdb, btjd or bkjd\n");
            return 2;
        }
    }
    double gap_hours = 0;
    if (args.Has("split-gap")) {
        const auto gap = args.Number("split-gap");
        if (!gap || *gap <= 0) {
            std::fprintf(stderr, "--split-gap takes a positive number of hours\n");
            return 2;
        }
        gap_hours = *gap;
    }
    Args field_args = args;
    field_args.positional = {args.Get("field")};
    Field field;
    if (!LoadFieldArgument(field_args, field)) return 1;
    CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return 1;

    const std::string& file = args.positional.at(0);
    ImportResult result = ImportPhotometryFile(file, options);
    if (!result.ok) {
        std::fprintf(stderr, "Cannot import %s: %s\n", file.c_str(), result.message.c_str());
        return 1;
    }
    std::string star_message;
    if (!ChooseImportedStar(result, object->name, args.Has("star"), star_message)) {
        std::fprintf(stderr, "%s\n", star_message.c_str());
        return 1;
    }
    std::printf("format %s\n", ImportFormatName(result.format));

    AddImportOptions add;
    add.source_name = std::filesystem::path(file).filename().string();
    add.folder = ImportFolder(*object, FieldPathBases(field_args).field_folder);
    // Space photometry was taken from the spacecraft, not at the observer's site.
    const bool space = result.format == ImportFormat::kFits ||
                       options.time_kind == TimeKind::kBtjd || options.time_kind == TimeKind::kBkjd;
    if (!space) {
        Settings settings;
        if (LoadSettings(DefaultSettingsPath(), settings))
            add.site = kurvalux_time::Site{settings.longitude, settings.latitude, 0.0};
    }
    int added = 0;
    std::vector<std::string> written;
    std::vector<ImportedSeries> parts;
    for (const ImportedSeries& whole : result.series) {
        const std::vector<ImportedSeries> orbits =
            args.Flag("split-orbits") ? SplitAtOrbitGap(whole) : std::vector<ImportedSeries>{whole};
        for (const ImportedSeries& orbit : orbits)
            for (ImportedSeries& part : SplitAtGaps(orbit, gap_hours))
                parts.push_back(std::move(part));
    }
    for (const ImportedSeries& part : parts) {
        const AddedSeries a = AddImportedSeries(part, *object, add);
        if (!a.ok) {
            std::fprintf(stderr, "Series of %s %s not added: %s\n", part.star.c_str(),
                         part.filter.c_str(), a.message.c_str());
            continue;
        }
        ++added;
        written.push_back(a.path);
        const bool helio =
            a.series->file_meta_data.jd_type == kJdHeliocentric || a.series->hjd_converted;
        std::printf("series %s filter %s points %zu first %s last %s standard %s%s file %s\n",
                    part.star.empty() ? object->name.c_str() : part.star.c_str(),
                    part.filter.empty() ? "-" : part.filter.c_str(), a.series->Count(),
                    FormatNumber(a.series->FirstTime()).c_str(),
                    FormatNumber(a.series->LastTime()).c_str(), helio ? "HJD_UTC" : "JD_UTC",
                    a.converted.empty() ? "" : " (converted from BJD_TDB)", a.path.c_str());
    }
    for (const auto& [reason, count] : result.skipped)
        std::printf("skipped %d: %s\n", count, reason.c_str());
    if (added == 0) return 1;
    if (!args.Flag("save")) {
        // A trial run: nothing is left behind.
        for (const std::string& path : written) std::filesystem::remove(path);
        std::printf("field not saved and files not kept (add --save to keep the series)\n");
        return 0;
    }
    if (!SaveFieldArgument(field_args, field)) return 1;
    std::printf("field saved\n");
    return 0;
}

const CommandRegistrar kImport(
    "import",
    "Import a photometry file of another program (AAVSO Extended, AAVSO exoplanet report, "
    "measurement table, plain columns, TESS or Kepler light-curve FITS) as series of an object; "
    "the file is recognised by its content.",
    &Import,
    {Positional("FILE", "the file to import"),
     Required(Text("field", "FIELD.kvf", "the field description file")), ObjectOption(),
     Text("star", "NAME", "AAVSO Extended: the star to take (default: the object's name)"),
     Text("filter", "F",
          "AAVSO reports: only this filter; other files: the filter name given to the series"),
     Text("column", "NAME",
          "measurement tables: the target (T1, rel_flux_T2, Source-Sky_T1); FITS: the flux "
          "column (PDCSAP_FLUX, SAP_FLUX)"),
     Text("time-column", "NAME", "measurement tables: the time column (default BJD_TDB)"),
     Text("time-kind", "jd|mjd|hjd|bjd_tdb|btjd|bkjd", "plain columns: how times are counted"),
     Number("split-gap", "HOURS", "split series at gaps longer than HOURS"),
     Flag("split-orbits", "split a TESS sector at its orbit gap (the largest gap, if over 12 h)"),
     Flag("save", "save the field with the new series (the old file kept as .bak)"), RootOption()});

}  // namespace
}  // namespace kurvalux_cli
