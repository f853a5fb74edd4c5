#pragma once

#include "core/EventFilter.h"

#include <string>

namespace Tessaly {

inline FilterRule rangeRule(const std::string& feature, double low, double high, const std::string& link = {}) {
    FilterRule rule;
    rule.featureName = feature;
    rule.minValue = low;
    rule.maxValue = high;
    rule.propagationId = link;
    return rule;
}

} // namespace Tessaly
