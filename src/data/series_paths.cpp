#include "data/series_paths.h"

#include "platform/files.h"

namespace kurvalux_data {
namespace {

bool IsSeparator(char c) {
    return c == '\\' || c == '/';
}

std::string ReduceDoubledBackslashes(std::string path) {
    std::string out;
    out.reserve(path.size());
    for (char c : path)
        if (!(c == '\\' && !out.empty() && out.back() == '\\')) out.push_back(c);
    return out;
}

// `path` relative to `base` when it lies below it (separators of either kind match).
bool RelativeTo(const std::string& path, const std::string& base, std::string& relative) {
    if (base.empty() || path.size() <= base.size()) return false;
    for (size_t i = 0; i < base.size(); ++i) {
        const char a = path[i], b = base[i];
        if (!(a == b || (IsSeparator(a) && IsSeparator(b)))) return false;
    }
    size_t start = base.size();
    if (!IsSeparator(base.back())) {
        if (!IsSeparator(path[start])) return false;
        ++start;
    }
    relative = path.substr(start);
    return !relative.empty();
}

}  // namespace

bool IsAbsoluteStyle(const std::string& path) {
    return (!path.empty() && IsSeparator(path[0])) || (path.size() > 1 && path[1] == ':');
}

std::string JoinPath(const std::string& folder, const std::string& relative) {
    if (folder.empty()) return relative;
    // A folder written with "/" gets the relative part in the same style, so that paths found
    // on this machine read naturally; a Windows-style folder keeps "\".
    const bool slash_style = folder.find('/') != std::string::npos;
    std::string joined = folder;
    if (!IsSeparator(joined.back())) joined.push_back(slash_style ? '/' : '\\');
    size_t skip = 0;
    while (skip < relative.size() && IsSeparator(relative[skip])) ++skip;
    for (size_t i = skip; i < relative.size(); ++i)
        joined.push_back(slash_style && relative[i] == '\\' ? '/' : relative[i]);
    return joined;
}

ResolvedPath ResolveSeriesPath(const std::string& absolute_path, const std::string& relative_path,
                               const PathBases& bases) {
    ResolvedPath result;
    std::string candidate;
    if (!bases.root_directory.empty())
        candidate = ReduceDoubledBackslashes(JoinPath(bases.root_directory, relative_path));
    else if (IsAbsoluteStyle(relative_path))
        candidate = relative_path;
    else
        candidate = JoinPath(bases.program_folder, relative_path);
    result.path = candidate;

    if (!relative_path.empty() && kurvalux_platform::FileExists(candidate)) {
        result.found = true;
        result.absolute = candidate;
        result.relative = relative_path;
        return result;
    }
    if (!absolute_path.empty()) result.path = absolute_path;  // the last place looked at
    if (!absolute_path.empty() && kurvalux_platform::FileExists(absolute_path)) {
        result.found = true;
        result.absolute = absolute_path;
        const std::string& base =
            bases.root_directory.empty() ? bases.program_folder : bases.root_directory;
        if (!RelativeTo(absolute_path, base, result.relative)) result.relative = relative_path;
        return result;
    }
    if (!relative_path.empty() && !bases.field_folder.empty() && !IsAbsoluteStyle(relative_path)) {
        const std::string beside = JoinPath(bases.field_folder, relative_path);
        result.path = beside;
        if (kurvalux_platform::FileExists(beside)) {
            result.found = true;
            result.absolute = beside;
            result.relative = relative_path;
        }
    }
    return result;
}

}  // namespace kurvalux_data
