#include "app/phase_fit_view.h"

#include <QApplication>
#include <QCheckBox>
#include <QEventLoop>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <thread>

#include "analysis/fit_points.h"
#include "app/form_dialog.h"
#include "app/kurvalux_pane.h"
#include "app/shell_host.h"
#include "platform/text.h"

namespace kurvalux_app {

using kurvalux_data::CObjectListElem;
using kurvalux_data::kLightCurveParameterCount;
using kurvalux_data::LightCurveParameters;

const std::array<const char*, kLightCurveParameterCount>& CPhaseFitView::Labels() {
    static const std::array<const char*, kLightCurveParameterCount> labels = {
        "Mag0:", "Sec.P:", "Apri:",  "Dpri:",  "Gpri:",  "Cpri:",  "Asec:",  "Dsec:",
        "Gsec:", "Csec:",  "Asin1:", "Acos1:", "Asin2:", "Acos2:", "Asin3:", "Acos3:"};
    return labels;
}

CPhaseFitView::CPhaseFitView(CShellHost& host, CKurvaluxPane& pane, QWidget* parent)
    : QWidget(parent), host_(host), pane_(pane) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    view_ = new CChartView(this);
    layout->addWidget(view_, 1);

    auto* grid = new QGridLayout();
    const kurvalux_analysis::PhaseFitOptions defaults;
    for (size_t i = 0; i < kLightCurveParameterCount; ++i) {
        int row = static_cast<int>(i % 4), column = static_cast<int>(i / 4) * 3;
        grid->addWidget(new QLabel(Labels()[i], this), row, column);
        boxes_[i] = new QLineEdit(this);
        boxes_[i]->setObjectName(Labels()[i]);
        grid->addWidget(boxes_[i], row, column + 1);
        connect(boxes_[i], &QLineEdit::editingFinished, this, &CPhaseFitView::BoxesEdited);
        free_[i] = new QCheckBox(this);
        free_[i]->setObjectName(QString("fit ") + Labels()[i]);
        free_[i]->setChecked(defaults.free[i]);
        grid->addWidget(free_[i], row, column + 2);
    }
    layout->addLayout(grid);
    ShowValues(kurvalux_data::kDefaultLightCurveParameters);

    auto* buttons = new QHBoxLayout();
    auto add = [&](const char* text, void (CPhaseFitView::*slot)()) {
        auto* button = new QPushButton(text, this);
        button->setObjectName(text);
        connect(button, &QPushButton::clicked, this, slot);
        buttons->addWidget(button);
    };
    add("Fit checked parameters", &CPhaseFitView::FitParameters);
    add("Reset fit parameters", &CPhaseFitView::ResetParameters);
    add("Accept fit parameters", &CPhaseFitView::AcceptParameters);
    add("Save fit to field description", &CPhaseFitView::SaveParameters);
    layout->addLayout(buttons);
    auto* magnitudes = new QHBoxLayout();
    add("Copy magnitudes to meta-data", &CPhaseFitView::CopyMagnitudes);
    buttons->removeWidget(findChild<QPushButton*>("Copy magnitudes to meta-data"));
    magnitudes->addWidget(findChild<QPushButton*>("Copy magnitudes to meta-data"));
    magnitudes->addWidget(new QLabel("Max.Mag:", this));
    max_mag_ = new QLabel(this);
    max_mag_->setObjectName("Max.Mag");
    magnitudes->addWidget(max_mag_);
    magnitudes->addWidget(new QLabel("Min.Mag:", this));
    min_mag_ = new QLabel(this);
    min_mag_->setObjectName("Min.Mag");
    magnitudes->addWidget(min_mag_);
    magnitudes->addStretch(1);
    layout->addLayout(magnitudes);
}

void CPhaseFitView::ShowValues(const LightCurveParameters& values) {
    for (size_t i = 0; i < kLightCurveParameterCount; ++i)
        boxes_[i]->setText(QString::fromStdString(kurvalux_platform::FormatFixed(values[i], 6)));
}

bool CPhaseFitView::BoxValues(LightCurveParameters& values, bool report) {
    for (size_t i = 0; i < kLightCurveParameterCount; ++i) {
        std::optional<double> value = CFormDialog::ParseReal(boxes_[i]->text());
        if (!value) {
            if (report)
                host_.Messages().Error("Cannot perform parameter fitting",
                                       {std::string("Not a number in the box ") + Labels()[i]});
            return false;
        }
        values[i] = *value;
    }
    return true;
}

QString CPhaseFitView::MaxMagText() const {
    return max_mag_->text();
}

QString CPhaseFitView::MinMagText() const {
    return min_mag_->text();
}

void CPhaseFitView::Refill(bool keep_zoom) {
    CObjectListElem* object = pane_.CurrentObject();
    if (!object) {
        Canvas()->ClearChart("No object selected");
        shown_object_ = nullptr;
        return;
    }
    if (shown_object_ != object) {
        shown_object_ = object;
        preview_ = false;
        keep_zoom = false;
        ShowValues(object->fit);
    }
    kurvalux_lc::ChartRequest request;
    request.view = kurvalux_lc::ChartView::kPhasedFit;
    request.series = pane_.CurrentSeriesIndex();
    request.filters = &host_.GetSettings().filters;
    request.show_error_bars = host_.GetSettings().show_dev;
    std::string message;
    kurvalux_lc::Chart chart = kurvalux_lc::MakeChart(*object, request, message);
    max_mag_->clear();
    min_mag_->clear();
    if (!chart.pane) {
        Canvas()->ClearChart(QString::fromStdString(message));
        return;
    }
    auto* pane = dynamic_cast<kurvalux_lc::CLightCurveFitPane*>(chart.pane.get());
    LightCurveParameters values{};
    bool has_values = BoxValues(values, false);
    // The boxes are drawn: the accepted model, or the values being tried.
    if (pane && has_values) pane->SetModel(values, object->has_fit || preview_);
    Canvas()->SetChart(std::move(chart), keep_zoom);
    if (pane && pane->ModelEnabled()) {
        pane->LayoutAll();
        max_mag_->setText(
            QString::fromStdString(kurvalux_platform::FormatFixed(pane->MaxMag(), 3)));
        min_mag_->setText(
            QString::fromStdString(kurvalux_platform::FormatFixed(pane->MinMag(), 3)));
    }
}

void CPhaseFitView::Forget() {
    shown_object_ = nullptr;
    preview_ = false;
}

void CPhaseFitView::BoxesEdited() {
    CObjectListElem* object = pane_.CurrentObject();
    if (!object) return;
    LightCurveParameters values{};
    if (!BoxValues(values, false)) return;
    preview_ = values != object->fit || object->has_fit;
    Refill(true);
}

void CPhaseFitView::FitParameters() {
    CObjectListElem* object = pane_.CurrentObject();
    if (!object) return;
    if (object->m0 == 0 || object->period == 0) {
        host_.Messages().Error("Cannot perform parameter fitting",
                               {"Cannot draw phased light curve if M0 and/or P is not defined"});
        return;
    }
    kurvalux_analysis::PhaseFitOptions options;
    options.points = kurvalux_analysis::PhasedCurve(*object, object->m0, object->period);
    if (!BoxValues(options.start, true)) return;
    for (size_t i = 0; i < kLightCurveParameterCount; ++i) options.free[i] = free_[i]->isChecked();

    // Modal with the busy pointer, but on a worker: the window keeps painting while the user
    // cannot start anything else.
    kurvalux_analysis::PhaseFitResult result;
    QEventLoop loop;
    QApplication::setOverrideCursor(Qt::BusyCursor);
    std::thread worker([&] {
        result = kurvalux_analysis::FitPhaseCurve(options);
        QMetaObject::invokeMethod(&loop, "quit", Qt::QueuedConnection);
    });
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    worker.join();
    QApplication::restoreOverrideCursor();
    if (result.ok) {
        ShowValues(result.parameters);
        preview_ = true;
        Refill(true);
        host_.Messages().Show(result.message.title, result.message.lines,
                              kurvalux_platform::MessageIcon::Information,
                              kurvalux_platform::MessageButtons::Ok);
    } else {
        host_.Messages().Error(result.message.title, result.message.lines);
    }
}

void CPhaseFitView::ResetParameters() {
    // The model's defaults, with the base level at the median of the curve so that a new fit
    // starts near the data.
    LightCurveParameters values = kurvalux_data::kDefaultLightCurveParameters;
    if (CObjectListElem* object = pane_.CurrentObject();
        object && object->m0 != 0 && object->period != 0) {
        std::vector<kurvalux_analysis::PhasedPoint> points =
            kurvalux_analysis::PhasedCurve(*object, object->m0, object->period);
        std::vector<double> v;
        v.reserve(points.size());
        for (const auto& p : points) v.push_back(p.value + p.offset);
        if (!v.empty()) {
            std::nth_element(v.begin(), v.begin() + v.size() / 2, v.end());
            values[kurvalux_data::kMag0] = v[v.size() / 2];
        }
    }
    ShowValues(values);
    preview_ = true;
    Refill(true);
}

void CPhaseFitView::AcceptParameters() {
    CObjectListElem* object = pane_.CurrentObject();
    if (!object) return;
    LightCurveParameters values{};
    if (!BoxValues(values, true)) return;
    object->fit = values;
    object->has_fit = true;
    preview_ = false;
    host_.MarkModified();
    Refill(true);
}

void CPhaseFitView::SaveParameters() {
    CObjectListElem* object = pane_.CurrentObject();
    if (!object) return;
    AcceptParameters();
    emit saveFieldRequested();
}

void CPhaseFitView::CopyMagnitudes() {
    CObjectListElem* object = pane_.CurrentObject();
    if (!object) return;
    auto* pane = dynamic_cast<kurvalux_lc::CLightCurveFitPane*>(Canvas()->Pane());
    if (!pane || !pane->ModelEnabled()) {
        host_.Messages().Error("Cannot copy magnitudes",
                               {"No model curve is drawn in the phased curve fit"});
        return;
    }
    object->max_magnitude = pane->MaxMag();
    object->min_magnitude = pane->MinMag();
    host_.MarkModified();
    pane_.RefreshObject();
}

}  // namespace kurvalux_app
