#include "ui/TrendChartView.h"

#include <QChart>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QWheelEvent>

#include <cmath>

namespace ui {

TrendChartView::TrendChartView(QChart* chart, QWidget* parent) : QChartView(chart, parent) {
    setRenderHint(QPainter::Antialiasing, false); // thousands of points, redrawn often
    setToolTip("Mouse wheel: zoom in time. Drag: move in time. End: follow the newest records.");
}

double TrendChartView::Across(double x) const {
    const QRectF area = chart()->plotArea();
    if (area.width() <= 0)
        return 0.5;
    return (mapToScene(QPoint(static_cast<int>(x), 0)).x() - area.left()) / area.width();
}

void TrendChartView::paintEvent(QPaintEvent* event) {
    QElapsedTimer took;
    took.start();
    QChartView::paintEvent(event);
    lastPaintMs_ = took.elapsed();
}

void TrendChartView::wheelEvent(QWheelEvent* event) {
    const int steps = event->angleDelta().y();
    if (steps == 0 || !onZoom) {
        QChartView::wheelEvent(event);
        return;
    }
    // One notch (120) zooms by a quarter.
    onZoom(std::pow(0.8, steps / 120.0), Across(event->position().x()));
    event->accept();
}

void TrendChartView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && chart()->plotArea().contains(event->position())) {
        dragging_ = true;
        dragFrom_ = Across(event->position().x());
        setCursor(Qt::ClosedHandCursor);
        event->accept();
        return;
    }
    QChartView::mousePressEvent(event);
}

void TrendChartView::mouseMoveEvent(QMouseEvent* event) {
    if (dragging_) {
        const double at = Across(event->position().x());
        if (onPan && at != dragFrom_)
            onPan(at - dragFrom_);
        dragFrom_ = at;
        event->accept();
        return;
    }
    QChartView::mouseMoveEvent(event);
}

void TrendChartView::mouseReleaseEvent(QMouseEvent* event) {
    if (dragging_ && event->button() == Qt::LeftButton) {
        dragging_ = false;
        unsetCursor();
        event->accept();
        return;
    }
    QChartView::mouseReleaseEvent(event);
}

} // namespace ui
