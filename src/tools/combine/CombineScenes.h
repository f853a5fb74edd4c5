#pragma once

#include "plot/ComparePlot.h"
#include "session/compare/CombineData.h"

#include <vector>

namespace Tessaly {

class CombineModel;
class Session;
class SessionHost;

/// The plots of a combine window as values, in the order of its array.
/// @param data  one for each of the model's rows
std::vector<CompareScene> combineScenes(const Session& session, SessionHost& host, const CombineModel& model,
                                        const CombineDataList& data);

/// The colours of one of these plots as the model has them now.
struct SceneColors {
    std::vector<CompareColors> series;
    QColor title;
};
SceneColors combineColors(const CombineModel& model, std::size_t scene);

} // namespace Tessaly
