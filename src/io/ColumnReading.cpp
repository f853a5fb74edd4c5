#include "ColumnReading.h"

#include "io/DatasetAccess.h"
#include "io/RowReading.h"

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <type_traits>
#include <unistd.h>

namespace Tessaly {

namespace {

/// Reads in the stored width into the end of the column's own memory and widens from the front. That needs no second
/// buffer, and the library's slower conversion to double is not asked for.
template <typename Stored>
void readWhole(hid_t dataset, hid_t memoryType, std::size_t count, std::vector<double>& column) {
    column.resize(count);
    const std::size_t shift = count * (sizeof(double) - sizeof(Stored));
    std::byte* const source = reinterpret_cast<std::byte*>(column.data()) + shift;
    RowReader(dataset, memoryType).read(0, count, source);
    if constexpr (std::is_same_v<Stored, double>) {
        return;
    }
    // A block is copied out before its place may be overwritten: writing never overtakes reading.
    std::array<Stored, 1024> block;
    for (std::size_t begin = 0; begin < count; begin += block.size()) {
        const std::size_t length = std::min(block.size(), count - begin);
        std::memcpy(block.data(), source + begin * sizeof(Stored), length * sizeof(Stored));
        for (std::size_t i = 0; i < length; ++i) {
            column[begin + i] = static_cast<double>(block[i]);
        }
    }
}

/// Reads block by block through a small buffer. Fresh memory is expensive to touch; so every page of the column is
/// touched once, by the numbers themselves, without zeros before them.
template <typename Stored>
void readInBlocks(hid_t dataset, hid_t memoryType, std::size_t count, std::vector<double>& column) {
    const std::size_t blockLength = std::min(count, std::size_t{12} * 1024);
    const Hdf5Id fileSpace(H5Dget_space(dataset), H5Sclose, "H5Dget_space");
    const hsize_t bufferLength = blockLength;
    const Hdf5Id memorySpace(H5Screate_simple(1, &bufferLength, nullptr), H5Sclose, "H5Screate_simple");
    std::vector<Stored> block(blockLength);
    column.reserve(count);
    for (hsize_t begin = 0; begin < count; begin += blockLength) {
        const hsize_t length = std::min<hsize_t>(blockLength, count - begin);
        const hsize_t origin = 0;
        requireSuccess(H5Sselect_hyperslab(fileSpace.get(), H5S_SELECT_SET, &begin, nullptr, &length, nullptr),
                       "H5Sselect_hyperslab");
        requireSuccess(H5Sselect_hyperslab(memorySpace.get(), H5S_SELECT_SET, &origin, nullptr, &length, nullptr),
                       "H5Sselect_hyperslab");
        requireSuccess(H5Dread(dataset, memoryType, memorySpace.get(), fileSpace.get(), H5P_DEFAULT, block.data()),
                       "H5Dread");
        column.insert(column.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(length));
    }
}

/// Chunks may be larger than a block and would be unpacked again for every one, so these are read in one piece.
template <typename Stored>
void readWidened(hid_t dataset, hid_t memoryType, std::size_t count, std::vector<double>& column) {
    const Hdf5Id properties(H5Dget_create_plist(dataset), H5Pclose, "H5Dget_create_plist");
    if (H5Pget_layout(properties.get()) == H5D_CONTIGUOUS) {
        readInBlocks<Stored>(dataset, memoryType, count, column);
    } else {
        readWhole<Stored>(dataset, memoryType, count, column);
    }
}

/// Leaves the column empty for kinds that aren't read.
void readIntegers(hid_t dataset, hid_t type, std::size_t count, std::vector<double>& column) {
    const bool isSigned = H5Tget_sign(type) != H5T_SGN_NONE;
    switch (H5Tget_size(type)) {
    case 1:
        return isSigned ? readWidened<std::int8_t>(dataset, H5T_NATIVE_INT8, count, column)
                        : readWidened<std::uint8_t>(dataset, H5T_NATIVE_UINT8, count, column);
    case 2:
        return isSigned ? readWidened<std::int16_t>(dataset, H5T_NATIVE_INT16, count, column)
                        : readWidened<std::uint16_t>(dataset, H5T_NATIVE_UINT16, count, column);
    case 4:
        return isSigned ? readWidened<std::int32_t>(dataset, H5T_NATIVE_INT32, count, column)
                        : readWidened<std::uint32_t>(dataset, H5T_NATIVE_UINT32, count, column);
    case 8:
        // Unsigned numbers beyond the signed range wrap; asked for signed ones, the library would clip them.
        return readWidened<std::int64_t>(dataset, isSigned ? H5T_NATIVE_INT64 : H5T_NATIVE_UINT64, count, column);
    default:
        return;
    }
}

/// Where in the budget a column of so many bytes is taken from.
std::uint64_t& requireBudget(ColumnBudget& budget, hid_t dataset, std::uint64_t bytes) {
    std::uint64_t& left = isBackedByStorage(dataset, bytes) ? budget.stored : budget.declared;
    if (bytes > left) {
        throw FileError("the columns of the file take too much memory");
    }
    return left;
}

} // namespace

std::uint64_t ColumnBudget::defaultStored() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    constexpr std::uint64_t unknownMachine = 4ULL << 30;
    return pages > 0 && pageSize > 0
               ? saturatedProduct(static_cast<std::uint64_t>(pages), static_cast<std::uint64_t>(pageSize)) / 2
               : unknownMachine;
}

std::uint64_t readRowCount(std::int64_t dataset) {
    const std::vector<std::uint64_t> extent = datasetExtent(dataset);
    if (extent.empty()) {
        throw FileError("the dataset has no dimensions");
    }
    // Events are numbered by int throughout the program.
    if (extent[0] > static_cast<std::uint64_t>(std::numeric_limits<int>::max())) {
        throw FileError("the dataset declares more events than can be numbered");
    }
    requirePlausible(dataset, extent[0], sizeof(double));
    return extent[0];
}

std::vector<double> readColumn(std::int64_t dataset, ColumnBudget& budget) {
    const std::vector<std::uint64_t> extent = datasetExtent(dataset);
    if (extent.size() != 1) {
        throw FileError("the dataset doesn't have one dimension");
    }
    requirePlausible(dataset, extent[0], sizeof(double));
    std::uint64_t& left = requireBudget(budget, dataset, saturatedProduct(extent[0], sizeof(double)));
    const std::size_t count = extent[0];
    std::vector<double> column;
    if (count == 0) {
        return column;
    }
    const Hdf5Id type(H5Dget_type(dataset), H5Tclose, "H5Dget_type");
    switch (H5Tget_class(type.get())) {
    case H5T_FLOAT:
        if (H5Tget_size(type.get()) == sizeof(float)) {
            readWidened<float>(dataset, H5T_NATIVE_FLOAT, count, column);
        } else {
            readWidened<double>(dataset, H5T_NATIVE_DOUBLE, count, column);
        }
        break;
    case H5T_INTEGER:
        readIntegers(dataset, type.get(), count, column);
        break;
    case H5T_ENUM:
        readWidened<std::int8_t>(dataset, H5T_NATIVE_INT8, count, column);
        break;
    default:
        break;
    }
    column.resize(count);           // kinds that aren't read are zeros
    left -= count * sizeof(double); // a column that can't be read takes nothing
    return column;
}

} // namespace Tessaly
