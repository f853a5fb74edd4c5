#include "io/AttributeWriting.h"

#include "io/Hdf5Library.h"

#include <hdf5.h>

#include <array>

namespace Tessaly {

namespace {

void writeAttribute(hid_t object, const std::string& name, hid_t type, hid_t space, hid_t memoryType,
                    const void* value) {
    removeAttribute(object, name);
    Hdf5Id attribute(H5Acreate2(object, name.c_str(), type, space, H5P_DEFAULT, H5P_DEFAULT), H5Aclose, "H5Acreate2");
    requireSuccess(H5Awrite(attribute.get(), memoryType, value), "H5Awrite");
    attribute.close("H5Aclose");
}

} // namespace

void writeTextAttribute(std::int64_t object, const std::string& name, const std::string& value) {
    const Hdf5Id type(H5Tcopy(H5T_C_S1), H5Tclose, "H5Tcopy");
    requireSuccess(H5Tset_size(type.get(), H5T_VARIABLE), "H5Tset_size");
    requireSuccess(H5Tset_cset(type.get(), H5T_CSET_UTF8), "H5Tset_cset");
    const Hdf5Id space(H5Screate(H5S_SCALAR), H5Sclose, "H5Screate");
    const char* const text = value.c_str();
    writeAttribute(object, name, type.get(), space.get(), type.get(), &text);
}

void writePointsAttribute(std::int64_t object, const std::string& name,
                          const std::vector<std::pair<double, double>>& points) {
    const std::array<hsize_t, 2> extent{points.size(), 2};
    const Hdf5Id space(H5Screate_simple(2, extent.data(), nullptr), H5Sclose, "H5Screate_simple");
    std::vector<float> values;
    for (const auto& [x, y] : points) {
        values.push_back(static_cast<float>(x));
        values.push_back(static_cast<float>(y));
    }
    values.reserve(1); // never null
    writeAttribute(object, name, H5T_IEEE_F32LE, space.get(), H5T_NATIVE_FLOAT, values.data());
}

void removeAttribute(std::int64_t object, const std::string& name) {
    const htri_t exists = H5Aexists(object, name.c_str());
    requireSuccess(exists, "H5Aexists");
    if (exists > 0) {
        requireSuccess(H5Adelete(object, name.c_str()), "H5Adelete");
    }
}

} // namespace Tessaly
