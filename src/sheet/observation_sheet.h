#pragma once
// The observation sheet: one row per object, one column per observing night, showing at a
// glance which objects were observed in which night beside their identification and
// catalogue data. A night is the integer part of a Julian Date: the Julian day starts at
// noon, so every observation of one (European or American) night carries the same number.
#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "data/field.h"
#include "export/summaries.h"

namespace kurvalux_sht {

// One observing night, keyed by its number (the integer part of a Julian Date).
struct CNightTreeElem {
    int32_t night = 0;
    std::string label;  // YYYY-MM-DD in local time, at most 15 characters
    bool operator<(const CNightTreeElem& other) const { return night < other.night; }
};

// The night number of a Julian Date; false for a date outside the range of observation times.
bool NightOfJulianDate(double jd, int32_t& night);
// "YYYY-MM-DD": the calendar date, in the local time zone, of the noon (UT) that starts the
// night.
std::string NightLabel(int32_t night);

struct SheetColumn {
    const char* header;
    int width;
    int limit;
    bool night;  // night columns are aligned apart from the data columns
};

// The data columns, in order: "Name" … "Cat. J-K".
constexpr size_t kDataColumnCount = 17;
extern const std::array<SheetColumn, kDataColumnCount> kDataColumns;
constexpr int kNightColumnWidth = 70;
constexpr int kNightColumnLimit = 16;

// What the sheet needs of one series: when it starts and whether it holds points.
struct SeriesStart {
    double first_time = 0;  // 0 when the series has no first time
    size_t points = 0;
};

// What the sheet needs of one object.
struct SheetInput {
    kurvalux_export::ObjectReport report;
    std::vector<SeriesStart> series;
};

SheetInput MakeSheetInput(const kurvalux_data::CObjectListElem& object);

struct SheetRow {
    std::array<std::string, kDataColumnCount> texts;
    std::vector<uint8_t> observed;  // one flag per night
    size_t source = 0;              // index of the object in the list the sheet was built from
};

class CObservationSheet {
public:
    // Builds the sheet anew from a list of objects (in list order).
    void Build(const std::vector<const kurvalux_data::CObjectListElem*>& objects);
    void Build(const kurvalux_data::Field& field);
    void Build(const std::vector<SheetInput>& inputs);

    size_t NightCount() const { return nights_.size(); }
    const std::vector<CNightTreeElem>& Nights() const { return nights_; }
    const std::vector<SheetRow>& Rows() const { return rows_; }
    // Every column, the night columns last.
    const std::vector<SheetColumn>& Columns() const { return columns_; }
    const std::string& ColumnHeader(size_t column) const { return headers_[column]; }

    // The sheet as text: a header line and one line per row, the cells separated by TAB,
    // "x" in the cell of an observed night. Lines end with "\n".
    std::string ToTabText() const;

private:
    std::vector<CNightTreeElem> nights_;
    std::vector<SheetRow> rows_;
    std::vector<SheetColumn> columns_;
    std::vector<std::string> headers_;
};

// The number of the night, in `nights` (ascending), that holds `night`, searched forward
// from `from`; nights.size() when absent. Series come in time order, so each search starts
// where the previous one matched.
size_t FindNightForward(const std::vector<CNightTreeElem>& nights, int32_t night, size_t from);

}  // namespace kurvalux_sht
