#include "web/web_objects.h"

#include <charconv>
#include <numbers>

#include "data/field.h"

namespace kurvalux_web {

using sjson::CJSON;
using sjson::CJSONNode;
using sjson::EKind;

namespace {

constexpr double kDegrees = 180.0 / std::numbers::pi;

// The model parameters that travel, by name and memory index: only the first two harmonic
// pairs, sines before cosines as in every file of the program.
struct ModelKey {
    const char* name;
    size_t index;
};
constexpr ModelKey kModelKeys[] = {
    {"mag0", kurvalux_data::kMag0},    {"sec_phase", kurvalux_data::kSecPhase},
    {"a_pri", kurvalux_data::kAPri},   {"d_pri", kurvalux_data::kDPri},
    {"g_pri", kurvalux_data::kGPri},   {"c_pri", kurvalux_data::kCPri},
    {"a_sec", kurvalux_data::kASec},   {"d_sec", kurvalux_data::kDSec},
    {"g_sec", kurvalux_data::kGSec},   {"c_sec", kurvalux_data::kCSec},
    {"a_sin1", kurvalux_data::kASin1}, {"a_sin2", kurvalux_data::kASin2},
    {"a_cos1", kurvalux_data::kACos1}, {"a_cos2", kurvalux_data::kACos2},
};

// The object record's scalar keys before the model, with their kinds.
struct RecordKey {
    const char* name;
    EKind kind;
};
constexpr RecordKey kIdentityKeys[] = {
    {"token", EKind::String},     {"name", EKind::String},       {"alt_name", EKind::String},
    {"comment", EKind::String},   {"var_type", EKind::String},   {"m0", EKind::Real},
    {"period", EKind::Real},      {"ra", EKind::Real},           {"dec", EKind::Real},
    {"catalog", EKind::String},   {"catalog_id", EKind::String}, {"catalog_ra", EKind::Real},
    {"catalog_dec", EKind::Real}, {"catalog_mag", EKind::Real},
};
constexpr RecordKey kSeriesKeys[] = {
    {"file_time", EKind::Integer}, {"var_aperture", EKind::Real},
    {"cmp_aperture", EKind::Real}, {"chk_aperture", EKind::Real},
    {"jd_type", EKind::Integer},   {"brightness_unit", EKind::String},
    {"filter", EKind::String},
};
constexpr RecordKey kMinimumKeys[] = {
    {"jd", EKind::Real}, {"error", EKind::Real}, {"type", EKind::String}};

void AddKnownReal(CJSON& document, const char* name, double value, bool known) {
    if (known && std::isfinite(value)) document.AddReal(name, value);
}

void AppendFixed(std::string& out, double value) {
    char text[400];
    auto r = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed);
    out.append(text, r.ec == std::errc() ? r.ptr : text);
}

const char* MinimumTypeName(uint32_t type) {
    switch (type) {
        case kurvalux_data::kMinimumPrimary:
            return "primary";
        case kurvalux_data::kMinimumSecondary:
            return "secondary";
        default:
            return "unknown";
    }
}

// Copies one member of `from` to `to` when it is there with the expected kind.
void CopyMember(const CJSONNode& from, CJSON& to, const RecordKey& key) {
    const CJSONNode* node = MemberOf(from, key.name);
    if (!node) return;
    double real = 0;
    switch (key.kind) {
        case EKind::String:
            if (node->Kind() == EKind::String) to.AddString(key.name, node->Text());
            break;
        case EKind::Integer:
            if (node->Kind() == EKind::Integer) to.AddInteger(key.name, node->Integer());
            break;
        default:
            if (sjson::NumberAsReal(node, real)) to.AddReal(key.name, real);
            break;
    }
}

// Copies the string elements of the array member `name`, if it is an array.
void CopyStrings(const CJSONNode& from, CJSON& to, const char* name) {
    const CJSONNode* array = MemberOf(from, name);
    if (!array || array->Kind() != EKind::Array) return;
    to.AddArray(name);
    for (const auto& element : array->ChildNodes())
        if (element->Kind() == EKind::String) to.AppendString(element->Text());
    to.Leave();
}

}  // namespace

const CJSONNode* MemberOf(const CJSONNode& record, std::string_view name) {
    if (record.Kind() != EKind::Record) return nullptr;
    const size_t i = record.Find(name);
    return i == CJSONNode::npos ? nullptr : record.Child(i);
}

bool StringMember(const CJSONNode& record, std::string_view name, std::string& value,
                  size_t capacity) {
    const CJSONNode* node = MemberOf(record, name);
    if (!node || node->Kind() != EKind::String) return false;
    value = node->Text().substr(0, capacity);
    return true;
}

CWebObjectListElem ReadObjectSummary(const CJSONNode& record) {
    CWebObjectListElem e;
    StringMember(record, "token", e.token, kObjectTokenCapacity);
    StringMember(record, "publisher", e.publisher, kPublisherCapacity);
    if (const CJSONNode* list = MemberOf(record, "contributors");
        list && list->Kind() == EKind::Array)
        for (const auto& c : list->ChildNodes())
            if (c->Kind() == EKind::String)
                e.contributors.push_back(c->Text().substr(0, kContributorCapacity));
    StringMember(record, "name", e.name, kurvalux_data::kNameCapacity);
    StringMember(record, "alt_name", e.alt_name, kurvalux_data::kAlternateNameCapacity);
    StringMember(record, "comment", e.comment, kurvalux_data::kCommentCapacity);
    StringMember(record, "var_type", e.var_type, kurvalux_data::kVariabilityTypeCapacity);
    StringMember(record, "catalog", e.catalog, kurvalux_data::kCatalogCapacity);
    StringMember(record, "catalog_id", e.catalog_id, kurvalux_data::kCatalogIdCapacity);
    sjson::NumberAsReal(MemberOf(record, "m0"), e.m0);
    sjson::NumberAsReal(MemberOf(record, "period"), e.period);
    sjson::NumberAsReal(MemberOf(record, "ra"), e.ra);
    sjson::NumberAsReal(MemberOf(record, "dec"), e.dec);
    sjson::NumberAsReal(MemberOf(record, "catalog_ra"), e.catalog_ra);
    sjson::NumberAsReal(MemberOf(record, "catalog_dec"), e.catalog_dec);
    sjson::NumberAsReal(MemberOf(record, "catalog_mag"), e.catalog_mag);
    return e;
}

std::string FormatDataPoint(double time, double value, double error) {
    std::string text;
    AppendFixed(text, time);
    text.push_back(' ');
    AppendFixed(text, value);
    text.push_back(' ');
    AppendFixed(text, error);
    return text;
}

void AddObjectRecord(const kurvalux_data::CObjectListElem& object, CJSON& document) {
    using namespace kurvalux_data;
    if (!object.token.empty()) document.AddString("token", object.token);
    document.AddString("name", object.name);
    document.AddString("alt_name", object.alternate_name);
    document.AddString("comment", object.comment.substr(0, kCommentCapacity));
    document.AddString("var_type", object.variability_type);
    // The record carries the saved ephemeris, the one the observer has accepted.
    AddKnownReal(document, "m0", object.saved_m0, object.saved_m0 != 0);
    AddKnownReal(document, "period", object.saved_period, object.saved_period != 0);
    double ra = kUnknownRa, dec = kUnknownDec;
    const bool known = object.Coordinates(ra, dec);
    AddKnownReal(document, "ra", ra * kDegrees, known);
    AddKnownReal(document, "dec", dec * kDegrees, known);
    const CStarRecord& star = object.meta_data.var;
    document.AddString("catalog", star.catalog);
    document.AddString("catalog_id", star.catalog_id);
    const bool catalog_known = star.catalog_ra != kUnknownRa && star.catalog_dec != kUnknownDec;
    AddKnownReal(document, "catalog_ra", star.catalog_ra * kDegrees, catalog_known);
    AddKnownReal(document, "catalog_dec", star.catalog_dec * kDegrees, catalog_known);
    AddKnownReal(document, "catalog_mag", star.catalog_mag,
                 star.catalog_mag != kUndefinedMagnitude);
    for (const ModelKey& key : kModelKeys)
        AddKnownReal(document, key.name, object.fit[key.index], true);

    document.AddArray("notes");
    for (size_t start = 0; start < object.notes.size();) {
        size_t end = object.notes.find('\n', start);
        if (end == std::string::npos) end = object.notes.size();
        size_t stop = end;
        if (stop > start && object.notes[stop - 1] == '\r') --stop;
        document.AppendString(object.notes.substr(start, stop - start));
        start = end + 1;
    }
    document.Leave();

    // Only the observer's own (local) series travel: series loaded from the web cache are
    // the repository's already and would come back as duplicates of another's data.
    document.AddArray("series");
    for (const auto& series : object.series) {
        if (!series->IsLocal()) continue;
        const CMetaData meta = series->EffectiveMetaData();
        document.AppendRecord();
        document.AddInteger("file_time", static_cast<int64_t>(series->file_time));
        document.AddReal("var_aperture", meta.var_aperture);
        document.AddReal("cmp_aperture", meta.cmp_aperture);
        document.AddReal("chk_aperture", meta.chk_aperture);
        document.AddInteger("jd_type", meta.jd_type);
        document.AddString("brightness_unit",
                           series->EffectiveValueUnit() == kUnitFlux ? "flux" : "mag");
        document.AddString("filter", meta.filter);
        document.AddArray("minima");
        for (const CMinimaListElem& minimum : series->minima) {
            document.AppendRecord();
            document.AddReal("jd", minimum.time);
            document.AddReal("error", minimum.error);
            document.AddString("type", MinimumTypeName(minimum.type));
            document.Leave();
        }
        document.Leave();
        document.AddArray("data");
        for (size_t i = 0; i < series->Count(); ++i)
            document.AppendString(
                FormatDataPoint(series->times[i], series->values[i],
                                i < series->errors.size() ? series->errors[i] : 0));
        document.Leave();
        document.Leave();
    }
    document.Leave();
}

void CopyObjectRecord(const CJSONNode& from, CJSON& to) {
    for (const RecordKey& key : kIdentityKeys) CopyMember(from, to, key);
    for (const ModelKey& key : kModelKeys) CopyMember(from, to, {key.name, EKind::Real});
    CopyStrings(from, to, "notes");
    const CJSONNode* series = MemberOf(from, "series");
    if (!series || series->Kind() != EKind::Array) return;
    to.AddArray("series");
    for (const auto& one : series->ChildNodes()) {
        if (one->Kind() != EKind::Record) continue;
        to.AppendRecord();
        for (const RecordKey& key : kSeriesKeys) CopyMember(*one, to, key);
        if (const CJSONNode* minima = MemberOf(*one, "minima");
            minima && minima->Kind() == EKind::Array) {
            to.AddArray("minima");
            for (const auto& minimum : minima->ChildNodes()) {
                if (minimum->Kind() != EKind::Record) continue;
                to.AppendRecord();
                for (const RecordKey& key : kMinimumKeys) CopyMember(*minimum, to, key);
                to.Leave();
            }
            to.Leave();
        }
        CopyStrings(*one, to, "data");
        to.Leave();
    }
    to.Leave();
}

}  // namespace kurvalux_web
