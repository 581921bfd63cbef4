#pragma once
// Small texts that carry part of one object between fields and observers, as files or through
// the clipboard: the model parameters ("KurvaluxFitParameters"), the whole object
// ("KurvaluxObjectData") and the offsets of its series ("KurvaluxSeriesOffsets"); and a plain
// list of alternate names for many objects. Each reader shows its failures through the
// message-box seam with the titles and texts observers know from the program.
#include <optional>
#include <string>
#include <string_view>

#include "data/field.h"
#include "data/field_file.h"
#include "data/series_paths.h"
#include "platform/message_box.h"

namespace kurvalux_data {

enum class SideKind { kFitParameters, kObjectData, kSeriesOffsets };

// Files come from a dialog; clipboard texts are pasted. Their failure texts differ.
enum class TextOrigin { kFile, kClipboard };

constexpr const char* kFitParametersHeader = "KurvaluxFitParameters";
constexpr const char* kObjectDataHeader = "KurvaluxObjectData";
constexpr const char* kSeriesOffsetsHeader = "KurvaluxSeriesOffsets";
constexpr size_t kAlternateNamesLineCapacity = 127;

// The header word of a kind, and the box titles of its commands.
const char* SideHeader(SideKind kind);
const char* SideSaveFailureTitle(SideKind kind);
const char* SideLoadFailureTitle(SideKind kind);
const char* SidePasteFailureTitle(SideKind kind);
// The file dialogs' titles: "Save fit parameters", ... (object data loads under "Load fit
// parameters", as it always has).
const char* SideSaveDialogTitle(SideKind kind);
const char* SideLoadDialogTitle(SideKind kind);
constexpr const char* kAlternateNamesDialogTitle = "Load Alternate Names";
constexpr const char* kAlternateNamesFailureTitle = "Failed loading alternate names";

// The whole text of each kind for one object, CR LF line ends.
std::string FitParametersText(const CObjectListElem& object);
std::string ObjectDataText(const CObjectListElem& object);
std::string SeriesOffsetsText(const CObjectListElem& object);
std::string SideText(SideKind kind, const CObjectListElem& object);

// What a successful read changed.
struct SideReadResult {
    int offsets_matched = 0;  // offsets lines that found a series
    int offsets_read = 0;     // offsets lines that parsed
    ObjectBlockResult series;
};

// Reads a text of `kind` into `object`; failures are shown under `title`. Returns success.
// A damaged fit or object text leaves the object unchanged.
bool ReadSideText(SideKind kind, std::string_view text, TextOrigin origin, CObjectListElem& object,
                  const PathBases& bases, const std::string& title,
                  kurvalux_platform::CMessageBoxSink& messages, SideReadResult* result = nullptr);

// The question asked before a load from a file replaces the object's data: true when the
// user answers Yes.
bool ConfirmSideLoad(SideKind kind, kurvalux_platform::CMessageBoxSink& messages);

// Save: the text written in one piece; "Cannot create file" and the path on failure.
bool SaveSideFile(SideKind kind, const std::string& path, const CObjectListElem& object,
                  kurvalux_platform::CMessageBoxSink& messages);
// Load from a file (no question: ask ConfirmSideLoad first).
bool LoadSideFile(SideKind kind, const std::string& path, CObjectListElem& object,
                  const PathBases& bases, kurvalux_platform::CMessageBoxSink& messages,
                  SideReadResult* result = nullptr);
// Paste: `clipboard` is the clipboard's text, nullopt when it holds none.
bool PasteSideText(SideKind kind, const std::optional<std::string>& clipboard,
                   CObjectListElem& object, const PathBases& bases,
                   kurvalux_platform::CMessageBoxSink& messages, SideReadResult* result = nullptr);

// Alternate names: every line up to the first empty one gives the object whose name (followed
// by a blank, else by a TAB) stands in it the rest of the line as its alternate name. Returns
// the number of lines that named an object.
int ApplyAlternateNames(std::string_view text, Field& field);
bool ConfirmAlternateNames(kurvalux_platform::CMessageBoxSink& messages);
// Reads the file and applies it; -1 (with a box) when the file cannot be read.
int LoadAlternateNamesFile(const std::string& path, Field& field,
                           kurvalux_platform::CMessageBoxSink& messages);

}  // namespace kurvalux_data
