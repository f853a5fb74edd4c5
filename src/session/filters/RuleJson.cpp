#include "session/filters/RuleJson.h"

#include <QJsonArray>
#include <QLatin1String>

namespace Tessaly {

namespace {

QJsonValue jsonOf(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

QJsonValue jsonOf(const std::vector<std::pair<double, double>>& corners) {
    QJsonArray array;
    for (const auto& [x, y] : corners) {
        array.append(QJsonArray{x, y});
    }
    return array;
}

template <typename Plain>
QJsonValue jsonOf(Plain value) {
    return QJsonValue(value);
}

std::string textOf(const QJsonObject& object, QLatin1String key) {
    return object.value(key).toString().toStdString();
}

} // namespace

QJsonObject ruleToJson(const FilterRule& rule) {
    QJsonObject object;
    forEachKey(rule, [&object](QLatin1StringView key, const auto& value) { object.insert(key, jsonOf(value)); });
    return object;
}

FilterRule ruleFromJson(const QJsonObject& object) {
    FilterRule rule;
    rule.type = object.value(QLatin1String("type")).toString() == QLatin1String("Polygon") ? FilterRule::Polygon
                                                                                           : FilterRule::Range;
    rule.featureName = textOf(object, QLatin1String("featureName"));
    rule.featureNameY = textOf(object, QLatin1String("featureNameY"));
    rule.minValue = object.value(QLatin1String("minValue")).toDouble(rule.minValue);
    rule.maxValue = object.value(QLatin1String("maxValue")).toDouble(rule.maxValue);
    rule.enabled = object.value(QLatin1String("enabled")).toBool(rule.enabled);
    rule.inverted = object.value(QLatin1String("inverted")).toBool(rule.inverted);
    rule.propagationId = textOf(object, QLatin1String("propagationId"));
    const QJsonArray vertices = object.value(QLatin1String("polygonVertices")).toArray();
    for (const QJsonValue entry : vertices) {
        const QJsonArray vertex = entry.toArray();
        if (vertex.size() >= 2 && vertex[0].isDouble() && vertex[1].isDouble()) {
            rule.polygonVertices.emplace_back(vertex[0].toDouble(), vertex[1].toDouble());
        }
    }
    rule.scaleXMode = object.value(QLatin1String("scaleXMode")).toInt(rule.scaleXMode);
    rule.scaleYMode = object.value(QLatin1String("scaleYMode")).toInt(rule.scaleYMode);
    return rule;
}

} // namespace Tessaly
