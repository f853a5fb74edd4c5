#pragma once

#include <QColor>
#include <QPen>
#include <QString>
#include <qwt_interval.h>

#include <utility>
#include <vector>

class QwtPlot;
class QwtPlotCurve;
class QwtPlotMarker;

namespace Tessaly {

class PlainDotCurve;
class PlotPoints;
class RoundSpectroCurve;
struct ContourLevel;
struct IsoelasticLine;

// What all plots of events are made of, each function for any plot: dots, contours and isoelastic lines look alike in
// the main window, in comparisons and in exported files. The plot owns the items; none of the functions replots.

/// Diameter of a dot in pixels.
inline constexpr double DotSize = 6.0;

/// A pen with the square caps and bevelled joins of all lines in a plot.
QPen plotPen(const QColor& color, double width, Qt::PenStyle style = Qt::SolidLine);

/// Dotted grey lines at the major ticks.
void addGrid(QwtPlot& plot);

/// A thin grey line around the canvas.
void addCanvasFrame(QwtPlot& plot);

/// Installs the engine of a scale mode (ScaleMode) on an axis and returns the axis to auto scale.
void setScaleMode(QwtPlot& plot, int axis, int mode);

/// An empty curve of round dots in one colour, translucent with an opaque rim.
PlainDotCurve* addPlainDots(QwtPlot& plot, const QColor& color = QColor(0, 68, 108));

/// An empty curve of round dots that are coloured by value.
RoundSpectroCurve* addColorDots(QwtPlot& plot);

/// An empty, hidden curve for the mark over a selected point.
PlainDotCurve* addMark(QwtPlot& plot);

/// The range of the points' finite colour values; [v, v + 1] if all are v, [0, 1] without any.
QwtInterval dotColorRange(const PlotPoints& points);

/// Colours dots by a map (see colorMapFor()) over a range.
void setDotColors(RoundSpectroCurve& dots, const QwtInterval& range, int colorMapIndex);

/// Gives range and colours to the bar on the right axis; it stays shown or hidden.
void setColorBar(QwtPlot& plot, const QwtInterval& range, int colorMapIndex);
void showColorBar(QwtPlot& plot);
void hideColorBar(QwtPlot& plot);

/// One curve for each polyline of two points or more, over the dots; the first level is dashed.
std::vector<QwtPlotCurve*> addContours(QwtPlot& plot, const std::vector<ContourLevel>& levels,
                                       const QColor& color = Qt::black);

/// Lines of equal stiffness beneath the dots, and their moduli.
struct IsoelasticItems {
    std::vector<QwtPlotCurve*> lines;
    std::vector<QwtPlotMarker*> labels; ///< empty unless asked for
};

/// Isoelastic lines of two points or more, in plot coordinates. They don't take part in auto scaling.
/// @param withLabels  a text with the modulus at the last point of each line, or further back where that isn't free
IsoelasticItems addIsoelastics(QwtPlot& plot, const std::vector<IsoelasticLine>& lines, bool withLabels);

/// A modulus in kPa as the labels say it: two decimals below 1, else one.
QString modulusText(double modulus);

/// Detaches and deletes the items of a list, and empties it.
template <typename Items>
void removeItems(Items& items) {
    for (auto* item : std::exchange(items, {})) {
        item->detach();
        delete item;
    }
}

} // namespace Tessaly
