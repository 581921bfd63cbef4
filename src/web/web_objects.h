#pragma once
// The objects that travel between the program and the web repository: the summary of each
// object in the repository's list, and the object record (identity, ephemeris, catalogue keys,
// light-curve model, notes and series) that publishing sends and the object data answer holds.
#include <cmath>
#include <string>
#include <vector>

#include "json/json.h"

namespace kurvalux_data {
class CObjectListElem;
}

namespace kurvalux_web {

constexpr size_t kObjectTokenCapacity = 15;
constexpr size_t kPublisherCapacity = 63;
constexpr size_t kContributorCapacity = 63;

// The member of an answer that holds its array of objects (object list and object data).
constexpr const char* kObjectsKey = "objects";

// One object of the repository list. Reals the answer does not carry stay not-a-number.
struct CWebObjectListElem {
    std::string token;                      // 15
    std::string publisher;                  // 63
    std::vector<std::string> contributors;  // 63 each
    std::string name, alt_name;             // 63
    std::string comment;                    // 255
    std::string var_type;                   // 31
    double m0 = NAN, period = NAN, ra = NAN, dec = NAN;
    std::string catalog;     // 15
    std::string catalog_id;  // 31
    double catalog_ra = NAN, catalog_dec = NAN, catalog_mag = NAN;
};

// Reads the summary from a record of the list answer; texts are cut at their capacities.
CWebObjectListElem ReadObjectSummary(const sjson::CJSONNode& record);

// Adds the members of the object record to the record at the document's cursor, in the
// record's key order: "token" (when the object has one), "name", "alt_name", "comment",
// "var_type", "m0", "period", "ra", "dec" (degrees), "catalog", "catalog_id", "catalog_ra",
// "catalog_dec", "catalog_mag", the model parameters (only the first two harmonic pairs:
// "a_sin1", "a_sin2", "a_cos1", "a_cos2"), "notes" and "series". A real that is unset (an
// epoch or period of 0, unknown coordinates, an undefined magnitude, not-a-number) is left out.
void AddObjectRecord(const kurvalux_data::CObjectListElem& object, sjson::CJSON& document);

// Copies the object record `from` into the record at `to`'s cursor, key by key in the record's
// order, taking only members of the expected kinds (a real may arrive as an integer). Unknown
// members and members of another kind are dropped.
void CopyObjectRecord(const sjson::CJSONNode& from, sjson::CJSON& to);

// The member `name` of a record node, or null.
const sjson::CJSONNode* MemberOf(const sjson::CJSONNode& record, std::string_view name);
// A string member cut at `capacity`; false when missing or not a string.
bool StringMember(const sjson::CJSONNode& record, std::string_view name, std::string& value,
                  size_t capacity);

// One photometry point as the "data" string: time, value and error as fixed-point text with
// single blanks between them, each the shortest text that reads back to the same double.
std::string FormatDataPoint(double time, double value, double error);

}  // namespace kurvalux_web
