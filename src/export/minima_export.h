#pragma once
// Plain-text lists of the timed minima: the minima of every object (or of one), the O-C list
// of an object against its saved ephemeris, and the eclipse-timing-variation table (cycle,
// O-C, error, kind) that period-change and third-body studies start from.
#include <string>

#include "data/field.h"
#include "platform/message_box.h"

namespace kurvalux_export {

// The number format of these lists: exactly 0 is "0", anything else fixed-point with 6
// decimals.
std::string ListNumber(double value);

// "#JD Error Primary/Secondary Filter JD_type", then a block per object with minima in use.
std::string MinimaListText(const kurvalux_data::Field& field);
// The same header and line form for one object; empty when it has no minimum in use.
std::string ObjectMinimaText(const kurvalux_data::CObjectListElem& object);
bool HasMinimaInUse(const kurvalux_data::CObjectListElem& object);

// "#HJD Difference Error Primary/Secondary" and one line per minimum in use, against the saved
// ephemeris (M0, P).
std::string OCListText(const kurvalux_data::CObjectListElem& object);
// "#Cycle O-C Error Kind": the minima in use in time order, the cycle counted from the saved
// M0 (a secondary half a cycle after its primary), O-C in days.
std::string EtvText(const kurvalux_data::CObjectListElem& object);

// The exports with their boxes, all titled "Export failed": "Cannot create file" / path when
// the file cannot be written; "No minima defined for" / "the selected object." for an object
// without minima; "Cannot export O-C list" (or "Cannot export ETV data") / "if M0 and/or P is
// not defined" without a saved ephemeris.
bool ExportMinimaList(const kurvalux_data::Field& field, const std::string& path,
                      kurvalux_platform::CMessageBoxSink& messages);
bool ExportObjectMinima(const kurvalux_data::CObjectListElem& object, const std::string& path,
                        kurvalux_platform::CMessageBoxSink& messages);
bool ExportOCList(const kurvalux_data::CObjectListElem& object, const std::string& path,
                  kurvalux_platform::CMessageBoxSink& messages);
bool ExportEtv(const kurvalux_data::CObjectListElem& object, const std::string& path,
               kurvalux_platform::CMessageBoxSink& messages);

// Writes a finished text in one piece; "Cannot create file" / path under `title` on failure.
bool WriteExport(const std::string& path, const std::string& text, const std::string& title,
                 kurvalux_platform::CMessageBoxSink& messages);

}  // namespace kurvalux_export
