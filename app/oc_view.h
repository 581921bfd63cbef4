#pragma once
// The "O−C" tab: the O-C diagram of the selected object's minima in use with the ephemeris
// fitted to them (linear, or with a quadratic term), the fit's results with their errors and
// χ²/dof, the list of residuals, and "Apply ephemeris", which makes the fitted M0 and period
// the object's (the saved copy of the ephemeris stays until the field is saved).
#include <QWidget>

#include "analysis/ephemeris_fit.h"
#include "app/chart_view.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QPushButton;
class QTreeWidget;

namespace kurvalux_app {

class CShellHost;
class CKurvaluxPane;

class COCView : public QWidget {
    Q_OBJECT
public:
    COCView(CShellHost& host, CKurvaluxPane& pane, QWidget* parent = nullptr);

    CChartView* View() { return view_; }
    CChartCanvas* Canvas() { return view_->Canvas(); }
    // Rebuilds the table, the fit and the chart for the pane's current object.
    void Refill(bool keep_zoom);

    QComboBox* FitBox() { return fit_box_; }
    QComboBox* AxisBox() { return axis_box_; }
    QComboBox* UnitBox() { return unit_box_; }
    QCheckBox* ErrorBars() { return error_bars_; }
    QPushButton* ApplyButton() { return apply_; }
    QLabel* Results() { return results_; }
    QTreeWidget* Residuals() { return residuals_; }
    const kurvalux_analysis::EphemerisFitResult& Fit() const { return fit_; }
    const std::vector<kurvalux_analysis::OCEntry>& Table() const { return table_; }

    // "Apply ephemeris".
    void ApplyFit();

    // The results as shown: "M0 = … ± …", "P = … ± … d", the quadratic term, "χ²/dof = …".
    static QString ResultText(const kurvalux_analysis::EphemerisFitResult& fit);

private:
    void FillResiduals();

    CShellHost& host_;
    CKurvaluxPane& pane_;
    CChartView* view_;
    QComboBox* fit_box_;
    QComboBox* axis_box_;
    QComboBox* unit_box_;
    QCheckBox* error_bars_;
    QPushButton* apply_;
    QLabel* results_;
    QTreeWidget* residuals_;
    std::vector<kurvalux_analysis::OCEntry> table_;
    kurvalux_analysis::EphemerisFitResult fit_;
};

}  // namespace kurvalux_app
