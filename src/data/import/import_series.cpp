// An imported series becomes a photometry file of the program's own format beside the
// object's other files, then a series read from that file exactly as a field load reads it.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "data/heliocentric.h"
#include "data/import/photometry_import.h"
#include "data/photometry.h"
#include "platform/files.h"
#include "platform/text.h"

namespace kurvalux_data {
namespace {

using kurvalux_time::TimeStandard;

std::string Fixed(double value, int decimals) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    return buffer;
}

// A name for a header value: quoted (names hold blanks), quotes dropped.
std::string HeaderName(const std::string& name, size_t capacity) {
    std::string out;
    for (char c : name)
        if (c != '"' && c != '\r' && c != '\n') out += c;
    return "\"" + kurvalux_platform::Cut(out, capacity) + "\"";
}

// A file-name part: letters, digits, "-" and "_" kept, the rest "_".
std::string FileNamePart(const std::string& text) {
    std::string out;
    for (char c : text) {
        const bool keep = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                          (c >= '0' && c <= '9') || c == '-' || c == '_';
        out += keep ? c : '_';
    }
    return out;
}

std::string UnusedPath(const std::string& folder, const std::string& stem) {
    std::string path = folder + stem + ".txt";
    for (int k = 2; kurvalux_platform::FileExists(path); ++k)
        path = folder + stem + "_" + std::to_string(k) + ".txt";
    return path;
}

}  // namespace

bool ImportedPhotometryText(const ImportedSeries& series, const CObjectListElem& object,
                            const AddImportOptions& options, std::string& text,
                            std::string& converted, std::string& message) {
    double ra = series.ra, dec = series.dec;
    if (ra == kUnknownRa || dec == kUnknownDec) object.Coordinates(ra, dec);
    const bool known = ra != kUnknownRa && dec != kUnknownDec;
    std::vector<double> times = series.times;
    converted.clear();
    if (series.standard == TimeStandard::kBjdTdb) {
        if (!known) {
            message =
                "BJD_TDB times need the star's coordinates to be put on the field's "
                "heliocentric axis: give the object its R.A. and Dec. first";
            return false;
        }
        // To JD_UTC at the observer by ERFA (leap seconds, TDB, the barycentre), then to
        // HJD_UTC by the formula the field applies to every geocentric series, so that this
        // series and those share one axis.
        const StarDirection direction(ra, dec);
        for (double& t : times) {
            const auto utc = kurvalux_time::ConvertTime(
                t, TimeStandard::kBjdTdb, TimeStandard::kJdUtc, {ra, dec}, options.site);
            if (!utc) {
                message = "Time " + Fixed(t, 6) + " is before 1960: no UTC to convert to";
                return false;
            }
            t = HeliocentricJD(*utc, direction);
        }
        converted = "BJD_TDB to HJD_UTC";
    }
    std::string out;
    out += "# Imported from " + options.source_name + "\r\n";
    if (!converted.empty())
        out +=
            "# Times converted from BJD_TDB to HJD_UTC (UTC and the barycentre by ERFA, "
            "the Sun by the field's heliocentric formula)\r\n";
    const bool geocentric = series.standard == TimeStandard::kJdUtc;
    out += geocentric ? "JD: GEOCENTRIC\r\n" : "JD: HELIOCENTRIC\r\n";
    out += series.unit == kUnitFlux ? "UNIT: FLUX\r\n" : "UNIT: MAGNITUDE\r\n";
    if (!series.filter.empty())
        out += "FILTER: " + HeaderName(series.filter, kFilterCapacity) + "\r\n";
    std::string var = "VAR NAME: " + HeaderName(series.star.empty() ? object.name : series.star,
                                                kStarNameCapacity);
    if (known)
        var += " RA: " + kurvalux_platform::FormatRaSexagesimal(ra) +
               " DEC: " + kurvalux_platform::FormatDecSexagesimal(dec);
    out += var + "\r\n";
    for (size_t i = 0; i < series.comparison.size() && i < kMaxReferenceStars; ++i)
        out += "CMP" + std::to_string(i) +
               " NAME: " + HeaderName(series.comparison[i], kStarNameCapacity) + "\r\n";
    for (size_t i = 0; i < series.check.size() && i < kMaxReferenceStars; ++i)
        out += "CHK" + std::to_string(i) +
               " NAME: " + HeaderName(series.check[i], kStarNameCapacity) + "\r\n";
    const int value_decimals = series.unit == kUnitFlux ? 9 : 6;
    for (size_t i = 0; i < times.size(); ++i)
        out += Fixed(times[i], 8) + " " + Fixed(series.values[i], value_decimals) + " " +
               Fixed(series.errors[i], value_decimals) + "\r\n";
    text = std::move(out);
    return true;
}

AddedSeries AddImportedSeries(const ImportedSeries& series, CObjectListElem& object,
                              const AddImportOptions& options) {
    AddedSeries added;
    std::string text;
    if (!ImportedPhotometryText(series, object, options, text, added.converted, added.message))
        return added;
    std::string stem = FileNamePart(std::filesystem::path(options.source_name).stem().string());
    if (!series.star.empty()) stem += "_" + FileNamePart(series.star);
    if (!series.filter.empty()) stem += "_" + FileNamePart(series.filter);
    added.path = UnusedPath(options.folder, stem);
    if (!kurvalux_platform::WriteWholeFile(added.path, text)) {
        added.message = "Cannot create file " + added.path;
        return added;
    }
    auto local = std::make_unique<CLocalSeriesTreeElem>();
    local->absolute_path = added.path;
    // The relative path is worked out from the absolute one when the file is found.
    std::string error, path;
    PathBases bases;
    bases.field_folder = options.folder;
    if (!LoadSeriesData(*local, bases, error, path)) {
        kurvalux_platform::RemoveFile(added.path);
        added.message = "The written file does not read back: " + error;
        return added;
    }
    const CSeriesTreeElem* raw = local.get();
    std::vector<std::string> refusal;
    if (!object.AddSeries(std::move(local), added.path, refusal)) {
        kurvalux_platform::RemoveFile(added.path);
        added.message = refusal.empty() ? "Series refused" : refusal[0];
        return added;
    }
    added.series = raw;
    added.ok = true;
    return added;
}

}  // namespace kurvalux_data

namespace kurvalux_data {

std::vector<ImportedSeries> SplitAtGaps(const ImportedSeries& series, double hours) {
    std::vector<ImportedSeries> parts;
    for (size_t i = 0; i < series.times.size(); ++i) {
        if (parts.empty() || (hours > 0 && series.times[i] - series.times[i - 1] > hours / 24.0)) {
            parts.push_back(series);
            parts.back().times.clear();
            parts.back().values.clear();
            parts.back().errors.clear();
        }
        parts.back().times.push_back(series.times[i]);
        parts.back().values.push_back(series.values[i]);
        parts.back().errors.push_back(series.errors[i]);
    }
    return parts;
}

std::vector<ImportedSeries> SplitAtOrbitGap(const ImportedSeries& series, double hours) {
    size_t cut = 0;  // the first point after the largest gap
    double largest = 0;
    for (size_t i = 1; i < series.times.size(); ++i) {
        const double gap = series.times[i] - series.times[i - 1];
        if (gap > largest) {
            largest = gap;
            cut = i;
        }
    }
    if (cut == 0 || largest <= hours / 24.0) return {series};
    auto part = [&series](size_t from, size_t to) {
        ImportedSeries p = series;
        const auto a = static_cast<std::ptrdiff_t>(from), b = static_cast<std::ptrdiff_t>(to);
        p.times.assign(series.times.begin() + a, series.times.begin() + b);
        p.values.assign(series.values.begin() + a, series.values.begin() + b);
        p.errors.assign(series.errors.begin() + a, series.errors.begin() + b);
        return p;
    };
    return {part(0, cut), part(cut, series.times.size())};
}

std::string UpperName(const std::string& s) {
    std::string out;
    for (char c : s) out += static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    return out;
}

bool ChooseImportedStar(ImportResult& result, const std::string& object_name, bool star_given,
                        std::string& message) {
    if (star_given || result.format != ImportFormat::kAavsoExtended) return true;
    std::vector<std::string> stars;
    for (const ImportedSeries& s : result.series)
        if (std::find(stars.begin(), stars.end(), s.star) == stars.end()) stars.push_back(s.star);
    std::string chosen;
    if (std::find(stars.begin(), stars.end(), UpperName(object_name)) != stars.end())
        chosen = UpperName(object_name);
    else if (stars.size() == 1)
        chosen = stars[0];
    if (chosen.empty()) {
        std::string list;
        for (size_t i = 0; i < stars.size() && i < 8; ++i) list += (i ? ", " : "") + stars[i];
        message = "The file holds " + std::to_string(stars.size()) + " stars and none is named " +
                  object_name + ": choose one (" + list + (stars.size() > 8 ? ", ...)" : ")");
        return false;
    }
    int others = 0;
    std::vector<ImportedSeries> kept;
    for (ImportedSeries& s : result.series) {
        if (s.star == chosen)
            kept.push_back(std::move(s));
        else
            others += static_cast<int>(s.times.size());
    }
    result.series = std::move(kept);
    if (others) result.skipped["another star"] += others;
    return true;
}

std::string ImportFolder(const CObjectListElem& object, const std::string& fallback) {
    for (const auto& series : object.series) {
        const auto* local = dynamic_cast<const CLocalSeriesTreeElem*>(series.get());
        if (!local || local->absolute_path.empty()) continue;
        const std::string native = kurvalux_platform::NativePath(local->absolute_path);
        const std::filesystem::path folder = std::filesystem::path(native).parent_path();
        if (!folder.empty() && kurvalux_platform::FolderExists(folder.string()))
            return folder.string() + "/";
    }
    return fallback;
}

}  // namespace kurvalux_data
