// The site dialog (see site_dialog.h).
#include "app/site_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>
#include <cmath>

namespace kurvalux_app {

namespace {

QLineEdit* Box(QWidget* parent, const char* key, double value) {
    auto* box = new QLineEdit(QString::number(value, 'g', 10), parent);
    box->setObjectName(key);
    return box;
}

QCheckBox* Switch(QWidget* parent, const char* key, const char* text, bool on) {
    auto* check = new QCheckBox(text, parent);
    check->setObjectName(key);
    check->setChecked(on);
    return check;
}

bool Number(const QLineEdit* box, double& value) {
    bool ok = false;
    value = box->text().trimmed().toDouble(&ok);
    return ok && std::isfinite(value);
}

}  // namespace

CSiteDialog::CSiteDialog(const kurvalux_data::Settings& s, QWidget* parent) : QDialog(parent) {
    setWindowTitle("Observing Site");
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout();
    longitude_ = Box(this, "Longitude", s.longitude);
    latitude_ = Box(this, "Latitude", s.latitude);
    star_alt_ = Box(this, "StarAlt", s.star_alt);
    sun_alt_ = Box(this, "SunAlt", s.sun_alt);
    days_ = Box(this, "PredictionDays", s.prediction_days);
    form->addRow(QString::fromUtf8("Longitude (° east):"), longitude_);
    form->addRow(QString::fromUtf8("Latitude (°):"), latitude_);
    form->addRow(QString::fromUtf8("Lowest altitude of the star (°):"), star_alt_);
    form->addRow(QString::fromUtf8("Highest altitude of the Sun (°):"), sun_alt_);
    form->addRow("Prediction length (days):", days_);
    layout->addLayout(form);
    auto* note = new QLabel(
        "A longitude or latitude of exactly 0 leaves the site unset: the charts then show no "
        "altitudes and no day and twilight bands.",
        this);
    note->setWordWrap(true);
    layout->addWidget(note);
    show_star_alt_ = Switch(this, "ShowStarAlt", "Colour the prediction by the star's altitude",
                            s.show_star_alt);
    show_sun_alt_ =
        Switch(this, "ShowSunAlt", "Colour the prediction by the Sun's altitude", s.show_sun_alt);
    show_minima_ = Switch(this, "ShowMinima", "Mark predicted minima", s.show_minima);
    show_now_ = Switch(this, "ShowNow", "Draw the line of the present moment", s.show_now);
    show_time_ = Switch(this, "ShowTime", "Draw the line of the marked date and time", s.show_time);
    show_dev_ = Switch(this, "ShowDev", "Draw error bars", s.show_dev);
    for (QCheckBox* c :
         {show_star_alt_, show_sun_alt_, show_minima_, show_now_, show_time_, show_dev_})
        layout->addWidget(c);
    problem_ = new QLabel(this);
    problem_->setObjectName("Problem");
    problem_->setStyleSheet("color: #b00000");
    layout->addWidget(problem_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &CSiteDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

QString CSiteDialog::Problem() const {
    struct Range {
        const QLineEdit* box;
        const char* name;
        double low, high;
        bool low_open;
    };
    const Range ranges[] = {{longitude_, "Longitude", -180, 360, false},
                            {latitude_, "Latitude", -90, 90, false},
                            {star_alt_, "The star's altitude", -90, 90, false},
                            {sun_alt_, "The Sun's altitude", -90, 90, false},
                            {days_, "The prediction length", 0, 366, true}};
    for (const Range& r : ranges) {
        double value = 0;
        if (!Number(r.box, value)) return QString(r.name) + " needs a number";
        if (value > r.high || value < r.low || (r.low_open && value == r.low))
            return QString(r.name) + " must lie " + (r.low_open ? "above " : "between ") +
                   QString::number(r.low) + (r.low_open ? " and at most " : " and ") +
                   QString::number(r.high);
    }
    return {};
}

void CSiteDialog::accept() {
    const QString problem = Problem();
    problem_->setText(problem);
    if (problem.isEmpty()) QDialog::accept();
}

void CSiteDialog::Store(kurvalux_data::Settings& s) const {
    Number(longitude_, s.longitude);
    Number(latitude_, s.latitude);
    Number(star_alt_, s.star_alt);
    Number(sun_alt_, s.sun_alt);
    Number(days_, s.prediction_days);
    s.show_star_alt = show_star_alt_->isChecked();
    s.show_sun_alt = show_sun_alt_->isChecked();
    s.show_minima = show_minima_->isChecked();
    s.show_now = show_now_->isChecked();
    s.show_time = show_time_->isChecked();
    s.show_dev = show_dev_->isChecked();
}

}  // namespace kurvalux_app
