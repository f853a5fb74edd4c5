#pragma once

#include "core/EventFilter.h"
#include "core/PlotSettings.h"
#include "core/VQDMetadata.h"

#include <QString>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Tessaly {

class VQDReader;

/// One loaded dataset. Its identity is `id`, never its row. Always up to date, also while the dataset is active: the
/// controls report every change at once.
struct DatasetEntry : PlotSettings {
    int id = -1;                       ///< given once, never used again
    std::shared_ptr<VQDReader> reader; ///< shared by a dataset and its duplicates
    VQDMetadata metadata;
    std::string filePath; ///< as opened
    QString displayName;
    int currentEventIndex = -1;  ///< event in the event view; -1 until one was chosen
    bool featuresLoaded = false; ///< all columns are cached: the dataset may be shown
    EventFilter filter;
    bool flRefinementApplied = false;
    bool ctcApplied = false;
    std::vector<int> ctcChannels;
    std::vector<std::vector<double>> spilloverMatrix;
    bool emodApplied = false;
    bool fourierApplied = false;
    std::unordered_map<int, bool> groupEnabled; ///< by group id; an absent id counts as off

    /// The settings part, as a value.
    const PlotSettings& plotSettings() const { return *this; }
    void setPlotSettings(const PlotSettings& settings) { static_cast<PlotSettings&>(*this) = settings; }
};

} // namespace Tessaly
