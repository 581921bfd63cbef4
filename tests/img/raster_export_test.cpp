// Raster rendering of chart panes with Qt: the disc shape and text placement of the QPainter
// adapter, identical pictures with and without the skipping of covered points, the image
// formats by extension, sizes, the device-independent bitmap and the refusals.
#include <gtest/gtest.h>

#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "img/qt_draw_context.h"
#include "img/raster_export.h"
#include "lc/light_curve_pane.h"
#include "platform/message_box.h"

#if defined(__SANITIZE_ADDRESS__)
// fontconfig keeps a few blocks of its configuration until the process ends (Qt's font
// database loads it on the first text drawn); they are not ours to free.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}
#endif

namespace kurvalux_img {
namespace {

using kurvalux_lc::CLightCurvePane;
using kurvalux_platform::MakeColour;

class RasterTest : public ::testing::Test {
protected:
    void SetUp() override {
        EnsureGuiApplication();
        folder = std::filesystem::temp_directory_path() /
                 ("kurvalux_img_test_" +
                  std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "_" +
                  ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(folder);
        pane.invert_y = true;
        pane.SetCaptions("Mag", "HJD");
        for (int i = 0; i < 50; ++i)
            pane.AddPoint(2459000 + i * 0.01, 12 + 0.01 * (i % 7), 0.005, MakeColour(0, 192, 0),
                          i == 10);
        pane.SetRect(kurvalux_lc::CRect{0, 0, 500, 400});
        pane.LayoutAll();
    }
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::string PathOf(const std::string& name) const { return (folder / name).string(); }

    std::filesystem::path folder;
    CLightCurvePane pane;
    kurvalux_platform::CRecordingMessageBoxSink messages;
};

TEST_F(RasterTest, FormatByExtension) {
    const std::vector<std::pair<std::string, RasterFormat>> cases = {
        {"a.png", RasterFormat::kPng},         {"a.PNG", RasterFormat::kPng},
        {"a.jpg", RasterFormat::kJpg},         {"b.JPEG", RasterFormat::kJpg},
        {"c.bmp", RasterFormat::kBmp},         {"d.tif", RasterFormat::kTiff},
        {"d.tiff", RasterFormat::kTiff},       {"e.gif", RasterFormat::kGif},
        {"f.svg", RasterFormat::kNone},        {"noextension", RasterFormat::kNone},
        {"dir.png/file", RasterFormat::kNone}, {"dir\\x.png\\file", RasterFormat::kNone},
        {"a.png.txt", RasterFormat::kNone}};
    for (const auto& [path, format] : cases) EXPECT_EQ(RasterFormatOfPath(path), format) << path;
}

TEST_F(RasterTest, WrittenFormatsKeepTheRequestedSize) {
    struct Case {
        const char* name;
        const char* reader_format;
        int width, height;
    };
    const std::vector<Case> cases = {{"chart.png", "png", 640, 480},
                                     {"chart.jpg", "jpeg", 300, 200},
                                     {"chart.jpeg", "jpeg", 301, 199},
                                     {"chart.bmp", "bmp", 123, 77},
                                     {"chart.tif", "tiff", 800, 600}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string path = PathOf(c.name);
        ASSERT_TRUE(ExportRasterByExtension(pane, path, c.width, c.height, "Title", messages));
        QImageReader reader(QString::fromStdString(path));
        EXPECT_EQ(reader.format().toStdString(), c.reader_format);
        EXPECT_EQ(reader.size(), QSize(c.width, c.height));
    }
    EXPECT_TRUE(messages.Records().empty());
    // The pane is as before: its own rectangle, no title.
    EXPECT_EQ(pane.Rect(), (kurvalux_lc::CRect{0, 0, 500, 400}));
    EXPECT_EQ(pane.Title(), "");
}

TEST_F(RasterTest, UnknownExtensionIsRefused) {
    std::vector<std::string> names = {"chart.txt", "chart"};
    if (!CanWrite(RasterFormat::kGif)) names.push_back("chart.gif");
    for (const std::string& name : names) {
        messages.Clear();
        EXPECT_FALSE(ExportRasterByExtension(pane, PathOf(name), 100, 100, "", messages)) << name;
        ASSERT_EQ(messages.Records().size(), 1u);
        EXPECT_EQ(messages.Records()[0].title, "Error");
        EXPECT_EQ(messages.Records()[0].lines,
                  (std::vector<std::string>{"Wrong or missing file name extension,",
                                            "cannot determine target image format.",
                                            "Image not saved."}));
        EXPECT_FALSE(std::filesystem::exists(PathOf(name)));
    }
}

TEST_F(RasterTest, SizeNotPositiveFailsWithoutMessage) {
    for (auto [w, h] : std::vector<std::pair<int, int>>{{0, 100}, {100, 0}, {-5, 10}}) {
        EXPECT_FALSE(ExportRaster(pane, PathOf("x.png"), RasterFormat::kPng, w, h, "", messages));
        EXPECT_TRUE(RenderPane(pane, w, h, "").isNull());
    }
    EXPECT_TRUE(messages.Records().empty());
    EXPECT_FALSE(std::filesystem::exists(PathOf("x.png")));
}

TEST_F(RasterTest, UncreatableFileIsReported) {
    std::string path = PathOf("missing-folder/chart.png");
    EXPECT_FALSE(ExportRasterByExtension(pane, path, 100, 80, "", messages));
    ASSERT_EQ(messages.Records().size(), 1u);
    EXPECT_EQ(messages.Records()[0].title, "Error");
    EXPECT_EQ(messages.Records()[0].lines, (std::vector<std::string>{"Cannot create file", path}));
}

TEST_F(RasterTest, DeviceIndependentBitmapIsBottomUp) {
    QImage image(3, 2, QImage::Format_RGB32);
    image.setPixel(0, 0, qRgb(1, 2, 3));
    image.setPixel(1, 0, qRgb(4, 5, 6));
    image.setPixel(2, 0, qRgb(7, 8, 9));
    image.setPixel(0, 1, qRgb(10, 11, 12));
    image.setPixel(1, 1, qRgb(13, 14, 15));
    image.setPixel(2, 1, qRgb(16, 17, 18));
    std::string dib = DeviceIndependentBitmap(image);
    ASSERT_EQ(dib.size(), 40u + 3 * 2 * 4);
    const std::string header("\x28\0\0\0\x03\0\0\0\x02\0\0\0\x01\0\x20\0\0\0\0\0\x18\0\0\0", 24);
    EXPECT_EQ(dib.substr(0, 24), header);
    // Bottom row first, blue, green, red, 0.
    EXPECT_EQ(dib.substr(40, 12), std::string("\x0c\x0b\x0a\0\x0f\x0e\x0d\0\x12\x11\x10\0", 12));
    EXPECT_EQ(dib.substr(52, 12), std::string("\x03\x02\x01\0\x06\x05\x04\0\x09\x08\x07\0", 12));
}

TEST_F(RasterTest, DiscShape) {
    // Radius 2: the 5 × 5 block without its corners, 21 pixels; radius 1: a plus and its
    // diagonals (3 × 3, all 9, since 1 + 1 <= 1 + 1).
    struct Case {
        int r;
        int pixels;
    };
    for (Case c : std::vector<Case>{{1, 9}, {2, 21}, {3, 37}, {0, 1}}) {
        QImage image(15, 15, QImage::Format_RGB32);
        image.fill(Qt::white);
        {
            QPainter painter(&image);
            CQtDrawContext dc(painter, &image);
            dc.SetFillColour(MakeColour(255, 0, 0));
            dc.DrawFilledCircle(7, 7, c.r, false);
        }
        int count = 0;
        for (int y = 0; y < 15; ++y)
            for (int x = 0; x < 15; ++x) count += image.pixel(x, y) == qRgb(255, 0, 0);
        EXPECT_EQ(count, c.pixels) << c.r;
        if (c.r == 2) {
            EXPECT_EQ(image.pixel(5, 5), qRgb(255, 255, 255));  // corner left out
            EXPECT_EQ(image.pixel(5, 6), qRgb(255, 0, 0));
        }
    }
}

TEST_F(RasterTest, DiscsAtTheEdgeAreClipped) {
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        CQtDrawContext dc(painter, &image);
        dc.SetFillColour(MakeColour(0, 0, 255));
        dc.DrawFilledCircle(0, 0, 2, false);
        dc.DrawFilledCircle(100, -100, 2, false);
        dc.SetPixel(-1, 3, MakeColour(0, 0, 255));
        dc.SetPixel(3, 3, MakeColour(0, 255, 0));
    }
    EXPECT_EQ(image.pixel(0, 0), qRgb(0, 0, 255));
    EXPECT_EQ(image.pixel(2, 1), qRgb(0, 0, 255));
    EXPECT_EQ(image.pixel(2, 2), qRgb(255, 255, 255));
    EXPECT_EQ(image.pixel(3, 3), qRgb(0, 255, 0));
}

TEST_F(RasterTest, TextIsPlacedByItsTopLeftCorner) {
    QImage image(200, 100, QImage::Format_RGB32);
    image.fill(Qt::white);
    int height = 0;
    {
        QPainter painter(&image);
        CQtDrawContext dc(painter, &image);
        kurvalux_platform::CFont font{-12, 400, "sans-serif"};
        dc.SelectFont(&font);
        height = dc.TextHeight();
        EXPECT_GT(dc.TextWidth("2459000.0000"), dc.TextWidth("0.0"));
        dc.DrawText(20, 30, 2, "HJDxx");
    }
    int top = 1000, bottom = -1, right = -1;
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 200; ++x)
            if (image.pixel(x, y) != qRgb(255, 255, 255)) {
                top = std::min(top, y);
                bottom = std::max(bottom, y);
                right = std::max(right, x);
            }
    EXPECT_GE(top, 30);
    EXPECT_LT(bottom, 30 + height);
    EXPECT_LT(right, 20 + 20);  // only "HJ" of the text, cut to its length
}

TEST_F(RasterTest, SkippingCoveredPointsKeepsThePicture) {
    // Many points on few pixels in three colours, with error bars and highlighted points.
    CLightCurvePane dense;
    std::mt19937 random(5);
    std::uniform_int_distribution<int> cell(0, 30), colour(0, 2);
    const kurvalux_platform::Colour colours[] = {MakeColour(255, 0, 0), MakeColour(0, 0, 255),
                                                 MakeColour(0, 160, 0)};
    for (int i = 0; i < 20000; ++i)
        dense.AddPoint(cell(random), cell(random) * 0.1, (i % 3) * 0.05, colours[colour(random)],
                       i % 97 == 0);
    dense.show_error_bars = true;
    dense.SetRect(kurvalux_lc::CRect{0, 0, 300, 200});
    dense.LayoutAll();
    auto paint = [&dense](bool omit_covered) {
        QImage image(300, 200, QImage::Format_RGB32);
        {
            QPainter painter(&image);
            CQtDrawContext dc(painter, &image);
            EXPECT_TRUE(dc.MayOmitCoveredMarks());  // a pixel device by default
            dc.SetMayOmitCoveredMarks(omit_covered);
            dense.Paint(dc);
        }
        return image;
    };
    const QImage skipped = paint(true);
    const QImage all = paint(false);
    EXPECT_TRUE(skipped == all);
}

TEST_F(RasterTest, RenderedChartHasItsPoints) {
    QImage image = RenderPane(pane, 500, 400, "");
    ASSERT_EQ(image.size(), QSize(500, 400));
    // Point colour and the highlight ring's red are both in the picture; the corner is
    // background.
    int green = 0, red = 0;
    for (int y = 0; y < 400; ++y)
        for (int x = 0; x < 500; ++x) {
            green += image.pixel(x, y) == qRgb(0, 192, 0);
            red += image.pixel(x, y) == qRgb(255, 0, 0);
        }
    EXPECT_GT(green, 50 * 5);
    EXPECT_GT(red, 0);
    EXPECT_EQ(image.pixel(499, 0), qRgb(255, 255, 255));
}

}  // namespace
}  // namespace kurvalux_img
