#pragma once
// The minimum fit view: one series around one minimum with the single-minimum model, the
// seven parameter boxes with their "fit" switches, and the timing commands: the fit, the
// bootstrap errors (on worker threads, the window keeps painting: the case bootstrap and the
// block bootstrap, which stays honest under correlated noise), adding the minimum to the series
// with the error the user chose to keep, taking it as the epoch M0, and "Fit all minima".
#include <QWidget>
#include <array>

#include "analysis/minimum_fit.h"
#include "app/chart_view.h"

class QLineEdit;
class QCheckBox;
class QComboBox;
class QRadioButton;
class QLabel;
class QPushButton;

namespace kurvalux_app {

class CShellHost;
class CKurvaluxPane;

class CMinimumView : public QWidget {
    Q_OBJECT
public:
    CMinimumView(CShellHost& host, CKurvaluxPane& pane, QWidget* parent = nullptr);

    CChartView* View() { return view_; }
    CChartCanvas* Canvas() { return view_->Canvas(); }

    // Rebuilds the chart for the pane's current object and series. A new series resets the
    // JD limits to its whole span.
    void Refill(bool keep_zoom);
    // Forgets the series or object shown (another field was loaded).
    void Forget();

    // The fit window (Julian Dates).
    double LimitFrom() const { return t_start_; }
    double LimitTo() const { return t_end_; }
    void SetLimits(double from, double to);
    const kurvalux_analysis::MinimumFitResult& LastFit() const { return fit_; }
    bool Fitted() const { return fit_.ok; }

    // The boxes: the seven values as shown, the fit switches, the error box and the type.
    QLineEdit* ParameterBox(size_t i) { return boxes_[i]; }
    QCheckBox* FitSwitch(size_t i) { return free_[i]; }
    QLineEdit* ErrorBox() { return error_; }
    // The block bootstrap's error beside it, and which of the two "Add Min." keeps.
    QLineEdit* BlockErrorBox() { return block_error_; }
    QComboBox* KeptError() { return kept_error_; }
    QCheckBox* FreezeError() { return freeze_; }
    // 0 undefined, 1 primary, 2 secondary.
    void SetMinimumType(uint32_t type);
    uint32_t MinimumType() const;

    // Labels of the seven boxes, in parameter order.
    static const std::array<const char*, kurvalux_analysis::kSingleMinimumParameterCount>&
    ParameterLabels();
    // The text of a value in a parameter box.
    static QString BoxText(double value);

public slots:
    void SetLimitsToZoom();
    void FitMinimum();
    void EstimateError();
    void AddMinimum();
    void MinimumToM0();
    void FitAllMinima();
    // F3/F4: previous / next series; F5/F6: the window moves to the previous / next minimum
    // the ephemeris predicts (or by its own width without an ephemeris).
    void PreviousSeries();
    void NextSeries();
    void PreviousMinimum();
    void NextMinimum();

private:
    kurvalux_analysis::MinimumFitOptions Options(bool& ok);
    void ShowParameters(const kurvalux_analysis::SingleMinimumParameters& shown);
    void EstimateStart();
    void UpdateLimitsLabel();
    void MoveToMinimum(int direction);
    // Clears both error boxes unless the errors are frozen.
    void ClearErrors();

    CShellHost& host_;
    CKurvaluxPane& pane_;
    CChartView* view_;
    std::array<QLineEdit*, kurvalux_analysis::kSingleMinimumParameterCount> boxes_{};
    std::array<QCheckBox*, kurvalux_analysis::kSingleMinimumParameterCount> free_{};
    QLineEdit* error_;
    QLineEdit* block_error_;
    QComboBox* kept_error_;
    QCheckBox* freeze_;
    QRadioButton* undefined_;
    QRadioButton* primary_;
    QRadioButton* secondary_;
    QLabel* limits_;
    double t_start_ = 0, t_end_ = 0;
    const void* shown_series_ = nullptr;  // the series the limits belong to
    kurvalux_analysis::MinimumFitResult fit_;
};

}  // namespace kurvalux_app
