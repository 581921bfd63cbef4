#include "export/series_export.h"

#include <algorithm>
#include <numeric>

#include "analysis/model.h"
#include "data/keyword_scanner.h"
#include "export/minima_export.h"
#include "export/summaries.h"
#include "platform/files.h"
#include "platform/text.h"

namespace kurvalux_export {

using kurvalux_data::CMetaData;
using kurvalux_data::CObjectListElem;
using kurvalux_data::CSeriesTreeElem;
using kurvalux_data::CStarRecord;
using kurvalux_data::FormatFileNumber;

bool ParseSeriesExportKind(const std::string& word, SeriesExportKind& kind) {
    static const std::pair<const char*, SeriesExportKind> kWords[] = {
        {"time", SeriesExportKind::kTime},
        {"phased", SeriesExportKind::kPhased},
        {"phased-time", SeriesExportKind::kPhasedTime},
        {"minus-fit", SeriesExportKind::kMinusFit},
        {"individual-minus-fit", SeriesExportKind::kIndividualMinusFit},
    };
    for (const auto& entry : kWords)
        if (word == entry.first) {
            kind = entry.second;
            return true;
        }
    return false;
}

bool NeedsEphemeris(SeriesExportKind kind) {
    return kind != SeriesExportKind::kTime;
}

namespace {

// A header value in quotes, so that names with blanks read back whole (a quote inside a
// value cannot be kept; it becomes an apostrophe).
std::string QuotedWord(const std::string& text) {
    std::string quoted = "\"";
    for (char c : text) quoted += c == '"' ? '\'' : (c == '\r' || c == '\n' ? ' ' : c);
    return quoted + "\"";
}

void AppendStar(std::string& out, const std::string& role, const CStarRecord& star) {
    if (star.IsEmpty()) return;
    std::string line = role;
    if (!star.star_name.empty()) line += " NAME: " + QuotedWord(star.star_name);
    if (star.star_ra != kurvalux_data::kUnknownRa)
        line += " RA: " + kurvalux_platform::FormatRaSexagesimal(star.star_ra);
    if (star.star_dec != kurvalux_data::kUnknownDec)
        line += " DEC: " + kurvalux_platform::FormatDecSexagesimal(star.star_dec);
    if (!star.catalog.empty()) line += " CATALOG: " + QuotedWord(star.catalog);
    if (!star.catalog_id.empty()) line += " CATALOGID: " + QuotedWord(star.catalog_id);
    if (star.catalog_ra != kurvalux_data::kUnknownRa)
        line += " CATALOGRA: " + FormatFileNumber(star.catalog_ra, 8);
    if (star.catalog_dec != kurvalux_data::kUnknownDec)
        line += " CATALOGDEC: " + FormatFileNumber(star.catalog_dec, 8);
    if (star.catalog_mag != kurvalux_data::kUndefinedMagnitude)
        line += " CATALOGMAG: " + FormatFileNumber(star.catalog_mag, 6);
    if (star.catalog_bv != kurvalux_data::kUndefinedMagnitude)
        line += " CATALOGB-V: " + FormatFileNumber(star.catalog_bv, 6);
    if (star.catalog_jk != kurvalux_data::kUndefinedMagnitude)
        line += " CATALOGJ-K: " + FormatFileNumber(star.catalog_jk, 6);
    out += "# " + line + "\r\n";
}

struct Point {
    double x, value, error;
};

bool HasEphemeris(const CObjectListElem& object) {
    return object.m0 != 0 && object.period != 0;
}

std::string FolderOf(const std::string& path) {
    const size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

}  // namespace

std::string PhotometryHeader(const CMetaData& meta, bool heliocentric, const std::string& title) {
    std::string out;
    // The title line starts with a word the reader does not know, so it is skipped on reading.
    if (!title.empty()) out += "# Kurvalux export: " + title + "\r\n";
    uint32_t jd_type = heliocentric ? uint32_t(kurvalux_data::kJdHeliocentric) : meta.jd_type;
    if (jd_type == kurvalux_data::kJdHeliocentric)
        out += "# JD: HELIOCENTRIC\r\n";
    else if (jd_type == kurvalux_data::kJdGeocentric)
        out += "# JD: GEOCENTRIC\r\n";
    if (meta.value_unit == kurvalux_data::kUnitMagnitude)
        out += "# UNIT: MAGNITUDE\r\n";
    else if (meta.value_unit == kurvalux_data::kUnitFlux)
        out += "# UNIT: FLUX\r\n";
    if (!meta.filter.empty()) out += "# FILTER: " + QuotedWord(meta.filter) + "\r\n";
    if (meta.var_aperture != 0 || meta.cmp_aperture != 0 || meta.chk_aperture != 0)
        out += "# VARAPERTURE: " + FormatFileNumber(meta.var_aperture, 6) +
               " CMPAPERTURE: " + FormatFileNumber(meta.cmp_aperture, 6) +
               " CHKAPERTURE: " + FormatFileNumber(meta.chk_aperture, 6) + "\r\n";
    AppendStar(out, "VAR", meta.var);
    for (size_t i = 0; i < meta.cmp.size() && i < kurvalux_data::kMaxReferenceStars; ++i)
        AppendStar(out, "CMP" + std::to_string(i), meta.cmp[i]);
    for (size_t i = 0; i < meta.chk.size() && i < kurvalux_data::kMaxReferenceStars; ++i)
        AppendStar(out, "CHK" + std::to_string(i), meta.chk[i]);
    return out;
}

std::string SeriesExportText(const CObjectListElem& object,
                             const std::vector<const CSeriesTreeElem*>& series,
                             SeriesExportKind kind) {
    // The description: of the one series for an individual export, else of the object.
    CMetaData meta;
    bool heliocentric = false;
    if (kind == SeriesExportKind::kIndividualMinusFit && series.size() == 1) {
        meta = series.front()->EffectiveMetaData();
        heliocentric = series.front()->hjd_converted;
    } else {
        meta = ObjectMetaData(object);
        for (const CSeriesTreeElem* s : series)
            if (s->hjd_converted) heliocentric = true;
        if (const CSeriesTreeElem* reference = object.ReferenceSeries())
            meta.jd_type = reference->EffectiveMetaData().jd_type;
    }
    if (meta.value_unit == kurvalux_data::kUnitUnknown)
        meta.value_unit = object.is_flux ? kurvalux_data::kUnitFlux : kurvalux_data::kUnitMagnitude;

    const double m0 = object.m0, period = object.period;
    std::vector<Point> points;
    for (const CSeriesTreeElem* s : series)
        for (size_t i = 0; i < s->Count(); ++i) {
            const double t = s->times[i];
            double value = s->AdjustedValue(i, object.is_flux);
            double x = t;
            switch (kind) {
                case SeriesExportKind::kTime:
                    break;
                case SeriesExportKind::kPhased:
                    x = kurvalux_analysis::PhaseOf(t, m0, period);
                    break;
                case SeriesExportKind::kPhasedTime:
                    x = m0 + kurvalux_analysis::PhaseOf(t, m0, period) * period;
                    break;
                case SeriesExportKind::kMinusFit:
                case SeriesExportKind::kIndividualMinusFit:
                    value -= kurvalux_analysis::EvaluateLightCurve(
                        object.fit, kurvalux_analysis::PhaseOf(t, m0, period));
                    break;
            }
            points.push_back({x, value, s->errors.size() > i ? s->errors[i] : 0.0});
        }
    std::stable_sort(points.begin(), points.end(),
                     [](const Point& a, const Point& b) { return a.x < b.x; });

    static const char* const kKindNames[] = {"time series", "phased series", "phased time series",
                                             "time series minus fit", "series minus fit"};
    std::string out = PhotometryHeader(
        meta, heliocentric, object.name + " (" + kKindNames[static_cast<int>(kind)] + ")");
    out.reserve(out.size() + points.size() * 40);
    const int x_decimals = kind == SeriesExportKind::kPhased ? 8 : 7;
    for (const Point& p : points) {
        out += FormatFileNumber(p.x, x_decimals);
        out += ' ';
        out += FormatFileNumber(p.value, 6);
        out += ' ';
        out += FormatFileNumber(p.error, 6);
        out += "\r\n";
    }
    return out;
}

bool ExportSeries(const CObjectListElem& object, SeriesExportKind kind, const std::string& path,
                  kurvalux_platform::CMessageBoxSink& messages) {
    if (NeedsEphemeris(kind) && !HasEphemeris(object)) {
        messages.Error("Export failed",
                       {"Cannot export phased light curve", "if M0 and/or P is not defined"});
        return false;
    }
    std::vector<const CSeriesTreeElem*> series;
    for (const auto& s : object.series)
        if (s->enabled) series.push_back(s.get());
    return WriteExport(path, SeriesExportText(object, series, kind), "Export failed", messages);
}

std::string IndividualTargetPath(const std::string& original, const IndividualExportOptions& o) {
    const std::string folder = FolderOf(original);
    if (o.use_new_name) return folder + o.new_name;
    std::string name = original.substr(folder.size());
    const size_t dot = name.find_last_of('.');
    if (dot == std::string::npos || dot == 0)
        name += o.postfix;
    else
        name.insert(dot, o.postfix);
    return folder + o.prefix + name;
}

IndividualExportResult ExportIndividualMinusFit(const CObjectListElem& object,
                                                const IndividualExportOptions& options,
                                                kurvalux_platform::CMessageBoxSink& messages) {
    using kurvalux_platform::MessageAnswer;
    using kurvalux_platform::MessageButtons;
    using kurvalux_platform::MessageIcon;
    IndividualExportResult result;
    if (!HasEphemeris(object)) {
        messages.Error("Export failed",
                       {"Cannot export phased light curve", "if M0 and/or P is not defined"});
        return result;
    }
    if (!options.use_new_name && options.prefix.empty() && options.postfix.empty()) {
        const MessageAnswer answer = messages.Show(
            "File overwrite warning",
            {"Leaving both Prefix and Postfix empty", "causes overwriting of original files."},
            MessageIcon::Warning, MessageButtons::OkCancel);
        if (answer != MessageAnswer::Ok) return result;
    }
    if (options.use_new_name && options.new_name.empty()) {
        messages.Error("Export failed", {"New file name is empty"});
        return result;
    }
    result.ok = true;
    for (const auto& s : object.series) {
        if (!s->enabled) continue;
        const auto* local = dynamic_cast<const kurvalux_data::CLocalSeriesTreeElem*>(s.get());
        if (!local || local->absolute_path.empty()) {
            result.skipped.push_back("(web series)");
            continue;
        }
        const std::string target = IndividualTargetPath(local->absolute_path, options);
        if (!options.overwrite && kurvalux_platform::FileExists(target)) {
            const MessageAnswer answer =
                messages.Show("Export", {"There is a file on disk:", target, "Overwrite file?"},
                              MessageIcon::Question, MessageButtons::YesNo);
            if (answer != MessageAnswer::Yes) {
                result.skipped.push_back(target);
                continue;
            }
        }
        const std::string text =
            SeriesExportText(object, {s.get()}, SeriesExportKind::kIndividualMinusFit);
        if (!WriteExport(target, text, "Export failed", messages)) {
            result.ok = false;
            return result;
        }
        result.written.push_back(target);
    }
    return result;
}

}  // namespace kurvalux_export
