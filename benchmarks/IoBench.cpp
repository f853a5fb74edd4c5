// Reading measurement files, against the plain library calls that any reader needs.

#include "BenchFile.h"

#include "io/VQDReader.h"

#include <benchmark/benchmark.h>
#include <hdf5.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Tessaly::checked;
using Tessaly::writePacked;

constexpr int columnCount = 40;
constexpr std::size_t pictureEvents = 1000;
constexpr std::array<hsize_t, 3> pictureExtent{pictureEvents, 96, 256};
constexpr std::array<hsize_t, 2> traceExtent{pictureEvents, 200};
const std::array<std::string, 3> traces{"fl1_raw", "fl2_raw", "fl3_raw"};

std::string columnName(int i) {
    return "userdef" + std::to_string(i);
}

/// Files for the workloads, made when first asked for and removed with the process.
class BenchFiles {
public:
    ~BenchFiles() {
        std::error_code ignored;
        for (const std::string& path : made_) {
            std::filesystem::remove(path, ignored);
        }
    }

    const std::string& columns(std::size_t events, bool packed) {
        const std::string path = pathOf((packed ? "packed-" : "columns-") + std::to_string(events));
        return existing(path) ? *existing(path) : writeColumns(path, events, packed);
    }

    const std::string& pictures() {
        const std::string path = pathOf("pictures");
        return existing(path) ? *existing(path) : writePictures(path);
    }

private:
    static std::string pathOf(const std::string& name) {
        static const std::string stem = "tessaly-bench-" + std::to_string(std::random_device()()) + "-";
        return (std::filesystem::temp_directory_path() / (stem + name + ".vqd")).string();
    }

    const std::string* existing(const std::string& path) const {
        for (const std::string& made : made_) {
            if (made == path) {
                return &made;
            }
        }
        return nullptr;
    }

    /// Columns of the kinds that occur: 4- and 8-byte reals, integers of all sizes; contiguous, or packed in chunks.
    const std::string& writeColumns(const std::string& path, std::size_t events, bool packed) {
        Tessaly::initializeHdf5();
        const std::array<hid_t, 10> kinds{H5T_IEEE_F32LE, H5T_IEEE_F64LE, H5T_IEEE_F32LE, H5T_IEEE_F64LE,
                                          H5T_IEEE_F32LE, H5T_STD_I16LE,  H5T_IEEE_F32LE, H5T_STD_I32LE,
                                          H5T_STD_U8LE,   H5T_STD_I64LE};
        std::mt19937 random(1);
        std::vector<double> values(events);
        for (double& value : values) {
            value = static_cast<double>(random() % 200) + 0.25;
        }
        const hid_t file = checked(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT));
        const hid_t group = checked(H5Gcreate2(file, "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
        const hsize_t extent = events;
        const hid_t space = checked(H5Screate_simple(1, &extent, nullptr));
        const hid_t properties = checked(H5Pcreate(H5P_DATASET_CREATE));
        if (packed) {
            constexpr hsize_t chunk = 10'000;
            checked(H5Pset_chunk(properties, 1, &chunk));
            checked(H5Pset_deflate(properties, 5));
        }
        for (int i = 0; i < columnCount; ++i) {
            const hid_t dataset =
                checked(H5Dcreate2(group, columnName(i).c_str(), kinds[static_cast<std::size_t>(i) % kinds.size()],
                                   space, H5P_DEFAULT, properties, H5P_DEFAULT));
            checked(H5Dwrite(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()));
            H5Dclose(dataset);
        }
        H5Pclose(properties);
        H5Sclose(space);
        H5Gclose(group);
        checked(H5Fclose(file));
        return made_.emplace_back(path);
    }

    const std::string& writePictures(const std::string& path) {
        Tessaly::initializeHdf5();
        std::mt19937 random(2);
        std::vector<std::uint8_t> image(pictureExtent[0] * pictureExtent[1] * pictureExtent[2]);
        std::vector<std::uint8_t> mask(image.size());
        for (std::size_t i = 0; i < image.size(); ++i) {
            image[i] = static_cast<std::uint8_t>(100 + random() % 16);
            mask[i] = i % pictureExtent[2] > 100 && i % pictureExtent[2] < 140 ? 255 : 0;
        }
        std::vector<std::int16_t> trace(traceExtent[0] * traceExtent[1]);
        for (std::int16_t& sample : trace) {
            sample = static_cast<std::int16_t>(random() % 300);
        }
        const hid_t file = checked(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT));
        const hid_t events = checked(H5Gcreate2(file, "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
        writePacked(events, "image", H5T_NATIVE_UINT8, {pictureExtent.begin(), pictureExtent.end()}, image.data());
        writePacked(events, "mask", H5T_NATIVE_UINT8, {pictureExtent.begin(), pictureExtent.end()}, mask.data());
        const hid_t group = checked(H5Gcreate2(events, "trace", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
        for (const std::string& name : traces) {
            writePacked(group, name, H5T_NATIVE_INT16, {traceExtent.begin(), traceExtent.end()}, trace.data());
        }
        H5Gclose(group);
        H5Gclose(events);
        checked(H5Fclose(file));
        return made_.emplace_back(path);
    }

    std::vector<std::string> made_;
};

BenchFiles& benchFiles() {
    static BenchFiles files;
    return files;
}

/// From the path to all columns in memory; giving the memory back isn't timed.
void preload(benchmark::State& state, bool packed) {
    const auto events = static_cast<std::size_t>(state.range(0));
    const std::string path = benchFiles().columns(events, packed);
    for (auto _ : state) {
        auto reader = std::make_unique<Tessaly::VQDReader>();
        reader->open(path);
        reader->cacheAllFeatures();
        benchmark::DoNotOptimize(reader->getFeature(columnName(0)).data());
        state.PauseTiming();
        reader.reset();
        state.ResumeTiming();
    }
    state.counters["events"] = static_cast<double>(events);
}

void preloadBaseline(benchmark::State& state, bool packed) {
    const auto events = static_cast<std::size_t>(state.range(0));
    const std::string path = benchFiles().columns(events, packed);
    for (auto _ : state) {
        const hid_t file = checked(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT));
        std::vector<std::vector<double>> columns;
        for (int i = 0; i < columnCount; ++i) {
            const hid_t dataset = checked(H5Dopen2(file, ("events/" + columnName(i)).c_str(), H5P_DEFAULT));
            std::vector<double>& column = columns.emplace_back(events);
            checked(H5Dread(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, column.data()));
            H5Dclose(dataset);
        }
        H5Fclose(file);
        benchmark::DoNotOptimize(columns.data());
        state.PauseTiming();
        columns = {};
        state.ResumeTiming();
    }
    state.counters["events"] = static_cast<double>(events);
}

/// What a click on a dot reads: image, mask and three traces, the next event far from the last.
std::size_t nextEvent(std::size_t event) {
    return (event + 389) % pictureEvents;
}

void clickToEvent(benchmark::State& state) {
    Tessaly::VQDReader reader;
    reader.open(benchFiles().pictures());
    std::size_t event = 0;
    for (auto _ : state) {
        event = nextEvent(event);
        int width = 0;
        int height = 0;
        benchmark::DoNotOptimize(reader.getImage(event, &width, &height).data());
        benchmark::DoNotOptimize(reader.getMask(event, &width, &height).data());
        for (const std::string& name : traces) {
            benchmark::DoNotOptimize(reader.getTrace(name, event).data());
        }
    }
    state.counters["events"] = static_cast<double>(pictureEvents);
}

template <typename Value, std::size_t rank>
std::vector<Value> plainRow(hid_t file, const std::string& path, const std::array<hsize_t, rank>& extent, hid_t type,
                            std::size_t event) {
    const hid_t dataset = checked(H5Dopen2(file, path.c_str(), H5P_DEFAULT));
    const hid_t fileSpace = checked(H5Dget_space(dataset));
    std::array<hsize_t, rank> start{};
    std::array<hsize_t, rank> count = extent;
    start[0] = event;
    count[0] = 1;
    checked(H5Sselect_hyperslab(fileSpace, H5S_SELECT_SET, start.data(), nullptr, count.data(), nullptr));
    hsize_t length = 1;
    for (const hsize_t n : count) {
        length *= n;
    }
    // Of the same rank as the file's: the library is slower otherwise.
    const hid_t memorySpace = checked(H5Screate_simple(static_cast<int>(rank), count.data(), nullptr));
    std::vector<Value> values(length);
    checked(H5Dread(dataset, type, memorySpace, fileSpace, H5P_DEFAULT, values.data()));
    H5Sclose(memorySpace);
    H5Sclose(fileSpace);
    H5Dclose(dataset);
    return values;
}

void clickToEventBaseline(benchmark::State& state) {
    const hid_t file = checked(H5Fopen(benchFiles().pictures().c_str(), H5F_ACC_RDONLY, H5P_DEFAULT));
    std::size_t event = 0;
    for (auto _ : state) {
        event = nextEvent(event);
        for (const char* path : {"events/image", "events/mask"}) {
            benchmark::DoNotOptimize(plainRow<std::uint8_t>(file, path, pictureExtent, H5T_NATIVE_UINT8, event).data());
        }
        for (const std::string& name : traces) {
            benchmark::DoNotOptimize(
                plainRow<float>(file, "events/trace/" + name, traceExtent, H5T_NATIVE_FLOAT, event).data());
        }
    }
    H5Fclose(file);
    state.counters["events"] = static_cast<double>(pictureEvents);
}

void preloadBenchmark(const std::string& name, void (*run)(benchmark::State&, bool), bool packed) {
    benchmark::RegisterBenchmark(name.c_str(), run, packed)
        ->Arg(100000)
        ->Arg(1000000)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

[[maybe_unused]] const bool registered = [] {
    for (const bool packed : {false, true}) {
        const std::string name = packed ? "preload_40_packed_columns" : "preload_40_columns";
        preloadBenchmark(name, preload, packed);
        preloadBenchmark(name + "/baseline", preloadBaseline, packed);
    }
    return true;
}();

BENCHMARK(clickToEvent)->Name("click_to_event")->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(clickToEventBaseline)->Name("click_to_event/baseline")->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace
