#pragma once
// The texts the reports show for an object and its stars, computed once per export and shared
// by the table, the page and the observation sheet: numbers in their report precision, and an
// empty text wherever a value is unset (epoch or period 0, magnitude 100, unknown position).
#include <string>
#include <vector>

#include "data/field.h"

namespace kurvalux_export {

// Bounds of the summary texts, in bytes.
constexpr size_t kSummaryCommentCapacity = 127;
constexpr size_t kSummaryCatalogCapacity = 15;
constexpr size_t kSummaryCatalogIdCapacity = 31;

struct ObjectSummary {
    std::string name;              // 63
    std::string alternate_name;    // 63
    std::string variability_type;  // 31
    std::string comment;           // 127, shown by the sheet, not exported
    std::string m0;                // 7 decimals, empty when 0
    std::string period;            // 7 decimals, empty when 0
    std::string max_mag;           // 3 decimals, empty when undefined
    std::string min_mag;
};

struct StarSummary {
    std::string name;
    std::string ra;   // "12 34 56.789", empty when unknown
    std::string dec;  // "+12 34 56.78", empty when unknown
    std::string catalog;
    std::string catalog_id;
    std::string catalog_ra;
    std::string catalog_dec;
    std::string catalog_mag;  // 2 decimals, empty when undefined
    std::string catalog_bv;
    std::string catalog_jk;
};

struct ObjectReport {
    ObjectSummary object;
    StarSummary var;
    std::vector<StarSummary> cmp;
    std::vector<StarSummary> chk;
};

// The star records that describe the object: its own meta-data, completed from its reference
// series where its own record leaves a value unset (as the meta-data pane shows them).
kurvalux_data::CMetaData ObjectMetaData(const kurvalux_data::CObjectListElem& object);

ObjectSummary SummarizeObject(const kurvalux_data::CObjectListElem& object);
StarSummary SummarizeStar(const kurvalux_data::CStarRecord& star);
ObjectReport SummarizeReport(const kurvalux_data::CObjectListElem& object);
std::vector<ObjectReport> SummarizeField(const kurvalux_data::Field& field);

// The ten fields of a star summary joined by ";" (the table's order).
std::string JoinStarFields(const StarSummary& star);

// The Field's name: its file's name without folder and extension ("" for a new field).
std::string FieldNameOfPath(const std::string& path);

// Escapes "&", "<", ">" and the double quote for HTML text.
std::string HtmlEscape(const std::string& text);

}  // namespace kurvalux_export
