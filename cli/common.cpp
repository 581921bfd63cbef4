#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "cli/cli.h"
#include "data/settings.h"
#include "platform/files.h"
#include "platform/system.h"

namespace kurvalux_cli {

bool Args::Flag(const std::string& name) const {
    return std::find(flags.begin(), flags.end(), name) != flags.end();
}

std::string Args::Get(const std::string& name, const std::string& fallback) const {
    auto it = options.find(name);
    return it == options.end() ? fallback : it->second;
}

std::optional<double> Args::Number(const std::string& name) const {
    const std::string text = Get(name);
    double value = 0;
    auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size() ||
        !std::isfinite(value)) {
        std::fprintf(stderr, "--%s needs a number, not \"%s\"\n", name.c_str(), text.c_str());
        return std::nullopt;
    }
    return value;
}

std::optional<long> Args::Integer(const std::string& name) const {
    const std::string text = Get(name);
    long value = 0;
    auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        std::fprintf(stderr, "--%s needs a whole number, not \"%s\"\n", name.c_str(), text.c_str());
        return std::nullopt;
    }
    return value;
}

kurvalux_platform::CStreamMessageBoxSink& Messages() {
    static kurvalux_platform::CStreamMessageBoxSink sink(stderr);
    return sink;
}

namespace {
std::string FolderOf(const std::string& path) {
    std::error_code ec;
    std::filesystem::path absolute = std::filesystem::absolute(path, ec);
    return ec ? std::string("./") : absolute.parent_path().string() + "/";
}
}  // namespace

bool LoadFieldArgument(const Args& args, kurvalux_data::Field& field) {
    if (args.positional.empty()) {
        std::fprintf(stderr, "kurvalux-cli: no field file given\n");
        return false;
    }
    const std::string& path = args.positional[0];
    kurvalux_data::FieldLoadOptions options;
    if (args.Has("root")) {
        options.bases.root_directory = args.Get("root");
    } else {
        kurvalux_data::Settings settings;
        kurvalux_data::LoadSettings(kurvalux_data::DefaultSettingsPath(), settings);
        options.bases.root_directory = settings.root_path;
    }
    options.bases.program_folder = kurvalux_platform::ProgramFolder();
    options.bases.field_folder = FolderOf(path);
    kurvalux_data::FieldLoadResult result = LoadField(path, field, options, Messages());
    if (!result.ok) {
        std::fprintf(stderr, "Cannot load field: %s\n", path.c_str());
        return false;
    }
    return true;
}

kurvalux_data::CObjectListElem* FindObjectArgument(const Args& args, kurvalux_data::Field& field) {
    const std::string name = args.Get("object");
    kurvalux_data::CObjectListElem* object = field.FindObject(name);
    if (!object) std::fprintf(stderr, "No object named %s\n", name.c_str());
    return object;
}

bool SaveFieldArgument(const Args& args, const kurvalux_data::Field& field) {
    return kurvalux_data::SaveField(args.positional.at(0), field, Messages());
}

std::string FormatNumber(double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.12g", value);
    return buffer;
}

}  // namespace kurvalux_cli
