#include "lc/chart_layout.h"

#include <cmath>
#include <cstdio>
#include <ctime>

#include "data/julian_date.h"
#include "platform/text.h"

namespace kurvalux_lc {

namespace {

// Scroll-bar units of a value, truncated as the scroll bar counts them, held within ±1e9 like
// far pixels; no number (from a broken time) counts as 0.
int ScrollUnits(double units) {
    if (std::isnan(units)) return 0;
    if (units <= -1e9) return -1000000000;
    if (units >= 1e9) return 1000000000;
    return static_cast<int>(units);
}

}  // namespace

int MinimumTickSpacing(int dpi) {
    return 30 * dpi / 96;
}

int AxisMapping::Pixel(double value) const {
    double scale = Scale();
    double offset = (value - lower) * scale;
    double pixel = from_end ? start + length - offset : start + offset;
    pixel = std::floor(pixel + 0.5);
    if (!(pixel > -1e9)) return -1000000000;  // also NaN
    if (pixel > 1e9) return 1000000000;
    return static_cast<int>(pixel);
}

TickLayout LayoutTicks(double lower, double upper, int axis_length, int min_spacing,
                       const AxisMapping& mapping) {
    TickLayout ticks;
    double range = upper - lower;
    if (!(range > 0) || !std::isfinite(range) || axis_length <= 0) return ticks;
    if (min_spacing < 1) min_spacing = 1;
    int intervals = axis_length / std::min(axis_length, min_spacing);
    double raw = range / intervals;
    double p = std::pow(10.0, std::floor(std::log10(raw)));
    double ratio = raw / p;
    if (ratio <= 2)
        ticks.step = p * 2;
    else if (ratio <= 5)
        ticks.step = p * 5;
    else
        ticks.step = p * 10;
    ticks.decimals = ticks.step >= 0.001 ? 3 : ticks.step >= 0.0001 ? 4 : 5;
    ticks.first = std::ceil(lower / ticks.step) * ticks.step;
    ticks.last = std::floor(upper / ticks.step) * ticks.step;
    double counted = range / ticks.step + 0.5;
    int count = counted < 1e6 ? static_cast<int>(counted) : 1000000;
    // A tick beyond the last multiple of the step would sit outside the plot (the rounded
    // count can overshoot by one when the range is not a whole number of steps).
    // (Compared as a double: it is converted only once it is known to be below the count.)
    const double inside = std::floor((ticks.last - ticks.first) / ticks.step + 0.5) + 1;
    if (!(inside >= count)) count = inside > 0 ? static_cast<int>(inside) : 0;
    ticks.count = count;
    ticks.values.reserve(count);
    ticks.pixels.reserve(count);
    for (int i = 0; i < count; ++i) {
        double value = ticks.first + i * ticks.step;
        // Multiples of the step print cleanly: snap away the rounding residue near zero.
        if (std::fabs(value) < ticks.step * 1e-9) value = 0.0;
        ticks.values.push_back(value);
        ticks.pixels.push_back(mapping.Pixel(value));
    }
    return ticks;
}

ScrollBarMapping MapScrollBar(double data_start, double data_end, double visible_start,
                              double visible_end) {
    ScrollBarMapping bar;
    double span = data_end - data_start;
    if (!(span > 0)) return bar;
    double s = 5000.0 / span;
    bar.position = ScrollUnits((visible_start - data_start) * s + 0.5);
    bar.page = ScrollUnits((visible_end - visible_start) * s + 0.5);
    bar.line = bar.page / 100;
    return bar;
}

unsigned LightenChannel(unsigned c) {
    if (c >= 255) return 255;
    if (c == 254) return 255;
    if (c >= 251) return c + 2;
    if (c >= 241) return c + 3;
    if (c >= 221) return c + 10;
    if (c >= 181) return c + 25;
    if (c >= 131) return c + 55;
    if (c >= 81) return c + 100;
    if (c >= 11) return c + 150;
    return c + 190;
}

kurvalux_platform::Colour LightenedColour(kurvalux_platform::Colour colour) {
    return kurvalux_platform::MakeColour(LightenChannel(kurvalux_platform::RedOf(colour)),
                                         LightenChannel(kurvalux_platform::GreenOf(colour)),
                                         LightenChannel(kurvalux_platform::BlueOf(colour)));
}

std::string TickLabel(double value, int decimals) {
    return kurvalux_platform::FormatFixedAlways(value, decimals);
}

namespace {

std::string FormatTm(const std::tm& tm) {
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d", tm.tm_year + 1900, tm.tm_mon + 1,
                  tm.tm_mday, tm.tm_hour, tm.tm_min);
    return text;
}

// Seconds since 1970 of a Julian Date in range, rounded to the nearest minute so that a label
// does not fall a minute short through the rounding of the day fraction. (In range, the
// minutes lie within 4.3e9 of 1970, far inside time_t.)
std::time_t UnixMinute(double jd) {
    double minutes = std::floor((jd - 2440587.5) * 1440.0 + 0.5);
    return static_cast<std::time_t>(minutes) * 60;
}

}  // namespace

std::string LocalDateTime(double jd) {
    if (!kurvalux_data::IsJulianDateInRange(jd)) return {};
    std::time_t t = UnixMinute(jd);
    std::tm tm{};
    if (!localtime_r(&t, &tm)) return {};
    return FormatTm(tm);
}

std::string UtcDateTime(double jd) {
    if (!kurvalux_data::IsJulianDateInRange(jd)) return {};
    std::time_t t = UnixMinute(jd);
    std::tm tm{};
    if (!gmtime_r(&t, &tm)) return {};
    return FormatTm(tm);
}

}  // namespace kurvalux_lc
