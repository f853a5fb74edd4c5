#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tessaly {

/// One event's picture of a three-dimensional dataset (events, height, width) as 8-bit grey, row by row.
/// Width and height are set only if the index is in range; out of range gives an empty vector.
/// Throws FileError if the dataset is no stack of pictures or can't be read. The caller holds hdf5Mutex().
std::vector<std::uint8_t> readPicture(std::int64_t dataset, std::size_t index, int* width, int* height);

/// One event's samples of a two-dimensional dataset (events, samples). Out of range gives an empty vector.
/// Throws FileError as readPicture().
std::vector<float> readTrace(std::int64_t dataset, std::size_t index);

} // namespace Tessaly
