// The "Prediction" tab (see prediction_view.h).
#include "app/prediction_view.h"

#include <QDateTime>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <cmath>
#include <memory>

#include "app/kurvalux_pane.h"
#include "app/planner_view.h"
#include "app/shell_host.h"
#include "app/site_dialog.h"
#include "lc/chart_layout.h"
#include "lc/chart_views.h"
#include "lc/prediction_pane.h"

namespace kurvalux_pre {

using kurvalux_app::CShellHost;

double JulianDateNow() {
    return static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 86400000.0 + 2440587.5;
}

CPredictionPane::CPredictionPane(CShellHost& host, kurvalux_app::CKurvaluxPane& pane,
                                 QWidget* parent)
    : QWidget(parent), host_(host), pane_(pane) {
    clock = &JulianDateNow;
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* bar = new QHBoxLayout();
    axis_label_ = new QLabel(this);
    axis_label_->setObjectName("PredictionAxis");
    bar->addWidget(axis_label_, 1);
    auto button = [&](const char* text, const char* name) {
        auto* b = new QPushButton(text, this);
        b->setObjectName(name);
        bar->addWidget(b);
        return b;
    };
    connect(button("Now", "PredictionNow"), &QPushButton::clicked, this,
            &CPredictionPane::FollowNow);
    connect(button("Site...", "PredictionSite"), &QPushButton::clicked, this,
            [this] { EditSite(); });
    connect(button("Planner...", "PredictionPlanner"), &QPushButton::clicked, this,
            &CPredictionPane::OpenPlanner);
    layout->addLayout(bar);
    view_ = new kurvalux_app::CChartView(this);
    layout->addWidget(view_, 1);
}

void CPredictionPane::ShowFrom(double jd) {
    follow_now_ = false;
    start_ = jd;
    Refill(false);
}

void CPredictionPane::FollowNow() {
    follow_now_ = true;
    Refill(false);
}

void CPredictionPane::Refill(bool keep_zoom) {
    const kurvalux_data::Settings& s = host_.GetSettings();
    if (follow_now_) start_ = clock();
    const double days = std::clamp(s.prediction_days, 1e-3, 366.0);
    const double end = start_ + days;
    axis_label_->setText(QString::fromStdString("From " + kurvalux_lc::LocalDateTime(start_) +
                                                " to " + kurvalux_lc::LocalDateTime(end)) +
                         (follow_now_ ? " (now)" : ""));
    kurvalux_data::CObjectListElem* object = pane_.CurrentObject();
    if (!object) {
        Canvas()->ClearChart("No object selected");
        return;
    }
    auto pane = std::make_unique<kurvalux_lc::CPredictionPane>();
    double ra = -1, dec = 91;
    object->Coordinates(ra, dec);
    pane->SetAxis(start_, end);
    pane->SetEphemeris(object->m0, object->period);
    pane->SetModel(object->fit, true);
    pane->SetPosition(ra, dec);
    pane->SetSite(s.longitude, s.latitude);
    pane->SetCriteria(s.star_alt, s.sun_alt, s.show_star_alt, s.show_sun_alt);
    const kurvalux_lc::CFont title = kurvalux_lc::ChartTitleFont(96);
    pane->SetTitleFont(&title);
    pane->SetTitle(object->name);
    pane->Build();
    // The markers of the display switches, over the predicted curve.
    if (s.show_minima && object->m0 != 0 && object->period > 0) {
        pane->show_kind4 = pane->show_kind5 = true;
        const double p = object->period;
        for (int secondary = 0; secondary < 2; ++secondary) {
            const double reference = object->m0 + (secondary ? p / 2 : 0);
            const double first = std::ceil((start_ - reference) / p);
            const double last = std::floor((end - reference) / p);
            if (!(last - first < 2000)) continue;
            for (double e = first; e <= last; ++e)
                pane->AddMarker(reference + e * p, kurvalux_lc::kPredictedColour,
                                secondary ? kurvalux_lc::kMarkerPredictedSecondary
                                          : kurvalux_lc::kMarkerPredictedPrimary);
        }
    }
    if (s.show_now) {
        const double now = clock();
        if (now >= start_ && now <= end)
            pane->AddMarker(now, kurvalux_platform::MakeColour(0, 160, 0),
                            kurvalux_lc::kMarkerNight);
    }
    if (s.show_time) {
        const double marked = pane_.MarkedJd();
        if (marked >= start_ && marked <= end)
            pane->AddMarker(marked, kurvalux_platform::MakeColour(0, 120, 200),
                            kurvalux_lc::kMarkerNight);
    }
    kurvalux_lc::Chart chart;
    chart.pane = std::move(pane);
    chart.visible_from = start_;
    chart.visible_to = end;
    Canvas()->SetChart(std::move(chart), keep_zoom);
}

bool CPredictionPane::EditSite() {
    kurvalux_app::CSiteDialog dialog(host_.GetSettings(), this);
    if (host_.RunDialog(dialog) != QDialog::Accepted) return false;
    dialog.Store(host_.GetSettings());
    emit settingsEdited();
    Refill(true);
    if (planner_) planner_->Replan();
    return true;
}

kurvalux_app::CPlannerWindow* CPredictionPane::Planner() {
    if (!planner_) planner_ = new kurvalux_app::CPlannerWindow(host_, pane_, *this, this);
    return planner_;
}

void CPredictionPane::OpenPlanner() {
    kurvalux_app::CPlannerWindow* planner = Planner();
    planner->Replan();
    planner->show();
    planner->raise();
}

}  // namespace kurvalux_pre
