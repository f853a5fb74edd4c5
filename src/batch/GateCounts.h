#pragma once

#include "batch/BatchPlan.h"

#include <string>

namespace Tessaly {

struct DatasetEntry;

/// How many events of a file each gate lets through, as lines of a table.
struct GateCounts {
    std::string heading; ///< "Dataset", "Events", "Passed", and a column for each enabled rule
    std::string line;
};

/// Counts the events of the file, those that pass the whole filter, and those that each enabled rule lets through by
/// itself. A rule whose features the file lacks has an empty cell. One pass over the events for each rule.
GateCounts gateCounts(const DatasetEntry& dataset, const BatchPlan& plan);

} // namespace Tessaly
