// JSON texts: any input must be parsed or refused with a message, never crash or hang, and
// whatever parses must write and parse again to the very same text, with and without the
// writer's separator and line ends. The 8-bit text conversions must come back unchanged too.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "json/json.h"
#include "json/text_conversion.h"

namespace {

void CheckWrittenTextIsStable(const sjson::CJSON& doc, unsigned flags) {
    kurvalux_platform::CTextBuffer written;
    if (!doc.Write(written, flags)) std::abort();
    sjson::CJSON again;
    sjson::CJSONSource source(written.Text());
    if (!again.Parse(source)) std::abort();
    kurvalux_platform::CTextBuffer rewritten;
    again.Write(rewritten, flags);
    if (rewritten.Text() != written.Text()) std::abort();
}

void CheckConversionComesBack(const std::string& text, sjson::ETextConversion there,
                              sjson::ETextConversion back) {
    std::string buffer = text;
    sjson::ConvertText(buffer, there);
    sjson::ConvertText(buffer, back);
    if (buffer != text) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    CheckConversionComesBack(text, sjson::ETextConversion::AnsiToUtf8,
                             sjson::ETextConversion::Utf8ToAnsi);
    CheckConversionComesBack(text, sjson::ETextConversion::AnsiToUtf16,
                             sjson::ETextConversion::Utf16ToAnsi);
    std::string converted = text;
    sjson::ConvertText(converted, sjson::ETextConversion::Utf8ToAnsi);

    sjson::CJSON doc;
    sjson::CJSONSource source(text);
    if (!doc.Parse(source)) {
        if (source.error.size() > sjson::kErrorCapacity) std::abort();
        return 0;
    }
    CheckWrittenTextIsStable(doc, sjson::kWritePretty);
    CheckWrittenTextIsStable(doc, 0);
    return 0;
}
