#pragma once

#include <QString>

#include <cstddef>
#include <functional>
#include <string>

namespace Tessaly {

/// What to join, and into what.
struct MergeRequest {
    QString folder;     ///< of results
    QString output;     ///< table of the summaries; empty for none
    QString counts;     ///< table of the gates' counts; empty for none
    QString report;     ///< table of the files without a row and of what was noted; empty for none
    QString inputs;     ///< list of the measurement files that should have a row, one path a line; empty for none
    QString root;       ///< of these, as for the run
    std::string plan;   ///< digest that rows must have; empty if it only has to be the same for all
    bool paths = false; ///< a first column with the path of the measurement file
};

/// How it went.
struct MergeOutcome {
    std::size_t rows = 0;
    std::size_t withoutRow = 0; ///< measurement files that are known but have no row
    std::size_t notes = 0;
    QString problem; ///< why there are no tables; empty if there are
};

/// Takes every measurement file that has no row, with the reason.
using MissingRowTaker = std::function<void(const QString& source, const QString& reason)>;

/// Joins the rows below a folder in path order: folder by folder, without regard to case. Headings are those of the
/// window's summary of all files. One row is in memory at a time, besides the names of one folder's entries at each
/// level. The tables are as they were or complete.
MergeOutcome mergeRows(const MergeRequest& request, const MissingRowTaker& missing);

} // namespace Tessaly
