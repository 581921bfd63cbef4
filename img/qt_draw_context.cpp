#include "img/qt_draw_context.h"

#include <QFontMetrics>
#include <QPolygon>
#include <QString>
#include <algorithm>
#include <cstdlib>

namespace kurvalux_img {

using kurvalux_platform::Colour;

QColor ToQColor(Colour colour) {
    return QColor(kurvalux_platform::RedOf(colour), kurvalux_platform::GreenOf(colour),
                  kurvalux_platform::BlueOf(colour));
}

QFont ToQFont(const kurvalux_platform::CFont& font) {
    QFont q(QStringLiteral("DejaVu Sans"));
    q.setStyleHint(QFont::SansSerif);
    if (font.face != "sans-serif" && !font.face.empty())
        q.setFamily(QString::fromStdString(font.face));
    // A negative height is the em size; a positive one the cell, about 1.2 em.
    int pixels = font.height < 0 ? -font.height : (font.height * 5 + 3) / 6;
    q.setPixelSize(std::max(1, pixels));
    q.setWeight(font.weight >= 600 ? QFont::Bold : QFont::Normal);
    return q;
}

CQtDrawContext::CQtDrawContext(QPainter& painter, QImage* image, int dpi_x, int dpi_y)
    : painter_(painter), dpi_x_(dpi_x), dpi_y_(dpi_y) {
    if (image &&
        (image->format() == QImage::Format_RGB32 || image->format() == QImage::Format_ARGB32 ||
         image->format() == QImage::Format_ARGB32_Premultiplied)) {
        // The painter draws into these same pixels; the raster engine keeps no copy of them,
        // so direct writes and painter calls interleave in call order.
        bits_ = image->bits();
        stride_ = image->bytesPerLine();
        image_width_ = image->width();
        image_height_ = image->height();
    }
    painter_.setRenderHint(QPainter::Antialiasing, false);
    painter_.setRenderHint(QPainter::TextAntialiasing, true);
    font_ = ToQFont(kurvalux_platform::CFont{});
    painter_.setFont(font_);
    ApplyPen();
    painter_.setBrush(Qt::NoBrush);
}

void CQtDrawContext::ApplyPen() {
    QPen pen(pen_colour_);
    pen.setWidth(pen_width_);
    pen.setCapStyle(Qt::SquareCap);
    pen.setJoinStyle(Qt::RoundJoin);
    painter_.setPen(pen);
}

void CQtDrawContext::SetPenColour(Colour colour) {
    pen_colour_ = ToQColor(colour);
    ApplyPen();
}

void CQtDrawContext::SetPenWidth(unsigned width) {
    pen_width_ = static_cast<int>(std::min(width, 1000u));
    ApplyPen();
}

void CQtDrawContext::SetFillColour(Colour colour) {
    fill_colour_ = ToQColor(colour);
}

void CQtDrawContext::SelectFont(const kurvalux_platform::CFont* font) {
    CDrawContext::SelectFont(font);
    font_ = ToQFont(font ? *font : kurvalux_platform::CFont{});
    painter_.setFont(font_);
}

void CQtDrawContext::SetTextColour(Colour colour) {
    text_colour_ = ToQColor(colour);
}

int CQtDrawContext::TextHeight() {
    return QFontMetrics(font_).height();
}

int CQtDrawContext::TextWidth(std::string_view text) {
    return QFontMetrics(font_).horizontalAdvance(
        QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
}

void CQtDrawContext::DrawText(int x, int y, size_t length, std::string_view text) {
    if (length > text.size()) length = text.size();
    // The context places text by its top-left corner; Qt by its baseline.
    QFontMetrics metrics(font_);
    painter_.setPen(text_colour_);
    painter_.drawText(x, y + metrics.ascent(),
                      QString::fromUtf8(text.data(), static_cast<qsizetype>(length)));
    ApplyPen();
}

void CQtDrawContext::SetPixel(int x, int y, Colour colour) {
    if (bits_) {
        if (x < 0 || y < 0 || x >= image_width_ || y >= image_height_) return;
        reinterpret_cast<QRgb*>(bits_ + y * stride_)[x] = ToQColor(colour).rgb();
        return;
    }
    painter_.setPen(ToQColor(colour));
    painter_.drawPoint(x, y);
    ApplyPen();
}

void CQtDrawContext::DrawLine(int x1, int y1, int x2, int y2) {
    painter_.drawLine(x1, y1, x2, y2);
}

void CQtDrawContext::DrawPolyline(size_t count, const int* xs, const int* ys) {
    if (count == 0) return;
    QPolygon polygon(static_cast<int>(count));
    for (size_t i = 0; i < count; ++i) polygon.setPoint(static_cast<int>(i), xs[i], ys[i]);
    // Model curves read better smoothed.
    painter_.setRenderHint(QPainter::Antialiasing, true);
    painter_.drawPolyline(polygon);
    painter_.setRenderHint(QPainter::Antialiasing, false);
}

void CQtDrawContext::DrawCircle(int cx, int cy, int r) {
    painter_.setBrush(Qt::NoBrush);
    painter_.drawEllipse(QPoint(cx, cy), r, r);
}

void CQtDrawContext::FillSpan(int y, int x1, int x2, QRgb rgb) {
    if (y < 0 || y >= image_height_) return;
    x1 = std::max(x1, 0);
    x2 = std::min(x2, image_width_ - 1);
    QRgb* row = reinterpret_cast<QRgb*>(bits_ + y * stride_);
    for (int x = x1; x <= x2; ++x) row[x] = rgb;
}

void CQtDrawContext::DrawFilledCircle(int cx, int cy, int r, bool outline) {
    if (r < 0) return;
    if (bits_) {
        QRgb rgb = fill_colour_.rgb();
        for (int dy = -r; dy <= r; ++dy) {
            int half = kurvalux_platform::DiscHalfWidth(r, dy);
            if (half >= 0) FillSpan(cy + dy, cx - half, cx + half, rgb);
        }
    } else {
        for (int dy = -r; dy <= r; ++dy) {
            int half = kurvalux_platform::DiscHalfWidth(r, dy);
            if (half >= 0) painter_.fillRect(cx - half, cy + dy, 2 * half + 1, 1, fill_colour_);
        }
    }
    if (outline) DrawCircle(cx, cy, r);
}

void CQtDrawContext::FillRectangle(int x, int y, int width, int height) {
    if (width <= 0 || height <= 0) return;
    painter_.fillRect(x, y, width, height, fill_colour_);
}

}  // namespace kurvalux_img
