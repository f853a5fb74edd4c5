#include "io/EventReading.h"

#include "io/DatasetAccess.h"
#include "io/RowReader.h"
#include "io/StorageCheck.h"

#include <hdf5.h>

#include <cstring>
#include <limits>

namespace Tessaly {

namespace {

/// Whether values of the dataset convert to numbers; variable-length ones among others must not even be read.
void requireNumbers(hid_t type) {
    const H5T_class_t kind = H5Tget_class(type);
    if (kind != H5T_INTEGER && kind != H5T_FLOAT && kind != H5T_ENUM) {
        throw FileError("the dataset doesn't hold numbers");
    }
}

void readRow(std::int64_t dataset, const EventLayout& layout, std::size_t index, std::span<std::byte> row) {
    if (!row.empty()) {
        RowReader(dataset, layout.memoryType).read(index, 1, row.data());
    }
}

} // namespace

EventLayout pictureLayout(std::int64_t dataset) {
    const std::vector<std::uint64_t> extent = datasetExtent(dataset);
    if (extent.size() != 3) {
        throw FileError("the dataset doesn't have three dimensions");
    }
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<int>::max());
    if (extent[1] > largest || extent[2] > largest) {
        throw FileError("the pictures are too large");
    }
    const Hdf5Id type(H5Dget_type(dataset), H5Tclose, "H5Dget_type");
    requireNumbers(type.get());
    return {extent[0], extent[1], extent[2], H5T_NATIVE_UINT8, sizeof(std::uint8_t)};
}

EventLayout traceLayout(std::int64_t dataset) {
    const std::vector<std::uint64_t> extent = datasetExtent(dataset);
    if (extent.size() != 2) {
        throw FileError("the dataset doesn't have two dimensions");
    }
    const Hdf5Id type(H5Dget_type(dataset), H5Tclose, "H5Dget_type");
    requireNumbers(type.get());
    if (H5Tget_class(type.get()) == H5T_INTEGER && H5Tget_size(type.get()) == sizeof(std::int16_t)) {
        return {extent[0], 1, extent[1], H5T_NATIVE_INT16, sizeof(std::int16_t)};
    }
    return {extent[0], 1, extent[1], H5T_NATIVE_FLOAT, sizeof(float)};
}

std::vector<float> samplesOf(const EventLayout& layout, std::span<const std::byte> row) {
    std::vector<float> samples(layout.width);
    if (layout.elementSize == sizeof(float)) {
        std::memcpy(samples.data(), row.data(), row.size());
        return samples;
    }
    std::vector<std::int16_t> stored(layout.width);
    std::memcpy(stored.data(), row.data(), row.size());
    samples.assign(stored.begin(), stored.end());
    return samples;
}

std::vector<std::uint8_t> readPicture(std::int64_t dataset, std::size_t index, int* width, int* height) {
    const EventLayout layout = pictureLayout(dataset);
    if (index >= layout.rows) {
        return {};
    }
    requirePlausible(dataset, saturatedProduct(layout.height, layout.width), layout.elementSize);
    std::vector<std::uint8_t> pixels(layout.rowBytes());
    readRow(dataset, layout, index, std::as_writable_bytes(std::span(pixels)));
    if (width != nullptr) {
        *width = static_cast<int>(layout.width);
    }
    if (height != nullptr) {
        *height = static_cast<int>(layout.height);
    }
    return pixels;
}

std::vector<float> readTrace(std::int64_t dataset, std::size_t index) {
    const EventLayout layout = traceLayout(dataset);
    if (index >= layout.rows || layout.width == 0) {
        return {};
    }
    requirePlausible(dataset, layout.width, sizeof(float));
    std::vector<std::byte> row(layout.rowBytes());
    readRow(dataset, layout, index, row);
    return samplesOf(layout, row);
}

} // namespace Tessaly
