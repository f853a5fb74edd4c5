#include "plot/PointSeries.h"

#include <qwt_plot.h>
#include <qwt_plot_item.h>
#include <qwt_scale_engine.h>
#include <qwt_transform.h>

#include <utility>

namespace Tessaly {

namespace {

bool isLogAxis(const QwtPlotItem& item, QwtAxisId axis) {
    const QwtPlot* plot = item.plot();
    if (!plot) {
        return false;
    }
    const std::unique_ptr<QwtTransform> copy(plot->axisScaleEngine(axis)->transformation());
    return dynamic_cast<const QwtLogTransform*>(copy.get()) != nullptr;
}

QRectF rectOf(const QwtInterval& x, const QwtInterval& y) {
    // An invalid interval has a width of 0, but a side without values must not pull the axis to 0.
    return {x.minValue(), y.minValue(), x.isValid() ? x.width() : -1.0, y.isValid() ? y.width() : -1.0};
}

} // namespace

PointSeries::PointSeries(std::shared_ptr<const PlotPoints> points) : points_(std::move(points)) {}

QPointF PointSeries::sample(std::size_t index) const {
    return {points_->x()[index], points_->y()[index]};
}

QRectF PointSeries::boundingRect() const {
    return rectOf(points_->rangeX(false), points_->rangeY(false));
}

ColorPointSeries::ColorPointSeries(std::shared_ptr<const PlotPoints> points) : points_(std::move(points)) {}

QwtPoint3D ColorPointSeries::sample(std::size_t index) const {
    return {points_->x()[index], points_->y()[index], points_->colors()[index]};
}

QRectF ColorPointSeries::boundingRect() const {
    return rectOf(points_->rangeX(false), points_->rangeY(false));
}

bool onLogAxisX(const QwtPlotItem& item) {
    return isLogAxis(item, item.xAxis());
}

bool onLogAxisY(const QwtPlotItem& item) {
    return isLogAxis(item, item.yAxis());
}

QRectF drawableBounds(const PlotPoints& points, const QwtPlotItem& item, EmptyLogSide emptyLogSide) {
    const QwtInterval empty = emptyLogSide == EmptyLogSide::OneDecade ? QwtInterval(1.0, 10.0) : QwtInterval();
    const bool logX = onLogAxisX(item);
    const bool logY = onLogAxisY(item);
    QwtInterval x = points.rangeX(logX);
    QwtInterval y = points.rangeY(logY);
    if (logX && !x.isValid()) {
        x = empty;
    }
    if (logY && !y.isValid()) {
        y = empty;
    }
    return rectOf(x, y);
}

} // namespace Tessaly
