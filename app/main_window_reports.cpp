// The report commands of the main window: the field exports (table, page, minima), the
// series exports of "Objects" -> "Export", the copy-info mask and the observation sheet.
// Each gathers its choices in a dialog, calls the core and shows what failed.
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QProgressDialog>
#include <QRadioButton>
#include <QShortcut>
#include <QVBoxLayout>

#include "app/commands.h"
#include "app/form_dialog.h"
#include "app/kurvalux_pane.h"
#include "app/main_window.h"
#include "app/sheet_window.h"
#include "app/shell_strings.h"
#include "export/copy_info.h"
#include "export/csv_export.h"
#include "export/html_export.h"
#include "export/minima_export.h"
#include "export/series_export.h"
#include "export/summaries.h"

#ifdef KURVALUX_HAVE_IMG
#include "img/png_image_writer.h"
#endif

namespace kurvalux_app {

using kurvalux_data::CObjectListElem;

namespace {

// The busy pointer for the length of a command.
struct BusyPointer {
    BusyPointer() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyPointer() { QApplication::restoreOverrideCursor(); }
};

std::string Suggest(const std::string& folder, const std::string& name) {
    return folder.empty() ? name : folder + "/" + name;
}

}  // namespace

std::string CKurvalux::ChooseReportFile(FileRequest request, const std::string& suggested) {
    if (files_) return files_(request, suggested);
    QString title, filter;
    switch (request) {
        case FileRequest::kSaveCsv:
            title = "Export Field into CSV";
            filter = "CSV Files (*.csv);;All Files (*.*)";
            break;
        case FileRequest::kSaveHtml:
            title = "Export Field into HTML";
            filter = "HTML Files (*.html *.htm);;All Files (*.*)";
            break;
        default:
            title = "Export";
            filter = "TXT Files (*.txt);;All Files (*.*)";
            break;
    }
    return QFileDialog::getSaveFileName(this, title, Q(suggested), filter).toStdString();
}

bool CKurvalux::DispatchReport(int command) {
    switch (command) {
        case kCmdExportCsv:
            ExportCsvCommand();
            return true;
        case kCmdExportHtml:
            ExportHtmlCommand();
            return true;
        case kCmdExportAllMinima:
        case kCmdExportTimeSeries:
        case kCmdExportPhasedSeries:
        case kCmdExportPhasedTimeSeries:
        case kCmdExportTimeSeriesMinusFit:
        case kCmdExportMinimaList:
        case kCmdExportEtv:
            ExportTextCommand(command);
            return true;
        case kCmdExportIndividualMinusFit:
            ExportIndividualCommand();
            return true;
        case kCmdCopyObjectInfo:
            CopyObjectInfo();
            return true;
        case kCmdDefineCopyInfoMask:
            DefineCopyInfoMask();
            return true;
        default:
            return false;
    }
}

void CKurvalux::ExportCsvCommand() {
    const std::string path = ChooseReportFile(
        FileRequest::kSaveCsv,
        Suggest(settings_.last_csv_export_path, kurvalux_export::FieldNameOfPath(path_) + ".csv"));
    if (path.empty()) return;
    kurvalux_export::CsvOptions o =
        kurvalux_export::CsvOptions::FromBits(settings_.csv_export_options);
    CFormDialog dialog("Export Field into CSV Options", this);
    dialog.AddCheck("Include VAR meta-data", o.var);
    dialog.AddCheck("Include CMP meta-data", o.cmp);
    dialog.AddCheck("Include CHK meta-data", o.chk);
    dialog.AddCheck("Include observing table", o.observing);
    if (RunDialog(dialog) != QDialog::Accepted) return;
    o.var = dialog.Checked("Include VAR meta-data");
    o.cmp = dialog.Checked("Include CMP meta-data");
    o.chk = dialog.Checked("Include CHK meta-data");
    o.observing = dialog.Checked("Include observing table");
    settings_.csv_export_options = o.Bits();
    settings_.last_csv_export_path = FolderOf(path);
    BusyPointer busy;
    kurvalux_export::ExportCsv(field_, path, o, *messages_);
}

void CKurvalux::ExportHtmlCommand() {
    const std::string path = ChooseReportFile(
        FileRequest::kSaveHtml, Suggest(settings_.last_html_export_path,
                                        kurvalux_export::FieldNameOfPath(path_) + ".html"));
    if (path.empty()) return;
    kurvalux_export::HtmlOptions o =
        kurvalux_export::HtmlOptions::FromBits(settings_.html_export_options);
    static const char* const kChecks[] = {
        "Prefer Alternate Name",       "Include Variability Type", "Include M0 and Period",
        "Include Max. and Min. Mag",   "Include Coordinates",      "Include Catalog",
        "Include Maginides",           "Include Color Indexes",    "Generate Light Curve Thumbs",
        "Generate Light Curves Images"};
    CFormDialog dialog("Export Field into HTML Options", this);
    const int bits = o.Bits();
    for (int i = 0; i < 10; ++i) {
        dialog.AddCheck(kChecks[i], (bits >> i) & 1);
        if (i == 8) {
            dialog.AddCount("Thummb Width:", settings_.light_curve_thumb_width, 16, 30000);
            dialog.AddCount("Thummb Depth:", settings_.light_curve_thumb_depth, 16, 30000);
        }
    }
    dialog.AddCount("Image Width:", settings_.light_curve_image_width, 16, 30000);
    dialog.AddCount("Image Depth:", settings_.light_curve_image_depth, 16, 30000);
    dialog.AddText("Path Prefix of Images in HTML:", Q(settings_.html_path_prefix), 259);
    if (RunDialog(dialog) != QDialog::Accepted) return;
    int chosen = 0;
    for (int i = 0; i < 10; ++i)
        if (dialog.Checked(kChecks[i])) chosen |= 1 << i;
    o = kurvalux_export::HtmlOptions::FromBits(chosen);
    o.thumb_width = settings_.light_curve_thumb_width = int(dialog.Count("Thummb Width:"));
    o.thumb_depth = settings_.light_curve_thumb_depth = int(dialog.Count("Thummb Depth:"));
    o.image_width = settings_.light_curve_image_width = int(dialog.Count("Image Width:"));
    o.image_depth = settings_.light_curve_image_depth = int(dialog.Count("Image Depth:"));
    o.prefix = settings_.html_path_prefix = dialog.Text("Path Prefix of Images in HTML:");
    settings_.html_export_options = chosen;
    settings_.last_html_export_path = FolderOf(path);

    kurvalux_export::CImageWriter* writer = nullptr;
#ifdef KURVALUX_HAVE_IMG
    kurvalux_img::CPngImageWriter png;
    writer = &png;
#endif
    QProgressDialog progress("Drawing light curves...", "Cancel", 0,
                             static_cast<int>(field_.objects.size()), this);
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(300);
    BusyPointer busy;
    kurvalux_export::ExportHtml(field_, path, kurvalux_export::FieldNameOfPath(path_), o,
                                &settings_.filters, writer, *messages_,
                                [&progress](size_t done, size_t) {
                                    progress.setValue(static_cast<int>(done));
                                    QCoreApplication::processEvents();
                                    return !progress.wasCanceled();
                                });
}

void CKurvalux::ExportTextCommand(int command) {
    CObjectListElem* object = nullptr;
    if (command != kCmdExportAllMinima) {
        object = RequireObject("Export failed");
        if (!object) return;
    }
    static const std::pair<int, const char*> kNames[] = {
        {kCmdExportAllMinima, "_minima"},
        {kCmdExportTimeSeries, "_time"},
        {kCmdExportPhasedSeries, "_phased"},
        {kCmdExportPhasedTimeSeries, "_phased_time"},
        {kCmdExportTimeSeriesMinusFit, "_minus_fit"},
        {kCmdExportMinimaList, "_minima"},
        {kCmdExportEtv, "_etv"}};
    std::string suffix;
    for (const auto& n : kNames)
        if (n.first == command) suffix = n.second;
    const std::string base = object ? object->name : kurvalux_export::FieldNameOfPath(path_);
    // Refusals that need no file come before the file dialog.
    using kurvalux_export::SeriesExportKind;
    SeriesExportKind kind = SeriesExportKind::kTime;
    if (command == kCmdExportPhasedSeries) kind = SeriesExportKind::kPhased;
    if (command == kCmdExportPhasedTimeSeries) kind = SeriesExportKind::kPhasedTime;
    if (command == kCmdExportTimeSeriesMinusFit) kind = SeriesExportKind::kMinusFit;
    const bool series_export =
        command >= kCmdExportTimeSeries && command <= kCmdExportTimeSeriesMinusFit;
    if (series_export && kurvalux_export::NeedsEphemeris(kind) &&
        (object->m0 == 0 || object->period == 0)) {
        messages_->Error("Export failed",
                         {"Cannot export phased light curve", "if M0 and/or P is not defined"});
        return;
    }
    if (command == kCmdExportMinimaList && !kurvalux_export::HasMinimaInUse(*object)) {
        messages_->Error("Export failed", {"No minima defined for", "the selected object."});
        return;
    }
    const std::string path = ChooseReportFile(
        FileRequest::kSaveText, Suggest(settings_.last_export_path, base + suffix + ".txt"));
    if (path.empty()) return;
    settings_.last_export_path = FolderOf(path);
    BusyPointer busy;
    if (command == kCmdExportAllMinima)
        kurvalux_export::ExportMinimaList(field_, path, *messages_);
    else if (command == kCmdExportMinimaList)
        kurvalux_export::ExportObjectMinima(*object, path, *messages_);
    else if (command == kCmdExportEtv)
        kurvalux_export::ExportEtv(*object, path, *messages_);
    else
        kurvalux_export::ExportSeries(*object, kind, path, *messages_);
}

void CKurvalux::ExportIndividualCommand() {
    CObjectListElem* object = RequireObject("Export failed");
    if (!object) return;
    if (object->m0 == 0 || object->period == 0) {
        messages_->Error("Export failed",
                         {"Cannot export phased light curve", "if M0 and/or P is not defined"});
        return;
    }
    CFormDialog dialog("Save Series - Fit", this);
    dialog.AddChoice("", {"Use new file name", "Use original name + prefix/postfix"},
                     object->use_export_fit_name ? 0 : 1);
    dialog.AddNote("If original files are in different folders, common new file name can be used.");
    dialog.AddText("New file name:", Q(object->export_fit_name), 259);
    dialog.AddNote("Otherwise, use original file name with prefix and/or postfix.");
    dialog.AddText("File name prefix:", Q(object->export_fit_prefix), 259);
    dialog.AddText("File name postfix:", Q(object->export_fit_postfix), 259);
    dialog.AddCheck("Overwrite existing files", false);
    if (RunDialog(dialog) != QDialog::Accepted) return;
    kurvalux_export::IndividualExportOptions o;
    o.use_new_name = dialog.Choice("") == 0;
    o.new_name = dialog.Text("New file name:");
    o.prefix = dialog.Text("File name prefix:");
    o.postfix = dialog.Text("File name postfix:");
    o.overwrite = dialog.Checked("Overwrite existing files");
    // The choices are the object's, kept with it in the field file.
    if (object->use_export_fit_name != o.use_new_name || object->export_fit_name != o.new_name ||
        object->export_fit_prefix != o.prefix || object->export_fit_postfix != o.postfix) {
        object->use_export_fit_name = o.use_new_name;
        object->export_fit_name = o.new_name;
        object->export_fit_prefix = o.prefix;
        object->export_fit_postfix = o.postfix;
        MarkModified();
    }
    BusyPointer busy;
    kurvalux_export::ExportIndividualMinusFit(*object, o, *messages_);
}

void CKurvalux::CopyObjectInfo() {
    CObjectListElem* object = pane_->CurrentObject();
    if (!object) return;  // nothing selected: nothing to copy
    const std::string text = kurvalux_export::SubstituteCopyInfo(
        kurvalux_export::EffectiveCopyInfoMask(settings_.copy_data_mask),
        kurvalux_export::FieldNameOfPath(path_), *object);
    // The program's texts are 8-bit (the degree sign is 0xB0).
    QGuiApplication::clipboard()->setText(QString::fromLatin1(text.data(), qsizetype(text.size())));
}

void CKurvalux::DefineCopyInfoMask() {
    QDialog dialog(this);
    dialog.setWindowTitle("Define Copy Info Mask");
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(new QLabel("Mask keywords, substituted with values on [Ctrl+K] command:"));
    auto* grid = new QWidget(&dialog);
    auto* columns = new QHBoxLayout(grid);
    QString keywords;
    for (const auto& k : kurvalux_export::kMaskKeywords) keywords += QString(k.keyword) + "\n";
    const std::string meanings = kurvalux_export::MaskKeywordMeanings();
    columns->addWidget(new QLabel(keywords.trimmed()));
    columns->addWidget(new QLabel(
        QString::fromLatin1(meanings.data(), qsizetype(meanings.size())).replace("\r\n", "\n")));
    layout->addWidget(grid);
    auto* edit = new QLineEdit(QString::fromLatin1(
        kurvalux_export::EffectiveCopyInfoMask(settings_.copy_data_mask).c_str()));
    edit->setObjectName("mask");
    edit->setMaxLength(int(kurvalux_export::kMaskCapacity));
    edit->setMinimumWidth(600);
    layout->addWidget(edit);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    if (RunDialog(dialog) != QDialog::Accepted) return;
    const QByteArray mask = edit->text().toLatin1();
    settings_.copy_data_mask = std::string(mask.constData(), size_t(mask.size()));
}

void CKurvalux::ShowObservationSheet() {
    if (!sheet_window_) {
        sheet_window_ = new CSheetWindow(
            [this](int index) {
                pane_->SelectObject(index);
                raise();
                activateWindow();
            },
            this);
    }
    sheet_window_->Rebuild(field_);
    sheet_window_->show();
    sheet_window_->raise();
}

void CKurvalux::InstallReportActions() {
    // The sheet is opened from the keyboard (Ctrl+Shift+O) beside the menus of the command
    // table.
    auto* shortcut = new QShortcut(QKeySequence("Ctrl+Shift+O"), this);
    connect(shortcut, &QShortcut::activated, this, [this] { ShowObservationSheet(); });
}

}  // namespace kurvalux_app
