#pragma once
// Series exports: an object's photometry written back as photometry text files of the kind the
// program reads (header lines for JD type, unit, filter, apertures and the stars, then one
// "time value error" line per point), so that an exported file can be loaded again as a
// series, or handed to other light-curve programs.
#include <string>
#include <vector>

#include "data/field.h"
#include "platform/message_box.h"

namespace kurvalux_export {

enum class SeriesExportKind {
    kTime,                // the points of the series in use, offsets applied, in time order
    kPhased,              // phase (0 to 1) instead of time, in phase order
    kPhasedTime,          // the time folded into the cycle that starts at M0, in that order
    kMinusFit,            // time, value minus the fitted model, in time order
    kIndividualMinusFit,  // the same, one file per series beside its original file
};

// "time", "phased", "phased-time", "minus-fit", "individual-minus-fit".
bool ParseSeriesExportKind(const std::string& word, SeriesExportKind& kind);
// Whether the kind needs the ephemeris (M0 and P) to place the points in phase.
bool NeedsEphemeris(SeriesExportKind kind);

// The header lines of a photometry file describing `meta` (CR LF line ends).
std::string PhotometryHeader(const kurvalux_data::CMetaData& meta, bool heliocentric,
                             const std::string& title);

// The text of one file from the given series of the object (all of them for the
// individual export's single series).
std::string SeriesExportText(const kurvalux_data::CObjectListElem& object,
                             const std::vector<const kurvalux_data::CSeriesTreeElem*>& series,
                             SeriesExportKind kind);

// Writes the object's series in use as one file. "Cannot export phased light curve" / "if M0
// and/or P is not defined" (titled "Export failed") for a phased or minus-fit export without
// ephemeris; "Cannot create file" / path when the file cannot be written.
bool ExportSeries(const kurvalux_data::CObjectListElem& object, SeriesExportKind kind,
                  const std::string& path, kurvalux_platform::CMessageBoxSink& messages);

// The options of the "Save Series - Fit" dialog (remembered with the object).
struct IndividualExportOptions {
    bool use_new_name = true;  // "Use new file name"
    std::string new_name;      // "New file name:"
    std::string prefix;        // "File name prefix:"
    std::string postfix;       // "File name postfix:"
    bool overwrite = false;    // "Overwrite existing files"
};

// The file an individual export writes for a series file: the new name in the folder of the
// original, or the original name with prefix before it and postfix before its extension.
std::string IndividualTargetPath(const std::string& original, const IndividualExportOptions& o);

struct IndividualExportResult {
    bool ok = false;
    std::vector<std::string> written;
    std::vector<std::string> skipped;  // declined overwrites and series without a local file
};

// Writes every series in use of the object minus the fit, each beside its original file.
// Without prefix and postfix in the prefix mode the "File overwrite warning" asks first
// (Cancel stops); an existing target asks "There is a file on disk:" / path / "Overwrite
// file?" unless overwriting is chosen.
IndividualExportResult ExportIndividualMinusFit(const kurvalux_data::CObjectListElem& object,
                                                const IndividualExportOptions& options,
                                                kurvalux_platform::CMessageBoxSink& messages);

}  // namespace kurvalux_export
