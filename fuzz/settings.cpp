// Settings files: any text gives settings that save and read back to the same text.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "data/settings.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kurvalux_data::Settings settings;
    kurvalux_data::ParseSettings(std::string(reinterpret_cast<const char*>(data), size), settings);
    const std::string text = kurvalux_data::SettingsToText(settings);
    kurvalux_data::Settings again;
    kurvalux_data::ParseSettings(text, again);
    if (kurvalux_data::SettingsToText(again) != text) std::abort();
    return 0;
}
