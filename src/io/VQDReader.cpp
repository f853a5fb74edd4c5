#include "io/VQDReader.h"

#include "core/ErrorReport.h"
#include "core/FeatureCatalogue.h"
#include "io/ColumnReading.h"
#include "io/DatasetAccess.h"
#include "io/EventReading.h"
#include "io/MetadataReading.h"
#include "io/PictureFetch.h"
#include "io/TraceChain.h"

#include <hdf5.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <optional>
#include <unordered_map>
#include <unordered_set>

namespace Tessaly {

namespace {

const SharedColumn& noColumn() {
    static const auto empty = std::make_shared<const std::vector<double>>();
    return empty;
}

/// A column in one of its two forms, or neither.
struct CachedColumn {
    ColumnPlan plan;
    std::shared_ptr<const StoredColumn> stored; ///< until somebody asks for doubles
    SharedColumn values;
};

/// What a file and the computed columns hold.
struct Contents {
    std::string filePath;
    bool fileOpen = false;
    std::uint64_t eventCount = 0;
    std::vector<std::string> featureNames; ///< ascending
    bool imageAvailable = false;
    bool maskAvailable = false;
    bool tracesAvailable = false;
    bool instrumentData = false;
    std::vector<std::string> traceNames;
    std::uint64_t traceLength = 0;
    std::unordered_map<std::string, CachedColumn> columnCache;
    std::unordered_set<std::string> computedFeatureNames;
    ColumnBudget budget;

    bool hasFeature(const std::string& name) const {
        return std::binary_search(featureNames.begin(), featureNames.end(), name);
    }
};

/// An open file and how to get at its objects.
struct OpenFile {
    Hdf5Id file;
    DatasetAccess access;

    explicit OpenFile(const std::string& path);
    /// The group of the features; nothing if the file has none.
    std::optional<Hdf5Id> eventsGroup() const;
    void listFeatures(Contents& contents) const;
    void listTraces(Contents& contents) const;
    void countEvents(Contents& contents) const;
};

OpenFile::OpenFile(const std::string& path) {
    if (const std::string problem = hdf5VersionProblem(); !problem.empty()) {
        throw FileError(problem);
    }
    std::error_code unknown;
    const auto status = std::filesystem::status(path, unknown);
    // Opening a pipe would wait for ever.
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw FileError("not a regular file");
    }
    file = Hdf5Id(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), H5Fclose, "H5Fopen");
}

std::optional<Hdf5Id> OpenFile::eventsGroup() const {
    if (!access.hasLink(file.get(), "events")) {
        return std::nullopt;
    }
    return access.openGroup(file.get(), "events");
}

void OpenFile::listFeatures(Contents& contents) const {
    std::vector<std::string>& names = contents.featureNames;
    std::string problem;
    try {
        const std::optional<Hdf5Id> events = eventsGroup();
        if (!events) {
            return;
        }
        for (std::string& name : access.datasetNames(events->get(), problem)) {
            const Hdf5Id dataset = access.openDataset(events->get(), name);
            if (name == "image" || name == "mask" || datasetExtent(dataset.get()).size() == 1) {
                names.push_back(std::move(name));
            }
        }
    } catch (const std::exception& error) {
        problem = error.what();
    }
    std::sort(names.begin(), names.end());
    contents.imageAvailable = contents.hasFeature("image");
    contents.maskAvailable = contents.hasFeature("mask");
    if (!problem.empty()) {
        reportError("Error caching features: " + problem);
    }
}

void OpenFile::listTraces(Contents& contents) const {
    std::vector<std::string>& names = contents.traceNames;
    std::string problem;
    try {
        const std::optional<Hdf5Id> events = eventsGroup();
        if (!events || !access.hasLink(events->get(), "trace")) {
            return;
        }
        const Hdf5Id group = access.openGroup(events->get(), "trace");
        for (std::string& name : access.datasetNames(group.get(), problem)) {
            if (name.find("_median") == std::string::npos && name.find("_raw") == std::string::npos) {
                continue;
            }
            if (contents.traceLength == 0) {
                const std::vector<std::uint64_t> extent = datasetExtent(access.openDataset(group.get(), name).get());
                contents.traceLength = extent.size() == 2 ? extent[1] : 0;
            }
            names.push_back(std::move(name));
        }
    } catch (const std::exception& error) {
        problem = error.what();
    }
    std::sort(names.begin(), names.end());
    contents.tracesAvailable = !names.empty();
    if (!problem.empty()) {
        reportError("Error caching trace info: " + problem);
    }
}

void OpenFile::countEvents(Contents& contents) const {
    for (const std::string& name : contents.featureNames) {
        try {
            if (const std::optional<Hdf5Id> events = eventsGroup()) {
                contents.eventCount = readRowCount(access.openDataset(events->get(), name).get());
                return;
            }
        } catch (const std::exception& error) {
            reportError("Error determining event count: '" + name + "': " + error.what());
        }
    }
}

} // namespace

struct VQDReader::Impl {
    mutable std::mutex mutex; ///< guards contents; taken inside of hdf5Mutex(), never the other way round
    Contents contents;
    std::optional<OpenFile> open; ///< guarded by hdf5Mutex()
    TraceChain traceChain;        ///< guarded by hdf5Mutex()
    std::atomic<std::uint64_t> failedReadings = 0;

    /// A copy of one field.
    template <typename Field>
    Field get(Field Contents::*field) const {
        const std::lock_guard lock(mutex);
        return contents.*field;
    }
    void replaceContents(Contents&& other);
    std::optional<CachedColumn> cached(const std::string& name) const;
    CachedColumn load(const std::string& name);
    CachedColumn readFeature(const std::string& name);
    SharedColumn widen(const std::string& name, const CachedColumn& column);
    std::vector<std::uint8_t> picture(const char* what, bool Contents::*available, std::size_t index, int* width,
                                      int* height, std::string* problem);
    std::vector<float> storedTrace(const std::string& name, std::size_t index, std::string* problem);
    void fail(const std::string& failure, std::string* problem);
};

/// The old contents go when the lock has been released: giving memory back takes its time.
void VQDReader::Impl::replaceContents(Contents&& other) {
    const std::lock_guard lock(mutex);
    std::swap(contents, other);
}

std::optional<CachedColumn> VQDReader::Impl::cached(const std::string& name) const {
    const std::lock_guard lock(mutex);
    const auto found = contents.columnCache.find(name);
    return found == contents.columnCache.end() ? std::nullopt : std::optional(found->second);
}

/// The column in either form, read if it isn't there yet; in neither if there is nothing to give.
CachedColumn VQDReader::Impl::load(const std::string& name) {
    if (std::optional<CachedColumn> column = cached(name)) {
        return *std::move(column);
    }
    const Hdf5Lock lock;
    if (std::optional<CachedColumn> column = cached(name)) {
        return *std::move(column); // another thread was faster
    }
    try {
        return open ? readFeature(name) : CachedColumn();
    } catch (const std::exception& error) {
        ++failedReadings;
        reportError("Error reading feature '" + name + "': " + error.what());
        return {};
    }
}

CachedColumn VQDReader::Impl::readFeature(const std::string& name) {
    const std::optional<Hdf5Id> events = open->eventsGroup();
    if (!events || !open->access.hasLink(events->get(), name)) {
        return {};
    }
    const Hdf5Id dataset = open->access.openDataset(events->get(), name);
    CachedColumn column;
    column.plan = planColumn(dataset.get());
    {
        const std::lock_guard lock(mutex);
        contents.budget.take(column.plan, column.plan.bytes);
    }
    try {
        column.stored = std::make_shared<const StoredColumn>(readColumn(dataset.get(), column.plan));
    } catch (...) {
        const std::lock_guard lock(mutex);
        contents.budget.leftFor(column.plan) += column.plan.bytes; // a column that can't be read takes nothing
        throw;
    }
    const std::lock_guard lock(mutex);
    return contents.columnCache.try_emplace(name, std::move(column)).first->second; // one computed meanwhile stays
}

/// Takes a column from its stored form to doubles, outside of the locks.
/// @return null if the column was replaced meanwhile; what is returned stands in the cache
SharedColumn VQDReader::Impl::widen(const std::string& name, const CachedColumn& column) {
    const std::uint64_t bytes = column.plan.count * sizeof(double);
    {
        const std::lock_guard lock(mutex);
        contents.budget.take(column.plan, bytes);
        contents.budget.leftFor(column.plan) += column.plan.bytes;
    }
    auto values = std::make_shared<const std::vector<double>>(column.stored->widened());
    const std::lock_guard lock(mutex);
    const auto found = contents.columnCache.find(name);
    if (found == contents.columnCache.end() || found->second.stored != column.stored) {
        contents.budget.leftFor(column.plan) += bytes - column.plan.bytes;
        return nullptr;
    }
    found->second.stored.reset();
    found->second.values = std::move(values);
    return found->second.values;
}

std::vector<std::uint8_t> VQDReader::Impl::picture(const char* what, bool Contents::*available, std::size_t index,
                                                   int* width, int* height, std::string* problem) {
    const Hdf5Lock lock;
    if (!open || !get(available)) {
        return {};
    }
    try {
        const std::optional<Hdf5Id> events = open->eventsGroup();
        if (!events) {
            return {};
        }
        return readPicture(open->access.openDataset(events->get(), what).get(), index, width, height);
    } catch (const std::exception& error) {
        fail(std::string("Error reading ") + what + " at index " + std::to_string(index) + ": " + error.what(),
             problem);
        return {};
    }
}

std::vector<float> VQDReader::Impl::storedTrace(const std::string& name, std::size_t index, std::string* problem) {
    if (!open || !get(&Contents::tracesAvailable)) {
        return {};
    }
    try {
        const std::optional<Hdf5Id> events = open->eventsGroup();
        if (!events) {
            return {};
        }
        const Hdf5Id group = open->access.openGroup(events->get(), "trace");
        return readTrace(open->access.openDataset(group.get(), name).get(), index);
    } catch (const std::exception& error) {
        fail("Error reading trace '" + name + "' at index " + std::to_string(index) + ": " + error.what(), problem);
        return {};
    }
}

/// Counts a failed reading, and hands what went wrong to a caller who wants to know, or writes it.
void VQDReader::Impl::fail(const std::string& failure, std::string* problem) {
    ++failedReadings;
    if (problem != nullptr) {
        *problem = failure;
    } else {
        reportError(failure);
    }
}

VQDReader::VQDReader() : impl_(std::make_unique<Impl>()) {}

VQDReader::~VQDReader() {
    const Hdf5Lock lock;
    impl_->open.reset();
}

bool VQDReader::open(const std::string& path) {
    const Hdf5Lock lock;
    close();
    Contents contents;
    contents.filePath = path;
    try {
        impl_->open.emplace(path);
        contents.fileOpen = true;
        impl_->open->listFeatures(contents);
        impl_->open->listTraces(contents);
        impl_->open->countEvents(contents);
    } catch (const std::exception& error) {
        reportError(std::string("Error opening file: ") + error.what());
    }
    const bool isOpen = contents.fileOpen;
    impl_->replaceContents(std::move(contents));
    return isOpen;
}

void VQDReader::close() {
    const Hdf5Lock lock;
    impl_->open.reset();
    impl_->traceChain = TraceChain();
    impl_->replaceContents(Contents());
}

bool VQDReader::isOpen() const {
    return impl_->get(&Contents::fileOpen);
}

std::string VQDReader::path() const {
    return impl_->get(&Contents::filePath);
}

VQDMetadata VQDReader::readMetadata() {
    const Hdf5Lock lock;
    if (!impl_->open) {
        return {};
    }
    VQDMetadata metadata = readFileMetadata(impl_->open->file.get());
    const std::lock_guard contentsLock(impl_->mutex);
    impl_->contents.instrumentData =
        metadataValue(metadata.setup, "module composition").find("Vortiq") != std::string::npos;
    return metadata;
}

bool VQDReader::isInstrumentData() const {
    return impl_->get(&Contents::instrumentData);
}

std::uint64_t VQDReader::eventCount() const {
    return impl_->get(&Contents::eventCount);
}

std::vector<std::string> VQDReader::featureNames() const {
    return impl_->get(&Contents::featureNames);
}

bool VQDReader::hasFeature(const std::string& name) const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->contents.hasFeature(name);
}

bool VQDReader::isComputedFeature(const std::string& name) const {
    const std::lock_guard lock(impl_->mutex);
    return impl_->contents.computedFeatureNames.contains(name);
}

const std::vector<double>& VQDReader::getFeature(const std::string& name) {
    return *column(name); // held by the cache
}

SharedColumn VQDReader::column(const std::string& name) {
    try {
        for (;;) {
            const CachedColumn column = impl_->load(name);
            if (column.values) {
                return column.values;
            }
            if (!column.stored) {
                return noColumn();
            }
            if (SharedColumn values = impl_->widen(name, column)) {
                return values;
            }
        }
    } catch (const std::exception& error) {
        ++impl_->failedReadings;
        reportError("Error reading feature '" + name + "': " + error.what());
        return noColumn();
    }
}

std::optional<double> VQDReader::valueAt(const std::string& name, std::size_t index) {
    const CachedColumn column = impl_->load(name);
    if (column.values) {
        return index < column.values->size() ? std::optional((*column.values)[index]) : std::nullopt;
    }
    return column.stored && index < column.stored->size() ? std::optional(column.stored->at(index)) : std::nullopt;
}

void VQDReader::setFeature(const std::string& name, std::vector<double>&& values) {
    CachedColumn column{{}, nullptr, std::make_shared<const std::vector<double>>(std::move(values))};
    const std::lock_guard lock(impl_->mutex);
    Contents& contents = impl_->contents;
    std::swap(contents.columnCache[name], column); // the replaced one goes when the lock has been released
    contents.computedFeatureNames.insert(name);
    std::vector<std::string>& names = contents.featureNames;
    if (const auto place = std::lower_bound(names.begin(), names.end(), name); place == names.end() || *place != name) {
        names.insert(place, name);
    }
}

void VQDReader::cacheAllFeatures(const std::stop_token& stop) {
    // One lock per column, so that another thread gets its turn in between.
    for (const std::string& name : featureNames()) {
        if (stop.stop_requested()) {
            return;
        }
        if (isScalarFeature(name)) {
            impl_->load(name);
        }
    }
}

bool VQDReader::hasImage() const {
    return impl_->get(&Contents::imageAvailable);
}

bool VQDReader::hasMask() const {
    return impl_->get(&Contents::maskAvailable);
}

bool VQDReader::hasTraces() const {
    return impl_->get(&Contents::tracesAvailable);
}

std::vector<std::uint8_t> VQDReader::getImage(std::size_t index, int* width, int* height) {
    return impl_->picture("image", &Contents::imageAvailable, index, width, height, nullptr);
}

void VQDReader::readImages(std::span<const int> events, const PictureTaker& take) {
    const auto failed = [this](int event, const std::string& what) {
        impl_->fail("Error reading image at index " + std::to_string(event) + ": " + what, nullptr);
    };
    const auto openImages = [this]() -> Hdf5Id { return impl_->open && hasImage() ? openStored("image") : Hdf5Id(); };
    fetchPictures(openImages, events, take, failed);
}

std::vector<std::uint8_t> VQDReader::getMask(std::size_t index, int* width, int* height, std::string* problem) {
    return impl_->picture("mask", &Contents::maskAvailable, index, width, height, problem);
}

std::vector<std::string> VQDReader::traceNames() const {
    return impl_->get(&Contents::traceNames);
}

std::uint64_t VQDReader::traceLength() const {
    return impl_->get(&Contents::traceLength);
}

std::vector<float> VQDReader::getTrace(const std::string& name, std::size_t index, std::string* problem) {
    const Hdf5Lock lock;
    const std::string* source = impl_->traceChain.sourceOf(name);
    if (source == nullptr) {
        return impl_->storedTrace(name, index, problem);
    }
    return impl_->traceChain.filtered(name, index, [&] { return impl_->storedTrace(*source, index, problem); });
}

void VQDReader::addTraceAlias(const std::string& alias, const std::string& source) {
    const Hdf5Lock lock;
    impl_->traceChain.addAlias(alias, source);
    const std::lock_guard contentsLock(impl_->mutex);
    std::vector<std::string>& names = impl_->contents.traceNames;
    if (std::find(names.begin(), names.end(), alias) == names.end()) {
        names.push_back(alias);
        std::sort(names.begin(), names.end());
    }
}

void VQDReader::setTraceProcessing(const TraceProcessing& processing) {
    const Hdf5Lock lock;
    impl_->traceChain.setProcessing(processing);
}

std::uint64_t VQDReader::failedReadings() const {
    return impl_->failedReadings;
}

Hdf5Id VQDReader::openStored(const std::string& name) const {
    const std::optional<Hdf5Id> events = impl_->open ? impl_->open->eventsGroup() : std::nullopt;
    if (!events) {
        throw FileError("the file has no events");
    }
    return impl_->open->access.openDataset(events->get(), name);
}

std::string VQDReader::featureLabel(const std::string& key) const {
    return Tessaly::featureLabel(key, isInstrumentData());
}

} // namespace Tessaly
