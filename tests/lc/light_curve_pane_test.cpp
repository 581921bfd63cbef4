// The chart pane through the recording context: layout numbers worked out by hand from the
// layout rules and the base context's text metrics (12-pixel font: line 15 pixels, 6.6 pixels
// a character; 16-pixel bold: line 20, 9.6 a character), then the paint order step by step.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

#include "lc/light_curve_pane.h"
#include "lc/recording_context.h"

namespace kurvalux_lc {
namespace {

using kurvalux_platform::MakeColour;

// 400 × 300 pane, magnitudes 10..11 upward-brighter, X 0..10, captions "Mag" and "JD":
//   margin 6, line 15: top = 6 + 15 + 2 = 23, bottom = 300 - 6 - 30 = 264 (height 241);
//   Y: n = 241/30 = 8, raw 0.125 -> step 0.2, ticks 10.0 .. 10.8 at 29 + (v - 10) * 229;
//   widest Y label "10.000" = 40 px -> left = 10 + 40 + 8 = 58;
//   X labels "10.0000" = 47 px -> right = 400 - (23 - 6 + 4) = 379 (width 321);
//   X: spacing max(30, 47 + 8) = 55, n = 5, raw 2 -> step 2, ticks 0..8 at 64 + v * 30.9.
class PaneTest : public ::testing::Test {
protected:
    void SetUp() override {
        pane.invert_y = true;
        pane.SetCaptions("Mag", "JD");
        pane.SetRect(CRect{0, 0, 400, 300});
    }
    void AddCorners() {
        pane.AddPoint(0, 10.0, 0.1, MakeColour(0, 0, 0), false);
        pane.AddPoint(10, 11.0, 0.0, MakeColour(0, 192, 0), true);
    }
    CLightCurvePane pane;
    CRecordingContext dc;
};

TEST_F(PaneTest, LayoutByHand) {
    AddCorners();
    pane.LayoutAll();
    EXPECT_EQ(pane.Plot(), (CRect{58, 23, 321, 241}));
    EXPECT_EQ(pane.Margin(), 6);
    EXPECT_EQ(pane.Radius(), 2);
    EXPECT_EQ(pane.YTicks().pixels, (std::vector<int>{29, 75, 121, 166, 212}));
    EXPECT_EQ(pane.YLabels(),
              (std::vector<std::string>{"10.000", "10.200", "10.400", "10.600", "10.800"}));
    EXPECT_EQ(pane.YDecimals(), 3);
    EXPECT_EQ(pane.XTicks().pixels, (std::vector<int>{64, 126, 188, 249, 311}));
    EXPECT_EQ(pane.XLabels(),
              (std::vector<std::string>{"0.0000", "2.0000", "4.0000", "6.0000", "8.0000"}));
    ASSERT_EQ(pane.PlotPoints().size(), 2u);
    EXPECT_EQ(pane.PlotPoints()[0].x, 64);
    EXPECT_EQ(pane.PlotPoints()[0].y, 29);
    EXPECT_EQ(pane.PlotPoints()[0].e, 23);  // 0.1 mag * 229 px + 0.5
    EXPECT_EQ(pane.PlotPoints()[1].x, 373);
    EXPECT_EQ(pane.PlotPoints()[1].y, 258);
}

TEST_F(PaneTest, FluxGrowsUpward) {
    pane.invert_y = false;
    AddCorners();
    pane.LayoutAll();
    EXPECT_EQ(pane.PlotPoints()[0].y, 258);  // the lower value at the bottom
    EXPECT_EQ(pane.PlotPoints()[1].y, 29);
    EXPECT_EQ(pane.YTicks().pixels, (std::vector<int>{258, 212, 166, 121, 75}));
}

TEST_F(PaneTest, PaintOrderOfAFullChart) {
    setenv("TZ", "UTC", 1);
    tzset();
    AddCorners();
    // Outside the fixed Y range: y < 0, never drawn, nor its error bar.
    pane.AddPoint(5, 12.0, 0.1, MakeColour(0, 0, 255), true);
    pane.SetYRange(10.0, 11.0);
    pane.show_error_bars = true;
    pane.show_reference_line = true;
    pane.reference_value = 10.5;
    pane.AddMarkerAt(2.5, 0, MakeColour(150, 150, 150), kMarkerNight);    // time 0: no label
    pane.AddMarker(5, MakeColour(170, 170, 170), kMarkerMinimumUnused);   // kind 1 hidden
    pane.AddMarker(5, MakeColour(120, 0, 160), kMarkerPredictedPrimary);  // kind 4 hidden
    pane.AddMarkerAt(5, 2451545.0, MakeColour(220, 0, 0), kMarkerMinimumPrimary, {}, true);
    pane.AddMarkerAt(5.1, 2451545.1, MakeColour(220, 0, 0), kMarkerMinimumSecondary);
    pane.AddMarkerAt(20, 2451546.0, MakeColour(0, 0, 220), kMarkerMinimumSecondary);  // off
    pane.LayoutAll();
    EXPECT_EQ(pane.PlotPoints()[2].y, -1);
    pane.Paint(dc);

    const std::vector<std::string> expected = {
        // 1. background
        "fill 255,255,255", "rect 0 0 400 300",
        // 3. axes
        "width 1", "pen 0,0,0", "font -12 400", "textcolour 0,0,0", "line 58 23 58 264",
        "line 58 264 379 264",
        // 4. X ticks, labels centred under them (40 px wide)
        "line 64 264 64 268", "text 44 279 0.0000", "line 126 264 126 268", "text 106 279 2.0000",
        "line 188 264 188 268", "text 168 279 4.0000", "line 249 264 249 268",
        "text 229 279 6.0000", "line 311 264 311 268", "text 291 279 8.0000",
        // 5. Y ticks, labels at x 10, half a line above the tick
        "line 54 29 58 29", "text 10 22 10.000", "line 54 75 58 75", "text 10 68 10.200",
        "line 54 121 58 121", "text 10 114 10.400", "line 54 166 58 166", "text 10 159 10.600",
        "line 54 212 58 212", "text 10 205 10.800",
        // 6. reference line at 10.5 -> 29 + 114.5
        "pen 216,216,216", "line 58 144 379 144",
        // 7. captions
        "text 10 8 Mag", "text 10 279 JD",
        // 8. grid (first crossing shown here; 25 in all)
        "pen 216,216,216", "line 61 29 67 29", "line 64 26 64 32"};
    ASSERT_GE(dc.Calls().size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(dc.Calls()[i], expected[i]) << i;

    int grid_end = static_cast<int>(expected.size()) - 2 + 2 * 25;
    const std::vector<std::string> rest = {
        // 9. markers: the night marker (no label, time 0), then the primary minimum with end
        // circles of radius 2r and its date; the secondary 0.1 units later keeps its line
        // but not its label, which would be written over the first; the one at 20 is off
        // the plot. Kinds 1 and 4 are switched off.
        "pen 150,150,150", "textcolour 150,150,150", "line 141 23 141 264", "pen 220,0,0",
        "textcolour 220,0,0", "line 219 23 219 264", "circle 219 23 4", "circle 219 264 4",
        "text 221 8 2000-01-01 12:00", "line 222 23 222 264",
        // 10. error bars in the lightened colours, then the highlight ring, then the points
        "pen 190,190,190", "line 64 6 64 52", "line 62 6 66 6", "line 62 52 66 52",
        "pen 190,217,190", "line 373 258 373 258", "line 371 258 375 258", "line 371 258 375 258",
        "pen 255,0,0", "circle 373 258 4", "fill 0,0,0", "disc 64 29 2 0", "fill 0,192,0",
        "disc 373 258 2 0"};
    std::vector<std::string> tail(dc.Calls().begin() + grid_end, dc.Calls().end());
    EXPECT_EQ(tail, rest);
    unsetenv("TZ");
    tzset();
}

TEST_F(PaneTest, MarkersWithTimesOutOfRangeKeepTheirLinesButNoDate) {
    // A minimum timed from a broken series can carry any time; its line is drawn where the
    // chart puts it, but a date is written only for a time in the range of Julian Dates.
    setenv("TZ", "UTC", 1);
    tzset();
    AddCorners();
    const double inf = std::numeric_limits<double>::infinity();
    const double times[] = {2451545.0, 1e300, -1e300, inf, std::nan(""), -1.0, 5373484.5};
    double position = 0.5;
    for (double time : times) {
        pane.AddMarkerAt(position, time, MakeColour(220, 0, 0), kMarkerMinimumPrimary);
        position += 1.4;
    }
    pane.LayoutAll();
    pane.Paint(dc);
    // Marker lines run from the plot's top (23) to its bottom (264), as the Y axis does at its
    // left edge; their labels are written
    // a line above the top (y 8), where the caption "Mag" is too.
    std::vector<std::string> marker_lines, labels;
    for (const std::string& call : dc.CallsOf("line")) {
        int x1 = -1, y1 = -1, x2 = -2, y2 = -1, used = 0;
        if (std::sscanf(call.c_str(), "line %d %d %d %d%n", &x1, &y1, &x2, &y2, &used) == 4 &&
            size_t(used) == call.size() && x1 == x2 && y1 == 23 && y2 == 264)
            marker_lines.push_back(call);
    }
    for (const std::string& call : dc.CallsOf("text"))
        if (call.rfind("text 10 8 ", 0) != 0 && call.find(" 8 ") != std::string::npos)
            labels.push_back(call);
    EXPECT_EQ(marker_lines.size(), 1u + 7u);  // the Y axis and the seven markers
    EXPECT_EQ(labels, (std::vector<std::string>{"text 81 8 2000-01-01 12:00"}));
    unsetenv("TZ");
    tzset();
}

TEST_F(PaneTest, MarkerSwitches) {
    AddCorners();
    struct Case {
        bool kind1, kind4, kind5;
        size_t lines;
    };
    for (uint32_t kind = 0; kind <= 6; ++kind) pane.AddMarker(5, MakeColour(1, 2, 3), kind);
    const std::vector<Case> cases = {{false, false, false, 3},
                                     {true, false, false, 4},
                                     {false, true, false, 4},
                                     {false, false, true, 4},
                                     {true, true, true, 6}};
    for (const Case& c : cases) {
        pane.show_kind1 = c.kind1;
        pane.show_kind4 = c.kind4;
        pane.show_kind5 = c.kind5;
        pane.LayoutAll();
        dc.Clear();
        pane.Paint(dc);
        // Every marker line runs from the plot's top to its bottom at x 219.
        size_t lines = 0;
        for (const std::string& call : dc.Calls()) lines += call == "line 219 23 219 264";
        EXPECT_EQ(lines, c.lines);
        // The colour is set once for the run of markers of one colour.
        EXPECT_EQ(dc.CallsOf("textcolour").size(), 2u);
    }
}

TEST_F(PaneTest, CoveredDuplicatesAreLeftOutOnPixelDevices) {
    // The same pixel twice in one colour with another colour between: on pixels the first copy
    // is covered by the last and is left out; the one in between stays.
    dc.SetMayOmitCoveredMarks(true);
    pane.AddPoint(0, 10.0, 0, MakeColour(255, 0, 0), false);
    pane.AddPoint(0, 10.0, 0, MakeColour(0, 0, 255), false);
    pane.AddPoint(0, 10.0, 0, MakeColour(255, 0, 0), false);
    pane.AddPoint(10, 11.0, 0, MakeColour(0, 0, 255), false);
    pane.LayoutAll();
    pane.Paint(dc);
    std::vector<std::string> points;
    for (const std::string& call : dc.Calls())
        if (call.rfind("disc", 0) == 0 || call.rfind("fill 255,0,0", 0) == 0 ||
            call.rfind("fill 0,0,255", 0) == 0)
            points.push_back(call);
    EXPECT_EQ(points,
              (std::vector<std::string>{"fill 0,0,255", "disc 64 29 2 0", "fill 255,0,0",
                                        "disc 64 29 2 0", "fill 0,0,255", "disc 373 258 2 0"}));
    // A device that is not made of pixels (the recorder's default) receives every point.
    CRecordingContext vector_like;
    pane.Paint(vector_like);
    EXPECT_EQ(vector_like.CallsOf("disc"),
              (std::vector<std::string>{"disc 64 29 2 0", "disc 64 29 2 0", "disc 64 29 2 0",
                                        "disc 373 258 2 0"}));
}

TEST_F(PaneTest, ThumbnailDrawsPixelsWithoutMargins) {
    pane.SetRect(CRect{0, 0, 101, 51});
    pane.SetThumbnail(true);
    AddCorners();
    pane.LayoutAll();
    EXPECT_EQ(pane.Plot(), (CRect{0, 0, 101, 51}));
    EXPECT_EQ(pane.Margin(), 0);
    EXPECT_EQ(pane.XTicks().count, 0);
    EXPECT_EQ(pane.YTicks().count, 0);
    pane.Paint(dc);
    EXPECT_EQ(dc.CallsOf("pixel"),
              (std::vector<std::string>{"pixel 0 0 0,0,0", "pixel 101 51 0,192,0"}));
    EXPECT_TRUE(dc.CallsOf("disc").empty());
    EXPECT_EQ(dc.Calls()[6], "line 0 0 0 51");  // the axes along the pane's edges
}

TEST_F(PaneTest, TooSmallPlotShowsOnlyBackgroundAndTitle) {
    // 60 pixels high: top 23 + margins leave a plot 1 pixel high, not more than 2m.
    pane.SetRect(CRect{0, 0, 40, 60});
    AddCorners();
    CFont title{-16, 700, "sans-serif"};
    pane.SetTitleFont(&title);
    pane.SetTitle("T");
    pane.LayoutAll();
    pane.Paint(dc);
    EXPECT_EQ(dc.Calls(),
              (std::vector<std::string>{"fill 255,255,255", "rect 0 0 40 60", "font -16 700",
                                        "textcolour 0,0,0", "text 15 16 T"}));
}

TEST_F(PaneTest, NoPointsNoPointCalls) {
    pane.AddMarker(5, MakeColour(1, 2, 3), kMarkerNight);
    pane.SetXDataRange(0, 10);
    pane.SetYRange(0, 1);
    pane.LayoutAll();
    pane.Paint(dc);
    EXPECT_TRUE(dc.CallsOf("disc").empty());
    // Labels "0.000" are narrower: the left edge follows the lower caption and the first X
    // label (10 + 14 + 16 + 23 - 6 = 57), so x = 63 + 5 * 31.
    EXPECT_EQ(pane.Plot().left, 57);
    EXPECT_EQ(dc.CallsOf("line").back(), "line 218 23 218 264");  // the marker is the last
}

TEST_F(PaneTest, TitleMovesThePlotDownAndIsCentred) {
    AddCorners();
    CFont title{-16, 700, "sans-serif"};
    pane.SetTitleFont(&title);
    pane.SetTitle("Algol");
    pane.LayoutAll();
    // 16 + title line 20 + 4, then the caption line: top = 40 + 15 + 2.
    EXPECT_EQ(pane.Plot().top, 57);
    pane.Paint(dc);
    // "Algol" is 5 × 9.6 -> 48 pixels wide: x = (400 - 48) / 2.
    EXPECT_EQ(dc.Calls().back(), "text 176 16 Algol");
    EXPECT_EQ(dc.Calls()[dc.Calls().size() - 3], "font -16 700");
}

TEST_F(PaneTest, ResolutionScalesFontsPointsAndMargins) {
    struct Case {
        int dpi_x, dpi_y;
        int radius, margin;
        const char* caption_font;
        const char* title_font;
    };
    const std::vector<Case> cases = {{96, 96, 2, 6, "font -12 400", "font -16 700"},
                                     {144, 144, 3, 9, "font -18 400", "font -24 700"},
                                     {192, 96, 4, 6, "font -12 400", "font -16 700"},
                                     {96, 192, 2, 12, "font -24 400", "font -32 700"}};
    AddCorners();
    CFont title{-16, 700, "sans-serif"};
    pane.SetTitleFont(&title);
    pane.SetTitle("T");
    for (const Case& c : cases) {
        pane.SetDpi(c.dpi_x, c.dpi_y);
        pane.LayoutAll();
        EXPECT_EQ(pane.Radius(), c.radius);
        EXPECT_EQ(pane.Margin(), c.margin);
        dc.Clear();
        pane.Paint(dc);
        EXPECT_EQ(dc.CallsOf("font").front(), c.caption_font);
        EXPECT_EQ(dc.CallsOf("font").back(), c.title_font);
        const CPlotPoint& p = pane.PlotPoints()[0];
        EXPECT_EQ(dc.CallsOf("disc").front(), "disc " + std::to_string(p.x) + " " +
                                                  std::to_string(p.y) + " " +
                                                  std::to_string(c.radius) + " 0");
    }
}

TEST_F(PaneTest, SvgFileThatCannotBeCreated) {
    AddCorners();
    kurvalux_platform::CRecordingMessageBoxSink messages;
    std::string path = "/nonexistent-kurvalux-folder/chart.svg";
    EXPECT_FALSE(pane.ExportSvg(path, 300, 200, "", messages));
    ASSERT_EQ(messages.Records().size(), 1u);
    EXPECT_EQ(messages.Records()[0].title, "Error");
    EXPECT_EQ(messages.Records()[0].lines, (std::vector<std::string>{"Cannot create file", path}));
    EXPECT_EQ(pane.Rect(), (CRect{0, 0, 400, 300}));
}

TEST_F(PaneTest, CapacityGrowsInSteps) {
    pane.AddPoint(0, 0, 0, 0, false);
    EXPECT_EQ(pane.PointCapacity(), 20u);
    for (int i = 1; i < 20; ++i) pane.AddPoint(i, 0, 0, 0, false);
    EXPECT_EQ(pane.PointCapacity(), 20u);
    pane.AddPoint(20, 0, 0, 0, false);
    EXPECT_EQ(pane.PointCapacity() % 20, 0u);
    pane.AddMarker(1, 0, 0);
    EXPECT_EQ(pane.MarkerCapacity(), 5u);
    for (int i = 0; i < 1000; ++i) pane.AddMarker(1, 0, 0);
    EXPECT_EQ(pane.MarkerCapacity() % 5, 0u);
}

TEST_F(PaneTest, ScrollBarFollowsTheVisibleRange) {
    AddCorners();
    pane.Layout(2.5, 7.5, true, false);
    EXPECT_EQ(pane.ScrollBar().position, 1250);
    EXPECT_EQ(pane.ScrollBar().page, 2500);
    EXPECT_EQ(pane.ScrollBar().line, 25);
    // Zoomed with the Y range fitted to the visible points: none inside, so 0..1.
    EXPECT_EQ(pane.VisibleYLower(), 0);
    EXPECT_EQ(pane.VisibleYUpper(), 1);
}

TEST_F(PaneTest, SvgExportRestoresThePane) {
    AddCorners();
    pane.LayoutAll();
    CRect plot = pane.Plot();
    std::string svg = pane.SvgText(200, 100, "a<b");
    EXPECT_EQ(pane.Title(), "");
    EXPECT_EQ(pane.Rect(), (CRect{0, 0, 400, 300}));
    EXPECT_EQ(pane.Plot(), plot);
    EXPECT_NE(svg.find("width=\"200\" height=\"100\">\r\n"), std::string::npos);
    EXPECT_NE(svg.find(">a<b</text>\r\n"), std::string::npos);
    EXPECT_EQ(svg.substr(svg.size() - 7), "\n</svg>");
}

TEST(PaneSvg, SmallChartInFull) {
    // 40 × 60 leaves no plot: the document holds the background and the title only. The title
    // font is 16 pixels (class "title"); "A<&" is 3 × 9.6 -> 29 pixels wide.
    CLightCurvePane pane;
    pane.AddPoint(0, 1, 0, 0, false);
    CFont title{-16, 700, "sans-serif"};
    pane.SetTitleFont(&title);
    EXPECT_EQ(
        pane.SvgText(40, 60, "A<&"),
        "<?xml version=\"1.0\"?>\r\n"
        "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\"\r\n"
        "\"http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd\">\r\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"40\" height=\"60\">\r\n"
        "<style>\r\n"
        ".normal {font: 12px sans-serif; }\r\n"
        ".bold   {font: bold 12px sans-serif; }\r\n"
        ".title  {font: bold 16px sans-serif; }\r\n"
        "</style>\r\n"
        "<rect x=\"0\" y=\"0\" width=\"40\" height=\"60\" style=\"fill:rgb(255,255,255\" />\r\n"
        "<text x=\"5\" y=\"16\" class=\"title\">A<&</text>\r\n"
        "</svg>");
}

TEST(PaneSvg, ThumbnailExportsWithoutPoints) {
    // Points of a thumbnail are single pixels, which SVG does not write.
    CLightCurvePane pane;
    pane.SetThumbnail(true);
    pane.SetCaptions("Mag", "JD");
    pane.AddPoint(0, 1, 0, MakeColour(0, 192, 0), false);
    pane.AddPoint(1, 2, 0, MakeColour(0, 192, 0), false);
    std::string svg = pane.SvgText(80, 40, "");
    EXPECT_EQ(
        svg.substr(svg.find("<rect")),
        "<rect x=\"0\" y=\"0\" width=\"80\" height=\"40\" style=\"fill:rgb(255,255,255\" />\r\n"
        "<line x1=\"0\" y1=\"0\" x2=\"0\" y2=\"40\" style=\"stroke:rgb(0,0,0);stroke-width:1px\" "
        "/>\r\n"
        "<line x1=\"0\" y1=\"40\" x2=\"80\" y2=\"40\" style=\"stroke:rgb(0,0,0);stroke-width:1px\" "
        "/>\r\n"
        "<text x=\"10\" y=\"-15\" class=\"normal\">Mag</text>\r\n"
        "<text x=\"10\" y=\"55\" class=\"normal\">JD</text>\r\n"
        "</svg>");
}

size_t Occurrences(const std::string& text, const std::string& piece) {
    size_t count = 0;
    for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1))
        ++count;
    return count;
}

TEST(PaneSvg, EveryVisiblePointIsWrittenEvenWhereAnotherCoversIt) {
    // Three highlighted points with error bars on one pixel (red, blue, red) and a fourth
    // elsewhere. A vector file is zoomed by its reader, where points that share a pixel at the
    // export size lie apart: every point, ring and bar is written.
    CLightCurvePane pane;
    pane.invert_y = true;
    pane.show_error_bars = true;
    pane.SetCaptions("Mag", "JD");
    const kurvalux_platform::Colour red = MakeColour(255, 0, 0), blue = MakeColour(0, 0, 255);
    pane.AddPoint(0, 10.0, 0.1, red, true);
    pane.AddPoint(0, 10.0, 0.1, blue, true);
    pane.AddPoint(0, 10.0, 0.1, red, true);
    pane.AddPoint(10, 11.0, 0.1, blue, false);
    const std::string svg = pane.SvgText(400, 300, "");
    // Discs (outline clear: stroke and fill in the point's colour) and red highlight rings.
    EXPECT_EQ(Occurrences(svg, "style=\"stroke:rgb(255,0,0);stroke-width:1px;fill:rgb(255,0,0)"),
              2u);
    EXPECT_EQ(Occurrences(svg, "style=\"stroke:rgb(0,0,255);stroke-width:1px;fill:rgb(0,0,255)"),
              2u);
    EXPECT_EQ(Occurrences(svg, "style=\"stroke:rgb(255,0,0);stroke-width:1px;fill:none\""), 3u);
    // Error bars, three lines each, in the lightened colours (cut to 15 characters).
    EXPECT_EQ(Occurrences(svg, "style=\"stroke:rgb(255,190,190;stroke-width:1px\""), 6u);
    EXPECT_EQ(Occurrences(svg, "style=\"stroke:rgb(190,190,255;stroke-width:1px\""), 6u);
}

TEST(Stripes, FilledOverThePaneHeightExceptNoFill) {
    CRecordingContext dc;
    std::vector<CStripeListElem> stripes = {{0, 10, CStripeListElem::kNoFill},
                                            {10, 20, MakeColour(255, 248, 240)},
                                            {30, 5, MakeColour(255, 248, 240)},
                                            {35, 7, MakeColour(255, 236, 195)}};
    PaintStripes(dc, stripes, 300);
    EXPECT_EQ(dc.Calls(),
              (std::vector<std::string>{"fill 255,248,240", "rect 10 0 20 300", "rect 30 0 5 300",
                                        "fill 255,236,195", "rect 35 0 7 300"}));
}

}  // namespace
}  // namespace kurvalux_lc
