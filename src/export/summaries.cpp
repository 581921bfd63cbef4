#include "export/summaries.h"

#include <cmath>

#include "platform/sexagesimal.h"
#include "platform/text.h"

namespace kurvalux_export {

using kurvalux_data::CMetaData;
using kurvalux_data::CObjectListElem;
using kurvalux_data::CStarRecord;
using kurvalux_platform::Cut;
using kurvalux_platform::FormatFixedAlways;
using kurvalux_platform::SexagesimalStyle;

namespace {

std::string FixedOrEmpty(double value, double unset, int decimals) {
    if (value == unset || !std::isfinite(value)) return {};
    return FormatFixedAlways(value, decimals);
}

std::string RaText(double ra_radians) {
    if (ra_radians == kurvalux_data::kUnknownRa || !std::isfinite(ra_radians)) return {};
    return kurvalux_platform::FormatRightAscension(ra_radians, SexagesimalStyle::kSpaces);
}

std::string DecText(double dec_radians) {
    if (dec_radians == kurvalux_data::kUnknownDec || !std::isfinite(dec_radians)) return {};
    return kurvalux_platform::FormatDeclination(dec_radians, SexagesimalStyle::kSpaces);
}

}  // namespace

CMetaData ObjectMetaData(const CObjectListElem& object) {
    if (const kurvalux_data::CSeriesTreeElem* reference = object.ReferenceSeries())
        return kurvalux_data::MergeMetaData(object.meta_data, reference->EffectiveMetaData());
    return object.meta_data;
}

ObjectSummary SummarizeObject(const CObjectListElem& object) {
    ObjectSummary s;
    s.name = Cut(object.name, kurvalux_data::kNameCapacity);
    s.alternate_name = Cut(object.alternate_name, kurvalux_data::kAlternateNameCapacity);
    s.variability_type = Cut(object.variability_type, kurvalux_data::kVariabilityTypeCapacity);
    s.comment = Cut(object.comment, kSummaryCommentCapacity);
    s.m0 = FixedOrEmpty(object.m0, 0.0, 7);
    s.period = FixedOrEmpty(object.period, 0.0, 7);
    s.max_mag = FixedOrEmpty(object.max_magnitude, kurvalux_data::kUndefinedMagnitude, 3);
    s.min_mag = FixedOrEmpty(object.min_magnitude, kurvalux_data::kUndefinedMagnitude, 3);
    return s;
}

StarSummary SummarizeStar(const CStarRecord& star) {
    StarSummary s;
    s.name = star.star_name;
    s.ra = RaText(star.star_ra);
    s.dec = DecText(star.star_dec);
    s.catalog = Cut(star.catalog, kSummaryCatalogCapacity);
    s.catalog_id = Cut(star.catalog_id, kSummaryCatalogIdCapacity);
    // The catalogue position is kept in degrees.
    if (star.catalog_ra != kurvalux_data::kUnknownRa)
        s.catalog_ra = RaText(star.catalog_ra * M_PI / 180.0);
    if (star.catalog_dec != kurvalux_data::kUnknownDec)
        s.catalog_dec = DecText(star.catalog_dec * M_PI / 180.0);
    s.catalog_mag = FixedOrEmpty(star.catalog_mag, kurvalux_data::kUndefinedMagnitude, 2);
    s.catalog_bv = FixedOrEmpty(star.catalog_bv, kurvalux_data::kUndefinedMagnitude, 2);
    s.catalog_jk = FixedOrEmpty(star.catalog_jk, kurvalux_data::kUndefinedMagnitude, 2);
    return s;
}

ObjectReport SummarizeReport(const CObjectListElem& object) {
    ObjectReport report;
    report.object = SummarizeObject(object);
    const CMetaData meta = ObjectMetaData(object);
    report.var = SummarizeStar(meta.var);
    for (const CStarRecord& star : meta.cmp) report.cmp.push_back(SummarizeStar(star));
    for (const CStarRecord& star : meta.chk) report.chk.push_back(SummarizeStar(star));
    return report;
}

std::vector<ObjectReport> SummarizeField(const kurvalux_data::Field& field) {
    std::vector<ObjectReport> reports;
    reports.reserve(field.objects.size());
    for (const auto& object : field.objects) reports.push_back(SummarizeReport(*object));
    return reports;
}

std::string JoinStarFields(const StarSummary& star) {
    std::string text;
    text.reserve(128);
    for (const std::string* field :
         {&star.name, &star.ra, &star.dec, &star.catalog, &star.catalog_id, &star.catalog_ra,
          &star.catalog_dec, &star.catalog_mag, &star.catalog_bv, &star.catalog_jk}) {
        if (field != &star.name) text += ';';
        text += *field;
    }
    return text;
}

std::string FieldNameOfPath(const std::string& path) {
    const size_t slash = path.find_last_of("/\\");
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const size_t dot = name.find_last_of('.');
    if (dot != std::string::npos && dot > 0) name.erase(dot);
    return name;
}

std::string HtmlEscape(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

}  // namespace kurvalux_export
