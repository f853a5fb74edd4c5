#include "plot/PlotNavigator.h"

#include <qwt_plot.h>
#include <qwt_scale_div.h>
#include <qwt_scale_map.h>

namespace Tessaly {

namespace {

constexpr int AxisX = QwtAxis::XBottom;
constexpr int AxisY = QwtAxis::YLeft;
constexpr double WheelIn = 0.8;
constexpr double WheelOut = 1.25;

} // namespace

void zoomOutFully(QwtPlot& plot) {
    plot.setAxisAutoScale(AxisX, true);
    plot.setAxisAutoScale(AxisY, true);
    plot.replot();
}

void zoomTo(QwtPlot& plot, const QRectF& canvasRect) {
    const QwtScaleMap xMap = plot.canvasMap(AxisX);
    const QwtScaleMap yMap = plot.canvasMap(AxisY);
    plot.setAxisScale(AxisX, xMap.invTransform(canvasRect.left()), xMap.invTransform(canvasRect.right()));
    plot.setAxisScale(AxisY, yMap.invTransform(canvasRect.bottom()), yMap.invTransform(canvasRect.top()));
    plot.replot();
}

void panBy(QwtPlot& plot, const QPoint& distance) {
    const auto panAxis = [&plot](int axis, int pixels) {
        const QwtScaleMap map = plot.canvasMap(axis);
        const double shift = map.invTransform(0.0) - map.invTransform(pixels);
        const QwtScaleDiv& division = plot.axisScaleDiv(axis);
        plot.setAxisScale(axis, division.lowerBound() + shift, division.upperBound() + shift);
    };
    panAxis(AxisX, distance.x());
    panAxis(AxisY, distance.y());
    plot.replot();
}

void zoomByWheel(QwtPlot& plot, const QPointF& position, int angle) {
    const double factor = angle > 0 ? WheelIn : WheelOut;
    const auto zoomAxis = [&plot, factor](int axis, double pixel) {
        const double fixed = plot.canvasMap(axis).invTransform(pixel);
        const QwtScaleDiv& division = plot.axisScaleDiv(axis);
        plot.setAxisScale(axis, fixed - (fixed - division.lowerBound()) * factor,
                          fixed + (division.upperBound() - fixed) * factor);
    };
    zoomAxis(AxisX, position.x());
    zoomAxis(AxisY, position.y());
    plot.replot();
}

} // namespace Tessaly
