#include "app/sheet_window.h"

#include <QHeaderView>
#include <QTableWidget>
#include <QVBoxLayout>

namespace kurvalux_app {

namespace {
// The mark of an observed night: a heavy check mark, centred in its cell.
const QString kObservedMark = QString::fromUtf8("\xE2\x9C\x94");
constexpr int kSourceRole = Qt::UserRole + 1;
}  // namespace

CSheetWindow::CSheetWindow(std::function<void(int)> select, QWidget* parent)
    : QWidget(parent, Qt::Window), table_(new QTableWidget(this)), select_(std::move(select)) {
    setWindowTitle("Observation Sheet");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(table_);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->verticalHeader()->setVisible(false);
    connect(table_, &QTableWidget::cellDoubleClicked, this, [this](int row, int) {
        QTableWidgetItem* item = table_->item(row, 0);
        if (item && select_) select_(item->data(kSourceRole).toInt());
    });
    resize(1100, 500);
}

void CSheetWindow::Rebuild(const kurvalux_data::Field& field) {
    sheet_.Build(field);
    table_->setSortingEnabled(false);
    table_->clear();
    const auto& columns = sheet_.Columns();
    table_->setColumnCount(static_cast<int>(columns.size()));
    table_->setRowCount(static_cast<int>(sheet_.Rows().size()));
    QStringList headers;
    for (size_t c = 0; c < columns.size(); ++c)
        headers << QString::fromStdString(sheet_.ColumnHeader(c));
    table_->setHorizontalHeaderLabels(headers);
    for (size_t c = 0; c < columns.size(); ++c) table_->setColumnWidth(int(c), columns[c].width);
    for (size_t r = 0; r < sheet_.Rows().size(); ++r) {
        const kurvalux_sht::SheetRow& row = sheet_.Rows()[r];
        for (size_t c = 0; c < row.texts.size(); ++c) {
            // Texts keep within the column's limit (less its terminating byte).
            const std::string text =
                row.texts[c].substr(0, static_cast<size_t>(columns[c].limit - 1));
            auto* item = new QTableWidgetItem(QString::fromStdString(text));
            item->setTextAlignment(Qt::AlignLeft | Qt::AlignVCenter);
            if (c == 0) item->setData(kSourceRole, static_cast<int>(row.source));
            table_->setItem(int(r), int(c), item);
        }
        for (size_t n = 0; n < row.observed.size(); ++n) {
            auto* item = new QTableWidgetItem(row.observed[n] ? kObservedMark : QString());
            item->setTextAlignment(Qt::AlignCenter);
            table_->setItem(int(r), int(row.texts.size() + n), item);
        }
    }
    table_->setSortingEnabled(true);
}

}  // namespace kurvalux_app
