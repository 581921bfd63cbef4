#pragma once
// The Field as an HTML page: a table of the objects with the columns the user chose and,
// optionally, a light-curve image (and thumbnail) of each object: its phased curve when the
// ephemeris is known, its time series otherwise. The images are drawn on every processor,
// since each object's chart is independent of the others.
#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "data/field.h"
#include "data/settings.h"
#include "lc/light_curve_pane.h"
#include "platform/message_box.h"

namespace kurvalux_export {

// Writes a laid-out chart pane as a PNG file. The core draws through this seam so that it
// needs no raster library; the Qt front ends implement it. Called from several worker threads
// at once, each with its own pane.
class CImageWriter {
public:
    virtual ~CImageWriter() = default;
    virtual bool WritePng(kurvalux_lc::CLightCurvePane& pane, int width, int height,
                          const std::string& title, const std::string& path) = 0;
};

struct HtmlOptions {
    bool prefer_alt = false;   // "Prefer Alternate Name"
    bool type = false;         // "Include Variability Type"
    bool ephemeris = false;    // "Include M0 and Period"
    bool mags = false;         // "Include Max. and Min. Mag"
    bool coords = false;       // "Include Coordinates"
    bool catalog = false;      // "Include Catalog"
    bool catalog_mag = false;  // "Include Maginides"
    bool colors = false;       // "Include Color Indexes"
    bool thumbs = false;       // "Generate Light Curve Thumbs"
    bool images = false;       // "Generate Light Curves Images"
    int thumb_width = 240, thumb_depth = 160;
    int image_width = 1200, image_depth = 800;
    std::string prefix;  // "Path Prefix of Images in HTML:"

    // The bits kept in the settings ("HTMLExportOptions"), in the dialog's order from bit 0.
    int Bits() const;
    static HtmlOptions FromBits(int bits);
    bool AnyImages() const { return thumbs || images; }
};

// The page's file name without folder and extension: the first part of the image names.
std::string PageBaseName(const std::string& page_path);
// The name of an object's image: base, "_", name, and "_" alternate name when there is one,
// then ".png" (or "_thumb.png"). Every character other than an ASCII letter, digit, "-", "_",
// "." or "+" becomes "_", so names with "/", ":", quotes or blanks still give a file name
// that every system accepts and a link that needs no escaping.
std::string ImageFileName(const std::string& base, const kurvalux_data::CObjectListElem& object,
                          bool thumbnail);

// The page text (CR LF line ends). `field_name` is the Field's name. `drawn`, when given, says
// which objects got an image; an object without one (no points to draw) gets an empty
// "Light Curve" cell rather than a link to a missing file.
std::string HtmlPageText(const kurvalux_data::Field& field, const std::string& field_name,
                         const std::string& base_name, const HtmlOptions& options,
                         const std::vector<bool>* drawn = nullptr);

// Progress while the images are drawn: (objects done, objects in all); return false to
// cancel. Called on the exporting thread only.
using HtmlProgress = std::function<bool(size_t done, size_t total)>;

struct HtmlExportResult {
    bool ok = false;
    bool cancelled = false;
    size_t images = 0;  // image files written (thumbnails included)
    std::vector<std::string> files;
};

// Writes the page and, with thumbnails or images chosen, the images beside it (through
// `writer`, on `threads` workers; 0 = one per processor). Images are drawn into temporary
// files first; only when all of them and the page are written do they take their names, so a
// failure or a cancel leaves nothing of this run behind. Failure boxes: "Cannot create file"
// / path, titled "Error exporting HTML".
HtmlExportResult ExportHtml(const kurvalux_data::Field& field, const std::string& page_path,
                            const std::string& field_name, const HtmlOptions& options,
                            const kurvalux_data::FilterTable* filters, CImageWriter* writer,
                            kurvalux_platform::CMessageBoxSink& messages,
                            const HtmlProgress& progress = {}, unsigned threads = 0);

}  // namespace kurvalux_export
