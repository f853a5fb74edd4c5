#include "session/PlotSettings.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"

namespace Tessaly {

bool isDensitySelector(std::string_view colorFeature) {
    return colorFeature.starts_with(DensityPrefix);
}

DensityMethod densityMethodOf(std::string_view selector) {
    if (selector == "__density_hist__") {
        return DensityMethod::Histogram;
    }
    if (selector == "__density_knn__") {
        return DensityMethod::NearestNeighbours;
    }
    return DensityMethod::Kde;
}

PlotSettings plotSettingsOf(const DatasetEntry& entry) {
    return {.xFeature = entry.xFeatureName,
            .yFeature = entry.yFeatureName,
            .colorFeature = entry.colorFeatureName,
            .scaleX = entry.scaleXMode,
            .scaleY = entry.scaleYMode,
            .contourMode = entry.contourMode,
            .contourFraction1 = entry.contourFraction1,
            .contourFraction2 = entry.contourFraction2};
}

namespace {

void storeScalesAndContours(const PlotSettings& settings, DatasetEntry& entry) {
    entry.scaleXMode = settings.scaleX;
    entry.scaleYMode = settings.scaleY;
    entry.contourMode = settings.contourMode;
    entry.contourFraction1 = settings.contourFraction1;
    entry.contourFraction2 = settings.contourFraction2;
}

} // namespace

void storePlotSettings(const PlotSettings& settings, DatasetEntry& entry) {
    entry.xFeatureName = settings.xFeature;
    entry.yFeatureName = settings.yFeature;
    entry.colorFeatureName = settings.colorFeature;
    storeScalesAndContours(settings, entry);
}

void copyPlotSettings(const PlotSettings& settings, DatasetEntry& entry) {
    const auto fileHas = [&entry](const std::string& feature) {
        return entry.reader && entry.reader->hasFeature(feature);
    };
    if (fileHas(settings.xFeature)) {
        entry.xFeatureName = settings.xFeature;
    }
    if (fileHas(settings.yFeature)) {
        entry.yFeatureName = settings.yFeature;
    }
    const std::string& color = settings.colorFeature;
    if (color.empty() || isDensitySelector(color) || fileHas(color)) {
        entry.colorFeatureName = color;
    }
    storeScalesAndContours(settings, entry);
}

} // namespace Tessaly
