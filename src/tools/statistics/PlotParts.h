#pragma once

#include "session/compare/Categories.h"

#include <QColor>
#include <QList>
#include <QPointF>
#include <QString>

#include <vector>

class QPen;
class QwtPlot;
class QwtPlotCurve;

namespace Tessaly {

// What the plots of statistics are made of. Texts are of one size, and shown as they are, whatever they hold.

/// Names a new plot and gives it what all have: a white canvas with a frame and a grid, axis numbers like elsewhere.
void setUpPlot(QwtPlot& plot, const char* objectName, const QString& accessibleName);
/// Colour of a category; that of its position if it has none.
QColor colorOf(const std::vector<Category>& categories, std::size_t category);
/// A line through points, smooth, without an entry in the legend. Belongs to the plot.
QwtPlotCurve* addCurve(QwtPlot& plot, const QList<QPointF>& points, const QPen& pen, double z);
/// A name for a place in a plot where a long one would take the room of the data: without its middle.
QString shortName(const QString& name);
/// Title, in bold; may have several lines, and breaks where it's too wide.
void setPlotTitle(QwtPlot& plot, const QString& text);
/// Title of an axis.
void setAxisText(QwtPlot& plot, int axis, const QString& text);

} // namespace Tessaly
