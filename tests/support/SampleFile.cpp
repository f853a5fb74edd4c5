#include "SampleFile.h"

#include "PlainFile.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <variant>

namespace Tessaly {

namespace {

/// Uniform in [0, 1), the same on every platform.
double uniform(std::mt19937& random) {
    return static_cast<double>(random()) / 4294967296.0;
}

/// About normal with mean 0 and deviation 1: the sum of twelve uniform values.
double bell(std::mt19937& random) {
    double sum = -6.0;
    for (int i = 0; i < 12; ++i) {
        sum += uniform(random);
    }
    return sum;
}

void writeAttributes(PlainFile& file, const SampleFileOptions& options) {
    std::map<std::string, std::variant<std::string, double, std::int64_t>> attributes{
        {"experiment:sample", options.sample},
        {"experiment:run index", 1},
        {"setup:chip region", "channel"},
        {"setup:medium", "0.49% MC-PBS"},
        {"setup:module composition", options.instrument ? "Cell_Flow_2, Vortiq, Fluor" : "Cell_Flow_2, Fluor"},
        {"setup:flow rate", 0.16},
        {"setup:channel width", 30.0},
        {"setup:temperature", 23.5},
        {"imaging:pixel size", 0.34},
        {"fluorescence:channel 1 name", "525/50"},
        {"fluorescence:channel 2 name", "593/46"},
        {"fluorescence:channel 3 name", "700/75"},
        {"fluorescence:baseline 1 offset", 0.0},
        {"fluorescence:sample rate", 312500}};
    for (const auto& [name, value] : options.textAttributes) {
        attributes[name] = value;
    }
    for (const auto& [name, value] : options.numberAttributes) {
        attributes[name] = value;
    }
    const hid_t textType = PlainFile::checked(H5Tcopy(H5T_C_S1));
    PlainFile::checked(H5Tset_size(textType, H5T_VARIABLE));
    PlainFile::checked(H5Tset_cset(textType, H5T_CSET_UTF8));
    for (const auto& [name, value] : attributes) {
        if (const auto* text = std::get_if<std::string>(&value)) {
            const char* pointer = text->c_str();
            file.attribute(name, textType, &pointer);
        } else if (const auto* number = std::get_if<double>(&value)) {
            file.attribute(name, H5T_NATIVE_DOUBLE, number);
        } else {
            file.attribute(name, H5T_NATIVE_INT64, std::get_if<std::int64_t>(&value));
        }
    }
    for (const auto& [name, values] : options.polygons) {
        file.attribute(name, H5T_NATIVE_FLOAT, values.data(), {values.size() / 2, 2});
    }
    H5Tclose(textType);
}

void writeDataset(PlainFile& file, const std::string& name, hid_t type, const std::vector<hsize_t>& extent,
                  const void* data, bool gzip) {
    hid_t properties = H5P_DEFAULT;
    if (gzip && extent[0] > 0) {
        std::vector<hsize_t> chunk = extent;
        // A few frames or traces, or some thousand numbers per chunk.
        chunk[0] = std::min<hsize_t>(extent[0], extent.size() == 1 ? 4096 : 16);
        properties = PlainFile::chunked(chunk);
        PlainFile::checked(H5Pset_deflate(properties, 5));
    }
    file.dataset("/events/" + name, type, extent, data, properties);
    if (properties != H5P_DEFAULT) {
        H5Pclose(properties);
    }
}

void writePictures(PlainFile& file, const SampleFileOptions& options) {
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
    if (options.images) {
        writeDataset(file, "image", H5T_NATIVE_UINT8, extent, images.data(), options.gzip);
    }
    if (options.masks) {
        writeDataset(file, "mask", H5T_NATIVE_UINT8, extent, masks.data(), options.gzip);
    }
}

void writeTraces(PlainFile& file, const SampleFileOptions& options) {
    file.group("/events/trace");
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
        const std::string name = std::string("trace/") + channel;
        writeDataset(file, name + "_raw", H5T_NATIVE_INT16, extent, raw.data(), options.gzip);
        writeDataset(file, name + "_median", H5T_NATIVE_INT16, extent, smooth.data(), options.gzip);
    }
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
        put("deform", deform);
        put("bright_avg", 120.0 + 8.0 * bell(random));
        put("pos_x", 20.0 + 40.0 * uniform(random));
        put("pos_y", 15.0 + 5.0 * uniform(random));
        put("volume", 0.75 * area * side);
        put("temp", 23.0 + 0.5 * uniform(random));
        put("time", 0.01 * position + 0.004 * uniform(random));
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
    PlainFile file(path);
    writeAttributes(file, options);
    file.group("/events");
    std::map<std::string, std::vector<double>> columns;
    if (options.defaultColumns) {
        columns = sampleColumns(options.events, options.seed);
    }
    for (const auto& [name, values] : options.columns) {
        columns[name] = values;
    }
    for (const auto& [name, values] : columns) {
        writeDataset(file, name, H5T_NATIVE_DOUBLE, {values.size()}, values.data(), options.gzip);
    }
    if (options.images || options.masks) {
        writePictures(file, options);
    }
    if (options.traces) {
        writeTraces(file, options);
    }
}

void writeUnreadableColumn(const std::string& path) {
    const std::lock_guard lock(hdf5Mutex());
    PlainFile file(path);
    file.group("/events");
    file.column("area_um", H5T_NATIVE_DOUBLE, std::vector<double>{1, 2, 3});
    const hid_t properties = PlainFile::chunked({3});
    PlainFile::checked(H5Pset_deflate(properties, 4));
    file.dataset("/events/deform", H5T_NATIVE_DOUBLE, {3}, nullptr, properties);
    H5Pclose(properties);
    file.chunk("/events/deform", 0, {1, 2, 3});
}

} // namespace Tessaly
