#pragma once

#include "core/EventFilter.h"
#include "core/VQDMetadata.h"

#include <QString>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Tessaly {

class VQDReader;

/// One loaded dataset. Its identity is `id`, never its row.
///
/// While a dataset is active, the controls and not these fields hold its plot settings; they are written back before
/// anything reads them.
struct DatasetEntry {
    int id = -1;                       ///< given once, never used again
    std::shared_ptr<VQDReader> reader; ///< shared by a dataset and its duplicates
    VQDMetadata metadata;
    std::string filePath; ///< as opened
    QString displayName;
    std::string xFeatureName;
    std::string yFeatureName;
    std::string colorFeatureName; ///< a feature, a density selector, or empty for no colour
    int currentEventIndex = -1;   ///< event in the event view; -1 until one was chosen
    bool featuresLoaded = false;  ///< all columns are cached: the dataset may be shown
    EventFilter filter;
    int contourMode = 0;            ///< 0 off, 1 overlay, 2 only
    double contourFraction1 = 0.1;  ///< inner level
    double contourFraction2 = 0.67; ///< outer level
    int scaleXMode = 0;
    int scaleYMode = 0;
    bool flRefinementApplied = false;
    bool ctcApplied = false;
    std::vector<int> ctcChannels;
    std::vector<std::vector<double>> spilloverMatrix;
    bool emodApplied = false;
    bool fourierApplied = false;
    std::unordered_map<int, bool> groupEnabled; ///< by group id; an absent id counts as off
};

} // namespace Tessaly
