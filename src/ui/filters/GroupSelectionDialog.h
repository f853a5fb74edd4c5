#pragma once

#include "core/FilterGroup.h"

#include <memory>
#include <vector>

class QWidget;

namespace Tessaly {

/// Lets the user choose filter groups to export; all are chosen at first.
/// @return their ids in list order; empty if none was chosen or the user cancelled
std::vector<int> askGroupsToExport(QWidget* parent, const std::vector<std::unique_ptr<FilterGroup>>& groups);

} // namespace Tessaly
