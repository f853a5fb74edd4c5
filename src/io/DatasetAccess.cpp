#include "DatasetAccess.h"

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <span>

namespace Tessaly {

namespace {

namespace fs = std::filesystem;

/// Up to this many bytes are believed without a look at the storage.
constexpr std::uint64_t unquestionedBytes = 64ULL << 20;
/// The common compression can't shrink data to less than one part in 1032.
constexpr std::uint64_t largestCompression = 1100;

/// Refuses external links into anything but regular files: opening a pipe would wait forever.
herr_t judgeExternalLink(const char* parentFile, const char*, const char* targetFile, const char*, unsigned*, hid_t,
                         void*) {
    try {
        const fs::path target(targetFile);
        const fs::path folder = fs::path(parentFile).parent_path();
        for (const fs::path& candidate : {target, folder / target, folder / target.filename()}) {
            std::error_code unknown;
            const fs::file_status status = fs::status(candidate, unknown);
            if (fs::exists(status) && !fs::is_regular_file(status)) {
                return -1;
            }
        }
        return 0;
    } catch (...) {
        return -1; // no exception may pass through the library
    }
}

Hdf5Id makeAccess(hid_t kind) {
    Hdf5Id list(H5Pcreate(kind), H5Pclose, "H5Pcreate");
    requireSuccess(H5Pset_elink_cb(list.get(), judgeExternalLink, nullptr), "H5Pset_elink_cb");
    return list;
}

struct Link {
    std::string name;
    bool hard = false; ///< leads to an object of this file, which must then be there
};

herr_t collectLink(hid_t, const char* name, const H5L_info_t* info, void* target) {
    try {
        static_cast<std::vector<Link>*>(target)->push_back({name, info->type == H5L_TYPE_HARD});
        return 0;
    } catch (...) {
        return -1;
    }
}

/// Bytes that a dataset takes in its file, whatever larger number the file states.
std::uint64_t storedBytes(hid_t dataset) {
    const Hdf5Id file(H5Iget_file_id(dataset), H5Fclose, "H5Iget_file_id");
    hsize_t size = 0;
    requireSuccess(H5Fget_filesize(file.get(), &size), "H5Fget_filesize");
    return std::min<std::uint64_t>(H5Dget_storage_size(dataset), size);
}

/// @param asked  bytes of memory that are to be filled
/// @param unpacked  the same in the width of the file
/// @param whole  declared size of the whole dataset in bytes, if it isn't stored in chunks
void requireStorageInFile(hid_t dataset, std::uint64_t asked, std::uint64_t unpacked,
                          std::optional<std::uint64_t> whole) {
    // Data that were never written have no storage; they read as the fill value.
    if (whole && H5Dget_storage_size(dataset) != 0 && storedBytes(dataset) < *whole) {
        throw FileError("the stored data are smaller than the declared size");
    }
    if (asked > unquestionedBytes && !isBackedByStorage(dataset, unpacked)) {
        throw FileError("the declared size is out of proportion to the stored data");
    }
}

} // namespace

DatasetAccess::DatasetAccess()
    : datasetAccess_(makeAccess(H5P_DATASET_ACCESS)),
      groupAccess_(makeAccess(H5P_GROUP_ACCESS)) {}

bool DatasetAccess::hasLink(std::int64_t group, const std::string& name) const {
    if (name.empty() || name == "." || name.find('/') != std::string::npos) {
        return false;
    }
    return H5Lexists(group, name.c_str(), groupAccess_.get()) > 0;
}

Hdf5Id DatasetAccess::openGroup(std::int64_t parent, const std::string& name) const {
    return {H5Gopen2(parent, name.c_str(), groupAccess_.get()), H5Gclose, "H5Gopen2"};
}

Hdf5Id DatasetAccess::openDataset(std::int64_t group, const std::string& name) const {
    return {H5Dopen2(group, name.c_str(), datasetAccess_.get()), H5Dclose, "H5Dopen2"};
}

std::vector<std::string> DatasetAccess::datasetNames(std::int64_t group, std::string& problem) const {
    std::vector<Link> links;
    try {
        // In rising order the library makes a table first; if that breaks off, it frees entries that were never filled.
        requireSuccess(H5Literate(group, H5_INDEX_NAME, H5_ITER_NATIVE, nullptr, collectLink, &links), "H5Literate");
    } catch (const FileError& error) {
        problem = error.what();
    }
    std::sort(links.begin(), links.end(), [](const Link& a, const Link& b) { return a.name < b.name; });
    std::vector<std::string> names;
    for (Link& link : links) {
        try {
            const Hdf5Id object(H5Oopen(group, link.name.c_str(), groupAccess_.get()), H5Oclose, "H5Oopen");
            if (H5Iget_type(object.get()) == H5I_DATASET) {
                names.push_back(std::move(link.name));
            }
        } catch (const FileError& error) {
            if (link.hard && problem.empty()) {
                problem = "'" + link.name + "': " + error.what();
            }
        }
    }
    return names;
}

std::vector<std::uint64_t> datasetExtent(std::int64_t dataset) {
    const Hdf5Id space(H5Dget_space(dataset), H5Sclose, "H5Dget_space");
    const int rank = H5Sget_simple_extent_ndims(space.get());
    requireSuccess(rank, "H5Sget_simple_extent_ndims");
    std::array<hsize_t, H5S_MAX_RANK> extent{};
    if (rank > 0) {
        requireSuccess(H5Sget_simple_extent_dims(space.get(), extent.data(), nullptr), "H5Sget_simple_extent_dims");
    }
    return {extent.begin(), extent.begin() + rank};
}

void requirePlausible(std::int64_t dataset, std::uint64_t elements, std::uint64_t memorySize) {
    const Hdf5Id type(H5Dget_type(dataset), H5Tclose, "H5Dget_type");
    const std::uint64_t elementSize = H5Tget_size(type.get());
    const Hdf5Id properties(H5Dget_create_plist(dataset), H5Pclose, "H5Dget_create_plist");
    const H5D_layout_t layout = H5Pget_layout(properties.get());
    if (layout != H5D_COMPACT && layout != H5D_CONTIGUOUS && layout != H5D_CHUNKED) {
        throw FileError("the data are spread over other datasets");
    }
    if (H5Pget_external_count(properties.get()) != 0) {
        throw FileError("the data lie outside of the file");
    }
    std::uint64_t unpacked = saturatedProduct(elements, elementSize);
    std::uint64_t bytes = std::max(unpacked, saturatedProduct(elements, memorySize));
    // Compact data lie in the object's header; without any, the library would read from nowhere.
    if (layout == H5D_COMPACT && bytes != 0 && H5Dget_storage_size(dataset) == 0) {
        throw FileError("the stored data are missing");
    }
    if (layout != H5D_CHUNKED) {
        return requireStorageInFile(dataset, bytes, unpacked, productOf(datasetExtent(dataset), elementSize));
    }
    // The library unpacks whole chunks.
    std::array<hsize_t, H5S_MAX_RANK> chunk{};
    const int rank = std::max(H5Pget_chunk(properties.get(), H5S_MAX_RANK, chunk.data()), 0);
    unpacked = std::max(unpacked, productOf(std::span(chunk).first(static_cast<std::size_t>(rank)), elementSize));
    bytes = std::max(bytes, unpacked);
    // Adding up the sizes of many chunks is slow, and little memory is at stake.
    if (bytes > unquestionedBytes) {
        requireStorageInFile(dataset, bytes, unpacked, std::nullopt);
    }
}

bool isBackedByStorage(std::int64_t dataset, std::uint64_t bytes) {
    return bytes / largestCompression <= storedBytes(dataset);
}

} // namespace Tessaly
