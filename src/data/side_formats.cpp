#include "data/side_formats.h"

#include <cmath>
#include <cstdio>

#include "data/keyword_scanner.h"
#include "data/kvf_blocks.h"
#include "data/photometry.h"
#include "platform/files.h"
#include "platform/text.h"

namespace kurvalux_data {
namespace {

using kurvalux_platform::CMessageBoxSink;
using kurvalux_platform::MessageAnswer;
using kurvalux_platform::MessageButtons;
using kurvalux_platform::MessageIcon;

constexpr size_t kHeaderWordCapacity = 127;

// The integer day a series is known by in an offsets text: its first time truncated toward
// zero (JDs are positive, so this is also the floor).
long long SeriesDay(const CSeriesTreeElem& series) {
    return static_cast<long long>(std::trunc(series.FirstTime()));
}

void ShowHeaderFailure(SideKind kind, TextOrigin origin, const std::string& title,
                       CMessageBoxSink& messages) {
    const char* line = origin == TextOrigin::kFile ? "File does not start with required keyword:"
                       : kind == SideKind::kSeriesOffsets
                           ? "Offset list does not start with required keyword:"
                           : "Text does not start with required keyword:";
    messages.Error(title, {line, SideHeader(kind)});
}

void ShowFormatFailure(SideKind kind, TextOrigin origin, const std::string& title,
                       CMessageBoxSink& messages) {
    if (kind == SideKind::kSeriesOffsets)
        messages.Error(title, {"Error in list of offsets", "(text is probably damaged)"});
    else if (origin == TextOrigin::kFile)
        messages.Error(title, {"Error in file format", "(file is probably damaged)"});
    else
        messages.Error(
            title, {"Error in fit description format", "(fit description is probably damaged)"});
}

// Applies "day = offset" lines until one does not parse; each goes to the first series (in
// time order, holding points) that starts on that day. Two series starting on the same day
// cannot be told apart by this text: the earlier of them takes every matching line.
void ReadOffsets(CKeywordScanner& scanner, CObjectListElem& object, SideReadResult& result) {
    for (;;) {
        int32_t day = 0;
        double offset = 0;
        if (!scanner.ReadInteger(day) || !scanner.ExpectEquals() || !scanner.ReadNumber(offset))
            return;
        ++result.offsets_read;
        for (auto& series : object.series) {
            if (series->Count() == 0 || SeriesDay(*series) != day) continue;
            series->offset = offset;
            ++result.offsets_matched;
            break;
        }
        if (!scanner.NextLine()) return;
    }
}

}  // namespace

const char* SideHeader(SideKind kind) {
    switch (kind) {
        case SideKind::kFitParameters:
            return kFitParametersHeader;
        case SideKind::kObjectData:
            return kObjectDataHeader;
        case SideKind::kSeriesOffsets:
            break;
    }
    return kSeriesOffsetsHeader;
}

// The object-data commands have always shown the fit-parameter titles, and the paste titles
// read "paremeters"; observers' notes and scripts quote them, so they stay.
const char* SideSaveFailureTitle(SideKind kind) {
    return kind == SideKind::kSeriesOffsets ? "Failed save series offsets"
                                            : "Failed saving fit parameters";
}
const char* SideLoadFailureTitle(SideKind kind) {
    return kind == SideKind::kSeriesOffsets ? "Failed loading series offsets"
                                            : "Failed loading fit parameters";
}
const char* SidePasteFailureTitle(SideKind kind) {
    return kind == SideKind::kSeriesOffsets ? "Failed pasting series offsets"
                                            : "Failed pasting fit paremeters";
}
const char* SideSaveDialogTitle(SideKind kind) {
    switch (kind) {
        case SideKind::kFitParameters:
            return "Save fit parameters";
        case SideKind::kObjectData:
            return "Save object data";
        case SideKind::kSeriesOffsets:
            break;
    }
    return "Save series offsets";
}
const char* SideLoadDialogTitle(SideKind kind) {
    return kind == SideKind::kSeriesOffsets ? "Load series offsets" : "Load fit parameters";
}

std::string FitParametersText(const CObjectListElem& object) {
    CKeywordWriter w;
    w.Line(kFitParametersHeader);
    WriteFit(w, object.fit);
    return w.Release();
}

std::string ObjectDataText(const CObjectListElem& object) {
    CKeywordWriter w;
    w.Line(kObjectDataHeader);
    WriteObject(w, object);
    return w.Release();
}

std::string SeriesOffsetsText(const CObjectListElem& object) {
    CKeywordWriter w;
    w.Line(kSeriesOffsetsHeader);
    for (const auto& series : object.series) {
        if (series->Count() == 0) continue;
        char value[64] = "0";
        if (series->offset != 0) std::snprintf(value, sizeof value, "%.6f", series->offset);
        w.Line(std::to_string(SeriesDay(*series)) + " = " + value);
    }
    return w.Release();
}

std::string SideText(SideKind kind, const CObjectListElem& object) {
    switch (kind) {
        case SideKind::kFitParameters:
            return FitParametersText(object);
        case SideKind::kObjectData:
            return ObjectDataText(object);
        case SideKind::kSeriesOffsets:
            break;
    }
    return SeriesOffsetsText(object);
}

bool ReadSideText(SideKind kind, std::string_view text, TextOrigin origin, CObjectListElem& object,
                  const PathBases& bases, const std::string& title, CMessageBoxSink& messages,
                  SideReadResult* result) {
    SideReadResult local;
    SideReadResult& r = result ? *result : local;
    r = {};
    CKeywordScanner scanner(text);
    std::string word;
    if (!scanner.ReadIdentifier(word, kHeaderWordCapacity) || word != SideHeader(kind)) {
        ShowHeaderFailure(kind, origin, title, messages);
        return false;
    }
    if (!scanner.NextLine()) {
        ShowFormatFailure(kind, origin, title, messages);
        return false;
    }
    if (kind == SideKind::kSeriesOffsets) {
        ReadOffsets(scanner, object, r);
        return true;
    }
    const char* block = kind == SideKind::kFitParameters ? "fit" : "object";
    if (!scanner.ReadIdentifier(word) || word != block || !scanner.NextLine()) {
        ShowFormatFailure(kind, origin, title, messages);
        return false;
    }
    if (kind == SideKind::kFitParameters) {
        // Read over a copy: lines absent from the text keep their values, and a damaged
        // line leaves the object as it was.
        LightCurveParameters fit = object.fit;
        CKvfBlockReader reader(scanner);
        if (!reader.ReadFit(fit)) {
            messages.Error(title, {scanner.Error()});
            return false;
        }
        object.fit = fit;
        object.has_fit = true;
        return true;
    }
    if (!ReadObjectBlock(scanner, object, bases, r.series)) {
        messages.Error(title, {scanner.Error()});
        return false;
    }
    object.CompleteSavedEphemeris();
    return true;
}

bool ConfirmSideLoad(SideKind kind, CMessageBoxSink& messages) {
    const char* first = kind == SideKind::kSeriesOffsets ? "Offsets of selected object series"
                                                         : "Fit parameters of selected object";
    return messages.Show("Question",
                         {first, "will be replaced from chosen file.", "Do you want to continue?"},
                         MessageIcon::Question, MessageButtons::YesNo) == MessageAnswer::Yes;
}

bool SaveSideFile(SideKind kind, const std::string& path, const CObjectListElem& object,
                  CMessageBoxSink& messages) {
    if (!kurvalux_platform::WriteWholeFile(path, SideText(kind, object))) {
        messages.Error(SideSaveFailureTitle(kind), {"Cannot create file", path});
        return false;
    }
    return true;
}

bool LoadSideFile(SideKind kind, const std::string& path, CObjectListElem& object,
                  const PathBases& bases, CMessageBoxSink& messages, SideReadResult* result) {
    std::string text;
    switch (kurvalux_platform::ReadWholeFile(path, kMaxPhotometryFileSize, text)) {
        case kurvalux_platform::ReadStatus::Ok:
            break;
        case kurvalux_platform::ReadStatus::TooBig:
            messages.Error(SideLoadFailureTitle(kind), {"File too big (> 16 MB)", path});
            return false;
        case kurvalux_platform::ReadStatus::CannotOpen:
            messages.Error(SideLoadFailureTitle(kind), {"Cannot open file: " + path});
            return false;
    }
    return ReadSideText(kind, text, TextOrigin::kFile, object, bases, SideLoadFailureTitle(kind),
                        messages, result);
}

bool PasteSideText(SideKind kind, const std::optional<std::string>& clipboard,
                   CObjectListElem& object, const PathBases& bases, CMessageBoxSink& messages,
                   SideReadResult* result) {
    if (!clipboard) {
        messages.Error(SidePasteFailureTitle(kind), {"No text in clipboard"});
        return false;
    }
    return ReadSideText(kind, *clipboard, TextOrigin::kClipboard, object, bases,
                        SidePasteFailureTitle(kind), messages, result);
}

int ApplyAlternateNames(std::string_view text, Field& field) {
    int applied = 0;
    size_t p = 0;
    while (p < text.size()) {
        size_t end = p;
        while (end < text.size() && text[end] != '\r' && text[end] != '\n') ++end;
        if (end == p) break;  // an empty line ends the list
        const std::string line(text.substr(p, std::min(end - p, kAlternateNamesLineCapacity)));
        // One line end: CR LF, LF or CR.
        p = end;
        if (p < text.size() && text[p] == '\r') ++p;
        if (p < text.size() && text[p] == '\n') ++p;
        for (auto& object : field.objects) {
            if (object->name.empty()) continue;
            // The name with its separator is searched anywhere in the line, so a name that
            // stands at the end of a longer word still matches.
            size_t at = line.find(object->name + ' ');
            if (at == std::string::npos) at = line.find(object->name + '\t');
            if (at == std::string::npos) continue;
            const std::string_view rest =
                std::string_view(line).substr(at + object->name.size() + 1);
            kurvalux_platform::AssignCut(object->alternate_name,
                                         kurvalux_platform::TrimBlanks(rest),
                                         kAlternateNameCapacity);
            ++applied;
            break;
        }
    }
    return applied;
}

bool ConfirmAlternateNames(CMessageBoxSink& messages) {
    return messages.Show("Question",
                         {"Alternate names of individual objects will be replaced",
                          "with names following the object name in the loaded file.",
                          "Do you want to continue?"},
                         MessageIcon::Question, MessageButtons::YesNo) == MessageAnswer::Yes;
}

int LoadAlternateNamesFile(const std::string& path, Field& field, CMessageBoxSink& messages) {
    std::string text;
    switch (kurvalux_platform::ReadWholeFile(path, kMaxPhotometryFileSize, text)) {
        case kurvalux_platform::ReadStatus::Ok:
            return ApplyAlternateNames(text, field);
        case kurvalux_platform::ReadStatus::TooBig:
            messages.Error(kAlternateNamesFailureTitle, {"File too big (> 16 MB)", path});
            return -1;
        case kurvalux_platform::ReadStatus::CannotOpen:
            break;
    }
    messages.Error(kAlternateNamesFailureTitle, {"Cannot open file: " + path});
    return -1;
}

}  // namespace kurvalux_data
