#pragma once
// A chart pane of the core on the screen: the pane paints through the QPainter device context
// into an image of the widget's size in device pixels (so it follows the screen's scaling),
// and the view adds the interaction: rubber-band zoom with the left mouse button, wheel zoom
// around the pointer, zoom in / out / clear, and the horizontal scroll bar.
#include <QImage>
#include <QScrollBar>
#include <QWidget>
#include <memory>

#include "lc/chart_views.h"

class QRubberBand;

namespace kurvalux_app {

class CChartCanvas : public QWidget {
    Q_OBJECT
public:
    explicit CChartCanvas(QWidget* parent = nullptr);

    // Takes a freshly filled chart. With `keep_zoom` the visible range stays where it was
    // (a refill after an edit); otherwise it starts from the chart's own range.
    void SetChart(kurvalux_lc::Chart chart, bool keep_zoom);
    // No chart; `message` says why.
    void ClearChart(const QString& message);
    kurvalux_lc::CLightCurvePane* Pane() { return chart_.pane.get(); }
    bool HasChart() const { return chart_.pane != nullptr; }
    const QString& Message() const { return message_; }

    // The visible range on the X axis; an empty range (from == to) shows everything.
    double VisibleFrom() const { return from_; }
    double VisibleTo() const { return to_; }
    bool Zoomed() const { return to_ > from_; }
    double DataFrom() const { return data_from_; }
    double DataTo() const { return data_to_; }
    void ZoomTo(double from, double to);
    void ZoomBy(double factor, double centre);
    void ZoomIn();
    void ZoomOut();
    void ClearZoom();
    // Scroll-bar position in the 0..4999 scale of the charts.
    void ScrollTo(int position);

    // Redraws the chart into its image now (layout and paint) and returns the milliseconds it
    // took; the figure of the last redraw is kept.
    double Render();
    double LastRenderMilliseconds() const { return last_render_ms_; }
    const QImage& Image() const { return image_; }
    // Marks the image stale after a change of the pane's data or settings.
    void Invalidate();

    // The X value under a widget position.
    double XAt(int x) const;
    // The source of the plotted point nearest to a widget position, within `reach` pixels of
    // the screen; series -1 when there is none.
    kurvalux_lc::CPointSource PointAt(QPoint position, int reach) const;

signals:
    void visibleRangeChanged();
    void scrollBarChanged(int minimum, int maximum, int page, int value, int line);
    // A click (no drag) on a point.
    void pointClicked(int series, int index);

protected:
    void paintEvent(QPaintEvent*) override;
    void resizeEvent(QResizeEvent*) override;
    void mousePressEvent(QMouseEvent*) override;
    void mouseMoveEvent(QMouseEvent*) override;
    void mouseReleaseEvent(QMouseEvent*) override;
    void wheelEvent(QWheelEvent*) override;

private:
    void UpdateDataRange();
    void Clamp(double& from, double& to) const;

    kurvalux_lc::Chart chart_;
    QString message_;
    QImage image_;
    bool dirty_ = true;
    double from_ = 0, to_ = 0;
    double data_from_ = 0, data_to_ = 1;
    double last_render_ms_ = 0;
    QRubberBand* band_ = nullptr;
    QPoint press_;
    bool dragging_ = false;
};

// The canvas with its horizontal scroll bar.
class CChartView : public QWidget {
    Q_OBJECT
public:
    explicit CChartView(QWidget* parent = nullptr);
    CChartCanvas* Canvas() { return canvas_; }
    QScrollBar* ScrollBar() { return scroll_; }

private:
    CChartCanvas* canvas_;
    QScrollBar* scroll_;
};

}  // namespace kurvalux_app
