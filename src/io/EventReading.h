#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Tessaly {

/// How the rows of a dataset are read, of which every event has one.
struct EventLayout {
    std::uint64_t rows = 0;
    std::uint64_t height = 1; ///< 1 for a trace
    std::uint64_t width = 0;  ///< samples of a trace
    std::int64_t memoryType = -1;
    std::size_t elementSize = 0; ///< in memory, in bytes

    std::size_t rowBytes() const { return height * width * elementSize; }
};

/// The layout of a dataset (events, height, width), read as 8-bit grey, or (events, samples), read as 16-bit or
/// floating-point numbers. Throws FileError if it is no stack of such rows. The caller holds hdf5Mutex().
EventLayout pictureLayout(std::int64_t dataset);
EventLayout traceLayout(std::int64_t dataset);

/// The samples of a trace that was read in its layout.
std::vector<float> samplesOf(const EventLayout& layout, std::span<const std::byte> row);

/// One event's picture of a three-dimensional dataset (events, height, width) as 8-bit grey, row by row.
/// Width and height are set only if the index is in range; out of range gives an empty vector.
/// Throws FileError if the dataset is no stack of pictures or can't be read. The caller holds hdf5Mutex().
std::vector<std::uint8_t> readPicture(std::int64_t dataset, std::size_t index, int* width, int* height);

/// One event's samples of a two-dimensional dataset (events, samples). Out of range gives an empty vector.
/// Throws FileError as readPicture().
std::vector<float> readTrace(std::int64_t dataset, std::size_t index);

} // namespace Tessaly
