// kurvalux-cli export, sheet and copy-info: the reports of the desktop program from the
// command line, every option of their dialogs as a flag, so that scripts (and the tests)
// reach every export.
#include <cstdio>
#include <string>

#include "cli/cli.h"
#include "data/settings.h"
#include "export/copy_info.h"
#include "export/csv_export.h"
#include "export/html_export.h"
#include "export/minima_export.h"
#include "export/series_export.h"
#include "export/summaries.h"
#include "sheet/observation_sheet.h"

#ifdef KURVALUX_HAVE_IMG
#include "img/png_image_writer.h"
#endif

namespace kurvalux_cli {
namespace {

using kurvalux_data::CObjectListElem;
using kurvalux_data::Field;

// Options that belong to one kind of export only; any other kind refuses them.
struct KindOptions {
    const char* kind;
    std::vector<std::string> own;
};

const std::vector<KindOptions>& OwnOptions() {
    static const std::vector<KindOptions> table = {
        {"csv", {"var", "cmp", "chk", "observing"}},
        {"html",
         {"prefer-alt", "type", "ephemeris", "mags", "coords", "catalog", "catalog-mag", "colors",
          "thumbs", "images", "prefix", "threads"}},
        {"minima", {}},
        {"oc", {}},
        {"series", {"kind"}},
        {"etv", {}},
    };
    return table;
}

bool ParseSize(const std::string& text, int& width, int& height) {
    const size_t comma = text.find(',');
    long w = 0, h = 0;
    if (comma == std::string::npos || !ReadInteger(text.substr(0, comma), 1, 30000, w) ||
        !ReadInteger(text.substr(comma + 1), 1, 30000, h))
        return false;
    width = static_cast<int>(w);
    height = static_cast<int>(h);
    return true;
}

int ExportHtmlCommand(const Args& args, const Field& field, const std::string& out) {
    kurvalux_export::HtmlOptions o;
    o.prefer_alt = args.Flag("prefer-alt");
    o.type = args.Flag("type");
    o.ephemeris = args.Flag("ephemeris");
    o.mags = args.Flag("mags");
    o.coords = args.Flag("coords");
    o.catalog = args.Flag("catalog");
    o.catalog_mag = args.Flag("catalog-mag");
    o.colors = args.Flag("colors");
    o.prefix = args.Get("prefix");
    if (args.Has("thumbs")) {
        o.thumbs = true;
        if (!ParseSize(args.Get("thumbs"), o.thumb_width, o.thumb_depth)) {
            std::fprintf(stderr, "--thumbs needs W,H in pixels (1 to 30000), e.g. 240,160\n");
            return 2;
        }
    }
    if (args.Has("images")) {
        o.images = true;
        if (!ParseSize(args.Get("images"), o.image_width, o.image_depth)) {
            std::fprintf(stderr, "--images needs W,H in pixels (1 to 30000), e.g. 1200,800\n");
            return 2;
        }
    }
    unsigned threads = 0;
    if (args.Has("threads")) {
        auto t = args.Integer("threads");
        if (!t) return 2;
        threads = static_cast<unsigned>(*t);
    }
    kurvalux_data::Settings settings;
    kurvalux_data::LoadSettings(kurvalux_data::DefaultSettingsPath(), settings);
    kurvalux_export::CImageWriter* writer = nullptr;
#ifdef KURVALUX_HAVE_IMG
    kurvalux_img::CPngImageWriter png;
    writer = &png;
#else
    if (o.AnyImages()) {
        std::fprintf(stderr, "Images need the Qt build of kurvalux-cli\n");
        return 2;
    }
#endif
    const auto result = kurvalux_export::ExportHtml(
        field, out, kurvalux_export::FieldNameOfPath(args.positional[0]), o, &settings.filters,
        writer, Messages(), {}, threads);
    if (!result.ok) return 1;
    for (const std::string& file : result.files) std::printf("file %s\n", file.c_str());
    return 0;
}

int Export(const Args& given) {
    const std::string kind = given.positional.at(0);
    const KindOptions* own = nullptr;
    for (const KindOptions& k : OwnOptions())
        if (kind == k.kind) own = &k;
    if (!own) {
        std::fprintf(stderr, "Unknown export \"%s\": csv, html, minima, oc, series or etv\n",
                     kind.c_str());
        return 2;
    }
    for (const KindOptions& k : OwnOptions()) {
        if (&k == own) continue;
        for (const std::string& name : k.own) {
            bool mine = false;
            for (const std::string& n : own->own) mine = mine || n == name;
            if (!mine && (given.Flag(name) || given.Has(name))) {
                std::fprintf(stderr, "--%s does not belong to export %s\n", name.c_str(),
                             kind.c_str());
                return 2;
            }
        }
    }
    Args args = given;
    args.positional.erase(args.positional.begin());
    if (args.positional.empty()) {
        std::fprintf(stderr, "kurvalux-cli export %s: no field file given\n", kind.c_str());
        return 2;
    }
    const std::string out = args.Get("out");
    const bool needs_object = kind == "oc" || kind == "series" || kind == "etv";
    if (needs_object && !args.Has("object")) {
        std::fprintf(stderr, "export %s needs --object NAME\n", kind.c_str());
        return 2;
    }
    kurvalux_export::SeriesExportKind series_kind = kurvalux_export::SeriesExportKind::kTime;
    if (kind == "series" &&
        !kurvalux_export::ParseSeriesExportKind(args.Get("kind", "time"), series_kind)) {
        std::fprintf(stderr,
                     "Unknown series kind \"%s\": time, phased, phased-time, minus-fit or "
                     "individual-minus-fit\n",
                     args.Get("kind").c_str());
        return 2;
    }
    const bool individual =
        kind == "series" && series_kind == kurvalux_export::SeriesExportKind::kIndividualMinusFit;
    if (out.empty() && !individual) {
        std::fprintf(stderr, "export %s needs --out FILE\n", kind.c_str());
        return 2;
    }

    Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    CObjectListElem* object = nullptr;
    if (args.Has("object")) {
        object = FindObjectArgument(args, field);
        if (!object) return 1;
    }
    bool ok = false;
    if (kind == "csv") {
        kurvalux_export::CsvOptions o;
        o.var = args.Flag("var");
        o.cmp = args.Flag("cmp");
        o.chk = args.Flag("chk");
        o.observing = args.Flag("observing");
        ok = kurvalux_export::ExportCsv(field, out, o, Messages());
    } else if (kind == "html") {
        return ExportHtmlCommand(args, field, out);
    } else if (kind == "minima") {
        ok = object ? kurvalux_export::ExportObjectMinima(*object, out, Messages())
                    : kurvalux_export::ExportMinimaList(field, out, Messages());
    } else if (kind == "oc") {
        ok = kurvalux_export::ExportOCList(*object, out, Messages());
    } else if (kind == "etv") {
        ok = kurvalux_export::ExportEtv(*object, out, Messages());
    } else if (individual) {
        // The "Save Series - Fit" dialog's choices as the object keeps them, --out giving a
        // common new file name.
        kurvalux_export::IndividualExportOptions o;
        o.use_new_name = !out.empty() || object->use_export_fit_name;
        o.new_name = out.empty() ? object->export_fit_name : out;
        o.prefix = object->export_fit_prefix;
        o.postfix = object->export_fit_postfix;
        o.overwrite = args.Flag("yes");
        const auto result = kurvalux_export::ExportIndividualMinusFit(*object, o, Messages());
        for (const std::string& file : result.written) std::printf("file %s\n", file.c_str());
        for (const std::string& file : result.skipped) std::printf("skipped %s\n", file.c_str());
        return result.ok ? 0 : 1;
    } else {
        ok = kurvalux_export::ExportSeries(*object, series_kind, out, Messages());
    }
    if (!ok) return 1;
    std::printf("file %s\n", out.c_str());
    return 0;
}

int Sheet(const Args& args) {
    Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    kurvalux_sht::CObservationSheet sheet;
    sheet.Build(field);
    if (!args.Flag("csv")) {
        std::fputs(sheet.ToTabText().c_str(), stdout);
        return 0;
    }
    // The same columns separated by ";" for a spreadsheet.
    std::string text = sheet.ToTabText();
    for (char& c : text)
        if (c == '\t') c = ';';
    std::fputs(text.c_str(), stdout);
    return 0;
}

int CopyInfo(const Args& args) {
    Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return 1;
    std::string mask;
    if (args.Has("mask")) {
        mask = args.Get("mask");
    } else {
        kurvalux_data::Settings settings;
        kurvalux_data::LoadSettings(kurvalux_data::DefaultSettingsPath(), settings);
        mask = kurvalux_export::EffectiveCopyInfoMask(settings.copy_data_mask);
    }
    std::fputs(kurvalux_export::SubstituteCopyInfo(
                   mask, kurvalux_export::FieldNameOfPath(args.positional[0]), *object)
                   .c_str(),
               stdout);
    return 0;
}

const CommandRegistrar kExport(
    "export",
    "Exports the field: csv (table), html (page with light-curve images), minima (list of all "
    "objects or one), oc (O-C list of an object), series (an object's photometry), etv "
    "(cycle, O-C, error, kind per minimum).",
    Export,
    {Positional("KIND", "csv, html, minima, oc, series or etv"),
     FieldArgument(),
     Text("out", "FILE", "the file to write (series individual-minus-fit: a common new name)"),
     Text("object", "NAME", "the object (minima: only its minima; oc, series, etv: required)"),
     Flag("var", "csv: Include VAR meta-data"),
     Flag("cmp", "csv: Include CMP meta-data"),
     Flag("chk", "csv: Include CHK meta-data"),
     Flag("observing", "csv: Include observing table (one column per night)"),
     Flag("prefer-alt", "html: Prefer Alternate Name"),
     Flag("type", "html: Include Variability Type"),
     Flag("ephemeris", "html: Include M0 and Period"),
     Flag("mags", "html: Include Max. and Min. Mag"),
     Flag("coords", "html: Include Coordinates"),
     Flag("catalog", "html: Include Catalog"),
     Flag("catalog-mag", "html: Include catalogue magnitude"),
     Flag("colors", "html: Include Color Indexes"),
     Text("thumbs", "W,H", "html: Generate Light Curve Thumbs of this size"),
     Text("images", "W,H", "html: Generate Light Curves Images of this size"),
     Text("prefix", "TEXT", "html: Path Prefix of Images in HTML"),
     Integer("threads", "N", "html: draw the images on N threads (default: every processor)", 1,
             256),
     Text("kind", "time|phased|phased-time|minus-fit|individual-minus-fit",
          "series: which series export (default time)"),
     Flag("yes", "series individual-minus-fit: overwrite existing files"),
     RootOption()});

const CommandRegistrar kSheet(
    "sheet",
    "Prints the observation sheet: the objects' data columns and one column per night, "
    "tab-separated, \"x\" for an observed night.",
    Sheet,
    {FieldArgument(), Flag("csv", "separate the columns with \";\" instead of TAB"), RootOption()});

const CommandRegistrar kCopyInfo(
    "copy-info",
    "Prints the copy-info mask filled with the object's data (the mask of the settings unless "
    "--mask is given).",
    CopyInfo,
    {FieldArgument(), ObjectOption(), Text("mask", "TEXT", "the mask to fill"), RootOption()});

}  // namespace
}  // namespace kurvalux_cli
