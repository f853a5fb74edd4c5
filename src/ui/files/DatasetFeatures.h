#pragma once

#include "widgets/FeatureChecklist.h"

#include <memory>
#include <vector>

namespace Tessaly {

struct DatasetEntry;

/// The scalar features of all datasets in rising order, with their labels and whether the current dataset has them.
std::vector<CheckedFeature> featuresToExport(const DatasetEntry& current,
                                             const std::vector<std::unique_ptr<DatasetEntry>>& datasets);

} // namespace Tessaly
