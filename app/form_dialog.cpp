#include "app/form_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QVBoxLayout>
#include <charconv>
#include <cmath>

namespace kurvalux_app {

CFormDialog::CFormDialog(const QString& title, QWidget* parent) : QDialog(parent) {
    setWindowTitle(title);
    setObjectName(title);
    auto* layout = new QVBoxLayout(this);
    form_ = new QFormLayout();
    form_->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    layout->addLayout(form_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &CFormDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &CFormDialog::reject);
    layout->addWidget(buttons);
}

QString CFormDialog::RealText(double value, int decimals) {
    if (decimals >= 0) {
        char buffer[400];
        std::to_chars_result r = std::to_chars(buffer, buffer + sizeof buffer, value,
                                               std::chars_format::fixed, decimals);
        return QString::fromLatin1(buffer, static_cast<int>(r.ptr - buffer));
    }
    // Fifteen significant digits: every digit a user typed or a file held, without the
    // binary noise of the last place.
    return QString::number(value, 'g', 15);
}

std::optional<double> CFormDialog::ParseReal(const QString& text) {
    bool ok = false;
    double value = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(value)) return std::nullopt;
    return value;
}

void CFormDialog::AddReal(const QString& label, double value, double lower, double upper,
                          int decimals) {
    const QString text = RealText(value, decimals);
    offered_[label] = {text, value};
    auto* edit = new QLineEdit(text, this);
    edit->setObjectName(label);
    edit->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("0000000.0000000")));
    form_->addRow(label, edit);
    boxes_[label] = edit;
    ranges_[label] = {lower, upper, false};
}

void CFormDialog::AddCount(const QString& label, long value, long lower, long upper) {
    auto* edit = new QLineEdit(QString::number(value), this);
    edit->setObjectName(label);
    form_->addRow(label, edit);
    boxes_[label] = edit;
    ranges_[label] = {static_cast<double>(lower), static_cast<double>(upper), true};
}

void CFormDialog::AddText(const QString& label, const QString& value, int capacity) {
    auto* edit = new QLineEdit(value, this);
    edit->setObjectName(label);
    if (capacity > 0) edit->setMaxLength(capacity);
    edit->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("M")) * 24);
    form_->addRow(label, edit);
    boxes_[label] = edit;
}

void CFormDialog::AddCheck(const QString& label, bool value) {
    auto* check = new QCheckBox(label, this);
    check->setObjectName(label);
    check->setChecked(value);
    form_->addRow(check);
    boxes_[label] = check;
}

void CFormDialog::AddChoice(const QString& label, const QStringList& items, int current) {
    auto* combo = new QComboBox(this);
    combo->setObjectName(label);
    combo->addItems(items);
    combo->setCurrentIndex(current);
    form_->addRow(label, combo);
    boxes_[label] = combo;
}

void CFormDialog::AddNote(const QString& text) {
    auto* note = new QLabel(text, this);
    note->setWordWrap(true);
    form_->addRow(note);
}

void CFormDialog::AddWidget(const QString& label, QWidget* widget) {
    widget->setParent(this);
    widget->setObjectName(label);
    form_->addRow(label, widget);
    boxes_[label] = widget;
}

QWidget* CFormDialog::Box(const QString& label) const {
    auto it = boxes_.find(label);
    return it == boxes_.end() ? nullptr : it->second;
}

double CFormDialog::Real(const QString& label) const {
    auto* edit = qobject_cast<QLineEdit*>(Box(label));
    if (!edit) return 0;
    auto offered = offered_.find(label);
    if (offered != offered_.end() && edit->text() == offered->second.first)
        return offered->second.second;
    return ParseReal(edit->text()).value_or(0.0);
}

long CFormDialog::Count(const QString& label) const {
    auto* edit = qobject_cast<QLineEdit*>(Box(label));
    return edit ? edit->text().trimmed().toLong() : 0;
}

std::string CFormDialog::Text(const QString& label) const {
    auto* edit = qobject_cast<QLineEdit*>(Box(label));
    return edit ? edit->text().toStdString() : std::string();
}

bool CFormDialog::Checked(const QString& label) const {
    auto* check = qobject_cast<QCheckBox*>(Box(label));
    return check && check->isChecked();
}

int CFormDialog::Choice(const QString& label) const {
    auto* combo = qobject_cast<QComboBox*>(Box(label));
    return combo ? combo->currentIndex() : -1;
}

QString CFormDialog::ChoiceText(const QString& label) const {
    auto* combo = qobject_cast<QComboBox*>(Box(label));
    return combo ? combo->currentText() : QString();
}

void CFormDialog::SetBoxText(const QString& label, const QString& text) {
    if (auto* edit = qobject_cast<QLineEdit*>(Box(label))) edit->setText(text);
}

void CFormDialog::SetChecked(const QString& label, bool checked) {
    if (auto* check = qobject_cast<QCheckBox*>(Box(label))) check->setChecked(checked);
}

void CFormDialog::SetChoice(const QString& label, int index) {
    if (auto* combo = qobject_cast<QComboBox*>(Box(label))) combo->setCurrentIndex(index);
}

QString CFormDialog::Invalid() const {
    for (const auto& [label, range] : ranges_) {
        auto* edit = qobject_cast<QLineEdit*>(Box(label));
        if (!edit || !edit->isEnabled()) continue;
        QString name = label;
        if (name.endsWith(':')) name.chop(1);
        if (range.integer) {
            bool ok = false;
            long value = edit->text().trimmed().toLong(&ok);
            if (!ok) return name + ": not a whole number";
            if (value < range.lower || value > range.upper)
                return name + ": must lie between " + QString::number(range.lower, 'g', 12) +
                       " and " + QString::number(range.upper, 'g', 12);
            continue;
        }
        std::optional<double> value = ParseReal(edit->text());
        if (!value) return name + ": not a number";
        if (*value < range.lower || *value > range.upper)
            return name + ": must lie between " + QString::number(range.lower, 'g', 12) + " and " +
                   QString::number(range.upper, 'g', 12);
    }
    return QString();
}

void CFormDialog::accept() {
    QString invalid = Invalid();
    if (!invalid.isEmpty()) {
        QMessageBox::warning(this, windowTitle(), invalid);
        return;
    }
    QDialog::accept();
}

}  // namespace kurvalux_app
