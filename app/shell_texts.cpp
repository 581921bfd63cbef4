#include "app/shell_texts.h"

namespace kurvalux_app {

using kurvalux_data::CObjectListElem;
using kurvalux_data::CSeriesTreeElem;

std::string ShortenPath(const std::string& path, size_t capacity) {
    if (path.size() <= capacity) return path;
    if (capacity <= 3) return path.substr(path.size() - capacity);
    return "..." + path.substr(path.size() - (capacity - 3));
}

std::string WindowTitle(const std::string& path, bool modified) {
    std::string title = "KURVALUX - " + ShortenPath(path, kTitlePathCapacity);
    if (modified) title += "*";
    return title;
}

std::string SeriesTimeText(const CObjectListElem&, const CSeriesTreeElem& series) {
    if (series.hjd_converted)
        return series.hjd_accurate
                   ? "Series in HJD (converted from GJD by KURVALUX, accurate heliocentric "
                     "conversion)"
                   : "Series in HJD (converted from GJD by KURVALUX)";
    switch (series.EffectiveMetaData().jd_type) {
        case kurvalux_data::kJdHeliocentric:
            return "Series in HJD";
        case kurvalux_data::kJdGeocentric:
            // Geocentric times are converted at load whenever the position is known, so a
            // series still in GJD is one whose star has no coordinates.
            return "Series in GJD, cannot covert to HJD (unknown RA, Dec)";
        default:
            return "Series JD type unknown (GJD/HJD not specified)";
    }
}

StatusTexts ComputeStatusTexts(const kurvalux_data::Field& field, const CObjectListElem* object,
                               int series_index, bool modified) {
    StatusTexts texts;
    texts.objects = std::to_string(field.objects.size()) + " objects";
    size_t count = object ? object->series.size() : 0;
    bool has_series = object && series_index >= 0 && static_cast<size_t>(series_index) < count;
    texts.series =
        std::to_string(has_series ? series_index + 1 : 0) + "/" + std::to_string(count) + " series";
    texts.modified = modified ? "Modified" : "";
    if (has_series) {
        const CSeriesTreeElem& series = *object->series[static_cast<size_t>(series_index)];
        if (series.IsLocal()) {
            const auto& local = static_cast<const kurvalux_data::CLocalSeriesTreeElem&>(series);
            texts.source = local.absolute_path.empty() ? local.relative_path : local.absolute_path;
        } else {
            const auto* web = dynamic_cast<const kurvalux_data::CWebSeriesTreeElem*>(&series);
            texts.source = "Web Repository user: " + (web ? web->publisher : std::string());
        }
        texts.time_system = SeriesTimeText(*object, series);
    }
    return texts;
}

std::vector<std::string> CloseQuestion(bool modified) {
    std::vector<std::string> lines = {"Do you want to close the KURVALUS window?"};
    if (modified) lines.push_back("will discard changes of the Field Description.");
    return lines;
}

std::vector<std::string> ReplaceFieldQuestion(bool new_field) {
    return {"Do you want to save current field description",
            new_field ? "before starting a new one?" : "before opening a new one?",
            "Choosing [No] will discard current all changes."};
}

WebStatusPanel ComputeWebStatusPanel(const WebSession& session) {
    using kurvalux_platform::MakeColour;
    const kurvalux_platform::Colour green = MakeColour(0, 191, 0), red = MakeColour(191, 0, 0),
                                    grey = MakeColour(127, 127, 127);
    WebStatusPanel panel;
    if (session.logged_in) {
        panel.connection = "ONLINE";
        panel.connection_colour = green;
        panel.state = session.busy ? "BUSY" : "READY";
        panel.state_colour = session.busy ? red : green;
    } else {
        panel.connection = "OFFLINE";
        panel.connection_colour = red;
        panel.state = "N/A";
        panel.state_colour = grey;
    }
    panel.lines = {"User: " + session.user_id, "Name: " + session.user_name,
                   "Rights: " + session.rights, "Server: " + session.server};
    return panel;
}

std::vector<std::string> AboutLines() {
    return {"KURVALUX", std::string("Version ") + KURVALUX_VERSION,
            "Light curves of eclipsing binaries and exoplanet transits"};
}

}  // namespace kurvalux_app
