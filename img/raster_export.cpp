#include "img/raster_export.h"

#include <QBuffer>
#include <QByteArray>
#include <QGuiApplication>
#include <QImageWriter>
#include <QPainter>
#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "img/qt_draw_context.h"
#include "platform/files.h"

namespace kurvalux_img {

RasterFormat RasterFormatOfPath(const std::string& path) {
    size_t dot = path.find_last_of('.');
    size_t slash = path.find_last_of("/\\");
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return RasterFormat::kNone;
    std::string ext = path.substr(dot + 1);
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (ext == "png") return RasterFormat::kPng;
    if (ext == "jpg" || ext == "jpeg") return RasterFormat::kJpg;
    if (ext == "bmp") return RasterFormat::kBmp;
    if (ext == "tif" || ext == "tiff") return RasterFormat::kTiff;
    if (ext == "gif") return RasterFormat::kGif;
    return RasterFormat::kNone;
}

const char* WriterName(RasterFormat format) {
    switch (format) {
        case RasterFormat::kPng:
            return "png";
        case RasterFormat::kJpg:
            return "jpeg";
        case RasterFormat::kBmp:
            return "bmp";
        case RasterFormat::kTiff:
            return "tiff";
        case RasterFormat::kGif:
            return "gif";
        case RasterFormat::kNone:
            break;
    }
    return "";
}

namespace {

QtMessageHandler previous_handler = nullptr;

// Without a session (a batch run) Qt notes that it picked a runtime folder itself; that is
// expected here and would only confuse the output of the command line.
void QuietHandler(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (text.startsWith(QStringLiteral("QStandardPaths: XDG_RUNTIME_DIR not set"))) return;
    if (previous_handler) previous_handler(type, context, text);
}

}  // namespace

void EnsureGuiApplication() {
    if (QGuiApplication::instance()) return;
    if (!std::getenv("QT_QPA_PLATFORM") && !std::getenv("DISPLAY") &&
        !std::getenv("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "kurvalux";
    static char* argv[] = {name, nullptr};
    previous_handler = qInstallMessageHandler(QuietHandler);
    static QGuiApplication* application = new QGuiApplication(argc, argv);
    (void)application;
}

bool CanWrite(RasterFormat format) {
    if (format == RasterFormat::kNone) return false;
    EnsureGuiApplication();
    return QImageWriter::supportedImageFormats().contains(QByteArray(WriterName(format)));
}

QImage RenderPane(kurvalux_lc::CLightCurvePane& pane, int width, int height,
                  const std::string& title, int dpi) {
    if (width <= 0 || height <= 0) return QImage();
    EnsureGuiApplication();
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::white);
    image.setDotsPerMeterX(static_cast<int>(dpi / 0.0254 + 0.5));
    image.setDotsPerMeterY(static_cast<int>(dpi / 0.0254 + 0.5));
    {
        QPainter painter(&image);
        CQtDrawContext dc(painter, &image, dpi, dpi);
        kurvalux_lc::CLightCurvePane::ExportScope scope(pane, width, height, title, dc);
        pane.Paint(dc);
    }
    return image;
}

namespace {

void PutLe(std::string& out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out += static_cast<char>((value >> (8 * i)) & 0xFF);
}

}  // namespace

std::string DeviceIndependentBitmap(const QImage& source) {
    QImage image = source.convertToFormat(QImage::Format_RGB32);
    std::string out;
    uint32_t w = static_cast<uint32_t>(image.width()), h = static_cast<uint32_t>(image.height());
    out.reserve(40 + size_t{w} * h * 4);
    PutLe(out, 40, 4);
    PutLe(out, w, 4);
    PutLe(out, h, 4);
    PutLe(out, 1, 2);
    PutLe(out, 32, 2);
    PutLe(out, 0, 4);  // no compression
    PutLe(out, w * h * 4, 4);
    PutLe(out, 0, 4);
    PutLe(out, 0, 4);
    PutLe(out, 0, 4);
    PutLe(out, 0, 4);
    for (int y = image.height() - 1; y >= 0; --y) {
        const QRgb* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            out += static_cast<char>(qBlue(row[x]));
            out += static_cast<char>(qGreen(row[x]));
            out += static_cast<char>(qRed(row[x]));
            out += '\0';
        }
    }
    return out;
}

bool ExportRaster(kurvalux_lc::CLightCurvePane& pane, const std::string& path, RasterFormat format,
                  int width, int height, const std::string& title,
                  kurvalux_platform::CMessageBoxSink& messages, int dpi) {
    if (width <= 0 || height <= 0) return false;
    QImage image = RenderPane(pane, width, height, title, dpi);
    // Encoded in memory first, so that a failure leaves no half-written file behind.
    QByteArray bytes;
    bool encoded = false;
    if (format != RasterFormat::kNone) {
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::WriteOnly);
        QImageWriter writer(&buffer, QByteArray(WriterName(format)));
        if (format == RasterFormat::kJpg) writer.setQuality(90);
        encoded = writer.write(image);
    }
    if (!encoded) {
        messages.Error("Error", {"Error while exporting file", path});
        return false;
    }
    if (!kurvalux_platform::WriteWholeFile(
            path, std::string_view(bytes.constData(), static_cast<size_t>(bytes.size())))) {
        messages.Error("Error", {"Cannot create file", path});
        return false;
    }
    return true;
}

bool ExportRasterByExtension(kurvalux_lc::CLightCurvePane& pane, const std::string& path, int width,
                             int height, const std::string& title,
                             kurvalux_platform::CMessageBoxSink& messages, int dpi) {
    RasterFormat format = RasterFormatOfPath(path);
    if (!CanWrite(format)) {
        messages.Error("Error", {"Wrong or missing file name extension,",
                                 "cannot determine target image format.", "Image not saved."});
        return false;
    }
    return ExportRaster(pane, path, format, width, height, title, messages, dpi);
}

}  // namespace kurvalux_img
