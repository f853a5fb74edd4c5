#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace Tessaly {

struct DatasetEntry;

/// A name in one line: each line break becomes a blank.
QString inOneLine(QString name);

/// Rich text of a dataset in lists: name in bold, then reservoir mark, flow rate, run number and event count.
QString datasetLabelHtml(const DatasetEntry& entry);
/// The same for narrow lists: in two lines with all details, in two with flow rate and event count only, and those two
/// one below the other.
QStringList datasetNarrowLabels(const DatasetEntry& entry);

/// Status line of a shown dataset. @param shown  events left by filter and cleaning, nullopt if all are shown
QString plotStatusText(const DatasetEntry& entry, std::optional<int> shown);

} // namespace Tessaly
