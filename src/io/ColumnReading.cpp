#include "ColumnReading.h"

#include "io/DatasetAccess.h"

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace Tessaly {

namespace {

void readAll(hid_t dataset, hid_t memoryType, void* target) {
    requireSuccess(H5Dread(dataset, memoryType, H5S_ALL, H5S_ALL, H5P_DEFAULT, target), "H5Dread");
}

/// Reads in the stored width into the end of the column's own memory and widens from the front. That needs no second
/// buffer, and the library's slower conversion to double is not asked for.
template <typename Stored>
void readWidened(hid_t dataset, hid_t memoryType, std::vector<double>& column) {
    static_assert(sizeof(Stored) <= sizeof(double));
    const std::size_t count = column.size();
    std::byte* bytes = reinterpret_cast<std::byte*>(column.data());
    const std::byte* source = bytes + count * (sizeof(double) - sizeof(Stored));
    readAll(dataset, memoryType, bytes + count * (sizeof(double) - sizeof(Stored)));
    // A block is copied out before its place may be overwritten: writing never overtakes reading.
    std::array<Stored, 1024> block;
    for (std::size_t begin = 0; begin < count; begin += block.size()) {
        const std::size_t length = std::min(block.size(), count - begin);
        std::memcpy(block.data(), source + begin * sizeof(Stored), length * sizeof(Stored));
        for (std::size_t i = 0; i < length; ++i)
            column[begin + i] = static_cast<double>(block[i]);
    }
}

void readIntegers(hid_t dataset, hid_t type, std::vector<double>& column) {
    const bool isSigned = H5Tget_sign(type) != H5T_SGN_NONE;
    switch (H5Tget_size(type)) {
    case 1:
        return isSigned ? readWidened<std::int8_t>(dataset, H5T_NATIVE_INT8, column)
                        : readWidened<std::uint8_t>(dataset, H5T_NATIVE_UINT8, column);
    case 2:
        return isSigned ? readWidened<std::int16_t>(dataset, H5T_NATIVE_INT16, column)
                        : readWidened<std::uint16_t>(dataset, H5T_NATIVE_UINT16, column);
    case 4:
        return isSigned ? readWidened<std::int32_t>(dataset, H5T_NATIVE_INT32, column)
                        : readWidened<std::uint32_t>(dataset, H5T_NATIVE_UINT32, column);
    case 8:
        return readWidened<std::int64_t>(dataset, H5T_NATIVE_INT64, column);
    default:
        return; // zeros
    }
}

} // namespace

std::uint64_t readRowCount(std::int64_t dataset) {
    const std::vector<std::uint64_t> extent = datasetExtent(dataset);
    if (extent.empty())
        throw FileError("the dataset has no dimensions");
    // Events are numbered by int throughout the program.
    if (extent[0] > static_cast<std::uint64_t>(std::numeric_limits<int>::max()))
        throw FileError("the dataset declares more events than can be numbered");
    requirePlausible(dataset, extent[0], sizeof(double));
    return extent[0];
}

std::vector<double> readColumn(std::int64_t dataset, std::uint64_t byteBudget) {
    const std::vector<std::uint64_t> extent = datasetExtent(dataset);
    if (extent.size() != 1)
        throw FileError("the dataset doesn't have one dimension");
    requirePlausible(dataset, extent[0], sizeof(double));
    if (saturatedProduct(extent[0], sizeof(double)) > byteBudget)
        throw FileError("the columns of the file declare more data than it can hold");
    std::vector<double> column(extent[0], 0.0);
    if (column.empty())
        return column;
    const Hdf5Id type(H5Dget_type(dataset), H5Tclose, "H5Dget_type");
    switch (H5Tget_class(type.get())) {
    case H5T_FLOAT:
        if (H5Tget_size(type.get()) == sizeof(float))
            readWidened<float>(dataset, H5T_NATIVE_FLOAT, column);
        else
            readAll(dataset, H5T_NATIVE_DOUBLE, column.data());
        break;
    case H5T_INTEGER:
        readIntegers(dataset, type.get(), column);
        break;
    case H5T_ENUM:
        readWidened<std::int8_t>(dataset, H5T_NATIVE_INT8, column);
        break;
    default:
        break; // zeros
    }
    return column;
}

} // namespace Tessaly
