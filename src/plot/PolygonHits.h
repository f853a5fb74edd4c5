#pragma once

#include <QPointF>
#include <QPolygonF>

class QwtScaleMap;

namespace Tessaly {

/// Distances within which the mouse takes hold of a polygon, in pixels; a hit lies nearer.
inline constexpr double VertexReach = 12.0;
inline constexpr double EdgeReach = 8.0;

/// The vertex nearest to a place and within reach, the first of equally near ones; -1 if none is.
/// @param pixels  the polygon's vertices on the canvas; those that aren't finite are never hit
int vertexAt(const QPolygonF& pixels, const QPointF& place);

/// The edge nearest to a place and within reach, the first of equally near ones; -1 if none is. Edge i runs from vertex
/// i to the next, the last one back to the first. The foot of the perpendicular must lie on the edge; edges without
/// length are never hit, nor is anything with fewer than two vertices.
int edgeAt(const QPolygonF& pixels, const QPointF& place);

/// Data units to canvas pixels. A value that a logarithmic axis can't show lies far beyond its lower end.
QPointF boundedPixel(const QwtScaleMap& xMap, const QwtScaleMap& yMap, const QPointF& dataPos);

} // namespace Tessaly
