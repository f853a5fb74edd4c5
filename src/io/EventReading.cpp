#include "io/EventReading.h"

#include "io/DatasetAccess.h"
#include "io/RowReader.h"
#include "io/StorageCheck.h"

#include <hdf5.h>

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

} // namespace

std::vector<std::uint8_t> readPicture(std::int64_t dataset, std::size_t index, int* width, int* height) {
    const std::vector<std::uint64_t> extent = datasetExtent(dataset);
    if (extent.size() != 3) {
        throw FileError("the dataset doesn't have three dimensions");
    }
    if (index >= extent[0]) {
        return {};
    }
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<int>::max());
    if (extent[1] > largest || extent[2] > largest) {
        throw FileError("the pictures are too large");
    }
    const Hdf5Id type(H5Dget_type(dataset), H5Tclose, "H5Dget_type");
    requireNumbers(type.get());
    requirePlausible(dataset, saturatedProduct(extent[1], extent[2]), sizeof(std::uint8_t));
    std::vector<std::uint8_t> pixels(extent[1] * extent[2]);
    if (!pixels.empty()) {
        RowReader(dataset, H5T_NATIVE_UINT8).read(index, 1, reinterpret_cast<std::byte*>(pixels.data()));
    }
    if (width != nullptr) {
        *width = static_cast<int>(extent[2]);
    }
    if (height != nullptr) {
        *height = static_cast<int>(extent[1]);
    }
    return pixels;
}

std::vector<float> readTrace(std::int64_t dataset, std::size_t index) {
    const std::vector<std::uint64_t> extent = datasetExtent(dataset);
    if (extent.size() != 2) {
        throw FileError("the dataset doesn't have two dimensions");
    }
    if (index >= extent[0]) {
        return {};
    }
    const Hdf5Id type(H5Dget_type(dataset), H5Tclose, "H5Dget_type");
    requireNumbers(type.get());
    requirePlausible(dataset, extent[1], sizeof(float));
    std::vector<float> samples(extent[1], 0.0F);
    if (samples.empty()) {
        return samples;
    }
    if (H5Tget_class(type.get()) == H5T_INTEGER && H5Tget_size(type.get()) == sizeof(std::int16_t)) {
        std::vector<std::int16_t> stored(extent[1], 0);
        RowReader(dataset, H5T_NATIVE_INT16).read(index, 1, reinterpret_cast<std::byte*>(stored.data()));
        samples.assign(stored.begin(), stored.end());
    } else {
        RowReader(dataset, H5T_NATIVE_FLOAT).read(index, 1, reinterpret_cast<std::byte*>(samples.data()));
    }
    return samples;
}

} // namespace Tessaly
