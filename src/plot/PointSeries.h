#pragma once

#include "plot/PlotPoints.h"

#include <QRectF>
#include <qwt_series_data.h>

#include <memory>

class QwtPlotItem;

namespace Tessaly {

/// Serves a scatter plot's columns to a curve without copying them.
class PointSeries : public QwtSeriesData<QPointF> {
public:
    explicit PointSeries(std::shared_ptr<const PlotPoints> points);

    const PlotPoints& points() const { return *points_; }
    std::size_t size() const override { return points_->size(); }
    QPointF sample(std::size_t index) const override;
    QRectF boundingRect() const override;

private:
    std::shared_ptr<const PlotPoints> points_;
};

/// The same with the colour value as z.
class ColorPointSeries : public QwtSeriesData<QwtPoint3D> {
public:
    explicit ColorPointSeries(std::shared_ptr<const PlotPoints> points);

    const PlotPoints& points() const { return *points_; }
    std::size_t size() const override { return points_->size(); }
    QwtPoint3D sample(std::size_t index) const override;
    QRectF boundingRect() const override;

private:
    std::shared_ptr<const PlotPoints> points_;
};

/// Whether an item's x or y axis is logarithmic, so that values at or below zero cannot be drawn.
bool onLogAxisX(const QwtPlotItem& item);
bool onLogAxisY(const QwtPlotItem& item);

/// What an item asks for along a logarithmic axis that can show none of its values.
enum class EmptyLogSide {
    NoWish,   ///< for what lies over the points
    OneDecade ///< 1 to 10, for the points themselves: the axis would else keep bounds that it cannot show either
};

/// The rectangle that an item asks auto scaling to show: all finite values, along logarithmic axes those above zero. A
/// side without values is negative, which is no wish, or as `emptyLogSide` says.
QRectF drawableBounds(const PlotPoints& points, const QwtPlotItem& item, EmptyLogSide emptyLogSide);

} // namespace Tessaly
