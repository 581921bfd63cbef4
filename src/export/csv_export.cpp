#include "export/csv_export.h"

#include <algorithm>

#include "export/summaries.h"
#include "platform/files.h"
#include "sheet/observation_sheet.h"

namespace kurvalux_export {

int CsvOptions::Bits() const {
    return (var ? 1 : 0) | (cmp ? 2 : 0) | (chk ? 4 : 0) | (observing ? 8 : 0);
}

CsvOptions CsvOptions::FromBits(int bits) {
    CsvOptions o;
    o.var = bits & 1;
    o.cmp = bits & 2;
    o.chk = bits & 4;
    o.observing = bits & 8;
    return o;
}

namespace {

constexpr const char* kStarColumns =
    "$_name;$_ra;$_dec;$_catalog;$_catalog_id;$_catalog_ra;$_catalog_dec;$_catalog_mag;"
    "$_catalog_bv;$_catalog_jk";
// An absent star: ten empty fields, written so for the spreadsheets that read these tables.
constexpr const char* kEmptyGroup = "; ; ; ; ; ; ; ; ; ;";

void AppendGroupHeader(std::string& out, const char* prefix, size_t index) {
    for (const char* p = kStarColumns; *p; ++p) {
        if (*p == '$')
            out.append(prefix).push_back(static_cast<char>('0' + index));
        else
            out.push_back(*p);
    }
}

// The object's stars, then the padding to the widest object: G copies of the empty group for
// an object without any star, G - count + 1 copies for one with fewer than G stars (the extra
// group is what existing spreadsheets of these tables expect).
void AppendStars(std::string& out, const std::vector<StarSummary>& stars, size_t groups) {
    for (const StarSummary& star : stars) {
        out += ';';
        out += JoinStarFields(star);
    }
    size_t padding = 0;
    if (stars.empty())
        padding = groups;
    else if (stars.size() < groups)
        padding = groups - stars.size() + 1;
    for (size_t i = 0; i < padding; ++i) out += kEmptyGroup;
}

}  // namespace

std::string CsvText(const kurvalux_data::Field& field, const CsvOptions& options) {
    const std::vector<ObjectReport> reports = SummarizeField(field);
    size_t g_cmp = 0, g_chk = 0;
    if (options.cmp || options.chk) {
        for (const ObjectReport& report : reports) {
            g_cmp = std::max(g_cmp, report.cmp.size());
            g_chk = std::max(g_chk, report.chk.size());
        }
        g_cmp = std::min(g_cmp, kMaxStarGroups);
        g_chk = std::min(g_chk, kMaxStarGroups);
    }
    kurvalux_sht::CObservationSheet sheet;
    if (options.observing) sheet.Build(field);

    std::string out;
    out.reserve(reports.size() * 256 + 1024);
    out += "sep=;\r\n";
    out += "name;alt_name;var_type;M0;period;max_mag;min_mag";
    if (options.var)
        out +=
            ";var_name;var_ra;var_dec;var_catalog;var_catalog_id;var_catalog_ra;"
            "var_catalog_dec;var_catalog_mag;var_catalog_bv;var_catalog_jk";
    if (options.cmp)
        for (size_t i = 0; i < g_cmp; ++i) {
            out += ';';
            AppendGroupHeader(out, "cmp", i);
        }
    if (options.chk)
        for (size_t i = 0; i < g_chk; ++i) {
            out += ';';
            AppendGroupHeader(out, "chk", i);
        }
    if (options.observing)
        for (const kurvalux_sht::CNightTreeElem& night : sheet.Nights()) {
            out += ';';
            out += night.label;
        }
    out += "\r\n";

    for (size_t r = 0; r < reports.size(); ++r) {
        const ObjectSummary& o = reports[r].object;
        for (const std::string* text : {&o.name, &o.alternate_name, &o.variability_type, &o.m0,
                                        &o.period, &o.max_mag, &o.min_mag}) {
            if (text != &o.name) out += ';';
            out += *text;
        }
        if (options.var) {
            out += ';';
            out += JoinStarFields(reports[r].var);
        }
        if (options.cmp) AppendStars(out, reports[r].cmp, g_cmp);
        if (options.chk) AppendStars(out, reports[r].chk, g_chk);
        if (options.observing)
            for (uint8_t observed : sheet.Rows()[r].observed) out += observed ? ";x" : "; ";
        out += "\r\n";
    }
    return out;
}

bool ExportCsv(const kurvalux_data::Field& field, const std::string& path,
               const CsvOptions& options, kurvalux_platform::CMessageBoxSink& messages) {
    if (!kurvalux_platform::WriteWholeFile(path, CsvText(field, options))) {
        messages.Error("Error exporting CSV", {"Cannot create file", path});
        return false;
    }
    return true;
}

}  // namespace kurvalux_export
