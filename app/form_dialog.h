#pragma once
// The option dialogs of the program are plain forms: a column of labelled boxes (real numbers,
// counts, texts, check boxes, choices) with OK and Cancel. CFormDialog builds them from calls
// like AddReal("Minimal period [d]:", 0.1); the label is also the key by which the caller (and
// a test) reads or sets a box.
#include <QDialog>
#include <QString>
#include <map>
#include <optional>
#include <string>
#include <vector>

class QFormLayout;
class QLineEdit;
class QCheckBox;
class QComboBox;
class QLabel;
class QWidget;

namespace kurvalux_app {

class CFormDialog : public QDialog {
    Q_OBJECT
public:
    CFormDialog(const QString& title, QWidget* parent = nullptr);

    // A real number box; an accepted value lies within [lower, upper].
    void AddReal(const QString& label, double value, double lower = -1.7976931348623157e308,
                 double upper = 1.7976931348623157e308, int decimals = -1);
    void AddCount(const QString& label, long value, long lower = 0, long upper = 1000000000);
    void AddText(const QString& label, const QString& value, int capacity = 0);
    void AddCheck(const QString& label, bool value);
    void AddChoice(const QString& label, const QStringList& items, int current);
    // A line of text without a box.
    void AddNote(const QString& text);
    // Any widget in the form, under a label.
    void AddWidget(const QString& label, QWidget* widget);

    // Reads the boxes (valid after accept()). A real box whose text is still the one it was
    // filled with gives back the value it was filled with: the text shows 15 digits, which need
    // not read back as the same double, and a dialog taken as offered must change nothing.
    double Real(const QString& label) const;
    long Count(const QString& label) const;
    std::string Text(const QString& label) const;
    bool Checked(const QString& label) const;
    int Choice(const QString& label) const;
    QString ChoiceText(const QString& label) const;

    // Sets a box as the user would type it (tests, scripted runs).
    void SetBoxText(const QString& label, const QString& text);
    void SetChecked(const QString& label, bool checked);
    void SetChoice(const QString& label, int index);
    QWidget* Box(const QString& label) const;

    // The first box whose text does not parse or lies outside its range, with the reason;
    // empty when all are good.
    QString Invalid() const;

    void accept() override;

    // The text of a real number in a box: fixed decimals, or 15 significant digits.
    static QString RealText(double value, int decimals = -1);
    static std::optional<double> ParseReal(const QString& text);

private:
    struct Range {
        double lower, upper;
        bool integer;
    };
    QFormLayout* form_;
    std::map<QString, QWidget*> boxes_;
    std::map<QString, Range> ranges_;
    std::map<QString, std::pair<QString, double>> offered_;  // real boxes: first text, value
};

}  // namespace kurvalux_app
