#pragma once
// The "Prediction" tab: the host of the prediction chart. It shows the selected object's
// predicted light curve from a start time over "PredictionDays" days at the site of the
// settings, over the day and twilight bands, with the altitudes of the star and the Sun. The
// axis starts at the current time whenever the tab is filled, unless the planner asked for a
// given night (then "Now" returns to the present). "Site..." edits the site and the prediction
// settings; "Planner..." opens the night planner of the whole field.
#include <QPointer>
#include <QWidget>
#include <functional>

#include "app/chart_view.h"

class QLabel;
class QPushButton;

namespace kurvalux_app {
class CShellHost;
class CKurvaluxPane;
class CPlannerWindow;
}  // namespace kurvalux_app

namespace kurvalux_pre {

class CPredictionPane : public QWidget {
    Q_OBJECT
public:
    CPredictionPane(kurvalux_app::CShellHost& host, kurvalux_app::CKurvaluxPane& pane,
                    QWidget* parent = nullptr);

    kurvalux_app::CChartView* View() { return view_; }
    kurvalux_app::CChartCanvas* Canvas() { return view_->Canvas(); }
    void Refill(bool keep_zoom);

    // The axis from a fixed Julian Date (the planner's night) instead of the present.
    void ShowFrom(double jd);
    // The axis from the present again.
    void FollowNow();
    bool FollowsNow() const { return follow_now_; }
    double AxisStart() const { return start_; }
    QLabel* AxisLabel() { return axis_label_; }

    // The site dialog; true when it was accepted (the settings then changed).
    bool EditSite();
    // The planner window, made on first use.
    kurvalux_app::CPlannerWindow* Planner();
    void OpenPlanner();

    // The present as a Julian Date (UTC); tests set a fixed clock.
    std::function<double()> clock;

signals:
    // The site dialog changed the settings (the menu's check marks follow them).
    void settingsEdited();

private:
    kurvalux_app::CShellHost& host_;
    kurvalux_app::CKurvaluxPane& pane_;
    kurvalux_app::CChartView* view_;
    QLabel* axis_label_;
    QPointer<kurvalux_app::CPlannerWindow> planner_;
    bool follow_now_ = true;
    double start_ = 0;
};

// The present as a Julian Date (UTC), from the system clock.
double JulianDateNow();

}  // namespace kurvalux_pre
