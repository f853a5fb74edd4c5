#pragma once

#include <QString>

#include <optional>

namespace Tessaly {

struct DatasetEntry;

/// Rich text of a dataset in lists: name in bold, then reservoir mark, flow rate, run number and event count.
QString datasetLabelHtml(const DatasetEntry& entry);

/// Status line of a shown dataset. @param shown  events left by filter and cleaning, nullopt if all are shown
QString plotStatusText(const DatasetEntry& entry, std::optional<int> shown);

} // namespace Tessaly
