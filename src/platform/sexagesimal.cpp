#include "platform/sexagesimal.h"

#include <cmath>
#include <cstdio>

namespace kurvalux_platform {
namespace {

struct Split {
    bool negative = false;
    long long units = 0;
    long long minutes = 0;
    double seconds = 0;
};

// Whole units, minutes and seconds of |value|. The seconds are rounded to `rounding` decimals
// (thousandths for the reports) and a rounded 60 carries into the minutes, a 60 there into
// the units.
Split SplitAngle(double value, int rounding) {
    // Positions come in range from the readers; anything else is shown as zero rather than
    // overflowing the integer fields.
    if (!(std::fabs(value) <= 1e6)) value = 0;
    Split split;
    split.negative = value < 0;
    const double a = std::fabs(value);
    const double units = std::trunc(a);
    const double minutes = std::trunc((a - units) * 60.0);
    const double scale = std::pow(10.0, rounding);
    double seconds = ((a - units) * 60.0 - minutes) * 60.0;
    seconds = std::trunc(seconds * scale + 0.5) / scale;
    split.units = static_cast<long long>(units);
    split.minutes = static_cast<long long>(minutes);
    if (seconds >= 60.0) {
        seconds -= 60.0;
        ++split.minutes;
        if (split.minutes >= 60) {
            split.minutes -= 60;
            ++split.units;
        }
    }
    split.seconds = seconds;
    return split;
}

// Seconds with `decimals` digits and at least two before the point ("05.12", never "5.12").
std::string SecondsText(double seconds, int decimals) {
    char buffer[48];
    std::snprintf(buffer, sizeof buffer, "%0*.*f", decimals + 3, decimals, seconds);
    return buffer;
}

std::string MinutesText(long long minutes) {
    char buffer[24];
    std::snprintf(buffer, sizeof buffer, "%02lld", minutes);
    return buffer;
}

// The report rule for the unit number: the signed integer sign × u, a "0" before a single
// character, and a "+" before a positive declination.
std::string ReportUnits(const Split& split, bool declination) {
    const long long signed_units = split.negative ? -split.units : split.units;
    std::string text = std::to_string(signed_units);
    if (text.size() == 1) text.insert(0, "0");
    if (declination && signed_units > 0) text.insert(0, "+");
    return text;
}

// The field-file rule: two digits at least, the sign of a declination always written unless
// what is written is zero.
std::string ExplicitUnits(const Split& split, bool declination, int decimals) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%02lld", split.units);
    const bool zero =
        split.units == 0 && split.minutes == 0 &&
        SecondsText(split.seconds, decimals).find_first_not_of("0.") == std::string::npos;
    const bool negative = split.negative && !zero;
    return std::string(negative ? "-" : (declination ? "+" : "")) + buffer;
}

std::string Format(double value, bool declination, SexagesimalStyle style, SexagesimalSign sign) {
    const int decimals = declination ? 2 : 3;
    const Split split = SplitAngle(value, sign == SexagesimalSign::kReport ? 3 : decimals);
    const std::string units = sign == SexagesimalSign::kReport
                                  ? ReportUnits(split, declination)
                                  : ExplicitUnits(split, declination, decimals);
    const std::string minutes = MinutesText(split.minutes);
    const std::string seconds = SecondsText(split.seconds, decimals);
    switch (style) {
        case SexagesimalStyle::kSpaces:
            return units + " " + minutes + " " + seconds;
        case SexagesimalStyle::kColons:
            return units + ":" + minutes + ":" + seconds;
        case SexagesimalStyle::kHuman:
            if (declination) return units + kDegreeSign + " " + minutes + "' " + seconds + "\"";
            return units + "h " + minutes + "m " + seconds + "s";
    }
    return {};
}

}  // namespace

std::string FormatRightAscension(double ra_radians, SexagesimalStyle style, SexagesimalSign sign) {
    return Format(ra_radians * 12.0 / M_PI, false, style, sign);
}

std::string FormatDeclination(double dec_radians, SexagesimalStyle style, SexagesimalSign sign) {
    return Format(dec_radians * 180.0 / M_PI, true, style, sign);
}

}  // namespace kurvalux_platform
