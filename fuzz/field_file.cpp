// Field description texts: any input must be refused with a message or loaded, never crash or
// hang, and whatever loads must save and load again to the same text.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "data/field_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    kurvalux_data::Field field;
    kurvalux_data::FieldLoadOptions options;
    options.parallel = false;
    options.bases.program_folder = "/nonexistent-kurvalux-fuzz/";
    kurvalux_platform::CRecordingMessageBoxSink boxes;
    if (!kurvalux_data::LoadFieldText(text, field, options, boxes).ok) return 0;
    const std::string saved = kurvalux_data::FieldToText(field);
    kurvalux_data::Field again;
    if (!kurvalux_data::LoadFieldText(saved, again, options, boxes).ok) std::abort();
    if (kurvalux_data::FieldToText(again) != saved) std::abort();
    return 0;
}
