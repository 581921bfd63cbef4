#include "app/dialogs.h"

#include <QClipboard>
#include <QColorDialog>
#include <QDialogButtonBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QPixmap>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "analysis/model.h"
#include "analysis/periods/period_dialog_texts.h"
#include "app/form_dialog.h"
#include "app/qt_platform.h"
#include "platform/text.h"
#include "time/minimum_times.h"

namespace kurvalux_app {

using kurvalux_platform::FormatFixed;

QString ColourHex(uint32_t colour) {
    return QString("%1").arg(colour, 8, 16, QChar('0')).toUpper();
}

bool ParseColourHex(const QString& text, uint32_t& colour) {
    bool ok = false;
    QString trimmed = text.trimmed();
    if (trimmed.isEmpty() || trimmed.size() > 15) return false;
    qulonglong value = trimmed.toULongLong(&ok, 16);
    if (!ok || value > 0xFFFFFFFFull) return false;
    colour = static_cast<uint32_t>(value);
    return true;
}

namespace {

QIcon Swatch(uint32_t colour, int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(QColor(colour & 0xFF, (colour >> 8) & 0xFF, (colour >> 16) & 0xFF));
    QPainter painter(&pixmap);
    painter.setPen(Qt::black);
    painter.drawRect(0, 0, size - 1, size - 1);
    return QIcon(pixmap);
}

}  // namespace

CFilterTableDialog::CFilterTableDialog(const kurvalux_data::FilterTable& table,
                                       kurvalux_platform::CMessageBoxSink& messages,
                                       std::function<int(QDialog&)> run, QWidget* parent)
    : QDialog(parent), table_(table), messages_(messages), run_(std::move(run)) {
    setWindowTitle("Edit filter name and color assignments");
    setObjectName(windowTitle());
    auto* layout = new QVBoxLayout(this);
    auto* row = new QHBoxLayout();
    list_ = new QListWidget(this);
    list_->setObjectName("Filters");
    row->addWidget(list_, 1);
    auto* buttons = new QVBoxLayout();
    for (auto [text, slot] : {std::pair{"Add filter", &CFilterTableDialog::AddFilter},
                              std::pair{"Edit filetr", &CFilterTableDialog::EditFilter},
                              std::pair{"Delete filter", &CFilterTableDialog::DeleteFilter}}) {
        auto* button = new QPushButton(text, this);
        button->setObjectName(text);
        connect(button, &QPushButton::clicked, this, slot);
        buttons->addWidget(button);
    }
    buttons->addStretch(1);
    row->addLayout(buttons);
    layout->addLayout(row);
    auto* box = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(box, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(box, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(box);
    connect(list_, &QListWidget::itemDoubleClicked, this, &CFilterTableDialog::EditFilter);
    Fill("");
    resize(420, 380);
}

void CFilterTableDialog::Fill(const std::string& select) {
    list_->clear();
    int size = fontMetrics().height();
    for (const kurvalux_data::CFilterTreeElem& f : table_.Filters()) {
        auto* item = new QListWidgetItem(
            Swatch(f.colour, size), QString::fromStdString(f.name) + "    " + ColourHex(f.colour),
            list_);
        item->setData(Qt::UserRole, QString::fromStdString(f.name));
        if (f.name == select) list_->setCurrentItem(item);
    }
}

bool CFilterTableDialog::Define(std::string& name, uint32_t& colour, const std::string& own_name) {
    CFormDialog dialog("Define filter name and color", this);
    dialog.AddText("Filter name:", QString::fromStdString(name), 63);
    dialog.AddText("Filter color:", ColourHex(colour), 15);
    auto* pick = new QPushButton("Choose...");
    dialog.AddWidget("Pick color:", pick);
    connect(pick, &QPushButton::clicked, &dialog, [&dialog] {
        uint32_t current = 0xFF000000;
        ParseColourHex(QString::fromStdString(dialog.Text("Filter color:")), current);
        QColor chosen = QColorDialog::getColor(
            QColor(current & 0xFF, (current >> 8) & 0xFF, (current >> 16) & 0xFF), &dialog);
        if (!chosen.isValid()) return;
        uint32_t value = 0xFF000000u | static_cast<uint32_t>(chosen.red()) |
                         (static_cast<uint32_t>(chosen.green()) << 8) |
                         (static_cast<uint32_t>(chosen.blue()) << 16);
        dialog.SetBoxText("Filter color:", ColourHex(value));
    });
    for (;;) {
        if (run_(dialog) != QDialog::Accepted) return false;
        std::string new_name(kurvalux_platform::TrimBlanks(dialog.Text("Filter name:")));
        uint32_t new_colour = 0;
        if (new_name.empty()) {
            messages_.Error("Define filter name and color", {"The filter needs a name."});
            continue;
        }
        if (!ParseColourHex(QString::fromStdString(dialog.Text("Filter color:")), new_colour)) {
            // As the settings file reads it: a colour that is not hexadecimal is black.
            new_colour = 0xFF000000;
        }
        if (new_name != own_name && table_.Find(new_name)) {
            messages_.Error("Filter exists",
                            {"Found filter of the name:", new_name, "Choose another unique name."});
            dialog.SetBoxText("Filter name:", QString::fromStdString(name));
            continue;
        }
        name = new_name;
        colour = new_colour;
        return true;
    }
}

void CFilterTableDialog::AddFilter() {
    std::string name;
    uint32_t colour = 0xFF000000;
    if (!Define(name, colour, "")) return;
    table_.Add(name, colour);
    Fill(name);
}

void CFilterTableDialog::EditFilter() {
    QListWidgetItem* item = list_->currentItem();
    if (!item) return;
    std::string old_name = item->data(Qt::UserRole).toString().toStdString();
    const kurvalux_data::CFilterTreeElem* filter = table_.Find(old_name);
    if (!filter) return;
    std::string name = old_name;
    uint32_t colour = filter->colour;
    if (!Define(name, colour, old_name)) return;
    if (name != old_name) table_.Rename(old_name, name);
    table_.SetColour(name, colour);
    Fill(name);
}

void CFilterTableDialog::DeleteFilter() {
    QListWidgetItem* item = list_->currentItem();
    if (!item) return;
    table_.Remove(item->data(Qt::UserRole).toString().toStdString());
    Fill("");
}

CMinimaListDialog::CMinimaListDialog(const kurvalux_data::CObjectListElem& object,
                                     const std::optional<kurvalux_time::Site>& site,
                                     QWidget* parent)
    : QDialog(parent) {
    using kurvalux_time::TimeStandard;
    setWindowTitle("List of minima");
    setObjectName(windowTitle());
    auto* layout = new QVBoxLayout(this);
    table_ = new QTableWidget(this);
    table_->setObjectName("Minima");
    table_->setColumnCount(9);
    table_->setHorizontalHeaderLabels(
        {"Series", "Type", "Time", "Standard", "BJD_TDB", "Error", "Cycle", "O-C", "In use"});
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->verticalHeader()->setVisible(false);
    bool ephemeris = object.m0 != 0 && object.period > 0;
    // The same instants in BJD_TDB, in the order of the series and their minima.
    const std::vector<kurvalux_time::MinimumTime> bjd =
        kurvalux_time::MinimumTimes(object, TimeStandard::kBjdTdb, site);
    int row = 0;
    size_t index = 0;
    for (size_t k = 0; k < object.series.size(); ++k) {
        for (const kurvalux_data::CMinimaListElem& m : object.series[k]->minima) {
            const kurvalux_time::MinimumTime& t = bjd.at(index++);
            table_->insertRow(row);
            auto set = [&](int column, const std::string& text) {
                auto* item = new QTableWidgetItem(QString::fromStdString(text));
                item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
                table_->setItem(row, column, item);
            };
            set(0, std::to_string(k + 1));
            set(1, m.type == kurvalux_data::kMinimumPrimary     ? "Primary"
                   : m.type == kurvalux_data::kMinimumSecondary ? "Secondary"
                                                                : "Undefined");
            set(2, FormatFixed(m.time, 6));
            std::string standard = t.stored ? TimeStandardName(*t.stored) : "unknown";
            if (t.short_formula) standard += " (field formula)";
            set(3, standard);
            // BJD_TDB needs the star's position and a known standard; 8 decimals = 0.9 ms.
            set(4, t.converted ? kurvalux_platform::FormatFixedAlways(*t.converted, 8) : "-");
            set(5, FormatFixed(m.error, 6));
            if (ephemeris) {
                kurvalux_analysis::CycleOC c =
                    kurvalux_analysis::CycleAndOC(m.time, m.type, object.m0, object.period);
                set(6, kurvalux_platform::FormatFixedAlways(c.cycle, 1));
                set(7, FormatFixed(c.oc, 6));
            }
            set(8, m.enabled ? "yes" : "no");
            ++row;
        }
    }
    table_->resizeColumnsToContents();
    layout->addWidget(table_, 1);
    auto* box = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    QPushButton* copy = box->addButton("Copy", QDialogButtonBox::ActionRole);
    connect(copy, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setText(TableText()); });
    connect(box, &QDialogButtonBox::accepted, this, &QDialog::accept);
    layout->addWidget(box);
    resize(820, 400);
}

QString CMinimaListDialog::TableText() const {
    QString text;
    for (int c = 0; c < table_->columnCount(); ++c)
        text += (c ? "\t" : "") + table_->horizontalHeaderItem(c)->text();
    text += "\n";
    for (int r = 0; r < table_->rowCount(); ++r) {
        for (int c = 0; c < table_->columnCount(); ++c) {
            const QTableWidgetItem* item = table_->item(r, c);
            text += (c ? "\t" : "") + (item ? item->text() : QString());
        }
        text += "\n";
    }
    return text;
}

CFrequencyProgressDialog::CFrequencyProgressDialog(QWidget* parent, uint64_t total)
    : QDialog(parent), total_(total) {
    setWindowTitle(kurvalux_analysis::kFrequencyProgressTitle);
    setObjectName(windowTitle());
    setWindowModality(Qt::ApplicationModal);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(kurvalux_analysis::kFrequencyProgressText, this));
    bar_ = new QProgressBar(this);
    bar_->setRange(0, 1000);
    bar_->setValue(0);
    bar_->setMinimumWidth(fontMetrics().horizontalAdvance("M") * 24);
    layout->addWidget(bar_);
    auto* box = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    connect(box, &QDialogButtonBox::rejected, this, &CFrequencyProgressDialog::reject);
    layout->addWidget(box);
    auto* receiver = new CPostReceiver(
        [this](uint32_t message, intptr_t a, intptr_t b) { Posted(message, a, b); }, this);
    poster_ = std::make_unique<CQtPoster>(receiver);
}

void CFrequencyProgressDialog::Posted(uint32_t message, intptr_t a, intptr_t b) {
    if (a < 0 || a > 4096) return;
    const size_t worker = static_cast<size_t>(a);
    if (message == kurvalux_platform::kMsgFrequencyProgress) {
        if (done_.size() <= worker) done_.resize(worker + 1, 0);
        done_[worker] = static_cast<uint64_t>(std::max<intptr_t>(0, b));
        SetProgress(Done(), total_);
    } else if (message == kurvalux_platform::kMsgFrequencyDone) {
        ++ended_;
    }
}

uint64_t CFrequencyProgressDialog::Done() const {
    uint64_t sum = 0;
    for (uint64_t d : done_) sum += d;
    return sum;
}

void CFrequencyProgressDialog::SetProgress(uint64_t done, uint64_t total) {
    if (total == 0) return;
    bar_->setValue(static_cast<int>(done * 1000 / total));
}

void CFrequencyProgressDialog::reject() {
    cancelled_ = true;
    QDialog::reject();
}

}  // namespace kurvalux_app
