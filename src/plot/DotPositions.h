#pragma once

#include "plot/PlotPoints.h"

#include <QPointF>
#include <QRectF>
#include <qwt_series_data.h>

#include <cstddef>
#include <vector>

class QPainter;

namespace Tessaly {

/// Where a curve's points lie in the coordinates of a painter. Either a view of columns in axis space, or pixels of its
/// own for series of other kinds. Positions of values that an axis cannot show are not finite.
class DotPositions {
public:
    /// A view; the points must outlive it.
    DotPositions(const PlotPoints& points, const QwtScaleMap& xMap, const QwtScaleMap& yMap);
    DotPositions(const QwtSeriesData<QPointF>& series, const QwtScaleMap& xMap, const QwtScaleMap& yMap);
    DotPositions(const QwtSeriesData<QwtPoint3D>& series, const QwtScaleMap& xMap, const QwtScaleMap& yMap);

    /// Position of a point; the same bits as from QwtScaleMap::transform.
    QPointF at(std::size_t index) const { return {xPixels_.pixel(x_[index]), yPixels_.pixel(y_[index])}; }

    const double* x() const { return x_; }
    const double* y() const { return y_; }
    const AxisPixels& xPixels() const { return xPixels_; }
    const AxisPixels& yPixels() const { return yPixels_; }

private:
    template <typename Sample>
    void collect(const QwtSeriesData<Sample>& series, const QwtScaleMap& xMap, const QwtScaleMap& yMap);

    AxisPixels xPixels_, yPixels_;
    std::vector<double> ownX_, ownY_;
    const double* x_ = nullptr;
    const double* y_ = nullptr;
};

/// Tells which dots are worth drawing one by one.
class DotVisibility {
public:
    /// @param extent  reach of a dot about its centre
    DotVisibility(const QPainter& painter, double extent);

    /// False for positions that are not finite or beyond any device, and for dots beyond the painter's clip. On devices
    /// that don't clip (SVG) the centre decides, elsewhere any part.
    bool shows(const QPointF& center) const;

private:
    bool limited_;
    QRectF area_;
};

} // namespace Tessaly
