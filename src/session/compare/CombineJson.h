#pragma once

#include "session/SessionWindow.h"
#include "session/compare/CombineSettings.h"

#include <QJsonObject>

#include <vector>

namespace Tessaly {

/// Everything that a session keeps of a combine window.
struct CombineState {
    CombineOptions options;
    CombineExportSettings exportSettings;
    std::vector<CombineDatasetSettings> datasets;
    bool showStats = false;

    bool operator==(const CombineState&) const = default;
};

/// The window's object in a session file.
/// @param idToIndex  a dataset's place in the file; -1 is written for one that isn't there
QJsonObject combineToJson(const CombineState& state, const DatasetNumbers& idToIndex);

/// Reads such an object of any shape: what is missing or of the wrong type gets its default, values beyond their
/// control's range are clamped, datasets that the map lacks are left out.
/// @param indexToId  dataset ids by session index
CombineState combineFromJson(const QJsonObject& object, const DatasetNumbers& indexToId);

} // namespace Tessaly
