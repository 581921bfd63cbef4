#pragma once
// The copy-info mask: a text template kept in the settings ("CopyDataMask") whose keywords
// are replaced with the data of the selected object, ready to be pasted into an observing
// log, a catalogue form or a message.
#include <array>
#include <string>

#include "data/field.h"

namespace kurvalux_export {

constexpr size_t kMaskCapacity = 1023;
constexpr size_t kCopyInfoCapacity = 2047;

struct MaskKeyword {
    const char* keyword;  // "%RA%"
    const char* meaning;  // the dialog's line
};

// The keywords in the order they are substituted, with the dialog's text for each.
extern const std::array<MaskKeyword, 17> kMaskKeywords;

// The seventeen meaning lines of the dialog, separated by CR LF.
std::string MaskKeywordMeanings();

// The mask used while the settings hold none (an empty mask would copy nothing): the object,
// its position and its ephemeris.
extern const char* const kDefaultCopyInfoMask;
// The settings' mask, or the default one when it is empty.
std::string EffectiveCopyInfoMask(const std::string& settings_mask);

// Fills `mask` with the data of `object` (of the field named `field_name`). The keywords are
// taken in table order, each replaced at every occurrence, the search for the next one going
// on from where the value was inserted. Unknown coordinates give empty text; M0, period and
// magnitudes are written also when unset. The result is cut at 2047 characters.
std::string SubstituteCopyInfo(const std::string& mask, const std::string& field_name,
                               const kurvalux_data::CObjectListElem& object);

}  // namespace kurvalux_export
