#pragma once
// The pure arithmetic of chart layout: tick steps, value-to-pixel mapping, the scroll-bar
// mapping, the lightened colours of error bars and the texts of tick and marker labels.
// Nothing here draws; the panes call these functions and tests check them in tables.
#include <cstdint>
#include <string>
#include <vector>

#include "platform/draw_context.h"

namespace kurvalux_lc {

// Ticks along one axis. Steps are 1, 2 or 5 times a power of ten, chosen so that neighbouring
// ticks are at least `min_spacing` device pixels apart.
struct TickLayout {
    double step = 0;
    double first = 0;  // ceil(lower / step) * step
    double last = 0;   // floor(upper / step) * step
    int count = 0;
    int decimals = 3;  // of the labels: 3 for steps >= 0.001, 4 for >= 0.0001, else 5
    std::vector<double> values;
    std::vector<int> pixels;
};

// The minimum tick spacing at a resolution: 30 pixels at 96 dots per inch.
int MinimumTickSpacing(int dpi);

// Maps values of [lower, upper] onto `length` pixels starting at `start`. With `from_end`
// unset the lower value sits at `start` (left on an X axis, top on a Y axis); with it set the
// lower value sits at start + length, so larger values come first.
struct AxisMapping {
    double lower = 0;
    double upper = 1;
    int start = 0;
    int length = 1;
    bool from_end = false;

    // The pixel of a value, rounded to the nearest pixel; values far outside the axis are
    // held at ±1e9 so that the integer conversion stays defined.
    int Pixel(double value) const;
    double Scale() const { return upper > lower ? length / (upper - lower) : 0.0; }
};

// Lays out the ticks of the visible range [lower, upper] of an axis `axis_length` pixels long
// (the interval count comes from it), with positions from `mapping`:
//   n = axis_length / min(axis_length, min_spacing); raw = (upper - lower) / n;
//   p = 10^floor(log10(raw)); step = 2p, 5p or 10p (the first not below raw);
//   first = ceil(lower/step)*step, last = floor(upper/step)*step,
//   count = trunc((upper - lower)/step + 0.5), but never past `last`.
TickLayout LayoutTicks(double lower, double upper, int axis_length, int min_spacing,
                       const AxisMapping& mapping);

// The horizontal scroll bar of a chart: range 0 to 4999; s = 5000 / data span,
// position = trunc((visible start - data start) * s + 0.5), page = trunc(visible span * s +
// 0.5), line step = page / 100.
struct ScrollBarMapping {
    int minimum = 0;
    int maximum = 4999;
    int position = 0;
    int page = 5000;
    int line = 50;
};
ScrollBarMapping MapScrollBar(double data_start, double data_end, double visible_start,
                              double visible_end);

// Error bars are drawn in a lighter tint of the point colour. Each channel is lifted by a step
// that shrinks as the channel brightens, so light colours stay light and dark colours are
// lifted strongly.
unsigned LightenChannel(unsigned channel);
kurvalux_platform::Colour LightenedColour(kurvalux_platform::Colour colour);

// Tick label texts: fixed point with the given decimals (zero keeps its decimals).
std::string TickLabel(double value, int decimals);

// A Julian Date as local calendar date and time, "YYYY-MM-DD HH:MM" (the marker labels); an
// empty text for a time outside the range of Julian Dates (kurvalux_data::IsJulianDateInRange),
// which has no date to write.
std::string LocalDateTime(double jd);
// The same in UTC.
std::string UtcDateTime(double jd);

}  // namespace kurvalux_lc
