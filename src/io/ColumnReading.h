#pragma once

#include <cstdint>
#include <vector>

namespace Tessaly {

/// Number of events that a feature's dataset declares: its first dimension.
/// Throws FileError if there is none, or if it is too large to be believed.
std::uint64_t readRowCount(std::int64_t dataset);

/// Reads a whole one-dimensional dataset as doubles.
///
/// Real and integer values widen (4-byte reals through float, 8-byte integers as signed, enumerations as signed 8-bit);
/// any other kind gives zeros of the right length.
/// @param byteBudget  largest size of the column in memory
/// Throws FileError if the dataset is not a column, can't be read or breaks the budget. The caller holds hdf5Mutex().
std::vector<double> readColumn(std::int64_t dataset, std::uint64_t byteBudget);

} // namespace Tessaly
