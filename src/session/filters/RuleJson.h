#pragma once

#include "core/FilterRule.h"

#include <QJsonObject>
#include <QLatin1String>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace Tessaly {

/// Tells a sink every key of a rule with its value as it is stored: texts as std::string, corners as pairs of numbers.
/// In the order in which JSON objects keep their keys.
template <typename Sink>
void forEachKey(const FilterRule& rule, const Sink& sink) {
    const auto storable = [](double value) {
        constexpr double largest = std::numeric_limits<double>::max();
        return std::isinf(value) ? std::copysign(largest, value) : value;
    };
    std::vector<std::pair<double, double>> vertices = rule.polygonVertices;
    for (auto& [x, y] : vertices) {
        x = storable(x);
        y = storable(y);
    }
    sink(QLatin1StringView("enabled"), rule.enabled);
    sink(QLatin1StringView("featureName"), rule.featureName);
    sink(QLatin1StringView("featureNameY"), rule.featureNameY);
    sink(QLatin1StringView("inverted"), rule.inverted);
    sink(QLatin1StringView("maxValue"), storable(rule.maxValue));
    sink(QLatin1StringView("minValue"), storable(rule.minValue));
    sink(QLatin1StringView("polygonVertices"), vertices);
    sink(QLatin1StringView("propagationId"), rule.propagationId);
    sink(QLatin1StringView("scaleXMode"), rule.scaleXMode);
    sink(QLatin1StringView("scaleYMode"), rule.scaleYMode);
    sink(QLatin1StringView("type"), std::string(rule.type == FilterRule::Polygon ? "Polygon" : "Range"));
}

/// A rule as an object of a group or session file; every key is written for every type. Finite values come back bit for
/// bit (save the sign of a zero). JSON has no infinities: they become the largest finite value of their sign, which as
/// a bound lets the same finite values through. A NaN becomes null.
QJsonObject ruleToJson(const FilterRule& rule);

/// Reads a rule. A key that is missing, or has a value of the wrong type, leaves the default that a new rule has; a
/// corner counts only if it begins with two numbers. Never fails.
FilterRule ruleFromJson(const QJsonObject& object);

} // namespace Tessaly
