#include "data/missing_files.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>

#include "data/photometry.h"
#include "platform/files.h"
#include "platform/text.h"

namespace fs = std::filesystem;

namespace kurvalux_data {
namespace {

// The last component of a path written with either separator.
std::string FileName(const std::string& path) {
    const size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// Every regular file below `folder`, by name; where a name occurs more than once the path
// that sorts first wins, so the outcome does not depend on the order the folders are listed.
std::map<std::string, std::string> IndexFiles(const std::string& folder) {
    std::map<std::string, std::string> index;
    std::error_code ec;
    const auto options = fs::directory_options::skip_permission_denied;
    for (auto it =
             fs::recursive_directory_iterator(kurvalux_platform::NativePath(folder), options, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        std::error_code type_ec;
        if (!it->is_regular_file(type_ec)) continue;
        const std::string path = it->path().string();
        auto [entry, inserted] = index.emplace(it->path().filename().string(), path);
        if (!inserted && path < entry->second) entry->second = path;
    }
    return index;
}

// `path` relative to `base` when it lies below it.
bool Below(const std::string& path, const std::string& base, std::string& relative) {
    if (base.empty()) return false;
    const fs::path rel = fs::path(path).lexically_relative(
        fs::path(kurvalux_platform::NativePath(base)).lexically_normal());
    if (rel.empty() || *rel.begin() == "..") return false;
    relative = rel.generic_string();
    return true;
}

}  // namespace

std::vector<std::string> LocateResult::Lines() const {
    std::vector<std::string> lines = {std::to_string(found) + " series found again",
                                      std::to_string(missing) + " series still unavailable"};
    lines.insert(lines.end(), refusals.begin(), refusals.end());
    return lines;
}

size_t UnavailableSeriesCount(const Field& field) {
    size_t count = 0;
    for (const auto& object : field.objects) count += object->unavailable_series.size();
    return count;
}

LocateResult LocateMissingFiles(Field& field, const std::string& folder, const PathBases& bases) {
    LocateResult result;
    if (UnavailableSeriesCount(field) == 0) return result;
    const std::map<std::string, std::string> index = IndexFiles(folder);
    for (const auto& object : field.objects) {
        auto& unavailable = object->unavailable_series;
        for (size_t i = 0; i < unavailable.size();) {
            const CLocalSeriesTreeElem& kept = *unavailable[i].series;
            const std::string name =
                FileName(kept.absolute_path.empty() ? kept.relative_path : kept.absolute_path);
            const auto hit = index.find(name);
            if (name.empty() || hit == index.end()) {
                ++result.missing;
                ++i;
                continue;
            }
            auto fresh = std::make_unique<CLocalSeriesTreeElem>(kept);
            kurvalux_platform::AssignCut(fresh->absolute_path, hit->second, kPathCapacity);
            std::string error, path;
            std::vector<std::string> refusal;
            if (LoadSeriesData(*fresh, bases, error, path)) {
                // The relative path follows the file: below the root directory (or the
                // program's folder), else below the field's own folder.
                std::string relative;
                const std::string& base =
                    bases.root_directory.empty() ? bases.program_folder : bases.root_directory;
                if (Below(hit->second, base, relative) ||
                    Below(hit->second, bases.field_folder, relative))
                    kurvalux_platform::AssignCut(fresh->relative_path, relative, kPathCapacity);
                if (object->AddSeries(std::move(fresh), path, refusal)) {
                    unavailable.erase(unavailable.begin() + static_cast<std::ptrdiff_t>(i));
                    ++result.found;
                    continue;
                }
            }
            // Found by name but not usable (unreadable, or refused as a duplicate night or of
            // the other value type): it stays unavailable with the new reason.
            unavailable[i].reason = refusal.empty() ? error : refusal.front();
            result.refusals.push_back(object->name + ": " + hit->second + " (" +
                                      unavailable[i].reason + ")");
            ++result.missing;
            ++i;
        }
    }
    return result;
}

}  // namespace kurvalux_data
