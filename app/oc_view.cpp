// The "O−C" tab (see oc_view.h).
#include "app/oc_view.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSplitter>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <memory>

#include "app/kurvalux_pane.h"
#include "app/shell_host.h"
#include "lc/chart_views.h"
#include "lc/oc_pane.h"

namespace kurvalux_app {

using kurvalux_analysis::EphemerisFitResult;
using kurvalux_analysis::OCEntry;

namespace {

QString Fixed(double value, int decimals) {
    return QString::number(value, 'f', decimals);
}

// A value with its error in the same number of decimals: "2457010.51251 ± 0.00021".
QString WithError(double value, double error, int decimals) {
    return Fixed(value, decimals) + QString::fromUtf8(" ± ") + Fixed(error, decimals);
}

const char* TypeText(uint32_t type) {
    return type == kurvalux_data::kMinimumPrimary     ? "primary"
           : type == kurvalux_data::kMinimumSecondary ? "secondary"
                                                      : "undefined";
}

}  // namespace

QString COCView::ResultText(const EphemerisFitResult& fit) {
    if (!fit.ok) return QString::fromStdString(fit.message);
    QStringList lines;
    lines << "M0 = " + WithError(fit.m0, fit.m0_error, 5);
    lines << "P = " + WithError(fit.period, fit.period_error, 8) + " d";
    if (fit.parameters == 3) {
        lines << "Q = " + QString::number(fit.quadratic, 'e', 3) + QString::fromUtf8(" ± ") +
                     QString::number(fit.quadratic_error, 'e', 3) + " d";
        lines << "dP/dt = " + QString::number(fit.dpdt, 'e', 3) + QString::fromUtf8(" ± ") +
                     QString::number(fit.dpdt_error, 'e', 3);
    }
    lines << QString::fromUtf8("χ²/dof = ") + Fixed(fit.chi2_per_dof, 3) + " (" +
                 QString::number(fit.count) + " minima, " + QString::number(fit.dof) + " dof)";
    if (fit.errors_scaled) lines << QString::fromUtf8("Errors scaled by √(χ²/dof)");
    if (!fit.weighted)
        lines << "Equal weights (no minimum has an error)";
    else if (fit.assumed_error > 0)
        lines << "Minima without an error counted with " + Fixed(fit.assumed_error, 5) + " d";
    return lines.join('\n');
}

COCView::COCView(CShellHost& host, CKurvaluxPane& pane, QWidget* parent)
    : QWidget(parent), host_(host), pane_(pane) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* bar = new QHBoxLayout();
    auto combo = [&](const char* label, const char* name, QStringList items) {
        bar->addWidget(new QLabel(label, this));
        auto* box = new QComboBox(this);
        box->setObjectName(name);
        box->addItems(items);
        bar->addWidget(box);
        connect(box, &QComboBox::currentIndexChanged, this, [this] { Refill(false); });
        return box;
    };
    fit_box_ = combo("Fit:", "OCFit", {"Linear", "Quadratic"});
    axis_box_ = combo("X axis:", "OCAxis", {"Cycle", "Time"});
    unit_box_ = combo("O-C in:", "OCUnit", {"Days", "Minutes"});
    error_bars_ = new QCheckBox("Error bars", this);
    error_bars_->setObjectName("OCErrorBars");
    error_bars_->setChecked(true);
    connect(error_bars_, &QCheckBox::toggled, this, [this] { Refill(true); });
    bar->addWidget(error_bars_);
    bar->addStretch(1);
    apply_ = new QPushButton("Apply ephemeris", this);
    apply_->setObjectName("OCApply");
    apply_->setToolTip(
        "Make the fitted M0 and period the object's; the saved ephemeris stays until the field "
        "is saved");
    connect(apply_, &QPushButton::clicked, this, &COCView::ApplyFit);
    bar->addWidget(apply_);
    layout->addLayout(bar);

    auto* split = new QSplitter(Qt::Horizontal, this);
    view_ = new CChartView(split);
    split->addWidget(view_);
    auto* side = new QWidget(split);
    auto* side_layout = new QVBoxLayout(side);
    side_layout->setContentsMargins(4, 0, 0, 0);
    results_ = new QLabel(side);
    results_->setObjectName("OCResults");
    results_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    results_->setWordWrap(true);
    side_layout->addWidget(results_);
    residuals_ = new QTreeWidget(side);
    residuals_->setObjectName("OCResiduals");
    residuals_->setRootIsDecorated(false);
    residuals_->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    side_layout->addWidget(residuals_, 1);
    split->addWidget(side);
    split->setStretchFactor(0, 3);
    split->setStretchFactor(1, 2);
    layout->addWidget(split, 1);
}

void COCView::Refill(bool keep_zoom) {
    table_.clear();
    fit_ = EphemerisFitResult{};
    kurvalux_data::CObjectListElem* object = pane_.CurrentObject();
    if (!object) {
        Canvas()->ClearChart("No object selected");
    } else if (object->m0 == 0 || object->period == 0) {
        Canvas()->ClearChart(QString::fromStdString(object->name) +
                             " has no ephemeris (M0 and period) to count cycles from");
    } else {
        table_ = kurvalux_analysis::MakeOCTable(*object, object->m0, object->period);
        kurvalux_analysis::EphemerisFitOptions options;
        options.quadratic = fit_box_->currentIndex() == 1;
        fit_ = kurvalux_analysis::FitEphemeris(table_, object->m0, object->period, options);
        if (table_.empty()) {
            Canvas()->ClearChart(QString::fromStdString(object->name) + " has no minima in use");
        } else {
            auto pane = std::make_unique<kurvalux_lc::COCPane>();
            pane->SetTable(table_, object->m0, object->period);
            pane->SetFit(&fit_);
            pane->SetXAxis(axis_box_->currentIndex() == 1 ? kurvalux_lc::OCXAxis::kTime
                                                          : kurvalux_lc::OCXAxis::kCycle);
            pane->SetUnit(unit_box_->currentIndex() == 1 ? kurvalux_lc::OCUnit::kMinutes
                                                         : kurvalux_lc::OCUnit::kDays);
            pane->SetTimeCaption(kurvalux_lc::TimeCaption(*object));
            pane->show_error_bars = error_bars_->isChecked();
            const kurvalux_lc::CFont title = kurvalux_lc::ChartTitleFont(96);
            pane->SetTitleFont(&title);
            pane->Build();
            kurvalux_lc::Chart chart;
            chart.pane = std::move(pane);
            Canvas()->SetChart(std::move(chart), keep_zoom);
        }
    }
    results_->setText(object && !table_.empty() ? ResultText(fit_) : QString());
    apply_->setEnabled(fit_.ok && fit_.parameters == 2);
    FillResiduals();
}

void COCView::FillResiduals() {
    const bool minutes = unit_box_->currentIndex() == 1;
    const double scale = minutes ? 1440.0 : 1.0;
    const int decimals = minutes ? 2 : 5;
    const QString unit = minutes ? "min" : "d";
    residuals_->clear();
    residuals_->setHeaderLabels({"E", "Type", "Time", "Error",
                                 QString::fromUtf8("O−C (") + unit + ")",
                                 "Residual (" + unit + ")"});
    for (const OCEntry& e : table_) {
        auto* item = new QTreeWidgetItem(residuals_);
        item->setText(0, QString::number(kurvalux_analysis::FitCycle(e), 'f', 1));
        item->setText(1, TypeText(e.type));
        item->setText(2, Fixed(e.time, 5));
        item->setText(3, e.error > 0 ? Fixed(e.error, 5) : QString());
        item->setText(4, Fixed(e.oc * scale, decimals));
        item->setText(5, e.fitted ? Fixed(e.residual * scale, decimals) : QString("not fitted"));
        for (int c : {0, 2, 3, 4, 5}) item->setTextAlignment(c, Qt::AlignRight | Qt::AlignVCenter);
    }
}

void COCView::ApplyFit() {
    kurvalux_data::CObjectListElem* object = pane_.CurrentObject();
    if (!object || !kurvalux_analysis::ApplyEphemeris(fit_, *object)) return;
    host_.MarkModified();
    // The ephemeris bar, the phased charts and this diagram follow the new ephemeris.
    pane_.RefreshObject();
}

}  // namespace kurvalux_app
