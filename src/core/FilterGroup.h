#pragma once

#include "core/FilterRule.h"

#include <string>
#include <vector>

namespace Tessaly {

/// Rules that any number of datasets share by switching the group on.
struct FilterGroup {
    int id = -1;      ///< given once, never used again
    std::string name; ///< shown to the user, need not be unique
    std::vector<FilterRule> rules;
};

} // namespace Tessaly
