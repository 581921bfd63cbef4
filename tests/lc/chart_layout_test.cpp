// Tick layout, scroll-bar mapping, error-bar tints and label texts. Expected values are worked
// out by hand from the tick rule: n = length / min(length, spacing), raw = range / n,
// p = 10^floor(log10 raw), step = 2p, 5p or 10p, first = ceil(lower/step)*step,
// count = trunc(range/step + 0.5) but never past floor(upper/step)*step.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

#include "lc/chart_layout.h"

namespace kurvalux_lc {
namespace {

struct TickCase {
    const char* what;
    double lower, upper;
    int length, dpi;
    bool from_end;
    double step;
    int decimals;
    std::vector<double> values;
    std::vector<int> pixels;
};

TEST(TickLayout, Table) {
    const std::vector<TickCase> cases = {
        // n = 10, raw = 0.1 = p: the step is 2p; 6 multiples fit but the count rule gives 5.
        {"unit range",
         0,
         1,
         300,
         96,
         false,
         0.2,
         3,
         {0, 0.2, 0.4, 0.6, 0.8},
         {0, 60, 120, 180, 240}},
        {"unit range counted from the far end",
         0,
         1,
         300,
         96,
         true,
         0.2,
         3,
         {0, 0.2, 0.4, 0.6, 0.8},
         {300, 240, 180, 120, 60}},
        // n = 16, raw = 0.054375, p = 0.01, raw/p = 5.4 -> step 0.1, ticks 12.3 .. 13.1.
        {"magnitudes",
         12.27,
         13.14,
         500,
         96,
         false,
         0.1,
         3,
         {12.3, 12.4, 12.5, 12.6, 12.7, 12.8, 12.9, 13.0, 13.1},
         {17, 75, 132, 190, 247, 305, 362, 420, 477}},
        // 192 dpi doubles the spacing: n = 8, raw = 0.10875, p = 0.1 -> step 0.2.
        {"magnitudes at 192 dpi",
         12.27,
         13.14,
         500,
         192,
         false,
         0.2,
         3,
         {12.4, 12.6, 12.8, 13.0},
         {75, 190, 305, 420}},
        // raw = 0.0004, p = 1e-4, raw/p = 4 -> step 5e-4: four decimals.
        {"four decimals",
         0,
         0.004,
         300,
         96,
         false,
         0.0005,
         4,
         {0, 0.0005, 0.001, 0.0015, 0.002, 0.0025, 0.003, 0.0035},
         {0, 38, 75, 113, 150, 188, 225, 263}},
        // raw = 4e-5, p = 1e-5 -> step 5e-5: five decimals.
        {"five decimals",
         0,
         0.0004,
         300,
         96,
         false,
         0.00005,
         5,
         {0, 0.00005, 0.0001, 0.00015, 0.0002, 0.00025, 0.0003, 0.00035},
         {0, 38, 75, 113, 150, 188, 225, 263}},
        // An axis shorter than the spacing has one interval: raw = 1 -> step 2, one tick.
        {"short axis", 0, 1, 20, 96, false, 2, 3, {0}, {0}},
        // raw = 0.078 -> step 0.1; the count rule gives trunc(7.8 + 0.5) = 8, but 0.8 lies
        // above the upper end, so the ticks stop at 0.7.
        {"count held inside the range",
         0.01,
         0.79,
         300,
         96,
         false,
         0.1,
         3,
         {0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7},
         {35, 73, 112, 150, 188, 227, 265}},
        {"negative range",
         -1.3,
         -0.1,
         240,
         96,
         false,
         0.2,
         3,
         {-1.2, -1.0, -0.8, -0.6, -0.4, -0.2},
         {20, 60, 100, 140, 180, 220}},
    };
    for (const TickCase& c : cases) {
        SCOPED_TRACE(c.what);
        AxisMapping mapping{c.lower, c.upper, 0, c.length, c.from_end};
        TickLayout ticks =
            LayoutTicks(c.lower, c.upper, c.length, MinimumTickSpacing(c.dpi), mapping);
        EXPECT_DOUBLE_EQ(ticks.step, c.step);
        EXPECT_EQ(ticks.decimals, c.decimals);
        ASSERT_EQ(ticks.count, static_cast<int>(c.values.size()));
        for (size_t i = 0; i < c.values.size(); ++i) {
            EXPECT_NEAR(ticks.values[i], c.values[i], 1e-12) << i;
            EXPECT_EQ(ticks.pixels[i], c.pixels[i]) << i;
        }
    }
}

TEST(TickLayout, EmptyOrInvertedRangeHasNoTicks) {
    for (auto [lower, upper] : std::vector<std::pair<double, double>>{{1, 1}, {2, 1}}) {
        AxisMapping mapping{lower, upper, 0, 100, false};
        EXPECT_EQ(LayoutTicks(lower, upper, 100, 30, mapping).count, 0);
    }
    AxisMapping mapping{0, 1, 0, 0, false};
    EXPECT_EQ(LayoutTicks(0, 1, 0, 30, mapping).count, 0);
}

TEST(TickLayout, SpacingScalesWithDpi) {
    EXPECT_EQ(MinimumTickSpacing(96), 30);
    EXPECT_EQ(MinimumTickSpacing(120), 37);
    EXPECT_EQ(MinimumTickSpacing(144), 45);
    EXPECT_EQ(MinimumTickSpacing(192), 60);
}

TEST(AxisMapping, RoundsAndHoldsFarValues) {
    AxisMapping m{0, 10, 50, 100, false};
    EXPECT_EQ(m.Pixel(0), 50);
    EXPECT_EQ(m.Pixel(10), 150);
    EXPECT_EQ(m.Pixel(0.04), 50);   // 50.4
    EXPECT_EQ(m.Pixel(0.05), 51);   // 50.5 rounds up
    EXPECT_EQ(m.Pixel(-0.06), 49);  // 49.4
    EXPECT_EQ(m.Pixel(1e300), 1000000000);
    EXPECT_EQ(m.Pixel(-1e300), -1000000000);
    AxisMapping inverted{0, 10, 50, 100, true};
    EXPECT_EQ(inverted.Pixel(0), 150);
    EXPECT_EQ(inverted.Pixel(2.5), 125);
}

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(ScrollBar, Table) {
    struct Case {
        double data_start, data_end, visible_start, visible_end;
        int position, page, line;
    };
    const std::vector<Case> cases = {
        {0, 100, 0, 100, 0, 5000, 50},
        {0, 100, 25, 75, 1250, 2500, 25},
        {2459000, 2459010, 2459002.5, 2459003.5, 1250, 500, 5},
        {0, 3, 1, 1.1, 1667, 167, 1},  // 1666.67 + 0.5 and 166.67 + 0.5, truncated
        {0, 0, 0, 0, 0, 5000, 50},     // no span: the bar covers everything
        // Absurd ranges (a broken time) give bounded numbers, like the pixels of far values.
        {2459000, 1e300, 2459000, 1e300, 0, 5000, 50},
        {0, 100, -kInf, kInf, -1000000000, 1000000000, 10000000},
        {0, 100, kNaN, kNaN, 0, 0, 0},
        {0, 100, 50, 1e300, 2500, 1000000000, 10000000},
    };
    for (const Case& c : cases) {
        ScrollBarMapping bar =
            MapScrollBar(c.data_start, c.data_end, c.visible_start, c.visible_end);
        EXPECT_EQ(bar.minimum, 0);
        EXPECT_EQ(bar.maximum, 4999);
        EXPECT_EQ(bar.position, c.position) << c.visible_start;
        EXPECT_EQ(bar.page, c.page) << c.visible_start;
        EXPECT_EQ(bar.line, c.line) << c.visible_start;
    }
}

TEST(LightenedColour, ChannelSteps) {
    // Both ends of every band of the table.
    const std::vector<std::pair<unsigned, unsigned>> cases = {
        {255, 255}, {254, 255}, {253, 255}, {251, 253}, {250, 253}, {241, 244},
        {240, 250}, {221, 231}, {220, 245}, {181, 206}, {180, 235}, {131, 186},
        {130, 230}, {81, 181},  {80, 230},  {11, 161},  {10, 200},  {0, 190}};
    for (auto [in, out] : cases) EXPECT_EQ(LightenChannel(in), out) << in;
}

TEST(LightenedColour, EachChannelOnItsOwn) {
    using kurvalux_platform::MakeColour;
    EXPECT_EQ(LightenedColour(MakeColour(10, 130, 254)), MakeColour(200, 230, 255));
    EXPECT_EQ(LightenedColour(MakeColour(0, 192, 0)), MakeColour(190, 217, 190));
    // The top byte of a filter colour is dropped.
    EXPECT_EQ(LightenedColour(0xFF0050FFu), MakeColour(255, 230, 190));
}

TEST(Labels, TickLabelsKeepTheirDecimals) {
    EXPECT_EQ(TickLabel(0, 3), "0.000");
    EXPECT_EQ(TickLabel(12.3, 3), "12.300");
    EXPECT_EQ(TickLabel(-0.2, 4), "-0.2000");
    EXPECT_EQ(TickLabel(2459479.45, 4), "2459479.4500");
    EXPECT_EQ(TickLabel(0.00035, 5), "0.00035");
}

TEST(Labels, DatesOfJulianDates) {
    // JD 2451545.0 is 2000-01-01 12:00 UT; JD 2460950.3876543 is 2025-10-01 21:18:13 UT.
    EXPECT_EQ(UtcDateTime(2451545.0), "2000-01-01 12:00");
    EXPECT_EQ(UtcDateTime(2460950.3876543), "2025-10-01 21:18");
    EXPECT_EQ(UtcDateTime(2440587.5), "1970-01-01 00:00");
    // Rounded to the nearest minute: 29.9 s before midnight is already the next day,
    // 30.1 s before it still 23:59.
    EXPECT_EQ(UtcDateTime(2451545.5 - 29.9 / 86400), "2000-01-02 00:00");
    EXPECT_EQ(UtcDateTime(2451545.5 - 30.1 / 86400), "2000-01-01 23:59");
    // The ends of the range of Julian Dates, and times outside it, which have no date.
    const double inf = std::numeric_limits<double>::infinity();
    const struct {
        double jd;
        const char* text;
    } ends[] = {{0.0, "-4713-11-24 12:00"},
                {5373484.5 - 61.0 / 86400, "9999-12-31 23:59"},
                {5373484.5, ""},
                {-0.001, ""},
                {1e300, ""},
                {-1e300, ""},
                {inf, ""},
                {-inf, ""},
                {std::nan(""), ""}};
    for (const auto& e : ends) EXPECT_EQ(UtcDateTime(e.jd), e.text) << e.jd;
    EXPECT_EQ(LocalDateTime(1e300), "");
    const char* old = std::getenv("TZ");
    std::string saved = old ? old : "";
    setenv("TZ", "CET-1", 1);
    tzset();
    EXPECT_EQ(LocalDateTime(2451545.0), "2000-01-01 13:00");
    if (old)
        setenv("TZ", saved.c_str(), 1);
    else
        unsetenv("TZ");
    tzset();
}

}  // namespace
}  // namespace kurvalux_lc
