#pragma once

#include "io/StoredColumn.h"

#include <cstdint>

namespace Tessaly {

/// Number of events that a feature's dataset declares: its first dimension. The first value of a column is read, too.
/// Throws FileError if there is no dimension, if it is too large to be believed, or if that value can't be read.
std::uint64_t readRowCount(std::int64_t dataset);

/// What a column will take, known before it is read.
struct ColumnPlan {
    StoredKind kind = StoredKind::Zeros;
    std::uint64_t count = 0;
    std::uint64_t bytes = 0; ///< as it will be kept
    bool declared = false;   ///< more than its storage can hold: merely declared, not there
};

/// Memory that the columns of one file may still take, in bytes. A small file could declare any amount otherwise.
struct ColumnBudget {
    /// For columns whose data are there: half of the machine's memory.
    std::uint64_t stored = defaultStored();
    /// For columns that are merely declared, at most.
    std::uint64_t declared = 256ULL << 20;

    std::uint64_t& leftFor(const ColumnPlan& plan) { return plan.declared ? declared : stored; }
    /// Takes bytes off. Throws FileError if there aren't as many left.
    void take(const ColumnPlan& plan, std::uint64_t bytes);
    static std::uint64_t defaultStored();
};

/// Looks at a one-dimensional dataset: real and integer values are kept in their own type (4-byte reals as float, other
/// reals as double, 8-byte integers as signed, enumerations as signed 8-bit); any other kind counts as zeros.
/// Throws FileError if the dataset is no column or can't be believed. The caller holds hdf5Mutex().
ColumnPlan planColumn(std::int64_t dataset);

/// Reads the whole dataset as planned. Throws FileError if it can't be read. The caller holds hdf5Mutex().
StoredColumn readColumn(std::int64_t dataset, const ColumnPlan& plan);

} // namespace Tessaly
