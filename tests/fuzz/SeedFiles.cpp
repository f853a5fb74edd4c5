#include "fuzz/SeedFiles.h"

#include "support/PlainFile.h"

#include <array>
#include <fstream>
#include <functional>
#include <iterator>

namespace Tessaly {

namespace {

constexpr hsize_t events = 24;

/// How the data of a dataset are stored: a creation list for its extent.
struct Storage {
    const char* title;
    std::function<hid_t(const std::vector<hsize_t>&)> properties;
};

hid_t inChunks(std::vector<hsize_t> chunk) {
    chunk[0] = 7; // the last one reaches beyond the end
    return PlainFile::chunked(chunk);
}

const std::array<Storage, 6> storages{{
    {"contiguous", [](const std::vector<hsize_t>&) { return H5Pcreate(H5P_DATASET_CREATE); }},
    {"compact",
     [](const std::vector<hsize_t>&) {
         const hid_t list = H5Pcreate(H5P_DATASET_CREATE);
         PlainFile::checked(H5Pset_layout(list, H5D_COMPACT));
         return list;
     }},
    {"chunked", inChunks},
    {"checksummed",
     [](const std::vector<hsize_t>& extent) {
         const hid_t list = inChunks(extent);
         PlainFile::checked(H5Pset_fletcher32(list));
         return list;
     }},
    {"compressed",
     [](const std::vector<hsize_t>& extent) {
         const hid_t list = inChunks(extent);
         PlainFile::checked(H5Pset_shuffle(list));
         PlainFile::checked(H5Pset_deflate(list, 5));
         return list;
     }},
    {"compressed and checksummed",
     [](const std::vector<hsize_t>& extent) {
         const hid_t list = inChunks(extent);
         PlainFile::checked(H5Pset_deflate(list, 5));
         PlainFile::checked(H5Pset_fletcher32(list));
         return list;
     }},
}};

void writeAttributes(PlainFile& file) {
    const auto text = [&file](const std::string& name, const std::string& value) {
        const hid_t type = H5Tcopy(H5T_C_S1);
        H5Tset_size(type, value.size());
        file.attribute(name, type, value.data());
        H5Tclose(type);
    };
    const hid_t heapText = H5Tcopy(H5T_C_S1);
    H5Tset_size(heapText, H5T_VARIABLE);
    const char* sample = "Sample of blood, stored in a heap";
    file.attribute("experiment:sample", heapText, &sample);
    const char* date = "2024-05-06";
    file.attribute("experiment:date", heapText, &date);
    H5Tclose(heapText);
    text("setup:module composition", "Cell_Flow_2, Vortiq");
    text("setup:chip region", "channel");
    const double rate = 0.06;
    const std::int64_t count = events;
    const std::array<float, 6> gate{10, 0, 200, 0, 200, 0.3F};
    for (const char* name : {"setup:flow rate", "setup:channel width", "imaging:pixel size", "imaging:frame rate"}) {
        file.attribute(name, H5T_NATIVE_DOUBLE, &rate);
    }
    for (const char* name : {"experiment:event count", "imaging:roi size x", "fluorescence:samples per event"}) {
        file.attribute(name, H5T_NATIVE_INT64, &count);
    }
    file.attribute("online_filter:area_um,deform polygon points", H5T_NATIVE_FLOAT, gate.data(), {3, 2});
}

void write(PlainFile& file, const Storage& storage, const std::string& name, hid_t type,
           const std::vector<hsize_t>& extent) {
    hsize_t bytes = H5Tget_size(type);
    for (const hsize_t length : extent) {
        bytes *= length;
    }
    std::vector<std::uint8_t> data(bytes);
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<std::uint8_t>((i * i / 7 + name.size()) % 61);
    }
    const hid_t list = PlainFile::checked(storage.properties(extent));
    file.dataset("/events/" + name, type, extent, data.data(), list);
    H5Pclose(list);
}

void writeSeed(const std::string& path, const Storage& storage, bool newest) {
    PlainFile file(path, newest);
    writeAttributes(file);
    file.group("/events");
    file.group("/events/trace");
    for (const char* name : {"area_um", "deform", "bright_avg", "pos_x", "pos_y", "time"}) {
        write(file, storage, name, H5T_NATIVE_DOUBLE, {events});
    }
    write(file, storage, "fl1_max", H5T_NATIVE_FLOAT, {events});
    write(file, storage, "fl2_max", H5T_STD_I16BE, {events});
    write(file, storage, "frame", H5T_NATIVE_UINT64, {events});
    write(file, storage, "image", H5T_NATIVE_UINT8, {events, 6, 10});
    write(file, storage, "mask", H5T_NATIVE_UINT8, {events, 6, 10});
    for (const char* name : {"trace/fl1_raw", "trace/fl1_median", "trace/fl2_raw"}) {
        write(file, storage, name, H5T_NATIVE_INT16, {events, 15});
    }
}

} // namespace

std::vector<SeedFile> makeSeedFiles(const std::string& folder) {
    std::vector<SeedFile> seeds;
    const std::string path = folder + "/seed.vqd";
    for (const bool newest : {false, true}) {
        for (const Storage& storage : storages) {
            writeSeed(path, storage, newest);
            std::ifstream file(path, std::ios::binary);
            seeds.push_back({std::string(newest ? "newest, " : "oldest, ") + storage.title,
                             Bytes(std::istreambuf_iterator<char>(file), {})});
        }
    }
    return seeds;
}

} // namespace Tessaly
