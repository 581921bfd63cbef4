// kurvalux-cli chart: draws one chart of an object (time series, compressed series, phased
// curve, phased curve with the model fit, one minimum) into an SVG or raster image file.
#include <cstdio>
#include <string>

#include "analysis/fit_points.h"
#include "analysis/minimum_fit.h"
#include "cli/cli.h"
#include "data/settings.h"
#include "lc/chart_views.h"
#include "platform/text.h"

#ifdef KURVALUX_HAVE_IMG
#include "img/raster_export.h"
#endif

#ifdef KURVALUX_HAVE_IMG
#if defined(__SANITIZE_ADDRESS__)
// fontconfig keeps a few blocks of its configuration until the process ends (Qt's font
// database loads it on the first text drawn); they are not ours to free.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}
#endif
#endif

namespace kurvalux_cli {
namespace {

bool EndsWithSvg(const std::string& path) {
    if (path.size() < 4) return false;
    return kurvalux_platform::ToUpperAscii(path.substr(path.size() - 4)) == ".SVG";
}

int Chart(const Args& args) {
    kurvalux_lc::ChartRequest request;
    if (!kurvalux_lc::ParseChartView(args.Get("view", "time"), request.view)) {
        std::fprintf(stderr, "Unknown view \"%s\": time, compressed, phased, fit or minimum\n",
                     args.Get("view").c_str());
        return 2;
    }
    const std::string out = args.Get("out");
    kurvalux_data::Settings settings;
    kurvalux_data::LoadSettings(kurvalux_data::DefaultSettingsPath(), settings);
    long width = settings.export_image_width, height = settings.export_image_depth;
    if (args.Has("width")) {
        auto w = args.Integer("width");
        if (!w) return 2;
        width = *w;
    }
    if (args.Has("height")) {
        auto h = args.Integer("height");
        if (!h) return 2;
        height = *h;
    }
    if (width <= 0 || height <= 0 || width > 30000 || height > 30000) {
        std::fprintf(stderr, "Image size %ld x %ld is out of range (1 to 30000 pixels)\n", width,
                     height);
        return 2;
    }
    // Resolution of a raster image: fonts, point sizes and margins scale with it.
    long dpi = 96;
    if (args.Has("dpi")) {
        auto d = args.Integer("dpi");
        if (!d) return 2;
        if (*d < 48 || *d > 960) {
            std::fprintf(stderr, "Resolution %ld dpi is out of range (48 to 960)\n", *d);
            return 2;
        }
        dpi = *d;
    }
    if (args.Has("series")) {
        auto k = args.Integer("series");
        if (!k) return 2;
        if (*k < 1) {
            std::fprintf(stderr, "Series are counted from 1\n");
            return 2;
        }
        request.series = static_cast<int>(*k - 1);
    }
    if (args.Has("from") || args.Has("to")) {
        auto from = args.Number("from");
        auto to = args.Number("to");
        if (!from || !to) return 2;
        if (!(*to > *from)) {
            std::fprintf(stderr, "--to must be later than --from\n");
            return 2;
        }
        request.from = *from;
        request.to = *to;
    }
    request.filters = &settings.filters;
    request.show_error_bars = args.Flag("errors");
    request.show_unused_minima = args.Flag("unused-minima");
    request.show_predicted_minima = args.Flag("predicted");

    kurvalux_data::Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    kurvalux_data::CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return 1;

    // The minimum chart shows the single-minimum model fitted to the window's points.
    kurvalux_analysis::MinimumFitResult minimum;
    if (request.view == kurvalux_lc::ChartView::kMinimum && !args.Flag("no-fit") &&
        request.series >= 0 && request.series < static_cast<int>(object->series.size())) {
        const kurvalux_data::CSeriesTreeElem& series = *object->series[request.series];
        kurvalux_analysis::SeriesPoints points =
            kurvalux_analysis::MagnitudePoints(series, object->is_flux);
        kurvalux_analysis::MinimumFitOptions options;
        options.times = points.times;
        options.values = points.values;
        options.errors = points.errors;
        options.t_start = request.to > request.from ? request.from : series.FirstTime();
        options.t_end = request.to > request.from ? request.to : series.LastTime();
        options.start = kurvalux_analysis::EstimateMinimumStart(options);
        minimum = kurvalux_analysis::FitMinimum(options);
        if (minimum.ok) {
            request.has_minimum_fit = true;
            request.minimum_fit = minimum.normalised;
        } else if (!minimum.message.empty()) {
            Messages().Error(minimum.message.title, minimum.message.lines);
        }
    }

    std::string message;
    kurvalux_lc::Chart chart = kurvalux_lc::MakeChart(*object, request, message);
    if (!chart.pane) {
        std::fprintf(stderr, "%s\n", message.c_str());
        return 1;
    }
    chart.pane->SetThumbnail(args.Flag("thumbnail"));
    chart.pane->SetRect(
        kurvalux_lc::CRect{0, 0, static_cast<int>(width), static_cast<int>(height)});
    chart.Layout();
    std::string title = args.Get("title");
    bool ok;
    if (EndsWithSvg(out)) {
        ok = chart.pane->ExportSvg(out, static_cast<int>(width), static_cast<int>(height), title,
                                   Messages());
    } else {
#ifdef KURVALUX_HAVE_IMG
        ok = kurvalux_img::ExportRasterByExtension(*chart.pane, out, static_cast<int>(width),
                                                   static_cast<int>(height), title, Messages(),
                                                   static_cast<int>(dpi));
#else
        (void)dpi;
        std::fprintf(stderr, "Raster images need the Qt build of kurvalux-cli; use .svg\n");
        ok = false;
#endif
    }
    if (!ok) return 1;
    std::printf("view %s\n", kurvalux_lc::ChartViewName(request.view));
    std::printf("file %s\n", out.c_str());
    std::printf("size %ld %ld\n", width, height);
    std::printf("points %zu\n", chart.pane->Points().size());
    std::printf("markers %zu\n", chart.pane->Markers().size());
    std::printf("visible_x %s %s\n", FormatNumber(chart.pane->VisibleXLower()).c_str(),
                FormatNumber(chart.pane->VisibleXUpper()).c_str());
    std::printf("visible_y %s %s\n", FormatNumber(chart.pane->VisibleYLower()).c_str(),
                FormatNumber(chart.pane->VisibleYUpper()).c_str());
    if (auto* fit = dynamic_cast<kurvalux_lc::CLightCurveFitPane*>(chart.pane.get())) {
        if (fit->ModelEnabled()) {
            std::printf("max_mag %s\n", FormatNumber(fit->MaxMag()).c_str());
            std::printf("min_mag %s\n", FormatNumber(fit->MinMag()).c_str());
        } else {
            std::printf("model none (the object has no light-curve fit)\n");
        }
    }
    if (minimum.ok) {
        std::printf("minimum_time %s\n", FormatNumber(minimum.time_of_minimum).c_str());
        std::printf("minimum_fit_points %d\n", minimum.points);
    }
    return 0;
}

const CommandRegistrar kChart(
    "chart", "Draws one chart of an object into an SVG or raster image file.", Chart,
    {FieldArgument(), ObjectOption(),
     Text("view", "time|compressed|phased|fit|minimum", "the chart (default time)"),
     Integer("series", "K", "the series to highlight, counted from 1 (the minimum view needs one)"),
     Number("from", "JD", "start of the time range shown (with --to)"),
     Number("to", "JD", "end of the time range shown (with --from)"),
     Required(Text("out", "FILE", "the image file: .svg, .png, .jpg, .bmp or .tif"),
              "No output file: --out FILE.svg|.png|.jpg|.bmp|.tif"),
     Integer("width", "W", "width in pixels (default: the settings' export width)"),
     Integer("height", "H", "height in pixels (default: the settings' export height)"),
     Text("title", "TEXT", "a title centred on top of the image"),
     Integer("dpi", "N", "resolution of a raster image, 48 to 960 (default 96)"),
     Flag("thumbnail", "draw as the small chart of the object list"),
     Flag("errors", "draw error bars"),
     Flag("unused-minima", "mark the timed minima that are not in use"),
     Flag("predicted", "mark the predicted minima"),
     Flag("no-fit", "the minimum chart without its fitted model"), RootOption()});

}  // namespace
}  // namespace kurvalux_cli
