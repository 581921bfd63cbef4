#include "app/chart_view.h"

#include <QElapsedTimer>
#include <QMouseEvent>
#include <QPainter>
#include <QRubberBand>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "img/qt_draw_context.h"

namespace kurvalux_app {

CChartCanvas::CChartCanvas(QWidget* parent) : QWidget(parent) {
    setMinimumSize(120, 80);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::ClickFocus);
}

void CChartCanvas::SetChart(kurvalux_lc::Chart chart, bool keep_zoom) {
    double from = from_, to = to_;
    chart_ = std::move(chart);
    message_.clear();
    UpdateDataRange();
    if (keep_zoom && to > from) {
        from_ = from;
        to_ = to;
        Clamp(from_, to_);
    } else if (chart_.visible_to > chart_.visible_from) {
        from_ = chart_.visible_from;
        to_ = chart_.visible_to;
    } else {
        from_ = to_ = 0;
    }
    Invalidate();
    emit visibleRangeChanged();
}

void CChartCanvas::ClearChart(const QString& message) {
    chart_ = kurvalux_lc::Chart();
    message_ = message;
    from_ = to_ = 0;
    Invalidate();
    emit scrollBarChanged(0, 0, 5000, 0, 50);
}

void CChartCanvas::UpdateDataRange() {
    if (!chart_.pane) return;
    // A layout over everything gives the pane's data range.
    chart_.pane->SetRect({0, 0, std::max(width(), 10), std::max(height(), 10)});
    chart_.pane->LayoutAll();
    data_from_ = chart_.pane->XDataLower();
    data_to_ = chart_.pane->XDataUpper();
}

void CChartCanvas::Clamp(double& from, double& to) const {
    double span = to - from, data_span = data_to_ - data_from_;
    if (!(data_span > 0)) return;
    if (span >= data_span) {
        from = data_from_;
        to = data_to_;
        return;
    }
    if (from < data_from_) {
        from = data_from_;
        to = from + span;
    }
    if (to > data_to_) {
        to = data_to_;
        from = to - span;
    }
}

void CChartCanvas::ZoomTo(double from, double to) {
    if (!chart_.pane || !(to > from)) return;
    // Below a millionth of the data span the ticks cannot be told apart any more.
    double data_span = data_to_ - data_from_;
    if (data_span > 0 && to - from < data_span * 1e-6) {
        double centre = (from + to) / 2;
        from = centre - data_span * 5e-7;
        to = centre + data_span * 5e-7;
    }
    Clamp(from, to);
    if (from <= data_from_ && to >= data_to_ && !(chart_.visible_to > chart_.visible_from)) {
        from_ = to_ = 0;
    } else {
        from_ = from;
        to_ = to;
    }
    Invalidate();
    emit visibleRangeChanged();
}

void CChartCanvas::ZoomBy(double factor, double centre) {
    if (!chart_.pane) return;
    double from = Zoomed() ? from_ : data_from_, to = Zoomed() ? to_ : data_to_;
    double new_from = centre - (centre - from) * factor;
    double new_to = centre + (to - centre) * factor;
    ZoomTo(new_from, new_to);
}

void CChartCanvas::ZoomIn() {
    double from = Zoomed() ? from_ : data_from_, to = Zoomed() ? to_ : data_to_;
    ZoomBy(0.5, (from + to) / 2);
}

void CChartCanvas::ZoomOut() {
    double from = Zoomed() ? from_ : data_from_, to = Zoomed() ? to_ : data_to_;
    ZoomBy(2.0, (from + to) / 2);
}

void CChartCanvas::ClearZoom() {
    if (!chart_.pane) return;
    if (chart_.visible_to > chart_.visible_from) {
        from_ = chart_.visible_from;
        to_ = chart_.visible_to;
    } else {
        from_ = to_ = 0;
    }
    Invalidate();
    emit visibleRangeChanged();
}

void CChartCanvas::ScrollTo(int position) {
    if (!chart_.pane || !Zoomed()) return;
    double span = to_ - from_, data_span = data_to_ - data_from_;
    if (!(data_span > 0)) return;
    double s = 5000.0 / data_span;
    double from = data_from_ + position / s;
    ZoomTo(from, from + span);
}

void CChartCanvas::Invalidate() {
    dirty_ = true;
    update();
}

double CChartCanvas::Render() {
    QElapsedTimer timer;
    timer.start();
    const qreal ratio = devicePixelRatioF();
    const int w = std::max(1, static_cast<int>(std::lround(width() * ratio)));
    const int h = std::max(1, static_cast<int>(std::lround(height() * ratio)));
    if (image_.width() != w || image_.height() != h) image_ = QImage(w, h, QImage::Format_RGB32);
    image_.setDevicePixelRatio(1.0);
    QPainter painter(&image_);
    if (!chart_.pane) {
        image_.fill(Qt::white);
        painter.setPen(QColor(96, 96, 96));
        painter.scale(ratio, ratio);
        painter.drawText(QRect(0, 0, width(), height()), Qt::AlignCenter | Qt::TextWordWrap,
                         message_);
    } else {
        const int dpi = static_cast<int>(std::lround(logicalDpiY() * ratio));
        kurvalux_img::CQtDrawContext dc(painter, &image_, dpi, dpi);
        kurvalux_lc::CLightCurvePane& pane = *chart_.pane;
        pane.SetRect({0, 0, w, h});
        pane.SetDpi(dpi, dpi);
        pane.SetMetricsContext(&dc);
        if (Zoomed())
            pane.Layout(from_, to_, true, pane.show_error_bars);
        else
            pane.LayoutAll();
        pane.Paint(dc);
        pane.SetMetricsContext(nullptr);
        const kurvalux_lc::ScrollBarMapping& s = pane.ScrollBar();
        int max = std::max(0, 5000 - s.page);
        emit scrollBarChanged(0, max, s.page, std::clamp(s.position, 0, max), std::max(1, s.line));
    }
    painter.end();
    image_.setDevicePixelRatio(ratio);
    dirty_ = false;
    last_render_ms_ = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    return last_render_ms_;
}

void CChartCanvas::paintEvent(QPaintEvent*) {
    if (dirty_ || image_.isNull()) Render();
    QPainter painter(this);
    painter.drawImage(QPoint(0, 0), image_);
}

void CChartCanvas::resizeEvent(QResizeEvent*) {
    Invalidate();
}

double CChartCanvas::XAt(int x) const {
    if (!chart_.pane) return 0;
    const kurvalux_lc::AxisMapping& m = chart_.pane->XMapping();
    if (m.length <= 0) return m.lower;
    double px = x * devicePixelRatioF();
    double t = (px - m.start) / m.length;
    if (m.from_end) t = 1 - t;
    return m.lower + t * (m.upper - m.lower);
}

kurvalux_lc::CPointSource CChartCanvas::PointAt(QPoint position, int reach) const {
    kurvalux_lc::CPointSource best;
    if (!chart_.pane) return best;
    const qreal ratio = devicePixelRatioF();
    const double px = position.x() * ratio, py = position.y() * ratio;
    double limit = reach * ratio;
    double best_distance = limit * limit;
    const auto& plotted = chart_.pane->PlotPoints();
    const auto& points = chart_.pane->Points();
    for (size_t i = 0; i < plotted.size() && i < points.size(); ++i) {
        if (plotted[i].y < 0) continue;
        double dx = plotted[i].x - px, dy = plotted[i].y - py;
        double d = dx * dx + dy * dy;
        if (d <= best_distance) {
            best_distance = d;
            best = points[i].source;
        }
    }
    return best;
}

void CChartCanvas::mousePressEvent(QMouseEvent* e) {
    if (e->button() != Qt::LeftButton || !chart_.pane) return;
    press_ = e->position().toPoint();
    dragging_ = true;
    if (!band_) band_ = new QRubberBand(QRubberBand::Rectangle, this);
    band_->setGeometry(QRect(press_, QSize(1, height())));
    band_->show();
}

void CChartCanvas::mouseMoveEvent(QMouseEvent* e) {
    if (!dragging_ || !band_) return;
    int x = e->position().toPoint().x();
    band_->setGeometry(
        QRect(QPoint(std::min(x, press_.x()), 0), QSize(std::abs(x - press_.x()) + 1, height())));
}

void CChartCanvas::mouseReleaseEvent(QMouseEvent* e) {
    if (!dragging_) return;
    dragging_ = false;
    if (band_) band_->hide();
    int x = e->position().toPoint().x();
    // A click without a drag is not a zoom: it picks the point under the pointer.
    if (std::abs(x - press_.x()) < 4) {
        kurvalux_lc::CPointSource source = PointAt(e->position().toPoint(), 6);
        if (source.series >= 0) emit pointClicked(source.series, source.index);
        return;
    }
    double a = XAt(press_.x()), b = XAt(x);
    ZoomTo(std::min(a, b), std::max(a, b));
}

void CChartCanvas::wheelEvent(QWheelEvent* e) {
    if (!chart_.pane) return;
    int steps = e->angleDelta().y() / 120;
    if (steps == 0) return;
    double centre = XAt(static_cast<int>(e->position().x()));
    ZoomBy(std::pow(0.8, steps), centre);
    e->accept();
}

CChartView::CChartView(QWidget* parent) : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    canvas_ = new CChartCanvas(this);
    scroll_ = new QScrollBar(Qt::Horizontal, this);
    scroll_->setRange(0, 0);
    layout->addWidget(canvas_, 1);
    layout->addWidget(scroll_);
    connect(canvas_, &CChartCanvas::scrollBarChanged, this,
            [this](int minimum, int maximum, int page, int value, int line) {
                QSignalBlocker block(scroll_);
                scroll_->setRange(minimum, maximum);
                scroll_->setPageStep(page);
                scroll_->setSingleStep(line);
                scroll_->setValue(value);
            });
    connect(scroll_, &QScrollBar::valueChanged, canvas_, &CChartCanvas::ScrollTo);
}

}  // namespace kurvalux_app
