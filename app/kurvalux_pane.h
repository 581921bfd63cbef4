#pragma once
// CKurvaluxPane: the client pane of the main window. On the left the object list over the
// meta-data of the selected object; on the right the series tree (series with their enable
// check boxes, offset, filter, JD type, points and file; their minima below them) over the
// ephemeris bar ("M0:", the "P:" box of the period list, and the interactive adjustments) and
// the chart tabs.
#include <QSplitter>
#include <QWidget>
#include <array>

#include "app/chart_view.h"
#include "data/field.h"

class QListWidget;
class QTreeWidget;
class QTreeWidgetItem;
class QTabWidget;
class QLineEdit;
class QComboBox;
class QSlider;
class QPlainTextEdit;
class QTextBrowser;
class QLabel;
class QDateTimeEdit;

namespace kurvalux_pre {
class CPredictionPane;
}

namespace kurvalux_app {

class CShellHost;
class CMinimumView;
class CPhaseFitView;
class COCView;

enum ChartTab {
    kTabTime = 0,
    kTabCompressed,
    kTabPhased,
    kTabPhasedFit,
    kTabMinimum,
    kTabOC,
    kTabPrediction,
    kTabCount
};

class CKurvaluxPane : public QSplitter {
    Q_OBJECT
public:
    explicit CKurvaluxPane(CShellHost& host, QWidget* parent = nullptr);

    // Everything again from another Field (after New and Load).
    void Refresh();
    // The object list and the selection kept where possible.
    void RefreshObjects();
    // The series tree, meta-data and charts of the current object.
    void RefreshObject();
    // The charts only; `keep_zoom` keeps the visible ranges.
    void RefreshCharts(bool keep_zoom = true);
    void RefreshPeriods();

    kurvalux_data::CObjectListElem* CurrentObject();
    int CurrentObjectIndex() const { return object_index_; }
    void SelectObject(int index);
    // The current series (index into the object's series), or -1.
    int CurrentSeriesIndex() const { return series_index_; }
    void SelectSeries(int index);
    // The minimum selected in the series tree: series and index; false when none.
    bool CurrentMinimum(int& series, int& index) const;
    void SelectMinimum(int series, int index);
    // The series' own settings: offset (or flux factor), filter, JD type, enabled.
    void EditSeries(int index);

    QTabWidget* Tabs() { return tabs_; }
    void ShowTab(ChartTab tab);
    CChartCanvas* CurrentCanvas();
    CChartCanvas* Canvas(ChartTab tab);
    CMinimumView* MinimumView() { return minimum_; }
    CPhaseFitView* PhaseFitView() { return phase_fit_; }
    COCView* OCView() { return oc_; }
    kurvalux_pre::CPredictionPane* Prediction() { return prediction_; }
    QListWidget* ObjectList() { return objects_; }
    QTreeWidget* SeriesTree() { return series_; }
    QComboBox* PeriodBox() { return period_; }
    QLineEdit* M0Box() { return m0_; }

    // Splitter positions as kept in the settings (the first pane's size of each splitter).
    std::array<int, 3> SplitterPositions() const;
    void SetSplitterPositions(const std::array<int, 3>& positions);

    // The date/time of the date/time line of the phased curve.
    double MarkedJd() const;

public slots:
    void ZoomIn();
    void ZoomOut();
    void ClearZoom();

private slots:
    void ObjectChanged(int row);
    void SeriesItemChanged(QTreeWidgetItem* item, int column);
    void SeriesSelectionChanged();
    void TabChanged(int index);
    void EphemerisEdited();
    void PeriodChosen(int index);
    void AdjustmentMoved();
    void AdjustmentReleased();

private:
    QWidget* BuildMetaPane();
    QWidget* BuildEphemerisBar();
    void FillMeta();
    void FillSeriesTree();
    void AddUnavailableItem(const kurvalux_data::CUnavailableSeries& kept);
    void CommitMeta();
    void FillChart(ChartTab tab, bool keep_zoom);
    void FillEphemeris();

    CShellHost& host_;
    QSplitter* left_;
    QSplitter* right_;
    QListWidget* objects_;
    QTreeWidget* series_;
    QTabWidget* tabs_;
    std::array<CChartView*, 3> views_{};  // time, compressed, phased
    CPhaseFitView* phase_fit_;
    CMinimumView* minimum_;
    COCView* oc_;
    kurvalux_pre::CPredictionPane* prediction_;
    std::array<bool, kTabCount> stale_{};
    // Meta-data pane
    QLineEdit* name_;
    QLineEdit* alternate_;
    QLineEdit* type_;
    QLineEdit* comment_;
    QLineEdit* max_mag_;
    QLineEdit* min_mag_;
    QLabel* ephemeris_;
    QPlainTextEdit* notes_;
    QTextBrowser* stars_;
    // Ephemeris bar
    QLineEdit* m0_;
    QComboBox* period_;
    QSlider* m0_adjust_;
    QSlider* period_adjust_;
    QSlider* offset_adjust_;
    QDateTimeEdit* marked_time_;
    double adjust_m0_ = 0, adjust_period_ = 0, adjust_offset_ = 0;  // values at the press

    int object_index_ = -1;
    const kurvalux_data::CObjectListElem* shown_object_ = nullptr;  // compared only
    int series_index_ = -1;
    bool filling_ = false;
};

}  // namespace kurvalux_app
