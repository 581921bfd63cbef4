#pragma once
// Small fields built in memory for the report tests.
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "data/field.h"

// The night labels are local dates; the tests fix the zone.
inline void UseUtc() {
    setenv("TZ", "UTC", 1);
    tzset();
}

inline kurvalux_data::CStarRecord Star(const std::string& name) {
    kurvalux_data::CStarRecord star;
    star.star_name = name;
    return star;
}

inline kurvalux_data::CObjectListElem& AddNamed(kurvalux_data::Field& field,
                                                const std::string& name, size_t cmp = 0) {
    kurvalux_data::CObjectListElem& object = field.AddObject();
    object.name = name;
    for (size_t i = 0; i < cmp; ++i) object.meta_data.cmp.push_back(Star("C" + std::to_string(i)));
    return object;
}

// A series of `count` points one minute apart from `first`.
inline kurvalux_data::CLocalSeriesTreeElem& AddSeries(kurvalux_data::CObjectListElem& object,
                                                      double first, size_t count = 3) {
    auto series = std::make_unique<kurvalux_data::CLocalSeriesTreeElem>();
    for (size_t i = 0; i < count; ++i) {
        series->times.push_back(first + double(i) / 1440.0);
        series->values.push_back(12.0 + 0.01 * double(i));
        series->errors.push_back(0.005);
    }
    auto& ref = *series;
    object.series.push_back(std::move(series));
    return ref;
}
