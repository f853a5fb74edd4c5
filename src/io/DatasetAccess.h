#pragma once

#include "io/Hdf5Library.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tessaly {

/// Opens groups and datasets of one file so that nothing in a damaged or hostile file can hang the program or exhaust
/// memory. Internal to the io layer; the caller holds hdf5Mutex(); failures are FileError.
class DatasetAccess {
public:
    DatasetAccess();

    /// Whether a link of this name stands in the group. False for names with a slash.
    bool hasLink(std::int64_t group, const std::string& name) const;
    Hdf5Id openGroup(std::int64_t parent, const std::string& name) const;
    Hdf5Id openDataset(std::int64_t group, const std::string& name) const;
    /// Names of the group's links that lead to a dataset, ascending bytewise.
    /// Links that lead nowhere and what can't be opened are left out. If the walk over the links breaks off, or an
    /// object of this file can't be opened, the names found are there and `problem` says what failed first.
    std::vector<std::string> datasetNames(std::int64_t group, std::string& problem) const;

private:
    Hdf5Id datasetAccess_;
    Hdf5Id groupAccess_;
};

/// The product of all lengths and a factor, without wrapping.
template <typename Lengths>
std::uint64_t productOf(const Lengths& lengths, std::uint64_t factor = 1) {
    for (const auto length : lengths) {
        factor = saturatedProduct(factor, length);
    }
    return factor;
}

/// Lengths of all dimensions; empty for a scalar or an empty dataspace.
std::vector<std::uint64_t> datasetExtent(std::int64_t dataset);

} // namespace Tessaly
