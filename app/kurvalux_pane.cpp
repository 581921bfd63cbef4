#include "app/kurvalux_pane.h"

#include <QComboBox>
#include <QDateTime>
#include <QDateTimeEdit>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QScrollArea>
#include <QSlider>
#include <QTabWidget>
#include <QTextBrowser>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <cmath>

#include "analysis/model.h"
#include "analysis/periods/period_refinement.h"
#include "app/form_dialog.h"
#include "app/minimum_view.h"
#include "app/oc_view.h"
#include "app/phase_fit_view.h"
#include "app/prediction_view.h"
#include "app/shell_host.h"
#include "app/shell_strings.h"
#include "lc/chart_layout.h"
#include "platform/text.h"

namespace kurvalux_app {

using kurvalux_data::CObjectListElem;
using kurvalux_data::CSeriesTreeElem;
using kurvalux_platform::FormatFixed;

namespace {

constexpr int kSeriesRole = Qt::UserRole;
constexpr int kMinimumRole = Qt::UserRole + 1;
constexpr double kUnixEpochJd = 2440587.5;

std::string JdTypeText(const CSeriesTreeElem& series) {
    if (series.hjd_converted)
        return series.hjd_accurate ? "HJD (converted, accurate)" : "HJD (converted)";
    switch (series.EffectiveMetaData().jd_type) {
        case kurvalux_data::kJdHeliocentric:
            return "HJD";
        case kurvalux_data::kJdGeocentric:
            return "GJD";
        default:
            return "unknown";
    }
}

std::string MinimumTypeText(uint32_t type) {
    switch (type) {
        case kurvalux_data::kMinimumPrimary:
            return "Pri.";
        case kurvalux_data::kMinimumSecondary:
            return "Sec.";
        default:
            return "Und.";
    }
}

std::string StarText(const char* role, const kurvalux_data::CStarRecord& star) {
    std::string text = std::string(role) + ": " + (star.star_name.empty() ? "-" : star.star_name);
    if (star.HasPosition())
        text += "  RA " + kurvalux_platform::FormatRaSexagesimal(star.star_ra) + "  Dec " +
                kurvalux_platform::FormatDecSexagesimal(star.star_dec);
    if (!star.catalog.empty() || !star.catalog_id.empty())
        text += "  " + star.catalog + " " + star.catalog_id;
    if (star.catalog_ra != kurvalux_data::kUnknownRa &&
        star.catalog_dec != kurvalux_data::kUnknownDec)
        text +=
            "  cat. " + FormatFixed(star.catalog_ra, 6) + " " + FormatFixed(star.catalog_dec, 6);
    if (star.catalog_mag != kurvalux_data::kUndefinedMagnitude)
        text += "  mag " + FormatFixed(star.catalog_mag, 3);
    if (star.catalog_bv != kurvalux_data::kUndefinedMagnitude)
        text += "  B-V " + FormatFixed(star.catalog_bv, 3);
    if (star.catalog_jk != kurvalux_data::kUndefinedMagnitude)
        text += "  J-K " + FormatFixed(star.catalog_jk, 3);
    return text;
}

QString MagnitudeText(double value) {
    return value == kurvalux_data::kUndefinedMagnitude ? QString() : Q(FormatFixed(value, 3));
}

}  // namespace

CKurvaluxPane::CKurvaluxPane(CShellHost& host, QWidget* parent)
    : QSplitter(Qt::Horizontal, parent), host_(host) {
    setObjectName("CKurvaluxPane");
    left_ = new QSplitter(Qt::Vertical, this);
    objects_ = new QListWidget(left_);
    objects_->setObjectName("Objects");
    left_->addWidget(objects_);
    // The meta-data scrolls when the window is small, instead of holding the window large.
    auto* meta = new QScrollArea(left_);
    meta->setWidgetResizable(true);
    meta->setFrameShape(QFrame::NoFrame);
    meta->setWidget(BuildMetaPane());
    left_->addWidget(meta);

    right_ = new QSplitter(Qt::Vertical, this);
    series_ = new QTreeWidget(right_);
    series_->setObjectName("Series");
    series_->setHeaderLabels({"Series", "Offset", "Filter", "JD type", "Points", "File"});
    series_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    series_->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    series_->header()->setStretchLastSection(true);
    right_->addWidget(series_);

    auto* charts = new QWidget(right_);
    auto* charts_layout = new QVBoxLayout(charts);
    charts_layout->setContentsMargins(0, 0, 0, 0);
    charts_layout->addWidget(BuildEphemerisBar());
    tabs_ = new QTabWidget(charts);
    tabs_->setObjectName("Charts");
    for (int i = 0; i < 3; ++i) views_[static_cast<size_t>(i)] = new CChartView(tabs_);
    phase_fit_ = new CPhaseFitView(host_, *this, tabs_);
    minimum_ = new CMinimumView(host_, *this, tabs_);
    tabs_->addTab(views_[0], "Time Series");
    tabs_->addTab(views_[1], "Compressed Series");
    tabs_->addTab(views_[2], "Phased Curve");
    tabs_->addTab(phase_fit_, "Phased Curve Fit");
    tabs_->addTab(minimum_, "Minimum Fit");
    oc_ = new COCView(host_, *this, tabs_);
    tabs_->addTab(oc_, QString::fromUtf8("O−C"));
    prediction_ = new kurvalux_pre::CPredictionPane(host_, *this, tabs_);
    tabs_->addTab(prediction_, "Prediction");
    charts_layout->addWidget(tabs_, 1);
    right_->addWidget(charts);
    right_->setStretchFactor(1, 1);
    addWidget(left_);
    addWidget(right_);
    // The gap between the panes: 6 pixels at 96 dots per inch, scaled with the screen by Qt.
    for (QSplitter* s : {static_cast<QSplitter*>(this), left_, right_}) s->setHandleWidth(6);
    setStretchFactor(1, 1);

    connect(objects_, &QListWidget::currentRowChanged, this, &CKurvaluxPane::ObjectChanged);
    connect(series_, &QTreeWidget::itemChanged, this, &CKurvaluxPane::SeriesItemChanged);
    connect(series_, &QTreeWidget::itemSelectionChanged, this,
            &CKurvaluxPane::SeriesSelectionChanged);
    connect(series_, &QTreeWidget::itemDoubleClicked, this,
            [this](QTreeWidgetItem* item, int column) {
                if (item->parent()) return;
                if (column == 1)
                    series_->editItem(item, 1);
                else
                    EditSeries(item->data(0, kSeriesRole).toInt());
            });
    connect(tabs_, &QTabWidget::currentChanged, this, &CKurvaluxPane::TabChanged);
    // A click on a point selects its series.
    for (int tab = 0; tab < kTabCount; ++tab)
        connect(Canvas(static_cast<ChartTab>(tab)), &CChartCanvas::pointClicked, this,
                [this](int series, int) { SelectSeries(series); });
    stale_.fill(true);
}

QWidget* CKurvaluxPane::BuildMetaPane() {
    auto* pane = new QWidget();
    auto* layout = new QVBoxLayout(pane);
    layout->setContentsMargins(4, 4, 4, 4);
    auto* form = new QFormLayout();
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    auto line = [&](const char* label, int capacity) {
        auto* edit = new QLineEdit(pane);
        edit->setObjectName(label);
        if (capacity) edit->setMaxLength(capacity);
        form->addRow(label, edit);
        connect(edit, &QLineEdit::editingFinished, this, &CKurvaluxPane::CommitMeta);
        return edit;
    };
    name_ = line("Name:", kurvalux_data::kNameCapacity);
    name_->setReadOnly(true);
    name_->setToolTip("Rename Object... (F2)");
    alternate_ = line("Alternate name:", kurvalux_data::kAlternateNameCapacity);
    type_ = line("Variability type:", kurvalux_data::kVariabilityTypeCapacity);
    comment_ = line("Comment:", kurvalux_data::kCommentCapacity);
    ephemeris_ = new QLabel(pane);
    ephemeris_->setObjectName("Ephemeris");
    ephemeris_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    ephemeris_->setWordWrap(true);
    form->addRow("Ephemeris:", ephemeris_);
    max_mag_ = line("Max. magnitude:", 0);
    min_mag_ = line("Min. magnitude:", 0);
    layout->addLayout(form);
    layout->addWidget(new QLabel("Notes:", pane));
    notes_ = new QPlainTextEdit(pane);
    notes_->setObjectName("Notes");
    notes_->setMaximumHeight(fontMetrics().height() * 5);
    layout->addWidget(notes_);
    stars_ = new QTextBrowser(pane);
    stars_->setObjectName("Stars");
    layout->addWidget(stars_, 1);
    connect(notes_, &QPlainTextEdit::textChanged, this, [this] {
        if (filling_) return;
        CObjectListElem* object = CurrentObject();
        if (!object) return;
        std::string text = notes_->toPlainText().toStdString(), notes;
        // Lines are kept with CR LF, as the field file writes them.
        for (char c : text) {
            if (c == '\n')
                notes += "\r\n";
            else
                notes += c;
        }
        if (!notes.empty() && notes.substr(notes.size() > 1 ? notes.size() - 2 : 0) != "\r\n")
            notes += "\r\n";
        if (notes != object->notes) {
            object->notes = notes;
            host_.MarkModified();
        }
    });
    return pane;
}

QWidget* CKurvaluxPane::BuildEphemerisBar() {
    // Two rows, so that the window stays narrow enough for a small screen at 200 %.
    auto* bar = new QWidget(this);
    auto* rows = new QVBoxLayout(bar);
    rows->setContentsMargins(2, 2, 2, 2);
    rows->setSpacing(2);
    auto* layout = new QHBoxLayout();
    auto* second = new QHBoxLayout();
    rows->addLayout(layout);
    rows->addLayout(second);
    layout->addWidget(new QLabel("M0:", bar));
    m0_ = new QLineEdit(bar);
    m0_->setObjectName("M0");
    m0_->setMinimumWidth(fontMetrics().horizontalAdvance("2459000.00000000"));
    layout->addWidget(m0_);
    layout->addWidget(new QLabel("P:", bar));
    period_ = new QComboBox(bar);
    period_->setObjectName("P");
    period_->setEditable(true);
    period_->setInsertPolicy(QComboBox::NoInsert);
    period_->setMinimumWidth(fontMetrics().horizontalAdvance("0000.0000000000"));
    layout->addWidget(period_);
    layout->addStretch(1);
    layout = second;
    auto slider = [&](const char* label, const char* tip) {
        layout->addWidget(new QLabel(label, bar));
        auto* s = new QSlider(Qt::Horizontal, bar);
        s->setObjectName(label);
        s->setRange(-100, 100);
        s->setValue(0);
        s->setToolTip(tip);
        s->setMaximumWidth(fontMetrics().horizontalAdvance("M") * 8);
        connect(s, &QSlider::sliderPressed, this, [this] {
            CObjectListElem* object = CurrentObject();
            if (!object) return;
            adjust_m0_ = object->m0;
            adjust_period_ = object->period;
            adjust_offset_ =
                series_index_ >= 0 && series_index_ < static_cast<int>(object->series.size())
                    ? object->series[static_cast<size_t>(series_index_)]->offset
                    : 0;
        });
        connect(s, &QSlider::sliderMoved, this, &CKurvaluxPane::AdjustmentMoved);
        connect(s, &QSlider::sliderReleased, this, &CKurvaluxPane::AdjustmentReleased);
        layout->addWidget(s);
        return s;
    };
    m0_adjust_ = slider("M0 adj.:", "Moves M0 by up to the period amplitude times the period");
    period_adjust_ = slider("P adj.:",
                            "Changes the period so that the phases drift by up to the period "
                            "amplitude across the whole time span");
    offset_adjust_ =
        slider("Offset adj.:", "Moves the selected series by up to its offset amplitude");
    layout->addWidget(new QLabel("Date/time:", bar));
    marked_time_ = new QDateTimeEdit(QDateTime::currentDateTimeUtc().toLocalTime(), bar);
    marked_time_->setObjectName("Date/time");
    marked_time_->setDisplayFormat("yyyy-MM-dd HH:mm");
    marked_time_->setToolTip("The date/time line of the phased curve");
    layout->addWidget(marked_time_);
    layout->addStretch(1);
    connect(m0_, &QLineEdit::editingFinished, this, &CKurvaluxPane::EphemerisEdited);
    connect(period_->lineEdit(), &QLineEdit::editingFinished, this,
            &CKurvaluxPane::EphemerisEdited);
    connect(period_, qOverload<int>(&QComboBox::activated), this, &CKurvaluxPane::PeriodChosen);
    connect(marked_time_, &QDateTimeEdit::dateTimeChanged, this, [this] {
        if (host_.GetSettings().show_time) {
            stale_[kTabPhased] = true;
            if (tabs_->currentIndex() == kTabPhased) FillChart(kTabPhased, true);
        }
    });
    return bar;
}

double CKurvaluxPane::MarkedJd() const {
    return static_cast<double>(marked_time_->dateTime().toMSecsSinceEpoch()) / 86400000.0 +
           kUnixEpochJd;
}

CObjectListElem* CKurvaluxPane::CurrentObject() {
    auto& objects = host_.GetField().objects;
    if (object_index_ < 0 || object_index_ >= static_cast<int>(objects.size())) return nullptr;
    return objects[static_cast<size_t>(object_index_)].get();
}

void CKurvaluxPane::Refresh() {
    // Another field: the first object, its first series, and views that forget what they
    // showed (an object of the new field may even sit at a freed object's address).
    object_index_ = 0;
    series_index_ = -1;
    shown_object_ = nullptr;
    minimum_->Forget();
    phase_fit_->Forget();
    RefreshObjects();
}

void CKurvaluxPane::RefreshObjects() {
    filling_ = true;
    const auto& objects = host_.GetField().objects;
    objects_->clear();
    for (const auto& object : objects) objects_->addItem(Q(object->name));
    if (objects.empty())
        object_index_ = -1;
    else
        object_index_ = std::clamp(object_index_, 0, static_cast<int>(objects.size()) - 1);
    objects_->setCurrentRow(object_index_);
    filling_ = false;
    RefreshObject();
}

void CKurvaluxPane::SelectObject(int index) {
    objects_->setCurrentRow(index);
}

void CKurvaluxPane::ObjectChanged(int row) {
    if (filling_) return;
    if (row == object_index_) return;
    object_index_ = row;
    series_index_ = -1;
    RefreshObject();
}

void CKurvaluxPane::RefreshObject() {
    CObjectListElem* object = CurrentObject();
    // Another object at the current row (one was removed or the list sorted): its own
    // first series.
    if (object != shown_object_) series_index_ = -1;
    shown_object_ = object;
    if (!object || series_index_ >= static_cast<int>(object->series.size())) series_index_ = -1;
    if (object && series_index_ < 0 && !object->series.empty()) series_index_ = 0;
    if (object_index_ >= 0 && object_index_ < objects_->count() && object)
        objects_->item(object_index_)->setText(Q(object->name));
    FillMeta();
    FillSeriesTree();
    FillEphemeris();
    RefreshCharts(true);
    host_.SelectionChanged();
}

void CKurvaluxPane::FillMeta() {
    filling_ = true;
    CObjectListElem* object = CurrentObject();
    for (QLineEdit* e : {name_, alternate_, type_, comment_, max_mag_, min_mag_}) {
        e->setEnabled(object != nullptr);
        e->clear();
    }
    notes_->setEnabled(object != nullptr);
    notes_->clear();
    stars_->clear();
    ephemeris_->clear();
    if (object) {
        name_->setText(Q(object->name));
        alternate_->setText(Q(object->alternate_name));
        type_->setText(Q(object->variability_type));
        comment_->setText(Q(object->comment));
        max_mag_->setText(MagnitudeText(object->max_magnitude));
        min_mag_->setText(MagnitudeText(object->min_magnitude));
        // As ephemerides are written: epoch + period x E, the saved copy below.
        ephemeris_->setText(Q(FormatFixed(object->m0, 7) + " + " + FormatFixed(object->period, 7) +
                              " E\nsaved " + FormatFixed(object->saved_m0, 7) + " + " +
                              FormatFixed(object->saved_period, 7) + " E"));
        std::string notes;
        for (char c : object->notes)
            if (c != '\r') notes += c;
        if (!notes.empty() && notes.back() == '\n') notes.pop_back();
        notes_->setPlainText(Q(notes));
        // The stars of the object's description, as the series describe them where the
        // object's own record is empty.
        kurvalux_data::CMetaData meta = object->meta_data;
        if (const CSeriesTreeElem* reference = object->ReferenceSeries())
            meta = kurvalux_data::MergeMetaData(object->meta_data, reference->EffectiveMetaData());
        QStringList lines;
        lines << Q(StarText("Variable", meta.var));
        // Records the file left empty (an index skipped) are not listed.
        for (size_t i = 0; i < meta.cmp.size(); ++i)
            if (!meta.cmp[i].IsEmpty())
                lines << Q(StarText(("Comparison " + std::to_string(i)).c_str(), meta.cmp[i]));
        for (size_t i = 0; i < meta.chk.size(); ++i)
            if (!meta.chk[i].IsEmpty())
                lines << Q(StarText(("Check " + std::to_string(i)).c_str(), meta.chk[i]));
        if (!meta.filter.empty()) lines << Q("Filter: " + meta.filter);
        if (meta.var_aperture != 0 || meta.cmp_aperture != 0 || meta.chk_aperture != 0)
            lines << Q("Apertures: var " + FormatFixed(meta.var_aperture, 2) + ", cmp " +
                       FormatFixed(meta.cmp_aperture, 2) + ", chk " +
                       FormatFixed(meta.chk_aperture, 2));
        stars_->setPlainText(lines.join('\n'));
    }
    filling_ = false;
}

void CKurvaluxPane::CommitMeta() {
    if (filling_) return;
    CObjectListElem* object = CurrentObject();
    if (!object) return;
    bool changed = false;
    auto text = [&](QLineEdit* edit, std::string& field, size_t capacity) {
        std::string value = kurvalux_platform::Cut(edit->text().toStdString(), capacity);
        if (value != field) {
            field = value;
            changed = true;
        }
    };
    text(alternate_, object->alternate_name, kurvalux_data::kAlternateNameCapacity);
    text(type_, object->variability_type, kurvalux_data::kVariabilityTypeCapacity);
    text(comment_, object->comment, kurvalux_data::kCommentCapacity);
    auto magnitude = [&](QLineEdit* edit, double& field) {
        double value = kurvalux_data::kUndefinedMagnitude;
        if (!edit->text().trimmed().isEmpty()) {
            std::optional<double> parsed = CFormDialog::ParseReal(edit->text());
            if (!parsed) {
                edit->setText(MagnitudeText(field));
                return;
            }
            value = *parsed;
        }
        if (value != field) {
            field = value;
            changed = true;
        }
    };
    magnitude(max_mag_, object->max_magnitude);
    magnitude(min_mag_, object->min_magnitude);
    if (changed) host_.MarkModified();
}

void CKurvaluxPane::FillSeriesTree() {
    filling_ = true;
    series_->clear();
    CObjectListElem* object = CurrentObject();
    if (object) {
        for (size_t k = 0; k < object->series.size(); ++k) {
            const CSeriesTreeElem& series = *object->series[k];
            auto* item = new QTreeWidgetItem(series_);
            std::string first =
                series.Count() ? kurvalux_lc::LocalDateTime(series.FirstTime()) : std::string();
            item->setText(0, Q(std::to_string(k + 1) + "  " + first));
            item->setText(1, Q(kurvalux_platform::FormatFixedAlways(series.offset, 3)));
            item->setText(2, Q(series.EffectiveMetaData().filter));
            item->setText(3, Q(JdTypeText(series)));
            item->setText(4, QString::number(series.Count()));
            if (series.IsLocal()) {
                const auto& local = static_cast<const kurvalux_data::CLocalSeriesTreeElem&>(series);
                item->setText(
                    5, Q(local.absolute_path.empty() ? local.relative_path : local.absolute_path));
            } else if (auto* web =
                           dynamic_cast<const kurvalux_data::CWebSeriesTreeElem*>(&series)) {
                item->setText(5, Q("Web Repository user: " + web->publisher));
            }
            item->setFlags(item->flags() | Qt::ItemIsUserCheckable | Qt::ItemIsEditable);
            item->setCheckState(0, series.enabled ? Qt::Checked : Qt::Unchecked);
            item->setData(0, kSeriesRole, static_cast<int>(k));
            item->setData(0, kMinimumRole, -1);
            for (size_t j = 0; j < series.minima.size(); ++j) {
                const kurvalux_data::CMinimaListElem& m = series.minima[j];
                auto* child = new QTreeWidgetItem(item);
                child->setText(0, Q(MinimumTypeText(m.type) + "  " + FormatFixed(m.time, 6) +
                                    " +- " + FormatFixed(m.error, 6)));
                child->setFlags(child->flags() | Qt::ItemIsUserCheckable);
                child->setCheckState(0, m.enabled ? Qt::Checked : Qt::Unchecked);
                child->setData(0, kSeriesRole, static_cast<int>(k));
                child->setData(0, kMinimumRole, static_cast<int>(j));
            }
            if (!series.minima.empty()) item->setExpanded(true);
            if (static_cast<int>(k) == series_index_) series_->setCurrentItem(item);
        }
        for (const auto& kept : object->unavailable_series) AddUnavailableItem(kept);
    }
    filling_ = false;
}

// A series whose file cannot be read: listed after the others, greyed (a disabled item cannot
// be selected or switched), with the reason in its tool tip and its minima below it.
void CKurvaluxPane::AddUnavailableItem(const kurvalux_data::CUnavailableSeries& kept) {
    const kurvalux_data::CLocalSeriesTreeElem& series = *kept.series;
    auto* item = new QTreeWidgetItem(series_);
    item->setText(0, "unavailable");
    item->setText(1, Q(kurvalux_platform::FormatFixedAlways(series.offset, 3)));
    item->setText(2, Q(series.meta_data.filter));
    item->setText(4, "0");
    item->setText(5, Q(kept.path));
    const QString reason = Q("Unavailable: " + kept.reason);
    for (int column = 0; column < series_->columnCount(); ++column)
        item->setToolTip(column, reason);
    item->setData(0, kSeriesRole, -1);
    item->setData(0, kMinimumRole, -1);
    item->setFlags(item->flags() & ~Qt::ItemIsEnabled);
    for (const kurvalux_data::CMinimaListElem& m : series.minima) {
        auto* child = new QTreeWidgetItem(item);
        child->setText(0, Q(MinimumTypeText(m.type) + "  " + FormatFixed(m.time, 6) + " +- " +
                            FormatFixed(m.error, 6)));
        child->setData(0, kSeriesRole, -1);
        child->setData(0, kMinimumRole, -1);
        child->setFlags(child->flags() & ~Qt::ItemIsEnabled);
    }
    if (!series.minima.empty()) item->setExpanded(true);
}

void CKurvaluxPane::SeriesItemChanged(QTreeWidgetItem* item, int column) {
    if (filling_) return;
    CObjectListElem* object = CurrentObject();
    if (!object) return;
    int k = item->data(0, kSeriesRole).toInt(), j = item->data(0, kMinimumRole).toInt();
    if (k < 0 || k >= static_cast<int>(object->series.size())) return;
    CSeriesTreeElem& series = *object->series[static_cast<size_t>(k)];
    if (column == 0) {
        bool checked = item->checkState(0) == Qt::Checked;
        if (j < 0) {
            if (series.enabled == checked) return;
            series.enabled = checked;
        } else {
            if (j >= static_cast<int>(series.minima.size())) return;
            if (series.minima[static_cast<size_t>(j)].enabled == checked) return;
            series.minima[static_cast<size_t>(j)].enabled = checked;
        }
        host_.MarkModified();
        RefreshCharts(true);
    } else if (column == 1 && j < 0) {
        std::optional<double> value = CFormDialog::ParseReal(item->text(1));
        if (value && *value != series.offset) {
            series.offset = *value;
            host_.MarkModified();
            RefreshCharts(true);
        }
        filling_ = true;
        item->setText(1, Q(kurvalux_platform::FormatFixedAlways(series.offset, 3)));
        filling_ = false;
    }
}

void CKurvaluxPane::EditSeries(int index) {
    CObjectListElem* object = CurrentObject();
    if (!object || index < 0 || index >= static_cast<int>(object->series.size())) return;
    CSeriesTreeElem& series = *object->series[static_cast<size_t>(index)];
    const char* offset_label = object->is_flux ? "Series flux factor:" : "Series offset [Mag]:";
    CFormDialog dialog(QString("Series %1").arg(index + 1), this);
    dialog.AddReal(offset_label, series.offset, -1e6, 1e6);
    dialog.AddText("Filter:", Q(series.meta_data.filter), kurvalux_data::kFilterCapacity);
    dialog.AddChoice("JD type:", {"as the file says", "geocentric (GJD)", "heliocentric (HJD)"},
                     static_cast<int>(series.meta_data.jd_type));
    dialog.AddCheck("Series enabled", series.enabled);
    dialog.AddNote(Q("File: " + JdTypeText(series) + ", filter \"" + series.file_meta_data.filter +
                     "\"; a JD type set here applies when the "
                     "field is loaded again."));
    if (host_.RunDialog(dialog) != QDialog::Accepted) return;
    double offset = dialog.Real(offset_label);
    std::string filter =
        kurvalux_platform::Cut(dialog.Text("Filter:"), kurvalux_data::kFilterCapacity);
    uint32_t jd_type = static_cast<uint32_t>(std::max(0, dialog.Choice("JD type:")));
    bool enabled = dialog.Checked("Series enabled");
    if (offset == series.offset && filter == series.meta_data.filter &&
        jd_type == series.meta_data.jd_type && enabled == series.enabled)
        return;
    series.offset = offset;
    series.meta_data.filter = filter;
    series.meta_data.jd_type = jd_type;
    series.enabled = enabled;
    host_.MarkModified();
    RefreshObject();
}

void CKurvaluxPane::SeriesSelectionChanged() {
    if (filling_) return;
    QTreeWidgetItem* item = series_->currentItem();
    if (!item) return;
    int k = item->data(0, kSeriesRole).toInt();
    if (k == series_index_) return;
    series_index_ = k;
    RefreshCharts(true);
    host_.SelectionChanged();
}

void CKurvaluxPane::SelectSeries(int index) {
    for (int i = 0; i < series_->topLevelItemCount(); ++i)
        if (series_->topLevelItem(i)->data(0, kSeriesRole).toInt() == index) {
            series_->setCurrentItem(series_->topLevelItem(i));
            return;
        }
}

bool CKurvaluxPane::CurrentMinimum(int& series, int& index) const {
    QTreeWidgetItem* item = series_->currentItem();
    if (!item || !item->parent()) return false;
    series = item->data(0, kSeriesRole).toInt();
    index = item->data(0, kMinimumRole).toInt();
    return index >= 0;
}

void CKurvaluxPane::SelectMinimum(int series, int index) {
    for (int i = 0; i < series_->topLevelItemCount(); ++i) {
        QTreeWidgetItem* top = series_->topLevelItem(i);
        if (top->data(0, kSeriesRole).toInt() != series) continue;
        for (int c = 0; c < top->childCount(); ++c)
            if (top->child(c)->data(0, kMinimumRole).toInt() == index) {
                series_->setCurrentItem(top->child(c));
                return;
            }
    }
}

void CKurvaluxPane::FillEphemeris() {
    filling_ = true;
    CObjectListElem* object = CurrentObject();
    m0_->setEnabled(object != nullptr);
    period_->setEnabled(object != nullptr);
    m0_->setText(object ? Q(FormatFixed(object->m0, 7)) : QString());
    RefreshPeriods();
    filling_ = false;
}

void CKurvaluxPane::RefreshPeriods() {
    bool was = filling_;
    filling_ = true;
    period_->clear();
    CObjectListElem* object = CurrentObject();
    if (object) {
        for (const kurvalux_data::CPeriodListElem& p : object->periods)
            period_->addItem(Q(kurvalux_analysis::PeriodListText(p)), p.Chosen());
        period_->setEditText(Q(FormatFixed(object->period, 7)));
    }
    filling_ = was;
}

void CKurvaluxPane::EphemerisEdited() {
    if (filling_) return;
    CObjectListElem* object = CurrentObject();
    if (!object) return;
    std::optional<double> m0 = CFormDialog::ParseReal(m0_->text());
    std::optional<double> period = CFormDialog::ParseReal(period_->currentText());
    bool changed = false;
    if (m0 && *m0 != object->m0 && Q(FormatFixed(object->m0, 7)) != m0_->text().trimmed()) {
        object->m0 = *m0;
        changed = true;
    }
    if (period && *period >= 0 && *period != object->period &&
        Q(FormatFixed(object->period, 7)) != period_->currentText().trimmed()) {
        object->period = *period;
        changed = true;
    }
    if (changed) {
        host_.MarkModified();
        FillMeta();
        RefreshCharts(true);
    }
    FillEphemeris();
}

void CKurvaluxPane::PeriodChosen(int index) {
    if (filling_) return;
    CObjectListElem* object = CurrentObject();
    if (!object || index < 0 || index >= static_cast<int>(object->periods.size())) return;
    // A period refined by the minima replaces the key's mean when the entry is chosen.
    double period = object->periods[static_cast<size_t>(index)].Chosen();
    if (period == object->period) return;
    if (!host_.GetSettings().auto_accept_m0_period) {
        // The box already shows the chosen period. While the question waits it takes the focus
        // from the box, and a box that loses the focus counts as edited: put the current period
        // back first, so that only Yes changes it.
        filling_ = true;
        period_->setEditText(Q(FormatFixed(object->period, 7)));
        filling_ = false;
        kurvalux_platform::MessageAnswer answer = host_.Messages().Show(
            "Change of period",
            {"Do you want to change the period of the object",
             "to " + FormatFixed(period, 7) + "?"},
            kurvalux_platform::MessageIcon::Question, kurvalux_platform::MessageButtons::YesNo);
        if (answer != kurvalux_platform::MessageAnswer::Yes) {
            FillEphemeris();
            return;
        }
    }
    object->period = period;
    host_.MarkModified();
    FillMeta();
    FillEphemeris();
    RefreshCharts(true);
}

void CKurvaluxPane::AdjustmentMoved() {
    CObjectListElem* object = CurrentObject();
    if (!object) return;
    double f = 0;
    auto* slider = qobject_cast<QSlider*>(sender());
    if (!slider) return;
    f = slider->sliderPosition() / 100.0;
    if (slider == m0_adjust_) {
        if (object->period <= 0) return;
        object->m0 = adjust_m0_ + f * object->period_amplitude * adjust_period_;
    } else if (slider == period_adjust_) {
        // A change dP moves the phase of the last point against the first by span * dP / P^2:
        // the slider's end drifts the phases by the period amplitude over the data.
        double first = INFINITY, last = -INFINITY;
        for (const auto& s : object->series)
            if (s->Count()) {
                first = std::min(first, s->FirstTime());
                last = std::max(last, s->LastTime());
            }
        double span = last - first;
        if (!(span > 0) || adjust_period_ <= 0) return;
        object->period =
            adjust_period_ + f * object->period_amplitude * adjust_period_ * adjust_period_ / span;
    } else if (slider == offset_adjust_) {
        if (series_index_ < 0 || series_index_ >= static_cast<int>(object->series.size())) return;
        CSeriesTreeElem& series = *object->series[static_cast<size_t>(series_index_)];
        series.offset = object->is_flux ? adjust_offset_ * (1 + f * object->offset_amplitude)
                                        : adjust_offset_ + f * object->offset_amplitude;
    }
    filling_ = true;
    m0_->setText(Q(FormatFixed(object->m0, 7)));
    period_->setEditText(Q(FormatFixed(object->period, 7)));
    filling_ = false;
    RefreshCharts(true);
}

void CKurvaluxPane::AdjustmentReleased() {
    auto* slider = qobject_cast<QSlider*>(sender());
    if (!slider) return;
    CObjectListElem* object = CurrentObject();
    bool moved = slider->value() != 0;
    slider->setValue(0);
    if (object && moved) {
        host_.MarkModified();
        RefreshObject();
    }
}

void CKurvaluxPane::RefreshCharts(bool keep_zoom) {
    stale_.fill(true);
    int current = tabs_->currentIndex();
    if (current >= 0) FillChart(static_cast<ChartTab>(current), keep_zoom);
}

void CKurvaluxPane::TabChanged(int index) {
    if (index >= 0 && stale_[static_cast<size_t>(index)])
        FillChart(static_cast<ChartTab>(index), true);
    host_.SelectionChanged();
}

void CKurvaluxPane::ShowTab(ChartTab tab) {
    tabs_->setCurrentIndex(tab);
}

void CKurvaluxPane::FillChart(ChartTab tab, bool keep_zoom) {
    stale_[tab] = false;
    if (tab == kTabPhasedFit) {
        phase_fit_->Refill(keep_zoom);
        return;
    }
    if (tab == kTabMinimum) {
        minimum_->Refill(keep_zoom);
        return;
    }
    if (tab == kTabOC || tab == kTabPrediction) {
        if (tab == kTabOC)
            oc_->Refill(keep_zoom);
        else
            prediction_->Refill(keep_zoom);
        return;
    }
    CChartCanvas* canvas = views_[static_cast<size_t>(tab)]->Canvas();
    CObjectListElem* object = CurrentObject();
    if (!object) {
        canvas->ClearChart(host_.GetField().objects.empty() ? "The field holds no objects"
                                                            : "No object selected");
        return;
    }
    const kurvalux_data::Settings& settings = host_.GetSettings();
    kurvalux_lc::ChartRequest request;
    request.view = tab == kTabTime         ? kurvalux_lc::ChartView::kTime
                   : tab == kTabCompressed ? kurvalux_lc::ChartView::kCompressed
                                           : kurvalux_lc::ChartView::kPhased;
    request.series = series_index_;
    request.filters = &settings.filters;
    request.show_error_bars = settings.show_dev;
    request.show_unused_minima = true;
    request.show_predicted_minima = settings.show_minima;
    std::string message;
    kurvalux_lc::Chart chart = kurvalux_lc::MakeChart(*object, request, message);
    if (!chart.pane) {
        canvas->ClearChart(QString::fromStdString(message));
        return;
    }
    if (tab == kTabPhased) {
        // The "now" and date/time lines: where the present moment and the marked moment fall
        // in the cycle, labelled with their dates.
        auto line = [&](double jd, kurvalux_platform::Colour colour) {
            double phase = kurvalux_analysis::PhaseOf(jd, object->m0, object->period);
            for (double p : {phase - 1, phase, phase + 1})
                if (p >= kurvalux_lc::kPhaseFrom && p <= kurvalux_lc::kPhaseTo)
                    chart.pane->AddMarkerAt(p, jd, colour, kurvalux_lc::kMarkerNight);
        };
        if (settings.show_now)
            line(static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 86400000.0 +
                     kUnixEpochJd,
                 kurvalux_platform::MakeColour(0, 160, 0));
        if (settings.show_time) line(MarkedJd(), kurvalux_platform::MakeColour(0, 120, 200));
    }
    canvas->SetChart(std::move(chart), keep_zoom);
}

CChartCanvas* CKurvaluxPane::Canvas(ChartTab tab) {
    switch (tab) {
        case kTabPhasedFit:
            return phase_fit_->Canvas();
        case kTabMinimum:
            return minimum_->Canvas();
        case kTabOC:
            return oc_->Canvas();
        case kTabPrediction:
            return prediction_->Canvas();
        default:
            return views_[static_cast<size_t>(tab)]->Canvas();
    }
}

CChartCanvas* CKurvaluxPane::CurrentCanvas() {
    int index = tabs_->currentIndex();
    return index < 0 ? nullptr : Canvas(static_cast<ChartTab>(index));
}

void CKurvaluxPane::ZoomIn() {
    if (CChartCanvas* c = CurrentCanvas()) c->ZoomIn();
}

void CKurvaluxPane::ZoomOut() {
    if (CChartCanvas* c = CurrentCanvas()) c->ZoomOut();
}

void CKurvaluxPane::ClearZoom() {
    if (CChartCanvas* c = CurrentCanvas()) c->ClearZoom();
}

std::array<int, 3> CKurvaluxPane::SplitterPositions() const {
    auto first = [](const QSplitter* s) {
        QList<int> sizes = s->sizes();
        return sizes.isEmpty() ? 0 : sizes.front();
    };
    return {first(this), first(left_), first(right_)};
}

void CKurvaluxPane::SetSplitterPositions(const std::array<int, 3>& positions) {
    auto set = [](QSplitter* s, int first) {
        if (first <= 0) return;
        int total = 0;
        for (int size : s->sizes()) total += size;
        if (total <= first) total = first * 4;
        s->setSizes({first, total - first});
    };
    set(this, positions[0]);
    set(left_, positions[1]);
    set(right_, positions[2]);
}

}  // namespace kurvalux_app
