// Series whose photometry files could not be read: the one report after a field loads, the
// search for their files below a folder, and their removal when the user decides they are
// gone for good.
#include <QApplication>

#include "app/kurvalux_pane.h"
#include "app/main_window.h"
#include "data/missing_files.h"

namespace kurvalux_app {

using kurvalux_data::CObjectListElem;
using kurvalux_platform::MessageAnswer;
using kurvalux_platform::MessageButtons;
using kurvalux_platform::MessageIcon;

void CKurvalux::ReportLoad(const std::vector<kurvalux_platform::MessageBoxRecord>& boxes,
                           int unavailable) {
    if (boxes.empty()) return;
    // The same texts the single boxes had, one box per line.
    std::vector<std::string> lines;
    for (const auto& box : boxes) {
        std::string line;
        for (const std::string& part : box.lines) line += (line.empty() ? "" : " ") + part;
        lines.push_back(line);
    }
    if (unavailable == 0) {
        messages_->Show(kLoadReportTitle, lines, MessageIcon::Warning, MessageButtons::Ok);
        return;
    }
    lines.push_back(std::to_string(unavailable) +
                    " series are kept unavailable: not drawn, not fitted, saved unchanged.");
    lines.push_back("Locate their files now?");
    if (messages_->Show(kLoadReportTitle, lines, MessageIcon::Warning, MessageButtons::YesNo) ==
        MessageAnswer::Yes)
        LocateMissingFiles();
}

void CKurvalux::LocateMissingFiles() {
    const char* title = kurvalux_data::kLocateMissingFilesTitle;
    if (kurvalux_data::UnavailableSeriesCount(field_) == 0) {
        messages_->Show(title, {"Every series of the field has its photometry file."},
                        MessageIcon::Information, MessageButtons::Ok);
        return;
    }
    const std::string folder = ChooseFile(FileRequest::kFolder, settings_.root_path);
    if (folder.empty()) return;
    QApplication::setOverrideCursor(Qt::BusyCursor);
    const kurvalux_data::LocateResult result =
        kurvalux_data::LocateMissingFiles(field_, folder, Bases());
    QApplication::restoreOverrideCursor();
    if (result.found > 0) {
        MarkModified();  // the found series carry new paths
        pane_->RefreshObject();
    }
    messages_->Show(title, result.Lines(), MessageIcon::Information, MessageButtons::Ok);
}

void CKurvalux::RemoveUnavailableSeries() {
    const char* title = "Remove Unavailable Series";
    CObjectListElem* object = RequireObject(title);
    if (!object) return;
    if (object->unavailable_series.empty()) {
        messages_->Error(title, {"The object " + object->name + " has no unavailable series."});
        return;
    }
    size_t minima = 0;
    for (const auto& kept : object->unavailable_series) minima += kept.series->minima.size();
    if (messages_->Show(
            title,
            {"Do you want to remove the " + std::to_string(object->unavailable_series.size()) +
                 " unavailable series of " + object->name,
             "with their " + std::to_string(minima) + " minima from the field?"},
            MessageIcon::Question, MessageButtons::YesNo) != MessageAnswer::Yes)
        return;
    object->unavailable_series.clear();
    MarkModified();
    pane_->RefreshObject();
}

}  // namespace kurvalux_app
