#pragma once
// Generated fields for the report benchmarks: objects with a full description (variable and
// comparison stars with positions and catalogue data) and series spread over a number of
// nights.
#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <string>

#include "data/field.h"

inline kurvalux_data::CStarRecord BenchStar(std::mt19937_64& random, const std::string& name) {
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    kurvalux_data::CStarRecord star;
    star.star_name = name;
    star.star_ra = unit(random) * 2 * M_PI;
    star.star_dec = (unit(random) - 0.5) * M_PI;
    star.catalog = "UCAC4";
    star.catalog_id = std::to_string(random() % 1000000000);
    star.catalog_ra = star.star_ra * 180 / M_PI;
    star.catalog_dec = star.star_dec * 180 / M_PI;
    star.catalog_mag = 10 + 5 * unit(random);
    star.catalog_bv = unit(random);
    star.catalog_jk = unit(random);
    return star;
}

// `objects` objects with `cmp` comparison stars each and `series_per_object` series of
// `points` points, the series falling in `nights` different nights.
inline void MakeBenchField(kurvalux_data::Field& field, size_t objects, size_t cmp, size_t nights,
                           size_t series_per_object, size_t points) {
    std::mt19937_64 random(11);
    for (size_t i = 0; i < objects; ++i) {
        kurvalux_data::CObjectListElem& object = field.AddObject();
        object.name = "GSC " + std::to_string(1000 + i);
        object.alternate_name = "NSVS " + std::to_string(i);
        object.variability_type = "EA";
        object.m0 = 2459000.3 + double(i % 7) * 0.01;
        object.period = 0.3 + double(i % 100) * 0.01;
        object.max_magnitude = 12.0;
        object.min_magnitude = 12.7;
        object.meta_data.var = BenchStar(random, "V" + std::to_string(i));
        for (size_t c = 0; c < cmp; ++c)
            object.meta_data.cmp.push_back(BenchStar(random, "C" + std::to_string(c)));
        for (size_t s = 0; s < series_per_object; ++s) {
            auto series = std::make_unique<kurvalux_data::CLocalSeriesTreeElem>();
            const double start = 2459000.3 + double((i + s * 7) % nights) + 0.001 * double(s);
            for (size_t p = 0; p < points; ++p) {
                const double t = start + 0.3 * double(p) / double(points);
                const double phase = std::fmod(t - object.m0, object.period) / object.period;
                const double x = phase < 0.5 ? phase : phase - 1;
                series->times.push_back(t);
                series->values.push_back(12.0 + 0.7 * std::exp(-x * x / 0.002) +
                                         0.01 * std::sin(double(p)));
                series->errors.push_back(0.01);
            }
            object.series.push_back(std::move(series));
        }
        std::sort(object.series.begin(), object.series.end(),
                  [](const auto& a, const auto& b) { return a->FirstTime() < b->FirstTime(); });
    }
}
