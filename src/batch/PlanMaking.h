#pragma once

#include "batch/BatchPlan.h"
#include "session/document/SessionDocument.h"

#include <QString>

namespace Tessaly {

class Session;
struct DatasetEntry;

/// Plans from what a person has set up in the window.

/// Takes the gates of a dataset into a plan: its own rules, then the groups that it has switched on, under its
/// switches, and the calculations that were done for it, with these inputs.
/// @param refinement  filters of the refinement, and so for the moduli
void takeDataset(BatchPlan& plan, const Session& session, const DatasetEntry& dataset,
                 const FLRefinementParams& refinement, const EModulusSettings& modulus);

/// The same from a session file, for its dataset of this index. Session files keep the channels and the matrix of a
/// compensation, of the other calculations only that they were done: these take the defaults of the window.
void takeDataset(BatchPlan& plan, const SessionDocument& document, int index);

/// Adds all groups of a file as gates. Returns what is wrong with the file; empty if nothing is.
QString takeGroupFile(BatchPlan& plan, const QString& path);

/// Adds "FEATURE,MIN,MAX" as a rule without a group. Returns whether it is one.
bool takeRange(BatchPlan& plan, const QString& text);

/// Features for the outputs of a plan when nobody has chosen any: those of the plot, then those that rules use, then
/// those that the plan computes for any file; each once.
std::vector<std::string> proposedFeatures(const BatchPlan& plan, const PlotSettings& plot);

} // namespace Tessaly
