#pragma once

#include <QStringList>

class QWidget;

namespace Tessaly {

/// The page of the manual that tells of a control: that of the nearest of its parents that has one, such as its dock or
/// window; "index.html" if none has one, and for null.
QString helpPageFor(const QWidget* widget);

/// Object names of the windows, docks and parts of windows that have a page of their own.
QStringList helpPageOwners();

} // namespace Tessaly
