#pragma once

#include "core/EventFilter.h"
#include "core/ScaleMath.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace Tessaly::Plain {

inline bool pointInPolygon(double x, double y, const std::vector<std::pair<double, double>>& vertices) {
    bool inside = false;
    std::size_t j = vertices.size() - 1;
    for (std::size_t i = 0; i < vertices.size(); j = i++) {
        const auto [xi, yi] = vertices[i];
        const auto [xj, yj] = vertices[j];
        if ((yi > y) != (yj > y) && (xj - xi) * (y - yi) / (yj - yi) + xi > x) {
            inside = !inside;
        }
    }
    return inside;
}

/// Event by event, rule by rule, the first failure ends it: what the fast evaluation is measured and checked against.
/// Takes part only with rules whose columns exist.
inline std::vector<int> evaluate(const EventFilter& filter, const ColumnMap& columns, std::size_t eventCount) {
    struct Prepared {
        const FilterRule* rule;
        const double* x;
        const double* y;
        std::vector<std::pair<double, double>> vertices;
    };
    std::vector<Prepared> ranges;
    std::vector<Prepared> polygons;
    for (const FilterRule& rule : filter.rules()) {
        if (!rule.enabled) {
            continue;
        }
        if (rule.type == FilterRule::Range) {
            ranges.push_back({&rule, columns.at(rule.featureName)->data(), nullptr, {}});
        } else if (rule.polygonVertices.size() > 2) {
            Prepared polygon{&rule, columns.at(rule.featureName)->data(), columns.at(rule.featureNameY)->data(), {}};
            for (const auto& [x, y] : rule.polygonVertices) {
                polygon.vertices.emplace_back(scaleValue(x, rule.scaleXMode), scaleValue(y, rule.scaleYMode));
            }
            polygons.push_back(std::move(polygon));
        }
    }
    std::vector<int> result;
    result.reserve(eventCount);
    const bool excluded = filter.combineMode() != 0;
    for (std::size_t i = 0; i < eventCount; ++i) {
        bool passed = true;
        for (const Prepared& range : ranges) {
            const bool inside = range.x[i] >= range.rule->minValue && range.x[i] <= range.rule->maxValue;
            if (inside == range.rule->inverted) {
                passed = false;
                break;
            }
        }
        for (std::size_t p = 0; passed && p < polygons.size(); ++p) {
            const FilterRule& rule = *polygons[p].rule;
            const bool inside =
                Plain::pointInPolygon(scaleValue(polygons[p].x[i], rule.scaleXMode),
                                      scaleValue(polygons[p].y[i], rule.scaleYMode), polygons[p].vertices);
            passed = inside != rule.inverted;
        }
        const bool anyRule = !ranges.empty() || !polygons.empty();
        if (!anyRule || passed != excluded) {
            result.push_back(static_cast<int>(i));
        }
    }
    return result;
}

} // namespace Tessaly::Plain
