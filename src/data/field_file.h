#pragma once
// The field description file (".kvf"): the persistent form of the Field. Keyword text,
// version 4, one item per line, TAB indentation, CR LF line ends.
#include <functional>
#include <string>

#include "data/field.h"
#include "data/series_paths.h"
#include "platform/message_box.h"

namespace kurvalux_data {

constexpr int kFieldFileVersion = 4;

struct FieldLoadOptions {
    PathBases bases;
    // Reads series files in parallel (the result is identical to a sequential load).
    bool parallel = true;
    // Called with (objects read, objects announced by the header) as the load proceeds.
    std::function<void(int, int)> progress;
    // Called for every object with a repository token once the field is read, to add the
    // object's web series from the repository cache (their messages go to `messages`).
    std::function<void(CObjectListElem&, kurvalux_platform::CMessageBoxSink&)> web_series;
};

struct FieldLoadResult {
    bool ok = false;
    bool series_removed = false;  // the Field must then be marked changed
    int series_unavailable = 0;   // kept, but their photometry files could not be read
};

// The last line of the box about a series whose photometry file cannot be read.
constexpr const char* kSeriesKeptUnavailable = "Series kept as unavailable until its file is found";

// Loads `path` into `field` (its objects are replaced). Failures and refused series are
// shown through `messages` with their exact titles and texts.
FieldLoadResult LoadField(const std::string& path, Field& field, const FieldLoadOptions& options,
                          kurvalux_platform::CMessageBoxSink& messages);

// The same, for a field text already in memory.
FieldLoadResult LoadFieldText(const std::string& text, Field& field,
                              const FieldLoadOptions& options,
                              kurvalux_platform::CMessageBoxSink& messages);

// What reading one object block added to the object.
struct ObjectBlockResult {
    int series_added = 0;
    int series_refused = 0;      // duplicate first time, other value type, duplicate web entry
    int series_unavailable = 0;  // kept, their photometry files could not be read
};

// Reads one object block ("object" ... "end_object") into `object`: the scanner stands at the
// line after "object". Keys absent from the text keep their values; series blocks add series
// without message boxes (the counts say what became of them). A syntax failure leaves the
// object unchanged and the scanner's message. The field reader uses the same code.
class CKeywordScanner;
bool ReadObjectBlock(CKeywordScanner& scanner, CObjectListElem& object, const PathBases& bases,
                     ObjectBlockResult& result);

// Builds the whole text of a field description file.
std::string FieldToText(const Field& field);

// Saves the field: the old file becomes "<name>.bak", then the text is written in one piece.
bool SaveField(const std::string& path, const Field& field,
               kurvalux_platform::CMessageBoxSink& messages);

}  // namespace kurvalux_data
