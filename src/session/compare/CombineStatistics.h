#pragma once

#include "session/compare/CombineData.h"

#include <QStringList>

#include <vector>

namespace Tessaly {

class Session;
class CombineModel;

/// A table as it is shown and exported: one line a dataset.
struct CombineTable {
    QStringList headings;
    std::vector<QStringList> rows; ///< each as long as the headings

    bool operator==(const CombineTable&) const = default;
};

/// The figures of the plotted events: their number, then mean, deviation and quartiles of each feature in the order in
/// which the rows use them. Cells stay empty for features that a row doesn't plot and for rows without events.
/// @param data  as many as the model has rows
/// O(events); the rows on all cores.
CombineTable combineStatistics(const Session& session, const CombineModel& model, const CombineDataList& data);

/// The table as text: cells joined by tabs, each line ended by a line feed.
QByteArray tableToTsv(const CombineTable& table);

} // namespace Tessaly
