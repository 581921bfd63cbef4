#include "app/minimum_view.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressDialog>
#include <QPushButton>
#include <QRadioButton>
#include <QShortcut>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>

#include "analysis/fit_all_minima.h"
#include "analysis/fit_points.h"
#include "app/form_dialog.h"
#include "app/kurvalux_pane.h"
#include "app/shell_host.h"
#include "platform/system.h"
#include "platform/text.h"

namespace kurvalux_app {

using kurvalux_analysis::kSingleMinimumParameterCount;
using kurvalux_analysis::MinimumFitOptions;
using kurvalux_analysis::SingleMinimumParameters;
using kurvalux_data::CObjectListElem;
using kurvalux_data::CSeriesTreeElem;
using kurvalux_platform::MessageButtons;
using kurvalux_platform::MessageIcon;

const std::array<const char*, kSingleMinimumParameterCount>& CMinimumView::ParameterLabels() {
    static const std::array<const char*, kSingleMinimumParameterCount> labels = {
        "Base:", "Min. time:", "Trend:", "Amplitude:", "Width:", "Shape:", "Correction:"};
    return labels;
}

CMinimumView::CMinimumView(CShellHost& host, CKurvaluxPane& pane, QWidget* parent)
    : QWidget(parent), host_(host), pane_(pane) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    view_ = new CChartView(this);
    layout->addWidget(view_, 1);

    auto* hints = new QHBoxLayout();
    limits_ = new QLabel(this);
    hints->addWidget(limits_, 1);
    hints->addWidget(new QLabel("<F3>Prev <F4>Next", this));
    hints->addSpacing(12);
    hints->addWidget(new QLabel("<F5>Prev <F6>Next", this));
    layout->addLayout(hints);

    auto* grid = new QGridLayout();
    const auto& labels = ParameterLabels();
    const MinimumFitOptions defaults;
    for (size_t i = 0; i < kSingleMinimumParameterCount; ++i) {
        int column = static_cast<int>(i % 4) * 3, row = static_cast<int>(i / 4);
        grid->addWidget(new QLabel(labels[i], this), row, column);
        boxes_[i] = new QLineEdit(this);
        boxes_[i]->setObjectName(labels[i]);
        boxes_[i]->setText(BoxText(defaults.start[i]));
        grid->addWidget(boxes_[i], row, column + 1);
        free_[i] = new QCheckBox("fit", this);
        free_[i]->setChecked(defaults.free[i]);
        free_[i]->setObjectName(QString("fit ") + labels[i]);
        grid->addWidget(free_[i], row, column + 2);
    }
    // The time of minimum is always fitted.
    free_[kurvalux_analysis::kMinTime]->setChecked(true);
    free_[kurvalux_analysis::kMinTime]->setEnabled(false);
    layout->addLayout(grid);

    auto* buttons = new QHBoxLayout();
    auto add_button = [&](const char* text, void (CMinimumView::*slot)()) {
        auto* button = new QPushButton(text, this);
        button->setObjectName(text);
        connect(button, &QPushButton::clicked, this, slot);
        buttons->addWidget(button);
        return button;
    };
    add_button("Set JD limits to current zoom", &CMinimumView::SetLimitsToZoom);
    add_button("Fit Min.", &CMinimumView::FitMinimum);
    add_button("Est. Err.", &CMinimumView::EstimateError);
    freeze_ = new QCheckBox("Freeze Error <F10>:", this);
    freeze_->setObjectName("Freeze Error");
    buttons->addWidget(freeze_);
    error_ = new QLineEdit(this);
    error_->setObjectName("Error");
    error_->setMaximumWidth(fontMetrics().horizontalAdvance("0.0000000000"));
    buttons->addWidget(error_);
    // The block bootstrap's error, estimated with the case bootstrap's.
    buttons->addWidget(new QLabel("Block Err.:", this));
    block_error_ = new QLineEdit(this);
    block_error_->setObjectName("Block Error");
    block_error_->setMaximumWidth(error_->maximumWidth());
    block_error_->setToolTip(
        "Error from a moving-block bootstrap of the residuals: honest when neighbouring points "
        "err together (red noise, a profile the model does not quite follow).");
    buttons->addWidget(block_error_);
    layout->addLayout(buttons);

    auto* adding = new QHBoxLayout();
    undefined_ = new QRadioButton("Und.", this);
    primary_ = new QRadioButton("Pri.", this);
    secondary_ = new QRadioButton("Sec.", this);
    auto* group = new QButtonGroup(this);
    for (QRadioButton* r : {undefined_, primary_, secondary_}) {
        group->addButton(r);
        adding->addWidget(r);
    }
    primary_->setChecked(true);
    // Which error "Add Min." keeps with the minimum; the choice is remembered in the settings.
    adding->addWidget(new QLabel("Keep:", this));
    kept_error_ = new QComboBox(this);
    kept_error_->setObjectName("Kept Error");
    kept_error_->addItem("Est. Err.", "case");
    kept_error_->addItem("Block Err.", "block");
    kept_error_->setCurrentIndex(host_.GetSettings().minimum_error_method == "block" ? 1 : 0);
    connect(kept_error_, &QComboBox::currentIndexChanged, this, [this](int index) {
        host_.GetSettings().minimum_error_method =
            kept_error_->itemData(index).toString().toStdString();
    });
    adding->addWidget(kept_error_);
    buttons = adding;
    add_button("Add Min.", &CMinimumView::AddMinimum);
    add_button("Min->M0", &CMinimumView::MinimumToM0);
    adding->addStretch(1);
    add_button("Fit all minima", &CMinimumView::FitAllMinima);
    layout->addLayout(adding);

    // The keys work wherever the focus is in the window while this view is shown.
    auto shortcut = [this](Qt::Key key, void (CMinimumView::*slot)()) {
        auto* s = new QShortcut(QKeySequence(key), this);
        s->setContext(Qt::WindowShortcut);
        connect(s, &QShortcut::activated, this, [this, slot] {
            if (isVisible()) (this->*slot)();
        });
    };
    shortcut(Qt::Key_F3, &CMinimumView::PreviousSeries);
    shortcut(Qt::Key_F4, &CMinimumView::NextSeries);
    shortcut(Qt::Key_F5, &CMinimumView::PreviousMinimum);
    shortcut(Qt::Key_F6, &CMinimumView::NextMinimum);
    auto* f10 = new QShortcut(QKeySequence(Qt::Key_F10), this);
    f10->setContext(Qt::WindowShortcut);
    connect(f10, &QShortcut::activated, this, [this] {
        if (isVisible()) freeze_->toggle();
    });
    UpdateLimitsLabel();
}

void CMinimumView::SetMinimumType(uint32_t type) {
    (type == kurvalux_data::kMinimumSecondary ? secondary_
     : type == kurvalux_data::kMinimumPrimary ? primary_
                                              : undefined_)
        ->setChecked(true);
}

uint32_t CMinimumView::MinimumType() const {
    if (secondary_->isChecked()) return kurvalux_data::kMinimumSecondary;
    if (primary_->isChecked()) return kurvalux_data::kMinimumPrimary;
    return kurvalux_data::kMinimumUndefined;
}

void CMinimumView::UpdateLimitsLabel() {
    if (t_end_ > t_start_)
        limits_->setText(
            QString("JD limits: %1 - %2")
                .arg(QString::fromStdString(kurvalux_platform::FormatFixed(t_start_, 5)),
                     QString::fromStdString(kurvalux_platform::FormatFixed(t_end_, 5))));
    else
        limits_->setText("JD limits: none");
}

void CMinimumView::Refill(bool keep_zoom) {
    CObjectListElem* object = pane_.CurrentObject();
    int index = pane_.CurrentSeriesIndex();
    if (!object || index < 0 || index >= static_cast<int>(object->series.size())) {
        Canvas()->ClearChart(object ? "Select a series in the series tree to time its minima"
                                    : "No object selected");
        shown_series_ = nullptr;
        fit_ = {};
        return;
    }
    const CSeriesTreeElem& series = *object->series[static_cast<size_t>(index)];
    if (shown_series_ != &series) {
        // Another series: the window starts as the whole series, the old fit is gone.
        shown_series_ = &series;
        t_start_ = series.FirstTime();
        t_end_ = series.LastTime();
        fit_ = {};
        keep_zoom = false;
        ClearErrors();
        EstimateStart();
    }
    kurvalux_lc::ChartRequest request;
    request.view = kurvalux_lc::ChartView::kMinimum;
    request.series = index;
    request.filters = &host_.GetSettings().filters;
    request.show_error_bars = host_.GetSettings().show_dev;
    request.show_unused_minima = true;
    std::string message;
    kurvalux_lc::Chart chart = kurvalux_lc::MakeChart(*object, request, message);
    if (!chart.pane) {
        Canvas()->ClearChart(QString::fromStdString(message));
        return;
    }
    if (auto* pane = dynamic_cast<kurvalux_lc::CMinimumFitPane*>(chart.pane.get())) {
        pane->SetWindow(t_start_, t_end_);
        if (fit_.ok) pane->SetModel(fit_.normalised, 0.0, 1.0);
    }
    Canvas()->SetChart(std::move(chart), keep_zoom);
    UpdateLimitsLabel();
}

void CMinimumView::Forget() {
    shown_series_ = nullptr;
    fit_ = {};
}

void CMinimumView::SetLimits(double from, double to) {
    if (!(to > from)) return;
    t_start_ = from;
    t_end_ = to;
    fit_ = {};
    EstimateStart();
    Refill(true);
}

void CMinimumView::SetLimitsToZoom() {
    CChartCanvas* canvas = Canvas();
    if (!canvas->HasChart()) return;
    double from = canvas->Zoomed() ? canvas->VisibleFrom() : canvas->DataFrom();
    double to = canvas->Zoomed() ? canvas->VisibleTo() : canvas->DataTo();
    SetLimits(from, to);
}

MinimumFitOptions CMinimumView::Options(bool& ok) {
    MinimumFitOptions options;
    ok = false;
    CObjectListElem* object = pane_.CurrentObject();
    int index = pane_.CurrentSeriesIndex();
    if (!object || index < 0 || index >= static_cast<int>(object->series.size())) {
        host_.Messages().Error("Cannot perform minimum fit", {"No series selected"});
        return options;
    }
    kurvalux_analysis::SeriesPoints points = kurvalux_analysis::MagnitudePoints(
        *object->series[static_cast<size_t>(index)], object->is_flux);
    options.times = std::move(points.times);
    options.values = std::move(points.values);
    options.errors = std::move(points.errors);
    options.t_start = t_start_;
    options.t_end = t_end_;
    for (size_t i = 0; i < kSingleMinimumParameterCount; ++i) {
        std::optional<double> value = CFormDialog::ParseReal(boxes_[i]->text());
        if (!value) {
            host_.Messages().Error(
                "Cannot perform minimum fit",
                {std::string("Not a number in the box ") + ParameterLabels()[i]});
            return options;
        }
        options.start[i] = *value;
        options.free[i] = free_[i]->isChecked();
    }
    ok = true;
    return options;
}

QString CMinimumView::BoxText(double value) {
    // Six decimals: a tenth of a second in the time of minimum, far below any timing error.
    return QString::fromStdString(kurvalux_platform::FormatFixedAlways(value, 6));
}

void CMinimumView::ShowParameters(const SingleMinimumParameters& shown) {
    for (size_t i = 0; i < kSingleMinimumParameterCount; ++i) boxes_[i]->setText(BoxText(shown[i]));
}

void CMinimumView::EstimateStart() {
    CObjectListElem* object = pane_.CurrentObject();
    int index = pane_.CurrentSeriesIndex();
    if (!object || index < 0 || index >= static_cast<int>(object->series.size())) return;
    kurvalux_analysis::SeriesPoints points = kurvalux_analysis::MagnitudePoints(
        *object->series[static_cast<size_t>(index)], object->is_flux);
    MinimumFitOptions options;
    options.times = std::move(points.times);
    options.values = std::move(points.values);
    options.errors = std::move(points.errors);
    options.t_start = t_start_;
    options.t_end = t_end_;
    if (options.CountInWindow() < kurvalux_analysis::kMinimumFitMinPoints) return;
    ShowParameters(kurvalux_analysis::EstimateMinimumStart(options));
}

void CMinimumView::FitMinimum() {
    bool ok = false;
    MinimumFitOptions options = Options(ok);
    if (!ok) return;
    QApplication::setOverrideCursor(Qt::BusyCursor);
    kurvalux_analysis::MinimumFitResult result = kurvalux_analysis::FitMinimum(options);
    QApplication::restoreOverrideCursor();
    if (!result.ok) {
        host_.Messages().Error(result.message.title, result.message.lines);
        return;
    }
    fit_ = result;
    ShowParameters(result.shown);
    ClearErrors();
    Refill(true);
}

void CMinimumView::ClearErrors() {
    if (freeze_->isChecked()) return;
    error_->clear();
    block_error_->clear();
}

void CMinimumView::EstimateError() {
    bool ok = false;
    MinimumFitOptions options = Options(ok);
    if (!ok) return;
    kurvalux_analysis::BootstrapOptions bootstrap;
    bootstrap.fit = options;
    bootstrap.fitted = fit_;
    // The window keeps painting and answering while the workers run; Cancel stops them. The
    // case bootstrap fills the first half of the bar, the block bootstrap the second.
    QProgressDialog progress("Estimating the error of the minimum...", "Cancel", 0,
                             2 * kurvalux_analysis::kBootstrapRounds, this);
    progress.setWindowTitle("Est. Err.");
    progress.setWindowModality(Qt::ApplicationModal);
    progress.setMinimumDuration(300);
    int before = 0;
    bootstrap.progress = [&progress, &before](int done, int planned) {
        progress.setMaximum(2 * planned);
        progress.setValue(std::min(before + done, 2 * planned - 1));
        QCoreApplication::processEvents();
        return !progress.wasCanceled();
    };
    QApplication::setOverrideCursor(Qt::BusyCursor);
    kurvalux_analysis::BootstrapResult result = kurvalux_analysis::EstimateMinimumError(bootstrap);
    kurvalux_analysis::BootstrapResult block;
    if (result.ok) {
        before = result.rounds_run;
        block = kurvalux_analysis::EstimateMinimumBlockError(bootstrap);
    }
    QApplication::restoreOverrideCursor();
    progress.reset();
    if (result.cancelled || block.cancelled) return;
    if (!result.ok) {
        if (!result.message.empty())
            host_.Messages().Error(result.message.title, result.message.lines);
        return;
    }
    if (!block.ok && !block.message.empty())
        host_.Messages().Error(block.message.title, block.message.lines);
    if (freeze_->isChecked()) return;
    auto show = [](QLineEdit* box, const kurvalux_analysis::BootstrapResult& r) {
        if (r.ok && r.has_error)
            box->setText(BoxText(r.error));
        else
            box->clear();
    };
    show(error_, result);
    show(block_error_, block);
}

void CMinimumView::AddMinimum() {
    CObjectListElem* object = pane_.CurrentObject();
    int index = pane_.CurrentSeriesIndex();
    if (!object || index < 0 || index >= static_cast<int>(object->series.size())) return;
    if (!fit_.ok) {
        host_.Messages().Error("Cannot add minimum", {"Minimum must be properly fitted",
                                                      "prior to adding it to the series."});
        return;
    }
    kurvalux_data::CMinimaListElem minimum;
    minimum.type = MinimumType();
    minimum.time = fit_.time_of_minimum;
    const QLineEdit* kept =
        kept_error_->currentData().toString() == "block" ? block_error_ : error_;
    minimum.error = CFormDialog::ParseReal(kept->text()).value_or(0.0);
    kurvalux_data::CMinimaList& minima = object->series[static_cast<size_t>(index)]->minima;
    // The series keeps its minima in time order.
    auto at = std::upper_bound(
        minima.begin(), minima.end(), minimum.time,
        [](double t, const kurvalux_data::CMinimaListElem& m) { return t < m.time; });
    int position = static_cast<int>(at - minima.begin());
    minima.insert(at, minimum);
    host_.MarkModified();
    pane_.RefreshObject();
    pane_.SelectMinimum(index, position);
}

void CMinimumView::MinimumToM0() {
    CObjectListElem* object = pane_.CurrentObject();
    if (!object) return;
    if (!fit_.ok) {
        host_.Messages().Error("Cannot set M0",
                               {"Minimum must be properly fitted", "prior to taking it as M0."});
        return;
    }
    if (!host_.GetSettings().auto_accept_m0_period) {
        std::string text = "to " + kurvalux_platform::FormatFixed(fit_.time_of_minimum, 6) + "?";
        if (host_.Messages().Show("Min->M0", {"Do you want to change M0 of the object", text},
                                  MessageIcon::Question,
                                  MessageButtons::YesNo) != kurvalux_platform::MessageAnswer::Yes)
            return;
    }
    object->m0 = fit_.time_of_minimum;
    host_.MarkModified();
    pane_.RefreshObject();
}

void CMinimumView::FitAllMinima() {
    CObjectListElem* object = pane_.CurrentObject();
    if (!object) return;
    std::vector<size_t> selected;
    for (size_t k = 0; k < object->series.size(); ++k)
        if (object->series[k]->enabled) selected.push_back(k);
    if (selected.empty()) {
        host_.Messages().Error("Cannot find minima", {"No series selected to find minima"});
        return;
    }
    kurvalux_analysis::FitAllMinimaOptions options =
        kurvalux_analysis::FitAllMinimaDefaults(*object);
    constexpr double kMax = 1.7976931348623157e308;
    CFormDialog dialog("Find all minima in series", this);
    dialog.AddReal("Period:", options.period, 0, kMax);
    dialog.AddCount("Min. points on branches:",
                    options.min_branch_points > 0 ? options.min_branch_points : 5);
    dialog.AddCheck("Fit Primary minima", options.fit_primary);
    dialog.AddReal("Time around Primary:", options.primary_time_around, 0, kMax);
    dialog.AddCheck("Fit Secondary minima", options.fit_secondary);
    dialog.AddReal("Secondary minimum phase:", options.secondary_phase, 0, kMax);
    dialog.AddReal("Time around Secondary:", options.secondary_time_around, 0, kMax);
    if (host_.RunDialog(dialog) != QDialog::Accepted) return;
    options.period = dialog.Real("Period:");
    options.min_branch_points = static_cast<int>(dialog.Count("Min. points on branches:"));
    options.fit_primary = dialog.Checked("Fit Primary minima");
    options.primary_time_around = dialog.Real("Time around Primary:");
    options.fit_secondary = dialog.Checked("Fit Secondary minima");
    options.secondary_phase = dialog.Real("Secondary minimum phase:");
    options.secondary_time_around = dialog.Real("Time around Secondary:");
    for (size_t i = 0; i < kSingleMinimumParameterCount; ++i)
        options.free[i] = free_[i]->isChecked();
    double primary_before = object->primary_fit_time_range;
    double secondary_before = object->secondary_fit_time_range;
    QApplication::setOverrideCursor(Qt::BusyCursor);
    kurvalux_analysis::FitAllMinimaResult result =
        kurvalux_analysis::FitAllMinima(*object, selected, options, host_.Messages());
    QApplication::restoreOverrideCursor();
    // A walk cancelled before anything was added leaves nothing worth saving: the new
    // time-around values are kept for the next run, but alone they are no reason to ask
    // about unsaved changes.
    const bool new_ranges = object->primary_fit_time_range != primary_before ||
                            object->secondary_fit_time_range != secondary_before;
    if (result.added > 0 || (new_ranges && !result.cancelled)) host_.MarkModified();
    pane_.RefreshObject();
}

void CMinimumView::PreviousSeries() {
    if (pane_.CurrentSeriesIndex() > 0) pane_.SelectSeries(pane_.CurrentSeriesIndex() - 1);
}

void CMinimumView::NextSeries() {
    CObjectListElem* object = pane_.CurrentObject();
    if (object && pane_.CurrentSeriesIndex() + 1 < static_cast<int>(object->series.size()))
        pane_.SelectSeries(pane_.CurrentSeriesIndex() + 1);
}

void CMinimumView::PreviousMinimum() {
    MoveToMinimum(-1);
}

void CMinimumView::NextMinimum() {
    MoveToMinimum(1);
}

void CMinimumView::MoveToMinimum(int direction) {
    CObjectListElem* object = pane_.CurrentObject();
    if (!object || !(t_end_ > t_start_)) return;
    double width = t_end_ - t_start_, centre = (t_start_ + t_end_) / 2, target = 0;
    if (object->m0 != 0 && object->period > 0) {
        // The nearest predicted primary or secondary minimum beyond the window's centre.
        double p = object->period, best = direction > 0 ? INFINITY : -INFINITY;
        for (double offset : {0.0, 0.5}) {
            double e = (centre - object->m0) / p - offset;
            double n = direction > 0 ? std::floor(e + 1e-9) + 1 : std::ceil(e - 1e-9) - 1;
            double t = object->m0 + (n + offset) * p;
            best = direction > 0 ? std::min(best, t) : std::max(best, t);
        }
        target = best;
        double range = object->primary_fit_time_range;
        if (range > 0) width = range;
    } else {
        target = centre + direction * width;
    }
    t_start_ = target - width / 2;
    t_end_ = target + width / 2;
    fit_ = {};
    ClearErrors();
    EstimateStart();
    Refill(false);
    Canvas()->ZoomTo(t_start_, t_end_);
}

}  // namespace kurvalux_app
