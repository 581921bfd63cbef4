#include "app/main_window.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>
#include <QUrl>
#include <algorithm>
#include <cmath>

#include "analysis/periods/frequency_analysis.h"
#include "analysis/periods/period_dialog_texts.h"
#include "analysis/periods/period_from_minima.h"
#include "app/commands.h"
#include "app/dialogs.h"
#include "app/field_scan.h"
#include "app/form_dialog.h"
#include "app/guide_viewer.h"
#include "app/kurvalux_pane.h"
#include "app/menu_table.h"
#include "app/phase_fit_view.h"
#include "app/prediction_view.h"
#include "app/qt_platform.h"
#include "app/shell_strings.h"
#include "app/web_commands.h"
#include "data/field_file.h"
#include "data/field_statistics.h"
#include "lc/chart_views.h"
#include "platform/files.h"
#include "platform/system.h"
#include "platform/text.h"

#ifdef KURVALUX_HAVE_IMG
#include "img/raster_export.h"
#endif

namespace kurvalux_app {

using kurvalux_data::CObjectListElem;
using kurvalux_platform::MessageAnswer;
using kurvalux_platform::MessageButtons;
using kurvalux_platform::MessageIcon;

namespace {

bool EndsWithNoCase(const std::string& text, const std::string& end) {
    if (text.size() < end.size()) return false;
    return kurvalux_platform::ToUpperAscii(text.substr(text.size() - end.size())) ==
           kurvalux_platform::ToUpperAscii(end);
}

QString StyleColour(kurvalux_platform::Colour c) {
    return QString("color: rgb(%1,%2,%3); font-weight: bold;")
        .arg(kurvalux_platform::RedOf(c))
        .arg(kurvalux_platform::GreenOf(c))
        .arg(kurvalux_platform::BlueOf(c));
}

}  // namespace

CKurvalux::CKurvalux(ShellOptions options, QWidget* parent)
    : QMainWindow(parent), options_(std::move(options)) {
    setObjectName("CKurvalux");
    if (options_.settings_path.empty())
        options_.settings_path = kurvalux_data::DefaultSettingsPath();
    kurvalux_data::LoadSettings(options_.settings_path, settings_);
    ApplyHeliocentricMethod();
    if (options_.messages) {
        messages_ = options_.messages;
    } else {
        qt_messages_ = std::make_unique<CQtMessageBoxSink>(this);
        messages_ = qt_messages_.get();
    }
    files_ = options_.files;
    dialogs_ = options_.dialogs;

    pane_ = new CKurvaluxPane(*this, this);
    setCentralWidget(pane_);
    connect(pane_->PhaseFitView(), &CPhaseFitView::saveFieldRequested, this,
            [this] { Dispatch(kCmdSaveField); });
    // The site dialog also sets the display switches that the menu shows checked.
    connect(pane_->Prediction(), &kurvalux_pre::CPredictionPane::settingsEdited, this, [this] {
        UpdateChecks();
        pane_->RefreshCharts(true);
    });
    BuildMenus();
    BuildToolBar();
    BuildStatusBar();
    web_ = new CWebCommands(*this);
    InstallReportActions();
    pane_->Refresh();
    UpdateTitle();
    UpdateStatus();
}

CKurvalux::~CKurvalux() = default;

// ---- menus, tool bar, status bar

void CKurvalux::BuildMenus() {
    std::vector<QMenu*> stack;
    for (const CMenuEntry& entry : MenuTable()) {
        switch (entry.row) {
            case MenuRow::kMenu: {
                QMenu* menu = stack.empty() ? menuBar()->addMenu(entry.text)
                                            : stack.back()->addMenu(entry.text);
                menu->setObjectName(entry.text);
                if (stack.empty() && std::string(entry.text) == "Field") field_menu_ = menu;
                stack.push_back(menu);
                break;
            }
            case MenuRow::kEnd:
                stack.pop_back();
                break;
            case MenuRow::kSeparator:
                stack.back()->addSeparator();
                break;
            case MenuRow::kRecentFiles:
                // Filled by RebuildRecentFiles() before the next item.
                break;
            case MenuRow::kItem: {
                QAction* action = stack.back()->addAction(entry.text);
                action->setObjectName(QString::number(entry.command));
                action->setData(entry.command);
                if (*entry.shortcut) action->setShortcut(QKeySequence(entry.shortcut));
                action->setCheckable(entry.check);
                action->setEnabled(entry.available);
                const int command = entry.command;
                connect(action, &QAction::triggered, this, [this, command] { Dispatch(command); });
                actions_[command] = action;
                if (command == kCmdNewField) recent_anchor_ = action;
                break;
            }
        }
    }
    RebuildRecentFiles();
    UpdateChecks();
}

void CKurvalux::RebuildRecentFiles() {
    for (QAction* a : recent_actions_) {
        field_menu_->removeAction(a);
        a->deleteLater();
    }
    recent_actions_.clear();
    const std::vector<std::string>& files = settings_.recent_files;
    for (size_t i = 0; i < files.size(); ++i) {
        auto* action = new QAction(Q(RecentFileMenuText(files[i])), field_menu_);
        const int command = kCmdRecentFileFirst + static_cast<int>(i);
        action->setData(command);
        action->setObjectName(QString::number(command));
        connect(action, &QAction::triggered, this, [this, command] { Dispatch(command); });
        field_menu_->insertAction(recent_anchor_, action);
        recent_actions_.push_back(action);
    }
    if (!files.empty()) {
        QAction* separator = new QAction(field_menu_);
        separator->setSeparator(true);
        field_menu_->insertAction(recent_anchor_, separator);
        recent_actions_.push_back(separator);
    }
}

void CKurvalux::BuildToolBar() {
    QToolBar* bar = addToolBar("Tools");
    bar->setObjectName("Tools");
    // 24 pixels at 96 dots per inch; Qt scales logical pixels with the screen.
    bar->setIconSize(QSize(24, 24));
    for (const CToolButton& button : ToolBarTable()) {
        QIcon icon = QIcon::fromTheme(button.icon);
        QAction* action =
            icon.isNull() ? bar->addAction(button.text) : bar->addAction(icon, button.text);
        action->setToolTip(button.text);
        action->setObjectName(QString("tool ") + button.text);
        const int command = button.command;
        connect(action, &QAction::triggered, this, [this, command] { Dispatch(command); });
    }
}

void CKurvalux::BuildStatusBar() {
    auto label = [this](const char* name) {
        auto* l = new QLabel(this);
        l->setObjectName(name);
        return l;
    };
    status_objects_ = label("status objects");
    status_series_ = label("status series");
    status_modified_ = label("status modified");
    status_source_ = label("status source");
    status_time_ = label("status time");
    status_source_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    statusBar()->addWidget(status_objects_);
    statusBar()->addWidget(status_series_);
    statusBar()->addWidget(status_modified_);
    statusBar()->addWidget(status_source_, 1);
    statusBar()->addWidget(status_time_);

    auto* panel = new QWidget(this);
    panel->setObjectName("web status");
    auto* grid = new QGridLayout(panel);
    grid->setContentsMargins(4, 0, 4, 0);
    grid->setVerticalSpacing(0);
    web_connection_ = label("web connection");
    web_state_ = label("web state");
    web_lines_ = label("web lines");
    QFont small = web_lines_->font();
    small.setPointSizeF(small.pointSizeF() * 0.85);
    web_lines_->setFont(small);
    grid->addWidget(web_connection_, 0, 0);
    grid->addWidget(web_state_, 0, 1);
    grid->addWidget(web_lines_, 1, 0, 1, 2);
    statusBar()->addPermanentWidget(panel);
}

void CKurvalux::UpdateTitle() {
    setWindowTitle(Q(WindowTitle(path_, modified_)));
}

StatusTexts CKurvalux::CurrentStatusTexts() {
    return ComputeStatusTexts(field_, pane_->CurrentObject(), pane_->CurrentSeriesIndex(),
                              modified_);
}

void CKurvalux::UpdateStatus() {
    StatusTexts texts = CurrentStatusTexts();
    status_objects_->setText(Q(texts.objects));
    status_series_->setText(Q(texts.series));
    status_modified_->setText(Q(texts.modified));
    status_source_->setText(Q(texts.source));
    status_time_->setText(Q(texts.time_system));
    if (web_) {
        session_ = web_->PanelSession();
        web_->UpdateActions();
    }
    WebStatusPanel panel = ComputeWebStatusPanel(session_);
    web_connection_->setText(Q(panel.connection));
    web_connection_->setStyleSheet(StyleColour(panel.connection_colour));
    web_state_->setText(Q(panel.state));
    web_state_->setStyleSheet(StyleColour(panel.state_colour));
    web_lines_->setText(
        Q(panel.lines[0] + "\n" + panel.lines[1] + "\n" + panel.lines[2] + "\n" + panel.lines[3]));
}

void CKurvalux::UpdateChecks() {
    auto set = [this](int command, bool on) {
        if (QAction* a = Action(command)) a->setChecked(on);
    };
    set(kCmdAutoAcceptM0Period, settings_.auto_accept_m0_period);
    set(kCmdShowMinima, settings_.show_minima);
    set(kCmdShowDeviation, settings_.show_dev);
    set(kCmdShowNowLine, settings_.show_now);
    set(kCmdShowTimeLine, settings_.show_time);
    set(kCmdCheckVersion, settings_.check_version);
    set(kCmdAccurateHeliocentric, settings_.accurate_heliocentric);
}

QAction* CKurvalux::Action(int command) const {
    auto it = actions_.find(command);
    return it == actions_.end() ? nullptr : it->second;
}

// ---- the host

void CKurvalux::MarkModified() {
    SetModified(true);
}

void CKurvalux::SetModified(bool modified) {
    modified_ = modified;
    UpdateTitle();
    UpdateStatus();
}

int CKurvalux::RunDialog(QDialog& dialog) {
    if (dialogs_) return dialogs_(dialog);
    return dialog.exec();
}

void CKurvalux::SelectionChanged() {
    UpdateStatus();
}

kurvalux_data::PathBases CKurvalux::Bases() const {
    kurvalux_data::PathBases bases;
    bases.root_directory = settings_.root_path;
    bases.program_folder = kurvalux_platform::ProgramFolder();
    bases.field_folder = FolderOf(path_);
    return bases;
}

std::string CKurvalux::ChooseFile(FileRequest request, const std::string& suggested) {
    if (files_) return files_(request, suggested);
    const QString field_filter = "KVF Kurvalux v2+ files (*.kvf);;All Files (*.*)";
    QString result;
    switch (request) {
        case FileRequest::kOpenField:
            result = QFileDialog::getOpenFileName(this, "Load Field", Q(suggested), field_filter);
            break;
        case FileRequest::kSaveField:
            result =
                QFileDialog::getSaveFileName(this, "Save Field As", Q(suggested), field_filter);
            break;
        case FileRequest::kFolder:
            result = QFileDialog::getExistingDirectory(this, "Define Root Directory", Q(suggested));
            break;
        case FileRequest::kSaveImage:
            result = QFileDialog::getSaveFileName(
                this, "Save Graph As Bitmap", Q(suggested),
                "PNG files (*.png);;JPG files (*.jpg, *.jpeg);;BMP files (*.bmp);;TIFF files "
                "(*.tif, *.tiff);;GIF files (*.gif)");
            break;
        case FileRequest::kSaveSvg:
            result = QFileDialog::getSaveFileName(this, "Save Graph As SVG", Q(suggested),
                                                  "SVG files (*.svg)");
            break;
        case FileRequest::kSaveCsv:
        case FileRequest::kSaveHtml:
        case FileRequest::kSaveText:
            return ChooseReportFile(request, suggested);
        case FileRequest::kOpenSideText:
        case FileRequest::kSaveSideText:
        case FileRequest::kImport:
            return ChooseTextFile(request, suggested);
    }
    return result.toStdString();
}

// ---- the dispatcher

bool CKurvalux::CheckWebSession(int command) {
    switch (command) {
        case kCmdWebChangePassword:
        case kCmdWebLogout:
        case kCmdWebSynchronizeField:
        case kCmdWebAddObjects:
        case kCmdWebInsertObjects:
        case kCmdWebPublish:
        case kCmdWebUnpublish:
        case kCmdWebSynchronizeObject:
            break;
        default:
            return true;
    }
    if (!session_.logged_in) {
        messages_->Error("Web Repository Offline", {"Login to some web repository prior",
                                                    "to manipulation with shared objects."});
        return false;
    }
    CObjectListElem* object = pane_->CurrentObject();
    if (command == kCmdWebSynchronizeObject && object && object->token.empty() &&
        object->publisher.empty()) {
        messages_->Error("Cannot synchronize non-shared object",
                         {"Selected objec is neither published,", "nor imported. So, it cannot be",
                          "synchronized with repository."});
        return false;
    }
    // An imported object (another observer's) is contributed to instead.
    if (command == kCmdWebPublish && object && !object->token.empty() &&
        (object->publisher.empty() || object->publisher == session_.user_id)) {
        messages_->Error(
            "Cannot publish object",
            {"Selected object already published in repository",
             "Object Token, generated upon publishing,", "can be cleard in the Meta Data pane."});
        return false;
    }
    return true;
}

bool CKurvalux::Dispatch(int command) {
    if (web_) session_ = web_->PanelSession();
    if (!CheckWebSession(command)) return true;
    if (CWebCommands::IsWebCommand(command)) {
        web_->Run(command);
        return true;
    }
    if (!CommandAvailable(command)) return false;
    if (command >= kCmdRecentFileFirst && command <= kCmdRecentFileLast) {
        LoadRecentFile(command - kCmdRecentFileFirst);
        return true;
    }
    switch (command) {
        case kCmdNewField:
            NewField();
            break;
        case kCmdLoadField:
            LoadFieldCommand();
            break;
        case kCmdSaveField:
            SaveField();
            break;
        case kCmdSaveFieldAs:
            SaveFieldAs();
            break;
        case kCmdScanEntireField:
            ScanEntireField();
            break;
        case kCmdScanFileSeries:
            ScanFileSeries();
            break;
        case kCmdLocateMissingFiles:
            LocateMissingFiles();
            break;
        case kCmdRemoveUnavailableSeries:
            RemoveUnavailableSeries();
            break;
        case kCmdStatisticsAll:
            Statistics(false);
            break;
        case kCmdStatisticsShort:
            Statistics(true);
            break;
        case kCmdFilterColours:
            FilterColours();
            break;
        case kCmdRootDirectory:
            RootDirectory();
            break;
        case kCmdAddObject:
            AddObject(false);
            break;
        case kCmdInsertObject:
            AddObject(true);
            break;
        case kCmdRemoveObject:
            RemoveObject();
            break;
        case kCmdRenameObject:
            RenameObject();
            break;
        case kCmdSortByName:
        case kCmdSortByRa:
        case kCmdSortByDec:
            SortObjects(command);
            break;
        case kCmdSaveGraphBitmap:
            SaveGraph(false);
            break;
        case kCmdSaveGraphSvg:
            SaveGraph(true);
            break;
        case kCmdAutoAcceptM0Period:
        case kCmdAccurateHeliocentric:
        case kCmdShowMinima:
        case kCmdShowDeviation:
        case kCmdShowNowLine:
        case kCmdShowTimeLine:
        case kCmdCheckVersion:
            ToggleCheck(command);
            break;
        case kCmdSelectAllSeries:
        case kCmdDeselectAllSeries:
        case kCmdSelectSeriesByFilter:
        case kCmdSelectSeriesByContributor:
            SelectSeries(command);
            break;
        case kCmdListOfMinima:
            ListOfMinima();
            break;
        case kCmdSelectAllMinima:
            SelectMinima(true);
            break;
        case kCmdDeselectAllMinima:
            SelectMinima(false);
            break;
        case kCmdMinimumParameters:
            MinimumParameters();
            break;
        case kCmdRemoveMinimum:
            RemoveMinimum();
            break;
        case kCmdPeriodsFromMinima:
            PeriodsFromMinima();
            break;
        case kCmdPeriodsByFrequency:
            PeriodsByFrequency();
            break;
        case kCmdUsersGuide:
            UsersGuide();
            break;
        case kCmdAbout:
            About();
            break;
        case kCmdZoomIn:
            pane_->ZoomIn();
            break;
        case kCmdZoomOut:
            pane_->ZoomOut();
            break;
        case kCmdClearZoom:
            pane_->ClearZoom();
            break;
        default:
            return DispatchReport(command) || DispatchSide(command);
    }
    return true;
}

CObjectListElem* CKurvalux::RequireObject(const char* title) {
    CObjectListElem* object = pane_->CurrentObject();
    if (!object) messages_->Error(title, {"No object selected"});
    return object;
}

// ---- Field

bool CKurvalux::AskReplaceField(bool new_field) {
    if (!modified_) return true;
    MessageAnswer answer = messages_->Show(kFieldModifiedTitle, ReplaceFieldQuestion(new_field),
                                           MessageIcon::Question, MessageButtons::YesNoCancel);
    if (answer == MessageAnswer::Yes) return SaveField();
    return answer == MessageAnswer::No;
}

void CKurvalux::NewField() {
    if (!AskReplaceField(true)) return;
    field_.Clear();
    path_.clear();
    SetModified(false);
    pane_->Refresh();
    emit fieldReplaced();
}

bool CKurvalux::OpenField(const std::string& path) {
    kurvalux_data::Field loaded;
    kurvalux_data::FieldLoadOptions options;
    options.bases = Bases();
    options.bases.field_folder = FolderOf(path);
    if (web_) options.web_series = web_->WebSeriesLoader();
    // The boxes of a load are gathered and shown as one report once the field is up, not as
    // one modal box per series while it loads.
    kurvalux_platform::CRecordingMessageBoxSink gathered;
    QApplication::setOverrideCursor(Qt::BusyCursor);
    kurvalux_data::FieldLoadResult result =
        kurvalux_data::LoadField(path, loaded, options, gathered);
    QApplication::restoreOverrideCursor();
    if (!result.ok) {
        for (const auto& box : gathered.Records())
            messages_->Show(box.title, box.lines, box.icon, box.buttons);
        return false;
    }
    field_ = std::move(loaded);
    path_ = path;
    settings_.AddRecentFile(path);
    settings_.last_open_path = FolderOf(path);
    RebuildRecentFiles();
    SetModified(result.series_removed);
    pane_->Refresh();
    emit fieldReplaced();
    ReportLoad(gathered.Records(), result.series_unavailable);
    return true;
}

void CKurvalux::LoadFieldCommand() {
    if (!AskReplaceField(false)) return;
    std::string suggested = path_.empty() ? settings_.last_open_path : path_;
    if (EndsWithNoCase(suggested, "xml"))
        suggested = kurvalux_platform::ReplaceExtension(suggested, "kvf");
    std::string path = ChooseFile(FileRequest::kOpenField, suggested);
    if (!path.empty()) OpenField(path);
}

void CKurvalux::LoadRecentFile(int index) {
    if (index < 0 || index >= static_cast<int>(settings_.recent_files.size())) return;
    std::string path = settings_.recent_files[static_cast<size_t>(index)];
    if (!AskReplaceField(false)) return;
    OpenField(path);
}

bool CKurvalux::SaveFieldTo(const std::string& path) {
    QApplication::setOverrideCursor(Qt::BusyCursor);
    bool ok = kurvalux_data::SaveField(path, field_, *messages_);
    QApplication::restoreOverrideCursor();
    if (!ok) return false;
    path_ = path;
    settings_.AddRecentFile(path);
    RebuildRecentFiles();
    SetModified(false);
    return true;
}

bool CKurvalux::SaveField() {
    if (path_.empty()) return SaveFieldAs();
    return SaveFieldTo(path_);
}

bool CKurvalux::SaveFieldAs() {
    std::string suggested = path_;
    if (EndsWithNoCase(suggested, "xml"))
        suggested = kurvalux_platform::ReplaceExtension(suggested, "kvf");
    std::string path = ChooseFile(FileRequest::kSaveField, suggested);
    if (path.empty()) return false;
    if (QFileInfo(Q(path)).suffix().isEmpty()) path += ".kvf";
    return SaveFieldTo(path);
}

void CKurvalux::ScanFileSeries() {
    CObjectListElem* object = RequireObject(kScanTitle);
    if (!object) return;
    QApplication::setOverrideCursor(Qt::BusyCursor);
    ScanResult result = RescanObject(*object, Bases(), *messages_);
    QApplication::restoreOverrideCursor();
    if (result.Changed()) MarkModified();
    pane_->RefreshObject();
    messages_->Show(kScanTitle, ScanSummary(result), MessageIcon::Information, MessageButtons::Ok);
}

void CKurvalux::ScanEntireField() {
    ScanResult total;
    QApplication::setOverrideCursor(Qt::BusyCursor);
    for (auto& object : field_.objects) {
        ScanResult r = RescanObject(*object, Bases(), *messages_);
        total.reread += r.reread;
        total.added += r.added;
        total.removed += r.removed;
        total.unavailable += r.unavailable;
    }
    QApplication::restoreOverrideCursor();
    if (total.Changed()) MarkModified();
    pane_->RefreshObject();
    messages_->Show(kScanTitle, ScanSummary(total), MessageIcon::Information, MessageButtons::Ok);
}

void CKurvalux::Statistics(bool short_only) {
    kurvalux_data::FieldStatistics statistics =
        kurvalux_data::ComputeFieldStatistics(field_, short_only);
    messages_->Show(kurvalux_data::kFieldStatisticsTitle,
                    kurvalux_data::FieldStatisticsLines(statistics), MessageIcon::Information,
                    MessageButtons::Ok);
}

void CKurvalux::FilterColours() {
    CFilterTableDialog dialog(
        settings_.filters, *messages_, [this](QDialog& d) { return RunDialog(d); }, this);
    if (RunDialog(dialog) != QDialog::Accepted) return;
    settings_.filters = dialog.Table();
    WriteSettings();
    pane_->RefreshCharts(true);
}

void CKurvalux::RootDirectory() {
    std::string folder = ChooseFile(FileRequest::kFolder, settings_.root_path);
    if (folder.empty()) return;
    kurvalux_platform::AssignCut(settings_.root_path, folder, kurvalux_data::kPathCapacity);
    WriteSettings();
}

// ---- Help

void CKurvalux::UsersGuide() {
    // Beside the program in a build tree, under share/doc when installed, else the sources.
    std::vector<std::string> candidates = {
        kurvalux_platform::ProgramFolder() + "users_guide.md",
        kurvalux_platform::ProgramFolder() + "../share/doc/kurvalux/users_guide.md",
        KURVALUX_USER_GUIDE};
    for (const std::string& path : candidates)
        if (kurvalux_platform::FileExists(path)) {
            // A desktop without a program for Markdown still gets the guide, in our own window.
            if (!QDesktopServices::openUrl(QUrl::fromLocalFile(Q(path))) &&
                !ShowGuideWindow(this, path))
                messages_->Error("User's Guide", {"Cannot read the user's guide:", path});
            return;
        }
    messages_->Error("User's Guide", {"Cannot find the user's guide:", candidates.back()});
}

void CKurvalux::About() {
    messages_->Show("About KURVALUX", AboutLines(), MessageIcon::Information, MessageButtons::Ok);
}

// ---- placement and closing

void CKurvalux::RestorePlacement() {
    QRect wanted(settings_.x_pos, settings_.y_pos, settings_.width, settings_.depth);
    // A placement from another screen layout is brought back onto the screen.
    if (QScreen* screen = QApplication::primaryScreen()) {
        QRect available = screen->availableGeometry();
        wanted.setWidth(std::min(wanted.width(), available.width()));
        wanted.setHeight(std::min(wanted.height(), available.height()));
        if (!available.intersects(wanted)) wanted.moveTopLeft(available.topLeft());
    }
    if (wanted.width() > 200 && wanted.height() > 150) setGeometry(wanted);
    pane_->SetSplitterPositions({settings_.splitter1, settings_.splitter2, settings_.splitter3});
}

void CKurvalux::StorePlacement() {
    settings_.maximized = isMaximized();
    if (!isMaximized() && !isMinimized()) {
        QRect g = geometry();
        settings_.x_pos = g.x();
        settings_.y_pos = g.y();
        settings_.width = g.width();
        settings_.depth = g.height();
    }
    std::array<int, 3> s = pane_->SplitterPositions();
    settings_.splitter1 = s[0];
    settings_.splitter2 = s[1];
    settings_.splitter3 = s[2];
}

void CKurvalux::WriteSettings() {
    if (options_.save_settings) kurvalux_data::SaveSettings(options_.settings_path, settings_);
}

bool CKurvalux::ConfirmClose() {
    return messages_->Show(kCloseTitle, CloseQuestion(modified_), MessageIcon::Question,
                           MessageButtons::YesNo) == MessageAnswer::Yes;
}

void CKurvalux::closeEvent(QCloseEvent* event) {
    if (!ConfirmClose()) {
        event->ignore();
        return;
    }
    StorePlacement();
    WriteSettings();
    event->accept();
}

}  // namespace kurvalux_app
