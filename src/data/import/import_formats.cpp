// The four text formats: recognised by their content, split into rows and fields, read into
// series grouped by star and filter.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>

#include "data/import/photometry_import.h"
#include "data/photometry.h"
#include "platform/files.h"
#include "platform/text.h"

namespace kurvalux_data {
namespace {

using kurvalux_time::TimeStandard;

struct Line {
    size_t number;  // from 1
    std::string_view text;
};

std::vector<Line> SplitLines(std::string_view text) {
    std::vector<Line> lines;
    size_t number = 1, p = 0;
    while (p < text.size()) {
        size_t end = p;
        while (end < text.size() && text[end] != '\r' && text[end] != '\n') ++end;
        lines.push_back({number, text.substr(p, end - p)});
        if (end < text.size() && text[end] == '\r') ++end;
        if (end < text.size() && text[end] == '\n') ++end;
        p = end;
        ++number;
    }
    return lines;
}

std::string_view Trim(std::string_view s) {
    return kurvalux_platform::TrimBlanks(s);
}

std::string Upper(std::string_view s) {
    return kurvalux_platform::ToUpperAscii(std::string(s));
}

std::vector<std::string_view> SplitFields(std::string_view line, char delimiter) {
    std::vector<std::string_view> fields;
    size_t p = 0;
    for (;;) {
        const size_t q = line.find(delimiter, p);
        fields.push_back(Trim(line.substr(p, q == std::string_view::npos ? q : q - p)));
        if (q == std::string_view::npos) return fields;
        p = q + 1;
    }
}

// Fields separated by runs of blanks or TABs.
std::vector<std::string_view> SplitBlanks(std::string_view line) {
    std::vector<std::string_view> fields;
    size_t p = 0;
    while (p < line.size()) {
        while (p < line.size() && (line[p] == ' ' || line[p] == '\t')) ++p;
        const size_t start = p;
        while (p < line.size() && line[p] != ' ' && line[p] != '\t') ++p;
        if (p > start) fields.push_back(line.substr(start, p - start));
    }
    return fields;
}

// A finite decimal number, the whole field (exponents allowed: other programs write them).
bool Number(std::string_view field, double& value) {
    field = Trim(field);
    if (!field.empty() && field.front() == '+') field.remove_prefix(1);
    if (field.empty()) return false;
    const auto [end, ec] = std::from_chars(field.data(), field.data() + field.size(), value);
    return ec == std::errc() && end == field.data() + field.size() && std::isfinite(value);
}

bool IsMissing(std::string_view field) {
    const std::string u = Upper(Trim(field));
    return u.empty() || u == "NA" || u == "NAN" || u == "N/A";
}

std::string Quote(std::string_view s) {
    return "\"" + kurvalux_platform::Cut(s, 40) + "\"";
}

ImportResult Refuse(ImportResult result, std::string message) {
    result.ok = false;
    result.series.clear();
    result.message = kurvalux_platform::Cut(message, 200);
    return result;
}

ImportedSeries& SeriesFor(ImportResult& result, const std::string& star,
                          const std::string& filter) {
    for (ImportedSeries& s : result.series)
        if (s.star == star && s.filter == filter) return s;
    result.series.emplace_back();
    result.series.back().star = star;
    result.series.back().filter = filter;
    return result.series.back();
}

// The photometry format marks a missing measurement by a value of 99 or more, whatever the
// unit: such a value cannot be written, and is left out with its reason.
bool Unwritable(double v, uint32_t unit, ImportResult& result) {
    if (v < kMissingValue) return false;
    ++result.skipped[unit == kUnitMagnitude ? "magnitude 99 or more"
                                            : "flux 99 or more (read as missing)"];
    return true;
}

void Append(ImportedSeries& s, double t, double v, double e) {
    s.times.push_back(t);
    s.values.push_back(v);
    s.errors.push_back(e);
}

// "#KEY=VALUE" header parameters, keys upper-cased.
std::optional<std::pair<std::string, std::string>> Parameter(std::string_view line) {
    if (line.empty() || line[0] != '#') return std::nullopt;
    const size_t eq = line.find('=');
    if (eq == std::string_view::npos) return std::nullopt;
    return std::make_pair(Upper(Trim(line.substr(1, eq - 1))),
                          std::string(Trim(line.substr(eq + 1))));
}

char Delimiter(const std::string& value) {
    const std::string u = Upper(value);
    if (u == "TAB" || u == "\\T") return '\t';
    if (u == "COMMA") return ',';
    if (u == "SEMICOLON") return ';';
    if (u == "PIPE") return '|';
    return value.empty() ? ',' : value[0];
}

// ---- AAVSO Extended and exoplanet reports ----

// The column line ("#NAME,DATE,MAG,...") maps names to positions; the standard order stands
// when the file has none.
std::map<std::string, size_t> Columns(std::string_view line, char delimiter,
                                      std::initializer_list<const char*> standard) {
    std::map<std::string, size_t> columns;
    if (!line.empty()) {
        const auto fields = SplitFields(line.substr(1), delimiter);
        for (size_t i = 0; i < fields.size(); ++i) columns[Upper(fields[i])] = i;
    } else {
        size_t i = 0;
        for (const char* name : standard) columns[name] = i++;
    }
    return columns;
}

ImportResult ReadAavso(const std::vector<Line>& lines, const ImportOptions& options,
                       bool exoplanet) {
    ImportResult result;
    result.format = exoplanet ? ImportFormat::kAavsoExoplanet : ImportFormat::kAavsoExtended;
    char delimiter = ',';
    std::string date = exoplanet ? "BJD_TDB" : "JD";
    std::string star_name, filter_name, measurement;
    std::string_view column_line;
    for (const Line& line : lines) {
        if (line.text.empty() || line.text[0] != '#') continue;
        if (const auto p = Parameter(line.text)) {
            if (p->first == "DELIM") delimiter = Delimiter(p->second);
            if (p->first == "DATE" || p->first == "DATE_TYPE") date = Upper(p->second);
            if (p->first == "STAR_NAME") star_name = p->second;
            if (p->first == "FILTER") filter_name = p->second;
            if (p->first == "MEASUREMENT_TYPE") measurement = Upper(p->second);
        } else {
            const std::string u = Upper(line.text);
            if (u.rfind(exoplanet ? "#DATE" : "#NAME", 0) == 0) column_line = line.text;
        }
    }
    TimeStandard standard;
    double add = 0;
    if (date == "JD" || date == "JD_UTC") {
        standard = TimeStandard::kJdUtc;
    } else if (date == "HJD" || date == "HJD_UTC") {
        standard = TimeStandard::kHjdUtc;
    } else if (date == "BJD" || date == "BJD_TDB") {
        standard = TimeStandard::kBjdTdb;
    } else if (date == "EXCEL") {
        standard = TimeStandard::kJdUtc;  // days since 1899 December 30, UTC
        add = 2415018.5;
    } else {
        return Refuse(result, "Unknown date type " + Quote(date) + " (JD, HJD, BJD or EXCEL)");
    }
    auto columns = exoplanet
                       ? Columns(column_line, delimiter, {"DATE", "DIFF", "ERR"})
                       : Columns(column_line, delimiter,
                                 {"NAME", "DATE", "MAG", "MERR", "FILT", "TRANS", "MTYPE", "CNAME",
                                  "CMAG", "KNAME", "KMAG", "AMASS", "GROUP", "CHART", "NOTES"});
    const char* value_name = exoplanet ? "DIFF" : "MAG";
    const char* error_name = exoplanet ? "ERR" : "MERR";
    for (const char* needed : {"DATE", value_name})
        if (!columns.count(needed))
            return Refuse(result, std::string("The column line has no ") + needed + " column");
    const uint32_t unit =
        exoplanet && measurement.find("MAG") == std::string::npos ? kUnitFlux : kUnitMagnitude;
    auto field = [&](const std::vector<std::string_view>& f, const char* name) {
        const auto it = columns.find(name);
        return it == columns.end() || it->second >= f.size() ? std::string_view() : f[it->second];
    };
    for (const Line& line : lines) {
        if (Trim(line.text).empty() || line.text[0] == '#') continue;
        const auto f = SplitFields(line.text, delimiter);
        const std::string star = exoplanet ? star_name : Upper(field(f, "NAME"));
        const std::string filter = exoplanet ? filter_name : std::string(field(f, "FILT"));
        double t = 0, v = 0, e = 0;
        if (!Number(field(f, "DATE"), t))
            return Refuse(result, "Line " + std::to_string(line.number) + ": the date " +
                                      Quote(field(f, "DATE")) + " is not a number");
        if (!options.star.empty() && Upper(options.star) != star) {
            ++result.skipped["another star"];
            continue;
        }
        if (!options.filter.empty() && Upper(options.filter) != Upper(filter)) {
            ++result.skipped["another filter"];
            continue;
        }
        const std::string_view value = field(f, value_name);
        if (!value.empty() && value[0] == '<') {
            ++result.skipped["fainter-than estimate"];
            continue;
        }
        if (IsMissing(value)) {
            ++result.skipped["no measurement (na)"];
            continue;
        }
        if (!Number(value, v))
            return Refuse(result, "Line " + std::to_string(line.number) + ": the " + value_name +
                                      " " + Quote(value) + " is not a number");
        if (!IsMissing(field(f, error_name)) && !Number(field(f, error_name), e))
            return Refuse(result, "Line " + std::to_string(line.number) + ": the " + error_name +
                                      " " + Quote(field(f, error_name)) + " is not a number");
        if (Unwritable(v, unit, result)) continue;
        ImportedSeries& s = SeriesFor(result, star, filter);
        if (s.times.empty()) {
            s.unit = unit;
            s.standard = standard;
            const std::string_view cname = field(f, "CNAME"), kname = field(f, "KNAME");
            if (!IsMissing(cname)) s.comparison.emplace_back(cname);
            if (!IsMissing(kname)) s.check.emplace_back(kname);
        }
        Append(s, t + add, v, e);
    }
    if (result.series.empty()) return Refuse(result, "No measurement to import");
    result.ok = true;
    return result;
}

// ---- measurement tables of image-photometry suites ----

ImportResult ReadMeasurementTable(const std::vector<Line>& lines, const ImportOptions& options) {
    ImportResult result;
    result.format = ImportFormat::kMeasurementTable;
    const auto header = SplitFields(lines[0].text, '\t');
    auto find = [&](const std::string& name) -> std::optional<size_t> {
        for (size_t i = 0; i < header.size(); ++i)
            if (header[i] == name) return i;
        return std::nullopt;
    };
    // The time column: as asked, else the most precise standard the table has.
    std::optional<size_t> time;
    std::string time_name = options.time_column;
    if (!time_name.empty()) {
        time = find(time_name);
        if (!time) return Refuse(result, "No time column named " + Quote(time_name));
    } else {
        for (const char* name : {"BJD_TDB", "HJD_UTC", "JD_UTC", "J.D.-2400000"}) {
            if ((time = find(name))) {
                time_name = name;
                break;
            }
        }
        if (!time) return Refuse(result, "No time column (BJD_TDB, HJD_UTC, JD_UTC, J.D.-2400000)");
    }
    TimeStandard standard = TimeStandard::kJdUtc;
    double add = 0;
    if (time_name == "BJD_TDB") standard = TimeStandard::kBjdTdb;
    if (time_name == "HJD_UTC") standard = TimeStandard::kHjdUtc;
    if (time_name == "J.D.-2400000") add = 2400000.0;
    // The target: "T1" means rel_flux_T1 with rel_flux_err_T1; a full column name is taken as
    // it stands, Source-Sky_* with its Source_Error_*.
    const std::string target = options.column.empty() ? "T1" : options.column;
    std::string value_name = "rel_flux_" + target, error_name = "rel_flux_err_" + target;
    if (target.rfind("rel_flux_", 0) == 0) {
        value_name = target;
        error_name = "rel_flux_err_" + target.substr(9);
    } else if (target.rfind("Source-Sky_", 0) == 0) {
        value_name = target;
        error_name = "Source_Error_" + target.substr(11);
    }
    const auto value = find(value_name);
    if (!value) return Refuse(result, "No column named " + Quote(value_name));
    const auto error = find(error_name);
    const auto ra = find("RAOBJ2K"), dec = find("DECOBJ2K");
    ImportedSeries s;
    s.filter = options.filter;
    s.unit = kUnitFlux;
    s.standard = standard;
    for (size_t i = 1; i < lines.size(); ++i) {
        if (Trim(lines[i].text).empty()) continue;
        const auto f = SplitFields(lines[i].text, '\t');
        const std::string where = "Line " + std::to_string(lines[i].number) + ": ";
        double t = 0, v = 0, e = 0;
        if (*time >= f.size() || *value >= f.size())
            return Refuse(result, where + "fewer columns than the header names");
        if (!Number(f[*time], t))
            return Refuse(result, where + time_name + " " + Quote(f[*time]) + " is not a number");
        if (IsMissing(f[*value])) {
            ++result.skipped["no measurement (NaN)"];
            continue;
        }
        if (!Number(f[*value], v))
            return Refuse(result, where + value_name + " " + Quote(f[*value]) + " is not a number");
        if (Unwritable(v, s.unit, result)) continue;
        if (error && *error < f.size() && !Number(f[*error], e)) e = 0;
        if (s.times.empty() && ra && dec && *ra < f.size() && *dec < f.size()) {
            double h = 0, d = 0;
            if (Number(f[*ra], h) && Number(f[*dec], d) && h >= 0 && h < 24 && std::fabs(d) <= 90) {
                s.ra = h * M_PI / 12.0;
                s.dec = d * M_PI / 180.0;
            }
        }
        Append(s, t + add, v, e);
    }
    if (s.times.empty()) return Refuse(result, "No measurement to import");
    result.series.push_back(std::move(s));
    result.ok = true;
    return result;
}

// ---- plain columns ----

std::vector<std::string_view> SplitColumns(std::string_view line) {
    for (char d : {',', ';', '\t'})
        if (line.find(d) != std::string_view::npos) {
            auto f = SplitFields(line, d);
            while (!f.empty() && f.back().empty()) f.pop_back();
            return f;
        }
    return SplitBlanks(line);
}

ImportResult ReadColumns(const std::vector<Line>& lines, const ImportOptions& options) {
    ImportResult result;
    result.format = ImportFormat::kColumns;
    const TimeKind kind = options.time_kind.value_or(TimeKind::kJd);
    TimeStandard standard = TimeStandard::kJdUtc;
    double add = 0;
    switch (kind) {
        case TimeKind::kJd:
            break;
        case TimeKind::kMjd:
            add = 2400000.5;
            break;
        case TimeKind::kHjd:
            standard = TimeStandard::kHjdUtc;
            break;
        case TimeKind::kBjdTdb:
            standard = TimeStandard::kBjdTdb;
            break;
        case TimeKind::kBtjd:  // TESS: BJD_TDB − 2457000
            standard = TimeStandard::kBjdTdb;
            add = 2457000.0;
            break;
        case TimeKind::kBkjd:  // Kepler: BJD_TDB − 2454833
            standard = TimeStandard::kBjdTdb;
            add = 2454833.0;
            break;
    }
    ImportedSeries s;
    s.filter = options.filter;
    s.standard = standard;
    // Space photometry comes as flux; ground-based columns are magnitudes.
    s.unit = kind == TimeKind::kBtjd || kind == TimeKind::kBkjd ? kUnitFlux : kUnitMagnitude;
    bool first = true;
    for (const Line& line : lines) {
        if (Trim(line.text).empty() || line.text[0] == '#') continue;
        const auto f = SplitColumns(line.text);
        double t = 0, v = 0, e = 0;
        const bool numbers = f.size() >= 2 && f.size() <= 3 && Number(f[0], t) &&
                             (Number(f[1], v) || IsMissing(f[1]));
        if (!numbers) {
            if (first) {  // a header row
                first = false;
                continue;
            }
            return Refuse(result, "Line " + std::to_string(line.number) +
                                      ": not 2 or 3 columns of numbers: " + Quote(line.text));
        }
        first = false;
        if (IsMissing(f[1])) {
            ++result.skipped["no measurement (NaN)"];
            continue;
        }
        if (f.size() == 3 && !IsMissing(f[2]) && !Number(f[2], e))
            return Refuse(result, "Line " + std::to_string(line.number) + ": the error " +
                                      Quote(f[2]) + " is not a number");
        if (Unwritable(v, s.unit, result)) continue;
        Append(s, t + add, v, e);
    }
    if (s.times.empty()) return Refuse(result, "No measurement to import");
    result.series.push_back(std::move(s));
    result.ok = true;
    return result;
}

}  // namespace

const char* ImportFormatName(ImportFormat format) {
    switch (format) {
        case ImportFormat::kAavsoExtended:
            return "AAVSO Extended Format";
        case ImportFormat::kMeasurementTable:
            return "photometry measurement table";
        case ImportFormat::kAavsoExoplanet:
            return "AAVSO exoplanet report";
        case ImportFormat::kFits:
            return "TESS/Kepler light-curve FITS";
        case ImportFormat::kColumns:
            break;
    }
    return "plain columns";
}

std::optional<TimeKind> ParseTimeKind(const std::string& text) {
    const std::string u = Upper(text);
    if (u == "JD") return TimeKind::kJd;
    if (u == "MJD") return TimeKind::kMjd;
    if (u == "HJD") return TimeKind::kHjd;
    if (u == "BJD_TDB" || u == "BJD") return TimeKind::kBjdTdb;
    if (u == "BTJD") return TimeKind::kBtjd;
    if (u == "BKJD") return TimeKind::kBkjd;
    return std::nullopt;
}

ImportResult ImportPhotometryText(std::string_view text, const ImportOptions& options) {
    ImportResult result;
    if (LooksLikeFits(text)) return ImportFitsBytes(text, options);
    const std::vector<Line> lines = SplitLines(text);
    if (lines.empty()) return Refuse(result, "The file is empty");
    for (const Line& line : lines) {
        if (const auto p = Parameter(line.text); p && p->first == "TYPE") {
            const std::string type = Upper(p->second);
            if (type == "EXTENDED") return ReadAavso(lines, options, false);
            if (type == "EXOPLANET") return ReadAavso(lines, options, true);
            return Refuse(result, "Line " + std::to_string(line.number) + ": report type " +
                                      Quote(p->second) + " is not EXTENDED or EXOPLANET");
        }
    }
    const std::string_view head = lines[0].text;
    if (head.find('\t') != std::string_view::npos &&
        (head.find("\trel_flux_") != std::string_view::npos ||
         head.find("\tJ.D.-2400000") != std::string_view::npos ||
         head.find("\tSource-Sky_") != std::string_view::npos))
        return ReadMeasurementTable(lines, options);
    return ReadColumns(lines, options);
}

ImportResult ImportPhotometryFile(const std::string& path, const ImportOptions& options) {
    // FITS is binary and read by cfitsio from the file itself: only its first card is looked at.
    char head[9] = {};
    std::ifstream file(kurvalux_platform::NativePath(path), std::ios::binary);
    file.read(head, sizeof head);
    if (LooksLikeFits(std::string_view(head, static_cast<size_t>(file.gcount()))))
        return ImportFitsFile(path, options);
    file.close();
    std::string text;
    switch (kurvalux_platform::ReadWholeFile(path, 64 * kMaxPhotometryFileSize, text)) {
        case kurvalux_platform::ReadStatus::Ok:
            return ImportPhotometryText(text, options);
        case kurvalux_platform::ReadStatus::TooBig:
            return Refuse({}, "File too big (> 1 GB): " + path);
        case kurvalux_platform::ReadStatus::CannotOpen:
            break;
    }
    return Refuse({}, "Cannot open file: " + path);
}

}  // namespace kurvalux_data
