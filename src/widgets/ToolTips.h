#pragma once

#include <QString>

namespace Tessaly {

/// A tool tip that shows a text as it stands: names from files may look like markup.
QString plainToolTip(const QString& text);

} // namespace Tessaly
