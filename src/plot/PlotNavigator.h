#pragma once

#include <QPoint>
#include <QPointF>

class QEvent;
class QMouseEvent;
class QRectF;
class QRubberBand;
class QWheelEvent;

namespace Tessaly {

class ScatterPlot;

/// What the mouse does on a scatter plot's canvas, as one state machine: picking a point, zooming with a rubber band,
/// panning with shift held, zooming with the wheel, and resetting the zoom.
class PlotNavigator {
public:
    explicit PlotNavigator(ScatterPlot& plot);

    /// Handles an event of the canvas.
    /// @return true if the event is consumed
    bool handle(QEvent* event);

private:
    enum class State { Idle, Zooming, Panning };

    bool press(const QMouseEvent& event);
    bool move(const QMouseEvent& event);
    bool release(const QMouseEvent& event);
    bool doubleClick(const QMouseEvent& event);
    bool wheel(const QWheelEvent& event);

    void startZoom(const QPoint& position);
    void showBand(const QPoint& position);
    void finishZoom(const QPoint& position);
    void zoomTo(const QRectF& canvasRect);
    void pick(const QPointF& position);
    void pan(const QPoint& position);

    ScatterPlot& plot_;
    State state_ = State::Idle;
    QPoint zoomOrigin_;
    QPoint panLast_;
    QRubberBand* band_ = nullptr; ///< child of the canvas, made at first use
};

} // namespace Tessaly
