#pragma once

#include <span>

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

} // namespace Tessaly
