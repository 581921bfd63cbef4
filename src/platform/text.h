#pragma once
// Bounded texts and the number formats shared by every writer of the program.
#include <cstddef>
#include <string>
#include <string_view>

namespace kurvalux_platform {

// Assigns `src` cut at `capacity` bytes: fixed-capacity texts are cut, never refused.
void AssignCut(std::string& dst, std::string_view src, size_t capacity);
std::string Cut(std::string_view src, size_t capacity);

// Fixed-point text with `decimals` digits after the point; exactly zero gives "0".
std::string FormatFixed(double value, int decimals);
// Fixed-point text that keeps "0.000000" for zero (where a format wants the digits).
std::string FormatFixedAlways(double value, int decimals);
// Lower-case hexadecimal digits without prefix.
std::string FormatHex(unsigned long long value);

// Sexagesimal texts of a position given in radians: right ascension as "HH:MM:SS.sss",
// declination as "+DD:MM:SS.ss" (sign always written, "+" for north).
std::string FormatRaSexagesimal(double ra_radians);
std::string FormatDecSexagesimal(double dec_radians);
// Reads "H M S", "H:M:S", "H:M" or "H" (a leading sign allowed) into the value in units of its
// first field (hours or degrees). Returns false when no number is there.
bool ParseSexagesimal(std::string_view text, double& value);
// The same for a right ascension (0 to 24 hours) or a declination (-90 to +90 degrees): a text
// outside the sky ("05:34:5555…") is refused like one without a number, since no position
// can be written back from it.
bool ParseRaSexagesimal(std::string_view text, double& hours);
bool ParseDecSexagesimal(std::string_view text, double& degrees);

std::string ToUpperAscii(std::string_view text);
std::string_view TrimBlanks(std::string_view text);

}  // namespace kurvalux_platform
