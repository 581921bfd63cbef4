#include "export/minima_export.h"

#include "analysis/ephemeris_fit.h"
#include "analysis/model.h"
#include "platform/files.h"
#include "platform/text.h"

namespace kurvalux_export {

using kurvalux_data::CMinimaListElem;
using kurvalux_data::CObjectListElem;
using kurvalux_data::CSeriesTreeElem;

namespace {

constexpr const char* kFailedTitle = "Export failed";

const char* KindWord(uint32_t type) {
    switch (type) {
        case kurvalux_data::kMinimumPrimary:
            return " Primary";
        case kurvalux_data::kMinimumSecondary:
            return " Secondary";
        default:
            return " Undefined";
    }
}

// How the times of the series are counted: a geocentric series converted on loading is
// marked apart from one that was heliocentric from the start.
const char* JdTypeWords(const CSeriesTreeElem& series) {
    if (series.hjd_converted) return " HJD (converted)";
    switch (series.EffectiveMetaData().jd_type) {
        case kurvalux_data::kJdHeliocentric:
            return " HJD";
        case kurvalux_data::kJdGeocentric:
            return " GJD";
        default:
            return " JD type unknown";
    }
}

void AppendObjectMinima(std::string& out, const CObjectListElem& object) {
    for (const auto& series : object.series) {
        std::string filter = series->EffectiveMetaData().filter;
        if (filter.empty()) filter = object.meta_data.filter;
        for (const CMinimaListElem& minimum : series->minima) {
            if (!minimum.enabled) continue;
            out += ListNumber(minimum.time);
            out += ' ';
            out += ListNumber(minimum.error);
            out += KindWord(minimum.type);
            if (!filter.empty()) {
                out += ' ';
                out += filter;
            }
            out += JdTypeWords(*series);
            out += "\r\n";
        }
    }
}

constexpr const char* kMinimaHeader = "#JD Error Primary/Secondary Filter JD_type\r\n";

bool HasSavedEphemeris(const CObjectListElem& object) {
    return object.saved_period != 0 && object.saved_m0 != 0;
}

}  // namespace

std::string ListNumber(double value) {
    return kurvalux_platform::FormatFixed(value, 6);
}

bool HasMinimaInUse(const CObjectListElem& object) {
    for (const auto& series : object.series)
        for (const CMinimaListElem& minimum : series->minima)
            if (minimum.enabled) return true;
    return false;
}

std::string MinimaListText(const kurvalux_data::Field& field) {
    std::string out = kMinimaHeader;
    for (const auto& object : field.objects) {
        if (!HasMinimaInUse(*object)) continue;
        out += "\r\n[";
        out += object->name;
        if (!object->alternate_name.empty()) out += " (" + object->alternate_name + ")";
        out += "]\r\n";
        AppendObjectMinima(out, *object);
    }
    return out;
}

std::string ObjectMinimaText(const CObjectListElem& object) {
    if (!HasMinimaInUse(object)) return {};
    std::string out = kMinimaHeader;
    AppendObjectMinima(out, object);
    return out;
}

std::string OCListText(const CObjectListElem& object) {
    std::string out = "#HJD Difference Error Primary/Secondary\r\n";
    const double m0 = object.saved_m0, period = object.saved_period;
    for (const auto& series : object.series)
        for (const CMinimaListElem& minimum : series->minima) {
            if (!minimum.enabled) continue;
            const kurvalux_analysis::CycleOC c =
                kurvalux_analysis::CycleAndOC(minimum.time, minimum.type, m0, period);
            out +=
                ListNumber(minimum.time) + " " + ListNumber(c.oc) + " " + ListNumber(minimum.error);
            if (minimum.type == kurvalux_data::kMinimumPrimary)
                out += " P";
            else if (minimum.type == kurvalux_data::kMinimumSecondary)
                out += " S";
            out += "\r\n";
        }
    return out;
}

std::string EtvText(const CObjectListElem& object) {
    std::string out = "#Cycle O-C Error Kind\r\n";
    const auto table = kurvalux_analysis::MakeOCTable(object, object.saved_m0, object.saved_period);
    for (const kurvalux_analysis::OCEntry& entry : table) {
        out += kurvalux_platform::FormatFixedAlways(kurvalux_analysis::FitCycle(entry), 1);
        out += ' ';
        out += ListNumber(entry.oc);
        out += ' ';
        out += ListNumber(entry.error);
        out += KindWord(entry.type);
        out += "\r\n";
    }
    return out;
}

bool WriteExport(const std::string& path, const std::string& text, const std::string& title,
                 kurvalux_platform::CMessageBoxSink& messages) {
    if (kurvalux_platform::WriteWholeFile(path, text)) return true;
    messages.Error(title, {"Cannot create file", path});
    return false;
}

bool ExportMinimaList(const kurvalux_data::Field& field, const std::string& path,
                      kurvalux_platform::CMessageBoxSink& messages) {
    return WriteExport(path, MinimaListText(field), kFailedTitle, messages);
}

bool ExportObjectMinima(const CObjectListElem& object, const std::string& path,
                        kurvalux_platform::CMessageBoxSink& messages) {
    if (!HasMinimaInUse(object)) {
        messages.Error(kFailedTitle, {"No minima defined for", "the selected object."});
        return false;
    }
    return WriteExport(path, ObjectMinimaText(object), kFailedTitle, messages);
}

bool ExportOCList(const CObjectListElem& object, const std::string& path,
                  kurvalux_platform::CMessageBoxSink& messages) {
    if (!HasSavedEphemeris(object)) {
        messages.Error(kFailedTitle, {"Cannot export O-C list", "if M0 and/or P is not defined"});
        return false;
    }
    return WriteExport(path, OCListText(object), kFailedTitle, messages);
}

bool ExportEtv(const CObjectListElem& object, const std::string& path,
               kurvalux_platform::CMessageBoxSink& messages) {
    if (!HasSavedEphemeris(object)) {
        messages.Error(kFailedTitle, {"Cannot export ETV data", "if M0 and/or P is not defined"});
        return false;
    }
    if (!HasMinimaInUse(object)) {
        messages.Error(kFailedTitle, {"No minima defined for", "the selected object."});
        return false;
    }
    return WriteExport(path, EtvText(object), kFailedTitle, messages);
}

}  // namespace kurvalux_export
