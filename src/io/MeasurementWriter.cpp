#include "io/MeasurementWriter.h"

#include "io/AttributeWriting.h"
#include "io/Hdf5Library.h"
#include "io/NumberText.h"
#include "io/PendingFile.h"
#include "io/PictureSource.h"
#include "io/RowPacking.h"
#include "io/TsvWriter.h"
#include "io/VQDReader.h"

#include <hdf5.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <vector>

namespace Tessaly {

namespace {

/// What is read and packed at once.
constexpr std::size_t batchBytes = 2 << 20;
constexpr std::size_t mostRowsAtOnce = 256;
constexpr unsigned compressionLevel = 4;

std::string numbered(const std::string& base, int number) {
    return number < 2 ? base : base + " #" + std::to_string(number);
}

std::string gateName(const PolygonFilterDef& gate) {
    return gate.section + ":" + numbered(gate.xFeature + "," + gate.yFeature, gate.number) + " polygon points";
}

const char* scaleWord(int mode) {
    constexpr std::array words{"linear", "log", "pseudolog"};
    return words[static_cast<std::size_t>(std::clamp(mode, 0, 2))];
}

Hdf5Id createFile(const std::string& path) {
    const Hdf5Id access(H5Pcreate(H5P_FILE_ACCESS), H5Pclose, "H5Pcreate");
    // Attributes of any number and size, readable by every release of the library that is in use.
    requireSuccess(H5Pset_libver_bounds(access.get(), H5F_LIBVER_V18, H5F_LIBVER_V18), "H5Pset_libver_bounds");
    const Hdf5Id creation(H5Pcreate(H5P_FILE_CREATE), H5Pclose, "H5Pcreate");
    requireSuccess(H5Pset_attr_creation_order(creation.get(), H5P_CRT_ORDER_TRACKED | H5P_CRT_ORDER_INDEXED),
                   "H5Pset_attr_creation_order");
    return {H5Fcreate(path.c_str(), H5F_ACC_TRUNC, creation.get(), access.get()), H5Fclose, "H5Fcreate"};
}

/// A dataset (rows, ...) with a packed chunk for each row.
Hdf5Id createRows(hid_t group, const char* name, hid_t type, const std::vector<hsize_t>& extent) {
    const int rank = static_cast<int>(extent.size());
    std::vector<hsize_t> chunk = extent;
    chunk[0] = 1;
    const Hdf5Id properties(H5Pcreate(H5P_DATASET_CREATE), H5Pclose, "H5Pcreate");
    requireSuccess(H5Pset_chunk(properties.get(), rank, chunk.data()), "H5Pset_chunk");
    requireSuccess(H5Pset_deflate(properties.get(), compressionLevel), "H5Pset_deflate");
    const Hdf5Id space(H5Screate_simple(rank, extent.data(), nullptr), H5Sclose, "H5Screate_simple");
    return {H5Dcreate2(group, name, type, space.get(), H5P_DEFAULT, properties.get(), H5P_DEFAULT), H5Dclose,
            "H5Dcreate2"};
}

void writeChunk(hid_t dataset, std::size_t row, const std::vector<std::byte>& chunk, std::uint32_t skippedFilters = 0) {
    const std::array<hsize_t, 3> place{row, 0, 0};
    requireSuccess(H5Dwrite_chunk(dataset, H5P_DEFAULT, skippedFilters, place.data(), chunk.size(), chunk.data()),
                   "H5Dwrite_chunk");
}

std::vector<double> gather(const std::vector<double>& column, std::span<const int> events) {
    std::vector<double> values;
    values.reserve(events.size());
    for (const int event : events) {
        const auto index = static_cast<std::size_t>(event);
        values.push_back(index < column.size() ? column[index] : std::numeric_limits<double>::quiet_NaN());
    }
    return values;
}

} // namespace

struct MeasurementWriter::Impl {
    /// Pictures on their way from source to target.
    struct Batch {
        std::vector<int> events;       ///< that have a picture
        std::vector<std::size_t> rows; ///< where they go
        std::vector<std::uint8_t> pixels;
    };

    std::optional<PendingFile> pending;
    Hdf5Id file;
    Hdf5Id events;
    bool succeeded = true;
    std::string temporaryPath;
    std::function<void()> onPause;

    bool isOpen() const { return static_cast<bool>(file); }

    /// Runs a step under the lock. What it throws becomes a line on the standard error stream.
    template <typename Step>
    void run(const std::string& failure, Step step) {
        const Hdf5Lock lock;
        try {
            step();
        } catch (const std::exception& error) {
            reportError(failure + error.what());
            succeeded = false;
        }
    }

    void pause() const {
        if (onPause) {
            onPause();
        }
    }

    void writeRule(const FilterRule& rule, const std::string& base) const;
    void writePictures(const char* what, VQDReader& reader, std::span<const int> chosen, std::size_t width,
                       std::size_t height);
    void reportUnreadable(const char* what, std::size_t event, const FileError& error);
    void copyStored(const char* what, const PictureSource& source, hid_t target, std::span<const int> chosen);
    void readBatch(const char* what, PictureSource& source, std::span<const int> chosen, std::size_t begin,
                   Batch& batch);
    void packPictures(const char* what, PictureSource& source, hid_t target, std::span<const int> chosen);
    void writeTrace(VQDReader& reader, const std::string& name, std::span<const int> chosen, Hdf5Id& target);
    bool finish();
};

MeasurementWriter::MeasurementWriter() : impl_(std::make_unique<Impl>()) {}

MeasurementWriter::~MeasurementWriter() {
    const Hdf5Lock lock;
    impl_.reset();
}

void MeasurementWriter::setOnPause(std::function<void()> onPause) {
    impl_->onPause = std::move(onPause);
}

const std::string& MeasurementWriter::temporaryPath() const {
    return impl_->temporaryPath;
}

bool MeasurementWriter::create(const std::string& path) {
    const Hdf5Lock lock;
    std::function<void()> onPause = std::move(impl_->onPause);
    impl_ = std::make_unique<Impl>();
    impl_->onPause = std::move(onPause);
    try {
        const PendingFile& pending = impl_->pending.emplace(path);
        impl_->temporaryPath = pending.temporaryPath();
        impl_->file = createFile(pending.temporaryPath());
        impl_->events = Hdf5Id(H5Gcreate2(impl_->file.get(), "events", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT), H5Gclose,
                               "H5Gcreate2");
        return true;
    } catch (const std::exception& error) {
        reportError(std::string("Error creating file: ") + error.what());
        impl_->file.reset();
        if (impl_->pending) {
            impl_->pending->discard();
        }
        return false;
    }
}

void MeasurementWriter::copyAttributes(const VQDMetadata& metadata) {
    if (!impl_->isOpen()) {
        return;
    }
    const auto copy = [this](const std::string& name, auto write) {
        impl_->run("Error writing attribute '" + name + "': ", write);
    };
    std::set<std::string> gates;
    for (const PolygonFilterDef& gate : metadata.polygonFilters) {
        const std::string name = gateName(gate);
        gates.insert(name);
        copy(name, [&] { writePointsAttribute(impl_->file.get(), name, gate.vertices); });
    }
    for (const auto& attribute : metadata.allAttributes) {
        if (!gates.contains(attribute.first)) {
            copy(attribute.first, [&] { writeTextAttribute(impl_->file.get(), attribute.first, attribute.second); });
        }
    }
}

void MeasurementWriter::Impl::writeRule(const FilterRule& rule, const std::string& base) const {
    const auto text = [&](const char* what, const std::string& value) {
        writeTextAttribute(file.get(), base + what, value);
    };
    if (rule.type == FilterRule::Polygon) {
        writePointsAttribute(file.get(), base + " polygon points", rule.polygonVertices);
        text(" polygon x scale", scaleWord(rule.scaleXMode));
        text(" polygon y scale", scaleWord(rule.scaleYMode));
    } else {
        text(" min", fixedText(rule.minValue));
        text(" max", fixedText(rule.maxValue));
    }
    if (rule.inverted) {
        text(" inverted", "1");
    } else {
        removeAttribute(file.get(), base + " inverted"); // a copied one would speak of another rule
    }
}

void MeasurementWriter::writeOfflineFilter(const EventFilter& filter) {
    if (!impl_->isOpen() || !filter.isEnabled()) {
        return;
    }
    constexpr const char* failure = "Error writing offline filter metadata: ";
    std::map<std::string, int> uses;
    for (const FilterRule& rule : filter.rules()) {
        if (!rule.enabled) {
            continue;
        }
        const bool polygon = rule.type == FilterRule::Polygon;
        const std::string features = polygon ? rule.featureName + "," + rule.featureNameY : rule.featureName;
        const int number = ++uses[features];
        impl_->run(failure, [&] { impl_->writeRule(rule, "offline_filter:" + numbered(features, number)); });
    }
    if (uses.empty()) {
        return;
    }
    impl_->run(failure, [&] {
        const std::string name = "offline_filter:combine mode";
        if (filter.combineMode() == EventFilter::ShowPassing) {
            removeAttribute(impl_->file.get(), name);
        } else {
            writeTextAttribute(impl_->file.get(), name, "NOT");
        }
    });
}

void MeasurementWriter::writeExportAttributes(std::uint64_t eventCount, const std::string& changedSampleName) {
    if (!impl_->isOpen()) {
        return;
    }
    impl_->run("Error writing export metadata: ", [&] {
        const hid_t root = impl_->file.get();
        writeTextAttribute(root, "export:date", exportDate());
        writeTextAttribute(root, "export:event count", std::to_string(eventCount));
        if (changedSampleName.empty()) {
            removeAttribute(root, "export:changed sample name"); // a copied one no longer holds
        } else {
            writeTextAttribute(root, "export:changed sample name", changedSampleName);
        }
    });
}

void MeasurementWriter::writeScalars(std::span<const std::string> features, std::span<const int> events,
                                     VQDReader& reader) {
    if (!impl_->isOpen()) {
        return;
    }
    for (const std::string& name : features) {
        impl_->run("Error writing feature '" + name + "': ", [&] {
            const std::uint64_t failed = reader.failedReadings();
            const SharedColumn column = reader.column(name);
            if (column->empty()) {
                // The reader has told why.
                impl_->succeeded = impl_->succeeded && reader.failedReadings() == failed;
                return;
            }
            const std::vector<double> values = gather(*column, events);
            const hsize_t count = values.size();
            const Hdf5Id space(H5Screate_simple(1, &count, nullptr), H5Sclose, "H5Screate_simple");
            Hdf5Id dataset(H5Dcreate2(impl_->events.get(), name.c_str(), H5T_IEEE_F64LE, space.get(), H5P_DEFAULT,
                                      H5P_DEFAULT, H5P_DEFAULT),
                           H5Dclose, "H5Dcreate2");
            if (count > 0) {
                requireSuccess(H5Dwrite(dataset.get(), H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()),
                               "H5Dwrite");
            }
            dataset.close("H5Dclose");
        });
        impl_->pause();
    }
}

void MeasurementWriter::Impl::reportUnreadable(const char* what, std::size_t event, const FileError& error) {
    reportError(std::string("Error reading ") + what + " at index " + std::to_string(event) + ": " + error.what());
    succeeded = false;
}

void MeasurementWriter::Impl::copyStored(const char* what, const PictureSource& source, hid_t target,
                                         std::span<const int> chosen) {
    std::vector<std::byte> chunk;
    for (std::size_t begin = 0; begin < chosen.size(); begin += mostRowsAtOnce) {
        {
            const Hdf5Lock lock;
            const std::size_t end = std::min(begin + mostRowsAtOnce, chosen.size());
            for (std::size_t row = begin; row < end; ++row) {
                const auto event = static_cast<std::size_t>(chosen[row]);
                std::uint32_t skippedFilters = 0;
                bool stored = false;
                try {
                    stored = event < source.rows() && source.readStored(event, chunk, skippedFilters);
                } catch (const FileError& error) {
                    reportUnreadable(what, event, error);
                }
                if (stored) {
                    writeChunk(target, row, chunk, skippedFilters);
                }
            }
        }
        pause();
    }
}

void MeasurementWriter::Impl::readBatch(const char* what, PictureSource& source, std::span<const int> chosen,
                                        std::size_t begin, Batch& batch) {
    batch.events.clear();
    batch.rows.clear();
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        if (static_cast<std::uint64_t>(chosen[i]) < source.rows()) {
            batch.events.push_back(chosen[i]);
            batch.rows.push_back(begin + i);
        }
    }
    const std::size_t length = source.pictureBytes();
    batch.pixels.resize(batch.events.size() * length);
    const Hdf5Lock lock;
    try {
        source.read(batch.events, batch.pixels.data());
        return;
    } catch (const FileError&) {
        // One by one, so that only what can't be read is missing.
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < batch.events.size(); ++i) {
        try {
            source.read(std::span(batch.events).subspan(i, 1), batch.pixels.data() + kept * length);
            batch.rows[kept++] = batch.rows[i];
        } catch (const FileError& error) {
            reportUnreadable(what, static_cast<std::size_t>(batch.events[i]), error);
        }
    }
    batch.rows.resize(kept);
    batch.pixels.resize(kept * length);
}

void MeasurementWriter::Impl::packPictures(const char* what, PictureSource& source, hid_t target,
                                           std::span<const int> chosen) {
    const std::size_t rowsAtOnce = std::clamp<std::size_t>(batchBytes / source.pictureBytes(), 1, mostRowsAtOnce);
    Batch batch;
    RowPacking packing;
    for (std::size_t begin = 0; begin < chosen.size(); begin += rowsAtOnce) {
        readBatch(what, source, chosen.subspan(begin, std::min(rowsAtOnce, chosen.size() - begin)), begin, batch);
        const auto& packed = packing.pack(std::as_bytes(std::span(batch.pixels)), source.pictureBytes());
        {
            const Hdf5Lock lock;
            for (std::size_t i = 0; i < packed.size(); ++i) {
                writeChunk(target, batch.rows[i], packed[i]);
            }
        }
        pause();
    }
}

void MeasurementWriter::Impl::writePictures(const char* what, VQDReader& reader, std::span<const int> chosen,
                                            std::size_t width, std::size_t height) {
    const std::string failure = std::string("Error writing ") + what + "s: ";
    std::optional<PictureSource> source;
    Hdf5Id target;
    run(failure, [&] {
        source.emplace(reader.openStored(what));
        target = createRows(events.get(), what, H5T_STD_U8LE, {chosen.size(), height, width});
    });
    try {
        if (target && source->isStoredByPicture()) {
            copyStored(what, *source, target.get(), chosen);
        } else if (target) {
            packPictures(what, *source, target.get(), chosen);
        }
    } catch (const std::exception& error) {
        reportError(failure + error.what());
        succeeded = false;
    }
    run(failure, [&] {
        source.reset();
        target.close("H5Dclose");
    });
}

namespace {

/// Size of the first event's picture; nothing if there is none.
template <typename Get>
std::optional<std::pair<std::size_t, std::size_t>> firstSize(std::span<const int> events, Get get) {
    int width = 0;
    int height = 0;
    if (events.empty() || get(static_cast<std::size_t>(events[0]), &width, &height).empty() || width < 1 ||
        height < 1) {
        return std::nullopt;
    }
    return std::pair(static_cast<std::size_t>(width), static_cast<std::size_t>(height));
}

} // namespace

void MeasurementWriter::writeImages(VQDReader& reader, std::span<const int> events) {
    if (!impl_->isOpen()) {
        return;
    }
    const std::uint64_t failed = reader.failedReadings();
    if (const auto size = firstSize(events, [&](auto... where) { return reader.getImage(where...); })) {
        impl_->writePictures("image", reader, events, size->first, size->second);
    }
    impl_->succeeded = impl_->succeeded && reader.failedReadings() == failed;
}

void MeasurementWriter::writeMasks(VQDReader& reader, std::span<const int> events) {
    if (!impl_->isOpen()) {
        return;
    }
    const std::uint64_t failed = reader.failedReadings();
    if (const auto size = firstSize(events, [&](auto... where) { return reader.getMask(where...); })) {
        impl_->writePictures("mask", reader, events, size->first, size->second);
    }
    impl_->succeeded = impl_->succeeded && reader.failedReadings() == failed;
}

void MeasurementWriter::Impl::writeTrace(VQDReader& reader, const std::string& name, std::span<const int> chosen,
                                         Hdf5Id& target) {
    // Traces may differ in length from one another, but not from event to event.
    const std::size_t inFirst = reader.getTrace(name, static_cast<std::size_t>(chosen[0])).size();
    const std::size_t samples = inFirst == 0 ? reader.traceLength() : inFirst;
    {
        const Hdf5Lock lock;
        const Hdf5Id group(H5Gopen2(events.get(), "trace", H5P_DEFAULT), H5Gclose, "H5Gopen2");
        target = createRows(group.get(), name.c_str(), H5T_IEEE_F32LE, {chosen.size(), samples});
    }
    RowPacking packing;
    std::vector<float> values;
    std::vector<std::size_t> rows;
    for (std::size_t begin = 0; begin < chosen.size(); begin += mostRowsAtOnce) {
        values.clear();
        rows.clear();
        for (std::size_t row = begin; row < std::min(begin + mostRowsAtOnce, chosen.size()); ++row) {
            std::vector<float> trace = reader.getTrace(name, static_cast<std::size_t>(chosen[row]));
            if (!trace.empty()) {
                trace.resize(samples);
                values.insert(values.end(), trace.begin(), trace.end());
                rows.push_back(row);
            }
        }
        const auto& packed = packing.pack(std::as_bytes(std::span(values)), samples * sizeof(float));
        {
            const Hdf5Lock lock;
            for (std::size_t i = 0; i < packed.size(); ++i) {
                writeChunk(target.get(), rows[i], packed[i]);
            }
        }
        pause();
    }
}

void MeasurementWriter::writeTraces(VQDReader& reader, std::span<const int> events) {
    if (!impl_->isOpen() || reader.traceLength() == 0 || events.empty()) {
        return;
    }
    constexpr const char* failure = "Error writing traces: ";
    const std::uint64_t failed = reader.failedReadings();
    Hdf5Id group;
    impl_->run(failure, [&] {
        group = Hdf5Id(H5Gcreate2(impl_->events.get(), "trace", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT), H5Gclose,
                       "H5Gcreate2");
    });
    if (!group) {
        return;
    }
    for (const std::string& name : reader.traceNames()) {
        Hdf5Id target;
        try {
            impl_->writeTrace(reader, name, events, target);
        } catch (const std::exception& error) {
            reportError(failure + std::string(error.what()));
            impl_->succeeded = false;
        }
        impl_->run(failure, [&] { target.close("H5Dclose"); });
    }
    impl_->run(failure, [&] { group.close("H5Gclose"); });
    impl_->succeeded = impl_->succeeded && reader.failedReadings() == failed;
}

bool MeasurementWriter::Impl::finish() {
    run("Error closing file: ", [this] { events.close("H5Gclose"); });
    run("Error closing file: ", [this] { requireSuccess(H5Fflush(file.get(), H5F_SCOPE_GLOBAL), "H5Fflush"); });
    run("Error closing file: ", [this] { file.close("H5Fclose"); });
    if (succeeded) {
        run("Error closing file: ", [this] { pending->commit(); });
    }
    return succeeded;
}

bool MeasurementWriter::close() {
    if (!impl_->isOpen()) {
        return false;
    }
    const bool complete = impl_->finish();
    impl_->pending.reset();
    return complete;
}

} // namespace Tessaly
