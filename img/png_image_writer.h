#pragma once
// The HTML export's image seam on Qt: a laid-out chart pane painted off screen and written as
// PNG. Safe to call from several worker threads at once (each paints its own QImage); the
// GUI application object must exist first (EnsureGuiApplication on the main thread).
#include "export/html_export.h"

namespace kurvalux_img {

class CPngImageWriter : public kurvalux_export::CImageWriter {
public:
    // Makes sure the GUI application object exists; construct on the main thread.
    CPngImageWriter();
    bool WritePng(kurvalux_lc::CLightCurvePane& pane, int width, int height,
                  const std::string& title, const std::string& path) override;
};

}  // namespace kurvalux_img
