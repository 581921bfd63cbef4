#include "export/copy_info.h"

#include "platform/sexagesimal.h"
#include "platform/text.h"

namespace kurvalux_export {

using kurvalux_platform::FormatDeclination;
using kurvalux_platform::FormatFixedAlways;
using kurvalux_platform::FormatRightAscension;
using kurvalux_platform::SexagesimalStyle;

const std::array<MaskKeyword, 17> kMaskKeywords = {{
    {"%RA%", "R.A. delimited with spaces (12 34 56.789)"},
    {"%RA_FITS%", "R.A. delimited with colons (12:34:56.789)"},
    {"%RA_HUMAN%", "R.A. human readable (12h 34m 56.789s)"},
    {"%RA_DEG%", "R.A. in fraction degrees (188.73662083)"},
    {"%DEC%", "Dec. delimited with spaces (+12 34 56.78)"},
    {"%DEC_FITS%", "Dec. delimited with colons (+12:34:56.78)"},
    {"%DEC_HUMAN%", "Dec. human readable (+12\xB0 34' 56.78\")"},
    {"%DEC_DEG%", "Dec. in fraction degrees (12.582441389)"},
    {"%FIELD%", "Field name"},
    {"%OBJ_NAME%", "Object name"},
    {"%ALT_OBJ_NAME%", "Alternate object name"},
    {"%VAR_TYPE%", "Variability type"},
    {"%M0%", "Elements origin"},
    {"%PERIOD%", "Elements period"},
    {"%MAX_MAG%", "Maximal magnitude"},
    {"%MIN_MAG%", "Minimal magnitude"},
    {"%CRLF%", "End of line"},
}};

const char* const kDefaultCopyInfoMask =
    "%OBJ_NAME% (%ALT_OBJ_NAME%) %VAR_TYPE%%CRLF%"
    "R.A. %RA%  Dec. %DEC%%CRLF%"
    "M0 = %M0%  P = %PERIOD%%CRLF%";

std::string EffectiveCopyInfoMask(const std::string& settings_mask) {
    return settings_mask.empty() ? std::string(kDefaultCopyInfoMask) : settings_mask;
}

std::string MaskKeywordMeanings() {
    std::string text;
    for (size_t i = 0; i < kMaskKeywords.size(); ++i) {
        if (i) text += "\r\n";
        text += kMaskKeywords[i].meaning;
    }
    return text;
}

namespace {

// The value of keyword k for the object.
std::string KeywordValue(size_t k, const std::string& field_name,
                         const kurvalux_data::CObjectListElem& object, bool ra_known, double ra,
                         bool dec_known, double dec) {
    switch (k) {
        case 0:
            return ra_known ? FormatRightAscension(ra, SexagesimalStyle::kSpaces) : "";
        case 1:
            return ra_known ? FormatRightAscension(ra, SexagesimalStyle::kColons) : "";
        case 2:
            return ra_known ? FormatRightAscension(ra, SexagesimalStyle::kHuman) : "";
        case 3:
            return ra_known ? FormatFixedAlways(ra * 180.0 / M_PI, 8) : "";
        case 4:
            return dec_known ? FormatDeclination(dec, SexagesimalStyle::kSpaces) : "";
        case 5:
            return dec_known ? FormatDeclination(dec, SexagesimalStyle::kColons) : "";
        case 6:
            return dec_known ? FormatDeclination(dec, SexagesimalStyle::kHuman) : "";
        case 7:
            return dec_known ? FormatFixedAlways(dec * 180.0 / M_PI, 8) : "";
        case 8:
            return field_name;
        case 9:
            return object.name;
        case 10:
            return object.alternate_name;
        case 11:
            return object.variability_type;
        case 12:
            return FormatFixedAlways(object.saved_m0, 6);
        case 13:
            return FormatFixedAlways(object.saved_period, 6);
        case 14:
            return FormatFixedAlways(object.max_magnitude, 3);
        case 15:
            return FormatFixedAlways(object.min_magnitude, 3);
        default:
            return "\r\n";
    }
}

}  // namespace

std::string SubstituteCopyInfo(const std::string& mask, const std::string& field_name,
                               const kurvalux_data::CObjectListElem& object) {
    double ra = kurvalux_data::kUnknownRa, dec = kurvalux_data::kUnknownDec;
    object.Coordinates(ra, dec);
    // Each coordinate on its own: a known declination is written even when R.A. is not.
    const bool ra_known = ra != kurvalux_data::kUnknownRa;
    const bool dec_known = dec != kurvalux_data::kUnknownDec;
    std::string text = kurvalux_platform::Cut(mask, kMaskCapacity);
    for (size_t k = 0; k < kMaskKeywords.size(); ++k) {
        const std::string keyword = kMaskKeywords[k].keyword;
        size_t at = text.find(keyword);
        if (at == std::string::npos) continue;
        const std::string value = KeywordValue(k, field_name, object, ra_known, ra, dec_known, dec);
        while (at != std::string::npos) {
            text.replace(at, keyword.size(), value);
            // The search goes on where the value was inserted, past the value itself: a value
            // holding the keyword's own text (an object named "%OBJ_NAME%") would otherwise
            // never end the loop.
            at = text.find(keyword, at + value.size());
        }
    }
    if (text.size() > kCopyInfoCapacity) text.resize(kCopyInfoCapacity);
    return text;
}

}  // namespace kurvalux_export
