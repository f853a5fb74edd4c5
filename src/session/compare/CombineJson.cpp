#include "session/compare/CombineJson.h"

#include <QJsonArray>

#include <algorithm>
#include <cmath>

namespace Tessaly {

namespace {

QString key(const char* name) {
    return QString::fromLatin1(name);
}

QColor colorOf(const QJsonValue& value, const QColor& otherwise) {
    const QColor color(value.toString());
    return color.isValid() ? color : otherwise;
}

QJsonObject rowToJson(const CombineDatasetSettings& row, int sessionIndex) {
    return {{"datasetSessionIndex", sessionIndex},
            {"xFeatureName", QString::fromStdString(row.xFeatureName)},
            {"yFeatureName", QString::fromStdString(row.yFeatureName)},
            {"color", row.color.name(QColor::HexRgb)},
            {"colorAlpha", row.color.alpha()},
            {"scaleXMode", row.scaleXMode},
            {"scaleYMode", row.scaleYMode}};
}

CombineDatasetSettings rowFromJson(const QJsonObject& object, int datasetId) {
    CombineDatasetSettings row;
    row.datasetId = datasetId;
    row.xFeatureName = object.value(key("xFeatureName")).toString().toStdString();
    row.yFeatureName = object.value(key("yFeatureName")).toString().toStdString();
    row.color = colorOf(object.value(key("color")), combinePalette().front());
    row.color.setAlpha(std::clamp(object.value(key("colorAlpha")).toInt(255), 0, 255));
    row.scaleXMode = object.value(key("scaleXMode")).toInt(0);
    row.scaleYMode = object.value(key("scaleYMode")).toInt(0);
    return row;
}

QJsonObject exportToJson(const CombineExportSettings& settings) {
    return {{"tickLabelSize", settings.tickLabelSize},
            {"axisLabelSize", settings.axisLabelSize},
            {"showTitle", settings.showTitle},
            {"titleSize", settings.titleSize},
            {"titleBold", settings.titleBold},
            {"titleUseColor", settings.titleUseColor},
            {"plotWidthMm", settings.plotWidthMm},
            {"plotHeightMm", settings.plotHeightMm},
            {"pointSize", settings.pointSize},
            {"axisLineWidth", settings.axisLineWidth},
            {"showGrid", settings.showGrid},
            {"showRightTopAxes", settings.showRightTopAxes},
            {"uniformColor", settings.uniformColor.name(QColor::HexRgb)}};
}

CombineExportSettings exportFromJson(const QJsonObject& object) {
    const auto intOf = [&object](const char* name, int& field) { field = object.value(key(name)).toInt(field); };
    const auto boolOf = [&object](const char* name, bool& field) { field = object.value(key(name)).toBool(field); };
    const auto doubleOf = [&object](const char* name, double& field) {
        field = object.value(key(name)).toDouble(field);
    };
    CombineExportSettings settings;
    intOf("tickLabelSize", settings.tickLabelSize);
    intOf("axisLabelSize", settings.axisLabelSize);
    boolOf("showTitle", settings.showTitle);
    intOf("titleSize", settings.titleSize);
    boolOf("titleBold", settings.titleBold);
    boolOf("titleUseColor", settings.titleUseColor);
    doubleOf("plotWidthMm", settings.plotWidthMm);
    doubleOf("plotHeightMm", settings.plotHeightMm);
    intOf("pointSize", settings.pointSize);
    doubleOf("axisLineWidth", settings.axisLineWidth);
    boolOf("showGrid", settings.showGrid);
    boolOf("showRightTopAxes", settings.showRightTopAxes);
    settings.uniformColor = colorOf(object.value(key("uniformColor")), settings.uniformColor);
    return clamped(settings);
}

/// A number as JSON can hold it.
double storable(double value) {
    return std::isfinite(value) ? value : 0.0;
}

CombineOptions optionsFromJson(const QJsonObject& object) {
    const auto intOf = [&object](const char* name, int& field) { field = object.value(key(name)).toInt(field); };
    const auto boolOf = [&object](const char* name, bool& field) { field = object.value(key(name)).toBool(field); };
    const auto doubleOf = [&object](const char* name, double& field) {
        field = object.value(key(name)).toDouble(field);
    };
    CombineOptions options;
    intOf("displayMode", options.displayMode);
    intOf("colorMode", options.colorMode);
    boolOf("syncFeatures", options.syncFeatures);
    boolOf("syncAxes", options.syncAxes);
    boolOf("manualLimits", options.manualLimits);
    boolOf("showLegend", options.showLegend);
    intOf("contourMode", options.contourMode);
    doubleOf("contourFraction1", options.contourFraction1);
    doubleOf("contourFraction2", options.contourFraction2);
    boolOf("isoelasticity", options.isoelasticity);
    boolOf("isoLabels", options.isoLabels);
    doubleOf("xMin", options.limits.xMin);
    doubleOf("xMax", options.limits.xMax);
    doubleOf("yMin", options.limits.yMin);
    doubleOf("yMax", options.limits.yMax);
    boolOf("manualArraySize", options.manualArraySize);
    intOf("arrayCols", options.arrayCols);
    intOf("arrayRows", options.arrayRows);
    boolOf("showCount", options.showCount);
    return clamped(options);
}

} // namespace

QJsonObject combineToJson(const CombineState& state, const DatasetNumbers& idToIndex) {
    const CombineOptions& options = state.options;
    QJsonArray rows;
    for (const CombineDatasetSettings& row : state.datasets) {
        rows.append(rowToJson(row, otherNumber(idToIndex, row.datasetId)));
    }
    return {{"displayMode", options.displayMode},
            {"colorMode", options.colorMode},
            {"syncFeatures", options.syncFeatures},
            {"syncAxes", options.syncAxes},
            {"manualLimits", options.manualLimits},
            {"showLegend", options.showLegend},
            {"contourMode", options.contourMode},
            {"contourFraction1", options.contourFraction1},
            {"contourFraction2", options.contourFraction2},
            {"isoelasticity", options.isoelasticity},
            {"isoLabels", options.isoLabels},
            {"xMin", storable(options.limits.xMin)},
            {"xMax", storable(options.limits.xMax)},
            {"yMin", storable(options.limits.yMin)},
            {"yMax", storable(options.limits.yMax)},
            {"datasets", rows},
            {"exportSettings", exportToJson(state.exportSettings)},
            {"showStats", state.showStats},
            {"manualArraySize", options.manualArraySize},
            {"arrayCols", options.arrayCols},
            {"arrayRows", options.arrayRows},
            {"showCount", options.showCount}};
}

CombineState combineFromJson(const QJsonObject& object, const DatasetNumbers& indexToId) {
    CombineState state;
    state.options = optionsFromJson(object);
    for (const QJsonValue entry : object.value(key("datasets")).toArray()) {
        const QJsonObject row = entry.toObject();
        const auto found = indexToId.find(row.value(key("datasetSessionIndex")).toInt(-1));
        if (found != indexToId.end()) {
            state.datasets.push_back(rowFromJson(row, found->second));
        }
    }
    state.exportSettings = exportFromJson(object.value(key("exportSettings")).toObject());
    state.showStats = object.value(key("showStats")).toBool(false);
    return state;
}

} // namespace Tessaly
