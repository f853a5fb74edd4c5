#pragma once

#include <QString>

#include <vector>

class QWidget;

namespace Tessaly {

class Session;

/// Lets the user pick some of these datasets by name; the picked ones in list order, none if the user cancels.
/// @param noneLeft  what to say where the session has datasets, but none is among these
std::vector<int> askForDatasetsToAdd(QWidget* parent, const Session& session, const std::vector<int>& ids,
                                     const QString& noneLeft);

} // namespace Tessaly
