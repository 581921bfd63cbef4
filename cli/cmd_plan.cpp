// The night planner from the command line: plan lists the minima of every object of the field
// in the coming nights with the altitudes of the star, the Sun and the Moon, and writes them
// as a table or as calendar events.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "cli/cli.h"
#include "data/settings.h"
#include "lc/chart_layout.h"
#include "plan/night_chart.h"
#include "plan/night_planner.h"
#include "plan/plan_export.h"
#include "platform/files.h"
#include "platform/system.h"

#ifdef KURVALUX_HAVE_IMG
#include "img/raster_export.h"
#endif

namespace kurvalux_cli {
namespace {

using namespace kurvalux_plan;

double JulianDateNow() {
    using namespace std::chrono;
    const double seconds = duration<double>(system_clock::now().time_since_epoch()).count();
    return 2440587.5 + seconds / 86400.0;
}

bool ReadSite(const std::string& text, kurvalux_time::Site& site) {
    const size_t comma = text.find(',');
    if (comma == std::string::npos) return false;
    return ReadNumber(text.substr(0, comma), site.longitude) &&
           ReadNumber(text.substr(comma + 1), site.latitude) && site.longitude >= -180 &&
           site.longitude <= 360 && site.latitude >= -90 && site.latitude <= 90;
}

bool OptionalNumber(const Args& args, const char* name, double& value) {
    if (!args.Has(name)) return true;
    std::optional<double> number = args.Number(name);
    if (!number) return false;
    value = *number;
    return true;
}

std::string Fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

// The night-by-night chart of the planned minima as SVG or, with the Qt build, as a PNG image.
bool WriteNightChart(const std::vector<PlannerObject>& objects,
                     const std::vector<PlannedMinimum>& minima, const PlannerOptions& options,
                     const std::string& path, bool svg, int width, int height) {
    CNightChartPane chart;
    chart.SetNights(options.start, options.nights);
    chart.SetSite(options.site);
    chart.SetEvents(NightChartEvents(objects, minima));
    chart.SetRect({0, 0, width, height});
    chart.LayoutAll();
    if (svg) return chart.ExportSvg(path, width, height, "", Messages());
#ifdef KURVALUX_HAVE_IMG
    return kurvalux_img::ExportRaster(chart, path, kurvalux_img::RasterFormat::kPng, width, height,
                                      "", Messages());
#else
    std::fprintf(stderr, "PNG images need the Qt build of kurvalux-cli; use --svg\n");
    return false;
#endif
}

int Plan(const Args& args) {
    kurvalux_data::Settings settings;
    kurvalux_data::LoadSettings(kurvalux_data::DefaultSettingsPath(), settings);
    PlannerOptions options;
    options.start = JulianDateNow();
    options.nights = static_cast<int>(std::clamp(settings.prediction_days, 1.0, 366.0) + 0.5);
    options.site = {settings.longitude, settings.latitude};
    options.star_alt = settings.star_alt;
    options.sun_alt = settings.sun_alt;
    options.star_criterion = settings.show_star_alt;
    options.sun_criterion = settings.show_sun_alt;
    options.threads = kurvalux_platform::ProcessorCount();
    if (!OptionalNumber(args, "start", options.start) ||
        !OptionalNumber(args, "star-alt", options.star_alt) ||
        !OptionalNumber(args, "sun-alt", options.sun_alt) ||
        !OptionalNumber(args, "duration", options.default_duration))
        return 2;
    if (args.Has("nights")) options.nights = static_cast<int>(*args.Integer("nights"));
    if (args.Has("site") && !ReadSite(args.Get("site"), options.site)) {
        std::fprintf(stderr,
                     "--site needs LON,LAT: east longitude and latitude in degrees, e.g. "
                     "15.5,49.2\n");
        return 2;
    }
    if (args.Has("csv") && args.Has("ics")) {
        std::fprintf(stderr, "Give either --csv or --ics, not both\n");
        return 2;
    }
    long width = settings.export_image_width, height = settings.export_image_depth;
    if (args.Has("width")) width = *args.Integer("width");
    if (args.Has("height")) height = *args.Integer("height");
    if ((args.Has("width") || args.Has("height")) && !args.Has("png") && !args.Has("svg")) {
        std::fprintf(stderr, "--width and --height belong to --png and --svg\n");
        return 2;
    }
    if (options.default_duration <= 0 || options.default_duration > 1) {
        std::fprintf(stderr, "--duration needs a length in days above 0 and at most 1\n");
        return 2;
    }
    // A site exactly on the zero meridian or the equator counts as not set, as in the
    // prediction pane.
    if (options.site.longitude == 0 || options.site.latitude == 0) {
        std::fprintf(stderr, "The observing site is not set (longitude or latitude is 0)\n");
        return 1;
    }
    kurvalux_data::Field field;
    if (!LoadFieldArgument(args, field)) return 1;

    std::vector<const kurvalux_data::CObjectListElem*> chosen;
    if (args.Has("objects")) {
        std::stringstream names(args.Get("objects"));
        std::string name;
        while (std::getline(names, name, ',')) {
            const kurvalux_data::CObjectListElem* object = field.FindObject(name);
            if (!object) {
                std::fprintf(stderr, "No object named %s\n", name.c_str());
                return 1;
            }
            chosen.push_back(object);
        }
    } else {
        for (const auto& object : field.objects) chosen.push_back(object.get());
    }
    std::vector<PlannerObject> objects;
    for (const kurvalux_data::CObjectListElem* object : chosen) {
        PlannerObject planned;
        std::string why;
        if (MakePlannerObject(*object, args.Flag("fit-ephemeris"), planned, why))
            objects.push_back(planned);
        else
            std::fprintf(stderr, "%s left out: %s\n", object->name.c_str(), why.c_str());
    }
    const std::vector<PlannedMinimum> minima = PlanMinima(objects, options);

    size_t observable = 0;
    for (const PlannedMinimum& m : minima) observable += m.observable;
    std::printf("site %s %s start %s nights %d star-alt %s sun-alt %s\n",
                FormatNumber(options.site.longitude).c_str(),
                FormatNumber(options.site.latitude).c_str(), FormatNumber(options.start).c_str(),
                options.nights, FormatNumber(options.star_alt).c_str(),
                FormatNumber(options.sun_alt).c_str());
    std::printf("objects %zu minima %zu observable %zu\n", objects.size(), minima.size(),
                observable);
    for (const char* kind : {"png", "svg"}) {
        if (!args.Has(kind)) continue;
        const std::string path = args.Get(kind);
        if (!WriteNightChart(objects, minima, options, path, kind[0] == 's',
                             static_cast<int>(width), static_cast<int>(height)))
            return 1;
        std::printf("chart %s %ld %ld\n", path.c_str(), width, height);
    }
    if (args.Has("csv")) {
        if (!kurvalux_platform::WriteWholeFile(args.Get("csv"), PlanCsv(objects, minima))) {
            std::fprintf(stderr, "Cannot create file: %s\n", args.Get("csv").c_str());
            return 1;
        }
        return 0;
    }
    if (args.Has("ics")) {
        if (!kurvalux_platform::WriteWholeFile(args.Get("ics"),
                                               PlanICalendar(objects, minima, JulianDateNow()))) {
            std::fprintf(stderr, "Cannot create file: %s\n", args.Get("ics").c_str());
            return 1;
        }
        return 0;
    }
    std::printf(
        "object\tkind\tHJD\tlocal time\tstar\tSun\tMoon\tillum.\tMoon dist.\tobservable"
        "\ttiming error\n");
    for (const PlannedMinimum& m : minima)
        std::printf("%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\t%s\n", objects[m.object].name.c_str(),
                    KindName(m.kind), Fixed(m.hjd, 5).c_str(),
                    kurvalux_lc::LocalDateTime(m.jd).c_str(), Fixed(m.star_altitude, 1).c_str(),
                    Fixed(m.sun_altitude, 1).c_str(), Fixed(m.moon_altitude, 1).c_str(),
                    Fixed(m.moon_illumination, 2).c_str(), Fixed(m.moon_distance, 1).c_str(),
                    m.observable ? "yes" : "no",
                    m.timing_error >= 0 ? Fixed(m.timing_error, 5).c_str() : "-");
    return 0;
}

const CommandRegistrar kPlan(
    "plan",
    "The primary and secondary minima of the field's objects in the coming nights, with the "
    "altitudes of the star, the Sun and the Moon and whether each can be observed.",
    &Plan,
    {FieldArgument(), Number("start", "JD", "start of the first night (default: now)"),
     Integer("nights", "N", "nights planned (default: the settings' prediction days)", 1, 366),
     Text("site", "LON,LAT",
          "east longitude and latitude of the site, degrees (default: the settings')"),
     Number("star-alt", "A", "lowest altitude of the star, degrees (default: the settings')"),
     Number("sun-alt", "S", "highest altitude of the Sun, degrees (default: the settings')"),
     Number("duration", "D",
            "length of an eclipse in days for objects without a light-curve model (default 0.1)"),
     Text("objects", "NAMES", "only these objects, separated by commas (default: all)"),
     Flag("fit-ephemeris",
          "predict from the ephemeris fitted to each object's minima, with timing errors"),
     Text("csv", "OUT", "write the minima as a comma-separated table to OUT"),
     Text("ics", "OUT", "write the observable minima as iCalendar events to OUT"),
     Text("png", "OUT", "draw the night-by-night chart of the minima into the PNG image OUT"),
     Text("svg", "OUT", "draw the night-by-night chart of the minima into the SVG file OUT"),
     Integer("width", "W", "width of the chart in pixels (default: the settings' export width)", 1,
             30000),
     Integer("height", "H", "height of the chart in pixels (default: the settings' export height)",
             1, 30000),
     RootOption()});

}  // namespace
}  // namespace kurvalux_cli
