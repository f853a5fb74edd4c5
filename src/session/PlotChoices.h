#pragma once

#include "core/PlotSettings.h"

#include <string>
#include <vector>

namespace Tessaly {

class VQDReader;
struct DatasetEntry;

/// The features of a file that may be plotted, filtered and listed, in name order.
std::vector<std::string> scalarFeatureNames(VQDReader& reader);

/// What is plotted for stored settings: an X or Y feature that is empty or that the file lacks gives way to the usual
/// one (area_um over deform), or to the first feature without that; a colour that the file lacks to none.
PlotSettings shownSettings(const PlotSettings& stored, const std::vector<std::string>& features);

/// Copies settings onto another dataset: X and Y only if its file has the feature; the colour if it is empty, a
/// density, or a feature of its file; scales and contours always.
void copyPlotSettings(const PlotSettings& settings, DatasetEntry& entry);

} // namespace Tessaly
