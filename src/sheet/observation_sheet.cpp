#include "sheet/observation_sheet.h"

#include <cmath>
#include <cstdio>
#include <ctime>

#include "data/julian_date.h"
#include "platform/text.h"

namespace kurvalux_sht {

using kurvalux_platform::Cut;

const std::array<SheetColumn, kDataColumnCount> kDataColumns = {{
    {"Name", 120, 64, false},
    {"Alternate name", 120, 64, false},
    {"Type", 80, 64, false},
    {"Comment", 200, 128, false},
    {"M0", 110, 16, false},
    {"Period", 70, 16, false},
    {"Max. Mag", 50, 16, false},
    {"Min. Mag", 50, 16, false},
    {"R.A.", 100, 16, false},
    {"Dec.", 100, 16, false},
    {"Catalog", 60, 16, false},
    {"Cat. Id", 80, 64, false},
    {"Cat. R.A.", 100, 16, false},
    {"Cat. Dec.", 100, 16, false},
    {"Cat. Mag", 70, 16, false},
    {"Cat. B-V", 70, 16, false},
    {"Cat. J-K", 70, 16, false},
}};

namespace {
// The texts of a row keep within the column limits less the terminating byte the sheet view
// reserves: names 63, type 31, comment 127, numbers 15.
constexpr size_t kNumberTextCapacity = 15;
}  // namespace

bool NightOfJulianDate(double jd, int32_t& night) {
    if (!kurvalux_data::IsJulianDateInRange(jd)) return false;
    night = static_cast<int32_t>(std::trunc(jd));
    return true;
}

std::string NightLabel(int32_t night) {
    // JD n.0 is noon UT of the civil day that begins the night.
    const std::time_t t =
        static_cast<std::time_t>((static_cast<int64_t>(night) - 2440588) * 86400 + 43200);
    std::tm tm{};
    if (!localtime_r(&t, &tm)) return {};
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d", tm.tm_year + 1900, tm.tm_mon + 1,
                  tm.tm_mday);
    return Cut(buffer, 15);
}

size_t FindNightForward(const std::vector<CNightTreeElem>& nights, int32_t night, size_t from) {
    for (size_t i = from; i < nights.size(); ++i) {
        if (nights[i].night == night) return i;
        if (nights[i].night > night) break;  // ascending: it cannot come later
    }
    return nights.size();
}

SheetInput MakeSheetInput(const kurvalux_data::CObjectListElem& object) {
    SheetInput input;
    input.report = kurvalux_export::SummarizeReport(object);
    input.series.reserve(object.series.size());
    for (const auto& series : object.series)
        input.series.push_back({series->FirstTime(), series->Count()});
    return input;
}

void CObservationSheet::Build(const std::vector<const kurvalux_data::CObjectListElem*>& objects) {
    std::vector<SheetInput> inputs;
    inputs.reserve(objects.size());
    for (const auto* object : objects) inputs.push_back(MakeSheetInput(*object));
    Build(inputs);
}

void CObservationSheet::Build(const kurvalux_data::Field& field) {
    std::vector<const kurvalux_data::CObjectListElem*> objects;
    objects.reserve(field.objects.size());
    for (const auto& object : field.objects) objects.push_back(object.get());
    Build(objects);
}

void CObservationSheet::Build(const std::vector<SheetInput>& inputs) {
    // Nights: only a series with points opens a night.
    std::set<int32_t> tree;
    for (const SheetInput& input : inputs)
        for (const SeriesStart& series : input.series) {
            int32_t night = 0;
            if (series.first_time != 0 && series.points > 0 &&
                NightOfJulianDate(series.first_time, night))
                tree.insert(night);
        }
    nights_.clear();
    nights_.reserve(tree.size());
    for (int32_t night : tree) nights_.push_back({night, NightLabel(night)});

    rows_.assign(inputs.size(), SheetRow{});
    for (size_t r = 0; r < inputs.size(); ++r) {
        const SheetInput& input = inputs[r];
        const kurvalux_export::ObjectSummary& o = input.report.object;
        const kurvalux_export::StarSummary& v = input.report.var;
        SheetRow& row = rows_[r];
        row.source = r;
        row.texts = {Cut(o.name, 63),
                     Cut(o.alternate_name, 63),
                     Cut(o.variability_type, 31),
                     Cut(o.comment, 127),
                     Cut(o.m0, kNumberTextCapacity),
                     Cut(o.period, kNumberTextCapacity),
                     Cut(o.max_mag, kNumberTextCapacity),
                     Cut(o.min_mag, kNumberTextCapacity),
                     Cut(v.ra, kNumberTextCapacity),
                     Cut(v.dec, kNumberTextCapacity),
                     Cut(v.catalog, kNumberTextCapacity),
                     Cut(v.catalog_id, 63),
                     Cut(v.catalog_ra, kNumberTextCapacity),
                     Cut(v.catalog_dec, kNumberTextCapacity),
                     Cut(v.catalog_mag, kNumberTextCapacity),
                     Cut(v.catalog_bv, kNumberTextCapacity),
                     Cut(v.catalog_jk, kNumberTextCapacity)};
        // Flags: any series with a first time marks its night, also one without points
        // (which could not open a night of its own).
        row.observed.assign(nights_.size(), 0);
        size_t last = 0;
        for (const SeriesStart& series : input.series) {
            int32_t night = 0;
            if (series.first_time == 0 || !NightOfJulianDate(series.first_time, night)) continue;
            const size_t found = FindNightForward(nights_, night, last);
            if (found == nights_.size()) continue;
            row.observed[found] = 1;
            last = found;
        }
    }

    columns_.assign(kDataColumns.begin(), kDataColumns.end());
    headers_.clear();
    for (const SheetColumn& column : kDataColumns) headers_.push_back(column.header);
    for (const CNightTreeElem& night : nights_) {
        columns_.push_back({"", kNightColumnWidth, kNightColumnLimit, true});
        headers_.push_back(night.label);
    }
}

std::string CObservationSheet::ToTabText() const {
    std::string text;
    for (size_t c = 0; c < headers_.size(); ++c) {
        if (c) text += '\t';
        text += headers_[c];
    }
    text += '\n';
    for (const SheetRow& row : rows_) {
        for (size_t c = 0; c < row.texts.size(); ++c) {
            if (c) text += '\t';
            text += row.texts[c];
        }
        for (uint8_t flag : row.observed) {
            text += '\t';
            if (flag) text += 'x';
        }
        text += '\n';
    }
    return text;
}

}  // namespace kurvalux_sht
