#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace Tessaly {

/// Smallest value and extent of one axis. NaN takes no part.
struct AxisRange {
    double min = 0.0;
    double max = 0.0;
    double range = 1.0; ///< max - min, or 1.0 if that is not above 0

    AxisRange() = default;
    /// O(n).
    explicit AxisRange(std::span<const double> values);

    bool isConstant() const { return min == max; }
};

/// Bin of a coordinate that was divided by the bin's width: truncated, and clamped to 0..size-1. NaN falls into bin 0.
inline int clampedBin(double position, int size) {
    const double last = size - 1;
    const double above = position > 0.0 ? position : 0.0;
    return static_cast<int>(above < last ? above : last);
}

/// The values that would stand at given places if all were sorted in rising order, NaN last.
/// @param places  each below the number of values
/// O(n): a histogram finds the neighbourhood of each place, and only that is looked at closely.
std::vector<double> orderStatistics(std::span<const double> values, std::span<const std::size_t> places);

/// Quantiles of values: at position q (n - 1) of the values in rising order, linear between neighbours.
/// @param fractions  0 to 1
/// @return one value for each fraction; none without values. A neighbour that is NaN makes a quantile NaN.
/// O(n), as orderStatistics().
std::vector<double> quantiles(std::span<const double> values, std::span<const double> fractions);

} // namespace Tessaly
