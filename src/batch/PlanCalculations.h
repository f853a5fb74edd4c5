#pragma once

#include "batch/BatchPlan.h"

#include <string>
#include <vector>

namespace Tessaly {

class Session;
struct DatasetEntry;

/// Does the plan's calculations for the active dataset of a session, one after the other on this thread, and puts the
/// columns into its reader: what the window does with "Apply to all". Throws what a calculation throws.
/// @return a line for each that can't be done for this file
std::vector<std::string> calculate(const Session& session, DatasetEntry& dataset, const BatchPlan& plan,
                                   EModulus& engine);

} // namespace Tessaly
