#pragma once

#include "core/FilterRule.h"

#include <string>
#include <vector>

namespace Tessaly {

/// Rules that any number of datasets share by switching the group on.
struct FilterGroup {
    int id = -1;
    std::string name;
    std::vector<FilterRule> rules;
};

} // namespace Tessaly
