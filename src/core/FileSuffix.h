#pragma once

#include <QString>

namespace Tessaly {

/// The suffix that a file dialog's filter asks for: what stands behind "*." in its first pattern, so "png" for
/// "PNG Images (*.png)". Empty for a filter that takes all files.
QString filterSuffix(const QString& filter);

/// The file name with the chosen filter's suffix appended if the name has no suffix of its own. A dot followed by a
/// digit is taken as part of a number and not as the start of a suffix: "gap 0.5" becomes "gap 0.5.png".
QString withFilterSuffix(const QString& fileName, const QString& filter);

} // namespace Tessaly
