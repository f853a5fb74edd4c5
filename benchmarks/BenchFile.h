#pragma once

#include <hdf5.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace Tessaly {

// What benchmarks write, through the plain interface of the file library. All of it throws std::runtime_error where
// the library fails.

inline hid_t checked(hid_t id) {
    if (id < 0) {
        throw std::runtime_error("the file library failed");
    }
    return id;
}

inline void writeDataset(hid_t group, const std::string& name, hid_t type, const std::vector<hsize_t>& extent,
                         const void* data, hid_t properties = H5P_DEFAULT) {
    const hid_t space = checked(H5Screate_simple(static_cast<int>(extent.size()), extent.data(), nullptr));
    const hid_t dataset = checked(H5Dcreate2(group, name.c_str(), type, space, H5P_DEFAULT, properties, H5P_DEFAULT));
    checked(H5Dwrite(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, data));
    H5Dclose(dataset);
    H5Sclose(space);
}

inline void writeColumn(hid_t group, const std::string& name, const std::vector<double>& column) {
    writeDataset(group, name, H5T_NATIVE_DOUBLE, {column.size()}, column.data());
}

/// Rows in compressed chunks of ten.
inline void writePacked(hid_t group, const std::string& name, hid_t type, const std::vector<hsize_t>& extent,
                        const void* data) {
    std::vector<hsize_t> chunk = extent;
    chunk[0] = 10;
    const hid_t properties = checked(H5Pcreate(H5P_DATASET_CREATE));
    checked(H5Pset_chunk(properties, static_cast<int>(chunk.size()), chunk.data()));
    checked(H5Pset_deflate(properties, 5));
    writeDataset(group, name, type, extent, data, properties);
    H5Pclose(properties);
}

/// Writes a measurement file that holds nothing but one column of events.
inline void writeOneColumnFile(const std::string& path, const std::string& name, const std::vector<double>& column) {
    const hid_t file = checked(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT));
    const hid_t group = checked(H5Gcreate2(file, "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    writeColumn(group, name, column);
    H5Gclose(group);
    H5Fclose(file);
}

} // namespace Tessaly
