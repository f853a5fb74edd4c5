// What leaves the program: tables, measurement files, videos, summaries and sessions, against plain ways to write them.

#include "BenchFile.h"

#include "core/FileReplacement.h"
#include "io/MeasurementWriter.h"
#include "io/TsvWriter.h"
#include "io/VQDReader.h"
#include "io/VideoWriter.h"
#include "session/Session.h"
#include "session/document/SessionDocument.h"
#include "session/document/SessionRestore.h"
#include "session/export/StatSummary.h"

#include <QJsonDocument>
#include <QString>

#include <benchmark/benchmark.h>
#include <hdf5.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace Tessaly;

constexpr std::size_t tableEvents = 100'000;
constexpr std::size_t tableColumns = 20;
constexpr std::size_t pictureEvents = 10'000;
constexpr std::array<hsize_t, 3> pictureExtent{pictureEvents, 80, 250};
constexpr std::size_t pictureBytes = pictureExtent[1] * pictureExtent[2];

/// A folder for the files of this process, removed with it.
class Folder {
public:
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    std::string file(const std::string& name) const { return (path_ / name).string(); }

private:
    static std::filesystem::path make() {
        const auto path =
            std::filesystem::temp_directory_path() / ("tessaly-export-bench-" + std::to_string(std::random_device()()));
        std::filesystem::create_directory(path);
        return path;
    }
    std::filesystem::path path_ = make();
};

const Folder& folder() {
    static const Folder made;
    return made;
}

std::string featureName(std::size_t i) {
    return "userdef" + std::to_string(i);
}

/// A file without events of its own; the columns are put into the reader.
void writeColumnOfIndices(hid_t file, std::size_t events) {
    std::vector<double> indices(events);
    std::iota(indices.begin(), indices.end(), 0.0);
    const hid_t group = checked(H5Gcreate2(file, "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    writeColumn(group, "index", indices);
    H5Gclose(group);
}

std::unique_ptr<VQDReader> readerOfColumns(std::size_t columns, std::size_t events) {
    initializeHdf5();
    static int count = 0; // a file that is open can't be made anew
    const std::string path = folder().file("empty" + std::to_string(count++) + ".vqd");
    const hid_t file = checked(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT));
    if (events > 0) {
        writeColumnOfIndices(file, events); // says how many events there are
    }
    H5Fclose(file);
    auto reader = std::make_unique<VQDReader>();
    reader->open(path);
    std::mt19937_64 random(3);
    for (std::size_t i = 0; i < columns; ++i) {
        std::vector<double> values(events);
        for (double& value : values) {
            value = 200.0 * static_cast<double>(random() >> 11U) / 9007199254740992.0;
        }
        reader->setFeature(featureName(i), std::move(values));
    }
    return reader;
}

std::vector<std::string> featureNames(std::size_t count) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i) {
        names.push_back(featureName(i));
    }
    return names;
}

std::vector<int> everySecond(std::size_t events) {
    std::vector<int> chosen;
    for (std::size_t i = 0; i < events; i += 2) {
        chosen.push_back(static_cast<int>(i));
    }
    return chosen;
}

void exportTable(benchmark::State& state) {
    const auto reader = readerOfColumns(tableColumns, tableEvents);
    const std::vector<std::string> features = featureNames(tableColumns);
    std::vector<int> events(tableEvents);
    std::iota(events.begin(), events.end(), 0);
    for (auto _ : state) {
        if (!writeTsv(folder().file("table.tsv"), {}, {}, features, events, *reader)) {
            state.SkipWithError("not written");
        }
    }
    state.counters["events"] = static_cast<double>(tableEvents);
}

void exportTableBaseline(benchmark::State& state) {
    const auto reader = readerOfColumns(tableColumns, tableEvents);
    for (auto _ : state) {
        std::ofstream file(folder().file("plain.tsv"));
        file << std::setprecision(17);
        std::vector<const double*> columns;
        for (std::size_t i = 0; i < tableColumns; ++i) {
            columns.push_back(reader->getFeature(featureName(i)).data());
        }
        for (std::size_t event = 0; event < tableEvents; ++event) {
            for (std::size_t i = 0; i < tableColumns; ++i) {
                file << (i > 0 ? "\t" : "") << columns[i][event];
            }
            file << '\n';
        }
    }
    state.counters["events"] = static_cast<double>(tableEvents);
}

/// Pictures and masks like the instrument's: noise on grey, a blob.
const std::string& pictureFile(hsize_t rowsPerChunk) {
    static std::map<hsize_t, std::string> made;
    std::string& path = made[rowsPerChunk];
    if (!path.empty()) {
        return path;
    }
    path = folder().file("pictures-" + std::to_string(rowsPerChunk) + ".vqd");
    initializeHdf5();
    const hid_t file = checked(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT));
    const hid_t group = checked(H5Gcreate2(file, "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    std::mt19937 random(2);
    for (const bool mask : {false, true}) {
        std::vector<std::uint8_t> pixels(pictureEvents * pictureBytes);
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            const std::size_t x = i % pictureExtent[2];
            const std::size_t y = i / pictureExtent[2] % pictureExtent[1];
            const bool inside = x > 90 && x < 160 && y > 20 && y < 60;
            pixels[i] = static_cast<std::uint8_t>(mask ? (inside ? 255 : 0) : 100 + (inside ? 60 : 0) + random() % 8);
        }
        std::array<hsize_t, 3> chunk = pictureExtent;
        chunk[0] = rowsPerChunk;
        const hid_t properties = checked(H5Pcreate(H5P_DATASET_CREATE));
        checked(H5Pset_chunk(properties, 3, chunk.data()));
        checked(H5Pset_deflate(properties, 4));
        const hid_t space = checked(H5Screate_simple(3, pictureExtent.data(), nullptr));
        const hid_t dataset = checked(
            H5Dcreate2(group, mask ? "mask" : "image", H5T_STD_U8LE, space, H5P_DEFAULT, properties, H5P_DEFAULT));
        checked(H5Dwrite(dataset, H5T_NATIVE_UINT8, H5S_ALL, H5S_ALL, H5P_DEFAULT, pixels.data()));
        H5Dclose(dataset);
        H5Sclose(space);
        H5Pclose(properties);
    }
    H5Gclose(group);
    checked(H5Fclose(file));
    return path;
}

void exportPictures(benchmark::State& state, hsize_t rowsPerChunk) {
    VQDReader reader;
    reader.open(pictureFile(rowsPerChunk));
    const std::vector<int> events = everySecond(pictureEvents);
    for (auto _ : state) {
        MeasurementWriter writer;
        writer.create(folder().file("export.vqd"));
        writer.writeImages(reader, events);
        writer.writeMasks(reader, events);
        if (!writer.close()) {
            state.SkipWithError("not written");
        }
    }
    state.counters["events"] = static_cast<double>(events.size());
}

/// Reads, unpacks, packs and writes picture by picture through the file library.
void exportPicturesBaseline(benchmark::State& state, hsize_t rowsPerChunk) {
    const std::vector<int> events = everySecond(pictureEvents);
    const std::string& source = pictureFile(rowsPerChunk);
    for (auto _ : state) {
        const hid_t from = checked(H5Fopen(source.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT));
        const std::string path = folder().file("plain.vqd");
        const hid_t to = checked(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT));
        const hid_t group = checked(H5Gcreate2(to, "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
        std::array<hsize_t, 3> extent = pictureExtent;
        extent[0] = events.size();
        const std::array<hsize_t, 3> one{1, pictureExtent[1], pictureExtent[2]};
        const hid_t properties = checked(H5Pcreate(H5P_DATASET_CREATE));
        checked(H5Pset_chunk(properties, 3, one.data()));
        checked(H5Pset_deflate(properties, 4));
        const hid_t memory = checked(H5Screate_simple(3, one.data(), nullptr));
        std::vector<std::uint8_t> pixels(pictureBytes);
        for (const std::string name : {"image", "mask"}) {
            const hid_t read = checked(H5Dopen2(from, ("events/" + name).c_str(), H5P_DEFAULT));
            const hid_t readSpace = checked(H5Dget_space(read));
            const hid_t space = checked(H5Screate_simple(3, extent.data(), nullptr));
            const hid_t written =
                checked(H5Dcreate2(group, name.c_str(), H5T_STD_U8LE, space, H5P_DEFAULT, properties, H5P_DEFAULT));
            for (std::size_t row = 0; row < events.size(); ++row) {
                const std::array<hsize_t, 3> source_{static_cast<hsize_t>(events[row]), 0, 0};
                const std::array<hsize_t, 3> target{row, 0, 0};
                checked(H5Sselect_hyperslab(readSpace, H5S_SELECT_SET, source_.data(), nullptr, one.data(), nullptr));
                checked(H5Sselect_hyperslab(space, H5S_SELECT_SET, target.data(), nullptr, one.data(), nullptr));
                checked(H5Dread(read, H5T_NATIVE_UINT8, memory, readSpace, H5P_DEFAULT, pixels.data()));
                checked(H5Dwrite(written, H5T_NATIVE_UINT8, memory, space, H5P_DEFAULT, pixels.data()));
            }
            H5Dclose(written);
            H5Dclose(read);
            H5Sclose(space);
            H5Sclose(readSpace);
        }
        H5Sclose(memory);
        H5Pclose(properties);
        H5Gclose(group);
        checked(H5Fclose(to));
        H5Fclose(from);
    }
    state.counters["events"] = static_cast<double>(events.size());
}

void exportVideo(benchmark::State& state) {
    VQDReader reader;
    reader.open(pictureFile(1));
    const std::vector<int> events = everySecond(pictureEvents);
    for (auto _ : state) {
        if (writeVideo(folder().file("video.avi"), reader, events, {}) != VideoOutcome::Written) {
            state.SkipWithError("not written");
        }
    }
    state.counters["events"] = static_cast<double>(events.size());
}

void exportVideoBaseline(benchmark::State& state) {
    VQDReader reader;
    reader.open(pictureFile(1));
    const std::vector<int> events = everySecond(pictureEvents);
    std::vector<std::vector<std::uint8_t>> pictures;
    int width = 0;
    int height = 0;
    for (const int event : events) {
        pictures.push_back(reader.getImage(static_cast<std::size_t>(event), &width, &height));
    }
    for (auto _ : state) {
        cv::VideoWriter writer(folder().file("plain.avi"), cv::CAP_FFMPEG, cv::VideoWriter::fourcc('M', 'J', 'P', 'G'),
                               25.0, {width, height}, true);
        cv::Mat colour;
        for (std::vector<std::uint8_t>& picture : pictures) {
            cv::cvtColor(cv::Mat(height, width, CV_8U, picture.data()), colour, cv::COLOR_GRAY2BGR);
            writer.write(colour);
        }
    }
    state.counters["events"] = static_cast<double>(events.size());
}

constexpr std::size_t summaryDatasets = 20;
constexpr std::size_t summaryColumns = 10;

void summary(benchmark::State& state) {
    Session session;
    std::vector<const DatasetEntry*> datasets;
    for (std::size_t i = 0; i < summaryDatasets; ++i) {
        auto entry = session.newEntry();
        entry->reader = readerOfColumns(summaryColumns, tableEvents);
        entry->filter.setEnabled(false);
        datasets.push_back(&session.append(std::move(entry)));
    }
    StatSummaryConfig config;
    config.features = featureNames(summaryColumns);
    config.mean = config.sd = config.sem = config.q1 = config.q3 = config.min = config.max = true;
    config.cv = config.skewness = config.percentileOn = true;
    if (summaryTable(session, datasets, config).find("\t" + std::to_string(tableEvents) + "\t") == std::string::npos) {
        state.SkipWithError("not all events counted");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(summaryTable(session, datasets, config).data());
    }
    state.counters["events"] = static_cast<double>(tableEvents);
}

void summaryBaseline(benchmark::State& state) {
    const auto reader = readerOfColumns(summaryColumns, tableEvents);
    for (auto _ : state) {
        for (std::size_t i = 0; i < summaryDatasets; ++i) {
            for (std::size_t column = 0; column < summaryColumns; ++column) {
                std::vector<double> values = reader->getFeature(featureName(column));
                std::sort(values.begin(), values.end());
                benchmark::DoNotOptimize(values.data());
            }
        }
    }
    state.counters["events"] = static_cast<double>(tableEvents);
}

/// 200 datasets with 2000 rules over files that hold nothing.
SessionDocument largeSession(Session& session) {
    std::mt19937 random(4);
    for (int i = 0; i < 200; ++i) {
        auto entry = session.newEntry();
        entry->reader = readerOfColumns(0, 0);
        entry->filePath = entry->reader->path();
        entry->displayName = QStringLiteral("dataset %1").arg(i);
        entry->featuresLoaded = true;
        for (int rule = 0; rule < 10; ++rule) {
            FilterRule made;
            made.type = rule % 2;
            made.featureName = "area_um";
            made.featureNameY = "deform";
            made.maxValue = static_cast<double>(random()) / 77.0;
            made.polygonVertices.assign(rule % 2 == 0 ? 0 : 8, {made.maxValue, 0.1 * rule});
            entry->filter.addRule(made);
        }
        session.append(std::move(entry));
    }
    return captureSession(session, QString::fromStdString(folder().file("s.TSY")), 0);
}

void sessionSave(benchmark::State& state) {
    Session session;
    largeSession(session);
    const QString path = QString::fromStdString(folder().file("s.TSY"));
    for (auto _ : state) {
        if (writeSessionFile(path, captureSession(session, path, 0))) {
            state.SkipWithError("not written");
        }
    }
}

/// A document of the same contents, built value by value and written.
void sessionSaveBaseline(benchmark::State& state) {
    Session session;
    const SessionDocument document = largeSession(session);
    const QByteArray json = sessionToJson(document);
    const QString path = QString::fromStdString(folder().file("plain.TSY"));
    const QJsonDocument parsed = QJsonDocument::fromJson(json);
    for (auto _ : state) {
        replaceFile(path, parsed.toJson());
    }
}

void sessionRestore(benchmark::State& state) {
    Session session;
    const QString path = QString::fromStdString(folder().file("s.TSY"));
    const QByteArray json = sessionToJson(largeSession(session));
    std::map<int, int> indexToId;
    for (int row = 0; row < session.datasetCount(); ++row) {
        indexToId[row] = session.datasetAt(row)->id;
    }
    for (auto _ : state) {
        SessionLoad load{sessionFromJson(json).document, indexToId};
        benchmark::DoNotOptimize(restoreSession(session, load));
    }
}

void sessionRestoreBaseline(benchmark::State& state) {
    Session session;
    const QByteArray json = sessionToJson(largeSession(session));
    for (auto _ : state) {
        benchmark::DoNotOptimize(QJsonDocument::fromJson(json));
    }
}

template <typename Run>
void add(const std::string& name, Run run, Run baseline) {
    for (const auto& [title, body] : {std::pair(name, run), std::pair(name + "/baseline", baseline)}) {
        benchmark::RegisterBenchmark(title.c_str(), body)->Unit(benchmark::kMillisecond)->UseRealTime();
    }
}

[[maybe_unused]] const bool registered = [] {
    using Plain = void (*)(benchmark::State&);
    add<Plain>("export_table", exportTable, exportTableBaseline);
    for (const hsize_t rows : {1, 8}) {
        const std::string name = rows == 1 ? "export_pictures_copied" : "export_pictures_packed";
        benchmark::RegisterBenchmark(name.c_str(), exportPictures, rows)->Unit(benchmark::kMillisecond)->UseRealTime();
        benchmark::RegisterBenchmark((name + "/baseline").c_str(), exportPicturesBaseline, rows)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
    add<Plain>("export_video", exportVideo, exportVideoBaseline);
    add<Plain>("statistical_summary", summary, summaryBaseline);
    add<Plain>("session_save", sessionSave, sessionSaveBaseline);
    add<Plain>("session_restore", sessionRestore, sessionRestoreBaseline);
    return true;
}();

} // namespace
