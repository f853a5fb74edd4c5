#pragma once

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace Tessaly {

/// A closed outline as radius over angle, and its expansion into a Fourier series.
struct RadialCurve {
    std::vector<double> angles;  ///< rising, in [0, 2 pi)
    std::vector<double> radii;   ///< one for each angle
    std::vector<double> weights; ///< of each angle in integrals over all of them
};

/// Cosines and sines of an order at some angles.
struct Waves {
    std::vector<double> cosines, sines;
};

/// What chosen orders of a curve add up to. Order 0 belongs to all.
struct RebuiltRadii {
    std::vector<double> odd, even, all; ///< one radius for each angle
    Waves directions;                   ///< of the angles
};

/// Radius over angle around the origin, of the closed polygon with these corners, each edge cut into equal parts. It
/// has no weights yet. Throws std::runtime_error if a coordinate is NaN.
RadialCurve polarCurve(std::span<const std::pair<double, double>> corners, std::size_t partsPerEdge);

/// The curve at 100 equal angles from 0 on, linear in the angle between its points, equal angles counting once.
/// Throws std::runtime_error if the curve has fewer than two different angles.
RadialCurve resampled(const RadialCurve& curve);

/// Weighs each angle by half of the gaps on both sides of it.
void weighByGaps(RadialCurve& curve);

/// Expands a curve into orders 0 to `harmonics` - 1 and sums up those that are odd, even, and all.
RebuiltRadii rebuilt(const RadialCurve& curve, int harmonics);

} // namespace Tessaly
