#include "data/field_statistics.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <unordered_set>

#include "data/julian_date.h"

namespace kurvalux_data {

FieldStatistics ComputeFieldStatistics(const Field& field, bool short_only) {
    FieldStatistics s;
    std::unordered_set<long> nights;
    double days = 0;
    s.objects = static_cast<long>(field.objects.size());
    for (const auto& object : field.objects) {
        for (const auto& unavailable : object->unavailable_series) {
            ++s.unavailable_series;
            s.unavailable_minima += static_cast<long>(unavailable.series->minima.size());
        }
        for (const auto& series : object->series) {
            const double span = series->LastTime() - series->FirstTime();
            if (short_only && !(span < 1.0)) continue;
            ++s.series;
            s.minima += static_cast<long>(series->minima.size());
            s.points += static_cast<long>(series->Count());
            if (!std::all_of(series->times.begin(), series->times.end(), IsJulianDateInRange)) {
                ++s.out_of_range;
                continue;
            }
            days += span;
            long last_night = LONG_MIN;
            for (double t : series->times) {
                const long night = static_cast<long>(std::trunc(t));
                if (night != last_night) nights.insert(night);
                last_night = night;
            }
        }
    }
    s.nights = static_cast<long>(nights.size());
    // Every span counted lies within the range of Julian Dates, so the hours fit a long
    // for any number of series a computer can hold.
    s.obs_hours = static_cast<long>(std::floor(days * 24.0 + 0.5));
    return s;
}

std::vector<std::string> FieldStatisticsLines(const FieldStatistics& s) {
    std::vector<std::string> lines = {"Field contains:",
                                      std::to_string(s.objects) + " objects",
                                      std::to_string(s.series) + " series",
                                      std::to_string(s.minima) + " minima",
                                      std::to_string(s.points) + " points",
                                      std::to_string(s.nights) + " nights",
                                      std::to_string(s.obs_hours) + " obs. hours"};
    if (s.unavailable_series > 0)
        lines.push_back(std::to_string(s.unavailable_series) + " unavailable series (" +
                        std::to_string(s.unavailable_minima) + " minima)");
    if (s.out_of_range > 0)
        lines.push_back(std::to_string(s.out_of_range) +
                        " series with times out of range, not counted in nights and hours");
    return lines;
}

}  // namespace kurvalux_data
