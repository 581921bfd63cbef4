#pragma once
// (Re)scanning an object's photometry: every local series is read again from its file (new
// measurements appended by the photometry program appear; a series whose file cannot be read
// is kept as unavailable, and unavailable series are tried again),
// and the object's folder is searched for files that are not series yet: the folders below
// the object's folder whose names match `dir_key`, or the object's folder itself when the key
// is empty, and in them the files matching `file_names`.
#include <string>
#include <vector>

#include "data/field.h"
#include "data/series_paths.h"
#include "platform/message_box.h"

namespace kurvalux_app {

struct ScanResult {
    int reread = 0;       // local series read again
    int removed = 0;      // series dropped (refused as a duplicate night or of the other unit)
    int added = 0;        // new files that became series
    int unavailable = 0;  // series kept although their files cannot be read
    // Whether the field description changed: series read again keep their entries.
    bool Changed() const { return removed + added > 0; }
};

// The folder of the object's photometry: the root directory + relative path when a root is
// set, else the absolute path, else the relative path against the field's folder.
std::string ObjectFolder(const kurvalux_data::CObjectListElem& object,
                         const kurvalux_data::PathBases& bases);

// The files a scan of the object's folder finds, sorted; none when the folder is missing.
std::vector<std::string> ScanObjectFiles(const kurvalux_data::CObjectListElem& object,
                                         const kurvalux_data::PathBases& bases);

// Rescans one object. Refused and unreadable series are reported in "Error" boxes, as when a
// field is loaded.
ScanResult RescanObject(kurvalux_data::CObjectListElem& object,
                        const kurvalux_data::PathBases& bases,
                        kurvalux_platform::CMessageBoxSink& messages);

// The lines of the box that closes a scan.
std::vector<std::string> ScanSummary(const ScanResult& result);
constexpr const char* kScanTitle = "(Re)Scan of series files";

}  // namespace kurvalux_app
