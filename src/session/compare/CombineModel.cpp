#include "session/compare/CombineModel.h"

#include "core/DatasetEntry.h"
#include "core/FeatureCatalogue.h"
#include "core/ScaleMath.h"
#include "io/VQDReader.h"
#include "session/PlotChoices.h"
#include "session/Session.h"

#include <algorithm>
#include <utility>

namespace Tessaly {

namespace {

/// What a new row plots: the dataset's own choice, the usual features where it has none, else the first ones.
void chooseFeatures(CombineDatasetSettings& settings, VQDReader& reader) {
    const std::vector<std::string> features = scalarFeatureNames(reader);
    const auto fill = [&features](std::string& name, const char* usual) {
        if (name.empty() && std::ranges::find(features, usual) != features.end()) {
            name = usual;
        }
    };
    fill(settings.xFeatureName, "area_um");
    fill(settings.yFeatureName, "deform");
    for (std::string* name : {&settings.xFeatureName, &settings.yFeatureName}) {
        if (name->empty() && !features.empty()) {
            *name = features.front();
        }
    }
}

int knownScale(int mode) {
    return mode >= ScaleMode::Linear && mode <= ScaleMode::PseudoLog ? mode : ScaleMode::Linear;
}

} // namespace

CombineModel::CombineModel(const Session& session) : session_(session) {}

int CombineModel::rowOf(int datasetId) const {
    const auto found = std::ranges::find(datasets_, datasetId, &CombineDatasetSettings::datasetId);
    return found == datasets_.end() ? -1 : static_cast<int>(found - datasets_.begin());
}

std::vector<int> CombineModel::addable() const {
    std::vector<int> ids;
    for (const auto& entry : session_.datasets()) {
        if (entry->featuresLoaded && entry->reader && rowOf(entry->id) < 0) {
            ids.push_back(entry->id);
        }
    }
    return ids;
}

bool CombineModel::add(int datasetId) {
    const DatasetEntry* entry = session_.findById(datasetId);
    if (!entry || !entry->featuresLoaded || !entry->reader || rowOf(datasetId) >= 0) {
        return false;
    }
    CombineDatasetSettings settings;
    settings.datasetId = datasetId;
    settings.xFeatureName = entry->xFeatureName;
    settings.yFeatureName = entry->yFeatureName;
    settings.scaleXMode = entry->scaleXMode;
    settings.scaleYMode = entry->scaleYMode;
    if (settings.xFeatureName.empty() || settings.yFeatureName.empty()) {
        chooseFeatures(settings, *entry->reader);
    }
    settings.color = combinePalette()[datasets_.size() % combinePalette().size()];
    datasets_.push_back(std::move(settings));
    return true;
}

bool CombineModel::remove(int datasetId) {
    const int row = rowOf(datasetId);
    if (row >= 0) {
        datasets_.erase(datasets_.begin() + row);
    }
    return row >= 0;
}

bool CombineModel::move(int row, int targetRow, bool above) {
    if (row < 0 || row >= count() || targetRow < 0 || targetRow >= count() || row == targetRow) {
        return false;
    }
    int place = above ? targetRow : targetRow + 1;
    if (row < place) {
        --place;
    }
    if (place == row) {
        return false;
    }
    CombineDatasetSettings moved = std::move(datasets_[static_cast<std::size_t>(row)]);
    datasets_.erase(datasets_.begin() + row);
    datasets_.insert(datasets_.begin() + place, std::move(moved));
    return true;
}

bool CombineModel::hasFeature(int datasetId, const std::string& feature) const {
    const DatasetEntry* entry = session_.findById(datasetId);
    return entry && entry->reader && isScalarFeature(feature) && entry->reader->hasFeature(feature);
}

bool CombineModel::spreadFeatures(int fromRow) {
    const CombineDatasetSettings source = datasets_[static_cast<std::size_t>(fromRow)];
    bool changed = false;
    for (CombineDatasetSettings& other : datasets_) {
        for (const auto feature : {&CombineDatasetSettings::xFeatureName, &CombineDatasetSettings::yFeatureName}) {
            if (other.*feature != source.*feature && hasFeature(other.datasetId, source.*feature)) {
                other.*feature = source.*feature;
                changed = true;
            }
        }
    }
    return changed;
}

bool CombineModel::spreadScales(int fromRow) {
    const CombineDatasetSettings source = datasets_[static_cast<std::size_t>(fromRow)];
    bool changed = false;
    for (CombineDatasetSettings& other : datasets_) {
        changed = changed || other.scaleXMode != source.scaleXMode || other.scaleYMode != source.scaleYMode;
        other.scaleXMode = source.scaleXMode;
        other.scaleYMode = source.scaleYMode;
    }
    return changed;
}

CombineChange CombineModel::setRow(int row, const CombineDatasetSettings& settings) {
    if (row < 0 || row >= count()) {
        return CombineChange::None;
    }
    CombineDatasetSettings& target = datasets_[static_cast<std::size_t>(row)];
    const CombineDatasetSettings before = std::exchange(target, settings);
    target.datasetId = before.datasetId;
    const bool recolored = target.color != before.color;
    CombineDatasetSettings inOldColor = target;
    inOldColor.color = before.color;
    bool replotted = inOldColor != before;
    if (options_.syncFeatures) {
        replotted = spreadFeatures(row) || replotted;
    }
    if (options_.syncAxes) {
        replotted = spreadScales(row) || replotted;
    }
    return replotted ? CombineChange::Plots : recolored ? CombineChange::Style : CombineChange::None;
}

bool CombineModel::asksForSync(int displayMode) const {
    return displayMode != CombineDisplay::Array && !options_.syncFeatures && count() > 1;
}

CombineChange CombineModel::setOptions(CombineOptions options) {
    options = clamped(options);
    const CombineOptions before = options_;
    if (before.syncFeatures && options.displayMode != CombineDisplay::Array) {
        options.syncFeatures = true;
    }
    options.manualLimits = options.manualLimits && options.syncAxes;
    options.isoLabels = options.isoLabels && options.isoelasticity;
    if (!options.manualArraySize) {
        options.arrayCols = 0;
        options.arrayRows = 0;
    } else if (options.arrayCols > 0 && options.arrayCols != before.arrayCols) {
        options.arrayRows = 0;
    } else if (options.arrayRows > 0 && options.arrayRows != before.arrayRows) {
        options.arrayCols = 0;
    }
    options_ = options;
    if (count() > 0 && options.syncFeatures && !before.syncFeatures) {
        spreadFeatures(0);
    }
    if (count() > 0 && options.syncAxes && !before.syncAxes) {
        spreadScales(0);
    }
    return options == before ? CombineChange::None : CombineChange::Plots;
}

CombineChange CombineModel::setExportSettings(const CombineExportSettings& settings) {
    const CombineExportSettings before = std::exchange(exportSettings_, clamped(settings));
    return before == exportSettings_ ? CombineChange::None : CombineChange::Style;
}

void CombineModel::restore(std::vector<CombineDatasetSettings> datasets, const CombineOptions& options,
                           const CombineExportSettings& exportSettings) {
    options_ = clamped(options);
    exportSettings_ = clamped(exportSettings);
    datasets_.clear();
    for (CombineDatasetSettings& stored : datasets) {
        if (session_.findById(stored.datasetId) && rowOf(stored.datasetId) < 0) {
            stored.scaleXMode = knownScale(stored.scaleXMode);
            stored.scaleYMode = knownScale(stored.scaleYMode);
            datasets_.push_back(std::move(stored));
        }
    }
}

} // namespace Tessaly
