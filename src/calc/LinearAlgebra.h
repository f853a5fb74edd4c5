#pragma once

#include <optional>
#include <span>
#include <vector>

namespace Tessaly {

/// A square matrix by rows.
using SquareMatrix = std::vector<std::vector<double>>;

/// The inverse of a matrix whose rows are all as long as it has rows. Nothing if it is singular to working precision or
/// holds what is no finite number.
std::optional<SquareMatrix> inverseOf(const SquareMatrix& matrix);

/// Linear interpolation between nodes.
/// @param x, y    nodes, x rising strictly, at least two
/// @param places  rising, within the nodes
/// @param result  one value per place
void interpolateLinearly(std::span<const double> x, std::span<const double> y, std::span<const double> places,
                         std::span<double> result);

} // namespace Tessaly
