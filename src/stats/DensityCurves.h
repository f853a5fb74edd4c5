#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace Tessaly {

/// The places at which all curves of one plot are given, so that they can be averaged point by point.
struct CurveGrid {
    static constexpr std::size_t size = 256;

    double start = 0.0;
    double step = 1.0;
    double range = 1.0; ///< largest less smallest value

    double at(std::size_t point) const { return start + static_cast<double>(point) * step; }
    bool operator==(const CurveGrid&) const = default;
};

/// A grid over all values and a twentieth of their range on either side. Equal values get the range 1, or the smallest
/// that they can be told apart by if they are huge. Nothing if the range is beyond what numbers can hold.
std::optional<CurveGrid> densityGrid(double min, double max);

/// Density of finite values at the points of the grid, with an area of 1 over it; zeros without values.
///
/// Kernel estimate with a truncated Gaussian over linearly binned values. Its width is 0.5 s n^(-1/5), on purpose
/// narrower than the rule of thumb, s being the smaller one of deviation and quartile range / 1.34; at least a step.
/// Nothing is reflected at the ends.
/// O(n) and at most 256 times the kernel, any thread.
/// Source: M. P. Wand, J. Comput. Graph. Stat. 3 (1994) 433; B. W. Silverman, Density Estimation (1986), 3.4.2.
std::vector<double> densityCurve(std::span<const double> values, const CurveGrid& grid);

/// Several curves in one.
struct MeanCurve {
    std::vector<double> mean;
    std::vector<double> sd; ///< divisor n - 1; empty for one curve
};

/// Mean and deviation point by point; each curve counts the same. Curves have the same length, and there is one.
MeanCurve averageCurves(std::span<const std::vector<double>> curves);

} // namespace Tessaly
