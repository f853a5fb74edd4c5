#include "DemoFile.h"

#include <hdf5.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace Tessaly {

namespace {

/// An identifier of the file library with the function that closes it.
class Handle {
public:
    Handle() = default;
    Handle(hid_t id, herr_t (*closeFunction)(hid_t), const char* what) : id_(id), close_(closeFunction) {
        if (id < 0) {
            throw std::runtime_error(std::string("cannot make ") + what);
        }
    }
    Handle(Handle&& other) noexcept : id_(std::exchange(other.id_, -1)), close_(other.close_) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(id_, other.id_);
        std::swap(close_, other.close_);
        return *this;
    }
    ~Handle() {
        if (id_ >= 0) {
            close_(id_);
        }
    }
    operator hid_t() const { return id_; }
    void close() {
        if (id_ >= 0 && close_(std::exchange(id_, -1)) < 0) {
            throw std::runtime_error("cannot write the file to the end");
        }
    }

private:
    hid_t id_ = -1;
    herr_t (*close_)(hid_t) = nullptr;
};

void check(herr_t status, const char* what) {
    if (status < 0) {
        throw std::runtime_error(std::string("cannot write ") + what);
    }
}

hid_t storedType(StoredType type) {
    switch (type) {
    case StoredType::Float32:
        return H5T_IEEE_F32LE;
    case StoredType::UInt8:
        return H5T_STD_U8LE;
    case StoredType::UInt16:
        return H5T_STD_U16LE;
    case StoredType::Int32:
        return H5T_STD_I32LE;
    case StoredType::UInt64:
        return H5T_STD_U64LE;
    case StoredType::Float64:
        break;
    }
    return H5T_IEEE_F64LE;
}

Handle makeDataset(hid_t parent, const char* name, hid_t type, const std::vector<hsize_t>& size,
                   const std::vector<hsize_t>& chunk, unsigned level) {
    const Handle space(H5Screate_simple(static_cast<int>(size.size()), size.data(), nullptr), H5Sclose, "a dataspace");
    const Handle properties(H5Pcreate(H5P_DATASET_CREATE), H5Pclose, "properties");
    if (!chunk.empty()) {
        check(H5Pset_chunk(properties, static_cast<int>(chunk.size()), chunk.data()), name);
        if (H5Tget_size(type) > 1) {
            check(H5Pset_shuffle(properties), name);
        }
        check(H5Pset_deflate(properties, level), name);
    }
    return Handle(H5Dcreate2(parent, name, type, space, H5P_DEFAULT, properties, H5P_DEFAULT), H5Dclose, name);
}

/// Writes whole rows from a place on; the first dimension counts events.
void writeRows(hid_t dataset, hid_t memoryType, std::size_t first, std::vector<hsize_t> count, const void* data) {
    const Handle fileSpace(H5Dget_space(dataset), H5Sclose, "a dataspace");
    const Handle memory(H5Screate_simple(static_cast<int>(count.size()), count.data(), nullptr), H5Sclose,
                        "a dataspace");
    std::vector<hsize_t> start(count.size(), 0);
    start[0] = first;
    check(H5Sselect_hyperslab(fileSpace, H5S_SELECT_SET, start.data(), nullptr, count.data(), nullptr), "a selection");
    check(H5Dwrite(dataset, memoryType, memory, fileSpace, H5P_DEFAULT, data), "events");
}

} // namespace

struct DemoFile::Impl {
    Handle file;
    Handle events;
    std::vector<Handle> columns;
    Handle images;
    Handle masks;
    std::vector<Handle> traces;
    FrameSize frames;
    std::size_t traceSamples;

    void writeAttribute(const std::string& name, hid_t type, hid_t space, hid_t memoryType, const void* value) {
        const Handle attribute(H5Acreate2(file, name.c_str(), type, space, H5P_DEFAULT, H5P_DEFAULT), H5Aclose,
                               name.c_str());
        check(H5Awrite(attribute, memoryType, value), name.c_str());
    }
};

DemoFile::DemoFile(const std::string& path, std::size_t events, FrameSize frames, std::size_t traceSamples)
    : impl_(std::make_unique<Impl>()) {
    Impl& d = *impl_;
    d.frames = frames;
    d.traceSamples = traceSamples;
    d.file = Handle(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT), H5Fclose, path.c_str());
    d.events = Handle(H5Gcreate2(d.file, "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT), H5Gclose, "events");
    const hsize_t count = events;
    for (const FeatureColumn& column : featureTable) {
        // Fluorescence columns are compressed, the others plain: readers meet both.
        const bool packed = events > 0 && column.name[0] == 'f' && column.name[1] == 'l' && column.name[2] != 'o';
        d.columns.push_back(
            makeDataset(d.events, column.name, storedType(column.type), {count},
                        packed ? std::vector<hsize_t>{std::min<hsize_t>(count, 16384)} : std::vector<hsize_t>{}, 4));
    }
    if (frames.width == 0) {
        return;
    }
    const auto height = static_cast<hsize_t>(frames.height);
    const auto width = static_cast<hsize_t>(frames.width);
    d.images = makeDataset(d.events, "image", H5T_STD_U8LE, {count, height, width}, {1, height, width}, 1);
    d.masks = makeDataset(d.events, "mask", H5T_STD_U8LE, {count, height, width}, {1, height, width}, 1);
    const Handle group(H5Gcreate2(d.events, "trace", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT), H5Gclose, "traces");
    for (const char* name : {"fl1_raw", "fl1_median", "fl2_raw", "fl2_median", "fl3_raw", "fl3_median"}) {
        d.traces.push_back(makeDataset(group, name, H5T_STD_I16LE, {count, traceSamples}, {16, traceSamples}, 1));
    }
}

DemoFile::~DemoFile() = default;

void DemoFile::setAttribute(const std::string& name, const std::string& value) {
    const Handle type(H5Tcopy(H5T_C_S1), H5Tclose, "a text type");
    check(H5Tset_size(type, H5T_VARIABLE), "a text type");
    check(H5Tset_cset(type, H5T_CSET_UTF8), "a text type");
    const Handle space(H5Screate(H5S_SCALAR), H5Sclose, "a dataspace");
    const char* text = value.c_str();
    impl_->writeAttribute(name, type, space, type, &text);
}

void DemoFile::setAttribute(const std::string& name, double value) {
    const Handle space(H5Screate(H5S_SCALAR), H5Sclose, "a dataspace");
    impl_->writeAttribute(name, H5T_IEEE_F64LE, space, H5T_NATIVE_DOUBLE, &value);
}

void DemoFile::setAttribute(const std::string& name, std::int64_t value) {
    const Handle space(H5Screate(H5S_SCALAR), H5Sclose, "a dataspace");
    impl_->writeAttribute(name, H5T_STD_I64LE, space, H5T_NATIVE_INT64, &value);
}

void DemoFile::setPolygon(const std::string& name, const std::vector<float>& coordinates) {
    const hsize_t size[2] = {coordinates.size() / 2, 2};
    const Handle space(H5Screate_simple(2, size, nullptr), H5Sclose, "a dataspace");
    impl_->writeAttribute(name, H5T_IEEE_F32LE, space, H5T_NATIVE_FLOAT, coordinates.data());
}

void DemoFile::write(const EventBatch& batch) {
    const hsize_t count = batch.scalars.size();
    std::vector<double> column(batch.scalars.size());
    for (std::size_t k = 0; k < FeatureCount; ++k) {
        for (std::size_t i = 0; i < column.size(); ++i) {
            column[i] = batch.scalars[i].at(k);
        }
        writeRows(impl_->columns[k], H5T_NATIVE_DOUBLE, batch.first, {count}, column.data());
    }
    if (impl_->frames.width == 0) {
        return;
    }
    const std::vector<hsize_t> frames{count, static_cast<hsize_t>(impl_->frames.height),
                                      static_cast<hsize_t>(impl_->frames.width)};
    writeRows(impl_->images, H5T_NATIVE_UINT8, batch.first, frames, batch.images.data());
    writeRows(impl_->masks, H5T_NATIVE_UINT8, batch.first, frames, batch.masks.data());
    for (std::size_t k = 0; k < batch.traces.size(); ++k) {
        writeRows(impl_->traces[k], H5T_NATIVE_INT16, batch.first, {count, impl_->traceSamples},
                  batch.traces[k].data());
    }
}

void DemoFile::finish() {
    for (Handle& column : impl_->columns) {
        column.close();
    }
    for (Handle& trace : impl_->traces) {
        trace.close();
    }
    impl_->images.close();
    impl_->masks.close();
    impl_->events.close();
    impl_->file.close();
}

} // namespace Tessaly
