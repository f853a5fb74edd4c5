#pragma once

#include "batch/BatchPlan.h"
#include "batch/ResultRow.h"

#include <QString>

#include <functional>
#include <optional>

namespace Tessaly {

/// Where the results of one measurement file go.
struct ResultPlace {
    QString source; ///< absolute path of the measurement file
    QString folder; ///< of the results; made when they are written
    QString name;   ///< of the measurement file, after which they are named

    QString rowPath() const { return folder + '/' + name + QStringLiteral(".row"); }
    /// Results lie here until they are complete; what an earlier run has left there goes.
    QString workPath() const { return folder + QStringLiteral("/.") + name + QStringLiteral(".part"); }
    QString tablePath() const;
    QString measurementPath() const;
};

/// The place for a file below `root`: the results mirror its folders below `output`. Nothing if it isn't below.
/// Paths are taken as they are written: links aren't followed.
std::optional<ResultPlace> resultPlace(const QString& file, const QString& root, const QString& output);

/// A plan to be done, and by which program.
struct PlanInUse {
    BatchPlan plan;
    std::string digest;
    std::string program; ///< version
};

/// How the work on one file ended, from good to bad.
enum class FileOutcome {
    Done,
    Failed,    ///< the file can't be done; its record says why
    Killed,    ///< somebody ended the work on it; nothing is left of that
    NotWritten ///< the results can't be written, e.g. because the disk is full; nothing of them is left
};

/// Whether all results of a file are there, made from the file as it is now with this plan by this program.
bool isUpToDate(const ResultPlace& place, const PlanInUse& plan);

/// The measurement file whose results stand in this place, if that is another one and still there; else empty.
QString otherSource(const ResultPlace& place);

/// Does the plan for one file, in this process, which a damaged file may take down. Reads the columns that the plan
/// needs and nothing else. Results get their names when all of them are complete, the record last.
/// @param engine   for moduli, with its table read or not
/// @param problem  takes why the outcome isn't Done
FileOutcome runFile(const ResultPlace& place, const PlanInUse& plan, EModulus& engine, QString& problem);

/// Writes a record that says why a file can't be done. Returns whether it could be written.
bool writeFailure(const ResultPlace& place, const PlanInUse& plan, const QString& message);

} // namespace Tessaly
