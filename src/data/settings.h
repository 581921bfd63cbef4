#pragma once
// User settings and the photometric filter table, kept in an INI-style file in the user's
// settings folder ("kurvalux.ini").
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kurvalux_data {

// A photometric filter with its chart colour (red in the low byte, top byte FF).
struct CFilterTreeElem {
    std::string name;  // 63
    uint32_t colour = 0xFF000000;
};

// The filter table, ordered by name. Names are unique.
class FilterTable {
public:
    static FilterTable BuiltIn();
    const CFilterTreeElem* Find(const std::string& name) const;
    // Adds a filter; false when the name is taken.
    bool Add(const std::string& name, uint32_t colour);
    // Renames `old_name`; false when `new_name` belongs to another filter or old_name is absent.
    bool Rename(const std::string& old_name, const std::string& new_name);
    bool SetColour(const std::string& name, uint32_t colour);
    bool Remove(const std::string& name);
    void Clear() { filters_.clear(); }
    size_t Size() const { return filters_.size(); }
    // In name order.
    std::vector<CFilterTreeElem> Filters() const;

private:
    std::map<std::string, uint32_t> filters_;
};

struct Settings {
    // Window placement and splitters.
    int x_pos = 80, y_pos = 60, width = 1280, depth = 800;
    bool maximized = false;
    int splitter1 = 220, splitter2 = 300, splitter3 = 260;
    // Period searches.
    double minimal_period = 0.1, maximal_period = 10.0, period_steps = 100000.0;
    std::string copy_data_mask;           // 1023
    std::string root_path;                // 259
    std::string web_repository_server;    // 259
    std::string web_repository_path;      // 259
    std::string web_repository_user;      // 63
    std::string web_repository_password;  // 128, plain in memory
    // The user id of the last repository session: whose cache a field's web series come from
    // while no session is open.
    std::string web_repository_user_id;  // 63
    // Time-outs of every web request, in seconds: how long to wait for the connection to a
    // server (name look-up, TCP and TLS hand-shake included), and how long a connected server
    // may stay silent before the request is given up. A dead server thus ends a request after
    // at most one of them instead of hanging its worker.
    int web_connect_timeout = 15;
    int web_transfer_timeout = 60;
    // The variable-star catalogue's server; its list query is asked for below "/vsx/".
    std::string vsx_server = "https://www.aavso.org";  // 259
    // Where "Check Version on Start" asks for the newest version ("/versions/kurvalux.txt"
    // below it), and the download address the notification names.
    std::string version_server = "https://www.kurvalux.org";              // 259
    std::string download_address = "https://www.kurvalux.org/download/";  // 259
    std::string last_open_path, last_fit_and_offset_path, last_export_path;
    std::string last_chart_image_export_path, last_chart_svg_export_path;
    int export_image_width = 1200, export_image_depth = 800;
    std::string last_csv_export_path;
    int csv_export_options = 0;
    std::string last_html_export_path;
    int html_export_options = 0;
    int light_curve_thumb_width = 240, light_curve_thumb_depth = 160;
    int light_curve_image_width = 1200, light_curve_image_depth = 800;
    std::string html_path_prefix;
    double prediction_days = 10.0;
    double longitude = 15.0, latitude = 50.0;  // east longitude, degrees
    double star_alt = 20.0, sun_alt = -12.0;
    bool use_encrypted_password = true;
    bool auto_accept_m0_period = false;
    bool show_dev = false, show_minima = true, show_now = false, show_time = false;
    bool show_star_alt = true, show_sun_alt = true;
    bool check_version = false;
    // Heliocentric times of geocentric series by ERFA's Earth ephemeris and precessed star
    // position instead of the short solar formula (up to ±10 s apart). Off by default so that a
    // field converts the same way on every installation.
    bool accurate_heliocentric = false;
    // The error kept with a minimum added in the minimum fit view: "case" (the case bootstrap
    // of "Est. Err.") or "block" (the block bootstrap).
    std::string minimum_error_method = "case";  // 15

    std::vector<std::string> recent_files;  // at most 8, newest first
    FilterTable filters = FilterTable::BuiltIn();

    // Puts `path` at the head of the recently used list (at most 8 entries).
    void AddRecentFile(const std::string& path);
};

// "<settings folder>/kurvalux.ini".
std::string DefaultSettingsPath();

// Reads the settings; a missing file keeps the defaults. Returns whether a settings section
// was found.
bool LoadSettings(const std::string& path, Settings& settings);
bool ParseSettings(const std::string& text, Settings& settings);
std::string SettingsToText(const Settings& settings);
bool SaveSettings(const std::string& path, const Settings& settings);

}  // namespace kurvalux_data
