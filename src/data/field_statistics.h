#pragma once
// What a field holds: objects, series, minima, points, observing nights and hours.
#include <string>
#include <vector>

#include "data/field.h"

namespace kurvalux_data {

struct FieldStatistics {
    long objects = 0;
    long series = 0;
    long minima = 0;
    long points = 0;
    long nights = 0;     // distinct integer JDs among the points counted
    long obs_hours = 0;  // summed series spans in days x 24, rounded half up
    // Series kept although their photometry files cannot be read, and the minima timed on
    // them; counted apart, since none of their points is there to count.
    long unavailable_series = 0;
    long unavailable_minima = 0;
    // Series with a time outside kEarliestJulianDate .. kLatestJulianDate (or not a number):
    // their points and minima are counted, their nights and hours cannot be.
    long out_of_range = 0;
};

// All series, or (short_only) only the series spanning less than one day, which leaves out
// survey data that covers months.
FieldStatistics ComputeFieldStatistics(const Field& field, bool short_only);

// The lines of the statistics box: "Field contains:", "N objects", ... "N obs. hours", and
// when there are any, "N unavailable series (M minima)" and a line saying how many series
// have times out of range.
std::vector<std::string> FieldStatisticsLines(const FieldStatistics& statistics);

constexpr const char* kFieldStatisticsTitle = "Statistics of Field";

}  // namespace kurvalux_data
