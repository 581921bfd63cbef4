#pragma once
// The core's device context on a QPainter: what the chart panes paint appears on a QImage (or
// any other paint device of the GUI). Points are drawn with the shared disc shape of
// platform/draw_context.h; on a 32-bit QImage they are written straight into the pixels, which
// is what makes a million-point chart quick to draw.
#include <QColor>
#include <QFont>
#include <QImage>
#include <QPainter>

#include "platform/draw_context.h"

namespace kurvalux_img {

QColor ToQColor(kurvalux_platform::Colour colour);
// The QFont of a device font: its pixel size and weight on a sans-serif face.
QFont ToQFont(const kurvalux_platform::CFont& font);

class CQtDrawContext : public kurvalux_platform::CDrawContext {
public:
    // Paints with `painter`. When `image` is the painter's device (a 32-bit format), discs and
    // pixels are written into it directly.
    CQtDrawContext(QPainter& painter, QImage* image, int dpi_x = 96, int dpi_y = 96);

    void SetPenColour(kurvalux_platform::Colour colour) override;
    void SetPenWidth(unsigned width) override;
    void SetFillColour(kurvalux_platform::Colour colour) override;
    void SelectFont(const kurvalux_platform::CFont* font) override;
    void SetTextColour(kurvalux_platform::Colour colour) override;
    int TextHeight() override;
    int TextWidth(std::string_view text) override;
    void DrawText(int x, int y, size_t length, std::string_view text) override;
    void SetPixel(int x, int y, kurvalux_platform::Colour colour) override;
    void DrawLine(int x1, int y1, int x2, int y2) override;
    void DrawPolyline(size_t count, const int* xs, const int* ys) override;
    void DrawCircle(int cx, int cy, int r) override;
    void DrawFilledCircle(int cx, int cy, int r, bool outline) override;
    void FillRectangle(int x, int y, int width, int height) override;
    int DpiX() const override { return dpi_x_; }
    int DpiY() const override { return dpi_y_; }
    // Pixels: a mark covered by an identical later one is left out (on by default; off only
    // to compare the pictures or to measure what leaving them out saves).
    bool MayOmitCoveredMarks() const override { return omit_covered_; }
    void SetMayOmitCoveredMarks(bool on) { omit_covered_ = on; }

private:
    void ApplyPen();
    void FillSpan(int y, int x1, int x2, QRgb rgb);

    QPainter& painter_;
    uchar* bits_ = nullptr;  // the image's pixels when they can be written directly
    qsizetype stride_ = 0;
    int image_width_ = 0, image_height_ = 0;
    int dpi_x_, dpi_y_;
    bool omit_covered_ = true;
    QColor pen_colour_{0, 0, 0};
    int pen_width_ = 1;
    QColor fill_colour_{255, 255, 255};
    QColor text_colour_{0, 0, 0};
    QFont font_;
};

}  // namespace kurvalux_img
