#include "io/StorageCheck.h"

#include "io/DatasetAccess.h"
#include "io/Hdf5Library.h"

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <span>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace Tessaly {

namespace {

namespace fs = std::filesystem;

/// Up to this many bytes are believed without a look at the storage.
constexpr std::uint64_t unquestionedBytes = 64ULL << 20;
/// The common compression can't shrink data to less than one part in 1032.
constexpr std::uint64_t largestCompression = 1100;
/// More pieces than this, or sources of sources of sources, aren't worth the look.
constexpr std::size_t mostSources = 4096;
constexpr int deepestSource = 4;

fs::path folderOf(hid_t object) {
    const auto length = H5Fget_name(object, nullptr, 0);
    requireSuccess(length, "H5Fget_name");
    std::string name(static_cast<std::size_t>(length) + 1, '\0');
    requireSuccess(H5Fget_name(object, name.data(), name.size()), "H5Fget_name");
    name.pop_back();
    return fs::path(name).parent_path();
}

/// Opening a pipe would wait for ever, and a device may do anything.
void requireRegularFile(const fs::path& path) {
    std::error_code unknown;
    if (!fs::is_regular_file(path, unknown)) {
        throw FileError("the data lie in '" + path.string() + "', which is no regular file");
    }
}

/// Bytes of a dataset that lie in other files without structure. Throws FileError if they are fewer than declared.
std::uint64_t externalBytes(hid_t dataset, hid_t properties, std::uint64_t declared) {
    const int count = H5Pget_external_count(properties);
    requireSuccess(count, "H5Pget_external_count");
    if (static_cast<std::size_t>(count) > mostSources) {
        throw FileError("the data are spread over too many files");
    }
    std::uint64_t found = 0;
    for (int i = 0; i < count; ++i) {
        std::array<char, 4096> name{};
        off_t offset = 0;
        hsize_t size = 0;
        requireSuccess(
            H5Pget_external(properties, static_cast<unsigned>(i), name.size() - 1, name.data(), &offset, &size),
            "H5Pget_external");
        const fs::path path = folderOf(dataset) / name.data(); // an absolute name stays as it is
        requireRegularFile(path);
        const std::uintmax_t length = fs::file_size(path);
        const auto begin = static_cast<std::uint64_t>(std::max<off_t>(offset, 0));
        found += std::min<std::uint64_t>(size, length - std::min<std::uint64_t>(begin, length));
    }
    if (found < declared) {
        throw FileError("the data outside of the file are smaller than the declared size");
    }
    return found;
}

/// File and dataset from which a virtual dataset takes a part of its values.
using Source = std::pair<std::string, std::string>;

std::string virtualName(hid_t properties, std::size_t index, ssize_t (*get)(hid_t, std::size_t, char*, std::size_t)) {
    const ssize_t length = get(properties, index, nullptr, 0);
    requireSuccess(length, "the name of a virtual dataset's source");
    std::string name(static_cast<std::size_t>(length) + 1, '\0');
    requireSuccess(get(properties, index, name.data(), name.size()), "the name of a virtual dataset's source");
    name.pop_back();
    return name;
}

std::set<Source> virtualSources(hid_t properties) {
    std::size_t count = 0;
    requireSuccess(H5Pget_virtual_count(properties, &count), "H5Pget_virtual_count");
    if (count > mostSources) {
        throw FileError("the data are spread over too many datasets");
    }
    std::set<Source> sources;
    for (std::size_t i = 0; i < count; ++i) {
        Source source{virtualName(properties, i, H5Pget_virtual_filename),
                      virtualName(properties, i, H5Pget_virtual_dsetname)};
        // Patterns stand for any number of files, which only the library could name.
        if ((source.first + source.second).find('%') != std::string::npos) {
            throw FileError("the data are spread over a pattern of names");
        }
        sources.insert(std::move(source));
    }
    return sources;
}

/// The files that the library may choose for a name, all of which must then be sound.
std::vector<fs::path> candidates(const fs::path& folder, const fs::path& name) {
    std::vector<fs::path> found;
    for (const fs::path& candidate : {name, folder / name, folder / name.filename()}) {
        std::error_code unknown;
        if (fs::exists(fs::status(candidate, unknown))) {
            requireRegularFile(candidate);
            found.push_back(candidate);
        }
    }
    if (found.empty()) {
        throw FileError("the data lie in '" + name.string() + "', which isn't there");
    }
    return found;
}

/// Calls `look` with every source of a virtual dataset, open. Throws FileError if one can't be opened.
template <typename Look>
void forEachSource(hid_t dataset, hid_t properties, Look look) {
    const DatasetAccess access;
    for (const auto& [fileName, name] : virtualSources(properties)) {
        if (fileName == ".") {
            const Hdf5Id file(H5Iget_file_id(dataset), H5Fclose, "H5Iget_file_id");
            look(access.openDataset(file.get(), name).get());
            continue;
        }
        for (const fs::path& path : candidates(folderOf(dataset), fileName)) {
            const Hdf5Id file(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), H5Fclose, "H5Fopen");
            look(access.openDataset(file.get(), name).get());
        }
    }
}

struct Storage {
    Hdf5Id properties;
    H5D_layout_t layout = H5D_LAYOUT_ERROR;
    bool external = false;
    std::uint64_t elementSize = 0;

    explicit Storage(hid_t dataset) : properties(H5Dget_create_plist(dataset), H5Pclose, "H5Dget_create_plist") {
        const Hdf5Id type(H5Dget_type(dataset), H5Tclose, "H5Dget_type");
        elementSize = H5Tget_size(type.get());
        layout = H5Pget_layout(properties.get());
        external = H5Pget_external_count(properties.get()) != 0;
    }
};

/// Bytes that a dataset takes in its file, whatever larger number the file states, or in those that it refers to.
std::uint64_t storedBytes(hid_t dataset, int depth) {
    if (depth > deepestSource) {
        throw FileError("the data are spread over datasets that are themselves spread");
    }
    const Storage storage(dataset);
    if (storage.external) {
        return externalBytes(dataset, storage.properties.get(), productOf(datasetExtent(dataset), storage.elementSize));
    }
    if (storage.layout == H5D_VIRTUAL) {
        std::uint64_t bytes = 0;
        forEachSource(dataset, storage.properties.get(),
                      [&bytes, depth](hid_t source) { bytes += storedBytes(source, depth + 1); });
        return bytes;
    }
    const Hdf5Id file(H5Iget_file_id(dataset), H5Fclose, "H5Iget_file_id");
    hsize_t size = 0;
    requireSuccess(H5Fget_filesize(file.get(), &size), "H5Fget_filesize");
    return std::min<std::uint64_t>(H5Dget_storage_size(dataset), size);
}

/// @param asked  bytes of memory that are to be filled
/// @param unpacked  the same in the width of the file
void requireProportion(hid_t dataset, std::uint64_t asked, std::uint64_t unpacked) {
    if (asked > unquestionedBytes && !isBackedByStorage(dataset, unpacked)) {
        throw FileError("the declared size is out of proportion to the stored data");
    }
}

void requirePlausibleAt(hid_t dataset, std::uint64_t elements, std::uint64_t memorySize, int depth) {
    if (depth > deepestSource) {
        throw FileError("the data are spread over datasets that are themselves spread");
    }
    const Storage storage(dataset);
    const hid_t properties = storage.properties.get();
    const std::uint64_t unpacked = saturatedProduct(elements, storage.elementSize);
    const std::uint64_t asked = std::max(unpacked, saturatedProduct(elements, memorySize));
    const std::uint64_t declared = productOf(datasetExtent(dataset), storage.elementSize);
    if (storage.external) {
        externalBytes(dataset, properties, declared);
        return;
    }
    switch (storage.layout) {
    case H5D_VIRTUAL:
        forEachSource(dataset, properties, [=](hid_t source) {
            const std::uint64_t most = std::min(elements, productOf(datasetExtent(source)));
            requirePlausibleAt(source, most, memorySize, depth + 1);
        });
        return requireProportion(dataset, asked, unpacked);
    case H5D_COMPACT:
        // Compact data lie in the object's header; without any, the library would read from nowhere.
        if (asked != 0 && H5Dget_storage_size(dataset) == 0) {
            throw FileError("the stored data are missing");
        }
        [[fallthrough]];
    case H5D_CONTIGUOUS:
        // Data that were never written have no storage; they read as the fill value.
        if (H5Dget_storage_size(dataset) != 0 && storedBytes(dataset, depth) < declared) {
            throw FileError("the stored data are smaller than the declared size");
        }
        return requireProportion(dataset, asked, unpacked);
    case H5D_CHUNKED: {
        // The library unpacks whole chunks.
        std::array<hsize_t, H5S_MAX_RANK> chunk{};
        const int rank = std::max(H5Pget_chunk(properties, H5S_MAX_RANK, chunk.data()), 0);
        const std::uint64_t piece =
            productOf(std::span(chunk).first(static_cast<std::size_t>(rank)), storage.elementSize);
        return requireProportion(dataset, std::max(asked, piece), std::max(unpacked, piece));
    }
    default:
        throw FileError("the data are stored in an unknown way");
    }
}

} // namespace

void requirePlausible(std::int64_t dataset, std::uint64_t elements, std::uint64_t memorySize) {
    requirePlausibleAt(dataset, elements, memorySize, 0);
}

bool isBackedByStorage(std::int64_t dataset, std::uint64_t bytes) {
    return bytes / largestCompression <= storedBytes(dataset, 0);
}

void requireWholeFile(std::int64_t object) {
    const Hdf5Id file(H5Iget_file_id(object), H5Fclose, "H5Iget_file_id");
    hsize_t size = 0; // as the library knows it from opening
    void* handle = nullptr;
    struct stat now {};
    if (H5Fget_filesize(file.get(), &size) >= 0 && H5Fget_vfd_handle(file.get(), H5P_DEFAULT, &handle) >= 0 &&
        ::fstat(*static_cast<int*>(handle), &now) == 0 && static_cast<std::uint64_t>(now.st_size) < size) {
        throw FileError("the file has become shorter since it was opened");
    }
}

} // namespace Tessaly
