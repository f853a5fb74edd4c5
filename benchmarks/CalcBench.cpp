// Computed features, against the plain form of the same work or against reading what it works on.

#include "BenchFile.h"

#include "calc/FourierDeform.h"
#include "calc/fluorescence/FLCompensation.h"
#include "calc/fluorescence/FLRefinement.h"
#include "core/VQDMetadata.h"
#include "io/TraceFilters.h"
#include "io/VQDReader.h"

#include <benchmark/benchmark.h>
#include <hdf5.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace Tessaly;

constexpr std::size_t traceCount = 10'000;
constexpr std::size_t traceSamples = 200;
constexpr std::size_t maskCount = 5000;
constexpr std::size_t memoryMasks = 2000;
constexpr int maskWidth = 256;
constexpr int maskHeight = 96;
constexpr std::size_t heightCount = 1'000'000;

/// Noise of some counts around a pulse, with spikes.
std::vector<float> makeTrace(std::mt19937& random) {
    std::normal_distribution<float> noise(0.0F, 15.0F);
    std::vector<float> trace;
    const double centre = 70.0 + static_cast<double>(random() % 60);
    for (std::size_t i = 0; i < traceSamples; ++i) {
        const double t = (static_cast<double>(i) - centre) / 8.0;
        trace.push_back(std::round(static_cast<float>(1500.0 * std::exp(-0.5 * t * t)) + noise(random)));
    }
    for (int spike = 0; spike < 3; ++spike) {
        trace[random() % traceSamples] += 700.0F;
    }
    return trace;
}

const std::vector<std::vector<float>>& traces() {
    static const std::vector<std::vector<float>> made = [] {
        std::mt19937 random(5);
        std::vector<std::vector<float>> all;
        for (std::size_t i = 0; i < traceCount; ++i) {
            all.push_back(makeTrace(random));
        }
        return all;
    }();
    return made;
}

/// Cells of 40 to 70 pixels in a frame.
const std::vector<MaskPicture>& masks() {
    static const std::vector<MaskPicture> made = [] {
        std::mt19937 random(6);
        std::vector<MaskPicture> all;
        for (std::size_t i = 0; i < maskCount; ++i) {
            MaskPicture mask{std::vector<std::uint8_t>(maskWidth * maskHeight, 0), maskWidth, maskHeight};
            cv::Mat picture(maskHeight, maskWidth, CV_8UC1, mask.pixels.data());
            const cv::Point centre(90 + static_cast<int>(random() % 80), 42 + static_cast<int>(random() % 12));
            const cv::Size axes(22 + static_cast<int>(random() % 13), 20 + static_cast<int>(random() % 8));
            cv::ellipse(picture, centre, axes, static_cast<double>(random() % 20), 0.0, 360.0, cv::Scalar(255),
                        cv::FILLED);
            all.push_back(std::move(mask));
        }
        return all;
    }();
    return made;
}

/// A file with compressed masks and traces, removed with the process.
class PackedFile {
public:
    PackedFile() {
        initializeHdf5();
        path_ = (std::filesystem::temp_directory_path() /
                 ("tessaly-bench-calc-" + std::to_string(std::random_device()()) + ".vqd"))
                    .string();
        const hid_t file = checked(H5Fcreate(path_.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT));
        const hid_t events = checked(H5Gcreate2(file, "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
        const hid_t group = checked(H5Gcreate2(events, "trace", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
        std::vector<std::int16_t> samples;
        for (const std::vector<float>& trace : traces()) {
            for (const float sample : trace) {
                samples.push_back(static_cast<std::int16_t>(sample));
            }
        }
        const std::vector<double> heights(traceCount, 1500.0);
        const std::vector<double> positions(traceCount, 100.0);
        for (const char* channel : {"fl1", "fl2", "fl3"}) {
            const std::string name = channel;
            writePacked(group, name + "_raw", H5T_NATIVE_INT16, {traceCount, traceSamples}, samples.data());
            writeColumn(events, name + "_max", heights);
            writeColumn(events, name + "_pos", positions);
        }
        std::vector<std::uint8_t> pixels;
        for (const MaskPicture& mask : masks()) {
            pixels.insert(pixels.end(), mask.pixels.begin(), mask.pixels.end());
        }
        writePacked(events, "mask", H5T_NATIVE_UINT8, {maskCount, maskHeight, maskWidth}, pixels.data());
        H5Gclose(group);
        H5Gclose(events);
        checked(H5Fclose(file));
    }
    ~PackedFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }

    static const std::string& path() {
        static const PackedFile file;
        return file.path_;
    }

private:
    std::string path_;
};

void filterChain(benchmark::State& state) {
    for (auto _ : state) {
        for (const std::vector<float>& trace : traces()) {
            benchmark::DoNotOptimize(filteredTrace(trace, {}).data());
        }
    }
    state.counters["events"] = traceCount;
}

std::vector<float> sortedWindowsHampel(const std::vector<float>& trace, int k, float threshold) {
    std::vector<float> result = trace;
    std::vector<float> window;
    const auto count = static_cast<int>(trace.size());
    for (int i = 0; i < count; ++i) {
        window.assign(trace.begin() + std::max(i - k, 0), trace.begin() + std::min(i + k + 1, count));
        std::sort(window.begin(), window.end());
        const float median = window[window.size() / 2];
        for (float& sample : window) {
            sample = std::fabs(sample - median);
        }
        std::sort(window.begin(), window.end());
        const float deviation = 1.4826F * window[window.size() / 2];
        const auto place = static_cast<std::size_t>(i);
        if (deviation > 0.0F && std::fabs(trace[place] - median) > deviation * threshold) {
            result[place] = median;
        }
    }
    return result;
}

void filterChainBaseline(benchmark::State& state) {
    for (auto _ : state) {
        for (const std::vector<float>& trace : traces()) {
            const auto clean = sortedWindowsHampel(sortedWindowsHampel(trace, 5, 3.0F), 11, 3.0F);
            benchmark::DoNotOptimize(savitzkyGolayFiltered(clean, 3).data());
        }
    }
    state.counters["events"] = traceCount;
}

void refine(benchmark::State& state) {
    VQDReader reader;
    reader.open(PackedFile::path());
    const FLRefinementPlan plan = planRefinement(reader, {}, {});
    for (auto _ : state) {
        benchmark::DoNotOptimize(refineFluorescence(reader, plan).columns.data());
    }
    state.counters["events"] = traceCount;
}

void refineBaseline(benchmark::State& state) {
    VQDReader reader;
    reader.open(PackedFile::path());
    for (auto _ : state) {
        for (const char* name : {"fl1_raw", "fl2_raw", "fl3_raw"}) {
            for (std::size_t i = 0; i < traceCount; ++i) {
                benchmark::DoNotOptimize(reader.getTrace(name, i).data());
            }
        }
    }
    state.counters["events"] = traceCount;
}

void fourierInMemory(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            fourierDeformations(memoryMasks, [](std::size_t i, std::string&) { return masks()[i]; }).columns.data());
    }
    state.counters["events"] = memoryMasks;
}

/// Deformation of what the orders from `first` on, in steps, add up to.
double plainDeformation(const std::array<double, 11>& a, const std::array<double, 11>& b, std::size_t first,
                        std::size_t step) {
    std::vector<cv::Point2f> polygon;
    for (int j = 0; j < 100; ++j) {
        const double angle = 2.0 * std::numbers::pi * j / 100;
        double radius = 0.5 * a[0];
        for (std::size_t k = first; k < a.size(); k += step) {
            radius += a[k] * std::cos(static_cast<double>(k) * angle) + b[k] * std::sin(static_cast<double>(k) * angle);
        }
        polygon.emplace_back(static_cast<float>(radius * std::cos(angle)),
                             static_cast<float>(radius * std::sin(angle)));
    }
    return 1.0 - 2.0 * std::sqrt(std::numbers::pi * cv::contourArea(polygon)) / cv::arcLength(polygon, true);
}

/// Outline and hull over the whole picture, and the series by plain sums over the hull's radii.
double plainFourier(const MaskPicture& mask) {
    const cv::Mat picture(mask.height, mask.width, CV_8UC1, const_cast<std::uint8_t*>(mask.pixels.data()));
    std::vector<std::vector<cv::Point>> outlines;
    cv::findContours(picture, outlines, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
    std::vector<cv::Point> hull;
    cv::convexHull(outlines.at(0), hull);
    const cv::Moments moments = cv::moments(hull);
    std::vector<std::pair<double, double>> points;
    for (std::size_t i = 0; i < hull.size(); ++i) {
        const cv::Point2d from = hull[i];
        const cv::Point2d to = hull[(i + 1) % hull.size()];
        for (int part = 0; part < 10; ++part) {
            const cv::Point2d p = from + 0.1 * part * (to - from);
            const double x = p.x - moments.m10 / moments.m00;
            const double y = p.y - moments.m01 / moments.m00;
            const double angle = std::fmod(std::atan2(y, x) + 2.0 * std::numbers::pi, 2.0 * std::numbers::pi);
            points.emplace_back(angle, std::sqrt(x * x + y * y));
        }
    }
    std::stable_sort(points.begin(), points.end(), [](const auto& p, const auto& q) { return p.first < q.first; });
    std::array<double, 11> a{};
    std::array<double, 11> b{};
    std::size_t at = 0;
    for (int j = 0; j < 100; ++j) {
        const double angle = 2.0 * std::numbers::pi * j / 100;
        while (at + 1 < points.size() && points[at].first < angle) {
            ++at;
        }
        const double radius = points[at].second;
        for (std::size_t k = 0; k < a.size(); ++k) {
            a[k] += 0.02 * radius * std::cos(static_cast<double>(k) * angle);
            b[k] += 0.02 * radius * std::sin(static_cast<double>(k) * angle);
        }
    }
    return plainDeformation(a, b, 1, 2) + plainDeformation(a, b, 2, 2) + plainDeformation(a, b, 1, 1);
}

void fourierInMemoryBaseline(benchmark::State& state) {
    for (auto _ : state) {
        double sum = 0.0;
        for (std::size_t i = 0; i < memoryMasks; ++i) {
            sum += plainFourier(masks()[i]);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.counters["events"] = memoryMasks;
}

void fourierFromFile(benchmark::State& state) {
    VQDReader reader;
    reader.open(PackedFile::path());
    for (auto _ : state) {
        benchmark::DoNotOptimize(fourierDeformations(maskCount, [&reader](std::size_t i, std::string& problem) {
                                     MaskPicture mask;
                                     mask.pixels = reader.getMask(i, &mask.width, &mask.height, &problem);
                                     return mask;
                                 }).columns.data());
    }
    state.counters["events"] = maskCount;
}

void fourierFromFileBaseline(benchmark::State& state) {
    VQDReader reader;
    reader.open(PackedFile::path());
    for (auto _ : state) {
        for (std::size_t i = 0; i < maskCount; ++i) {
            int width = 0;
            int height = 0;
            benchmark::DoNotOptimize(reader.getMask(i, &width, &height).data());
        }
    }
    state.counters["events"] = maskCount;
}

const std::array<std::vector<double>, 3>& heights() {
    static const std::array<std::vector<double>, 3> made = [] {
        std::mt19937 random(7);
        std::array<std::vector<double>, 3> columns;
        for (std::vector<double>& column : columns) {
            for (std::size_t i = 0; i < heightCount; ++i) {
                column.push_back(static_cast<double>(random() % 4000));
            }
        }
        return columns;
    }();
    return made;
}

void compensation(benchmark::State& state) {
    const auto& [first, second, third] = heights();
    for (auto _ : state) {
        const StepResult result = compensateCrosstalk({{1, first}, {2, second}, {3, third}}, heightCount,
                                                      {{1.0, 0.02, 0.0}, {0.12, 1.0, 0.03}, {0.0, 0.05, 1.0}});
        benchmark::DoNotOptimize(result.columns.data());
    }
    state.counters["events"] = heightCount;
}

void compensationBaseline(benchmark::State& state) {
    for (auto _ : state) {
        double sum = 0.0;
        for (const std::vector<double>& column : heights()) {
            for (const double height : column) {
                sum += height;
            }
        }
        benchmark::DoNotOptimize(sum);
    }
    state.counters["events"] = heightCount;
}

BENCHMARK(filterChain)->Name("trace_filter_chain")->Unit(benchmark::kMillisecond);
BENCHMARK(filterChainBaseline)->Name("trace_filter_chain/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(refine)->Name("refine_packed_traces")->Unit(benchmark::kMillisecond);
BENCHMARK(refineBaseline)->Name("refine_packed_traces/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(fourierInMemory)->Name("fourier_masks")->Unit(benchmark::kMillisecond);
BENCHMARK(fourierInMemoryBaseline)->Name("fourier_masks/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(fourierFromFile)->Name("fourier_packed_masks")->Unit(benchmark::kMillisecond);
BENCHMARK(fourierFromFileBaseline)->Name("fourier_packed_masks/baseline")->Unit(benchmark::kMillisecond);
BENCHMARK(compensation)->Name("compensation_3_channels")->Unit(benchmark::kMillisecond);
BENCHMARK(compensationBaseline)->Name("compensation_3_channels/baseline")->Unit(benchmark::kMillisecond);

} // namespace
