#pragma once
// The trend window's plot area: a chart view that turns the mouse into
// looking around in time. The wheel zooms the time axis about the pointer,
// dragging with the left button moves it; the window decides what the new
// span is (and stops following the newest records).

#include <QChartView>

#include <functional>

namespace ui {

class TrendChartView : public QChartView {
    Q_OBJECT
public:
    explicit TrendChartView(QChart* chart, QWidget* parent = nullptr);

    // factor < 1 zooms in, > 1 out, about the point at `at` (0 = the plot's
    // left edge, 1 its right edge).
    std::function<void(double factor, double at)> onZoom;
    // The plot was dragged by `by` of its width (positive: to the right,
    // towards earlier times).
    std::function<void(double by)> onPan;

    // How long the last drawing took, in milliseconds.
    qint64 LastPaintMs() const { return lastPaintMs_; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    // Where x lies across the plot area, 0 at its left edge and 1 at its right.
    double Across(double x) const;

    qint64 lastPaintMs_ = 0;
    bool dragging_ = false;
    double dragFrom_ = 0;
};

} // namespace ui
