#pragma once
// CKurvalux: the main window. It owns the one Field, its path and modified flag, the
// settings, the menus and tool bar built from the command table, the status bar, and the
// dispatcher that hands every command number to the code that carries it out.
#include <QMainWindow>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "app/shell_host.h"
#include "app/shell_texts.h"
#include "data/field.h"
#include "data/settings.h"
#include "platform/message_box.h"

class QAction;
class QLabel;
class QMenu;
class QCloseEvent;

namespace kurvalux_data {
struct ImportOptions;
}

namespace kurvalux_app {

class CKurvaluxPane;
class CSheetWindow;
class CFormDialog;
class CQtMessageBoxSink;
class CWebCommands;

// What a file dialog is asked for.
// kSaveText: a report's text file; kOpenSideText / kSaveSideText: the .txt files of fit
// parameters, object data, offsets and alternate names; kImport: a foreign photometry file.
enum class FileRequest {
    kOpenField,
    kSaveField,
    kFolder,
    kSaveImage,
    kSaveSvg,
    kSaveCsv,
    kSaveHtml,
    kSaveText,
    kOpenSideText,
    kSaveSideText,
    kImport
};
// Returns the chosen path, or empty when cancelled. `suggested` is the proposed file or folder.
using FileChooser = std::function<std::string(FileRequest, const std::string& suggested)>;
using DialogRunner = std::function<int(QDialog&)>;

struct ShellOptions {
    std::string settings_path;                               // empty: the user's settings file
    bool save_settings = true;                               // written when the window closes
    kurvalux_platform::CMessageBoxSink* messages = nullptr;  // null: real message boxes
    FileChooser files;                                       // null: Qt file dialogs
    DialogRunner dialogs;                                    // null: QDialog::exec()
};

class CKurvalux : public QMainWindow, public CShellHost {
    Q_OBJECT
public:
    explicit CKurvalux(ShellOptions options = {}, QWidget* parent = nullptr);
    ~CKurvalux() override;

    // CShellHost
    kurvalux_data::Field& GetField() override { return field_; }
    kurvalux_data::Settings& GetSettings() override { return settings_; }
    kurvalux_platform::CMessageBoxSink& Messages() override { return *messages_; }
    void MarkModified() override;
    int RunDialog(QDialog& dialog) override;
    void SelectionChanged() override;
    kurvalux_data::PathBases Bases() const override;

    // Carries out a command; false when it is unknown or not available in this build.
    bool Dispatch(int command);

    // Loads a field file (no question asked); false when it failed (the field stays).
    bool OpenField(const std::string& path);
    bool SaveFieldTo(const std::string& path);

    const std::string& Path() const { return path_; }
    bool Modified() const { return modified_; }
    void SetModified(bool modified);
    CKurvaluxPane* Pane() { return pane_; }
    StatusTexts CurrentStatusTexts();
    QAction* Action(int command) const;
    QMenu* FieldMenu() const { return field_menu_; }
    const WebSession& Session() const { return session_; }
    // The repository, catalogue and version commands (web_commands.cpp).
    CWebCommands* Web() { return web_; }

    void SetDialogRunner(DialogRunner runner) { dialogs_ = std::move(runner); }
    void SetFileChooser(FileChooser chooser) { files_ = std::move(chooser); }
    // The observation sheet window (Ctrl+Shift+O), built anew from the Field.
    void ShowObservationSheet();

    // Placement and splitters from the settings (start-up) and back (closing).
    void RestorePlacement();
    void StorePlacement();
    // Asks the closing question; true when the window may close.
    bool ConfirmClose();
    void WriteSettings();

signals:
    void fieldReplaced();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    friend class CWebCommands;
    void BuildMenus();
    void BuildToolBar();
    void BuildStatusBar();
    void RebuildRecentFiles();
    void UpdateTitle();
    void UpdateStatus();
    void UpdateChecks();

    // Before the field is replaced: true to go on.
    bool AskReplaceField(bool new_field);
    bool CheckWebSession(int command);
    kurvalux_data::CObjectListElem* RequireObject(const char* title);

    // Command handlers.
    void NewField();
    void LoadFieldCommand();
    void LoadRecentFile(int index);
    bool SaveField();
    bool SaveFieldAs();
    void ScanFileSeries();
    void ScanEntireField();
    // Unavailable series: the one report after a load, finding their files, removing them
    // (unavailable_series.cpp).
    void ReportLoad(const std::vector<kurvalux_platform::MessageBoxRecord>& boxes, int unavailable);
    void LocateMissingFiles();
    void RemoveUnavailableSeries();
    void Statistics(bool short_only);
    void AddObject(bool insert);
    std::unique_ptr<kurvalux_data::CObjectListElem> NewObjectFromDialog(
        CFormDialog& dialog, const std::string& name) const;
    void RemoveObject();
    void RenameObject();
    void SortObjects(int command);
    void SelectSeries(int command);
    void ListOfMinima();
    void SelectMinima(bool enabled);
    void MinimumParameters();
    void RemoveMinimum();
    void ToggleCheck(int command);
    // Geocentric series loaded from now on convert by the method the settings choose.
    void ApplyHeliocentricMethod();
    void FilterColours();
    void RootDirectory();
    void SaveGraph(bool svg);
    void PeriodsFromMinima();
    void PeriodsByFrequency();
    void AcceptFoundPeriod(kurvalux_data::CObjectListElem& object,
                           const std::vector<kurvalux_data::CPeriodListElem>& offered);
    void UsersGuide();
    void About();
    // Reports (main_window_reports.cpp).
    bool DispatchReport(int command);
    std::string ChooseReportFile(FileRequest request, const std::string& suggested);
    void ExportCsvCommand();
    void ExportHtmlCommand();
    void ExportTextCommand(int command);
    void ExportIndividualCommand();
    void CopyObjectInfo();
    void DefineCopyInfoMask();
    void InstallReportActions();
    CSheetWindow* sheet_window_ = nullptr;
    // Side texts, series offsets, levelling and imports (main_window_side.cpp).
    bool DispatchSide(int command);
    void SideSave(int command);
    void SideLoad(int command);
    void SideCopy(int command);
    void SidePaste(int command);
    void LoadAlternateNames();
    void LevelSeries(int command);
    void ClearSeriesOffsets();
    void ImportPhotometry();
    bool AskImportOptions(kurvalux_data::ImportOptions& options, double& gap_hours);
    std::string ChooseTextFile(FileRequest request, const std::string& title);

    std::string ChooseFile(FileRequest request, const std::string& suggested);

    kurvalux_data::Field field_;
    std::string path_;
    bool modified_ = false;
    kurvalux_data::Settings settings_;
    ShellOptions options_;
    std::unique_ptr<CQtMessageBoxSink> qt_messages_;
    kurvalux_platform::CMessageBoxSink* messages_;
    FileChooser files_;
    DialogRunner dialogs_;
    WebSession session_;
    CWebCommands* web_ = nullptr;

    CKurvaluxPane* pane_ = nullptr;
    QMenu* field_menu_ = nullptr;
    QAction* recent_anchor_ = nullptr;  // the first item after the recent files
    std::vector<QAction*> recent_actions_;
    std::map<int, QAction*> actions_;
    QLabel* status_objects_;
    QLabel* status_series_;
    QLabel* status_modified_;
    QLabel* status_source_;
    QLabel* status_time_;
    QLabel* web_connection_;
    QLabel* web_state_;
    QLabel* web_lines_;
};

}  // namespace kurvalux_app
