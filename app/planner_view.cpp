// The "Planner" window (see planner_view.h).
#include "app/planner_view.h"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QSpinBox>
#include <QSplitter>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <memory>

#include "app/kurvalux_pane.h"
#include "app/prediction_view.h"
#include "app/shell_host.h"
#include "lc/chart_layout.h"
#include "plan/night_chart.h"
#include "plan/plan_export.h"
#include "platform/system.h"

#ifdef KURVALUX_HAVE_IMG
#include "img/raster_export.h"
#endif

namespace kurvalux_app {

using kurvalux_plan::MinimumKind;
using kurvalux_plan::PlannedMinimum;

namespace {

// A cell that sorts by the number it shows, not by its text.
class NumberItem : public QTableWidgetItem {
public:
    NumberItem(double value, const QString& text) : QTableWidgetItem(text) {
        setData(Qt::UserRole, value);
        setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    }
    bool operator<(const QTableWidgetItem& other) const override {
        return data(Qt::UserRole).toDouble() < other.data(Qt::UserRole).toDouble();
    }
};

QString Fixed(double value, int decimals) {
    return QString::number(value, 'f', decimals);
}

constexpr int kIndexRole = Qt::UserRole + 1;

}  // namespace

QStringList CPlannerWindow::ColumnTitles() {
    return {"Object",    "Kind",        "HJD",        "Local time", "Star alt.",   "Sun alt.",
            "Moon alt.", "Moon illum.", "Moon dist.", "Observable", "Timing error"};
}

CPlannerWindow::CPlannerWindow(CShellHost& host, CKurvaluxPane& pane,
                               kurvalux_pre::CPredictionPane& prediction, QWidget* parent)
    : QWidget(parent, Qt::Window), host_(host), pane_(pane), prediction_(prediction) {
    setWindowTitle("Planner");
    setObjectName("Planner");
    resize(1000, 700);
    auto* layout = new QVBoxLayout(this);
    auto* bar = new QHBoxLayout();
    bar->addWidget(new QLabel("Nights:", this));
    nights_ = new QSpinBox(this);
    nights_->setObjectName("PlannerNights");
    nights_->setRange(1, 366);
    nights_->setValue(
        static_cast<int>(std::clamp(host_.GetSettings().prediction_days, 1.0, 366.0) + 0.5));
    bar->addWidget(nights_);
    fitted_ = new QCheckBox("Fitted ephemerides", this);
    fitted_->setObjectName("PlannerFitted");
    fitted_->setToolTip(
        "Predict from the ephemeris fitted to each object's minima, with timing errors");
    bar->addWidget(fitted_);
    auto button = [&](const char* text, const char* name) {
        auto* b = new QPushButton(text, this);
        b->setObjectName(name);
        bar->addWidget(b);
        return b;
    };
    connect(button("Plan", "PlannerPlan"), &QPushButton::clicked, this, &CPlannerWindow::Replan);
    connect(button("Site...", "PlannerSite"), &QPushButton::clicked, this,
            [this] { prediction_.EditSite(); });
    bar->addStretch(1);
    auto chosen = [this](bool svg) {
        if (choose_file) return choose_file(svg);
        return QFileDialog::getSaveFileName(this, svg ? "Export SVG" : "Export PNG", QString(),
                                            svg ? "SVG files (*.svg)" : "PNG images (*.png)")
            .toStdString();
    };
    connect(button("Export PNG...", "PlannerPng"), &QPushButton::clicked, this, [this, chosen] {
        const std::string path = chosen(false);
        if (!path.empty()) ExportPng(path);
    });
    connect(button("Export SVG...", "PlannerSvg"), &QPushButton::clicked, this, [this, chosen] {
        const std::string path = chosen(true);
        if (!path.empty()) ExportSvg(path);
    });
    layout->addLayout(bar);

    auto* filters = new QHBoxLayout();
    only_observable_ = new QCheckBox("Only observable", this);
    only_observable_->setObjectName("PlannerOnlyObservable");
    only_primaries_ = new QCheckBox("Only primaries", this);
    only_primaries_->setObjectName("PlannerOnlyPrimaries");
    min_altitude_ = new QDoubleSpinBox(this);
    min_altitude_->setObjectName("PlannerMinimumAltitude");
    min_altitude_->setRange(-90, 90);
    min_altitude_->setDecimals(1);
    min_altitude_->setSuffix(QString::fromUtf8("°"));
    min_altitude_->setValue(0);
    filters->addWidget(only_observable_);
    filters->addWidget(only_primaries_);
    filters->addWidget(new QLabel("Minimum altitude:", this));
    filters->addWidget(min_altitude_);
    filters->addStretch(1);
    summary_ = new QLabel(this);
    summary_->setObjectName("PlannerSummary");
    filters->addWidget(summary_);
    layout->addLayout(filters);
    connect(only_observable_, &QCheckBox::toggled, this, &CPlannerWindow::Refilter);
    connect(only_primaries_, &QCheckBox::toggled, this, &CPlannerWindow::Refilter);
    connect(min_altitude_, &QDoubleSpinBox::valueChanged, this, &CPlannerWindow::Refilter);

    auto* split = new QSplitter(Qt::Vertical, this);
    table_ = new QTableWidget(split);
    table_->setObjectName("PlannerTable");
    table_->setColumnCount(static_cast<int>(ColumnTitles().size()));
    table_->setHorizontalHeaderLabels(ColumnTitles());
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->verticalHeader()->setVisible(false);
    table_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    connect(table_, &QTableWidget::cellDoubleClicked, this, [this](int row, int) {
        if (QTableWidgetItem* item = table_->item(row, 0))
            Open(static_cast<size_t>(item->data(kIndexRole).toULongLong()));
    });
    chart_ = new CChartView(split);
    chart_->Canvas()->installEventFilter(this);
    split->addWidget(table_);
    split->addWidget(chart_);
    split->setStretchFactor(1, 1);
    layout->addWidget(split, 1);
}

void CPlannerWindow::Replan() {
    const kurvalux_data::Settings& s = host_.GetSettings();
    kurvalux_plan::PlannerOptions options;
    start_ = prediction_.clock();
    options.start = start_;
    options.nights = nights_->value();
    options.site = {s.longitude, s.latitude};
    options.star_alt = s.star_alt;
    options.sun_alt = s.sun_alt;
    options.star_criterion = s.show_star_alt;
    options.sun_criterion = s.show_sun_alt;
    options.threads = kurvalux_platform::ProcessorCount();
    objects_.clear();
    field_index_.clear();
    left_out_.clear();
    const auto& list = host_.GetField().objects;
    for (size_t i = 0; i < list.size(); ++i) {
        kurvalux_plan::PlannerObject planned;
        std::string why;
        if (kurvalux_plan::MakePlannerObject(*list[i], fitted_->isChecked(), planned, why)) {
            objects_.push_back(std::move(planned));
            field_index_.push_back(static_cast<int>(i));
        } else {
            left_out_ << QString::fromStdString(list[i]->name + " left out: " + why);
        }
    }
    // A site exactly on the zero meridian or the equator counts as not set, as in the
    // prediction chart: nothing can be planned there.
    const bool site_set = options.site.longitude != 0 && options.site.latitude != 0;
    minima_ =
        site_set ? kurvalux_plan::PlanMinima(objects_, options) : std::vector<PlannedMinimum>{};
    setToolTip(left_out_.join('\n'));
    Refilter();
    if (!site_set) summary_->setText("The observing site is not set (longitude or latitude is 0)");
}

void CPlannerWindow::Refilter() {
    shown_.clear();
    size_t observable = 0;
    for (size_t i = 0; i < minima_.size(); ++i) {
        const PlannedMinimum& m = minima_[i];
        observable += m.observable;
        if (only_observable_->isChecked() && !m.observable) continue;
        if (only_primaries_->isChecked() && m.kind != MinimumKind::kPrimary) continue;
        if (m.star_altitude < min_altitude_->value()) continue;
        shown_.push_back(i);
    }
    summary_->setText(QString("%1 minima of %2 objects, %3 observable, %4 shown")
                          .arg(minima_.size())
                          .arg(objects_.size())
                          .arg(observable)
                          .arg(shown_.size()));
    FillTable();
    FillChart();
}

void CPlannerWindow::FillTable() {
    table_->setSortingEnabled(false);
    table_->clearContents();
    table_->setRowCount(static_cast<int>(shown_.size()));
    for (size_t r = 0; r < shown_.size(); ++r) {
        const PlannedMinimum& m = minima_[shown_[r]];
        const int row = static_cast<int>(r);
        auto* name = new QTableWidgetItem(QString::fromStdString(objects_[m.object].name));
        name->setData(kIndexRole, static_cast<qulonglong>(shown_[r]));
        table_->setItem(row, 0, name);
        table_->setItem(row, 1, new QTableWidgetItem(kurvalux_plan::KindName(m.kind)));
        table_->setItem(row, 2, new NumberItem(m.hjd, Fixed(m.hjd, 5)));
        table_->setItem(
            row, 3, new NumberItem(m.jd, QString::fromStdString(kurvalux_lc::LocalDateTime(m.jd))));
        table_->setItem(row, 4, new NumberItem(m.star_altitude, Fixed(m.star_altitude, 1)));
        table_->setItem(row, 5, new NumberItem(m.sun_altitude, Fixed(m.sun_altitude, 1)));
        table_->setItem(row, 6, new NumberItem(m.moon_altitude, Fixed(m.moon_altitude, 1)));
        table_->setItem(row, 7, new NumberItem(m.moon_illumination, Fixed(m.moon_illumination, 2)));
        table_->setItem(row, 8, new NumberItem(m.moon_distance, Fixed(m.moon_distance, 1)));
        table_->setItem(row, 9, new QTableWidgetItem(m.observable ? "yes" : "no"));
        table_->setItem(
            row, 10,
            new NumberItem(m.timing_error, m.timing_error >= 0 ? Fixed(m.timing_error, 5) : "-"));
    }
    table_->setSortingEnabled(true);
}

void CPlannerWindow::FillChart() {
    std::vector<PlannedMinimum> shown;
    shown.reserve(shown_.size());
    for (size_t i : shown_) shown.push_back(minima_[i]);
    auto pane = std::make_unique<kurvalux_plan::CNightChartPane>();
    pane->SetNights(start_, nights_->value());
    pane->SetSite({host_.GetSettings().longitude, host_.GetSettings().latitude});
    pane->SetEvents(kurvalux_plan::NightChartEvents(objects_, shown));
    kurvalux_lc::Chart chart;
    chart.pane = std::move(pane);
    chart_->Canvas()->SetChart(std::move(chart), false);
}

bool CPlannerWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == chart_->Canvas() && event->type() == QEvent::MouseButtonDblClick) {
        auto* pane = dynamic_cast<kurvalux_plan::CNightChartPane*>(chart_->Canvas()->Pane());
        if (pane) {
            const QPointF at = static_cast<QMouseEvent*>(event)->position() *
                               chart_->Canvas()->devicePixelRatioF();
            const int event_index =
                pane->EventAt(static_cast<int>(at.x()), static_cast<int>(at.y()));
            if (event_index >= 0) {
                Open(shown_[pane->Events()[static_cast<size_t>(event_index)].source]);
                return true;
            }
        }
    }
    return QWidget::eventFilter(watched, event);
}

void CPlannerWindow::Open(size_t index) {
    if (index >= minima_.size()) return;
    const PlannedMinimum& m = minima_[index];
    pane_.SelectObject(field_index_[m.object]);
    pane_.ShowTab(kTabPrediction);
    // The prediction starts at the local noon before the minimum: its whole night is seen.
    prediction_.ShowFrom(kurvalux_plan::LocalNoonBefore(m.jd));
}

bool CPlannerWindow::ExportPng(const std::string& path) {
    kurvalux_lc::CLightCurvePane* pane = chart_->Canvas()->Pane();
    if (!pane) return false;
    const kurvalux_data::Settings& s = host_.GetSettings();
#ifdef KURVALUX_HAVE_IMG
    return kurvalux_img::ExportRaster(*pane, path, kurvalux_img::RasterFormat::kPng,
                                      static_cast<int>(s.export_image_width),
                                      static_cast<int>(s.export_image_depth), "", host_.Messages());
#else
    (void)s;
    (void)path;
    return false;
#endif
}

bool CPlannerWindow::ExportSvg(const std::string& path) {
    kurvalux_lc::CLightCurvePane* pane = chart_->Canvas()->Pane();
    if (!pane) return false;
    const kurvalux_data::Settings& s = host_.GetSettings();
    return pane->ExportSvg(path, static_cast<int>(s.export_image_width),
                           static_cast<int>(s.export_image_depth), "", host_.Messages());
}

}  // namespace kurvalux_app
