#include "platform/text.h"

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

namespace {
// Splits |value| (hours or degrees) into whole units, minutes and seconds rounded to
// `decimals`, carrying a rounded 60 into the next field.
std::string FormatSexagesimal(double value, int decimals, bool sign) {
    const double scale = std::pow(10.0, decimals);
    // Positions come in range from the readers; anything else is shown as zero rather than
    // overflowing the integer fields.
    if (!(std::fabs(value) <= 1e6)) value = 0;
    long long ticks = std::llround(std::fabs(value) * 3600.0 * scale);
    // The sign of what is written: a value that rounds to zero is written unsigned ("+" for a
    // declination), so that it reads back to the same text.
    const bool negative = value < 0 && ticks > 0;
    const long long per_minute = static_cast<long long>(60 * scale);
    const long long per_unit = 60 * per_minute;
    long long units = ticks / per_unit;
    ticks -= units * per_unit;
    long long minutes = ticks / per_minute;
    ticks -= minutes * per_minute;
    double seconds = static_cast<double>(ticks) / scale;
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%s%02lld:%02lld:%0*.*f",
                  sign ? (negative ? "-" : "+") : (negative ? "-" : ""), units, minutes,
                  decimals + 3, decimals, seconds);
    return buffer;
}
}  // namespace

std::string FormatRaSexagesimal(double ra_radians) {
    return FormatSexagesimal(ra_radians * 12.0 / M_PI, 3, false);
}

std::string FormatDecSexagesimal(double dec_radians) {
    return FormatSexagesimal(dec_radians * 180.0 / M_PI, 2, true);
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
