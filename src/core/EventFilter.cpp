#include "core/EventFilter.h"

#include "core/ScaleMath.h"

#include <algorithm>
#include <numeric>

namespace Tessaly {

namespace {

using Vertices = std::vector<std::pair<double, double>>;

struct PreparedRange {
    const double* column;
    double minValue;
    double maxValue;
    bool inverted;
};

struct PreparedPolygon {
    const double* xColumn;
    const double* yColumn;
    Vertices vertices; ///< in axis space
    int scaleXMode;
    int scaleYMode;
    bool inverted;
};

/// A feature's values, or null if they are missing or too few.
const double* usableColumn(const ColumnMap& columns, const std::string& name, std::size_t eventCount) {
    const auto it = columns.find(name);
    if (it == columns.end() || !it->second || it->second->size() < eventCount)
        return nullptr;
    return it->second->data();
}

} // namespace

bool pointInPolygon(double x, double y, std::span<const std::pair<double, double>> vertices) {
    bool inside = false;
    for (std::size_t i = 0, j = vertices.size() - 1; i < vertices.size(); j = i++) {
        const auto [xi, yi] = vertices[i];
        const auto [xj, yj] = vertices[j];
        if ((yi > y) != (yj > y) && (xj - xi) * (y - yi) / (yj - yi) + xi > x)
            inside = !inside;
    }
    return inside;
}

void EventFilter::addRule(const FilterRule& rule) {
    rules_.push_back(rule);
}

void EventFilter::setRule(int index, const FilterRule& rule) {
    if (index >= 0 && index < ruleCount())
        rules_[static_cast<std::size_t>(index)] = rule;
}

void EventFilter::removeRule(int index) {
    if (index >= 0 && index < ruleCount())
        rules_.erase(rules_.begin() + index);
}

void EventFilter::clearRules() {
    rules_.clear();
}

std::vector<std::string> EventFilter::requiredFeatures() const {
    std::vector<std::string> names;
    const auto addOnce = [&names](const std::string& name) {
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    };
    for (const FilterRule& rule : rules_) {
        if (!rule.enabled)
            continue;
        addOnce(rule.featureName);
        if (rule.type == FilterRule::Polygon && !rule.featureNameY.empty())
            addOnce(rule.featureNameY);
    }
    return names;
}

std::vector<int> EventFilter::evaluate(const ColumnMap& columns, std::size_t eventCount) const {
    std::vector<PreparedRange> ranges;
    std::vector<PreparedPolygon> polygons;
    for (const FilterRule& rule : rules_) {
        if (!rule.enabled)
            continue;
        const double* column = usableColumn(columns, rule.featureName, eventCount);
        if (rule.type == FilterRule::Range && column) {
            ranges.push_back({column, rule.minValue, rule.maxValue, rule.inverted});
        } else if (rule.type == FilterRule::Polygon && column && rule.polygonVertices.size() > 2) {
            const double* yColumn = usableColumn(columns, rule.featureNameY, eventCount);
            if (!yColumn)
                continue;
            Vertices vertices = rule.polygonVertices;
            for (auto& [x, y] : vertices) {
                x = scaleValue(x, rule.scaleXMode);
                y = scaleValue(y, rule.scaleYMode);
            }
            polygons.push_back({column, yColumn, std::move(vertices), rule.scaleXMode, rule.scaleYMode, rule.inverted});
        }
    }

    std::vector<int> result;
    if (ranges.empty() && polygons.empty()) {
        result.resize(eventCount);
        std::iota(result.begin(), result.end(), 0);
        return result;
    }
    result.reserve(eventCount);
    const auto passes = [&](std::size_t i) {
        for (const PreparedRange& range : ranges) {
            const double v = range.column[i];
            if ((v >= range.minValue && v <= range.maxValue) == range.inverted)
                return false;
        }
        for (const PreparedPolygon& polygon : polygons) {
            const double x = scaleValue(polygon.xColumn[i], polygon.scaleXMode);
            const double y = scaleValue(polygon.yColumn[i], polygon.scaleYMode);
            if (pointInPolygon(x, y, polygon.vertices) == polygon.inverted)
                return false;
        }
        return true;
    };
    const bool wanted = combineMode_ == ShowPassing;
    for (std::size_t i = 0; i < eventCount; ++i) {
        if (passes(i) == wanted)
            result.push_back(static_cast<int>(i));
    }
    return result;
}

} // namespace Tessaly
