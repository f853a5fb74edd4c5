#include "io/DatasetAccess.h"

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <filesystem>

namespace Tessaly {

namespace {

namespace fs = std::filesystem;

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
    if (kind == H5P_DATASET_ACCESS) {
        // Data in files of their own lie beside the measurement file, wherever the program was started.
        requireSuccess(H5Pset_efile_prefix(list.get(), "${ORIGIN}"), "H5Pset_efile_prefix");
    }
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

} // namespace Tessaly
