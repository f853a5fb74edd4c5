#pragma once

#include <vector>

class QWidget;

namespace Tessaly {

class Session;

/// Lets the user pick some of these datasets by name; the picked ones in list order, none if the user cancels.
std::vector<int> askForDatasetsToAdd(QWidget* parent, const Session& session, const std::vector<int>& ids);

} // namespace Tessaly
