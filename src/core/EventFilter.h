#pragma once

#include "core/FilterRule.h"

#include <cstddef>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Tessaly {

/// Columns by feature name. A pointer may be null: the feature then counts as missing.
using ColumnMap = std::unordered_map<std::string, const std::vector<double>*>;

/// Tells whether a point lies inside a polygon.
/// @param x, y      the point, in axis space (after the axis's scale mode was applied)
/// @param vertices  corners in order; the last joins the first
/// @return false for no vertices and for NaN in x or y; points on an edge as the crossing rule gives them
/// O(corners), any thread. Source: even-odd crossing rule.
bool pointInPolygon(double x, double y, std::span<const std::pair<double, double>> vertices);

/// The rules of one dataset and how they are combined. A value: copies are independent.
class EventFilter {
public:
    static constexpr int ShowPassing = 0;
    static constexpr int ShowExcluded = 1;

    void addRule(const FilterRule& rule);
    /// Replaces a rule; does nothing for an index outside the list.
    void setRule(int index, const FilterRule& rule);
    /// Removes a rule; does nothing for an index outside the list.
    void removeRule(int index);
    void clearRules();
    int ruleCount() const { return static_cast<int>(rules_.size()); }
    const std::vector<FilterRule>& rules() const { return rules_; }

    /// ShowPassing: the events that pass all rules; any other value: the exact complement.
    int combineMode() const { return combineMode_; }
    void setCombineMode(int mode) { combineMode_ = mode; }

    /// Whether the dataset's filtering is on as a whole. evaluate() does not look at it: callers do.
    bool isEnabled() const { return enabled_; }
    void setEnabled(bool on) { enabled_ = on; }

    /// Features that the enabled rules use, each once, in order of first appearance.
    std::vector<std::string> requiredFeatures() const;

    /// The events that the rules let through.
    /// @param columns     columns by feature; a rule whose column is missing, null or shorter than eventCount takes no
    ///                    part, nor does a polygon of fewer than three corners
    /// @param eventCount  events of the dataset
    /// @return event indices in rising order; all events if no rule takes part, whatever the combine mode
    /// NaN fails a normal range rule and passes an inverted one. One pass over the events, any thread.
    std::vector<int> evaluate(const ColumnMap& columns, std::size_t eventCount) const;

    bool operator==(const EventFilter&) const = default;

private:
    std::vector<FilterRule> rules_;
    int combineMode_ = ShowPassing;
    bool enabled_ = true;
};

} // namespace Tessaly
