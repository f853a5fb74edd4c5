#include "core/EventFilter.h"

#include "core/PolygonRaster.h"
#include "core/ScaleMath.h"
#include "core/VectorState.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <optional>

namespace Tessaly {

namespace {

using Vertices = std::vector<std::pair<double, double>>;

/// Events are tested in blocks: what one rule leaves of a block is still in the cache for the next.
constexpr std::size_t blockSize = PolygonRaster::BlockSize;

/// With fewer events, a raster costs more than it saves.
constexpr std::size_t rasterWorthEvents = 4000;

/// Places within a block of the events that passed so far, in rising order.
struct Survivors {
    std::array<std::uint16_t, blockSize> places;
    std::size_t count = 0;

    std::span<const std::uint16_t> list() const { return {places.data(), count}; }

    /// Keeps those for which test(place, position in the list) holds; without a branch, for it could not be guessed.
    template <typename Test>
    void keepIf(Test test) {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint16_t place = places[i];
            places[kept] = place;
            kept += test(place, i) ? 1 : 0;
        }
        count = kept;
    }
};

struct PreparedRange {
    const double* column;
    double minValue;
    double maxValue;
    bool inverted;

    void apply(std::size_t blockStart, Survivors& survivors) const {
        const double* values = column + blockStart;
        survivors.keepIf([this, values](std::size_t place, std::size_t) {
            const double v = values[place];
            return (static_cast<int>(v >= minValue) & static_cast<int>(v <= maxValue)) != static_cast<int>(inverted);
        });
    }
};

struct PreparedPolygon {
    const double* xColumn;
    const double* yColumn;
    Vertices vertices; ///< in axis space
    int scaleXMode;
    int scaleYMode;
    bool inverted;
    std::optional<PolygonRaster> raster;

    void apply(std::size_t blockStart, Survivors& survivors) const {
        const double* x = xColumn + blockStart;
        const double* y = yColumn + blockStart;
        const auto isInside = [&](std::size_t place) {
            return pointInPolygon(scaleValue(x[place], scaleXMode), scaleValue(y[place], scaleYMode), vertices);
        };
        if (!raster) {
            survivors.keepIf([&](std::size_t place, std::size_t) { return isInside(place) != inverted; });
            return;
        }
        std::array<std::uint8_t, blockSize> verdicts;
        raster->verdictsOf(x, y, survivors.list(), verdicts.data());
        std::array<std::uint16_t, blockSize> open;
        std::size_t openCount = 0;
        for (std::size_t i = 0; i < survivors.count; ++i) {
            open[openCount] = static_cast<std::uint16_t>(i);
            openCount += verdicts[i] == PolygonRaster::NeedsTest ? 1 : 0;
        }
        for (std::size_t k = 0; k < openCount; ++k) {
            verdicts[open[k]] = isInside(survivors.places[open[k]]) ? PolygonRaster::Inside : PolygonRaster::Outside;
        }
        survivors.keepIf([&](std::size_t, std::size_t i) { return (verdicts[i] != 0) != inverted; });
    }
};

/// The rules that take part, with their columns resolved and corners mapped.
struct PreparedRules {
    std::vector<PreparedRange> ranges;
    std::vector<PreparedPolygon> polygons;

    bool isEmpty() const { return ranges.empty() && polygons.empty(); }

    void apply(std::size_t blockStart, Survivors& survivors) const {
        for (const PreparedRange& range : ranges) {
            range.apply(blockStart, survivors);
        }
        for (const PreparedPolygon& polygon : polygons) {
            polygon.apply(blockStart, survivors);
        }
    }
};

/// A feature's values, or null if they are missing or too few.
const double* usableColumn(const ColumnMap& columns, const std::string& name, std::size_t eventCount) {
    const auto it = columns.find(name);
    if (it == columns.end() || !it->second || it->second->size() < eventCount) {
        return nullptr;
    }
    return it->second->data();
}

PreparedPolygon preparedPolygon(const FilterRule& rule, const double* x, const double* y, std::size_t eventCount) {
    PreparedPolygon polygon{x, y, rule.polygonVertices, rule.scaleXMode, rule.scaleYMode, rule.inverted, std::nullopt};
    for (auto& [vertexX, vertexY] : polygon.vertices) {
        vertexX = scaleValue(vertexX, rule.scaleXMode);
        vertexY = scaleValue(vertexY, rule.scaleYMode);
    }
    if (eventCount >= rasterWorthEvents) {
        polygon.raster.emplace(rule.polygonVertices, polygon.vertices, rule.scaleXMode, rule.scaleYMode);
        if (!polygon.raster->isUsable()) {
            polygon.raster.reset();
        }
    }
    return polygon;
}

PreparedRules preparedRules(const std::vector<FilterRule>& rules, const ColumnMap& columns, std::size_t eventCount) {
    PreparedRules prepared;
    for (const FilterRule& rule : rules) {
        const double* x = rule.enabled ? usableColumn(columns, rule.featureName, eventCount) : nullptr;
        if (!x) {
            continue;
        }
        if (rule.type == FilterRule::Range) {
            prepared.ranges.push_back({x, rule.minValue, rule.maxValue, rule.inverted});
        } else if (rule.type == FilterRule::Polygon && rule.polygonVertices.size() > 2) {
            if (const double* y = usableColumn(columns, rule.featureNameY, eventCount)) {
                prepared.polygons.push_back(preparedPolygon(rule, x, y, eventCount));
            }
        }
    }
    return prepared;
}

} // namespace

bool pointInPolygon(double x, double y, std::span<const std::pair<double, double>> vertices) {
    bool inside = false;
    for (std::size_t i = 0, j = vertices.size() - 1; i < vertices.size(); j = i++) {
        const auto [xi, yi] = vertices[i];
        const auto [xj, yj] = vertices[j];
        if ((yi > y) != (yj > y) && (xj - xi) * (y - yi) / (yj - yi) + xi > x) {
            inside = !inside;
        }
    }
    return inside;
}

void EventFilter::addRule(const FilterRule& rule) {
    rules_.push_back(rule);
}

void EventFilter::setRule(int index, const FilterRule& rule) {
    if (index >= 0 && index < ruleCount()) {
        rules_[static_cast<std::size_t>(index)] = rule;
    }
}

void EventFilter::removeRule(int index) {
    if (index >= 0 && index < ruleCount()) {
        rules_.erase(rules_.begin() + index);
    }
}

void EventFilter::clearRules() {
    rules_.clear();
}

std::vector<std::string> EventFilter::requiredFeatures() const {
    std::vector<std::string> names;
    const auto addOnce = [&names](const std::string& name) {
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    };
    for (const FilterRule& rule : rules_) {
        if (!rule.enabled) {
            continue;
        }
        addOnce(rule.featureName);
        if (rule.type == FilterRule::Polygon && !rule.featureNameY.empty()) {
            addOnce(rule.featureNameY);
        }
    }
    return names;
}

std::vector<int> EventFilter::evaluate(const ColumnMap& columns, std::size_t eventCount) const {
    clearUpperVectorState();
    const PreparedRules rules = preparedRules(rules_, columns, eventCount);
    std::vector<int> result;
    if (rules.isEmpty()) {
        result.resize(eventCount);
        std::iota(result.begin(), result.end(), 0);
        return result;
    }
    result.reserve(eventCount);
    Survivors survivors;
    for (std::size_t start = 0; start < eventCount; start += blockSize) {
        const std::size_t size = std::min(blockSize, eventCount - start);
        survivors.count = size;
        std::iota(survivors.places.begin(), survivors.places.end(), std::uint16_t{0});
        rules.apply(start, survivors);

        std::size_t next = 0; // first place that is not yet dealt with
        for (const std::uint16_t place : survivors.list()) {
            if (combineMode_ != ShowPassing) {
                for (; next < place; ++next) {
                    result.push_back(static_cast<int>(start + next));
                }
                next = place + 1U;
            } else {
                result.push_back(static_cast<int>(start + place));
            }
        }
        if (combineMode_ != ShowPassing) {
            for (; next < size; ++next) {
                result.push_back(static_cast<int>(start + next));
            }
        }
    }
    return result;
}

} // namespace Tessaly
