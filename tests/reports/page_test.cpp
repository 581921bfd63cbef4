// The HTML page read back line by line, its image names, and what a failure or a cancel leaves
// behind (nothing).
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <set>

#include "export/html_export.h"
#include "fielddata/temp_folder.h"
#include "reports/report_fixtures.h"

namespace {

using kurvalux_export::ExportHtml;
using kurvalux_export::HtmlOptions;

// Writes the size and the title instead of pixels; can be told to fail on one file.
class CFakeImageWriter : public kurvalux_export::CImageWriter {
public:
    bool WritePng(kurvalux_lc::CLightCurvePane& pane, int width, int height,
                  const std::string& title, const std::string& path) override {
        calls++;
        if (!fail_on.empty() && path.find(fail_on) != std::string::npos) return false;
        std::ofstream(path, std::ios::binary)
            << width << "x" << height << " " << title << " " << pane.Points().size();
        return true;
    }
    std::atomic<int> calls{0};
    std::string fail_on;
};

kurvalux_data::Field PageField() {
    kurvalux_data::Field field;
    auto& a = AddNamed(field, "V1/Cyg: \"A\"");
    a.alternate_name = "NSVS <7>";
    a.variability_type = "EA&EW";
    a.m0 = 2459000.5;
    a.period = 0.74;
    a.max_magnitude = 11.5;
    a.min_magnitude = 12.25;
    a.meta_data.var.star_ra = 5.5 * M_PI / 12.0;
    a.meta_data.var.star_dec = -5.5 * M_PI / 180.0;
    a.meta_data.var.catalog_id = "VSX 1";
    a.meta_data.var.catalog_mag = 11.7;
    a.meta_data.var.catalog_bv = 0.5;
    AddSeries(a, 2459000.4, 50);
    auto& b = AddNamed(field, "Plain");
    AddSeries(b, 2459001.4, 20);
    AddNamed(field, "Empty");  // nothing to draw
    return field;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end; (end = text.find("\r\n", start)) != std::string::npos; start = end + 2)
        lines.push_back(text.substr(start, end - start));
    EXPECT_EQ(start, text.size());
    return lines;
}

TEST(HtmlPage, EveryLineWithAllColumnsAndThumbnails) {
    const auto field = PageField();
    TempFolder folder;
    HtmlOptions o = HtmlOptions::FromBits(0x3FF);
    o.prefer_alt = true;
    o.thumb_width = 120;
    o.thumb_depth = 80;
    o.image_width = 600;
    o.image_depth = 400;
    o.prefix = "img/";
    CFakeImageWriter writer;
    kurvalux_platform::CRecordingMessageBoxSink boxes;
    const auto result = ExportHtml(field, folder.Path() + "my page.html", "Cygnus", o, nullptr,
                                   &writer, boxes, {}, 2);
    ASSERT_TRUE(result.ok);
    EXPECT_TRUE(boxes.Records().empty());
    const auto lines = Lines(folder.Read("my page.html"));
    const std::vector<std::string> expected = {
        "<html><head><title>Field ofCygnus</title></head>",
        "<body><h1>Field:Cygnus</h1>",
        "<table border=\"1\">",
        "<tr><td><b>Object</b></td><td><b>Type</b></td><td><b>M0</b></td><td><b>Period</b></td>"
        "<td><b>Max. Mag</b></td><td><b>Min. Mag</b></td><td><b>R.A.</b></td><td><b>Dec.</b></td>"
        "<td><b>Catalog Id.</b></td><td><b>Catalog Mag.</b></td><td><b>Catalog B-V</b></td>"
        "<td><b>Catalog J-K</b></td><td><b>Light Curve</b></td></tr>",
        "<tr><td>NSVS &lt;7&gt;</td><td>EA&amp;EW</td><td>2459000.5000000</td><td>0.7400000</td>"
        "<td>11.500</td><td>12.250</td><td>05 30 00.000</td><td>-5 30 00.00</td><td>VSX 1</td>"
        "<td>11.70</td><td>0.50</td><td></td>"
        "<td><a href=\"img/my_page_V1_Cyg___A__NSVS__7_.png\"><img "
        "src=\"img/my_page_V1_Cyg___A__NSVS__7__thumb.png\"></a></td>",
        "</tr>",
        "<tr><td>Plain</td><td></td><td></td><td></td><td></td><td></td><td></td><td></td><td></td>"
        "<td></td><td></td><td></td><td><a href=\"img/my_page_Plain.png\"><img "
        "src=\"img/my_page_Plain_thumb.png\"></a></td>",
        "</tr>",
        "<tr><td>Empty</td><td></td><td></td><td></td><td></td><td></td><td></td><td></td><td></td>"
        "<td></td><td></td><td></td><td></td>",
        "</tr>",
        "</table></body></html>",
    };
    EXPECT_EQ(lines, expected);
    // The object with an ephemeris is drawn phased (its 50 points seen twice between phases
    // -0.2 and 1.2), the other as a time series; thumbnails without title; nothing else left.
    EXPECT_EQ(folder.Read("my_page_V1_Cyg___A__NSVS__7_.png"), "600x400 V1/Cyg: \"A\" 100");
    EXPECT_EQ(folder.Read("my_page_Plain_thumb.png"), "120x80  20");
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
        names.insert(entry.path().filename().string());
    EXPECT_EQ(names,
              (std::set<std::string>{"my page.html", "my_page_Plain.png", "my_page_Plain_thumb.png",
                                     "my_page_V1_Cyg___A__NSVS__7_.png",
                                     "my_page_V1_Cyg___A__NSVS__7__thumb.png"}));
    EXPECT_EQ(result.images, 4u);
}

TEST(HtmlPage, ImagesWithoutThumbnailsUseTheSpacedLinkForm) {
    const auto field = PageField();
    HtmlOptions o;
    o.images = true;
    const auto lines = Lines(kurvalux_export::HtmlPageText(field, "F", "p", o));
    ASSERT_EQ(lines.size(), 11u);
    EXPECT_EQ(lines[3], "<tr><td><b>Object</b></td><td><b>Light Curve</b></td></tr>");
    EXPECT_EQ(lines[6], "<tr><td>Plain</td><td><a href = \"p_Plain.png\">Light Curve</a></td>");
    HtmlOptions none;
    EXPECT_EQ(Lines(kurvalux_export::HtmlPageText(field, "F", "p", none))[4],
              "<tr><td>V1/Cyg: &quot;A&quot;</td>");
}

TEST(HtmlPage, OptionBitsFollowTheDialogOrder) {
    HtmlOptions o;
    o.type = true;
    o.thumbs = true;
    EXPECT_EQ(o.Bits(), 2 | 256);
    const HtmlOptions back = HtmlOptions::FromBits(o.Bits());
    EXPECT_TRUE(back.type && back.thumbs && !back.images && !back.prefer_alt);
}

TEST(HtmlPage, FailuresLeaveNothingBehind) {
    const auto field = PageField();
    HtmlOptions o;
    o.thumbs = true;
    {  // a page that cannot be created: no image is drawn
        TempFolder folder;
        CFakeImageWriter writer;
        kurvalux_platform::CRecordingMessageBoxSink boxes;
        const std::string path = folder.Path() + "no/such/folder/p.html";
        EXPECT_FALSE(ExportHtml(field, path, "F", o, nullptr, &writer, boxes).ok);
        ASSERT_EQ(boxes.Records().size(), 1u);
        EXPECT_EQ(boxes.Records()[0].title, "Error exporting HTML");
        EXPECT_EQ(boxes.Records()[0].lines, (std::vector<std::string>{"Cannot create file", path}));
        EXPECT_EQ(writer.calls.load(), 0);
    }
    {  // an image that cannot be written: no page, no image of this run
        TempFolder folder;
        CFakeImageWriter writer;
        writer.fail_on = "p_Plain_thumb";
        kurvalux_platform::CRecordingMessageBoxSink boxes;
        EXPECT_FALSE(
            ExportHtml(field, folder.Path() + "p.html", "F", o, nullptr, &writer, boxes).ok);
        ASSERT_EQ(boxes.Records().size(), 1u);
        EXPECT_EQ(
            boxes.Records()[0].lines,
            (std::vector<std::string>{"Cannot create file", folder.Path() + "p_Plain_thumb.png"}));
        EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    }
    {  // cancelled from the progress callback: nothing at all, no box
        TempFolder folder;
        CFakeImageWriter writer;
        kurvalux_platform::CRecordingMessageBoxSink boxes;
        const auto result = ExportHtml(field, folder.Path() + "p.html", "F", o, nullptr, &writer,
                                       boxes, [](size_t, size_t) { return false; });
        EXPECT_FALSE(result.ok);
        EXPECT_TRUE(result.cancelled);
        EXPECT_TRUE(boxes.Records().empty());
        EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    }
}

TEST(HtmlPage, ImagesAreDrawnOnSeveralThreadsWithProgressToTheEnd) {
    kurvalux_data::Field field;
    for (int i = 0; i < 40; ++i)
        AddSeries(AddNamed(field, "S" + std::to_string(i)), 2459000.4, 200);
    TempFolder folder;
    HtmlOptions o;
    o.images = true;
    o.image_width = 200;
    o.image_depth = 100;
    CFakeImageWriter writer;
    kurvalux_platform::CRecordingMessageBoxSink boxes;
    size_t last_done = 0, last_total = 0;
    const auto result = ExportHtml(
        field, folder.Path() + "p.html", "F", o, nullptr, &writer, boxes,
        [&](size_t done, size_t total) {
            EXPECT_GE(done, last_done);
            last_done = done;
            last_total = total;
            return true;
        },
        4);
    ASSERT_TRUE(result.ok);
    EXPECT_EQ(result.images, 40u);
    EXPECT_EQ(last_done, 40u);
    EXPECT_EQ(last_total, 40u);
    EXPECT_EQ(writer.calls.load(), 40);
}

}  // namespace
