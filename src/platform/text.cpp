#include "platform/text.h"

#include "platform/sexagesimal.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace kurvalux_platform {

void AssignCut(std::string& dst, std::string_view src, size_t capacity) {
    dst.assign(src.substr(0, capacity));
}

std::string Cut(std::string_view src, size_t capacity) {
    return std::string(src.substr(0, capacity));
}

std::string FormatFixedAlways(double value, int decimals) {
    char buffer[400];
    auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, decimals);
    if (result.ec != std::errc()) return "0";
    std::string text(buffer, result.ptr);
    // "-0.000" is not a useful text for a value that rounds to zero.
    if (text[0] == '-' && text.find_first_not_of("-0.") == std::string::npos) text.erase(0, 1);
    return text;
}

std::string FormatFixed(double value, int decimals) {
    if (value == 0.0) return "0";
    return FormatFixedAlways(value, decimals);
}

std::string FormatHex(unsigned long long value) {
    char buffer[32];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value, 16);
    return std::string(buffer, result.ptr);
}

// The field file's position texts are one style of the program's sexagesimal formatter.
std::string FormatRaSexagesimal(double ra_radians) {
    return FormatRightAscension(ra_radians, SexagesimalStyle::kColons, SexagesimalSign::kExplicit);
}

std::string FormatDecSexagesimal(double dec_radians) {
    return FormatDeclination(dec_radians, SexagesimalStyle::kColons, SexagesimalSign::kExplicit);
}

bool ParseSexagesimal(std::string_view text, double& value) {
    size_t i = 0;
    auto skip = [&] {
        while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == ':')) ++i;
    };
    skip();
    bool negative = false;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
    double parts[3] = {0, 0, 0};
    int count = 0;
    while (count < 3) {
        skip();
        if (i >= text.size() ||
            !(std::isdigit(static_cast<unsigned char>(text[i])) || text[i] == '.'))
            break;
        double v = 0;
        auto result = std::from_chars(text.data() + i, text.data() + text.size(), v,
                                      std::chars_format::fixed);
        if (result.ec != std::errc()) break;
        parts[count++] = v;
        i = static_cast<size_t>(result.ptr - text.data());
    }
    if (count == 0) return false;
    double v = parts[0] + parts[1] / 60.0 + parts[2] / 3600.0;
    value = negative ? -v : v;
    return true;
}

bool ParseRaSexagesimal(std::string_view text, double& hours) {
    double value = 0;
    if (!ParseSexagesimal(text, value) || !(value >= 0 && value <= 24)) return false;
    hours = value;
    return true;
}

bool ParseDecSexagesimal(std::string_view text, double& degrees) {
    double value = 0;
    if (!ParseSexagesimal(text, value) || !(value >= -90 && value <= 90)) return false;
    degrees = value;
    return true;
}

std::string ToUpperAscii(std::string_view text) {
    std::string upper(text);
    for (char& c : upper)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return upper;
}

std::string_view TrimBlanks(std::string_view text) {
    size_t b = text.find_first_not_of(" \t");
    if (b == std::string_view::npos) return {};
    size_t e = text.find_last_not_of(" \t");
    return text.substr(b, e - b + 1);
}

}  // namespace kurvalux_platform
