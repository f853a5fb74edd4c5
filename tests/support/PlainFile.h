#pragma once

#include "io/VQDReader.h"

#include <hdf5.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tessaly {

/// Writes a file through the plain C interface, with everything that can be got wrong left to the test.
class PlainFile {
public:
    /// @param newest  write the library's newest structures, which bear checksums, instead of the oldest
    explicit PlainFile(const std::string& path, bool newest = false) {
        initializeHdf5();
        const hid_t access = checked(H5Pcreate(H5P_FILE_ACCESS));
        checked(H5Pset_libver_bounds(access, newest ? H5F_LIBVER_LATEST : H5F_LIBVER_EARLIEST, H5F_LIBVER_LATEST));
        file_ = checked(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, access));
        H5Pclose(access);
    }
    ~PlainFile() { H5Fclose(file_); }
    PlainFile(const PlainFile&) = delete;
    PlainFile& operator=(const PlainFile&) = delete;

    void group(const std::string& path) {
        H5Gclose(checked(H5Gcreate2(file_, path.c_str(), H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT)));
    }

    /// Declares a dataset; `data` is in the type itself, or null to leave the dataset unwritten.
    void dataset(const std::string& path, hid_t type, const std::vector<hsize_t>& extent, const void* data = nullptr,
                 hid_t properties = H5P_DEFAULT) {
        const hid_t space = checked(H5Screate_simple(static_cast<int>(extent.size()), extent.data(), nullptr));
        const hid_t made = checked(H5Dcreate2(file_, path.c_str(), type, space, H5P_DEFAULT, properties, H5P_DEFAULT));
        if (data != nullptr) {
            checked(H5Dwrite(made, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, data));
        }
        H5Dclose(made);
        H5Sclose(space);
    }

    /// Stores bytes as one chunk of a dataset, as they are.
    /// @param firstRow  place of the chunk along the first dimension; along the others it is the first
    /// @param skipped  a bit for each filter that is said not to have been applied
    void chunk(const std::string& path, hsize_t firstRow, const std::vector<unsigned char>& bytes,
               unsigned skipped = 0) {
        const hid_t written = checked(H5Dopen2(file_, path.c_str(), H5P_DEFAULT));
        std::vector<hsize_t> offset(H5S_MAX_RANK, 0);
        offset[0] = firstRow;
        checked(H5Dwrite_chunk(written, H5P_DEFAULT, skipped, offset.data(), bytes.size(), bytes.data()));
        H5Dclose(written);
    }

    template <typename Value>
    void column(const std::string& name, hid_t type, const std::vector<Value>& values) {
        dataset("/events/" + name, type, {values.size()}, values.data());
    }

    /// An attribute of the root group, a scalar one without extent.
    void attribute(const std::string& name, hid_t type, const void* value, const std::vector<hsize_t>& extent = {}) {
        const hid_t space =
            checked(extent.empty() ? H5Screate(H5S_SCALAR)
                                   : H5Screate_simple(static_cast<int>(extent.size()), extent.data(), nullptr));
        const hid_t made = checked(H5Acreate2(file_, name.c_str(), type, space, H5P_DEFAULT, H5P_DEFAULT));
        checked(H5Awrite(made, type, value));
        H5Aclose(made);
        H5Sclose(space);
    }

    /// A dataset creation list with one chunk size, to be closed by the caller.
    static hid_t chunked(const std::vector<hsize_t>& chunk) {
        const hid_t list = checked(H5Pcreate(H5P_DATASET_CREATE));
        checked(H5Pset_chunk(list, static_cast<int>(chunk.size()), chunk.data()));
        return list;
    }

    static hid_t checked(hid_t id) {
        if (id < 0) {
            throw std::runtime_error("cannot write the test file");
        }
        return id;
    }

private:
    hid_t file_ = -1;
};

} // namespace Tessaly
