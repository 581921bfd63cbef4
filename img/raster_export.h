#pragma once
// Raster export of chart panes: the pane is laid out for the requested size, painted off
// screen into a 32-bit image and encoded by Qt's image writers. The size always comes from the
// caller, never from a screen.
#include <QImage>
#include <string>

#include "lc/light_curve_pane.h"
#include "platform/message_box.h"

namespace kurvalux_img {

enum class RasterFormat { kNone, kPng, kJpg, kBmp, kTiff, kGif };

// The format named by a file's extension (case-insensitive): .png, .jpg/.jpeg, .bmp,
// .tif/.tiff, .gif; kNone for anything else.
RasterFormat RasterFormatOfPath(const std::string& path);
// The Qt writer name of a format ("png", "jpeg", "bmp", "tiff", "gif").
const char* WriterName(RasterFormat format);
// Whether Qt can write the format here (TIFF needs its image-format plugin; GIF is read-only
// in the stock plugins).
bool CanWrite(RasterFormat format);

// Makes sure a QGuiApplication exists (fonts need one); on a machine without a display it
// runs on the off-screen platform. Call from the main thread.
void EnsureGuiApplication();

// Paints the pane into a new width × height image (format RGB32) with `title` on top; the pane
// keeps its own rectangle and layout. An empty image when a size is not positive.
QImage RenderPane(kurvalux_lc::CLightCurvePane& pane, int width, int height,
                  const std::string& title, int dpi = 96);

// The pixels as a bottom-up device-independent bitmap of 32 bits per pixel: a 40-byte header
// (size 40, width, height, 1 plane, 32 bits, no compression, image size) and width × height
// × 4 bytes of blue, green, red, 0, the bottom row first.
std::string DeviceIndependentBitmap(const QImage& image);

// Exports the pane in `format`. A size that is not positive fails at once without a message.
// "Error" boxes: "Cannot create file" with the file name when the file cannot be written,
// "Error while exporting file" with the file name when the encoder fails.
bool ExportRaster(kurvalux_lc::CLightCurvePane& pane, const std::string& path, RasterFormat format,
                  int width, int height, const std::string& title,
                  kurvalux_platform::CMessageBoxSink& messages, int dpi = 96);

// As above with the format taken from the file's extension; an extension that names no format
// Qt can write is refused with the "Wrong or missing file name extension," box.
bool ExportRasterByExtension(kurvalux_lc::CLightCurvePane& pane, const std::string& path, int width,
                             int height, const std::string& title,
                             kurvalux_platform::CMessageBoxSink& messages, int dpi = 96);

}  // namespace kurvalux_img
