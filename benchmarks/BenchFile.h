#pragma once

#include <hdf5.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace Tessaly {

/// @throws std::runtime_error for an id that the file library refused to give
inline hid_t checked(hid_t id) {
    if (id < 0) {
        throw std::runtime_error("the file library failed");
    }
    return id;
}

/// Writes a measurement file that holds nothing but one column of events.
/// @throws std::runtime_error where the file library fails
inline void writeOneColumnFile(const std::string& path, const std::string& name, const std::vector<double>& column) {
    const hid_t file = checked(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT));
    const hid_t group = checked(H5Gcreate2(file, "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    const hsize_t extent = column.size();
    const hid_t space = checked(H5Screate_simple(1, &extent, nullptr));
    const hid_t dataset =
        checked(H5Dcreate2(group, name.c_str(), H5T_NATIVE_DOUBLE, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    checked(H5Dwrite(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, column.data()));
    H5Dclose(dataset);
    H5Sclose(space);
    H5Gclose(group);
    H5Fclose(file);
}

} // namespace Tessaly
