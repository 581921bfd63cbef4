#include "img/png_image_writer.h"

#include <QImage>
#include <QImageWriter>
#include <QString>

#include "img/raster_export.h"

namespace kurvalux_img {

CPngImageWriter::CPngImageWriter() {
    EnsureGuiApplication();
}

bool CPngImageWriter::WritePng(kurvalux_lc::CLightCurvePane& pane, int width, int height,
                               const std::string& title, const std::string& path) {
    const QImage image = RenderPane(pane, width, height, title);
    if (image.isNull()) return false;
    QImageWriter writer(QString::fromStdString(path), "png");
    return writer.write(image);
}

}  // namespace kurvalux_img
