#pragma once
// The "Planner" window: every primary and secondary minimum of the field's objects in the
// coming nights from the site of the settings, as a sortable table with filters (only
// observable, only primaries, the star's lowest altitude at minimum) and as the
// night-by-night chart over the day, twilight and night bands, which exports to PNG and SVG.
// A double click on a row or on a minimum in the chart selects its object and opens the
// "Prediction" tab at that night.
#include <QWidget>
#include <functional>
#include <string>
#include <vector>

#include "app/chart_view.h"
#include "plan/night_planner.h"

class QCheckBox;
class QDoubleSpinBox;
class QLabel;
class QSpinBox;
class QTableWidget;

namespace kurvalux_pre {
class CPredictionPane;
}

namespace kurvalux_app {

class CShellHost;
class CKurvaluxPane;

class CPlannerWindow : public QWidget {
    Q_OBJECT
public:
    CPlannerWindow(CShellHost& host, CKurvaluxPane& pane, kurvalux_pre::CPredictionPane& prediction,
                   QWidget* parent = nullptr);

    // Plans again from the present (the prediction tab's clock) with the current settings.
    void Replan();
    // Applies the filters to the planned minima: the table and the chart follow.
    void Refilter();

    const std::vector<kurvalux_plan::PlannerObject>& Objects() const { return objects_; }
    const std::vector<kurvalux_plan::PlannedMinimum>& Minima() const { return minima_; }
    // Indices into Minima() of the rows shown, in planning order.
    const std::vector<size_t>& Shown() const { return shown_; }
    // Objects left out, with the reason: "V1 left out: no coordinates".
    const QStringList& LeftOut() const { return left_out_; }

    QSpinBox* Nights() { return nights_; }
    QCheckBox* OnlyObservable() { return only_observable_; }
    QCheckBox* OnlyPrimaries() { return only_primaries_; }
    QDoubleSpinBox* MinimumAltitude() { return min_altitude_; }
    QCheckBox* FittedEphemerides() { return fitted_; }
    QTableWidget* Table() { return table_; }
    CChartCanvas* Chart() { return chart_->Canvas(); }
    QLabel* Summary() { return summary_; }

    // Selects the object of planned minimum `index` and shows its night in the prediction tab.
    void Open(size_t index);
    bool ExportPng(const std::string& path);
    bool ExportSvg(const std::string& path);
    // The file for an export; tests answer it. Default: a save dialog.
    std::function<std::string(bool svg)> choose_file;

    static QStringList ColumnTitles();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void FillTable();
    void FillChart();

    CShellHost& host_;
    CKurvaluxPane& pane_;
    kurvalux_pre::CPredictionPane& prediction_;
    QSpinBox* nights_;
    QCheckBox* only_observable_;
    QCheckBox* only_primaries_;
    QDoubleSpinBox* min_altitude_;
    QCheckBox* fitted_;
    QLabel* summary_;
    QTableWidget* table_;
    CChartView* chart_;

    double start_ = 0;
    std::vector<kurvalux_plan::PlannerObject> objects_;
    std::vector<int> field_index_;  // of each planner object in the field's list
    std::vector<kurvalux_plan::PlannedMinimum> minima_;
    std::vector<size_t> shown_;
    QStringList left_out_;
};

}  // namespace kurvalux_app
