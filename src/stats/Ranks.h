#pragma once

#include <span>
#include <vector>

namespace Tessaly {

/// The values in rising order, NaN last. O(n log n), any thread.
std::vector<double> inRisingOrder(std::span<const double> values);

/// Ranks all values of some groups together, from 1, and adds the ranks up for each group. A run of equal values that
/// covers the places i to j - 1 of the sorted list, counted from 0, gets its mean rank (i + 1 + j) / 2. Every NaN
/// stands alone behind all numbers.
/// @return one sum for each group, 0 for an empty one; exact up to some 10^7 values
/// O(n log n + n k) for n values in k groups, any thread. The routine under all rank tests.
std::vector<double> rankSums(std::span<const std::span<const double>> groups);

} // namespace Tessaly
