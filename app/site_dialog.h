#pragma once
// The observing site and the prediction settings: "Longitude", "Latitude", "StarAlt",
// "SunAlt", "PredictionDays" and the display switches of the charts. The boxes and check boxes
// carry the settings' key names as object names. OK checks every number and keeps the dialog
// open with the reason under the boxes when one is out of range.
#include <QDialog>

#include "data/settings.h"

class QCheckBox;
class QLabel;
class QLineEdit;

namespace kurvalux_app {

class CSiteDialog : public QDialog {
    Q_OBJECT
public:
    explicit CSiteDialog(const kurvalux_data::Settings& settings, QWidget* parent = nullptr);

    // The settings as edited (valid after the dialog was accepted).
    void Store(kurvalux_data::Settings& settings) const;
    // Why the boxes cannot be taken ("" when they can).
    QString Problem() const;
    QLabel* ProblemLabel() { return problem_; }

    void accept() override;

private:
    QLineEdit* longitude_;
    QLineEdit* latitude_;
    QLineEdit* star_alt_;
    QLineEdit* sun_alt_;
    QLineEdit* days_;
    QCheckBox* show_star_alt_;
    QCheckBox* show_sun_alt_;
    QCheckBox* show_minima_;
    QCheckBox* show_now_;
    QCheckBox* show_time_;
    QCheckBox* show_dev_;
    QLabel* problem_;
};

}  // namespace kurvalux_app
