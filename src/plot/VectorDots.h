#pragma once

#include <QRectF>

#include <functional>

class QPainter;

namespace Tessaly {

/// As many dots go into an SVG or PDF as shapes that can be taken hold of there: under 5 MB of SVG. More make files
/// that other programs open slowly or not at all, so that they go in as one picture; the choice is on record in
/// docs/decisions.
inline constexpr int MaxVectorDots = 20000;

/// Whether so many dots are to be drawn by drawDotsAsPicture().
bool dotsGoAsPicture(const QPainter& painter, int count);

/// Lets dots be drawn into a picture with a transparent ground, and puts that into the file. 300 pixels per inch of
/// a plot as it is on screen.
/// @param area  in the painter's coordinates, which are those of the plot's layout
/// @param draw  gets a painter of the same coordinates
void drawDotsAsPicture(QPainter& painter, const QRectF& area, const std::function<void(QPainter&)>& draw);

} // namespace Tessaly
