#pragma once

#include <QPoint>
#include <QPointF>
#include <QRectF>

class QwtPlot;

namespace Tessaly {

// What moves a plot's bottom and left axes, for any plot, each with one replot. Positions are pixels of the canvas.

/// Auto scale for both axes.
void zoomOutFully(QwtPlot& plot);

/// Shows what lies in a rectangle of the canvas.
void zoomTo(QwtPlot& plot, const QRectF& canvasRect);

/// Moves both axes by a distance in pixels, on the values, so that on curved axes the place at the origin of the canvas
/// follows the mouse.
void panBy(QwtPlot& plot, const QPoint& distance);

/// Zooms about a position, in or out by one step, on the values whatever the axes' scales.
/// @param angle  of the wheel; above 0 zooms in
void zoomByWheel(QwtPlot& plot, const QPointF& position, int angle);

} // namespace Tessaly
