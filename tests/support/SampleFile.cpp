#include "SampleFile.h"

#include "io/VQDReader.h"

#include <hdf5.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>

namespace Tessaly {

namespace {

hid_t checked(hid_t id) {
    if (id < 0)
        throw std::runtime_error("cannot write the sample file");
    return id;
}

void check(herr_t status) {
    checked(status);
}

/// Uniform in [0, 1), the same on every platform.
double uniform(std::mt19937& random) {
    return static_cast<double>(random()) / 4294967296.0;
}

/// About normal with mean 0 and deviation 1: the sum of twelve uniform values.
double bell(std::mt19937& random) {
    double sum = -6.0;
    for (int i = 0; i < 12; ++i)
        sum += uniform(random);
    return sum;
}

void writeAttribute(hid_t file, const std::string& name, hid_t type, hid_t space, const void* data) {
    const hid_t attribute = checked(H5Acreate2(file, name.c_str(), type, space, H5P_DEFAULT, H5P_DEFAULT));
    check(H5Awrite(attribute, type, data));
    check(H5Aclose(attribute));
}

void writeAttributes(hid_t file, const SampleFileOptions& options) {
    std::map<std::string, std::string> texts{
        {"experiment:date", "2024-05-06"},         {"experiment:time", "10:20:30"},
        {"experiment:sample", options.sample},     {"setup:chip region", "channel"},
        {"setup:medium", "0.49% MC-PBS"},          {"setup:identifier", "unit 1"},
        {"fluorescence:channel 1 name", "525/50"}, {"fluorescence:channel 2 name", "593/46"},
        {"fluorescence:channel 3 name", "700/75"}};
    texts["setup:module composition"] = options.instrument ? "Cell_Flow_2, Vortiq, Fluor" : "Cell_Flow_2, Fluor";
    std::map<std::string, double> numbers{{"setup:flow rate", 0.16},
                                          {"setup:flow rate sample", 0.04},
                                          {"setup:flow rate sheath", 0.12},
                                          {"setup:channel width", 30.0},
                                          {"setup:temperature", 23.5},
                                          {"imaging:pixel size", 0.34},
                                          {"imaging:frame rate", 2000.0},
                                          {"fluorescence:baseline 1 offset", 0.0},
                                          {"fluorescence:baseline 2 offset", 0.0},
                                          {"fluorescence:baseline 3 offset", 0.0}};
    std::map<std::string, std::int64_t> integers{{"experiment:run index", 1},
                                                 {"experiment:event count", static_cast<std::int64_t>(options.events)},
                                                 {"fluorescence:sample rate", 312500},
                                                 {"fluorescence:samples per event", options.traceSamples},
                                                 {"imaging:roi size x", options.imageWidth},
                                                 {"imaging:roi size y", options.imageHeight}};
    // An attribute that the caller gives in another kind replaces the default one.
    const auto drop = [&](const std::string& name) {
        texts.erase(name);
        numbers.erase(name);
        integers.erase(name);
    };
    const auto take = [&](auto& into, const auto& extra) {
        for (const auto& [name, value] : extra) {
            drop(name);
            into[name] = value;
        }
    };
    take(texts, options.textAttributes);
    take(numbers, options.numberAttributes);
    take(integers, options.integerAttributes);
    std::for_each(options.removedAttributes.begin(), options.removedAttributes.end(), drop);

    const hid_t scalar = checked(H5Screate(H5S_SCALAR));
    const hid_t textType = checked(H5Tcopy(H5T_C_S1));
    check(H5Tset_size(textType, H5T_VARIABLE));
    check(H5Tset_cset(textType, H5T_CSET_UTF8));
    for (const auto& [name, value] : texts) {
        const char* text = value.c_str();
        writeAttribute(file, name, textType, scalar, &text);
    }
    for (const auto& [name, value] : numbers)
        writeAttribute(file, name, H5T_NATIVE_DOUBLE, scalar, &value);
    for (const auto& [name, value] : integers)
        writeAttribute(file, name, H5T_NATIVE_INT64, scalar, &value);
    for (const auto& [name, values] : options.polygons) {
        const hsize_t extent[2] = {values.size() / 2, 2};
        const hid_t space = checked(H5Screate_simple(2, extent, nullptr));
        writeAttribute(file, name, H5T_NATIVE_FLOAT, space, values.data());
        check(H5Sclose(space));
    }
    check(H5Tclose(textType));
    check(H5Sclose(scalar));
}

void writeDataset(hid_t group, const std::string& name, hid_t type, const std::vector<hsize_t>& extent,
                  const void* data, bool gzip) {
    const hid_t space = checked(H5Screate_simple(static_cast<int>(extent.size()), extent.data(), nullptr));
    const hid_t properties = checked(H5Pcreate(H5P_DATASET_CREATE));
    if (gzip && extent[0] > 0) {
        std::vector<hsize_t> chunk = extent;
        // A few frames or traces, or some thousand numbers per chunk.
        chunk[0] = std::min<hsize_t>(extent[0], extent.size() == 1 ? 4096 : 16);
        check(H5Pset_chunk(properties, static_cast<int>(chunk.size()), chunk.data()));
        check(H5Pset_deflate(properties, 5));
    }
    const hid_t dataset = checked(H5Dcreate2(group, name.c_str(), type, space, H5P_DEFAULT, properties, H5P_DEFAULT));
    check(H5Dwrite(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, data));
    check(H5Dclose(dataset));
    check(H5Pclose(properties));
    check(H5Sclose(space));
}

void writePictures(hid_t events, const SampleFileOptions& options) {
    const auto width = static_cast<std::size_t>(options.imageWidth);
    const auto height = static_cast<std::size_t>(options.imageHeight);
    std::mt19937 random(options.seed + 1000);
    std::vector<std::uint8_t> images(options.events * width * height);
    std::vector<std::uint8_t> masks(images.size());
    std::size_t at = 0;
    for (std::size_t event = 0; event < options.events; ++event) {
        const double centreX = static_cast<double>(width) * (0.4 + 0.2 * uniform(random));
        const double centreY = static_cast<double>(height) * (0.45 + 0.1 * uniform(random));
        const double radius = static_cast<double>(std::min(width, height)) * (0.2 + 0.1 * uniform(random));
        for (std::size_t y = 0; y < height; ++y) {
            for (std::size_t x = 0; x < width; ++x, ++at) {
                const double dx = (static_cast<double>(x) - centreX) / (1.3 * radius);
                const double dy = (static_cast<double>(y) - centreY) / radius;
                const bool inside = dx * dx + dy * dy <= 1.0;
                masks[at] = inside ? 255 : 0;
                images[at] = static_cast<std::uint8_t>((inside ? 160 : 100) + random() % 16);
            }
        }
    }
    const std::vector<hsize_t> extent{options.events, height, width};
    if (options.images)
        writeDataset(events, "image", H5T_NATIVE_UINT8, extent, images.data(), options.gzip);
    if (options.masks)
        writeDataset(events, "mask", H5T_NATIVE_UINT8, extent, masks.data(), options.gzip);
}

void writeTraces(hid_t events, const SampleFileOptions& options) {
    const hid_t group = checked(H5Gcreate2(events, "trace", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    const auto samples = static_cast<std::size_t>(options.traceSamples);
    std::mt19937 random(options.seed + 2000);
    for (const char* channel : {"fl1", "fl2", "fl3"}) {
        std::vector<std::int16_t> raw(options.events * samples);
        std::vector<std::int16_t> smooth(raw.size());
        for (std::size_t event = 0; event < options.events; ++event) {
            const double peak = 200.0 + 3000.0 * uniform(random);
            for (std::size_t i = 0; i < samples; ++i) {
                const double t = (static_cast<double>(i) - 0.5 * options.traceSamples) / (0.1 * options.traceSamples);
                const double value = peak * std::exp(-0.5 * t * t);
                smooth[event * samples + i] = static_cast<std::int16_t>(value);
                raw[event * samples + i] = static_cast<std::int16_t>(value + 20.0 * bell(random));
            }
        }
        const std::vector<hsize_t> extent{options.events, samples};
        const std::string name = channel;
        writeDataset(group, name + "_raw", H5T_NATIVE_INT16, extent, raw.data(), options.gzip);
        writeDataset(group, name + "_median", H5T_NATIVE_INT16, extent, smooth.data(), options.gzip);
    }
    check(H5Gclose(group));
}

} // namespace

std::map<std::string, std::vector<double>> sampleColumns(std::size_t events, unsigned seed) {
    std::mt19937 random(seed);
    std::map<std::string, std::vector<double>> columns;
    for (std::size_t i = 0; i < events; ++i) {
        const bool large = uniform(random) < 0.6;
        const double area = std::clamp((large ? 90.0 : 45.0) * std::exp(0.12 * bell(random)), 20.0, 200.0);
        const double deform = std::clamp((large ? 0.06 : 0.12) + 0.015 * bell(random), 0.001, 0.3);
        const double side = std::sqrt(area);
        const double position = static_cast<double>(i);
        const auto put = [&](const char* name, double value) { columns[name].push_back(value); };
        put("area_um", area);
        put("area_ratio", 1.0 + 0.02 * uniform(random));
        put("deform", deform);
        put("circ", 1.0 - deform);
        put("aspect", 1.0 + 2.0 * deform);
        put("inert_ratio_cvx", 1.0 + 2.5 * deform);
        put("bright_avg", 120.0 + 8.0 * bell(random));
        put("bright_sd", 10.0 + 4.0 * uniform(random));
        put("size_x", 1.2 * side);
        put("size_y", side);
        put("pos_x", 20.0 + 40.0 * uniform(random));
        put("pos_y", 15.0 + 5.0 * uniform(random));
        put("volume", 0.75 * area * side);
        put("temp", 23.0 + 0.5 * uniform(random));
        put("time", 0.01 * position + 0.004 * uniform(random));
        put("frame", 20.0 * position + 1.0);
        for (const std::string channel : {"fl1", "fl2", "fl3"}) {
            const double peak = (large ? 2000.0 : 300.0) * std::exp(0.4 * bell(random));
            columns[channel + "_max"].push_back(peak);
            columns[channel + "_area"].push_back(12.0 * peak);
            columns[channel + "_width"].push_back(10.0 + 2.0 * uniform(random));
            columns[channel + "_pos"].push_back(80.0 + bell(random));
        }
    }
    return columns;
}

void writeSampleFile(const std::string& path, const SampleFileOptions& options) {
    const std::lock_guard lock(hdf5Mutex());
    initializeHdf5();
    const hid_t file = checked(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT));
    writeAttributes(file, options);
    const hid_t events = checked(H5Gcreate2(file, "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    std::map<std::string, std::vector<double>> columns;
    if (options.defaultColumns)
        columns = sampleColumns(options.events, options.seed);
    for (const std::string& name : options.removedColumns)
        columns.erase(name);
    for (const auto& [name, values] : options.columns)
        columns[name] = values;
    for (const auto& [name, values] : columns)
        writeDataset(events, name, H5T_NATIVE_DOUBLE, {values.size()}, values.data(), options.gzip);
    if (options.images || options.masks)
        writePictures(events, options);
    if (options.traces)
        writeTraces(events, options);
    check(H5Gclose(events));
    check(H5Fclose(file));
}

} // namespace Tessaly
