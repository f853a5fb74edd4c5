#include "session/PlotChoices.h"

#include "core/DatasetEntry.h"
#include "core/FeatureCatalogue.h"
#include "io/VQDReader.h"

#include <algorithm>

namespace Tessaly {

std::vector<std::string> scalarFeatureNames(VQDReader& reader) {
    std::vector<std::string> names;
    for (const std::string& name : reader.featureNames()) {
        if (isScalarFeature(name)) {
            names.push_back(name);
        }
    }
    return names;
}

PlotSettings shownSettings(const PlotSettings& stored, const std::vector<std::string>& features) {
    const auto listed = [&features](const std::string& name) {
        return std::ranges::find(features, name) != features.end();
    };
    const auto orUsual = [&](const std::string& name, const std::string& usual) {
        if (listed(name) || features.empty()) {
            return features.empty() ? std::string() : name;
        }
        return listed(usual) ? usual : features.front();
    };
    PlotSettings shown = stored;
    shown.xFeatureName = orUsual(stored.xFeatureName, "area_um");
    shown.yFeatureName = orUsual(stored.yFeatureName, "deform");
    if (!isDensitySelector(stored.colorFeatureName) && !listed(stored.colorFeatureName)) {
        shown.colorFeatureName.clear();
    }
    return shown;
}

void copyPlotSettings(const PlotSettings& settings, DatasetEntry& entry) {
    const auto fileHas = [&entry](const std::string& feature) {
        return entry.reader && entry.reader->hasFeature(feature);
    };
    PlotSettings copied = settings;
    if (!fileHas(settings.xFeatureName)) {
        copied.xFeatureName = entry.xFeatureName;
    }
    if (!fileHas(settings.yFeatureName)) {
        copied.yFeatureName = entry.yFeatureName;
    }
    const std::string& color = settings.colorFeatureName;
    if (!color.empty() && !isDensitySelector(color) && !fileHas(color)) {
        copied.colorFeatureName = entry.colorFeatureName;
    }
    entry.setPlotSettings(copied);
}

} // namespace Tessaly
