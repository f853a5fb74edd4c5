#pragma once

#include "session/LoadingQueue.h"
#include "session/document/SessionDocument.h"

#include <QString>

#include <functional>
#include <vector>

class QWidget;

namespace Tessaly {

/// Looks at every file that a session names before the first is loaded, and asks the user about those that are missing
/// or have changed. A file that the user leaves out, or that can't be opened, is not in the result.
/// @param progress  told of each file before it is looked at: its number from 1, and how many there are
/// @return what is to be opened, in document order. Costs as much as opening every file for a moment.
std::vector<PendingSessionFile> checkSessionFiles(const SessionDocument& document, const QString& sessionPath,
                                                  QWidget* window, const std::function<void(int, int)>& progress);

} // namespace Tessaly
