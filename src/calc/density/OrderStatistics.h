#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace Tessaly {

/// The values that would stand at given places if all were sorted in rising order, NaN last.
/// @param places  each below the number of values
/// O(n): a histogram finds the neighbourhood of each place, and only that is looked at closely.
std::vector<double> orderStatistics(std::span<const double> values, std::span<const std::size_t> places);

} // namespace Tessaly
