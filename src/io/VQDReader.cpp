#include "VQDReader.h"

#include "core/FeatureCatalogue.h"
#include "io/ColumnReading.h"
#include "io/DatasetAccess.h"
#include "io/EventReading.h"
#include "io/MetadataReading.h"

#include <hdf5.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <unordered_map>
#include <unordered_set>

namespace Tessaly {

namespace {

const std::vector<double>& noColumn() {
    static const std::vector<double> empty;
    return empty;
}

} // namespace

struct VQDReader::Impl {
    Hdf5Id file;
    std::string filePath;
    bool fileOpen = false;
    std::uint64_t eventCount = 0;
    std::vector<std::string> featureNames;
    std::unordered_set<std::string> featureNameSet;
    bool featureNamesSorted = false;
    bool imageAvailable = false;
    bool maskAvailable = false;
    bool tracesAvailable = false;
    bool instrumentData = false;
    std::vector<std::string> traceNames;
    std::uint64_t traceLength = 0;
    std::unordered_map<std::string, std::unique_ptr<std::vector<double>>> columnCache;
    std::unordered_set<std::string> computedFeatureNames;
    std::optional<DatasetAccess> access;
    ColumnBudget budget;

    /// The group of the features; nothing if the file has none.
    std::optional<Hdf5Id> eventsGroup() const {
        if (!access->hasLink(file.get(), "events")) {
            return std::nullopt;
        }
        return access->openGroup(file.get(), "events");
    }

    void openFile();
    void listFeatures();
    void listTraces();
    void countEvents();
    std::unique_ptr<std::vector<double>> readFeature(const std::string& name);
    std::vector<std::uint8_t> picture(const char* what, bool available, std::size_t index, int* width, int* height);
};

void VQDReader::Impl::openFile() {
    if (const std::string problem = hdf5VersionProblem(); !problem.empty()) {
        throw FileError(problem);
    }
    std::error_code unknown;
    const auto status = std::filesystem::status(filePath, unknown);
    // Opening a pipe would wait for ever.
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw FileError("not a regular file");
    }
    file = Hdf5Id(H5Fopen(filePath.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), H5Fclose, "H5Fopen");
    access.emplace();
    fileOpen = true;
}

void VQDReader::Impl::listFeatures() {
    try {
        const std::optional<Hdf5Id> events = eventsGroup();
        if (!events) {
            return;
        }
        std::string problem;
        for (std::string& name : access->datasetNames(events->get(), problem)) {
            const Hdf5Id dataset = access->openDataset(events->get(), name);
            if (name != "image" && name != "mask" && datasetExtent(dataset.get()).size() != 1) {
                continue;
            }
            featureNameSet.insert(name);
            featureNames.push_back(std::move(name));
        }
        imageAvailable = featureNameSet.contains("image");
        maskAvailable = featureNameSet.contains("mask");
        if (!problem.empty()) {
            throw FileError(problem);
        }
        std::sort(featureNames.begin(), featureNames.end());
        featureNamesSorted = true;
    } catch (const std::exception& error) {
        reportError(std::string("Error caching features: ") + error.what());
    }
}

void VQDReader::Impl::listTraces() {
    try {
        const std::optional<Hdf5Id> events = eventsGroup();
        if (!events || !access->hasLink(events->get(), "trace")) {
            return;
        }
        const Hdf5Id group = access->openGroup(events->get(), "trace");
        std::string problem;
        for (std::string& name : access->datasetNames(group.get(), problem)) {
            if (name.find("_median") == std::string::npos && name.find("_raw") == std::string::npos) {
                continue;
            }
            if (traceLength == 0) {
                const std::vector<std::uint64_t> extent = datasetExtent(access->openDataset(group.get(), name).get());
                traceLength = extent.size() == 2 ? extent[1] : 0;
            }
            traceNames.push_back(std::move(name));
        }
        tracesAvailable = !traceNames.empty();
        if (!problem.empty()) {
            throw FileError(problem);
        }
        std::sort(traceNames.begin(), traceNames.end());
    } catch (const std::exception& error) {
        reportError(std::string("Error caching trace info: ") + error.what());
    }
}

void VQDReader::Impl::countEvents() {
    try {
        const auto first = std::min_element(featureNames.begin(), featureNames.end());
        if (first == featureNames.end()) {
            return;
        }
        const std::optional<Hdf5Id> events = eventsGroup();
        if (events) {
            eventCount = readRowCount(access->openDataset(events->get(), *first).get());
        }
    } catch (const std::exception& error) {
        reportError(std::string("Error determining event count: ") + error.what());
    }
}

std::unique_ptr<std::vector<double>> VQDReader::Impl::readFeature(const std::string& name) {
    const std::optional<Hdf5Id> events = eventsGroup();
    if (!events || !access->hasLink(events->get(), name)) {
        return nullptr;
    }
    const Hdf5Id dataset = access->openDataset(events->get(), name);
    return std::make_unique<std::vector<double>>(readColumn(dataset.get(), budget));
}

std::vector<std::uint8_t> VQDReader::Impl::picture(const char* what, bool available, std::size_t index, int* width,
                                                   int* height) {
    if (!available || !fileOpen) {
        return {};
    }
    try {
        const std::optional<Hdf5Id> events = eventsGroup();
        if (!events) {
            return {};
        }
        return readPicture(access->openDataset(events->get(), what).get(), index, width, height);
    } catch (const std::exception& error) {
        reportError(std::string("Error reading ") + what + " at index " + std::to_string(index) + ": " + error.what());
        return {};
    }
}

VQDReader::VQDReader() : impl_(std::make_unique<Impl>()) {}

VQDReader::~VQDReader() {
    const Hdf5Lock lock;
    impl_.reset();
}

bool VQDReader::open(const std::string& path) {
    const Hdf5Lock lock;
    close();
    impl_->filePath = path;
    try {
        impl_->openFile();
    } catch (const std::exception& error) {
        reportError(std::string("Error opening file: ") + error.what());
        impl_->file.reset();
        return false;
    }
    impl_->listFeatures();
    impl_->listTraces();
    impl_->countEvents();
    return true;
}

void VQDReader::close() {
    const Hdf5Lock lock;
    impl_ = std::make_unique<Impl>();
}

bool VQDReader::isOpen() const {
    return impl_->fileOpen;
}

std::string VQDReader::path() const {
    return impl_->filePath;
}

VQDMetadata VQDReader::readMetadata() {
    const Hdf5Lock lock;
    if (!impl_->fileOpen) {
        return {};
    }
    VQDMetadata metadata = readFileMetadata(impl_->file.get());
    impl_->instrumentData = metadataValue(metadata.setup, "module composition").find("Vortiq") != std::string::npos;
    return metadata;
}

bool VQDReader::isInstrumentData() const {
    return impl_->instrumentData;
}

std::uint64_t VQDReader::eventCount() const {
    return impl_->eventCount;
}

const std::vector<std::string>& VQDReader::featureNames() {
    if (!impl_->featureNamesSorted) {
        std::sort(impl_->featureNames.begin(), impl_->featureNames.end());
        impl_->featureNamesSorted = true;
    }
    return impl_->featureNames;
}

bool VQDReader::hasFeature(const std::string& name) const {
    return impl_->featureNameSet.contains(name);
}

bool VQDReader::isComputedFeature(const std::string& name) const {
    return impl_->computedFeatureNames.contains(name);
}

const std::vector<double>& VQDReader::getFeature(const std::string& name) {
    const Hdf5Lock lock;
    if (const auto found = impl_->columnCache.find(name); found != impl_->columnCache.end()) {
        return *found->second;
    }
    if (!impl_->fileOpen) {
        return noColumn();
    }
    try {
        std::unique_ptr<std::vector<double>> column = impl_->readFeature(name);
        if (!column) {
            return noColumn();
        }
        return *(impl_->columnCache[name] = std::move(column));
    } catch (const std::exception& error) {
        reportError("Error reading feature '" + name + "': " + error.what());
        return noColumn();
    }
}

void VQDReader::setFeature(const std::string& name, std::vector<double>&& values) {
    const Hdf5Lock lock;
    impl_->columnCache[name] = std::make_unique<std::vector<double>>(std::move(values));
    impl_->computedFeatureNames.insert(name);
    if (impl_->featureNameSet.insert(name).second) {
        impl_->featureNames.push_back(name);
        impl_->featureNamesSorted = false;
    }
}

void VQDReader::cacheAllFeatures(const std::stop_token& stop) {
    // One lock per column, so that another thread gets its turn in between.
    for (const std::string& name : impl_->featureNames) {
        if (stop.stop_requested()) {
            return;
        }
        if (isScalarFeature(name)) {
            getFeature(name);
        }
    }
}

bool VQDReader::hasImage() const {
    return impl_->imageAvailable;
}

bool VQDReader::hasMask() const {
    return impl_->maskAvailable;
}

bool VQDReader::hasTraces() const {
    return impl_->tracesAvailable;
}

std::vector<std::uint8_t> VQDReader::getImage(std::size_t index, int* width, int* height) {
    const Hdf5Lock lock;
    return impl_->picture("image", impl_->imageAvailable, index, width, height);
}

std::vector<std::uint8_t> VQDReader::getMask(std::size_t index, int* width, int* height) {
    const Hdf5Lock lock;
    return impl_->picture("mask", impl_->maskAvailable, index, width, height);
}

std::vector<std::string> VQDReader::traceNames() const {
    return impl_->traceNames;
}

std::uint64_t VQDReader::traceLength() const {
    return impl_->traceLength;
}

std::vector<float> VQDReader::getTrace(const std::string& name, std::size_t index) {
    const Hdf5Lock lock;
    if (!impl_->fileOpen || !impl_->tracesAvailable) {
        return {};
    }
    try {
        const std::optional<Hdf5Id> events = impl_->eventsGroup();
        if (!events) {
            return {};
        }
        const Hdf5Id group = impl_->access->openGroup(events->get(), "trace");
        return readTrace(impl_->access->openDataset(group.get(), name).get(), index);
    } catch (const std::exception& error) {
        reportError("Error reading trace '" + name + "' at index " + std::to_string(index) + ": " + error.what());
        return {};
    }
}

std::string VQDReader::featureLabel(const std::string& key) const {
    return Tessaly::featureLabel(key, impl_->instrumentData);
}

} // namespace Tessaly
