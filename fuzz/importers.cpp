// Importers: any text (or FITS bytes) is either refused with a message and no series, or read into
// series whose columns agree, each of which writes a photometry text that reads back to as many
// points.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "data/import/photometry_import.h"
#include "data/photometry.h"

// cfitsio sizes some buffers from header values and checks what calloc gives back; a damaged
// header may ask for petabytes, which the C library refuses with NULL and cfitsio reports as an
// error. The sanitizer's allocator is told to do the same rather than abort (operator new, which
// this program's own code uses, still aborts on such a size).
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace kurvalux_data;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    ImportOptions options;
    if (size > 0) options.time_kind = static_cast<TimeKind>(data[0] % 6);
    const ImportResult result = ImportPhotometryText(text, options);
    if (!result.ok) {
        if (result.message.empty() || !result.series.empty()) std::abort();
        return 0;
    }
    if (result.series.empty()) std::abort();
    CObjectListElem object;
    object.meta_data.var.star_ra = 1.0;
    object.meta_data.var.star_dec = 0.5;
    for (const ImportedSeries& s : result.series) {
        if (s.times.empty() || s.values.size() != s.times.size() ||
            s.errors.size() != s.times.size())
            std::abort();
        std::string written, converted, message;
        AddImportOptions add;
        add.source_name = "fuzz";
        if (!ImportedPhotometryText(s, object, add, written, converted, message)) continue;
        CSeriesTreeElem back;
        std::string error;
        // Times beyond the photometry format's number range are refused by its reader with a
        // message; anything else must read back whole.
        const size_t points = ParsePhotometry(written, back, &error);
        if (error.empty() && points != s.times.size()) std::abort();
    }
    return 0;
}
