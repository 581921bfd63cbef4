// Photometry texts: every line is either a point or a header line; nothing may crash.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "data/photometry.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kurvalux_data::CLocalSeriesTreeElem series;
    const size_t points = kurvalux_data::ParsePhotometry(
        std::string_view(reinterpret_cast<const char*>(data), size), series);
    if (points != series.times.size() || points != series.values.size() ||
        points != series.errors.size())
        std::abort();
    for (double v : series.values)
        if (!(v < kurvalux_data::kMissingValue)) std::abort();
    if (series.file_meta_data.cmp.size() > 10 || series.file_meta_data.chk.size() > 10)
        std::abort();
    return 0;
}
