#pragma once

#include <span>
#include <string_view>
#include <vector>

namespace Tessaly {

/// How crowded an event's neighbourhood is, by which estimator.
enum class DensityMethod { Kde = 0, Histogram = 1, NearestNeighbours = 2 };

/// The estimator that a density selector (core/PlotSettings.h) asks for; KDE for an unknown one.
DensityMethod densityMethodOf(std::string_view selector);

/// Smoothed counts on a square grid. values[yBin * size + xBin] belongs to the cell centre
/// (xOrigin + (xBin + 0.5) xStep, yOrigin + (yBin + 0.5) yStep).
struct DensityGrid {
    std::vector<double> values;
    int size = 0;
    double xOrigin = 0.0;
    double yOrigin = 0.0;
    double xStep = 0.0;
    double yStep = 0.0;
};

/// Density at every event, in axis space.
/// @param x, y  coordinates after the axes' scale modes were applied, of one length
/// @return one value per event: smoothed count (KDE), count of the bin (histogram) or neighbours per area; NaN where x
///         or y is not finite, and everywhere with fewer than 4 finite pairs or columns of unequal length
/// O(n) with one pass over a grid of at most 512 x 512 cells; about O(n sqrt(n)) for neighbours. Any thread.
std::vector<double> computeDensity(std::span<const double> x, std::span<const double> y, DensityMethod method);

/// Number of bins per axis, from 20 candidates between 32 and 512.
/// Source: H. Shimazaki and S. Shinomoto, "A method for selecting the bin size of a time histogram", Neural Computation
/// 19 (2007), in two dimensions.
int optimalGridSize(std::span<const double> x, std::span<const double> y);

/// Binned kernel density estimate with a Gaussian kernel and a rule-of-thumb bandwidth per axis. Plain twin:
/// Plain::kernelDensityGrid() of tests/support/PlainDensity.h.
/// @param gridSize  bins per axis; below 1 for optimalGridSize()
DensityGrid kernelDensityGrid(std::span<const double> x, std::span<const double> y, int gridSize);

/// Bilinear interpolation between cell centres, clamped at the rim.
std::vector<double> interpolateGrid(const DensityGrid& grid, std::span<const double> x, std::span<const double> y);

} // namespace Tessaly
