#pragma once

#include "calc/density/Density.h"

#include <span>
#include <utility>
#include <vector>

namespace Tessaly {

using Polyline = std::vector<std::pair<double, double>>;

/// The lines along which the point density has one value.
struct ContourLevel {
    double fraction = 0.0; ///< share of the events that lie below the level's density
    double level = 0.0;    ///< density of the line
    std::vector<Polyline> polylines;
};

/// Contour lines of the density of a point cloud.
/// @param x, y            points in data units, of one length, finite
/// @param fractions       strictly between 0 and 1; the line at f encloses about 1 - f of the events
/// @param scaleX, scaleY  scale modes of the axes: density is estimated in axis space
/// @return one entry per fraction in their order, lines in data units; empty with fewer than 4 points
std::vector<ContourLevel> computeContours(std::span<const double> x, std::span<const double> y,
                                          std::span<const double> fractions, int scaleX, int scaleY);

/// The same from a density that is known already, e.g. from colouring the points by it.
/// @param grid     kernelDensityGrid() of the points in axis space
/// @param density  interpolateGrid() at the points
std::vector<ContourLevel> contoursOfDensity(const DensityGrid& grid, std::span<const double> density,
                                            std::span<const double> fractions, int scaleX, int scaleY);

/// Lines of one value through a grid, chained to polylines; a closed line ends on its first point.
/// Source: marching squares with the cell mean deciding saddles.
std::vector<Polyline> marchingSquares(const DensityGrid& grid, double level);

} // namespace Tessaly
