#pragma once
// Where a local series' photometry file is found. Field files written on Windows carry "\"
// and drive letters; paths are kept as written and converted only when a file is opened.
#include <string>

namespace kurvalux_data {

// Relative series paths resolve against the root directory when it is set, else against the
// program's folder; as a last resort against the folder of the field file itself, so that a
// field folder moved to another machine keeps working.
struct PathBases {
    std::string root_directory;
    std::string program_folder;
    std::string field_folder;
};

struct ResolvedPath {
    bool found = false;
    std::string path;      // the file that opened, or the last candidate tried
    std::string absolute;  // new absolute_path when found
    std::string relative;  // new relative_path when found
};

// Tries the candidate from the relative path, then the absolute path (recomputing the
// relative one from it), then the field folder.
ResolvedPath ResolveSeriesPath(const std::string& absolute_path, const std::string& relative_path,
                               const PathBases& bases);

// Joins a folder and a relative path with exactly one separator between.
std::string JoinPath(const std::string& folder, const std::string& relative);
bool IsAbsoluteStyle(const std::string& path);

}  // namespace kurvalux_data
