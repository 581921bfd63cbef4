#pragma once
// The phased-curve fit view: the phased curve with the sixteen-parameter model, the sixteen
// boxes ("Mag0:" ... "Acos3:") with the switches that free them, and the commands that fit,
// reset, accept and save the parameters and copy the model's magnitude range to the object.
#include <QWidget>
#include <array>

#include "analysis/phase_fit.h"
#include "app/chart_view.h"
#include "data/light_curve_parameters.h"

class QLineEdit;
class QCheckBox;
class QLabel;

namespace kurvalux_app {

class CShellHost;
class CKurvaluxPane;

class CPhaseFitView : public QWidget {
    Q_OBJECT
public:
    CPhaseFitView(CShellHost& host, CKurvaluxPane& pane, QWidget* parent = nullptr);

    CChartView* View() { return view_; }
    CChartCanvas* Canvas() { return view_->Canvas(); }

    // Rebuilds the chart; a new object loads its parameters into the boxes.
    void Refill(bool keep_zoom);
    // Forgets the series or object shown (another field was loaded).
    void Forget();

    QLineEdit* ParameterBox(size_t i) { return boxes_[i]; }
    QCheckBox* FitSwitch(size_t i) { return free_[i]; }
    // The values in the boxes; false (and a message) when one is not a number.
    bool BoxValues(kurvalux_data::LightCurveParameters& values, bool report);
    void ShowValues(const kurvalux_data::LightCurveParameters& values);
    QString MaxMagText() const;
    QString MinMagText() const;

    static const std::array<const char*, kurvalux_data::kLightCurveParameterCount>& Labels();

public slots:
    void FitParameters();
    void ResetParameters();
    void AcceptParameters();
    void SaveParameters();
    void CopyMagnitudes();

signals:
    // "Save fit to field description": the window saves the field.
    void saveFieldRequested();

private:
    void BoxesEdited();

    CShellHost& host_;
    CKurvaluxPane& pane_;
    CChartView* view_;
    std::array<QLineEdit*, kurvalux_data::kLightCurveParameterCount> boxes_{};
    std::array<QCheckBox*, kurvalux_data::kLightCurveParameterCount> free_{};
    QLabel* max_mag_;
    QLabel* min_mag_;
    const void* shown_object_ = nullptr;
    bool preview_ = false;  // the boxes differ from the object's accepted parameters
};

}  // namespace kurvalux_app
