// The window's commands on side texts (fit parameters, object data, series offsets, alternate
// names), the levelling of series and the import of other programs' photometry files. The
// work is the core's; these handlers pick files, ask the questions and refresh the views.
#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <filesystem>

#include "app/commands.h"
#include "app/form_dialog.h"
#include "app/kurvalux_pane.h"
#include "app/main_window.h"
#include "app/shell_strings.h"
#include "data/import/photometry_import.h"
#include "data/series_levelling.h"
#include "data/side_formats.h"
#include "platform/text.h"

namespace kurvalux_app {

using namespace kurvalux_data;

namespace {

SideKind KindOf(int command) {
    switch (command) {
        case kCmdLoadFitParameters:
        case kCmdSaveFitParameters:
        case kCmdPasteFitParameters:
        case kCmdCopyFitParameters:
            return SideKind::kFitParameters;
        case kCmdLoadObjectData:
        case kCmdSaveObjectData:
        case kCmdPasteObjectData:
        case kCmdCopyObjectData:
            return SideKind::kObjectData;
        default:
            return SideKind::kSeriesOffsets;
    }
}

}  // namespace

bool CKurvalux::DispatchSide(int command) {
    switch (command) {
        case kCmdSaveFitParameters:
        case kCmdSaveObjectData:
        case kCmdSaveSeriesOffsets:
            SideSave(command);
            return true;
        case kCmdLoadFitParameters:
        case kCmdLoadObjectData:
        case kCmdLoadSeriesOffsets:
            SideLoad(command);
            return true;
        case kCmdCopyFitParameters:
        case kCmdCopyObjectData:
        case kCmdCopySeriesOffsets:
            SideCopy(command);
            return true;
        case kCmdPasteFitParameters:
        case kCmdPasteObjectData:
        case kCmdPasteSeriesOffsets:
            SidePaste(command);
            return true;
        case kCmdLoadAlternateNames:
            LoadAlternateNames();
            return true;
        case kCmdLevelByMedian:
        case kCmdLevelByRange:
        case kCmdLevelByAverage:
            LevelSeries(command);
            return true;
        case kCmdClearSeriesOffsets:
            ClearSeriesOffsets();
            return true;
        case kCmdImportPhotometry:
            ImportPhotometry();
            return true;
        default:
            return false;
    }
}

std::string CKurvalux::ChooseTextFile(FileRequest request, const std::string& title) {
    const QString filter = "TXT Files (*.txt);;All Files (*.*)";
    QString path;
    if (request == FileRequest::kSaveSideText)
        path = QFileDialog::getSaveFileName(this, Q(title), Q(FolderOf(path_)), filter);
    else if (request == FileRequest::kImport)
        path = QFileDialog::getOpenFileName(this, Q(title), Q(FolderOf(path_)),
                                            "All Files (*.*);;TXT Files (*.txt)");
    else
        path = QFileDialog::getOpenFileName(this, Q(title), Q(FolderOf(path_)), filter);
    return path.toStdString();
}

// Offsets act only on an object that holds series; the other kinds on any selected object.
static bool Applicable(SideKind kind, const CObjectListElem* object) {
    return object && (kind != SideKind::kSeriesOffsets || object->SeriesCount() > 0);
}

void CKurvalux::SideSave(int command) {
    const SideKind kind = KindOf(command);
    CObjectListElem* object = pane_->CurrentObject();
    if (!Applicable(kind, object)) return;
    const std::string path = ChooseFile(FileRequest::kSaveSideText, SideSaveDialogTitle(kind));
    if (path.empty()) return;
    SaveSideFile(kind, path, *object, *messages_);
}

void CKurvalux::SideLoad(int command) {
    const SideKind kind = KindOf(command);
    CObjectListElem* object = pane_->CurrentObject();
    if (!Applicable(kind, object)) return;
    if (!ConfirmSideLoad(kind, *messages_)) return;
    const std::string path = ChooseFile(FileRequest::kOpenSideText, SideLoadDialogTitle(kind));
    if (path.empty()) return;
    if (!LoadSideFile(kind, path, *object, Bases(), *messages_)) return;
    MarkModified();
    pane_->Refresh();
}

void CKurvalux::SideCopy(int command) {
    const SideKind kind = KindOf(command);
    CObjectListElem* object = pane_->CurrentObject();
    if (!Applicable(kind, object)) return;
    QApplication::clipboard()->setText(QString::fromStdString(SideText(kind, *object)));
}

void CKurvalux::SidePaste(int command) {
    const SideKind kind = KindOf(command);
    CObjectListElem* object = pane_->CurrentObject();
    if (!Applicable(kind, object)) return;
    const QString text = QApplication::clipboard()->text();
    std::optional<std::string> clipboard;
    if (!text.isEmpty()) clipboard = text.toStdString();
    if (!PasteSideText(kind, clipboard, *object, Bases(), *messages_)) return;
    MarkModified();
    pane_->Refresh();
}

void CKurvalux::LoadAlternateNames() {
    if (!ConfirmAlternateNames(*messages_)) return;
    const std::string path = ChooseFile(FileRequest::kOpenSideText, kAlternateNamesDialogTitle);
    if (path.empty()) return;
    if (LoadAlternateNamesFile(path, field_, *messages_) < 0) return;
    MarkModified();
    pane_->Refresh();
}

void CKurvalux::LevelSeries(int command) {
    CObjectListElem* object = pane_->CurrentObject();
    if (!object || object->SeriesCount() == 0) return;
    if (!ConfirmLevelSeries(*messages_)) return;
    const LevelStatistic statistic = command == kCmdLevelByMedian  ? LevelStatistic::kMedian
                                     : command == kCmdLevelByRange ? LevelStatistic::kRange
                                                                   : LevelStatistic::kAverage;
    const LevelResult result = kurvalux_data::LevelSeries(*object, statistic);
    if (!result.ok) {
        messages_->Error("Cannot level series", {result.message});
        return;
    }
    if (result.skipped_flux_level > 0)
        messages_->Show("Series not leveled",
                        {std::to_string(result.skipped_flux_level) +
                         " series without a positive flux level kept their factors"},
                        kurvalux_platform::MessageIcon::Warning,
                        kurvalux_platform::MessageButtons::Ok);
    MarkModified();
    pane_->RefreshCharts(true);
}

void CKurvalux::ClearSeriesOffsets() {
    CObjectListElem* object = pane_->CurrentObject();
    if (!object || object->SeriesCount() == 0) return;
    if (!ConfirmClearSeriesOffsets(*messages_)) return;
    if (kurvalux_data::ClearSeriesOffsets(*object) > 0) MarkModified();
    pane_->RefreshCharts(true);
}

// The import's options, asked after the file is chosen; false when cancelled. Empty boxes
// leave the reader's defaults: the star named like the object (or the only one), the T1 target
// or the PDCSAP flux, the most precise time column, the time kind the file states.
bool CKurvalux::AskImportOptions(ImportOptions& options, double& gap_hours) {
    CFormDialog dialog("Import Photometry Options", this);
    dialog.AddText("Star:", "", static_cast<int>(kStarNameCapacity));
    dialog.AddText("Filter:", "", static_cast<int>(kFilterCapacity));
    dialog.AddText("Target column:", "", 63);
    dialog.AddText("Time column:", "", 63);
    dialog.AddChoice(
        "Time kind:", {"as the file says", "JD", "MJD", "HJD", "BJD_TDB", "BTJD", "BKJD"}, 0);
    dialog.AddReal("Split at gaps longer than (hours):", 0, 0, 1e6);
    if (RunDialog(dialog) != QDialog::Accepted) return false;
    auto text = [&dialog](const char* label) {
        return std::string(kurvalux_platform::TrimBlanks(dialog.Text(label)));
    };
    options.star = text("Star:");
    options.filter = text("Filter:");
    options.column = text("Target column:");
    options.time_column = text("Time column:");
    options.time_kind = ParseTimeKind(dialog.ChoiceText("Time kind:").toStdString());
    gap_hours = dialog.Real("Split at gaps longer than (hours):");
    return true;
}

void CKurvalux::ImportPhotometry() {
    CObjectListElem* object = pane_->CurrentObject();
    if (!object) return;
    const std::string path = ChooseFile(FileRequest::kImport, "Import Photometry");
    if (path.empty()) return;
    ImportOptions options;
    double gap_hours = 0;
    if (!AskImportOptions(options, gap_hours)) return;
    ImportResult result = ImportPhotometryFile(path, options);
    std::string message = result.message;
    if (!result.ok || !ChooseImportedStar(result, object->name, !options.star.empty(), message)) {
        messages_->Error("Failed importing photometry", {path, message});
        return;
    }
    AddImportOptions add;
    add.source_name = std::filesystem::path(path).filename().string();
    // ImportFolder's fallback ends with a separator, FolderOf gives none: without it an object
    // with no series yet had its files written beside the field's folder, their names run on.
    add.folder = ImportFolder(*object, FolderOf(path_.empty() ? path : path_) + "/");
    // Space photometry was taken from the spacecraft, not at the observer's site.
    const bool space = result.format == ImportFormat::kFits ||
                       options.time_kind == TimeKind::kBtjd || options.time_kind == TimeKind::kBkjd;
    if (!space) add.site = kurvalux_time::Site{settings_.longitude, settings_.latitude, 0.0};
    std::vector<std::string> lines{std::string(ImportFormatName(result.format)) + ": " +
                                   add.source_name};
    int added = 0;
    std::vector<ImportedSeries> parts;
    for (const ImportedSeries& whole : result.series)
        for (ImportedSeries& part : SplitAtGaps(whole, gap_hours)) parts.push_back(std::move(part));
    for (const ImportedSeries& series : parts) {
        const AddedSeries a = AddImportedSeries(series, *object, add);
        const std::string what = series.star + (series.filter.empty() ? "" : " " + series.filter);
        if (!a.ok) {
            lines.push_back("Not added (" + what + "): " + a.message);
            continue;
        }
        ++added;
        lines.push_back("Added " + std::to_string(a.series->Count()) + " points" +
                        (what.empty() ? "" : " (" + what + ")") +
                        (a.converted.empty() ? "" : ", times converted " + a.converted));
    }
    for (const auto& [reason, count] : result.skipped)
        lines.push_back("Skipped " + std::to_string(count) + ": " + reason);
    messages_->Show(
        added ? "Photometry imported" : "Failed importing photometry", lines,
        added ? kurvalux_platform::MessageIcon::Information : kurvalux_platform::MessageIcon::Error,
        kurvalux_platform::MessageButtons::Ok);
    if (!added) return;
    MarkModified();
    pane_->Refresh();
}

}  // namespace kurvalux_app
