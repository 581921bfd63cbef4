#include "data/settings.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>

#include "data/password_cipher.h"
#include "platform/files.h"
#include "platform/text.h"

namespace kurvalux_data {

using kurvalux_platform::Cut;
using kurvalux_platform::TrimBlanks;

namespace {

// A text value as the file keeps it: cut at its capacity and trimmed again, since a cut may end
// on blanks that the next reading would trim away.
std::string StoredText(std::string_view value, size_t capacity) {
    const std::string cut = Cut(value, capacity);
    return std::string(TrimBlanks(cut));
}

// Paths never hold control characters; a recent-files entry that does is damage, not a file
// the user opened, and is dropped.
bool HasControlCharacter(std::string_view text) {
    return std::any_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 32 || c == 127; });
}

}  // namespace

// ---------------------------------------------------------------------------------------
// Filters

FilterTable FilterTable::BuiltIn() {
    // Common names and aliases of photometric filters with the colours their series are drawn
    // in (red in the low byte).
    static const struct {
        const char* names[4];
        uint32_t colour;
    } kTable[] = {
        {{"B", "Blue"}, 0xFFFF0000},
        {{"C", "Clear", "CLS"}, 0xFF7F7F7F},
        {{"G", "Green"}, 0xFF00C000},
        {{"H", "Hx", "Ha", "Halpha"}, 0xFF00007F},
        {{"I", "IR", "InfraRed"}, 0xFF00005F},
        {{"L", "Luminance", "Lum"}, 0xFF7F7F7F},
        {{"N", "N/A", "NoFilter"}, 0xFF000000},
        {{"R", "Red"}, 0xFF0050FF},
        {{"SU", "SloanU"}, 0xFFC800DC},
        {{"SG", "SloanG"}, 0xFFABE306},
        {{"SR", "SloanR"}, 0xFF0064FF},
        {{"SI", "SloanI"}, 0xFF00007F},
        {{"SZ", "SloanZ", "Z"}, 0xFF00005F},
        {{"U", "UV", "UltraViolet"}, 0xFF00005F},
        {{"V", "Visual"}, 0xFF00C000},
    };
    FilterTable table;
    for (const auto& entry : kTable)
        for (const char* name : entry.names)
            if (name) table.Add(name, entry.colour);
    return table;
}

const CFilterTreeElem* FilterTable::Find(const std::string& name) const {
    auto it = filters_.find(name);
    if (it == filters_.end()) return nullptr;
    thread_local CFilterTreeElem found;
    found = {it->first, it->second};
    return &found;
}

bool FilterTable::Add(const std::string& name, uint32_t colour) {
    return filters_.emplace(Cut(name, 63), colour).second;
}

bool FilterTable::Rename(const std::string& old_name, const std::string& new_name) {
    auto it = filters_.find(old_name);
    const std::string cut = Cut(new_name, 63);
    if (it == filters_.end()) return false;
    if (cut == old_name) return true;
    if (filters_.count(cut)) return false;
    const uint32_t colour = it->second;
    filters_.erase(it);
    filters_.emplace(cut, colour);
    return true;
}

bool FilterTable::SetColour(const std::string& name, uint32_t colour) {
    auto it = filters_.find(name);
    if (it == filters_.end()) return false;
    it->second = colour;
    return true;
}

bool FilterTable::Remove(const std::string& name) {
    return filters_.erase(name) > 0;
}

std::vector<CFilterTreeElem> FilterTable::Filters() const {
    std::vector<CFilterTreeElem> list;
    for (const auto& [name, colour] : filters_) list.push_back({name, colour});
    return list;
}

void Settings::AddRecentFile(const std::string& path) {
    if (HasControlCharacter(path)) return;
    const std::string cut = StoredText(path, 127);
    if (cut.empty()) return;
    std::erase(recent_files, cut);
    recent_files.insert(recent_files.begin(), cut);
    if (recent_files.size() > 8) recent_files.resize(8);
}

// ---------------------------------------------------------------------------------------
// The "KURVALUX" section: one table drives reading and writing, in file order.

namespace {

enum class KeyType { Int, Real, Bool, Text };
struct SettingKey {
    const char* name;
    KeyType type;
    size_t capacity;
    std::function<void*(Settings&)> field;
};

#define KX_FIELD(member) [](Settings& s) -> void* { return &s.member; }
const std::vector<SettingKey>& Keys() {
    static const std::vector<SettingKey> keys = {
        {"XPos", KeyType::Int, 0, KX_FIELD(x_pos)},
        {"YPos", KeyType::Int, 0, KX_FIELD(y_pos)},
        {"Width", KeyType::Int, 0, KX_FIELD(width)},
        {"Depth", KeyType::Int, 0, KX_FIELD(depth)},
        {"Maximized", KeyType::Bool, 0, KX_FIELD(maximized)},
        {"Splitter1", KeyType::Int, 0, KX_FIELD(splitter1)},
        {"Splitter2", KeyType::Int, 0, KX_FIELD(splitter2)},
        {"Splitter3", KeyType::Int, 0, KX_FIELD(splitter3)},
        {"MinimalPeriod", KeyType::Real, 0, KX_FIELD(minimal_period)},
        {"MaximalPeriod", KeyType::Real, 0, KX_FIELD(maximal_period)},
        {"PeriodSteps", KeyType::Real, 0, KX_FIELD(period_steps)},
        {"CopyDataMask", KeyType::Text, 1023, KX_FIELD(copy_data_mask)},
        {"RootPath", KeyType::Text, 259, KX_FIELD(root_path)},
        {"WebRepositoryServer", KeyType::Text, 259, KX_FIELD(web_repository_server)},
        {"WebRepositoryPath", KeyType::Text, 259, KX_FIELD(web_repository_path)},
        {"WebRepositoryUser", KeyType::Text, 63, KX_FIELD(web_repository_user)},
        {"WebRepositoryPassword", KeyType::Text, 128, KX_FIELD(web_repository_password)},
        {"WebRepositoryUserId", KeyType::Text, 63, KX_FIELD(web_repository_user_id)},
        {"WebConnectTimeout", KeyType::Int, 0, KX_FIELD(web_connect_timeout)},
        {"WebTransferTimeout", KeyType::Int, 0, KX_FIELD(web_transfer_timeout)},
        {"VSXServer", KeyType::Text, 259, KX_FIELD(vsx_server)},
        {"VersionServer", KeyType::Text, 259, KX_FIELD(version_server)},
        {"DownloadAddress", KeyType::Text, 259, KX_FIELD(download_address)},
        {"LastOpenPath", KeyType::Text, 259, KX_FIELD(last_open_path)},
        {"LastFitAndOffsetPath", KeyType::Text, 259, KX_FIELD(last_fit_and_offset_path)},
        {"LastExportPath", KeyType::Text, 259, KX_FIELD(last_export_path)},
        {"LastChartImageExportPath", KeyType::Text, 259, KX_FIELD(last_chart_image_export_path)},
        {"LastChartSVGExportPath", KeyType::Text, 259, KX_FIELD(last_chart_svg_export_path)},
        {"ExportImageWidth", KeyType::Int, 0, KX_FIELD(export_image_width)},
        {"ExportImageDepth", KeyType::Int, 0, KX_FIELD(export_image_depth)},
        {"LastCSVExportPath", KeyType::Text, 259, KX_FIELD(last_csv_export_path)},
        {"CSVExportOptions", KeyType::Int, 0, KX_FIELD(csv_export_options)},
        {"LastHTMLExportPath", KeyType::Text, 259, KX_FIELD(last_html_export_path)},
        {"HTMLExportOptions", KeyType::Int, 0, KX_FIELD(html_export_options)},
        {"LightCurveThumbWidth", KeyType::Int, 0, KX_FIELD(light_curve_thumb_width)},
        {"LightCurveThumbDepth", KeyType::Int, 0, KX_FIELD(light_curve_thumb_depth)},
        {"LightCurveImageWidth", KeyType::Int, 0, KX_FIELD(light_curve_image_width)},
        {"LightCurveImageDepth", KeyType::Int, 0, KX_FIELD(light_curve_image_depth)},
        {"HTMLPathPrefix", KeyType::Text, 259, KX_FIELD(html_path_prefix)},
        {"PredictionDays", KeyType::Real, 0, KX_FIELD(prediction_days)},
        {"Longitude", KeyType::Real, 0, KX_FIELD(longitude)},
        {"Latitude", KeyType::Real, 0, KX_FIELD(latitude)},
        {"StarAlt", KeyType::Real, 0, KX_FIELD(star_alt)},
        {"SunAlt", KeyType::Real, 0, KX_FIELD(sun_alt)},
        {"UseEncryptedPassword", KeyType::Bool, 0, KX_FIELD(use_encrypted_password)},
        {"AutoAcceptM0Period", KeyType::Bool, 0, KX_FIELD(auto_accept_m0_period)},
        {"AccurateHeliocentricConversion", KeyType::Bool, 0, KX_FIELD(accurate_heliocentric)},
        {"ShowDev", KeyType::Bool, 0, KX_FIELD(show_dev)},
        {"ShowMinima", KeyType::Bool, 0, KX_FIELD(show_minima)},
        {"ShowNow", KeyType::Bool, 0, KX_FIELD(show_now)},
        {"ShowTime", KeyType::Bool, 0, KX_FIELD(show_time)},
        {"ShowStarAlt", KeyType::Bool, 0, KX_FIELD(show_star_alt)},
        {"ShowSunAlt", KeyType::Bool, 0, KX_FIELD(show_sun_alt)},
        {"CheckVersion", KeyType::Bool, 0, KX_FIELD(check_version)},
        {"MinimumErrorMethod", KeyType::Text, 15, KX_FIELD(minimum_error_method)},
    };
    return keys;
}
#undef KX_FIELD

bool ParseInt(std::string_view text, int& value) {
    text = TrimBlanks(text);
    auto r = std::from_chars(text.data(), text.data() + text.size(), value);
    return r.ec == std::errc() && r.ptr == text.data() + text.size() && !text.empty();
}

bool ParseReal(std::string_view text, double& value) {
    text = TrimBlanks(text);
    auto r = std::from_chars(text.data(), text.data() + text.size(), value);
    return r.ec == std::errc() && r.ptr == text.data() + text.size() && !text.empty();
}

bool ParseBool(std::string_view text, bool& value) {
    const std::string upper = kurvalux_platform::ToUpperAscii(TrimBlanks(text));
    if (upper == "1" || upper == "TRUE" || upper == "YES")
        value = true;
    else if (upper == "0" || upper == "FALSE" || upper == "NO")
        value = false;
    else
        return false;
    return true;
}

void ApplyKey(Settings& settings, std::string_view name, std::string_view value,
              std::string& encrypted_password) {
    for (const SettingKey& key : Keys()) {
        if (name != key.name) continue;
        void* field = key.field(settings);
        switch (key.type) {
            case KeyType::Int:
                ParseInt(value, *static_cast<int*>(field));
                break;
            case KeyType::Real:
                ParseReal(value, *static_cast<double*>(field));
                break;
            case KeyType::Bool:
                ParseBool(value, *static_cast<bool*>(field));
                break;
            case KeyType::Text:
                if (name == "WebRepositoryPassword")
                    encrypted_password = Cut(value, 256);
                else
                    *static_cast<std::string*>(field) = StoredText(value, key.capacity);
                break;
        }
        return;
    }
}

bool ParseHexColour(std::string_view text, uint32_t& colour) {
    if (text.empty()) return false;
    unsigned long long value = 0;
    auto r = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    if (r.ec != std::errc() || r.ptr != text.data() + text.size() || value > 0xFFFFFFFFULL)
        return false;
    colour = static_cast<uint32_t>(value);
    return true;
}

}  // namespace

std::string DefaultSettingsPath() {
    return kurvalux_platform::SettingsFolder() + "/kurvalux.ini";
}

bool ParseSettings(const std::string& text, Settings& settings) {
    enum class Section { None, Main, Recent, Filters, Other } section = Section::None;
    bool found_main = false, found_filters = false;
    std::string password_value;
    bool password_seen = false;
    std::vector<std::pair<int, std::string>> recent;
    FilterTable filters;

    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find_first_of("\r\n", start);
        if (end == std::string::npos) end = text.size();
        std::string_view line = TrimBlanks(std::string_view(text).substr(start, end - start));
        start = end + 1;
        if (line.empty() || line[0] == ';' || line[0] == '#') continue;
        if (line.front() == '[') {
            const size_t close = line.find(']');
            const std::string_view name = line.substr(
                1, close == std::string_view::npos ? std::string_view::npos : close - 1);
            if (name == "KURVALUX")
                section = Section::Main, found_main = true;
            else if (name == "MRUfiles")
                section = Section::Recent;
            else if (name == "Filters")
                section = Section::Filters, found_filters = true;
            else
                section = Section::Other;
            continue;
        }
        const size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        const std::string_view key = TrimBlanks(line.substr(0, equals));
        const std::string_view value = TrimBlanks(line.substr(equals + 1));
        switch (section) {
            case Section::Main:
                if (key == "WebRepositoryPassword") password_seen = true;
                ApplyKey(settings, key, value, password_value);
                break;
            case Section::Recent: {
                int index = 0;
                if (ParseInt(key, index) && index >= 0 && index < 8 && !value.empty() &&
                    !HasControlCharacter(value))
                    recent.emplace_back(index, StoredText(value, 127));
                break;
            }
            case Section::Filters: {
                uint32_t colour = 0xFF000000;
                if (!ParseHexColour(Cut(value, 15), colour)) colour = 0xFF000000;
                const std::string name = Cut(TrimBlanks(Cut(key, 63)), 63);
                if (!name.empty() && !filters.Add(name, colour)) filters.SetColour(name, colour);
                break;
            }
            default:
                break;
        }
    }
    if (password_seen) {
        std::string plain;
        if (!settings.use_encrypted_password)
            settings.web_repository_password = Cut(password_value, 128);
        else if (DecipherPassword(password_value, plain))
            settings.web_repository_password = Cut(plain, 128);
    }
    if (!recent.empty() || found_main) {
        std::sort(recent.begin(), recent.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
        settings.recent_files.clear();
        for (auto& [index, path] : recent) settings.recent_files.push_back(path);
    }
    if (found_filters) settings.filters = filters;
    return found_main;
}

bool LoadSettings(const std::string& path, Settings& settings) {
    std::string text;
    if (kurvalux_platform::ReadWholeFile(path, 1 << 24, text) != kurvalux_platform::ReadStatus::Ok)
        return false;
    return ParseSettings(text, settings);
}

std::string SettingsToText(const Settings& source) {
    Settings settings = source;
    std::string out = "[KURVALUX]\r\n";
    for (const SettingKey& key : Keys()) {
        void* field = key.field(settings);
        std::string value;
        switch (key.type) {
            case KeyType::Int:
                value = std::to_string(*static_cast<int*>(field));
                break;
            case KeyType::Real:
                value = kurvalux_platform::FormatFixedAlways(*static_cast<double*>(field), 6);
                break;
            case KeyType::Bool:
                value.assign(1, *static_cast<bool*>(field) ? '1' : '0');
                break;
            case KeyType::Text:
                value = *static_cast<std::string*>(field);
                if (std::strcmp(key.name, "WebRepositoryPassword") == 0 &&
                    settings.use_encrypted_password)
                    value = EncipherPassword(value);
                break;
        }
        out += key.name;
        out += '=';
        out += value;
        out += "\r\n";
    }
    out += "[MRUfiles]\r\n";
    for (size_t i = 0; i < settings.recent_files.size() && i < 8; ++i)
        out.append(std::to_string(i)).append("=").append(settings.recent_files[i]).append("\r\n");
    out += "[Filters]\r\n";
    for (const CFilterTreeElem& filter : settings.filters.Filters()) {
        char colour[16];
        std::snprintf(colour, sizeof colour, "%08X", filter.colour);
        out.append(filter.name).append("=").append(colour).append("\r\n");
    }
    return out;
}

bool SaveSettings(const std::string& path, const Settings& settings) {
    const size_t slash = path.find_last_of("/\\");
    if (slash != std::string::npos) kurvalux_platform::CreateFolders(path.substr(0, slash));
    return kurvalux_platform::WriteWholeFile(path, SettingsToText(settings));
}

}  // namespace kurvalux_data
