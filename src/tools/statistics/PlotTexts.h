#pragma once

#include <QString>

class QwtPlot;

namespace Tessaly {

// Texts of the plots of statistics: all of one size, and shown as they are, whatever they hold.

/// A name for a place in a plot where a long one would take the room of the data: without its middle.
QString shortName(const QString& name);
/// Title, in bold; may have several lines.
void setPlotTitle(QwtPlot& plot, const QString& text);
/// Title of an axis.
void setAxisText(QwtPlot& plot, int axis, const QString& text);

} // namespace Tessaly
