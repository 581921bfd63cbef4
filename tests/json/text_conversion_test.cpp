// The conversions between 8-bit (Windows-1252) text and UTF-8 / UTF-16: the code page's own
// characters, what has no byte of its own, malformed input, and every byte there and back.
#include "json/text_conversion.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using sjson::ConvertText;
using sjson::ETextConversion;
using namespace std::string_literals;

struct ConversionCase {
    ETextConversion mode;
    std::string in;
    std::string out;
};

TEST(TextConversion, Table) {
    const ConversionCase cases[] = {
        {ETextConversion::AnsiToUtf8, "plain 7-bit", "plain 7-bit"},
        {ETextConversion::AnsiToUtf8, "\xE9t\xE9", "\xC3\xA9t\xC3\xA9"},
        {ETextConversion::AnsiToUtf8, "\x80 \x9F \xFF", "\xE2\x82\xAC \xC5\xB8 \xC3\xBF"},
        {ETextConversion::AnsiToUtf8, "\x81\x8D\x8F\x90\x9D",
         "\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D"},  // unassigned: their C1 control
        {ETextConversion::AnsiToUtf16, "A\xE9\x80", "A\0\xE9\0\xAC\x20"s},
        {ETextConversion::AnsiToUtf16, "", ""},
        {ETextConversion::Utf8ToAnsi, "\xE2\x82\xAC\xE2\x80\x9C\xC3\xA9", "\x80\x93\xE9"},
        {ETextConversion::Utf8ToAnsi, "\xE2\x98\x83 \xF0\x9F\x98\x80 \xC2\x80", "? ? ?"},
        // Not well-formed UTF-8: the bytes stay as they are.
        {ETextConversion::Utf8ToAnsi, "caf\xE9", "caf\xE9"},
        {ETextConversion::Utf8ToAnsi, "\xC0\xAF\xE0\x80\xAF", "\xC0\xAF\xE0\x80\xAF"},
        {ETextConversion::Utf8ToAnsi, "\xED\xA0\x80", "\xED\xA0\x80"},          // a surrogate
        {ETextConversion::Utf8ToAnsi, "\xF4\x90\x80\x80", "\xF4\x90\x80\x80"},  // past U+10FFFF
        {ETextConversion::Utf8ToAnsi, "x\xE2\x82", "x\xE2\x82"},                // cut short
        {ETextConversion::Utf16ToAnsi, "A\0\xE9\0\xAC\x20"s, "A\xE9\x80"},
        {ETextConversion::Utf16ToAnsi, "\x3D\xD8\x00\xDE"s, "?"},  // a surrogate pair
        {ETextConversion::Utf16ToAnsi, "\x00\xD8Z\0"s, "?Z"},      // a lone surrogate
        {ETextConversion::Utf16ToAnsi, "\x03\x26"s, "?"},          // U+2603
        {ETextConversion::Utf16ToAnsi, "A\0B"s, "A"},              // an odd last byte
    };
    for (const ConversionCase& c : cases) {
        SCOPED_TRACE(c.in);
        std::string buffer = c.in;
        ConvertText(buffer, c.mode);
        EXPECT_EQ(buffer, c.out);
    }
}

TEST(TextConversion, EveryByteGoesThereAndBack) {
    std::string all;
    for (int b = 0; b < 256; ++b) all.push_back(static_cast<char>(b));
    std::string utf8 = all;
    ConvertText(utf8, ETextConversion::AnsiToUtf8);
    // 128 one-byte characters; in 0x80-0x9F 17 of three bytes and 10 + 5 of two; 96 of two.
    EXPECT_EQ(utf8.size(), 401u);
    ConvertText(utf8, ETextConversion::Utf8ToAnsi);
    EXPECT_EQ(utf8, all);
    std::string utf16 = all;
    ConvertText(utf16, ETextConversion::AnsiToUtf16);
    EXPECT_EQ(utf16.size(), 512u);
    ConvertText(utf16, ETextConversion::Utf16ToAnsi);
    EXPECT_EQ(utf16, all);
}

}  // namespace
