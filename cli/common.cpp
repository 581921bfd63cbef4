// Helpers shared by the subcommands: the field argument, the object option, message boxes.
#include <cstdio>
#include <filesystem>

#include "cli/cli.h"
#include "data/heliocentric.h"
#include "data/settings.h"
#include "platform/files.h"
#include "platform/system.h"

namespace kurvalux_cli {

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

kurvalux_data::PathBases FieldPathBases(const Args& args) {
    kurvalux_data::PathBases bases;
    if (args.Has("root")) {
        bases.root_directory = args.Get("root");
    } else {
        kurvalux_data::Settings settings;
        kurvalux_data::LoadSettings(kurvalux_data::DefaultSettingsPath(), settings);
        bases.root_directory = settings.root_path;
    }
    bases.program_folder = kurvalux_platform::ProgramFolder();
    if (!args.positional.empty()) bases.field_folder = FolderOf(args.positional[0]);
    return bases;
}

bool LoadFieldArgument(const Args& args, kurvalux_data::Field& field) {
    if (args.positional.empty()) {
        std::fprintf(stderr, "kurvalux-cli: no field file given\n");
        return false;
    }
    const std::string& path = args.positional[0];
    kurvalux_data::FieldLoadOptions options;
    options.bases = FieldPathBases(args);
    // Geocentric series convert as the desktop converts them on this installation.
    kurvalux_data::Settings settings;
    kurvalux_data::LoadSettings(kurvalux_data::DefaultSettingsPath(), settings);
    kurvalux_data::SetHeliocentricMethod(settings.accurate_heliocentric
                                             ? kurvalux_data::HeliocentricMethod::kAccurate
                                             : kurvalux_data::HeliocentricMethod::kShortFormula);
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

kurvalux_data::CObjectListElem* LoadObjectWithEphemeris(const Args& args,
                                                        kurvalux_data::Field& field) {
    if (!LoadFieldArgument(args, field)) return nullptr;
    kurvalux_data::CObjectListElem* object = FindObjectArgument(args, field);
    if (!object) return nullptr;
    if (object->m0 == 0 || object->period == 0) {
        std::fprintf(stderr, "%s has no ephemeris (M0 and period) to count cycles from\n",
                     object->name.c_str());
        return nullptr;
    }
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
