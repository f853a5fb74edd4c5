#include "ui/files/DatasetFeatures.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/export/ExportRun.h"

#include <algorithm>

namespace Tessaly {

namespace {

QString labelOf(const std::string& key, const std::vector<std::unique_ptr<DatasetEntry>>& datasets) {
    for (const auto& dataset : datasets) {
        if (dataset->reader && dataset->reader->hasFeature(key)) {
            return QString::fromStdString(dataset->reader->featureLabel(key));
        }
    }
    return QString::fromStdString(key);
}

} // namespace

std::vector<CheckedFeature> featuresToExport(const DatasetEntry& current,
                                             const std::vector<std::unique_ptr<DatasetEntry>>& datasets) {
    std::vector<CheckedFeature> features;
    for (const std::string& key : featuresOfAll(datasets)) {
        const bool ofCurrent = current.reader && current.reader->hasFeature(key);
        features.push_back({key, labelOf(key, datasets), ofCurrent});
    }
    return features;
}

} // namespace Tessaly
