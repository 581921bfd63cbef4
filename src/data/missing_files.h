#pragma once
// Finding the photometry of unavailable series again after their files were moved: the files
// below a folder the user names are indexed by file name, and each unavailable series whose
// file name is among them is read from there and joins the object's series as if it had never
// been missing. Its absolute path and, where it lies below the root directory (or the field's
// folder), its relative path are updated.
#include <string>
#include <vector>

#include "data/field.h"
#include "data/series_paths.h"

namespace kurvalux_data {

struct LocateResult {
    int found = 0;    // series read again from a file below the folder
    int missing = 0;  // series still unavailable
    // One line per series that stays unavailable although a file of its name was found.
    std::vector<std::string> refusals;
    // The lines of the closing box.
    std::vector<std::string> Lines() const;
};

LocateResult LocateMissingFiles(Field& field, const std::string& folder, const PathBases& bases);

// Counts the unavailable series of the field.
size_t UnavailableSeriesCount(const Field& field);

constexpr const char* kLocateMissingFilesTitle = "Locate Missing Files";

}  // namespace kurvalux_data
