#include "io/ColumnReading.h"

#include "io/DatasetAccess.h"
#include "io/RowReader.h"
#include "io/StorageCheck.h"

#include <hdf5.h>

#include <limits>
#include <unistd.h>

namespace Tessaly {

namespace {

StoredKind integerKind(hid_t type) {
    const bool isSigned = H5Tget_sign(type) != H5T_SGN_NONE;
    switch (H5Tget_size(type)) {
    case 1:
        return isSigned ? StoredKind::Int8 : StoredKind::UInt8;
    case 2:
        return isSigned ? StoredKind::Int16 : StoredKind::UInt16;
    case 4:
        return isSigned ? StoredKind::Int32 : StoredKind::UInt32;
    case 8:
        return StoredKind::Int64;
    default:
        return StoredKind::Zeros;
    }
}

StoredKind kindOf(hid_t type) {
    switch (H5Tget_class(type)) {
    case H5T_FLOAT:
        return H5Tget_size(type) == sizeof(float) ? StoredKind::Float : StoredKind::Double;
    case H5T_INTEGER:
        return integerKind(type);
    case H5T_ENUM:
        return StoredKind::Int8;
    default:
        return StoredKind::Zeros;
    }
}

/// The library's number type in which a column of a kind is read.
hid_t memoryType(StoredKind kind, hid_t fileType) {
    switch (kind) {
    case StoredKind::Int8:
        return H5T_NATIVE_INT8;
    case StoredKind::UInt8:
        return H5T_NATIVE_UINT8;
    case StoredKind::Int16:
        return H5T_NATIVE_INT16;
    case StoredKind::UInt16:
        return H5T_NATIVE_UINT16;
    case StoredKind::Int32:
        return H5T_NATIVE_INT32;
    case StoredKind::UInt32:
        return H5T_NATIVE_UINT32;
    case StoredKind::Int64:
        // Unsigned numbers beyond the signed range wrap; asked for signed ones, the library would clip them.
        return H5Tget_sign(fileType) != H5T_SGN_NONE ? H5T_NATIVE_INT64 : H5T_NATIVE_UINT64;
    case StoredKind::Float:
        return H5T_NATIVE_FLOAT;
    case StoredKind::Zeros:
    case StoredKind::Double:
        break;
    }
    return H5T_NATIVE_DOUBLE;
}

} // namespace

void ColumnBudget::take(const ColumnPlan& plan, std::uint64_t bytes) {
    std::uint64_t& left = leftFor(plan);
    if (bytes > left) {
        throw FileError("the columns of the file take too much memory");
    }
    left -= bytes;
}

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
    if (extent.size() == 1 && extent[0] != 0) {
        ColumnPlan first = planColumn(dataset);
        first.count = 1;
        readColumn(dataset, first);
    }
    return extent[0];
}

ColumnPlan planColumn(std::int64_t dataset) {
    const std::vector<std::uint64_t> extent = datasetExtent(dataset);
    if (extent.size() != 1) {
        throw FileError("the dataset doesn't have one dimension");
    }
    requirePlausible(dataset, extent[0], sizeof(double));
    const Hdf5Id type(H5Dget_type(dataset), H5Tclose, "H5Dget_type");
    ColumnPlan plan;
    plan.kind = kindOf(type.get());
    plan.count = extent[0];
    plan.bytes = saturatedProduct(plan.count, storedWidth(plan.kind));
    plan.declared = !isBackedByStorage(dataset, saturatedProduct(plan.count, H5Tget_size(type.get())));
    return plan;
}

StoredColumn readColumn(std::int64_t dataset, const ColumnPlan& plan) {
    StoredColumn column(plan.kind, plan.count);
    if (plan.kind != StoredKind::Zeros && plan.count != 0) {
        const Hdf5Id type(H5Dget_type(dataset), H5Tclose, "H5Dget_type");
        RowReader(dataset, memoryType(plan.kind, type.get())).read(0, plan.count, column.data());
    }
    return column;
}

} // namespace Tessaly
