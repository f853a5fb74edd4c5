#include "TourFiles.h"

#include "io/VQDReader.h"

#include <hdf5.h>

#include <array>
#include <fstream>
#include <mutex>
#include <stdexcept>

namespace Tessaly {

void writeForeignFile(const std::string& path) {
    initializeHdf5();
    const std::lock_guard lock(hdf5Mutex());
    const hid_t file = H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    const hid_t group = H5Gcreate2(file, "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
    const std::array<double, 4> values = {40.0, 50.0, 60.0, 70.0};
    const hsize_t size = values.size();
    const hid_t space = H5Screate_simple(1, &size, nullptr);
    bool written = file >= 0 && group >= 0 && space >= 0;
    for (const char* name : {"area_um", "deform"}) {
        const hid_t column = H5Dcreate2(group, name, H5T_IEEE_F64LE, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
        written = written && H5Dwrite(column, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()) >= 0;
        H5Dclose(column);
    }
    H5Sclose(space);
    H5Gclose(group);
    if (H5Fclose(file) < 0 || !written) {
        throw std::runtime_error("can't write " + path);
    }
}

void writeBrokenFile(const std::string& path) {
    std::ofstream file(path);
    file << "This is no measurement.\n";
    if (!file.flush()) {
        throw std::runtime_error("can't write " + path);
    }
}

} // namespace Tessaly
