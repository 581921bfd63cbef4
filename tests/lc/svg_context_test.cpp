// The SVG device context: the document frame, each element's exact text, the 15-character
// bound on state texts, and the operations that write nothing.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lc/svg_context.h"

namespace kurvalux_lc {
namespace {

using kurvalux_platform::CFont;
using kurvalux_platform::MakeColour;

// The elements written after the frame.
class SvgTest : public ::testing::Test {
protected:
    void SetUp() override {
        svg.WriteHeader(buffer, 640, 480);
        frame = buffer.Length();
    }
    std::string Body() const { return buffer.Text().substr(frame); }
    CTextBuffer buffer;
    CSVGContext svg;
    size_t frame = 0;
};

TEST_F(SvgTest, DocumentFrame) {
    EXPECT_EQ(buffer.Text(),
              "<?xml version=\"1.0\"?>\r\n"
              "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\"\r\n"
              "\"http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd\">\r\n"
              "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"640\" height=\"480\">\r\n"
              "<style>\r\n"
              ".normal {font: 12px sans-serif; }\r\n"
              ".bold   {font: bold 12px sans-serif; }\r\n"
              ".title  {font: bold 16px sans-serif; }\r\n"
              "</style>\r\n");
    svg.WriteFooter();
    EXPECT_EQ(Body(), "</svg>");  // no line end after it
}

TEST_F(SvgTest, InitialState) {
    EXPECT_EQ(svg.Stroke(), "rgb(0,0,0)");
    EXPECT_EQ(svg.StrokeWidth(), "1px");
    EXPECT_EQ(svg.Fill(), "rgb(255,255,255");  // cut to 15 characters
    EXPECT_EQ(svg.TextClass(), "normal");
}

TEST_F(SvgTest, ElementsInTheirExactForm) {
    struct Case {
        const char* what;
        void (*draw)(CSVGContext&);
        const char* text;
    };
    const std::vector<Case> cases = {
        {"line with the initial pen", [](CSVGContext& c) { c.DrawLine(1, 2, -3, 40); },
         "<line x1=\"1\" y1=\"2\" x2=\"-3\" y2=\"40\" style=\"stroke:rgb(0,0,0);stroke-width:1px\" "
         "/>\r\n"},
        {"rectangle with the initial (cut) white",
         [](CSVGContext& c) { c.FillRectangle(0, 0, 640, 480); },
         "<rect x=\"0\" y=\"0\" width=\"640\" height=\"480\" style=\"fill:rgb(255,255,255\" "
         "/>\r\n"},
        {"grey pen is cut too",
         [](CSVGContext& c) {
             c.SetPenColour(MakeColour(216, 216, 216));
             c.SetPenWidth(3);
             c.DrawLine(0, 5, 10, 5);
         },
         "<line x1=\"0\" y1=\"5\" x2=\"10\" y2=\"5\" "
         "style=\"stroke:rgb(216,216,216;stroke-width:3px\" />\r\n"},
        {"a two-digit channel keeps the parenthesis",
         [](CSVGContext& c) {
             c.SetFillColour(MakeColour(99, 100, 100));
             c.FillRectangle(1, 2, 3, 4);
         },
         "<rect x=\"1\" y=\"2\" width=\"3\" height=\"4\" style=\"fill:rgb(99,100,100)\" />\r\n"},
        {"the top byte of a colour is ignored",
         [](CSVGContext& c) {
             c.SetFillColour(0xFF00C000u);
             c.FillRectangle(0, 0, 1, 1);
         },
         "<rect x=\"0\" y=\"0\" width=\"1\" height=\"1\" style=\"fill:rgb(0,192,0)\" />\r\n"},
        {"polyline of one point",
         [](CSVGContext& c) {
             int x = 5, y = 6;
             c.DrawPolyline(1, &x, &y);
         },
         "<polyline points=\"5,6 \" style=\"fill:none;stroke:rgb(0,0,0);stroke-width:1px\" />\r\n"},
        {"polyline of three points",
         [](CSVGContext& c) {
             int xs[] = {-5, 8, 10}, ys[] = {7, -9, 0};
             c.SetPenColour(MakeColour(0, 0, 255));
             c.DrawPolyline(3, xs, ys);
         },
         "<polyline points=\"-5,7 8,-9 10,0 \" "
         "style=\"fill:none;stroke:rgb(0,0,255);stroke-width:1px\" />\r\n"},
        {"polyline of no points writes nothing",
         [](CSVGContext& c) {
             int x = 0, y = 0;
             c.DrawPolyline(0, &x, &y);
         },
         ""},
        {"circle", [](CSVGContext& c) { c.DrawCircle(1, 2, 3); },
         "<circle cx=\"1\" cy=\"2\" r=\"3\" style=\"stroke:rgb(0,0,0);stroke-width:1px;fill:none\" "
         "/>\r\n"},
        {"filled circle with outline",
         [](CSVGContext& c) {
             c.SetPenColour(MakeColour(255, 0, 0));
             c.SetPenWidth(2);
             c.SetFillColour(MakeColour(0, 128, 0));
             c.DrawFilledCircle(10, 20, 4, true);
         },
         "<circle cx=\"10\" cy=\"20\" r=\"4\" "
         "style=\"stroke:rgb(255,0,0);stroke-width:2px;fill:rgb(0,128,0)\" />\r\n"},
        {"filled circle without outline takes the fill as its rim",
         [](CSVGContext& c) {
             c.SetPenColour(MakeColour(255, 0, 0));
             c.SetPenWidth(2);
             c.SetFillColour(MakeColour(0, 128, 0));
             c.DrawFilledCircle(10, 20, 4, false);
         },
         "<circle cx=\"10\" cy=\"20\" r=\"4\" "
         "style=\"stroke:rgb(0,128,0);stroke-width:1px;fill:rgb(0,128,0)\" />\r\n"},
        {"text as it stands, XML characters included",
         [](CSVGContext& c) { c.DrawText(10, 20, 9, "a<b&c > d"); },
         "<text x=\"10\" y=\"20\" class=\"normal\">a<b&c > d</text>\r\n"},
        {"text cut to its length", [](CSVGContext& c) { c.DrawText(-1, 0, 3, "abcdef"); },
         "<text x=\"-1\" y=\"0\" class=\"normal\">abc</text>\r\n"},
        {"pixels and text colour leave no trace",
         [](CSVGContext& c) {
             c.SetPixel(1, 1, MakeColour(1, 2, 3));
             c.SetTextColour(MakeColour(1, 2, 3));
             c.TextHeight();
             c.TextWidth("abc");
         },
         ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        CTextBuffer out;
        CSVGContext context;
        context.WriteHeader(out, 10, 10);
        size_t start = out.Length();
        c.draw(context);
        EXPECT_EQ(out.Text().substr(start), c.text);
    }
}

TEST_F(SvgTest, FontClasses) {
    struct Case {
        const CFont* font;
        const char* cls;
    };
    CFont normal{-12, 400, "sans-serif"}, bold{-12, 700, "sans-serif"};
    CFont semi{12, 600, "sans-serif"}, big{-13, 400, "sans-serif"}, big_cell{13, 700, "x"};
    CFont light_bold{-12, 599, "sans-serif"};
    const std::vector<Case> cases = {
        {&normal, "normal"},  {&bold, "bold"},         {&semi, "bold"},    {&big, "title"},
        {&big_cell, "title"}, {&light_bold, "normal"}, {nullptr, "normal"}};
    for (const Case& c : cases) {
        svg.SelectFont(c.font);
        EXPECT_EQ(svg.TextClass(), c.cls);
        svg.DrawText(0, 0, 1, "x");
        EXPECT_NE(Body().find(std::string("class=\"") + c.cls + "\">x</text>\r\n"),
                  std::string::npos);
    }
}

TEST(TextBuffer, IndentationAndLineEnds) {
    CTextBuffer b;
    b.indent = 2;
    b.Append("key = 1");
    b.indent = 0;
    b.Append("abcdef", 3);
    b.line_end = false;
    b.Append("x");
    b.AppendRaw("\tz");
    EXPECT_EQ(b.Text(), "\t\tkey = 1\r\nabc\r\nx\tz");
}

TEST(TextBuffer, CapacityGrowsInWholeSteps) {
    CTextBuffer b;
    b.line_end = false;
    EXPECT_EQ(b.Capacity(), 0u);
    b.Append("a");
    EXPECT_EQ(b.Capacity(), 4096u);
    b.Append(std::string(4095, 'b'));
    EXPECT_EQ(b.Capacity(), 4096u);  // exactly full
    b.Append("c");
    EXPECT_EQ(b.Capacity() % 4096, 0u);
    EXPECT_GT(b.Capacity(), 4096u);
    std::string big(100000, 'd');
    b.Append(big);
    EXPECT_EQ(b.Length(), 4097u + 100000u);
    EXPECT_EQ(b.Capacity() % 4096, 0u);
    EXPECT_GE(b.Capacity(), b.Length());
}

}  // namespace
}  // namespace kurvalux_lc
