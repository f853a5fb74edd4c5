#pragma once

#include "session/compare/CombineSettings.h"

#include <QImage>
#include <QString>
#include <QStringList>

#include <vector>

namespace Tessaly {

class ComparePlot;

// The plots of a combine window on paper, styled while they are written and left as they were. Interface thread only.

/// Space between the plots of a grid.
inline constexpr double GridGapMm = 10.0;

/// Pixels of a length at the resolution of exports, 150 dots per inch, rounded down.
int exportPixels(double millimetres);

/// One plot as it would be exported, at the pixels that the grid gives it.
QImage previewOf(ComparePlot& plot, const CombineExportSettings& settings);

/// Writes one plot that fills its page. @return whether the file is complete
bool writePlot(const QString& fileName, ComparePlot& plot, const CombineExportSettings& settings);

/// Writes all plots onto one page, in an array of as many columns. @return whether the file is complete
bool writeGrid(const QString& fileName, const std::vector<ComparePlot*>& plots, int columns,
               const CombineExportSettings& settings);

/// Writes every plot to a file of its own, named after the chosen one with the plot's number from 1 behind.
/// @return the files that could not be written
QStringList writeEach(const QString& fileName, const std::vector<ComparePlot*>& plots,
                      const CombineExportSettings& settings);

/// The size of a grid in millimetres.
QSizeF gridSizeMm(const ArraySize& size, const CombineExportSettings& settings);

} // namespace Tessaly
