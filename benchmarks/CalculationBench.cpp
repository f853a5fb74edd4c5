// Calculations as the window runs them: over several datasets at once, and what the user feels of them meanwhile.

#include "BenchFile.h"

#include "calc/emodulus/EModulus.h"
#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/CalculationRunner.h"
#include "session/Session.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"

#include <QAbstractButton>
#include <QApplication>
#include <QProgressBar>
#include <QSpinBox>

#include <benchmark/benchmark.h>
#include <hdf5.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace Tessaly;
using Clock = std::chrono::steady_clock;

constexpr std::size_t Datasets = 6;
constexpr std::size_t TraceSamples = 200;

/// Masks of a cell in a frame, all alike: what matters is that each has to be read.
struct Frame {
    std::size_t width, height;
};

class MeasurementFile {
public:
    MeasurementFile(std::size_t events, Frame frame) {
        initializeHdf5();
        path_ = (std::filesystem::temp_directory_path() /
                 ("tessaly-bench-jobs-" + std::to_string(std::random_device()()) + ".vqd"))
                    .string();
        const hid_t file = H5Fcreate(path_.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
        writeAttributes(file);
        const hid_t group = H5Gcreate2(file, "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
        const hid_t traces = H5Gcreate2(group, "trace", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
        writeColumns(group, events);
        const std::vector<std::uint8_t> mask = ellipse(frame);
        for (const char* name : {"image", "mask"}) {
            writeRepeated(group, name, H5T_NATIVE_UINT8, {events, frame.height, frame.width}, mask.data());
        }
        const std::vector<std::int16_t> trace = pulse();
        for (const char* name : {"fl1_raw", "fl2_raw", "fl3_raw", "fl1_median", "fl2_median", "fl3_median"}) {
            writeRepeated(traces, name, H5T_NATIVE_INT16, {events, TraceSamples}, trace.data());
        }
        H5Gclose(traces);
        H5Gclose(group);
        if (H5Fclose(file) < 0) {
            throw std::runtime_error("the file could not be written");
        }
    }
    MeasurementFile(const MeasurementFile&) = delete;
    MeasurementFile& operator=(const MeasurementFile&) = delete;
    ~MeasurementFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }

    const std::string& path() const { return path_; }

private:
    static void writeAttributes(hid_t file) {
        const auto number = [file](const char* name, double value) {
            const hid_t space = H5Screate(H5S_SCALAR);
            const hid_t attribute = H5Acreate2(file, name, H5T_NATIVE_DOUBLE, space, H5P_DEFAULT, H5P_DEFAULT);
            H5Awrite(attribute, H5T_NATIVE_DOUBLE, &value);
            H5Aclose(attribute);
            H5Sclose(space);
        };
        const auto text = [file](const char* name, const char* value) {
            const hid_t type = H5Tcopy(H5T_C_S1);
            H5Tset_size(type, H5T_VARIABLE);
            const hid_t space = H5Screate(H5S_SCALAR);
            const hid_t attribute = H5Acreate2(file, name, type, space, H5P_DEFAULT, H5P_DEFAULT);
            H5Awrite(attribute, type, static_cast<const void*>(&value));
            H5Aclose(attribute);
            H5Sclose(space);
            H5Tclose(type);
        };
        text("setup:module composition", "Vortiq");
        text("setup:medium", "Sorvex");
        text("fluorescence:channel 1 name", "525/50");
        number("setup:channel width", 20.0);
        number("setup:flow rate", 0.04);
        number("imaging:pixel size", 0.34);
        number("fluorescence:sample rate", 312500.0);
    }

    static void writeColumns(hid_t group, std::size_t events) {
        std::mt19937 random(11);
        const auto write = [&](const char* name, double least, double most) {
            std::uniform_real_distribution<double> values(least, most);
            std::vector<double> column;
            for (std::size_t i = 0; i < events; ++i) {
                column.push_back(values(random));
            }
            writeColumn(group, name, column);
        };
        write("area_um", 40.0, 150.0);
        write("deform", 0.005, 0.15);
        write("pos_x", 5.0, 20.0);
        write("size_x", 8.0, 14.0);
        for (const char* channel : {"fl1", "fl2", "fl3"}) {
            write((std::string(channel) + "_max").c_str(), 100.0, 4000.0);
            write((std::string(channel) + "_pos").c_str(), 100.0, 500.0);
        }
    }

    static std::vector<std::uint8_t> ellipse(Frame frame) {
        std::vector<std::uint8_t> mask(frame.width * frame.height, 0);
        for (std::size_t y = 0; y < frame.height; ++y) {
            for (std::size_t x = 0; x < frame.width; ++x) {
                const double u = (static_cast<double>(2 * x + 1) / static_cast<double>(frame.width) - 1.0) / 0.7;
                const double v = (static_cast<double>(2 * y + 1) / static_cast<double>(frame.height) - 1.0) / 0.6;
                mask[y * frame.width + x] = u * u + v * v < 1.0 ? 255 : 0;
            }
        }
        return mask;
    }

    static std::vector<std::int16_t> pulse() {
        std::mt19937 random(12);
        std::vector<std::int16_t> trace;
        for (std::size_t i = 0; i < TraceSamples; ++i) {
            const double t = (static_cast<double>(i) - 100.0) / 8.0;
            trace.push_back(
                static_cast<std::int16_t>(1500.0 * std::exp(-0.5 * t * t) + static_cast<double>(random() % 30)));
        }
        return trace;
    }

    /// One event's data for all, in compressed chunks of ten.
    template <typename T>
    static void writeRepeated(hid_t group, const char* name, hid_t type, std::vector<hsize_t> extent, const T* event) {
        constexpr hsize_t AtOnce = 10;
        std::vector<hsize_t> chunk = extent;
        chunk[0] = std::min(AtOnce, extent[0]);
        const hid_t properties = H5Pcreate(H5P_DATASET_CREATE);
        H5Pset_chunk(properties, static_cast<int>(chunk.size()), chunk.data());
        H5Pset_deflate(properties, 5);
        const hid_t space = H5Screate_simple(static_cast<int>(extent.size()), extent.data(), nullptr);
        const hid_t dataset = H5Dcreate2(group, name, type, space, H5P_DEFAULT, properties, H5P_DEFAULT);
        std::size_t size = 1;
        for (std::size_t i = 1; i < extent.size(); ++i) {
            size *= static_cast<std::size_t>(extent[i]);
        }
        std::vector<T> block;
        for (hsize_t i = 0; i < chunk[0]; ++i) {
            block.insert(block.end(), event, event + size);
        }
        const hid_t memory = H5Screate_simple(static_cast<int>(chunk.size()), chunk.data(), nullptr);
        std::vector<hsize_t> start(extent.size(), 0);
        for (; start[0] + chunk[0] <= extent[0]; start[0] += chunk[0]) {
            H5Sselect_hyperslab(space, H5S_SELECT_SET, start.data(), nullptr, chunk.data(), nullptr);
            H5Dwrite(dataset, type, memory, space, H5P_DEFAULT, block.data());
        }
        H5Sclose(memory);
        H5Dclose(dataset);
        H5Sclose(space);
        H5Pclose(properties);
    }

    std::string path_;
};

// ------------------------------------------------------------ six datasets

/// Six measurements of their own, and a runner.
struct SixDatasets {
    std::vector<std::unique_ptr<MeasurementFile>> files;
    Session session;
    EModulus engine;
    std::unique_ptr<CalculationRunner> runner;
    bool ended = false;

    SixDatasets(std::size_t events, Frame frame) {
        for (std::size_t i = 0; i < Datasets; ++i) {
            files.push_back(std::make_unique<MeasurementFile>(events, frame));
            auto entry = session.newEntry();
            entry->reader = std::make_shared<VQDReader>();
            entry->reader->open(files.back()->path());
            entry->metadata = entry->reader->readMetadata();
            entry->featuresLoaded = true;
            session.append(std::move(entry));
        }
        runner = std::make_unique<CalculationRunner>(session);
        QObject::connect(runner.get(), &CalculationRunner::ended, [this] { ended = true; });
    }

    void run(CalculationJob job) {
        ended = false;
        runner->start(std::move(job));
        while (!ended) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }
};

using JobMaker = std::function<CalculationJob(SixDatasets&, CalculationScope)>;

CalculationJob fourierOf(SixDatasets& six, CalculationScope scope) {
    return fourierJob(six.session, scope);
}

CalculationJob refinementOf(SixDatasets& six, CalculationScope scope) {
    return refinementJob(six.session, scope, {});
}

CalculationJob modulusOf(SixDatasets& six, CalculationScope scope) {
    return modulusJob(six.session, scope, six.engine,
                      [](const DatasetEntry& dataset) { return emodulusParamsFor(dataset.metadata, false, 1.0); });
}

SixDatasets& packed() {
    static SixDatasets made(2000, {256, 96});
    return made;
}

SixDatasets& large() {
    static SixDatasets made(300'000, {8, 8});
    return made;
}

void allAtOnce(benchmark::State& state, SixDatasets& (*datasets)(), const JobMaker& make) {
    SixDatasets& six = datasets();
    six.run(make(six, CalculationScope::All)); // what is read and built once
    for (auto _ : state) {
        six.run(make(six, CalculationScope::All));
    }
    state.counters["events"] = static_cast<double>(Datasets * six.session.datasets()[0]->reader->eventCount());
}

void oneByOne(benchmark::State& state, SixDatasets& (*datasets)(), const JobMaker& make) {
    SixDatasets& six = datasets();
    six.run(make(six, CalculationScope::All));
    for (auto _ : state) {
        for (const auto& dataset : six.session.datasets()) {
            six.session.setActive(dataset->id);
            six.run(make(six, CalculationScope::Active));
        }
    }
    state.counters["events"] = static_cast<double>(Datasets * six.session.datasets()[0]->reader->eventCount());
}

// ----------------------------------------------------- the window meanwhile

/// The program's window over one large dataset, used while calculations run.
struct BusyWindow {
    MainWindow window;

    BusyWindow() {
        static const MeasurementFile file(100'000, {32, 24});
        window.resize(1400, 900);
        window.show();
        window.openDataset(QString::fromStdString(file.path()));
        while (window.datasets().empty() || !window.datasets()[0]->featuresLoaded) {
            QApplication::processEvents();
        }
        QApplication::processEvents();
    }

    template <typename T>
    T* find(const char* name) {
        return window.findChild<T*>(QLatin1String(name));
    }

    /// The longest turn in seconds, with one event after the other chosen, until `isOver` after a turn.
    double longestTurn(const std::function<bool()>& isOver) {
        QSpinBox* number = window.panels().eventNumber;
        double longest = 0.0;
        int event = 0;
        while (true) {
            const auto begin = Clock::now();
            event = (event + 997) % (number->maximum() + 1);
            number->setValue(event);
            QApplication::processEvents();
            if (isOver()) {
                return longest; // the turn in which results are shown isn't one of waiting
            }
            longest = std::max(longest, std::chrono::duration<double>(Clock::now() - begin).count());
        }
    }
};

void turnWhile(benchmark::State& state, const char* button) {
    BusyWindow busy; // windows don't outlive the application
    const auto* progress = busy.find<QProgressBar>("calculationProgress");
    for (auto _ : state) {
        busy.find<QAbstractButton>(button)->click();
        state.SetIterationTime(busy.longestTurn([progress] { return progress->isHidden(); }));
    }
    state.counters["events"] = 100'000;
}

/// The same without a calculation.
void turnIdle(benchmark::State& state) {
    BusyWindow busy; // windows don't outlive the application
    for (auto _ : state) {
        int turns = 0;
        state.SetIterationTime(busy.longestTurn([&turns] { return ++turns > 100; }));
    }
    state.counters["events"] = 100'000;
}

BENCHMARK_CAPTURE(allAtOnce, fourier, packed, fourierOf)
    ->Name("apply_to_all_fourier")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(oneByOne, fourier, packed, fourierOf)
    ->Name("apply_to_all_fourier/baseline")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(allAtOnce, refinement, packed, refinementOf)
    ->Name("apply_to_all_refine")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(oneByOne, refinement, packed, refinementOf)
    ->Name("apply_to_all_refine/baseline")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(allAtOnce, modulus, large, modulusOf)
    ->Name("apply_to_all_modulus")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(oneByOne, modulus, large, modulusOf)
    ->Name("apply_to_all_modulus/baseline")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(turnWhile, refine, "refineButton")
    ->Name("turn_while_refining")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(turnWhile, fourier, "fourierButton")
    ->Name("turn_while_fourier")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(turnWhile, modulus, "computeModulusButton")
    ->Name("turn_while_modulus")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(turnWhile, compensation, "compensateButton")
    ->Name("turn_while_compensating")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1);
BENCHMARK(turnIdle)->Name("turn_idle")->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);

} // namespace
