// The window's commands on objects, series, minima and periods; the dispatcher in
// main_window.cpp routes the menu commands here.
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
#include "app/kurvalux_pane.h"
#include "app/menu_table.h"
#include "app/phase_fit_view.h"
#include "app/qt_platform.h"
#include "app/shell_strings.h"
#include "data/field_file.h"
#include "data/field_statistics.h"
#include "data/heliocentric.h"
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

// The period search's result and the values it remembers for the next use in this run.
kurvalux_analysis::PeriodFromMinimaOptions& LastMinimaOptions() {
    static kurvalux_analysis::PeriodFromMinimaOptions options;
    return options;
}

}  // namespace

// ---- Objects

// The object the "Add Object" form describes, its folder not scanned yet.
std::unique_ptr<CObjectListElem> CKurvalux::NewObjectFromDialog(CFormDialog& dialog,
                                                                const std::string& name) const {
    auto object = std::make_unique<CObjectListElem>();
    kurvalux_platform::AssignCut(object->name, name, kurvalux_data::kNameCapacity);
    std::string folder = dialog.Text("Photometry folder:");
    object->absolute_path = folder;
    std::string relative = folder;
    const std::string& root = settings_.root_path;
    if (!root.empty() && folder.size() > root.size() && folder.compare(0, root.size(), root) == 0) {
        relative = folder.substr(root.size());
        while (!relative.empty() && (relative[0] == '/' || relative[0] == '\\'))
            relative.erase(0, 1);
    }
    object->relative_path = relative;
    object->dir_key = dialog.Text("Folder key:");
    object->file_names = dialog.Text("File names:");
    return object;
}

void CKurvalux::AddObject(bool insert) {
    CFormDialog dialog(insert ? "Insert Object" : "Add Object", this);
    dialog.AddText("Object name:", "", kurvalux_data::kNameCapacity);
    dialog.AddText("Photometry folder:", Q(settings_.root_path), kurvalux_data::kPathCapacity);
    dialog.AddText("Folder key:", "", kurvalux_data::kPathCapacity);
    dialog.AddText("File names:", "*.txt", kurvalux_data::kPathCapacity);
    auto* browse = new QPushButton("Choose folder...");
    dialog.AddWidget("", browse);
    connect(browse, &QPushButton::clicked, &dialog, [this, &dialog] {
        std::string folder = ChooseFile(FileRequest::kFolder, dialog.Text("Photometry folder:"));
        if (!folder.empty()) dialog.SetBoxText("Photometry folder:", Q(folder));
    });
    dialog.AddNote(
        "The photometry files of the folder (or of its sub-folders matching the "
        "folder key) whose names match the file names become the object's series.");
    const char* title = insert ? "Insert Object" : "Add Object";
    std::unique_ptr<CObjectListElem> object;
    for (;;) {
        if (RunDialog(dialog) != QDialog::Accepted) return;
        std::string name(kurvalux_platform::TrimBlanks(dialog.Text("Object name:")));
        if (name.empty()) {
            messages_->Error(title, {"The object needs a name."});
            continue;
        }
        object = NewObjectFromDialog(dialog, name);
        if (object->absolute_path.empty()) break;  // an object whose photometry comes later
        // A mistyped folder would otherwise give an object without series and no word why.
        const std::string& folder = object->absolute_path;
        if (!kurvalux_platform::FolderExists(ObjectFolder(*object, Bases()))) {
            messages_->Error(title, {"The photometry folder does not exist:", folder});
            continue;
        }
        kurvalux_platform::CRecordingMessageBoxSink refusals;
        if (RescanObject(*object, Bases(), refusals).added > 0) {
            for (const auto& box : refusals.Records())
                messages_->Show(box.title, box.lines, box.icon, box.buttons);
            break;
        }
        messages_->Error(title, {"No photometry file in the folder:", folder,
                                 "(file names \"" + object->file_names + "\", folder key \"" +
                                     object->dir_key + "\")"});
    }
    int index = static_cast<int>(field_.objects.size());
    if (insert && pane_->CurrentObjectIndex() >= 0) index = pane_->CurrentObjectIndex();
    field_.objects.insert(field_.objects.begin() + index, std::move(object));
    MarkModified();
    pane_->RefreshObjects();
    pane_->SelectObject(index);
}

void CKurvalux::RemoveObject() {
    CObjectListElem* object = RequireObject("Remove Object");
    if (!object) return;
    if (messages_->Show("Remove Object",
                        {"Do you want to remove the object", object->name + " from the field?"},
                        MessageIcon::Question, MessageButtons::YesNo) != MessageAnswer::Yes)
        return;
    field_.objects.erase(field_.objects.begin() + pane_->CurrentObjectIndex());
    MarkModified();
    pane_->RefreshObjects();
}

void CKurvalux::RenameObject() {
    CObjectListElem* object = RequireObject("Rename Object");
    if (!object) return;
    CFormDialog dialog("Rename Object", this);
    dialog.AddText("Object name:", Q(object->name), kurvalux_data::kNameCapacity);
    if (RunDialog(dialog) != QDialog::Accepted) return;
    std::string name(kurvalux_platform::TrimBlanks(dialog.Text("Object name:")));
    if (name.empty() || name == object->name) return;
    kurvalux_platform::AssignCut(object->name, name, kurvalux_data::kNameCapacity);
    MarkModified();
    pane_->RefreshObjects();
}

void CKurvalux::SortObjects(int command) {
    CObjectListElem* current = pane_->CurrentObject();
    auto coordinate = [command](const CObjectListElem& o) -> double {
        double ra = 0, dec = 0;
        if (!o.Coordinates(ra, dec)) return INFINITY;  // unknown positions go last
        return command == kCmdSortByRa ? ra : dec;
    };
    std::stable_sort(field_.objects.begin(), field_.objects.end(),
                     [&](const auto& a, const auto& b) {
                         if (command == kCmdSortByName) return a->name < b->name;
                         return coordinate(*a) < coordinate(*b);
                     });
    MarkModified();
    pane_->RefreshObjects();
    for (size_t i = 0; i < field_.objects.size(); ++i)
        if (field_.objects[i].get() == current) pane_->SelectObject(static_cast<int>(i));
}

void CKurvalux::SaveGraph(bool svg) {
    CChartCanvas* canvas = pane_->CurrentCanvas();
    CObjectListElem* object = pane_->CurrentObject();
    if (!canvas || !canvas->HasChart() || !object) {
        messages_->Error(
            "Error", {"The selected Tab does not contain chart", "Cannot export chart as image"});
        return;
    }
    std::string& last =
        svg ? settings_.last_chart_svg_export_path : settings_.last_chart_image_export_path;
    std::string suggested = last.empty() ? object->name : last + "/" + object->name;
    suggested += svg ? ".svg" : ".png";
    std::string path = ChooseFile(svg ? FileRequest::kSaveSvg : FileRequest::kSaveImage, suggested);
    if (path.empty()) return;

    // The size is asked each time (a slide wants another size than a web page) and kept as the
    // next proposal. The bounds keep a raster image under 256 MB of pixels.
    constexpr long kLargestSide = 8192;
    CFormDialog dimensions(
        svg ? "Choose dimensions of exported SVG" : "Choose dimensions of exported image", this);
    dimensions.AddCount("Width:", std::clamp<long>(settings_.export_image_width, 16, kLargestSide),
                        16, kLargestSide);
    dimensions.AddCount("Depth:", std::clamp<long>(settings_.export_image_depth, 16, kLargestSide),
                        16, kLargestSide);
    dimensions.AddCheck("Include title string", true);
    dimensions.AddText("Title:", Q(object->name), 127);
    if (RunDialog(dimensions) != QDialog::Accepted) return;
    const int width = static_cast<int>(dimensions.Count("Width:"));
    const int height = static_cast<int>(dimensions.Count("Depth:"));
    settings_.export_image_width = width;
    settings_.export_image_depth = height;
    const std::string title =
        dimensions.Checked("Include title string") ? dimensions.Text("Title:") : std::string();

    kurvalux_lc::CLightCurvePane& pane = *canvas->Pane();
    bool ok = false;
    if (svg) {
        ok = pane.ExportSvg(path, width, height, title, *messages_);
    } else {
#ifdef KURVALUX_HAVE_IMG
        ok = kurvalux_img::ExportRasterByExtension(pane, path, width, height, title, *messages_);
#endif
    }
    canvas->Invalidate();
    if (ok) last = FolderOf(path);
}

// ---- Series

void CKurvalux::SelectSeries(int command) {
    CObjectListElem* object = RequireObject("Select series");
    if (!object) return;
    std::vector<bool> enable(object->series.size());
    if (command == kCmdSelectAllSeries || command == kCmdDeselectAllSeries) {
        std::fill(enable.begin(), enable.end(), command == kCmdSelectAllSeries);
    } else {
        bool by_filter = command == kCmdSelectSeriesByFilter;
        auto key = [by_filter](const kurvalux_data::CSeriesTreeElem& s) -> std::string {
            if (by_filter) return s.EffectiveMetaData().filter;
            if (s.IsLocal()) return "(local files)";
            auto* web = dynamic_cast<const kurvalux_data::CWebSeriesTreeElem*>(&s);
            return web ? web->publisher : std::string();
        };
        QStringList items;
        for (const auto& s : object->series)
            if (!items.contains(Q(key(*s)))) items << Q(key(*s));
        items.sort();
        CFormDialog dialog(by_filter ? "Select series by filter" : "Select series by contributor",
                           this);
        dialog.AddChoice(by_filter ? "Filter:" : "Contributor:", items, 0);
        if (RunDialog(dialog) != QDialog::Accepted) return;
        std::string chosen =
            dialog.ChoiceText(by_filter ? "Filter:" : "Contributor:").toStdString();
        for (size_t k = 0; k < object->series.size(); ++k)
            enable[k] = key(*object->series[k]) == chosen;
    }
    bool changed = false;
    for (size_t k = 0; k < object->series.size(); ++k)
        if (object->series[k]->enabled != enable[k]) {
            object->series[k]->enabled = enable[k];
            changed = true;
        }
    if (changed) MarkModified();
    pane_->RefreshObject();
}

// ---- Minima

void CKurvalux::ListOfMinima() {
    CObjectListElem* object = RequireObject("List of minima");
    if (!object) return;
    CMinimaListDialog dialog(
        *object, kurvalux_time::Site{settings_.longitude, settings_.latitude, 0.0}, this);
    RunDialog(dialog);
}

void CKurvalux::SelectMinima(bool enabled) {
    CObjectListElem* object = RequireObject(enabled ? "Select all minima" : "Deselect all minima");
    if (!object) return;
    bool changed = false;
    for (auto& s : object->series)
        for (auto& m : s->minima)
            if (m.enabled != enabled) {
                m.enabled = enabled;
                changed = true;
            }
    if (changed) MarkModified();
    pane_->RefreshObject();
}

void CKurvalux::MinimumParameters() {
    CObjectListElem* object = RequireObject("Minimum parameters");
    if (!object) return;
    int k = -1, j = -1;
    if (!pane_->CurrentMinimum(k, j) || k >= static_cast<int>(object->series.size()) ||
        j >= static_cast<int>(object->series[static_cast<size_t>(k)]->minima.size())) {
        messages_->Error("Minimum parameters", {"Select a minimum in the series tree first"});
        return;
    }
    kurvalux_data::CMinimaList& minima = object->series[static_cast<size_t>(k)]->minima;
    kurvalux_data::CMinimaListElem& m = minima[static_cast<size_t>(j)];
    CFormDialog dialog("Minimum parameters", this);
    dialog.AddChoice("Type:", {"Undefined", "Primary", "Secondary"}, static_cast<int>(m.type));
    dialog.AddReal("Time:", m.time, 0, 1e8, 6);
    dialog.AddReal("Error:", m.error, 0, 1e6, 6);
    dialog.AddCheck("Use minimum", m.enabled);
    if (RunDialog(dialog) != QDialog::Accepted) return;
    kurvalux_data::CMinimaListElem edited;
    edited.type = static_cast<uint32_t>(std::max(0, dialog.Choice("Type:")));
    edited.time = dialog.Real("Time:");
    edited.error = dialog.Real("Error:");
    edited.enabled = dialog.Checked("Use minimum");
    if (edited == m) return;
    m = edited;
    std::stable_sort(minima.begin(), minima.end(),
                     [](const auto& a, const auto& b) { return a.time < b.time; });
    MarkModified();
    pane_->RefreshObject();
}

void CKurvalux::RemoveMinimum() {
    CObjectListElem* object = RequireObject("Remove minimum");
    if (!object) return;
    int k = -1, j = -1;
    if (!pane_->CurrentMinimum(k, j) || k >= static_cast<int>(object->series.size()) ||
        j >= static_cast<int>(object->series[static_cast<size_t>(k)]->minima.size())) {
        messages_->Error("Remove minimum", {"Select a minimum in the series tree first"});
        return;
    }
    kurvalux_data::CMinimaList& minima = object->series[static_cast<size_t>(k)]->minima;
    if (messages_->Show("Remove minimum",
                        {"Do you want to remove the minimum",
                         kurvalux_platform::FormatFixed(minima[static_cast<size_t>(j)].time, 6) +
                             " of series " + std::to_string(k + 1) + "?"},
                        MessageIcon::Question, MessageButtons::YesNo) != MessageAnswer::Yes)
        return;
    minima.erase(minima.begin() + j);
    MarkModified();
    pane_->RefreshObject();
}

// ---- check items

void CKurvalux::ToggleCheck(int command) {
    bool* setting = nullptr;
    switch (command) {
        case kCmdAutoAcceptM0Period:
            setting = &settings_.auto_accept_m0_period;
            break;
        case kCmdShowMinima:
            setting = &settings_.show_minima;
            break;
        case kCmdShowDeviation:
            setting = &settings_.show_dev;
            break;
        case kCmdShowNowLine:
            setting = &settings_.show_now;
            break;
        case kCmdShowTimeLine:
            setting = &settings_.show_time;
            break;
        case kCmdCheckVersion:
            setting = &settings_.check_version;
            break;
        case kCmdAccurateHeliocentric:
            setting = &settings_.accurate_heliocentric;
            break;
        default:
            return;
    }
    *setting = !*setting;
    UpdateChecks();
    WriteSettings();
    if (command == kCmdAccurateHeliocentric) {
        ApplyHeliocentricMethod();
        // Series already open keep the times they were converted with.
        statusBar()->showMessage(
            "The heliocentric conversion applies to series loaded from now on: reload the field "
            "to convert its series again",
            10000);
    }
    pane_->RefreshCharts(true);
}

void CKurvalux::ApplyHeliocentricMethod() {
    kurvalux_data::SetHeliocentricMethod(settings_.accurate_heliocentric
                                             ? kurvalux_data::HeliocentricMethod::kAccurate
                                             : kurvalux_data::HeliocentricMethod::kShortFormula);
}

// ---- Periods

void CKurvalux::AcceptFoundPeriod(CObjectListElem& object,
                                  const std::vector<kurvalux_data::CPeriodListElem>& offered) {
    // With "Automatically accept M0, P changes" the best period the search offered becomes the
    // object's (the list may also hold the current period and those of earlier searches).
    if (!settings_.auto_accept_m0_period) return;
    for (const kurvalux_data::CPeriodListElem& p : offered) {
        if (p.Chosen() == object.period) continue;
        object.period = p.Chosen();
        MarkModified();
        return;
    }
}

void CKurvalux::PeriodsFromMinima() {
    CObjectListElem* object = RequireObject("Cannot find period");
    if (!object) return;
    kurvalux_analysis::MinimaGathering gathering = kurvalux_analysis::GatherSearchMinima(*object);
    for (const auto& box : gathering.messages)
        messages_->Show(box.title, box.lines, box.icon, box.buttons);
    if (!gathering.can_search) return;
    kurvalux_analysis::PeriodFromMinimaOptions& last = LastMinimaOptions();
    constexpr double kMax = 1.7976931348623157e308;
    CFormDialog dialog(kurvalux_analysis::kMinimaDialogTitle, this);
    dialog.AddReal("Minimal period [d]:", last.min_period, -kMax, kMax);
    dialog.AddReal("Phase difference limit:", last.limit, -kMax, kMax);
    dialog.AddReal("Secondary minimum phase:", last.secondary_phase, -kMax, kMax);
    if (RunDialog(dialog) != QDialog::Accepted) return;
    last.min_period = dialog.Real("Minimal period [d]:");
    last.limit = dialog.Real("Phase difference limit:");
    last.secondary_phase = dialog.Real("Secondary minimum phase:");
    std::string problem = kurvalux_analysis::CheckPeriodFromMinimaOptions(last);
    if (!problem.empty()) {
        messages_->Error("Cannot find period", {problem});
        return;
    }
    QApplication::setOverrideCursor(Qt::BusyCursor);
    kurvalux_analysis::PeriodCommandResult result =
        kurvalux_analysis::RunPeriodsFromMinima(*object, gathering.minima, last);
    QApplication::restoreOverrideCursor();
    if (result.found) AcceptFoundPeriod(*object, result.offered);
    pane_->RefreshObject();
    for (const auto& box : result.messages)
        messages_->Show(box.title, box.lines, box.icon, box.buttons);
}

void CKurvalux::PeriodsByFrequency() {
    CObjectListElem* object = RequireObject("Cannot find period");
    if (!object) return;
    kurvalux_analysis::FrequencyAnalysisOptions& last =
        kurvalux_analysis::LastFrequencyAnalysisOptions();
    constexpr double kMax = 1.7976931348623157e308;
    CFormDialog dialog("Find periods by Frequency analysis", this);
    dialog.AddReal("Minimal period [d]:", last.min_period, 0, kMax);
    dialog.AddReal("Maximal period [d]:", last.max_period, 0, kMax);
    dialog.AddReal("Resolution [d]:", last.resolution, 0, kMax);
    dialog.AddCount(
        "Number of steps:", std::max<int64_t>(0, kurvalux_analysis::FrequencyAnalysisSteps(last)),
        0, kurvalux_analysis::kMaxFrequencySteps);
    dialog.AddCheck("Double the periods (one minimum per cycle found)", last.double_periods);
    // "Number of steps:" follows the three boxes above it.
    auto* steps = qobject_cast<QLineEdit*>(dialog.Box("Number of steps:"));
    steps->setReadOnly(true);
    auto update_steps = [&dialog, steps] {
        kurvalux_analysis::FrequencyAnalysisOptions o;
        o.min_period = dialog.Real("Minimal period [d]:");
        o.max_period = dialog.Real("Maximal period [d]:");
        o.resolution = dialog.Real("Resolution [d]:");
        steps->setText(
            QString::number(std::max<int64_t>(0, kurvalux_analysis::FrequencyAnalysisSteps(o))));
    };
    for (const char* label : {"Minimal period [d]:", "Maximal period [d]:", "Resolution [d]:"})
        connect(qobject_cast<QLineEdit*>(dialog.Box(label)), &QLineEdit::textChanged, &dialog,
                update_steps);
    if (RunDialog(dialog) != QDialog::Accepted) return;
    last.min_period = dialog.Real("Minimal period [d]:");
    last.max_period = dialog.Real("Maximal period [d]:");
    last.resolution = dialog.Real("Resolution [d]:");
    last.double_periods = dialog.Checked("Double the periods (one minimum per cycle found)");

    const int64_t grid_steps = kurvalux_analysis::FrequencyAnalysisSteps(last);
    CFrequencyProgressDialog progress(this,
                                      grid_steps >= 0 ? static_cast<uint64_t>(grid_steps) + 1 : 0);
    progress.show();
    QApplication::setOverrideCursor(Qt::BusyCursor);
    // The workers' messages reach the dialog as queued events; the wait dispatches them, so
    // the window keeps painting and Cancel works. The dialog is modal: nothing else can touch
    // the field meanwhile.
    kurvalux_analysis::FrequencyCommandResult result =
        kurvalux_analysis::RunFrequencyAnalysisCommand(*object, last, progress.Poster(),
                                                       [&progress](uint64_t, uint64_t) {
                                                           QCoreApplication::processEvents();
                                                           return !progress.Cancelled();
                                                       });
    // Messages still queued are delivered before the dialog goes.
    QCoreApplication::processEvents();
    QApplication::restoreOverrideCursor();
    progress.hide();
    // A cancelled analysis adds nothing and says so ("Frequency analysis failed").
    if (result.found) AcceptFoundPeriod(*object, result.offered);
    pane_->RefreshObject();
    for (const auto& box : result.messages)
        messages_->Show(box.title, box.lines, box.icon, box.buttons);
}

}  // namespace kurvalux_app
