#pragma once

#include "plot/PlotPoints.h"

#include <QPointF>
#include <QSizeF>

#include <span>

namespace Tessaly {

/// Index of the point nearest to a place, distances counted in shares of the canvas's width and height; the first of
/// equally near ones, -1 if none is within 5 % of the canvas. Values that aren't finite are never near.
/// @param x, y              columns in axis space, of one length
/// @param xPixels, yPixels  from there to pixels
/// @param place             in pixels
/// @param canvas            width and height of the scales in pixels, above 0
/// O(n), one pass without allocation: a bound without divisions and branches passes over blocks of points that are too
/// far off. The plain form is the definition in the tests of the scatter plot.
int nearestPoint(std::span<const double> x, std::span<const double> y, const AxisPixels& xPixels,
                 const AxisPixels& yPixels, const QPointF& place, const QSizeF& canvas);

} // namespace Tessaly
