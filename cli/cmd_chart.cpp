// kurvalux-cli chart: draws one chart of an object (time series, compressed series, phased
// curve, phased curve with the model fit, one minimum) into an SVG or raster image file.
#include <chrono>
#include <cstdio>
#include <string>

#include "analysis/ephemeris_fit.h"
#include "analysis/fit_points.h"
#include "analysis/minimum_fit.h"
#include "cli/cli.h"
#include "data/settings.h"
#include "lc/chart_views.h"
#include "lc/oc_pane.h"
#include "lc/prediction_pane.h"
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

double JulianDateNow() {
    using namespace std::chrono;
    return 2440587.5 + duration<double>(system_clock::now().time_since_epoch()).count() / 86400.0;
}

// Writes the pane to `out` as SVG or, with the Qt build, as a raster image.
bool ExportPane(kurvalux_lc::CLightCurvePane& pane, const std::string& out, long width, long height,
                long dpi, const std::string& title) {
    if (EndsWithSvg(out))
        return pane.ExportSvg(out, static_cast<int>(width), static_cast<int>(height), title,
                              Messages());
#ifdef KURVALUX_HAVE_IMG
    return kurvalux_img::ExportRasterByExtension(pane, out, static_cast<int>(width),
                                                 static_cast<int>(height), title, Messages(),
                                                 static_cast<int>(dpi));
#else
    (void)dpi;
    std::fprintf(stderr, "Raster images need the Qt build of kurvalux-cli; use .svg\n");
    return false;
#endif
}

// The prediction chart: the object's predicted light curve from --start over --days days at
// the site, with the day and twilight bands and the altitudes of the star and the Sun.
int PredictionChart(const Args& args, const kurvalux_data::Settings& settings, long width,
                    long height, long dpi) {
    double start = JulianDateNow(), days = settings.prediction_days;
    double longitude = settings.longitude, latitude = settings.latitude;
    if (args.Has("start")) {
        auto value = args.Number("start");
        if (!value) return 2;
        start = *value;
    }
    if (args.Has("days")) {
        auto value = args.Number("days");
        if (!value) return 2;
        days = *value;
    }
    if (!(days > 0 && days <= 366)) {
        std::fprintf(stderr, "--days needs a length above 0 and at most 366\n");
        return 2;
    }
    if (args.Has("site")) {
        const std::string text = args.Get("site");
        const size_t comma = text.find(',');
        if (comma == std::string::npos || !ReadNumber(text.substr(0, comma), longitude) ||
            !ReadNumber(text.substr(comma + 1), latitude) || longitude < -180 || longitude > 360 ||
            latitude < -90 || latitude > 90) {
            std::fprintf(stderr,
                         "--site needs LON,LAT: east longitude and latitude in degrees, e.g. "
                         "15.5,49.2\n");
            return 2;
        }
    }
    kurvalux_data::Field field;
    if (!LoadFieldArgument(args, field)) return 1;
    kurvalux_data::CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return 1;
    double ra = -1, dec = 91;
    object->Coordinates(ra, dec);
    kurvalux_lc::CPredictionPane pane;
    pane.SetAxis(start, start + days);
    pane.SetEphemeris(object->m0, object->period);
    pane.SetModel(object->fit, true);
    pane.SetPosition(ra, dec);
    pane.SetSite(longitude, latitude);
    pane.SetCriteria(settings.star_alt, settings.sun_alt, settings.show_star_alt,
                     settings.show_sun_alt);
    pane.SetRect(kurvalux_lc::CRect{0, 0, static_cast<int>(width), static_cast<int>(height)});
    pane.Build();
    const std::string out = args.Get("out");
    if (!ExportPane(pane, out, width, height, dpi, args.Get("title"))) return 1;
    std::printf("view prediction\n");
    std::printf("file %s\n", out.c_str());
    std::printf("size %ld %ld\n", width, height);
    std::printf("axis %s %s\n", FormatNumber(start).c_str(), FormatNumber(start + days).c_str());
    std::printf("columns %zu\n", pane.Columns().size());
    if (pane.HasCurve())
        std::printf("model %s %s\n", FormatNumber(pane.ModelMinimum()).c_str(),
                    FormatNumber(pane.ModelMaximum()).c_str());
    else
        std::printf("model none (no ephemeris)\n");
    std::printf("bands %zu\n", pane.Stripes().size());
    if (pane.AltitudeMinimum() != kurvalux_lc::kUnsetAltitude)
        std::printf("altitudes %s %s\n", FormatNumber(pane.AltitudeMinimum()).c_str(),
                    FormatNumber(pane.AltitudeMaximum()).c_str());
    else
        std::printf("altitudes none (no site)\n");
    return 0;
}

// The O-C diagram of the object's minima in use against its ephemeris, with the ephemeris
// fitted to them drawn over the points.
int OCChart(const Args& args, long width, long height, long dpi) {
    kurvalux_lc::OCXAxis axis = kurvalux_lc::OCXAxis::kCycle;
    const std::string axis_word = args.Get("axis", "cycle");
    if (axis_word == "time") {
        axis = kurvalux_lc::OCXAxis::kTime;
    } else if (axis_word != "cycle") {
        std::fprintf(stderr, "Unknown axis \"%s\": cycle or time\n", axis_word.c_str());
        return 2;
    }
    kurvalux_data::Field field;
    kurvalux_data::CObjectListElem* object = LoadObjectWithEphemeris(args, field);
    if (!object) return 1;
    std::vector<kurvalux_analysis::OCEntry> table =
        kurvalux_analysis::MakeOCTable(*object, object->m0, object->period);
    kurvalux_analysis::EphemerisFitOptions options;
    options.quadratic = args.Flag("quadratic");
    const kurvalux_analysis::EphemerisFitResult fit =
        kurvalux_analysis::FitEphemeris(table, object->m0, object->period, options);
    size_t undefined = 0;
    for (const auto& e : table) undefined += e.type == kurvalux_data::kMinimumUndefined;

    kurvalux_lc::COCPane pane;
    pane.SetTable(table, object->m0, object->period);
    pane.SetFit(&fit);
    pane.SetXAxis(axis);
    pane.SetUnit(args.Flag("minutes") ? kurvalux_lc::OCUnit::kMinutes : kurvalux_lc::OCUnit::kDays);
    pane.SetTimeCaption(kurvalux_lc::TimeCaption(*object));
    pane.show_error_bars = args.Flag("errors");
    const kurvalux_lc::CFont title = kurvalux_lc::ChartTitleFont(96);
    pane.SetTitleFont(&title);
    pane.SetRect(kurvalux_lc::CRect{0, 0, static_cast<int>(width), static_cast<int>(height)});
    pane.Build();
    pane.LayoutAll();
    const std::string out = args.Get("out");
    if (!ExportPane(pane, out, width, height, dpi, args.Get("title"))) return 1;
    std::printf("view O-C\n");
    std::printf("file %s\n", out.c_str());
    std::printf("size %ld %ld\n", width, height);
    std::printf("minima %zu fitted %zu undefined %zu\n", table.size(), fit.ok ? fit.count : 0,
                undefined);
    if (fit.ok)
        std::printf("fit %s period %s +- %s chi2/dof %s\n",
                    fit.parameters == 3 ? "quadratic" : "linear", FormatNumber(fit.period).c_str(),
                    FormatNumber(fit.period_error).c_str(), FormatNumber(fit.chi2_per_dof).c_str());
    else
        std::printf("fit none (%s)\n", fit.message.c_str());
    std::printf("visible_x %s %s\n", FormatNumber(pane.VisibleXLower()).c_str(),
                FormatNumber(pane.VisibleXUpper()).c_str());
    std::printf("visible_y %s %s\n", FormatNumber(pane.VisibleYLower()).c_str(),
                FormatNumber(pane.VisibleYUpper()).c_str());
    return 0;
}

int Chart(const Args& args) {
    kurvalux_lc::ChartRequest request;
    const bool prediction = args.Get("view") == "prediction";
    const bool oc = args.Get("view") == "oc";
    if (!prediction && !oc &&
        !kurvalux_lc::ParseChartView(args.Get("view", "time"), request.view)) {
        std::fprintf(stderr,
                     "Unknown view \"%s\": time, compressed, phased, fit, minimum, prediction "
                     "or oc\n",
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
    if (!oc && (args.Has("axis") || args.Flag("minutes") || args.Flag("quadratic"))) {
        std::fprintf(stderr, "--axis, --minutes and --quadratic belong to --view oc\n");
        return 2;
    }
    if (prediction) return PredictionChart(args, settings, width, height, dpi);
    if (args.Has("start") || args.Has("days") || args.Has("site")) {
        std::fprintf(stderr, "--start, --days and --site belong to --view prediction\n");
        return 2;
    }
    if (oc) return OCChart(args, width, height, dpi);
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
    const bool ok = ExportPane(*chart.pane, out, width, height, dpi, args.Get("title"));
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
    {FieldArgument(),
     ObjectOption(),
     Text("view", "time|compressed|phased|fit|minimum|prediction|oc", "the chart (default time)"),
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
     Flag("no-fit", "the minimum chart without its fitted model"),
     Number("start", "JD", "prediction: start of the time axis (default: now)"),
     Number("days", "N", "prediction: length of the time axis in days (default: the settings')"),
     Text("site", "LON,LAT",
          "prediction: east longitude and latitude of the site (default: the settings')"),
     Text("axis", "cycle|time", "O-C: the X axis, cycle number (default) or time"),
     Flag("minutes", "O-C: O-C in minutes (default days)"),
     Flag("quadratic", "O-C: fit a quadratic ephemeris (a steadily changing period)"),
     RootOption()});

}  // namespace
}  // namespace kurvalux_cli
