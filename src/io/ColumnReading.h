#pragma once

#include <cstdint>
#include <vector>

namespace Tessaly {

/// Number of events that a feature's dataset declares: its first dimension.
/// Throws FileError if there is none, or if it is too large to be believed.
std::uint64_t readRowCount(std::int64_t dataset);

/// Memory that the columns of one file may still take, in bytes. A small file could declare any amount otherwise.
struct ColumnBudget {
    /// For columns whose data are there: half of the machine's memory.
    std::uint64_t stored = defaultStored();
    /// For columns that are merely declared, at most.
    std::uint64_t declared = 256ULL << 20;

    static std::uint64_t defaultStored();
};

/// Reads a whole one-dimensional dataset as doubles.
///
/// Real and integer values widen (4-byte reals through float, 8-byte integers as signed, enumerations as signed 8-bit);
/// any other kind gives zeros of the right length.
/// @param budget  the column's size is taken off
/// Throws FileError if the dataset is not a column, can't be read or breaks the budget. The caller holds hdf5Mutex().
std::vector<double> readColumn(std::int64_t dataset, ColumnBudget& budget);

} // namespace Tessaly
