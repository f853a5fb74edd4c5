#pragma once

#include <span>
#include <vector>

namespace Tessaly {

/// Density as the number of neighbours over the area of the circle that reaches the last of them, about sqrt(n)
/// neighbours each. Coordinates finite and of one length. About O(n sqrt(n)).
std::vector<double> neighbourDensity(std::span<const double> x, std::span<const double> y);

} // namespace Tessaly
