#include "session/filters/RuleJson.h"

#include <QJsonArray>
#include <QLatin1String>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Tessaly {

namespace {

QString text(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

double storable(double value) {
    constexpr double largest = std::numeric_limits<double>::max();
    return std::isinf(value) ? std::copysign(largest, value) : value;
}

std::string textOf(const QJsonObject& object, QLatin1String key) {
    return object.value(key).toString().toStdString();
}

} // namespace

QJsonObject ruleToJson(const FilterRule& rule) {
    QJsonArray vertices;
    for (const auto& [x, y] : rule.polygonVertices) {
        vertices.append(QJsonArray{storable(x), storable(y)});
    }
    // In the order in which they are kept, which is the fastest to build: sessions hold thousands of rules.
    return {{QStringLiteral("enabled"), rule.enabled},
            {QStringLiteral("featureName"), text(rule.featureName)},
            {QStringLiteral("featureNameY"), text(rule.featureNameY)},
            {QStringLiteral("inverted"), rule.inverted},
            {QStringLiteral("maxValue"), storable(rule.maxValue)},
            {QStringLiteral("minValue"), storable(rule.minValue)},
            {QStringLiteral("polygonVertices"), vertices},
            {QStringLiteral("propagationId"), text(rule.propagationId)},
            {QStringLiteral("scaleXMode"), rule.scaleXMode},
            {QStringLiteral("scaleYMode"), rule.scaleYMode},
            {QStringLiteral("type"),
             rule.type == FilterRule::Polygon ? QStringLiteral("Polygon") : QStringLiteral("Range")}};
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
